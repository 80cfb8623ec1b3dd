#include <QVRoot/String/Transcode/TranscodeImpl.hpp>

namespace QV::Impl {

namespace {

constexpr TranscodeOperands MakeOperands()
{
    TranscodeOperands operands = {};
    for (UInt32 i = 0; i < 256; ++i) {
        operands.bytes[i] = i * 0x01010101;
    }
    constexpr UInt32 words[] = {0x0030, 0x003F, 0x0040, 0x03FF, 0x0400, 0x3F00, 0x3F3F,
                                0x8080, 0x80C0, 0x80F0, 0xD800, 0xF800, 0xFF80};
    for (UInt32 i = 0; i < 13; ++i) {
        operands.words[i] = words[i] * 0x00010001;
    }
    return operands;
}

/// A shuffle that is filled from its beginning; what is left of it makes zeros.
class ShuffleMaker {
public:
    constexpr explicit ShuffleMaker(UInt8 (&shuffle)[16]) : shuffle_(shuffle)
    {
        for (UInt8& index : shuffle) {
            index = 0x80;
        }
    }

    constexpr void Take(UInt32 index, bool isUsed)
    {
        if (isUsed) {
            shuffle_[count_++] = static_cast<UInt8>(index);
        }
    }

private:
    UInt8 (&shuffle_)[16];
    UInt32 count_ = 0;
};

constexpr TranscodeShuffles MakeShuffles()
{
    TranscodeShuffles shuffles = {};
    for (UInt32 mask = 0; mask < 256; ++mask) {
        ShuffleMaker units(shuffles.units[mask]);
        ShuffleMaker twoBytes(shuffles.twoBytes[mask]);
        for (UInt32 i = 0; i < 8; ++i) {
            const bool isSet = (mask >> i & 1) != 0;
            units.Take(2 * i, isSet);
            units.Take(2 * i + 1, isSet);
            twoBytes.Take(2 * i, true);
            twoBytes.Take(2 * i + 1, isSet);
        }
        ShuffleMaker threeBytes(shuffles.threeBytes[mask]);
        for (UInt32 i = 0; i < 4; ++i) {
            threeBytes.Take(4 * i, (mask >> i & 1) != 0);
            threeBytes.Take(4 * i + 2, true);
            threeBytes.Take(4 * i + 3, (mask >> (i + 4) & 1) != 0);
        }
    }
    return shuffles;
}

} // namespace

constinit const TranscodeShuffles transcodeShuffles = MakeShuffles();
constinit const TranscodeOperands transcodeOperands = MakeOperands();

} // namespace QV::Impl
