#include <Host/BufferedIChannel.hpp>

#include <QVRoot/MemoryManagement/Core/MemoryManager.hpp>

#include <algorithm>
#include <cstring>

namespace QV::Host {

namespace {

constexpr UInt32 initialCapacity = 65536;
constexpr UInt32 mostAhead = 0x40000000;

} // namespace

BufferedIChannel::~BufferedIChannel()
{
    MemoryManager::Free(buffer_);
}

QVErrCode BufferedIChannel::ReadBin(char* dest, UInt32 n, UInt32* got)
{
    if (status_ != NoError) {
        return status_;
    }
    UInt32 total = 0;
    while (total < n && status_ == NoError) {
        UInt32 count = std::min(n - total, GetBuffered());
        if (count != 0) {
            std::memcpy(dest + total, buffer_ + begin_, count);
            Consume(count);
        } else if (n - total >= initialCapacity) {
            status_ = ReadPast(dest + total, n - total, &count);
        } else {
            status_ = Fill(1);
        }
        total += count;
    }
    if (got != nullptr) {
        *got = total;
    }
    return status_;
}

QVErrCode BufferedIChannel::CopyBin(char* dest, UInt32 n, UInt32* got)
{
    if (status_ != NoError) {
        return status_;
    }
    if (n > mostAhead) {
        return ErrParam;
    }
    const QVErrCode error = Fill(n);
    const UInt32 count = std::min(n, GetBuffered());
    if (count != 0) {
        std::memcpy(dest, buffer_ + begin_, count);
    }
    if (got != nullptr) {
        *got = count;
    }
    return error;
}

QVErrCode BufferedIChannel::Look(UInt32 index, char* c)
{
    if (status_ != NoError) {
        return status_;
    }
    if (index >= mostAhead) {
        return ErrParam;
    }
    const QVErrCode error = Fill(index + 1);
    if (error == NoError) {
        *c = buffer_[begin_ + index];
    }
    return error;
}

QVErrCode BufferedIChannel::PushBack(const char* bytes, UInt32 n)
{
    if (status_ != NoError) {
        return status_;
    }
    if (n > position_ || UInt64{n} + GetBuffered() > 2 * UInt64{mostAhead}) {
        return ErrParam;
    }
    if (n > begin_) {
        const UInt32 wanted = n + GetBuffered();
        const UInt32 capacity = std::max({wanted, capacity_, initialCapacity});
        if (const QVErrCode error = Resize(capacity, capacity - GetBuffered())) {
            return error;
        }
    }
    if (n != 0) {
        begin_ -= n;
        position_ -= n;
        std::memmove(buffer_ + begin_, bytes, n); // the rest of a window may be given back from where it lies
    }
    return NoError;
}

QVErrCode BufferedIChannel::Skip(UInt64 n, UInt64* skipped)
{
    if (status_ != NoError) {
        return status_;
    }
    const UInt32 buffered = static_cast<UInt32>(std::min<UInt64>(n, GetBuffered()));
    Consume(buffered);
    UInt64 passed = 0;
    if (buffered < n) {
        const UInt64 rest = n - buffered;
        status_ = SkipSource(rest, &passed);
        if (status_ == ErrGeneral) {
            status_ = SkipByReading(rest, &passed);
        } else {
            position_ += passed;
        }
        if (status_ == NoError && passed < rest) {
            status_ = ErrEndOfInput;
        }
    }
    if (skipped != nullptr) {
        *skipped = buffered + passed;
    }
    return status_;
}

QVErrCode BufferedIChannel::DirectInputAccess(UInt32 n, char** data, UInt32* available)
{
    if (status_ != NoError) {
        return status_;
    }
    if (n != 0) {
        status_ = Fill(1);
    }
    *available = std::min(n, GetBuffered());
    *data = buffer_ + begin_;
    Consume(*available);
    return status_;
}

QVErrCode BufferedIChannel::GetInputPosition(UInt64* position) const
{
    *position = position_;
    return NoError;
}

QVErrCode BufferedIChannel::GetAvailable(UInt64* n) const
{
    UInt64 rest = 0;
    const QVErrCode error = GetSourceAvailable(&rest);
    if (error == NoError) {
        *n = GetBuffered() + rest;
    }
    return error;
}

void BufferedIChannel::SetDefaultInputProtocol()
{
    SetInputProtocol(ownProtocol_);
}

QVErrCode BufferedIChannel::GetInputStatus() const
{
    return status_;
}

void BufferedIChannel::ResetInputStatus()
{
    status_ = NoError;
}

void BufferedIChannel::Restart() noexcept
{
    begin_ = 0;
    end_ = 0;
    position_ = 0;
    status_ = NoError;
}

void BufferedIChannel::Consume(UInt32 n) noexcept
{
    begin_ += n;
    position_ += n;
}

/// Buffers at least `wanted` bytes, or all that there are and `ErrEndOfInput`.
QVErrCode BufferedIChannel::Fill(UInt32 wanted)
{
    while (GetBuffered() < wanted) {
        if (const QVErrCode error = MakeRoom(wanted)) {
            return error;
        }
        UInt32 count = 0;
        if (const QVErrCode error = ReadSource(buffer_ + end_, capacity_ - end_, &count)) {
            return error;
        }
        if (count == 0) {
            return ErrEndOfInput;
        }
        end_ += count;
    }
    return NoError;
}

/// Makes room behind the buffered bytes. The buffer grows only when it is full of them, so that a wish alone
/// never costs memory.
QVErrCode BufferedIChannel::MakeRoom(UInt32 wanted)
{
    if (begin_ == end_) {
        begin_ = 0;
        end_ = 0;
    }
    if (end_ < capacity_) {
        return NoError;
    }
    if (begin_ != 0) {
        std::memmove(buffer_, buffer_ + begin_, GetBuffered());
        end_ -= begin_;
        begin_ = 0;
        return NoError;
    }
    if (capacity_ == 0) {
        return Resize(initialCapacity, 0);
    }
    constexpr UInt32 smallestStep = 4096;
    return Resize(std::min(2 * capacity_, std::max(wanted, capacity_ + smallestStep)), 0);
}

/// Moves the buffered bytes to `newBegin` of a buffer of the given capacity.
QVErrCode BufferedIChannel::Resize(UInt32 capacity, UInt32 newBegin)
{
    const UInt32 buffered = GetBuffered();
    if (capacity == capacity_) {
        std::memmove(buffer_ + newBegin, buffer_ + begin_, buffered);
    } else {
        auto* const block =
            static_cast<char*>(MemoryManager::Allocate(capacity, MemoryManager::ReturnNullOnFailure, false));
        if (block == nullptr) {
            return ErrMemoryFull;
        }
        if (buffered != 0) {
            std::memcpy(block + newBegin, buffer_ + begin_, buffered);
        }
        MemoryManager::Free(buffer_);
        buffer_ = block;
        capacity_ = capacity;
    }
    begin_ = newBegin;
    end_ = newBegin + buffered;
    return NoError;
}

/// Reads large pieces without the detour through the buffer.
QVErrCode BufferedIChannel::ReadPast(char* dest, UInt32 n, UInt32* got)
{
    const QVErrCode error = ReadSource(dest, n, got);
    position_ += *got;
    return error == NoError && *got == 0 ? ErrEndOfInput : error;
}

QVErrCode BufferedIChannel::SkipByReading(UInt64 n, UInt64* skipped)
{
    *skipped = 0;
    while (*skipped < n) {
        const QVErrCode error = Fill(1);
        if (error != NoError) {
            return error == ErrEndOfInput ? NoError : error;
        }
        const UInt32 count = static_cast<UInt32>(std::min<UInt64>(n - *skipped, GetBuffered()));
        Consume(count);
        *skipped += count;
    }
    return NoError;
}

} // namespace QV::Host
