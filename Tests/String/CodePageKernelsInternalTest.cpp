// Every set of code-page kernels that this processor has, against the plain loops.
#include "Tests/Support/GuardedArray.hpp"

#include <QVRoot/String/CodePages/CodePageKernelsImpl.hpp>

#include <algorithm>
#include <cstring>
#include <random>
#include <vector>

namespace QV::Impl {
namespace {

using Testing::GuardedArray;

class CodePageKernelsTest : public testing::TestWithParam<const CodePageKernels*> {
protected:
    CodePageKernelsTest()
    {
        for (UInt32 byte = 0; byte < 0x100; ++byte) {
            units_[byte] = static_cast<UInt16>(byte < 0x80 ? byte : random_());
        }
        for (UInt32 unit = 0; unit < 0x10000; ++unit) {
            bytes_[unit] = static_cast<UInt8>(unit < 0x80 ? unit : 1 + random_() % 255);
        }
        bytes_[missing] = 0;
    }

    UInt8 NextByte(UInt32 mode)
    {
        const UInt32 value = random_();
        const bool ascii = mode == 0 || (mode == 1 && value % 16 != 0) || (mode == 2 && value % 2 != 0);
        return static_cast<UInt8>(value >> 8 & 0x7F) | (ascii ? 0 : 0x80);
    }

    UInt16 NextUnit(UInt32 mode)
    {
        const UInt32 value = random_();
        const UInt16 unit = static_cast<UInt16>(value >> 16);
        const UInt16 narrow = static_cast<UInt16>(mode < 3 ? 0x400 + (unit & 0x17F) : unit);
        return NextByte(mode) < 0x80 ? static_cast<UInt16>(unit & 0x7F) : std::max<UInt16>(narrow, 0x80);
    }

    static constexpr UInt16 missing = 0x2345;

    const CodePageKernels& kernels_ = *GetParam();
    std::minstd_rand random_{7};
    UInt16 units_[0x100];
    std::vector<UInt8> bytes_ = std::vector<UInt8>(0x10000);
    GuardedArray<UInt8> narrow_{4096};
    GuardedArray<UInt16> wide_{4096};
};

TEST_P(CodePageKernelsTest, DecodeLikeThePlainLoop)
{
    for (USize length = 0; length < 300; ++length) {
        for (UInt32 mode = 0; mode < 4; ++mode) {
            UInt8* const source = narrow_.GetEnd() - length;
            std::generate_n(source, length, [&] { return NextByte(mode); });
            std::vector<UInt16> expected(length);
            ReferenceDecodeSingles(units_, source, length, expected.data());
            for (UInt16* const target : {wide_.GetEnd() - length, wide_.GetBegin()}) {
                kernels_.decode(units_, source, length, target);
                ASSERT_TRUE(std::equal(expected.begin(), expected.end(), target)) << length << ' ' << mode;
            }
        }
    }
}

TEST_P(CodePageKernelsTest, EncodeLikeThePlainLoop)
{
    for (USize length = 0; length < 300; ++length) {
        for (UInt32 mode = 0; mode < 4; ++mode) {
            UInt16* const source = wide_.GetEnd() - length;
            std::generate_n(source, length, [&] { return NextUnit(mode); });
            std::replace(source, source + length, missing, UInt16(0));
            std::vector<UInt8> expected(length);
            ASSERT_TRUE(ReferenceEncodeSingles(bytes_.data(), source, length, expected.data()));
            UInt8* const target = narrow_.GetEnd() - length;
            ASSERT_TRUE(kernels_.encode(bytes_.data(), source, length, target));
            ASSERT_TRUE(std::equal(expected.begin(), expected.end(), target)) << length << ' ' << mode;
            if (length > 0) {
                source[random_() % length] = missing;
                ASSERT_FALSE(kernels_.encode(bytes_.data(), source, length, target)) << length;
            }
        }
    }
}

TEST_P(CodePageKernelsTest, RunsOfAsciiStopInFrontOfAnythingElse)
{
    for (USize length = 0; length < 200; ++length) {
        for (USize other = 0; other <= length; ++other) {
            UInt8* const bytes = narrow_.GetEnd() - length;
            UInt16* const units = wide_.GetEnd() - length;
            for (USize i = 0; i < length; ++i) {
                units[i] = bytes[i] = static_cast<UInt8>(i & 0x7F);
            }
            if (other < length) {
                bytes[other] = 0x80;
                units[other] = 0x4100;
            }
            std::vector<UInt16> widened(length);
            std::vector<UInt8> narrowed(length);
            const USize read = kernels_.widenRun(bytes, length, widened.data());
            const USize written = kernels_.narrowRun(units, length, narrowed.data());
            ASSERT_TRUE(read <= other && written <= other && read + 64 > other && written + 64 > other);
            ASSERT_TRUE(std::equal(bytes, bytes + read, widened.data()));
            ASSERT_TRUE(std::equal(units, units + written, narrowed.data()));
        }
    }
}

std::vector<const CodePageKernels*> ListKernels()
{
    const CodePageKernels* list[maxCodePageKernels];
    return {list, list + ListCodePageKernels(list)};
}

INSTANTIATE_TEST_SUITE_P(Sets, CodePageKernelsTest, testing::ValuesIn(ListKernels()),
                         [](const auto& info) { return info.param->name; });

} // namespace
} // namespace QV::Impl
