#include "TextStatistics.hpp"

#include <QVRoot/Channel/IChannel.hpp>
#include <QVRoot/Channel/OChannel.hpp>

#include <algorithm>

namespace Tour {

using namespace QV;

namespace {

bool IsSpace(char16_t unit)
{
    return unit <= 0x20 || unit == 0xA0 || (unit >= 0x2000 && unit <= 0x200A) || unit == 0x3000;
}

/// FNV-1a over the units and their number.
UInt32 AddToChecksum(UInt32 checksum, const UniString& text)
{
    constexpr UInt32 prime = 16777619;
    for (const char16_t unit : text.GetView()) {
        checksum = (checksum ^ unit) * prime;
    }
    return (checksum ^ text.GetLength()) * prime;
}

} // namespace

TextStatistics TextStatistics::Of(const UniString& name, const Array<UniString>& paragraphs)
{
    TextStatistics result;
    result.checksum = AddToChecksum(2166136261, name);
    for (const UniString& paragraph : paragraphs) {
        bool inWord = false;
        for (const char16_t unit : paragraph.GetView()) {
            const bool space = IsSpace(unit);
            result.words += !space && !inWord;
            inWord = !space;
            result.characters += (unit & 0xFC00) != 0xDC00; // the second half of a pair is no new one
        }
        result.checksum = AddToChecksum(result.checksum, paragraph);
        result.longest = std::max(result.longest, paragraph.GetLength());
    }
    return result;
}

QVErrCode TextStatistics::Read(IChannel& ic)
{
    for (const QVErrCode error : {ic.Read(characters), ic.Read(words), ic.Read(longest), ic.Read(checksum)}) {
        if (error != NoError) {
            return error;
        }
    }
    return NoError;
}

QVErrCode TextStatistics::Write(OChannel& oc) const
{
    oc << characters << words << longest << checksum;
    return oc.GetOutputStatus();
}

} // namespace Tour
