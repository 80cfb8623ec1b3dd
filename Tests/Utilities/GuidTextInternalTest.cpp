#include <QVRoot/Utilities/GuidTextImpl.hpp>

#include <gtest/gtest.h>

#include <cctype>
#include <cstring>
#include <memory>
#include <random>
#include <string_view>

namespace QV::Impl {

TEST(GuidText, PrintsInVectorsAsPlainly)
{
    std::mt19937_64 random(3);
    for (int i = 0; i < 20000; ++i) {
        const UInt64 image[2] = {random(), random()};
        Guid guid;
        std::memcpy(static_cast<void*>(&guid), image, sizeof(image));
        char fast[guidTextLength];
        char plain[guidTextLength];
        PrintGuid(guid, fast);
        PrintGuidPlainly(guid, plain);
        ASSERT_EQ(std::string_view(fast, guidTextLength), std::string_view(plain, guidTextLength));
    }
}

TEST(GuidText, TakesTheSameBytesAsDigitsInEveryPlace)
{
    const std::string_view text = "0123a567-89AB-cdef-FEDC-ba9876543210";
    for (std::size_t position = 0; position < text.size(); ++position) {
        for (int byte = 0; byte < 256; ++byte) {
            // A block of exactly that size, so that the address sanitizer sees a step outside.
            const std::unique_ptr<char[]> changed(new char[guidTextLength]);
            std::memcpy(changed.get(), text.data(), text.size());
            changed[position] = static_cast<char>(byte);
            Guid fast;
            Guid plain;
            const bool parsed = ParseSeparatedGuid(changed.get(), fast);
            const bool isSeparator = text[position] == '-';
            const bool isDigit = std::isxdigit(byte) != 0;
            ASSERT_EQ(parsed, isSeparator ? byte == '-' : isDigit) << position << ' ' << byte;
            if (parsed) {
                const char* const end = changed.get() + guidTextLength;
                ASSERT_EQ(ParseGuidPlainly<char>(changed.get(), end, false, plain), NoError);
                ASSERT_EQ(fast, plain);
            }
        }
    }
}

} // namespace QV::Impl
