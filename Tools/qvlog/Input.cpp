#include "Input.hpp"

#include <algorithm>
#include <cstring>

namespace QVLog {

/// Keeps what is in the window.
void Input::Resize(std::size_t capacity)
{
    auto buffer = std::make_unique_for_overwrite<unsigned char[]>(capacity);
    if (begin_ != end_) {
        std::memcpy(buffer.get(), buffer_.get() + begin_, end_ - begin_);
    }
    end_ -= begin_;
    begin_ = 0;
    buffer_ = std::move(buffer);
    capacity_ = capacity;
}

bool Input::Fill(std::size_t count)
{
    count = std::min(count, most);
    const std::size_t held = end_ - begin_;
    if (capacity_ < count) {
        Resize(std::min(most, std::max(count, 2 * capacity_)));
    } else if (capacity_ != usual && offset_ != 0 && std::max(count, held) < usual / 2) {
        Resize(usual); // a long log, or a giant line that has passed
    } else if (begin_ != 0) {
        std::memmove(buffer_.get(), buffer_.get() + begin_, held);
        begin_ = 0;
        end_ = held;
    }
    while (end_ < count) {
        if (beforeWait_ && !file_->IsSeekable()) {
            beforeWait_();
        }
        const std::size_t got = file_->Read(offset_ + end_, buffer_.get() + end_, capacity_ - end_);
        if (got == 0) {
            return false;
        }
        end_ += got;
    }
    return true;
}

void Input::SeekTo(std::uint64_t offset)
{
    if (offset >= offset_ && offset - offset_ <= end_ - begin_) {
        Skip(static_cast<std::size_t>(offset - offset_));
        return;
    }
    begin_ = 0;
    end_ = 0;
    offset_ = offset;
}

} // namespace QVLog
