/// What the files of `UniString` share, and texts that exist before any allocator does.
#pragma once

#include <QVRoot/String/UniString.hpp>

namespace QV {

namespace Impl {

/// Reports a null text; in the name of the class's main file.
[[noreturn]] void ThrowNullText();

} // namespace Impl

/// A constant string whose buffer is never allocated and never freed: it keeps a count of its own.
template <unsigned int N>
struct StaticUniString {
    consteval StaticUniString(const char16_t (&text)[N])
        : length(N - 1), capacity(N - 1), refCounter(1), reserved(0), content{}
    {
        for (unsigned int i = 0; i < N; ++i) {
            content[i] = text[i];
        }
    }

    /// Shares the text; allocates nothing and does not fail.
    UniString Share() noexcept
    {
        static_assert(offsetof(StaticUniString, content) == UniString::HeaderSize);
        return UniString(UniString::ShareBuffer(reinterpret_cast<UniString::SharedBuffer*>(this)));
    }

    UInt32 length;
    UInt32 capacity;
    TSRefCounter refCounter;
    UInt16 reserved;
    unsigned short content[N];
};

} // namespace QV
