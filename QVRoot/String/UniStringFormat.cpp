#include <QVRoot/String/FormatOutputImpl.hpp>
#include <QVRoot/String/String.hpp>
#include <QVRoot/String/UniStringFormat.hpp>

namespace QV {

namespace {

template <class FormatUnit>
UniString PrintfImpl(const FormatUnit* format, const FormatArgument* arguments, UInt32 count, bool isChecked)
{
    UniString result;
    unsigned short piece[256];
    Impl::FormatOutput<unsigned short> output(piece, 256, UniStringHandleTextForPrintf, &result);
    Impl::PrintChecked(output, format, {arguments, count},
                       isChecked ? FormatUStrCheckedBefore : FormatUStrCheckDefault);
    output.Flush();
    return result;
}

} // namespace

UniString::UniString(const String& text) : UniString()
{
    if (!text.IsEmpty()) {
        UniString(text.GetView().data(), text.GetLength(), DefaultCharCode).Swap(*this);
    }
}

void UniString::Assign(const String& text)
{
    if (text.IsEmpty()) {
        Clear();
    } else {
        Assign(text.GetView().data(), text.GetLength(), DefaultCharCode);
    }
}

void UniStringHandleTextForPrintf(void* string, const unsigned short* text, UInt32 count)
{
    static_cast<UniString*>(string)->Append(text, count);
}

const unsigned short* UniStringHandleTextForScanf(const UniString& string, UInt32* count)
{
    static constexpr unsigned short empty[1] = {0};
    *count = string.GetLength();
    return *count == 0 ? empty : reinterpret_cast<const unsigned short*>(string.GetView().data());
}

UniString UniString::CheckedPrintf(const char* format, const FormatArgument* arguments, UInt32 count,
                                   bool isChecked)
{
    return PrintfImpl(format, arguments, count, isChecked);
}

UniString UniString::CheckedPrintf(const unsigned short* format, const FormatArgument* arguments,
                                   UInt32 count, bool isChecked)
{
    return PrintfImpl(format, arguments, count, isChecked);
}

int UniString::CheckedScanf(const char* format, const ScanArgument* arguments, UInt32 count,
                            bool isChecked) const
{
    return CheckedScanf(UniString(format).ToUStr(), arguments, count, isChecked);
}

int UniString::CheckedScanf(const unsigned short* format, const ScanArgument* arguments, UInt32 count,
                            bool isChecked) const
{
    // A variable may be this string: what is scanned stays as it is then.
    const UniString kept(*this);
    UInt32 length = 0;
    const unsigned short* const text = UniStringHandleTextForScanf(kept, &length);
    return Impl::ScanChecked(text, text + length, format, {arguments, count},
                             isChecked ? FormatUStrCheckedBefore : FormatUStrCheckDefault);
}

} // namespace QV
