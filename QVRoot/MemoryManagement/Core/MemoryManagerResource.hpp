/// The memory manager as a `std::pmr::memory_resource`.
///
///     std::pmr::vector<int> numbers(MemoryManagerResource::Get());
///
/// Blocks aligned to at most 16 bytes are the memory manager's own and may be released by
/// `MemoryManager::Free` as well.
///
/// Threads: any. Errors: `OutOfMemoryException`, which is a `std::bad_alloc`; a failure is reported as the
/// memory manager does.
#pragma once

#include <QVRoot/BasicEnvironment/BaseTypes.h>

#include <cstddef>
#include <memory_resource>

namespace QV {

class QV_EXPORT MemoryManagerResource final : public std::pmr::memory_resource {
public:
    /// The one resource of the process. Any other is equal to it.
    static MemoryManagerResource* Get() noexcept;

    MemoryManagerResource() noexcept = default;
    ~MemoryManagerResource() override;

private:
    void* do_allocate(std::size_t size, std::size_t alignment) override;
    void do_deallocate(void* block, std::size_t size, std::size_t alignment) override;
    bool do_is_equal(const memory_resource& other) const noexcept override;
};

} // namespace QV
