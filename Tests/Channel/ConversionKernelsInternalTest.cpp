// Every set of conversion kernels that this processor has, against the plain loops.
#include "Tests/Support/GuardedArray.hpp"

#include <QVRoot/Channel/Conversion/ConversionKernelsImpl.hpp>

#include <algorithm>
#include <numeric>
#include <random>
#include <vector>

namespace QV::Impl {
namespace {

using Testing::GuardedArray;

class ConversionKernelsTest : public testing::TestWithParam<const ConversionKernels*> {
protected:
    ConversionKernelsTest()
    {
        std::iota(std::begin(map_), std::end(map_), 0);
        std::shuffle(map_ + 128, std::end(map_), random_);
    }

    /// Runs both changes over the same bytes. Behind `shift` more bytes, which must stay, there is no memory.
    template <class Change, class Plain>
    void Compare(USize length, USize shift, Change change, Plain plain)
    {
        UInt8* const data = bytes_.GetEnd() - length - shift;
        std::generate_n(data, length + shift, [&] { return static_cast<UInt8>(random_() >> 8); });
        std::vector<UInt8> expected(data, data + length + shift);
        plain(expected.data());
        change(data);
        ASSERT_TRUE(std::equal(expected.begin(), expected.end(), data)) << length << ", " << shift;
    }

    const ConversionKernels& kernels_ = *GetParam();
    std::minstd_rand random_{7};
    UInt8 map_[256];
    GuardedArray<UInt8> bytes_{8192};
    GuardedArray<UInt8> room_{1024};
};

TEST_P(ConversionKernelsTest, SwapLikeThePlainLoop)
{
    for (USize count = 0; count < 200; ++count) {
        for (const USize shift : {0, 1, 2, 4, 8, 16, 31}) {
            Compare(
                2 * count, shift, [&](UInt8* data) { kernels_.swap2(data, count); },
                [&](UInt8* data) { ReferenceSwap2(data, count); });
            Compare(
                4 * count, shift, [&](UInt8* data) { kernels_.swap4(data, count); },
                [&](UInt8* data) { ReferenceSwap4(data, count); });
            Compare(
                8 * count, shift, [&](UInt8* data) { kernels_.swap8(data, count); },
                [&](UInt8* data) { ReferenceSwap8(data, count); });
        }
    }
}

TEST_P(ConversionKernelsTest, TranslateLikeThePlainLoop)
{
    for (USize length = 0; length < 600; ++length) {
        for (const USize shift : {0, 1, 5}) {
            Compare(
                length, shift, [&](UInt8* text) { kernels_.translate(map_, text, length); },
                [&](UInt8* text) { ReferenceTranslate(map_, text, length); });
        }
    }
}

TEST_P(ConversionKernelsTest, RewriteLineEndsLikeThePlainLoop)
{
    for (USize length = 0; length < 400; ++length) {
        for (const UInt32 ends : {0, 8, 2}) { // none, one of eight bytes, one of two
            UInt8* const text = bytes_.GetEnd() - length;
            std::generate_n(text, length, [&] {
                const UInt32 value = random_() >> 8;
                return static_cast<UInt8>(ends == 0 || value % ends != 0 ? 'a' : value & 64 ? '\r' : '\n');
            });
            const LineEnds expected = ReferenceCountLineEnds(text, length);
            const LineEnds counted = kernels_.countLineEnds(text, length);
            ASSERT_EQ(counted.singles, expected.singles);
            ASSERT_EQ(counted.pairs, expected.pairs);
            for (const USize lineEnd : {1, 2}) {
                const USize size = lineEnd == 2 ? length + expected.singles : length - expected.pairs;
                std::vector<UInt8> plain(size + 1);
                UInt8* const copy = room_.GetEnd() - size;
                LineRewriting slow = {text,         text + length, plain.data(), plain.data() + size,
                                      {'\r', '\n'}, lineEnd};
                LineRewriting fast = {text, text + length, copy, copy + size, {'\r', '\n'}, lineEnd};
                ReferenceRewriteLineEnds(slow);
                kernels_.rewriteLineEnds(fast);
                ReferenceRewriteLineEnds(fast);
                ASSERT_EQ(fast.target, fast.targetEnd);
                ASSERT_TRUE(std::equal(copy, copy + size, plain.begin()));
            }
        }
    }
}

std::vector<const ConversionKernels*> ListKernels()
{
    const ConversionKernels* list[maxConversionKernels];
    const UInt32 count = ListConversionKernels(list);
    return {list, list + count};
}

INSTANTIATE_TEST_SUITE_P(Sets, ConversionKernelsTest, testing::ValuesIn(ListKernels()),
                         [](const auto& set) { return set.param->name; });

} // namespace
} // namespace QV::Impl
