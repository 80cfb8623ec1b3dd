#include <QVRoot/Channel/Conversion/ConversionKernelsImpl.hpp>
#include <QVRoot/Channel/PlatformConversion.hpp>

#include <type_traits>

namespace QV {

namespace {

/// One element is not worth looking for the fastest kernel.
template <class Element>
void SwapOne(Element* value) noexcept
{
    auto* const bytes = reinterpret_cast<UInt8*>(value);
    if constexpr (sizeof(Element) == 2) {
        Impl::ReferenceSwap2(bytes, 1);
    } else if constexpr (sizeof(Element) == 4) {
        Impl::ReferenceSwap4(bytes, 1);
    } else {
        Impl::ReferenceSwap8(bytes, 1);
    }
}

template <class Element, class Count>
void SwapAll(Element* values, Count count) noexcept
{
    if (std::is_signed_v<Count> && count <= 0) {
        return;
    }
    auto* const bytes = reinterpret_cast<UInt8*>(values);
    const Impl::ConversionKernels& kernels = Impl::GetConversionKernels();
    const auto swap = sizeof(Element) == 2   ? kernels.swap2
                      : sizeof(Element) == 4 ? kernels.swap4
                                             : kernels.swap8;
    swap(bytes, static_cast<USize>(count));
}

} // namespace

// Each function is there for one value and for many, with two signs and with one.
#define QV_IV_ONE(name, Element)                                                                             \
    void name(PlatformSign from, PlatformSign to, Element* value) noexcept                                   \
    {                                                                                                        \
        if (NeedByteSwap(from, to)) {                                                                        \
            SwapOne(value);                                                                                  \
        }                                                                                                    \
    }                                                                                                        \
    void name(PlatformSign sign, Element* value) noexcept                                                    \
    {                                                                                                        \
        if (NeedByteSwap(sign)) {                                                                            \
            SwapOne(value);                                                                                  \
        }                                                                                                    \
    }
#define QV_IV_MANY(name, Element, Count)                                                                     \
    void name(PlatformSign from, PlatformSign to, Element* values, Count count) noexcept                     \
    {                                                                                                        \
        if (NeedByteSwap(from, to)) {                                                                        \
            SwapAll(values, count);                                                                          \
        }                                                                                                    \
    }                                                                                                        \
    void name(PlatformSign sign, Element* values, Count count) noexcept                                      \
    {                                                                                                        \
        if (NeedByteSwap(sign)) {                                                                            \
            SwapAll(values, count);                                                                          \
        }                                                                                                    \
    }

QV_IV_ONE(IVShort, Int16)
QV_IV_ONE(IVUShort, UInt16)
QV_IV_ONE(IVLong, Int32)
QV_IV_ONE(IVULong, UInt32)
QV_IV_ONE(IVFloat, float)
QV_IV_ONE(IVInt64, Int64)
QV_IV_ONE(IVUInt64, UInt64)
QV_IV_ONE(IVDouble, double)

QV_IV_MANY(IVShorts, Int16, int)
QV_IV_MANY(IVUShorts, UInt16, int)
QV_IV_MANY(IVUString, UInt16, UInt32)
QV_IV_MANY(IVLongs, Int32, int)
QV_IV_MANY(IVULongs, UInt32, int)
QV_IV_MANY(IVFloats, float, int)
QV_IV_MANY(IVInt64s, Int64, int)
QV_IV_MANY(IVUInt64s, UInt64, int)
QV_IV_MANY(IVDoubles, double, int)

#undef QV_IV_ONE
#undef QV_IV_MANY

} // namespace QV
