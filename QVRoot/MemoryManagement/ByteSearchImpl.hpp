/// Search for bytes in bytes.
#pragma once

#include <string_view>

namespace QV::Impl {

/// The offset of the first occurrence of a pattern that is not empty, or `npos`. Looks at 16 starts at once;
/// `bytes.find(pattern)` is the plain form with the same answers.
size_t FindBytes(std::string_view bytes, std::string_view pattern) noexcept;

} // namespace QV::Impl
