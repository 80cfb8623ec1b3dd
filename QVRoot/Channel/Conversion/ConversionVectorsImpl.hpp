/// The conversion kernels over a class `V` that tells what a register of one instruction set can do. Included
/// by the file of each set. `V` is private to that file, and so is everything that is made of it here: no
/// code for one set can stand in for code of another.
#pragma once

#include <QVRoot/Channel/Conversion/ConversionKernelsImpl.hpp>

#include <x86intrin.h>

namespace QV::Impl {

namespace {

/// Where the bytes of a register go, as shuffles want it: each element reversed, 16 bytes at a time.
template <USize Element>
__m128i MakeReversal()
{
    static_assert(Element == 2 || Element == 4 || Element == 8);
    if constexpr (Element == 2) {
        return _mm_setr_epi8(1, 0, 3, 2, 5, 4, 7, 6, 9, 8, 11, 10, 13, 12, 15, 14);
    } else if constexpr (Element == 4) {
        return _mm_setr_epi8(3, 2, 1, 0, 7, 6, 5, 4, 11, 10, 9, 8, 15, 14, 13, 12);
    } else {
        return _mm_setr_epi8(7, 6, 5, 4, 3, 2, 1, 0, 15, 14, 13, 12, 11, 10, 9, 8);
    }
}

/// Puts `change` of each register in its place. The first and the last register may overlap others; they are
/// taken before anything is changed and put back in the end. Between them registers lie at their borders
/// where elements allow it, since those that cross cache lines cost twice. Needs a register's length at
/// least.
template <class V, USize Element, class Change>
void ChangeInPlace(UInt8* data, USize length, const Change& change)
{
    UInt8* const last = data + length - V::size;
    const auto newFirst = change(V::Load(data));
    const auto newLast = change(V::Load(last));
    USize border = (0 - reinterpret_cast<USize>(data)) % V::size;
    border = border % Element == 0 ? border : V::size;
    UInt8* place = data + border;
    for (; last - place > 3 * static_cast<Int64>(V::size); place += 4 * V::size) {
        const auto new0 = change(V::Load(place));
        const auto new1 = change(V::Load(place + V::size));
        const auto new2 = change(V::Load(place + 2 * V::size));
        const auto new3 = change(V::Load(place + 3 * V::size));
        V::Store(place, new0);
        V::Store(place + V::size, new1);
        V::Store(place + 2 * V::size, new2);
        V::Store(place + 3 * V::size, new3);
    }
    for (; place < last; place += V::size) {
        V::Store(place, change(V::Load(place)));
    }
    V::Store(data, newFirst);
    V::Store(last, newLast);
}

template <class V>
struct ConversionWith {
    template <USize Element, auto Plain>
    static void Swap(UInt8* data, USize count)
    {
        if (count * Element < V::size) {
            Plain(data, count);
            return;
        }
        const auto reversal = V::SpreadLanes(MakeReversal<Element>());
        ChangeInPlace<V, Element>(data, count * Element,
                                  [&](auto bytes) { return V::Shuffle(bytes, reversal); });
    }

    static void Translate(const UInt8* map, UInt8* text, USize length)
    {
        if (length < V::size) {
            ReferenceTranslate(map, text, length);
            return;
        }
        const typename V::UpperMap upper(map + 128);
        ChangeInPlace<V, 1>(text, length, [&](auto bytes) { return upper.Translate(bytes); });
    }

    static UInt64 FindByte(typename V::Register bytes, char byte)
    {
        return V::GetEqual(bytes, V::Spread(byte));
    }

    static LineEnds CountLineEnds(const UInt8* text, USize length)
    {
        LineEnds ends = {0, 0};
        UInt64 followsCr = 0;
        USize i = 0;
        for (; length - i >= V::size; i += V::size) {
            const auto bytes = V::Load(text + i);
            const UInt64 crs = FindByte(bytes, '\r');
            const UInt64 lfs = FindByte(bytes, '\n');
            const UInt64 pairs = lfs & (crs << 1 | followsCr);
            ends.pairs += CountBits(pairs);
            ends.singles += CountBits(crs) + CountBits(lfs);
            followsCr = crs >> (V::size - 1);
        }
        const LineEnds rest = ReferenceCountLineEnds(text + i, length - i);
        const bool isBroken = followsCr != 0 && i < length && text[i] == '\n'; // a pair across the border
        ends.pairs += rest.pairs + isBroken;
        ends.singles += rest.singles + 2 * rest.pairs;
        ends.singles -= 2 * ends.pairs;
        return ends;
    }

    /// Whole registers are copied, of which what lies in front of the first line end counts.
    static void RewriteLineEnds(LineRewriting& rewriting)
    {
        const UInt8* source = rewriting.source;
        UInt8* target = rewriting.target;
        const UInt8 first = rewriting.lineEnd[0];
        const UInt8 second = rewriting.lineEnd[1];
        const USize lineEndLength = rewriting.lineEndLength;
        // A pair may reach one byte beyond the register, and so may what is written in its place.
        while (rewriting.sourceEnd - source > static_cast<Int64>(V::size) &&
               rewriting.targetEnd - target > static_cast<Int64>(V::size)) {
            const auto bytes = V::Load(source);
            V::Store(target, bytes);
            const UInt64 found = FindByte(bytes, '\r') | FindByte(bytes, '\n');
            if (found == 0) {
                source += V::size;
                target += V::size;
                continue;
            }
            const int length = __bsfq(static_cast<Int64>(found));
            source += length;
            target += length;
            target[0] = first;
            target[1] = second;
            target += lineEndLength;
            source += 1 + ((source[0] == '\r') & (source[1] == '\n'));
        }
        rewriting.source = source;
        rewriting.target = target;
    }

private:
    static UInt32 CountBits(UInt64 bits) { return static_cast<UInt32>(_mm_popcnt_u64(bits)); }
};

template <class V>
constexpr ConversionKernels MakeConversionKernels(const char* name)
{
    using Conversion = ConversionWith<V>;
    return {name,
            Conversion::template Swap<2, ReferenceSwap2>,
            Conversion::template Swap<4, ReferenceSwap4>,
            Conversion::template Swap<8, ReferenceSwap8>,
            Conversion::Translate,
            Conversion::CountLineEnds,
            Conversion::RewriteLineEnds};
}

} // namespace

} // namespace QV::Impl
