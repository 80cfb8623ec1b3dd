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

} // namespace

constinit const TranscodeOperands transcodeOperands = MakeOperands();

} // namespace QV::Impl
