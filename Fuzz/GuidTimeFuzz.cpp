// Identifiers in text of every kind, the vector code against the plain one, and records of hostile fields.
#include <QVRoot/BasicEnvironment/CalendarImpl.hpp>
#include <QVRoot/String/UniString.hpp>
#include <QVRoot/Utilities/GuidTextImpl.hpp>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

using namespace QV;
using namespace QV::Impl;

namespace {

constexpr Guid untouched(1, 2, 3, {4, 5, 6, 7, 8, 9, 10, 11});

void Require(bool condition)
{
    if (!condition) {
        std::abort();
    }
}

template <class Unit>
void ReadGuid(const std::basic_string<Unit>& text)
{
    Guid plain = untouched;
    Guid fast = untouched;
    const QVErrCode error = ParseGuidPlainly<Unit>(text.c_str(), nullptr, false, plain);
    Require(fast.ConvertFromString(text.c_str()) == error && fast == plain);
    Require(error == NoError || plain == untouched);
    if (error == NoError) {
        char printed[Guid::TextSize];
        Require(plain.ConvertToString(printed) == NoError);
        Require(fast.ConvertFromString(printed) == NoError && fast == plain);
        Require(fast.ConvertFromPrefixString(text.c_str()) == NoError && fast == plain);
    }
}

/// Text that is known by its length may hold zeros.
void ReadGuid(const UniString& text)
{
    const auto* const units = reinterpret_cast<const unsigned short*>(text.GetView().data());
    Guid plain = untouched;
    Guid fast = untouched;
    const QVErrCode error = ParseGuidPlainly(units, units + text.GetLength(), false, plain);
    Require(fast.ConvertFromString(text) == error && fast == plain);
}

void ConvertRecord(const QVTimeRecord& record)
{
    int time = -1;
    const short error = TIGetQVTime(&record, &time, TITimeInUTC);
    Require(error == NoError ? time >= 0 : error == ErrTimeConversion && time == -1);
    if (error == NoError) {
        QVTimeRecord back;
        Require(TIGetTimeRecord(time, &back, TITimeInUTC) == NoError);
        back.millisecond = record.millisecond;
        back.dayOfWeek = record.dayOfWeek;
        Require(std::memcmp(&back, &record, sizeof(record)) == 0);
    }
    TIGetQVTime(&record, &time, 0);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size > 4096) {
        return 0;
    }
    const char* const bytes = reinterpret_cast<const char*>(data);
    ReadGuid(std::string(bytes, size));
    std::basic_string<unsigned short> units(size / 2, 0);
    if (size != 0) { // an empty input has no address
        std::memcpy(units.data(), data, size / 2 * 2);
    }
    ReadGuid(units);
    ReadGuid(std::basic_string<unsigned short>(data, data + size));
    ReadGuid(UniString(units.data(), static_cast<unsigned int>(units.size())));
    QVTimeRecord record;
    for (std::size_t at = 0; at + sizeof(record) <= size; at += sizeof(record)) {
        std::memcpy(&record, data + at, sizeof(record));
        ConvertRecord(record);
    }
    return 0;
}
