// Memory that shows every step outside.
#pragma once

#include <QVRoot/MemoryManagement/Core/VirtualMemoryImpl.hpp>

#include <gtest/gtest.h>

namespace QV::Testing {

/// Memory whose both ends touch inaccessible pages.
template <class Unit>
class GuardedArray {
public:
    explicit GuardedArray(USize units)
    {
        const USize page = Impl::VirtualMemory::GetPageSize();
        const USize inside = (units * sizeof(Unit) + page - 1) / page * page;
        size_ = inside + 2 * page;
        memory_ = static_cast<char*>(Impl::VirtualMemory::Reserve(size_));
        EXPECT_TRUE(Impl::VirtualMemory::Commit(memory_, size_));
        EXPECT_TRUE(Impl::VirtualMemory::Protect(memory_, page));
        EXPECT_TRUE(Impl::VirtualMemory::Protect(memory_ + page + inside, page));
        begin_ = reinterpret_cast<Unit*>(memory_ + page);
        end_ = reinterpret_cast<Unit*>(memory_ + page + inside);
    }
    ~GuardedArray() { Impl::VirtualMemory::Release(memory_, size_); }

    Unit* GetBegin() const { return begin_; }
    Unit* GetEnd() const { return end_; }

private:
    char* memory_;
    USize size_;
    Unit* begin_;
    Unit* end_;
};

} // namespace QV::Testing
