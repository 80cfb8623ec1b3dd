/// How a channel, protocol pair or filter holds the binary channel below it.
#pragma once

#include <QVRoot/Containers/RefPtr.hpp>

namespace QV {

/// A channel by reference, which must outlive its user, or by counted reference. Both convert to it, so that
/// whoever takes one takes either.
template <class Channel>
class BinaryChannelRef {
public:
    BinaryChannelRef(Channel& channel) noexcept : channel_(&channel) {}
    template <class Derived>
    requires std::is_convertible_v<Derived*, Channel*> BinaryChannelRef(RefPtr<Derived> channel)
    noexcept : counted_(channel), channel_(counted_.Get()) {}

    /// Null when the counted reference was.
    Channel* Get() const noexcept { return channel_; }
    Channel& operator*() const noexcept { return *channel_; }
    Channel* operator->() const noexcept { return channel_; }

private:
    RefPtr<Channel> counted_; ///< null for a channel by reference
    Channel* channel_;
};

} // namespace QV
