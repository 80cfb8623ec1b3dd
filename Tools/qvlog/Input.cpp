#include "Input.hpp"

#include <algorithm>
#include <cstring>

namespace QVLog {

bool Input::Fill(std::size_t count)
{
    count = std::min(count, most);
    std::memmove(buffer_.data(), buffer_.data() + begin_, end_ - begin_);
    end_ -= begin_;
    begin_ = 0;
    if (buffer_.size() < count) {
        buffer_.resize(std::min(most, std::max(count, 2 * buffer_.size())));
    } else if (buffer_.size() > smallest && std::max(count, end_) < smallest / 2) {
        buffer_.resize(smallest); // a giant has passed
        buffer_.shrink_to_fit();
    }
    while (end_ < count) {
        const std::size_t got = file_->Read(offset_ + end_, buffer_.data() + end_, buffer_.size() - end_);
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
