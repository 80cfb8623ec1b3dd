/// A 128-bit identifier with the layout of a Windows GUID.
///
///     constexpr Guid id(0x91EBEEBE, 0x9D23, 0x4FF6, {0xB5, 0x44, 0xD1, 0x48, 0x40, 0x7C, 0x3B, 0xF7});
///
/// On a channel it is the first part as `UInt32`, the next two as `UInt16` and the eight bytes one by one: 16
/// bytes in the native encoding.
///
/// Threads: a plain value. Errors: results only. Allocation: none.
#pragma once

#include <QVRoot/BasicEnvironment/BaseTypes.h>

#include <compare>

namespace QV {

class IChannel;
class OChannel;

class QV_EXPORT Guid {
public:
    /// The null identifier: all bits zero.
    constexpr Guid() noexcept = default;
    constexpr Guid(UInt32 data1, UInt16 data2, UInt16 data3, const UInt8 (&data4)[8]) noexcept
        : data1_(data1), data2_(data2), data3_(data3), data4_{data4[0], data4[1], data4[2], data4[3],
                                                              data4[4], data4[5], data4[6], data4[7]}
    {
    }

    constexpr void Clear() noexcept { *this = Guid(); }
    constexpr bool IsNull() const noexcept { return *this == Guid(); }
    constexpr bool IsEqual(const Guid& other) const noexcept { return *this == other; }

    /// -1, 0 or 1: the three parts are compared as numbers, then the bytes one by one.
    constexpr int Compare(const Guid& other) const noexcept
    {
        const auto order = *this <=> other;
        return order < 0 ? -1 : order > 0 ? 1 : 0;
    }

    friend constexpr bool operator==(const Guid&, const Guid&) noexcept = default;
    friend constexpr std::strong_ordering operator<=>(const Guid&, const Guid&) noexcept = default;

    constexpr UInt32 GetData1() const noexcept { return data1_; }
    constexpr UInt16 GetData2() const noexcept { return data2_; }
    constexpr UInt16 GetData3() const noexcept { return data3_; }
    constexpr const UInt8 (&GetData4() const noexcept)[8] { return data4_; }

    /// Read and write the parts through the channel's protocol and return the channel's status. A part that
    /// cannot be read keeps its value.
    QVErrCode ReadStructured(IChannel& ic);
    QVErrCode WriteStructured(OChannel& oc) const;

private:
    UInt32 data1_ = 0;
    UInt16 data2_ = 0;
    UInt16 data3_ = 0;
    UInt8 data4_[8] = {};
};

static_assert(sizeof(Guid) == 16);

} // namespace QV
