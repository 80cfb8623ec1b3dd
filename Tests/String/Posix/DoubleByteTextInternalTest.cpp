// Double-byte texts against the plain loops, with every room that is too small.
#include "Tests/Support/GuardedArray.hpp"

#include <QVRoot/String/CodePagePosixImpl.hpp>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

namespace QV::Impl {
namespace {

using Testing::GuardedArray;

class DoubleByteText : public testing::TestWithParam<UInt32> {
protected:
    const DoubleBytePage& page_ = *GetDoubleBytePage(GetParam());
    std::minstd_rand random_{3};
    GuardedArray<char> bytes_{4096};
    GuardedArray<UInt16> units_{4096};

    /// Runs of ASCII, pairs, stray leads and zeros in changing shares.
    void MakeBytes(char* text, USize length)
    {
        const UInt32 share = random_() % 20;
        for (USize i = 0; i < length; ++i) {
            const UInt32 value = random_();
            const bool ascii = value % 20 < share;
            text[i] = static_cast<char>(value % 97 == 0 ? 0 : (value >> 8 & 0x7F) | (ascii ? 0 : 0x80));
        }
    }
};

TEST_P(DoubleByteText, DecodesLikeThePlainLoop)
{
    for (USize length = 1; length < 260; ++length) {
        char* const text = bytes_.GetEnd() - length;
        MakeBytes(text, length);
        const int units = ReferenceDecodeDoubleBytes(page_, text, length, nullptr, 0);
        ASSERT_EQ(DecodeDoubleBytes(page_, text, length, nullptr, 0), units);
        std::vector<UInt16> expected(static_cast<USize>(units));
        ReferenceDecodeDoubleBytes(page_, text, length, expected.data(), units);
        for (int room = units + 3; room > 0; room -= 1 + room / 16) {
            UInt16* const target = units_.GetEnd() - room;
            ASSERT_EQ(DecodeDoubleBytes(page_, text, length, target, room), room < units ? 0 : units);
            ASSERT_TRUE(room < units || std::equal(expected.begin(), expected.end(), target));
        }
    }
}

TEST_P(DoubleByteText, EncodesLikeThePlainLoop)
{
    for (USize length = 1; length < 260; ++length) {
        UInt16* const text = units_.GetEnd() - length;
        for (const bool lossy : {true, false}) {
            std::vector<char> source(length * 2);
            MakeBytes(source.data(), source.size());
            std::vector<UInt16> decoded(source.size());
            DecodeDoubleBytes(page_, source.data(), source.size(), decoded.data(),
                              static_cast<int>(decoded.size()));
            std::copy_n(decoded.begin(), length, text);
            if (lossy || length % 8 == 0) {
                text[random_() % length] = static_cast<UInt16>(random_());
            }
            const int bytes = ReferenceEncodeDoubleBytes(page_, text, length, nullptr, 0, lossy);
            ASSERT_EQ(EncodeDoubleBytes(page_, text, length, nullptr, 0, lossy), bytes);
            std::vector<char> expected(static_cast<USize>(bytes) + 1);
            ReferenceEncodeDoubleBytes(page_, text, length, expected.data(), bytes, lossy);
            for (int room = bytes + 3; room > 0; room -= 1 + room / 16) {
                char* const target = bytes_.GetEnd() - room;
                ASSERT_EQ(EncodeDoubleBytes(page_, text, length, target, room, lossy),
                          room < bytes ? 0 : bytes);
                ASSERT_TRUE(room < bytes || std::equal(target, target + bytes, expected.begin()));
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Pages, DoubleByteText, testing::Values(932U, 936U, 949U, 950U),
                         [](const auto& info) { return "Page" + std::to_string(info.param); });

} // namespace
} // namespace QV::Impl
