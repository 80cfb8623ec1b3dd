#include <QVRoot/String/Transcode/ShuffleKernelsImpl.hpp>

namespace QV::Impl {

namespace {

/// ASCII text by registers of 16 bytes.
struct Ascii16 {
    static constexpr USize length = 16;

    static bool IsAscii(const UInt8* source) { return GetMask(Load(source)) == 0; }

    static bool IsAscii(const UInt16* source)
    {
        const Vector units = _mm_or_si128(Load(source), Load(source + 8));
        return _mm_testz_si128(units, Words(0xFF80)) != 0;
    }

    static void Widen(const UInt8* source, UInt16* target)
    {
        const Vector bytes = Load(source);
        Store(target, _mm_unpacklo_epi8(bytes, _mm_setzero_si128()));
        Store(target + 8, _mm_unpackhi_epi8(bytes, _mm_setzero_si128()));
    }

    static void Narrow(const UInt16* source, UInt8* target)
    {
        Store(target, _mm_packus_epi16(Load(source), Load(source + 8)));
    }
};

} // namespace

constinit const TranscodeKernels transcodeSse42 = MakeKernels<Ascii16>("Sse42");

} // namespace QV::Impl
