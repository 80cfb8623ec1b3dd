/// The interfaces by which components of Windows exchange bytes, declared so that one source serves both
/// targets. Slots, layouts, identifiers and widths are those of Windows: there the objects are what the
/// system means by these interfaces, elsewhere they are classes like any other.
///
/// Threads, errors: as each object says. Results are codes; nothing throws.
#pragma once

#include <QVRoot/Utilities/Guid.hpp>

/// The system's own declaration, where a program includes it.
struct IStream;

namespace QV::Com {

/// @name Results
/// Negative ones are failures.
/// @{
using Result = Int32;

inline constexpr Result Ok = 0;                                            ///< S_OK
inline constexpr Result False = 1;                                         ///< S_FALSE
inline constexpr Result NotImplemented = static_cast<Result>(0x80004001);  ///< E_NOTIMPL
inline constexpr Result NoInterface = static_cast<Result>(0x80004002);     ///< E_NOINTERFACE
inline constexpr Result InvalidFunction = static_cast<Result>(0x80030001); ///< STG_E_INVALIDFUNCTION
inline constexpr Result InvalidPointer = static_cast<Result>(0x80030009);  ///< STG_E_INVALIDPOINTER
inline constexpr Result MediumFull = static_cast<Result>(0x80030070);      ///< STG_E_MEDIUMFULL
/// @}

/// What a position counts from.
enum SeekOrigin : UInt32 {
    SeekFromStart = 0,
    SeekFromPosition = 1,
    SeekFromEnd = 2,
};

/// Units of 100 ns since 1601-01-01 UTC, in two halves.
struct FileTime {
    UInt32 low;
    UInt32 high;
};

/// What a stream tells about itself (STATSTG).
struct StreamStatus {
    unsigned short* name;
    UInt32 type; ///< `StreamType`
    UInt64 size;
    FileTime modified;
    FileTime created;
    FileTime accessed;
    UInt32 mode;
    UInt32 locksSupported;
    Guid classId;
    UInt32 stateBits;
    UInt32 reserved;
};

static_assert(sizeof(StreamStatus) == 80);

inline constexpr UInt32 StreamType = 2; ///< STGTY_STREAM

inline constexpr Guid UnknownId(0x00000000, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46});
inline constexpr Guid SequentialStreamId(0x0C733A30, 0x2A1C, 0x11CE,
                                         {0xAD, 0xE5, 0, 0xAA, 0, 0x44, 0x77, 0x3D});
inline constexpr Guid StreamId(0x0000000C, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46});

/// A counted object that can be asked for other interfaces.
class IUnknown {
public:
    virtual Result QueryInterface(const Guid& id, void** object) = 0;
    virtual UInt32 AddRef() = 0;
    virtual UInt32 Release() = 0;

protected:
    ~IUnknown() = default;
};

class ISequentialStream : public IUnknown {
public:
    virtual Result Read(void* buffer, UInt32 n, UInt32* read) = 0;
    virtual Result Write(const void* buffer, UInt32 n, UInt32* written) = 0;

protected:
    ~ISequentialStream() = default;
};

class IStream : public ISequentialStream {
public:
    virtual Result Seek(Int64 offset, UInt32 origin, UInt64* newPosition) = 0;
    virtual Result SetSize(UInt64 newSize) = 0;
    virtual Result CopyTo(IStream* target, UInt64 n, UInt64* read, UInt64* written) = 0;
    virtual Result Commit(UInt32 flags) = 0;
    virtual Result Revert() = 0;
    virtual Result LockRegion(UInt64 offset, UInt64 n, UInt32 type) = 0;
    virtual Result UnlockRegion(UInt64 offset, UInt64 n, UInt32 type) = 0;
    virtual Result Stat(StreamStatus* status, UInt32 flag) = 0;
    virtual Result Clone(IStream** copy) = 0;

protected:
    ~IStream() = default;
};

} // namespace QV::Com
