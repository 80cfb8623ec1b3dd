/// In-place access to the memory of channels, past the channel's and the protocol's operations.
///
/// Most data travel through memory. Where a channel has a window open, or is exactly one of the library's own
/// memory channels, not a derived one, and sound, images are moved in place; everything else, failures
/// included, answers null here and takes the operations. Under the native protocol a memory channel gets a
/// window on this occasion.
#pragma once

#include <QVRoot/Channel/IMemChannel.hpp>
#include <QVRoot/Channel/OMemChannel.hpp>
#include <QVRoot/Channel/TransferImpl.hpp>

namespace QV::Impl {

struct MemImage {
    /// n more bytes of output, for the caller to fill. Never grows the block.
    static char* TryAppend(OChannel& oc, USize n) noexcept
    {
        if (char* const image = oc.TakeWindow(n)) [[likely]] {
            return image;
        }
        return AppendToBlock(oc, n);
    }

    /// The same under the native protocol only, for a form that no other protocol has.
    static char* TryAppendNative(OChannel& oc, USize n) noexcept
    {
        if (char* const image = oc.TakeWindow(n)) [[likely]] {
            return image; // there are no windows under another one
        }
        return HasNativeProtocol(oc) ? AppendToBlock(oc, n) : nullptr;
    }

    /// The next n bytes of input, and goes behind them.
    static const char* TryTake(IChannel& ic, USize n) noexcept
    {
        if (const char* const image = ic.TakeWindow(n)) [[likely]] {
            return image;
        }
        const char* const image = LookIntoBlock(ic, n);
        if (image != nullptr) {
            MoveTo(ic, image + n);
        }
        return image;
    }

    /// The next n bytes of input, and stays before them.
    static const char* TryLook(IChannel& ic, USize n) noexcept
    {
        const char* const image = ic.LookIntoWindow(n);
        return image != nullptr ? image : LookIntoBlock(ic, n);
    }

    /// The same under the native protocol only.
    static const char* TryLookNative(IChannel& ic, USize n) noexcept
    {
        const char* const image = ic.LookIntoWindow(n);
        if (image != nullptr) [[likely]] {
            return image;
        }
        return HasNativeProtocol(ic) ? LookIntoBlock(ic, n) : nullptr;
    }

private:
    static char* AppendToBlock(OChannel& oc, USize n) noexcept
    {
        if (!IsExactly<OMemChannel>(oc)) {
            return nullptr;
        }
        auto& channel = static_cast<OMemChannel&>(oc);
        channel.Settle();
        OMemChannel::Buffer& buffer = channel.buffer_;
        if (channel.status_ != NoError || buffer.count + n >= buffer.capacity) {
            return nullptr;
        }
        char* const image = *buffer.handle + buffer.count + 1;
        buffer.count += static_cast<UInt32>(n);
        if (HasNativeProtocol(oc)) {
            oc.OpenWindow(image + n, *buffer.handle + buffer.capacity);
        }
        return image;
    }

    static const char* LookIntoBlock(IChannel& ic, USize n) noexcept
    {
        if (!IsExactly<IMemChannel>(ic)) {
            return nullptr;
        }
        const auto& channel = static_cast<const IMemChannel&>(ic);
        const char* const current = channel.GetCurrent();
        if (channel.status_ != NoError || static_cast<USize>(channel.end_ - current) < n) {
            return nullptr;
        }
        return current;
    }

    static void MoveTo(IChannel& ic, const char* position) noexcept
    {
        auto& channel = static_cast<IMemChannel&>(ic);
        channel.Settle();
        channel.current_ = position;
        if (HasNativeProtocol(ic)) {
            ic.OpenWindow(position, channel.end_);
        }
    }
};

} // namespace QV::Impl
