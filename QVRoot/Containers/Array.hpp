/// A growable array in one block.
///
///     Array<int> numbers;
///     numbers.Append(3);
///     for (int n : numbers) { … }
///
/// Indexes are unsigned 32-bit and unchecked. Growing moves the elements, so references into the array end
/// with the next change of its size.
///
/// Threads: one at a time. Errors: `OutOfMemoryException`; the array is then as it was before. Allocation:
/// one block from the memory manager, growing by half.
#pragma once

#include <QVRoot/MemoryManagement/Core/MemoryManager.hpp>

#include <initializer_list>
#include <memory>
#include <new>
#include <type_traits>
#include <utility>

namespace QV {

template <class T>
class Array {
public:
    Array() noexcept = default;
    Array(std::initializer_list<T> elements) { AppendRange(elements.begin(), elements.end()); }
    Array(const Array& other) { AppendRange(other.begin(), other.end()); }
    Array(Array&& other) noexcept { Swap(other); }
    Array& operator=(const Array& other)
    {
        if (this != &other) {
            Array(other).Swap(*this);
        }
        return *this;
    }
    Array& operator=(Array&& other) noexcept
    {
        Swap(other);
        return *this;
    }
    ~Array()
    {
        Clear();
        MemoryManager::Free(elements_);
    }

    UInt32 GetCount() const noexcept { return count_; }
    bool IsEmpty() const noexcept { return count_ == 0; }

    T& operator[](UInt32 index) noexcept { return elements_[index]; }
    const T& operator[](UInt32 index) const noexcept { return elements_[index]; }
    T& GetLast() noexcept { return elements_[count_ - 1]; }
    const T& GetLast() const noexcept { return elements_[count_ - 1]; }

    T* begin() noexcept { return elements_; }
    T* end() noexcept { return elements_ + count_; }
    const T* begin() const noexcept { return elements_; }
    const T* end() const noexcept { return elements_ + count_; }

    /// Appends an element and returns it. The argument may be an element of this array.
    template <class... Arguments>
    T& Emplace(Arguments&&... arguments)
    {
        if (count_ < capacity_) {
            T* const element = new (elements_ + count_) T(std::forward<Arguments>(arguments)...);
            ++count_; // only now: the constructor may have thrown
            return *element;
        }
        // Built before the old block goes, since the arguments may live in it.
        Array grown;
        grown.AllocateBlock(GrownCapacity());
        new (grown.elements_ + count_) T(std::forward<Arguments>(arguments)...);
        try {
            grown.TakeElements(*this);
        } catch (...) {
            std::destroy_at(grown.elements_ + count_);
            throw;
        }
        ++grown.count_;
        Swap(grown);
        return elements_[count_ - 1];
    }
    void Append(const T& element) { Emplace(element); }
    void Append(T&& element) { Emplace(std::move(element)); }

    /// Inserts before `index`, which may be the count.
    void InsertAt(UInt32 index, T element)
    {
        Append(std::move(element));
        for (UInt32 i = count_ - 1; i > index; --i) {
            std::swap(elements_[i], elements_[i - 1]);
        }
    }

    /// Removes one element; the order of the others is kept.
    void RemoveAt(UInt32 index)
    {
        for (UInt32 i = index + 1; i < count_; ++i) {
            elements_[i - 1] = std::move(elements_[i]);
        }
        RemoveLast();
    }
    void RemoveLast() noexcept { std::destroy_at(elements_ + --count_); }

    /// Destroys all elements and keeps the block.
    void Clear() noexcept
    {
        std::destroy_n(elements_, count_);
        count_ = 0;
    }

    /// Makes room for `capacity` elements in all.
    void Reserve(UInt32 capacity)
    {
        if (capacity > capacity_) {
            Array grown;
            grown.AllocateBlock(capacity);
            grown.TakeElements(*this);
            Swap(grown);
        }
    }

    void Swap(Array& other) noexcept
    {
        std::swap(elements_, other.elements_);
        std::swap(count_, other.count_);
        std::swap(capacity_, other.capacity_);
    }

private:
    USize GrownCapacity() const noexcept { return USize{capacity_} + capacity_ / 2 + 4; }

    void AllocateBlock(USize capacity)
    {
        // A count beyond 32 bits can only be refused, and the memory manager does so.
        const USize size = capacity > 0xFFFFFFFFu ? ~USize{0} : capacity * sizeof(T);
        elements_ = static_cast<T*>(MemoryManager::Allocate(size, MemoryManager::ThrowOnFailure, true));
        capacity_ = static_cast<UInt32>(capacity);
    }

    void TakeElements(Array& other)
    {
        for (T& element : other) {
            new (elements_ + count_) T(std::move_if_noexcept(element));
            ++count_;
        }
    }

    template <class Iterator>
    void AppendRange(Iterator first, Iterator last)
    {
        Array filled;
        if (first != last) {
            filled.AllocateBlock(static_cast<USize>(last - first));
        }
        for (; first != last; ++first) {
            new (filled.elements_ + filled.count_) T(*first);
            ++filled.count_;
        }
        Swap(filled);
    }

    T* elements_ = nullptr;
    UInt32 count_ = 0;
    UInt32 capacity_ = 0;
};

} // namespace QV
