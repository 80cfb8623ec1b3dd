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
    for (; place < last; place += V::size) {
        V::Store(place, change(V::Load(place)));
    }
    V::Store(data, newFirst);
    V::Store(last, newLast);
}

/// The upper half of a map for sets that shuffle among 16 bytes only: in rows of 16, each as its difference
/// from the one before, so that the sum of all up to a row is that row.
template <class V>
class RowMap {
public:
    using Register = typename V::Register;

    explicit RowMap(const UInt8* upper)
    {
        Register before = V::Spread(0);
        for (USize row = 0; row < 8; ++row) {
            const __m128i lane = _mm_loadu_si128(reinterpret_cast<const __m128i*>(upper + row * 16));
            const Register bytes = V::SpreadLanes(lane);
            rows_[row] = V::Xor(bytes, before);
            before = bytes;
        }
    }

    Register Translate(Register bytes) const
    {
        if (!V::HasNegative(bytes)) {
            return bytes;
        }
        return AddRows<0>(V::Xor(bytes, V::Spread(-0x80)), V::ClearNegative(bytes));
    }

private:
    /// Places are negative for bytes in front of the row, where a shuffle finds 0.
    template <int row>
    Register AddRows(Register places, Register sum) const
    {
        sum = V::Xor(sum, V::Shuffle(rows_[row], places));
        if constexpr (row < 7) {
            return AddRows<row + 1>(V::SubtractSaturated(places, V::Spread(16)), sum);
        } else {
            return sum;
        }
    }

    Register rows_[8];
};

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

    static LineEnds CountLineEnds(const UInt8* text, USize length)
    {
        LineEnds ends = {0, 0};
        LineEndFinder finder;
        USize i = 0;
        for (; length - i >= V::size; i += V::size) {
            finder.Look(V::Load(text + i));
            ends.pairs += CountBits(finder.pairEnds);
            ends.singles += CountBits(finder.begins);
        }
        const LineEnds rest = ReferenceCountLineEnds(text + i, length - i);
        // A pair across the border: the rest counts its LF as an end of its own.
        const bool isBroken = i < length && finder.GoesOn(text[i]);
        ends.pairs += rest.pairs + isBroken;
        ends.singles += rest.singles + rest.pairs - isBroken;
        ends.singles -= ends.pairs; // of which the beginnings were counted
        return ends;
    }

    static void RewriteLineEnds(LineRewriting& rewriting)
    {
        LineEndFinder finder;
        const UInt8* source = rewriting.source;
        UInt8* target = rewriting.target;
        // Whole registers are copied, of which the front counts, and each byte may become two.
        while (rewriting.sourceEnd - source >= 2 * static_cast<Int64>(V::size) &&
               rewriting.targetEnd - target >= 3 * static_cast<Int64>(V::size)) {
            const auto bytes = V::Load(source);
            finder.Look(bytes);
            if ((finder.begins | finder.pairEnds) == 0) {
                V::Store(target, bytes);
                target += V::size;
            } else if (V::canCompress && rewriting.lineEndLength == 1) {
                target = V::Compress(target, bytes, finder.begins, rewriting.lineEnd[0], finder.pairEnds);
            } else {
                target = CopyRuns(finder, source, target, rewriting);
            }
            source += V::size;
        }
        source += source != rewriting.sourceEnd && finder.GoesOn(*source);
        rewriting.source = source;
        rewriting.target = target;
    }

private:
    static UInt32 CountBits(UInt64 bits) { return static_cast<UInt32>(_mm_popcnt_u64(bits)); }

    /// The line ends of one register after the other: bits for where they begin, and for the LF of pairs.
    struct LineEndFinder {
        UInt64 begins = 0;
        UInt64 pairEnds = 0;
        UInt64 followsCr = 0;

        void Look(typename V::Register bytes)
        {
            const UInt64 crs = V::GetEqual(bytes, V::Spread('\r'));
            const UInt64 lfs = V::GetEqual(bytes, V::Spread('\n'));
            pairEnds = lfs & (crs << 1 | followsCr);
            begins = crs | (lfs ^ pairEnds);
            followsCr = crs >> (V::size - 1);
        }
        /// Whether a byte behind the registers is the second of a pair.
        bool GoesOn(UInt8 next) const { return followsCr != 0 && next == '\n'; }
    };

    /// Copies what lies between the line ends of a register.
    static UInt8* CopyRuns(const LineEndFinder& finder, const UInt8* source, UInt8* target,
                           const LineRewriting& rewriting)
    {
        USize done = finder.pairEnds & 1; // of a pair that began in the register before
        for (UInt64 left = finder.begins; left != 0; left &= left - 1) {
            const USize place = static_cast<USize>(__bsfq(static_cast<Int64>(left)));
            V::Store(target, V::Load(source + done));
            target += place - done;
            target[0] = rewriting.lineEnd[0];
            target[1] = rewriting.lineEnd[1];
            target += rewriting.lineEndLength;
            done = place + 1 + (finder.pairEnds >> place >> 1 & 1);
        }
        V::Store(target, V::Load(source + done));
        return target + (V::size - done);
    }
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
