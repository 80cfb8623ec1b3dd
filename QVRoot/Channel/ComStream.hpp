/// What the streams over memory have in common: counting, reading, positions.
///
/// | member                                     | answers                                      |
/// |--------------------------------------------|----------------------------------------------|
/// | `QueryInterface`                           | `IUnknown` and `IStream`, else `NoInterface` |
/// | `Read` at or behind the end                | `False`, and stores no count                 |
/// | `Seek` before the start or from nowhere    | `InvalidFunction`                            |
/// | `Commit`, `Revert`, `LockRegion`, `Clone`… | `NotImplemented`                             |
///
/// Positions are 32 bits and may lie behind the end. Counts may be stored nowhere: null. Streams are made
/// with one reference and delete themselves with the last; the bytes belong to someone else and must live on.
///
/// Threads: references may be counted on any thread; the rest is for one thread at a time. Errors: results
/// only. Allocation: one block for the object.
#pragma once

#include <QVRoot/Channel/ComInterfaces.hpp>

#include <cstddef>

namespace QV {

class QV_EXPORT ComStream : public Com::IStream {
public:
    ComStream(const ComStream&) = delete;
    ComStream& operator=(const ComStream&) = delete;

    Com::Result QueryInterface(const Guid& id, void** object) override;
    UInt32 AddRef() override;
    UInt32 Release() override;
    Com::Result Read(void* buffer, UInt32 n, UInt32* read) override;
    /// Stores the new position, or the negative one that is refused.
    Com::Result Seek(Int64 offset, UInt32 origin, UInt64* newPosition) override;
    Com::Result Commit(UInt32 flags) override;
    Com::Result Revert() override;
    Com::Result LockRegion(UInt64 offset, UInt64 n, UInt32 type) override;
    Com::Result UnlockRegion(UInt64 offset, UInt64 n, UInt32 type) override;
    /// The three times are the present; there is no name, whatever the flag.
    Com::Result Stat(Com::StreamStatus* status, UInt32 flag) override;
    Com::Result Clone(Com::IStream** copy) override;

    /// The object as functions of the system take it.
    ::IStream* GetSystemStream() noexcept
    {
        return reinterpret_cast<::IStream*>(static_cast<Com::IStream*>(this));
    }

    /// Streams live in the memory manager's blocks.
    static void* operator new(std::size_t size) noexcept;
    static void operator delete(void* block) noexcept;

protected:
    ComStream(const void* data, UInt32 size, bool readOnly) noexcept;
    virtual ~ComStream();

    /// Where the bytes are and how many there are at present; null for none.
    virtual const char* GetBytes(UInt32* size) const noexcept = 0;

    const void* data_;
    UInt32 size_;
    UInt32 position_ = 0;
    bool readOnly_;
    UInt32 referenceCount_ = 1;
};

} // namespace QV
