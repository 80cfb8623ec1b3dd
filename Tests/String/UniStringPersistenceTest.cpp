#include "Tests/Support/FaultSweep.hpp"

#include <QVRoot/Channel/IMemChannel.hpp>
#include <QVRoot/Channel/OMemChannel.hpp>
#include <QVRoot/Exceptions/GeneralExceptions.hpp>
#include <QVRoot/ObjectModel/ClassInfo.hpp>
#include <QVRoot/String/UniString.hpp>

#include <gtest/gtest.h>

#include <string>

using namespace QV;

namespace {

// Encodes as the native protocols do, but is not one of them: it takes the way unit by unit.
class OtherOProtocol : public OMemProtocol {};
class OtherIProtocol : public IMemProtocol {};

std::string Written(const UniString& text, bool native)
{
    OtherOProtocol other;
    OMemChannel oc;
    if (!native) {
        oc.SetOutputProtocol(other);
    }
    EXPECT_EQ(text.Write(oc), NoError);
    return std::string(oc.LockData(), oc.DataSize());
}

QVErrCode ReadBack(const std::string& bytes, bool native, UniString& text, UInt64* left = nullptr)
{
    OtherIProtocol other;
    IMemChannel ic(bytes.data(), static_cast<int>(bytes.size()));
    if (!native) {
        ic.SetInputProtocol(other);
    }
    const QVErrCode error = text.Read(ic);
    if (left != nullptr) {
        ic.GetAvailable(left);
    }
    return error;
}

UniString Sample(unsigned int length)
{
    UniString text;
    for (unsigned int i = 0; i < length; ++i) {
        text.Append(UniChar(static_cast<unsigned short>(i * 31 + 7)));
    }
    return text;
}

TEST(UniStringPersistence, HasAFrameALengthAndItsUnits)
{
    EXPECT_EQ(Written(u"ab\u20AC", true), std::string("\1\0\3\0\0\0a\0b\0\xAC\x20", 12));
    EXPECT_EQ(Written(UniString(), true), std::string("\1\0\0\0\0\0", 6));
    EXPECT_STREQ(EmptyUniString.GetClassName(), "QV::UniString");
    EXPECT_EQ(EmptyUniString.GetClassId(),
              Guid(0x91EBEEBE, 0x9D23, 0x4FF6, {0xB5, 0x44, 0xD1, 0x48, 0x40, 0x7C, 0x3B, 0xF7}));
}

TEST(UniStringPersistence, TheBulkPathEqualsTheUnitByUnitPath)
{
    for (const unsigned int length : {0u, 1u, 33u, 2100u, 70000u}) {
        SCOPED_TRACE(length);
        const UniString text = Sample(length);
        const std::string bytes = Written(text, true);
        EXPECT_EQ(bytes, Written(text, false));
        for (const bool native : {true, false}) {
            UniString back(u"old");
            EXPECT_EQ(ReadBack(bytes, native, back), NoError);
            EXPECT_EQ(back, text);
        }
    }
    const std::string bytes = Written(Sample(40), true);
    for (std::size_t size = 0; size < bytes.size(); ++size) {
        UniString bulk(u"old");
        UniString single(u"old");
        EXPECT_EQ(ReadBack(bytes.substr(0, size), true, bulk), ErrEndOfInput);
        EXPECT_EQ(ReadBack(bytes.substr(0, size), false, single), ErrEndOfInput);
        EXPECT_TRUE(bulk.IsEmpty());
        EXPECT_TRUE(single.IsEmpty());
    }
}

TEST(UniStringPersistence, RefusesOtherMainVersions)
{
    UniString text;
    EXPECT_EQ(ReadBack(std::string("\2\0\0\0\0\0", 6), true, text), ErrGeneral);
    EXPECT_EQ(ReadBack(std::string("\0\0\0\0\0\0", 6), true, text), ErrGeneral);
}

TEST(UniStringPersistence, AHostileLengthTakesNoMemory)
{
    for (const bool native : {true, false}) {
        UniString text;
        FaultInjection::FailRandomly(1, 0); // counts only
        EXPECT_EQ(ReadBack(std::string("\1\0\xFF\xFF\xFF\xFF" "abcd", 10), native, text), ErrEndOfInput);
        EXPECT_TRUE(text.IsEmpty());
        EXPECT_LT(text.GetCapacity(), 100000u);
        FaultInjection::Disable();
    }
}

TEST(UniStringPersistence, EmptiesTheStringWhenMemoryIsOut)
{
    const std::string bytes = Written(Sample(3000), true);
    Testing::SweepAllocationFailures([&] {
        UniString text;
        try {
            const bool read = ReadBack(bytes, true, text) == NoError;
            EXPECT_EQ(text.GetLength(), 3000u);
            return read;
        } catch (const OutOfMemoryException&) {
            EXPECT_TRUE(text.IsEmpty());
            return false;
        }
    });
}

TEST(UniStringPersistence, ANullChannelIsRefused)
{
    OChannel* volatile none = nullptr;
    EXPECT_THROW(UniString(u"x").Write(*none), NullReferenceException);
}

} // namespace
