#include <QVRoot/Logging/FastLogger.hpp>

#include <QVRoot/BasicEnvironment/ErrorStatus.hpp>
#include <QVRoot/Logging/LogStateImpl.hpp>
#include <QVRoot/String/UniString.hpp>

#include <algorithm>

namespace QV {

namespace {

constexpr UInt32 longestString = 0xFFFF;

} // namespace

void FastLogger::LogComposer::FreeBuffer() noexcept
{
    MemoryManager::Free(begin_);
}

bool FastLogger::LogComposer::Grow(USize n) noexcept
{
    constexpr USize most = 0x40000000;
    const USize used = static_cast<USize>(at_ - begin_);
    const USize size = (used + n) * 2;
    void* const block = !hasFailed_ && size <= most
                            ? MemoryManager::Allocate(size, MemoryManager::ReturnNullOnFailure, false)
                            : nullptr;
    if (block == nullptr) {
        hasFailed_ = true;
        end_ = at_; // so that all further values come here, too
        return false;
    }
    std::memcpy(block, begin_, used);
    if (begin_ != inline_) {
        MemoryManager::Free(begin_);
    }
    begin_ = static_cast<char*>(block);
    at_ = begin_ + used;
    end_ = begin_ + size;
    return true;
}

void FastLogger::LogComposer::AddRepeatedString(const char* text, UInt32 length) noexcept
{
    length = text != nullptr ? std::min(length, longestString) : 0;
    AddHashedString(text, length, Impl::HashLogString(text, length));
}

void FastLogger::LogComposer::AddString(const unsigned short* text, UInt32 length, bool isRepeated) noexcept
{
    constexpr UInt32 longestUnit = 3; // bytes of UTF-8
    length = text != nullptr ? std::min(length, longestString) : 0;
    const USize head = sizeof(UInt16) + sizeof(UInt64);
    const USize most = head + USize{length} * longestUnit;
    if (static_cast<USize>(end_ - at_) < most && !Grow(most)) {
        return;
    }
    char* const bytes = at_ + head;
    const UInt32 size = Impl::LogTextToUtf8(text, length, bytes, longestString);
    const auto shortLength = static_cast<UInt16>(size);
    const UInt64 hash = isRepeated ? Impl::HashLogString(bytes, size) : 0;
    std::memcpy(at_, &shortLength, sizeof(shortLength));
    std::memcpy(at_ + sizeof(shortLength), &hash, sizeof(hash));
    at_ = bytes + size;
}

void LogAssertSubject(FastLogger::LogComposer& composer, const ErrorStatus& status) noexcept
{
    composer.Add(static_cast<Int32>(status.GetErrorCode()));
    if (!status.HasErrorMessage()) {
        composer.AddString("", 0);
        return;
    }
    const std::u16string_view message = status.GetErrorMessage().GetView();
    composer.AddString(reinterpret_cast<const unsigned short*>(message.data()),
                       static_cast<UInt32>(message.size()));
}

} // namespace QV
