/// A 128-bit identifier with the layout of a Windows GUID.
///
///     constexpr Guid id(0x91EBEEBE, 0x9D23, 0x4FF6, {0xB5, 0x44, 0xD1, 0x48, 0x40, 0x7C, 0x3B, 0xF7});
///     Guid other;
///     if (const QVErrCode error = other.ConvertFromString("{91EBEEBE-9D23-4FF6-B544-D148407C3BF7}")) …
///     if (const QVErrCode error = other.Generate()) …
///
/// Its text is 36 characters in groups of 8, 4, 4, 4 and 12 upper-case hexadecimal digits.
///
/// Threads: a plain value; identifiers may be generated on any thread. Errors: results only. Allocation:
/// none, but for the strings.
#pragma once

#include <QVRoot/BasicEnvironment/BaseTypes.h>
#include <QVRoot/Channel/PlatformSign.hpp>

#include <bit>
#include <compare>

namespace QV {

class IChannel;
class IChannelX;
class OChannel;
class OChannelX;
class String;
class UniString;

class QV_EXPORT Guid {
public:
    /// Bytes that a text takes with its terminator.
    static constexpr UInt32 TextSize = 37;

    /// The null identifier: all bits zero.
    constexpr Guid() noexcept = default;
    constexpr Guid(UInt32 data1, UInt16 data2, UInt16 data3, const UInt8 (&data4)[8]) noexcept
        : data1_(data1), data2_(data2), data3_(data3), data4_{data4[0], data4[1], data4[2], data4[3],
                                                              data4[4], data4[5], data4[6], data4[7]}
    {
    }
    /// Parse as `ConvertFromString` does; null when that fails.
    explicit Guid(const char* text) noexcept { ConvertFromString(text); }
    explicit Guid(const UniString& text) noexcept { ConvertFromString(text); }

    constexpr void Clear() noexcept { *this = Guid(); }
    constexpr bool IsNull() const noexcept { return *this == Guid(); }
    constexpr bool IsEqual(const Guid& other) const noexcept { return *this == other; }

    /// -1, 0 or 1: the three parts are compared as numbers, then the bytes one by one.
    constexpr int Compare(const Guid& other) const noexcept
    {
        const auto order = *this <=> other;
        return order < 0 ? -1 : order > 0 ? 1 : 0;
    }

    friend constexpr bool operator==(const Guid& a, const Guid& b) noexcept
    {
        const Image x = std::bit_cast<Image>(a);
        const Image y = std::bit_cast<Image>(b);
        return ((x.half[0] ^ y.half[0]) | (x.half[1] ^ y.half[1])) == 0;
    }
    friend constexpr std::strong_ordering operator<=>(const Guid& a, const Guid& b) noexcept
    {
        const UInt64 x = a.GetHighKey();
        const UInt64 y = b.GetHighKey();
        return x != y ? x <=> y : a.GetLowKey() <=> b.GetLowKey();
    }

    constexpr UInt32 GetData1() const noexcept { return data1_; }
    constexpr UInt16 GetData2() const noexcept { return data2_; }
    constexpr UInt16 GetData3() const noexcept { return data3_; }
    constexpr const UInt8 (&GetData4() const noexcept)[8] { return data4_; }

    /// A checksum of the 16 bytes. Equal identifiers have equal values; the reverse is not certain, and both
    /// the null identifier and the one with all bits set have 0.
    constexpr UInt16 GetHashValue() const noexcept;

    /// Every bit inverted.
    constexpr Guid Invert() const noexcept
    {
        const Image image = std::bit_cast<Image>(*this);
        return std::bit_cast<Guid>(Image{{~image.half[0], ~image.half[1]}});
    }

    /// @name Generating
    /// @{
    /// A new random identifier of version 4; where the system has none to give, `ErrGuidGenerate`, and the
    /// value stays as it was. In the deterministic mode the next number of a counter, in the first 8 bytes.
    QVErrCode Generate() noexcept;
    /// Switches the whole process to the deterministic mode, for runs that are to be repeated exactly.
    static void GenerateDeterministicGuids() noexcept;
    /// The next number will be 1, as at first.
    static void RestartDeterministicGuidGenerator() noexcept;
    /// @}

    /// @name Text
    /// @{
    /// Writes 36 characters and a terminator. `ErrNullPointer` for a null buffer; with a size, `ErrParam`
    /// when it is below `TextSize`.
    QVErrCode ConvertToString(char* buffer) const noexcept;
    QVErrCode ConvertToString(char* buffer, UInt32 size) const noexcept;
    String ToString() const;
    UniString ToUniString() const;

    /// Read groups of 8, 4, 4 and eight times 2 hexadecimal digits of either case. Before each group whatever
    /// is no such digit is passed over, so that braces and separators may stand there or be missing; what
    /// follows the last group is not looked at. A group that is not whole is `ErrGuidFormat`, and the value
    /// stays as it was; a null text has no groups.
    QVErrCode ConvertFromString(const char* text) noexcept;
    QVErrCode ConvertFromString(const unsigned short* text) noexcept;
    QVErrCode ConvertFromString(const char16_t* text) noexcept;
    QVErrCode ConvertFromString(const UniString& text) noexcept;

    /// Read the beginning of a text: one or more whole groups, such as "91EBEEBE" or "91EBEEBE-9D23". What is
    /// missing becomes zero, so that the result is the first in order of all identifiers that begin so.
    /// `ErrGuidFormat` as above.
    QVErrCode ConvertFromPrefixString(const char* text) noexcept;
    QVErrCode ConvertFromPrefixString(const unsigned short* text) noexcept;
    QVErrCode ConvertFromPrefixString(const char16_t* text) noexcept;
    QVErrCode ConvertFromPrefixString(const UniString& text) noexcept;

    /// Replaces the first part, the prefix that a family of identifiers may share, and keeps the others.
    constexpr void SetPrefix(unsigned int prefix) noexcept { data1_ = prefix; }
    /// @}

    /// @name Byte order
    /// Swap the bytes of the three parts where the signs ask for it; the last 8 bytes stay.
    /// @{
    /// Between the platform with this sign and the running one.
    constexpr void IV(PlatformSign sign) noexcept
    {
        if (NeedByteSwap(sign)) {
            SwapParts();
        }
    }
    constexpr void IV(PlatformSign from, PlatformSign to) noexcept
    {
        const bool known = to == WinPlatformSign || to == WinLikePlatformSign || to == MacIntelPlatformSign;
        if (from == MacPlatformSign ? known : to == MacPlatformSign) {
            SwapParts();
        }
    }
    /// @}

    /// @name Channel forms
    /// All but the text are 16 bytes in the native encoding: the first part as `UInt32`, the next two as
    /// `UInt16`, the eight bytes. They answer the channel's status, and a part that cannot be read keeps its
    /// value.
    /// @{
    /// As the channel's protocol writes identifiers; the library's protocols use the structured form.
    QVErrCode Read(IChannel& ic);
    QVErrCode Write(OChannel& oc) const;
    /// Each part through the slot of its type of the channel's protocol.
    QVErrCode ReadStructured(IChannel& ic);
    QVErrCode WriteStructured(OChannel& oc) const;
    /// The 16 bytes of the native encoding, whatever the protocol. What cannot be read whole is not read.
    QVErrCode ReadBinary(IChannel& ic);
    QVErrCode WriteBinary(OChannel& oc) const;
    /// The 36 characters of the text through the protocol's slot for characters, without a length and without
    /// a terminator. Reading answers `ErrGuidFormat`, and keeps the value, when they are no such text.
    QVErrCode ReadAsText(IChannel& ic);
    QVErrCode WriteAsText(OChannel& oc) const;
    /// @}

    /// @name Extended-channel forms
    /// The same 16 bytes. Failures throw, as on every extended channel, and the value stays as it was.
    /// @{
    /// Each part as the channel's protocol writes numbers: in its byte order.
    void Read(const IChannelX& ic);
    void Write(const OChannelX& oc) const;
    /// The 16 bytes of the native encoding, whatever the protocol.
    void ReadBinary(const IChannelX& ic);
    void WriteBinary(const OChannelX& oc) const;
    /// @}

private:
    struct Image {
        UInt64 half[2];
    };

    /// Two numbers in the order of `Compare`.
    constexpr UInt64 GetHighKey() const noexcept
    {
        return UInt64{data1_} << 32 | UInt64{data2_} << 16 | data3_;
    }
    constexpr UInt64 GetLowKey() const noexcept
    {
        return UInt64{data4_[0]} << 56 | UInt64{data4_[1]} << 48 | UInt64{data4_[2]} << 40 |
               UInt64{data4_[3]} << 32 | UInt64{data4_[4]} << 24 | UInt64{data4_[5]} << 16 |
               UInt64{data4_[6]} << 8 | data4_[7];
    }

    constexpr void SwapParts() noexcept
    {
        data1_ = data1_ >> 24 | (data1_ >> 8 & 0xFF00) | (data1_ << 8 & 0xFF0000) | data1_ << 24;
        data2_ = static_cast<UInt16>(data2_ >> 8 | data2_ << 8);
        data3_ = static_cast<UInt16>(data3_ >> 8 | data3_ << 8);
    }

    UInt32 data1_ = 0;
    UInt16 data2_ = 0;
    UInt16 data3_ = 0;
    UInt8 data4_[8] = {};
};

static_assert(sizeof(Guid) == 16);

constexpr UInt16 Guid::GetHashValue() const noexcept
{
    // Fletcher's two sums over 16 bytes: the bytes, and the bytes weighted 16, 15 … 1. The bytes lie in lanes
    // of 16 bits, which no sum exceeds; a product's highest lane collects all lanes, each with its weight.
    const Image image = std::bit_cast<Image>(*this);
    constexpr UInt64 lanes = 0x00FF00FF00FF00FF;
    constexpr UInt64 ones = 0x0001000100010001;
    const UInt64 frontEven = image.half[0] & lanes;
    const UInt64 frontOdd = image.half[0] >> 8 & lanes;
    const UInt64 even = frontEven + (image.half[1] & lanes);
    const UInt64 odd = frontOdd + (image.half[1] >> 8 & lanes);
    const UInt64 sum1 = (even + odd) * ones >> 48;
    const UInt64 frontSum = (frontEven + frontOdd) * ones >> 48;
    const UInt64 sum2 = 8 * frontSum + ((even * 0x0008000600040002 + odd * 0x0007000500030001) >> 48);
    // The value's two bytes are -sum2 and sum2 - sum1 modulo 255, where 256 counts as 1: side by side. The
    // largest second sum, 34680, is a multiple of 255 and keeps the first difference positive.
    constexpr UInt64 bytes = 0x000000FF000000FF;
    const UInt64 both = (34680 - sum2) | (sum2 - sum1) << 32;
    const UInt64 folded = (both & bytes) + (both >> 8 & bytes);
    constexpr UInt64 units = 0x0000000100000001;
    const UInt64 reduced = folded + ((folded + units) >> 8 & units);
    return static_cast<UInt16>((reduced & 0xFF) | (reduced >> 24 & 0xFF00));
}

} // namespace QV
