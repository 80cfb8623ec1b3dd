/// How functions write text into the room that they are given.
#pragma once

#include <QVRoot/String/CharPageImpl.hpp>

#include <cstring>

namespace QV::Impl {

/// Whether a call asks for the length of a result.
inline bool IsLengthQuestion(const void* source, const void* destination, int capacity) noexcept
{
    return source != nullptr && destination == nullptr && capacity == 0;
}

/// A length as an answer; 0 when it is too large for one.
inline int ToLength(USize length) noexcept
{
    return length > 0x7FFFFFFF ? 0 : static_cast<int>(length);
}

/// Takes pieces, each whole or not at all, and keeps the result terminated. Without a destination it counts.
class CharTextSink {
public:
    CharTextSink(char* destination, int capacity) noexcept
        : destination_(destination),
          room_(destination == nullptr ? unlimited : static_cast<USize>(capacity) - 1)
    {
    }

    bool Put(const char* piece, int bytes) noexcept
    {
        const USize size = static_cast<USize>(bytes);
        if (size > room_ - length_) {
            return false;
        }
        if (destination_ != nullptr) {
            std::memcpy(destination_ + length_, piece, size);
        }
        length_ += size;
        return true;
    }

    int Finish() noexcept
    {
        if (destination_ != nullptr) {
            destination_[length_] = 0;
        }
        return ToLength(length_);
    }

private:
    char* destination_;
    USize room_;
    USize length_ = 0;
};

/// Gives each character to `rewrite(character, bytes, sink)` until it answers false for want of room.
template <class Rewrite>
int RewriteText(const char* source, char* destination, int capacity, const CharPage& page, Rewrite rewrite)
{
    const bool question = IsLengthQuestion(source, destination, capacity);
    if (!question && (destination == nullptr || capacity <= 0)) {
        return 0;
    }
    CharTextSink sink(destination, capacity);
    while (source != nullptr && *source != 0) {
        const int bytes = page.GetBytes(source);
        if (!rewrite(source, bytes, sink)) {
            break;
        }
        source += bytes;
    }
    return sink.Finish();
}

} // namespace QV::Impl
