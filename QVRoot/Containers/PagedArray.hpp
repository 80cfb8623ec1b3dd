/// A growable array in pages of N elements, which never move: references stay valid until the element itself
/// is removed or shifted by the removal of an earlier one.
///
/// Indexes are unsigned 32-bit and unchecked.
///
/// Threads: one at a time. Errors: `OutOfMemoryException`; the array is then as it was before. Allocation:
/// pages from the memory manager, and a list of them.
#pragma once

#include <QVRoot/Containers/Array.hpp>

namespace QV {

template <class T, UInt32 N>
class PagedArray {
public:
    /// What a search answers when there is no such element.
    static constexpr UInt32 NotFound = 0xFFFFFFFF;

    PagedArray() noexcept = default;
    PagedArray(const PagedArray& other)
    {
        for (UInt32 i = 0; i < other.count_; ++i) {
            Append(other[i]);
        }
    }
    PagedArray(PagedArray&& other) noexcept { Swap(other); }
    PagedArray& operator=(PagedArray other) noexcept
    {
        Swap(other);
        return *this;
    }
    ~PagedArray()
    {
        Clear();
        for (T* const page : pages_) {
            MemoryManager::Free(page);
        }
    }

    UInt32 GetCount() const noexcept { return count_; }
    bool IsEmpty() const noexcept { return count_ == 0; }

    T& operator[](UInt32 index) noexcept { return pages_[index / N][index % N]; }
    const T& operator[](UInt32 index) const noexcept { return pages_[index / N][index % N]; }

    /// Appends an element and returns it. The page is there before the array changes.
    T& Append(T element)
    {
        if (count_ == pages_.GetCount() * N) {
            pages_.Reserve(pages_.GetCount() + 1);
            pages_.Append(
                static_cast<T*>(MemoryManager::Allocate(N * sizeof(T), MemoryManager::ThrowOnFailure, true)));
        }
        T* const place = pages_[count_ / N] + count_ % N;
        new (place) T(std::move(element));
        ++count_;
        return *place;
    }

    /// The index of the first element equal to the given one, or `NotFound`.
    UInt32 Find(const T& element) const
    {
        for (UInt32 i = 0; i < count_; ++i) {
            if ((*this)[i] == element) {
                return i;
            }
        }
        return NotFound;
    }

    /// Removes one element; the order of the others is kept.
    void RemoveAt(UInt32 index)
    {
        for (UInt32 i = index + 1; i < count_; ++i) {
            (*this)[i - 1] = std::move((*this)[i]);
        }
        RemoveLast();
    }
    void RemoveLast() noexcept
    {
        std::destroy_at(&(*this)[count_ - 1]);
        --count_;
    }

    /// Destroys all elements and keeps the pages.
    void Clear() noexcept
    {
        while (count_ != 0) {
            RemoveLast();
        }
    }

    void Swap(PagedArray& other) noexcept
    {
        pages_.Swap(other.pages_);
        std::swap(count_, other.count_);
    }

private:
    Array<T*> pages_;
    UInt32 count_ = 0;
};

} // namespace QV
