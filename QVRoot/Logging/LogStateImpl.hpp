/// What a started logger works with. Everything but the lock and the mark belongs to the thread inside.
#pragma once

#include <QVRoot/Logging/FastLogger.hpp>
#include <QVRoot/Logging/LogIdTableImpl.hpp>
#include <QVRoot/Logging/LogLockImpl.hpp>
#include <QVRoot/Logging/LogRingImpl.hpp>

namespace QV::Impl {

inline UInt64 GetLogHash(const UInt64& hash)
{
    return hash;
}
inline UInt64 GetLogHash(const Guid& id)
{
    UInt64 halves[2];
    std::memcpy(halves, &id, sizeof(halves));
    return halves[0] ^ halves[1] * 0xC2B2AE3D27D4EB4F;
}

/// The tables that a block begins with empty ones of.
struct LogBlock {
    /// Lines whose descriptor has been sent, a bit each.
    UInt64 sentLines[0x10000 / 64] = {};
    LogRing<UInt64, 250> threads;
    LogRing<UInt16, 240> lines;
    LogRing<UInt32, 250> codes;
    LogIdTable<UInt64, GetLogHash> strings;
    LogIdTable<Guid, GetLogHash> ids;
    UInt32 lastId = 1;

    void Clear() noexcept
    {
        std::memset(sentLines, 0, sizeof(sentLines));
        threads.Clear();
        lines.Clear();
        codes.Clear();
        strings.Clear();
        ids.Clear();
        lastId = 1;
    }
};

/// Where a line's records are put together before they are written as one. Pieces of known size are put
/// without a check; `Reserve` makes room for them.
class LogStage {
public:
    LogStage() noexcept = default;
    ~LogStage()
    {
        if (begin_ != inline_) {
            MemoryManager::Free(begin_);
        }
    }
    LogStage(const LogStage&) = delete;
    LogStage& operator=(const LogStage&) = delete;

    char* GetBegin() noexcept { return begin_; }

    /// The cursor, moved if need be, with room for n bytes behind it; null without memory.
    char* Reserve(char* at, USize n) noexcept
    {
        return n <= static_cast<USize>(end_ - at) ? at : Grow(at, n);
    }

private:
    char* Grow(char* at, USize n) noexcept;

    char* begin_ = inline_;
    char* end_ = inline_ + sizeof(inline_);
    char inline_[4096];
};

struct LogState {
    LogLock lock;
    /// The thread inside, 0 for none. A thread finds its own id here only if it put it there.
    std::atomic<UInt32> inside = 0;

    bool hasTime = false;  ///< of the members below; cleared at a block's start
    bool isBroken = false; ///< the stream has a gap: go on with a new block
    Int32 lastTime = 0;
    Int32 lastAttempt = 0; ///< when the channel was last asked whether it works again
    UInt32 lastMicroseconds = 0;
    UInt64 lastThread = 0; ///< 0 is nobody
    FastLogger::Control* control = nullptr;
    OChannel* channel = nullptr;
    UInt64 blockSize = 0;
    Int32 blockTime = 0; ///< when it began
    LogCounts counts;
    std::atomic<UInt64> droppedOutside = 0; ///< before they came to the lock
    LogStage stage;
    LogBlock block;
};

/// Numbers of lines: those of the macros count up from the first, the logger's own have the last ones.
enum LogLineNumber : UInt16 {
    FirstAutomaticLine = 0x8000,
    LastAutomaticLine = 0xFFFA,
    TimeMarkLine = 0xFFFB,
    ThreadNameLine = 0xFFFC,
    StartedLine = 0xFFFD,
    StoppedLine = 0xFFFE,
    SharedLine = 0xFFFF, ///< of all those that came too late for a number: always sent with descriptor
};

constexpr EventLogLine MakeOwnLogLine(UInt16 id, const LogParameter* parameters, UInt16 count,
                                      const char* format, const char* name) noexcept
{
    return {id, 0, parameters, count, format, "QVRoot", name};
}

/// Puts a value as it is in memory and answers the place behind it.
template <class T>
char* Put(char* at, const T& value) noexcept
{
    std::memcpy(at, &value, sizeof(T));
    return at + sizeof(T);
}

/// The hash of a compressed string: a polynomial over its signed characters, modulo 2^64.
UInt64 HashLogString(const char* text, UInt32 length) noexcept;

/// Encodes a text as UTF-8 and answers its bytes: as many whole characters as `most` bytes hold. An unpaired
/// surrogate becomes U+FFFD.
UInt32 LogTextToUtf8(const unsigned short* text, UInt32 length, char* bytes, UInt32 most) noexcept;

} // namespace QV::Impl
