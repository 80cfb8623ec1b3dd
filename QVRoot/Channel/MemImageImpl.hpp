/// In-place access to the library's own memory channels, past the channel's and the protocol's operations.
///
/// Most data travel through them. Where a channel is exactly one of them, not a derived one, and sound,
/// images are moved in place; everything else, failures included, answers null here and takes the operations.
#pragma once

#include <QVRoot/Channel/IMemChannel.hpp>
#include <QVRoot/Channel/OMemChannel.hpp>

#include <typeinfo>

namespace QV::Impl {

struct MemImage {
    /// n more bytes of output, for the caller to fill. Never grows the block.
    static char* TryAppend(OChannel& oc, USize n) noexcept
    {
        if (typeid(oc) != typeid(OMemChannel)) {
            return nullptr;
        }
        auto& channel = static_cast<OMemChannel&>(oc);
        OMemChannel::Buffer& buffer = channel.buffer_;
        if (channel.status_ != NoError || buffer.count + n >= buffer.capacity) {
            return nullptr;
        }
        char* const image = *buffer.handle + buffer.count + 1;
        buffer.count += static_cast<UInt32>(n);
        return image;
    }

    /// The next n bytes of input, and goes behind them.
    static const char* TryTake(IChannel& ic, USize n) noexcept
    {
        const char* const image = TryLook(ic, n);
        if (image != nullptr) [[likely]] {
            static_cast<IMemChannel&>(ic).current_ += n;
        }
        return image;
    }

    /// The next n bytes of input, and stays before them.
    static const char* TryLook(IChannel& ic, USize n) noexcept
    {
        if (typeid(ic) != typeid(IMemChannel)) {
            return nullptr;
        }
        const auto& channel = static_cast<const IMemChannel&>(ic);
        if (channel.status_ != NoError || static_cast<USize>(channel.end_ - channel.current_) < n) {
            return nullptr;
        }
        return channel.current_;
    }
};

} // namespace QV::Impl
