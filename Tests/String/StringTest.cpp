#include "Tests/Support/FaultSweep.hpp"

#include <QVRoot/BasicEnvironment/ErrorStatus.hpp>
#include <QVRoot/Channel/IMemChannel.hpp>
#include <QVRoot/Channel/OMemChannel.hpp>
#include <QVRoot/Exceptions/GeneralExceptions.hpp>
#include <QVRoot/ObjectModel/ClassManager.hpp>
#include <QVRoot/String/CharText.hpp>
#include <QVRoot/String/String.hpp>
#include <QVRoot/String/UniString.hpp>

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace QV {

class StringTestAccess {
public:
    static QVErrCode WriteContent(const String& text, OChannel& oc, UInt8 version)
    {
        return text.WriteContent(oc, version);
    }
};

namespace {

// Encodes as the native protocols do, but is not one of them: it takes the way byte by byte.
class OtherOProtocol : public OMemProtocol {};
class OtherIProtocol : public IMemProtocol {};

/// Out of memory for good: a failed growth, as every 4 GB string is.
String MakeFailed()
{
    String text("lost");
    EXPECT_EQ(text.SetLength(0xFFFFFFFF), ErrMemoryFull);
    return text;
}

std::string Written(const String& text, bool native = true)
{
    OtherOProtocol other;
    OMemChannel oc;
    if (!native) {
        oc.SetOutputProtocol(other);
    }
    EXPECT_EQ(text.Write(oc), NoError);
    return std::string(oc.LockData(), oc.DataSize());
}

QVErrCode ReadBack(const std::string& bytes, String& text, bool native = true)
{
    OtherIProtocol other;
    IMemChannel ic(bytes.data(), static_cast<int>(bytes.size()));
    if (!native) {
        ic.SetInputProtocol(other);
    }
    return text.Read(ic);
}

TEST(String, GrowsByItsRule)
{
    String text;
    EXPECT_EQ(text.GetCapacity(), 0u);
    EXPECT_STREQ(text.ToCStr(), "");
    EXPECT_EQ(text.ToPStr()[0], 0);
    EXPECT_EQ(text.GetCapacity(), 0u) << "empty texts need no buffer";
    text.Append('a');
    EXPECT_EQ(text.GetCapacity(), 16u);
    EXPECT_EQ(text.Pad(16, 'b'), NoError);
    EXPECT_EQ(text.GetCapacity(), 16u);
    text.Append('c');
    EXPECT_EQ(text.GetCapacity(), 32u);
    EXPECT_EQ(text.SetLength(100), NoError);
    EXPECT_EQ(text.GetCapacity(), 101u);
    EXPECT_EQ(String("abc").GetCapacity(), 4u);
    EXPECT_EQ(String(text).GetCapacity(), 101u);
    EXPECT_EQ(text.Pad(3, 'x'), NoError);
    EXPECT_EQ(text.GetLength(), 100u);
}

TEST(String, WorksInACallersBuffer)
{
    char buffer[8];
    String text(buffer, sizeof(buffer), String::KeepOwnership);
    EXPECT_TRUE(text.IsEmpty());
    text += "1234567";
    EXPECT_EQ(text.ToCStr(), buffer);
    text += '8';
    EXPECT_EQ(std::string(buffer, 8), "12345678");
    EXPECT_NE(text.ToCStr(), buffer) << "the terminator has no room there";
    EXPECT_STREQ(text.ToCStr(), "12345678");
    const String owner(static_cast<char*>(MemoryManager::Allocate(4, MemoryManager::ThrowOnFailure, true)), 4,
                       String::TakeOwnership); // freed, or the leak check says so
    EXPECT_TRUE(String(nullptr, 5, String::TakeOwnership).CheckState());
}

TEST(String, EditsBytes)
{
    String text("abc");
    EXPECT_EQ(text.Append(text), NoError);
    EXPECT_EQ(text.Append(text.ToCStr() + 4), NoError);
    EXPECT_EQ(text, "abcabcbc");
    text.Append(text.GetView().data() + 6, 2); // the buffer is full but for its spare byte
    EXPECT_EQ(text, "abcabcbcbc");
    text = text.ToCStr() + 7;
    EXPECT_EQ(text, "cbc");
    text = text;
    text.Fill('x', 1);
    EXPECT_EQ(text, "cxx");
    text.Delete(0);
    EXPECT_EQ(text + "!" + String("?"), "xx!?");
    EXPECT_EQ("<" + text, "<xx");
    text = reinterpret_cast<const unsigned char*>("\3pas--");
    EXPECT_EQ(text, "pas");
    EXPECT_EQ(String(reinterpret_cast<const unsigned char*>("\0")).GetLength(), 0u);
    EXPECT_EQ(text.GetPrefix(1) + text.GetSuffix(2) + text(1, 1) + text.GetSubstring(3), "pasa");
    EXPECT_EQ(text.GetLast(), 's');
    EXPECT_TRUE(text.BeginsWith("pa") && text.EndsWith("as") && text.BeginsWith('p') &&
                text.EndsWith(String()));
    EXPECT_FALSE(text.BeginsWith("pass") || String().EndsWith('s') || text.EndsWith(String("pa")));
    EXPECT_THROW(text.Delete(3), IllegalReferenceException);
    EXPECT_THROW(text.GetSuffix(4), IllegalReferenceException);
    EXPECT_THROW(text.GetSuffix(String::Npos), IllegalReferenceException);
    EXPECT_THROW(text(4), IllegalReferenceException);
    EXPECT_THROW(text.Fill('x', 2, 2), IllegalReferenceException);
    EXPECT_THROW(text.Append(static_cast<const char*>(nullptr)), NullPointerException);
    EXPECT_EQ(text, "pas");
    String moved(std::move(text));
    EXPECT_TRUE(text.IsEmpty() && text.CheckState());
    EXPECT_EQ(moved, "pas");
}

TEST(String, ConvertsToPascalTextBehindItsContent)
{
    String text;
    text.Pad(300, 'x');
    const unsigned char* const pascalText = text.ToPStr();
    EXPECT_EQ(pascalText[0], 255);
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(pascalText + 1), 255), std::string(255, 'x'));
    EXPECT_EQ(text.GetLength(), 300u);
    EXPECT_EQ(pascalText, reinterpret_cast<const unsigned char*>(text.GetView().data()) + 300);
    EXPECT_EQ(std::memcmp(String("ab").ToPStr(), "\2ab", 3), 0);
}

TEST(String, ComparesInTheLocaleAndHashesEveryByte)
{
    const String oak("oak");
    EXPECT_EQ(oak.Compare("Oak", UniChar::IgnoreCase), UniChar::Equal);
    EXPECT_NE(oak.Compare("Oak", UniChar::CaseSensitive), UniChar::Equal);
    EXPECT_EQ(oak.Compare("ash", UniChar::CaseSensitive), UniChar::Greater);
    EXPECT_EQ(oak.Compare("ash", static_cast<UniChar::CaseComparison>(2)), UniChar::Equal);
    EXPECT_TRUE(oak.IsEqual("OAK", UniChar::IgnoreCase) && String("ash") < oak && !(oak < oak));
    EXPECT_TRUE(String("\xC3\xA9") < String("z")) << "letters, not bytes";
    const std::string long_(1000, 'y');
    EXPECT_TRUE(String((long_ + "a").c_str()).IsEqual((long_ + "A").c_str(), UniChar::IgnoreCase));
    EXPECT_EQ(String().GenerateHashValue(), 0u);
    EXPECT_EQ(String("ab").GenerateHashValue(), 97u * 65599 + 98);
    EXPECT_EQ(String("\x80").GenerateHashValue(), 0xFFFFFF80u) << "bytes are signed";
    EXPECT_NE(String((long_ + "a" + long_).c_str()).GenerateHashValue(),
              String((long_ + "b" + long_).c_str()).GenerateHashValue());
}

TEST(String, MapsCaseInTheDefaultCodePage)
{
    EXPECT_EQ(String("gr\xC3\xBC"
                     "nAZ[`{")
                  .ToUpperCase(),
              "GR\xC3\x9C"
              "NAZ[`{");
    EXPECT_EQ(String("\xC8\xBA").ToLowerCase(), "\xE2\xB1\xA5") << "a byte longer";
    EXPECT_EQ(String("a\xFFz").ToUpperCase(), "A\xFFZ") << "illegal: only ASCII";
    const DefaultCharCodeGuard guard(WesternCharCode);
    EXPECT_EQ(String("\xFC\x83\xFF"
                     "a")
                  .ToUpperCase(),
              "\xDC\x83\x9F"
              "A")
        << "no letter becomes a similar one";
}

TEST(String, SaysWhenMemoryIsOutAndRecovers)
{
    String failed = MakeFailed();
    EXPECT_EQ(failed.GetStatus(), ErrMemoryFull);
    EXPECT_TRUE(failed.IsEmpty() && failed.CheckState());
    EXPECT_STREQ(failed.ToCStr(), "");
    EXPECT_EQ(failed.ToPStr()[0], 0);
    EXPECT_FALSE(failed == failed || failed == "" || failed == String() || String() == failed);
    EXPECT_TRUE(failed != failed);
    EXPECT_TRUE(failed < String() && !(String() < failed) && !(failed < MakeFailed()));
    EXPECT_EQ(failed.Append('x'), ErrMemoryFull);
    EXPECT_EQ(failed.Append("x"), ErrMemoryFull);
    EXPECT_EQ(failed.SetLength(3), NoError);
    EXPECT_EQ(failed.GetStatus(), NoError);
    failed = MakeFailed();
    failed = "back";
    EXPECT_EQ(failed, "back");
    failed = MakeFailed();
    failed.Clear();
    EXPECT_EQ(failed.Append("x"), NoError);
    EXPECT_EQ(failed.Assign("x", 0xFFFFFFFF), ErrMemoryFull);
}

template <class Operation>
void SweepStringFailures(Operation operation)
{
    const std::string sample(400, 'x');
    Testing::SweepAllocationFailures([&] {
        char buffer[401];
        String text(buffer, sizeof(buffer), String::KeepOwnership); // takes no memory
        text.Append(sample.c_str());
        operation(text);
        EXPECT_TRUE(text.CheckState());
        EXPECT_EQ(text.IsEmpty(), text.GetStatus() != NoError);
        return text.GetStatus() == NoError;
    });
}

TEST(String, EveryGrowthMayFail)
{
    SweepStringFailures([](String& text) { text.Append("more"); });
    SweepStringFailures([](String& text) { text.Append(text); });
    SweepStringFailures([](String& text) { text = String(text) + "more"; });
    SweepStringFailures([](String& text) { text.SetLength(500); });
    SweepStringFailures([](String& text) { text.ToPStr(); });
    SweepStringFailures([](String& text) {
        text.Fill('x', 0);
        text.Fill('\xBC', 399);
        text.Fill('\xC3', 398, 1);
        text.SetToUpperCase();
    });
    const std::string bytes = Written(String(std::string(100000, 'x').c_str()));
    Testing::SweepAllocationFailures([&bytes] {
        String text;
        const QVErrCode error = ReadBack(bytes, text);
        EXPECT_EQ(error, text.GetStatus());
        EXPECT_EQ(text.GetLength(), error == NoError ? 100000u : 0u);
        return error == NoError;
    });
}

TEST(StringPersistence, WritesAMarkerALengthAndBytes)
{
    EXPECT_EQ(Written(String("a\xFF")), std::string("\3\0\x57\x57\2\0\0\0a\xFF", 10));
    EXPECT_EQ(Written(String()), std::string("\3\0\x57\x57\0\0\0\0", 8));
    EXPECT_EQ(Written(MakeFailed()), std::string("\3\0", 2));
    EXPECT_EQ(String().GetClassId(),
              Guid(0xF1B28FD3, 0xECB0, 0x410D, {0x94, 0x06, 0xCB, 0xB9, 0xB6, 0x59, 0xF8, 0x4E}));
    ClassManager::SetOutputVersion(1);
    const std::string old = Written(String("ab"));
    ClassManager::SetOutputVersion(0);
    EXPECT_EQ(old, std::string("\2\0\x57\x57\0\0\2\0\0\0ab", 12));
    for (const unsigned int length : {1u, 70000u}) {
        String text;
        text.Pad(length, '\x81');
        const std::string bytes = Written(text);
        EXPECT_EQ(bytes, Written(text, false));
        for (const bool native : {true, false}) {
            String back("old");
            EXPECT_EQ(ReadBack(bytes, back, native), NoError);
            EXPECT_EQ(back, text);
        }
    }
    EXPECT_THROW(
        {
            OChannel* volatile none = nullptr;
            String("x").Write(*none);
        },
        NullReferenceException);
}

TEST(StringPersistence, ReadsAllVersions)
{
    const std::string utf8 = "gr\xC3\xBC\xE2\x82\xAC";
    for (const UInt8 version : {UInt8{1}, UInt8{2}, UInt8{3}}) {
        CHSetLegacyCharCode(WesternCharCode);
        OMemChannel oc;
        oc << version << UInt8{0};
        EXPECT_EQ(StringTestAccess::WriteContent(String(utf8.c_str()), oc, version), NoError);
        const std::string bytes(oc.LockData(), oc.DataSize());
        EXPECT_EQ(bytes.substr(2, 2), "\x57\x57");
        EXPECT_EQ(bytes.substr(version < 3 ? 10 : 8), version < 2 ? "gr\xFC\x80" : utf8);
        String back;
        EXPECT_EQ(ReadBack(bytes, back), NoError);
        EXPECT_EQ(back, utf8.c_str());
        CHSetLegacyCharCode(DefaultCharCode);
    }
    String text("old");
    EXPECT_EQ(ReadBack(std::string("\4\0\x57\x57\0\0\0\0", 8), text), ErrGeneral);
    EXPECT_EQ(ReadBack(std::string("\3\0\x57\x58\0\0\0\0", 8), text), ErrDataIntegrity);
    EXPECT_EQ(ReadBack(std::string("\2\0\x57\x57\1\0\0\0\0\0", 10), text), ErrDataIntegrity);
    EXPECT_TRUE(text.IsEmpty());
}

TEST(StringPersistence, AHostileLengthTakesNoMemory)
{
    for (const bool native : {true, false}) {
        String text;
        EXPECT_EQ(ReadBack(std::string("\3\0\x57\x57\xFF\xFF\xFF\xFF"
                                       "abcd",
                                       12),
                           text, native),
                  ErrEndOfInput);
        EXPECT_TRUE(text.IsEmpty());
        EXPECT_LT(text.GetCapacity(), 200000u);
    }
}

TEST(StringInOtherClasses, ConvertsByTheDefaultCodePage)
{
    const String text("gr\xC3\xBC");
    EXPECT_EQ(UniString(text), u"gr\u00FC");
    UniString units(u"old");
    units.Assign(text);
    EXPECT_EQ(units, u"gr\u00FC");
    units.Assign(String());
    EXPECT_TRUE(units.IsEmpty() && UniString(MakeFailed()).IsEmpty());
    ErrorStatus status(text);
    EXPECT_EQ(status.GetErrorCode(), ErrGeneral);
    EXPECT_EQ(status.GetErrorMessage(), u"gr\u00FC");
    status.Set(String("again"));
    EXPECT_EQ(status.GetErrorMessage(), u"again");
    Testing::SweepAllocationFailures([&text] {
        try {
            return ErrorStatus(text).GetErrorMessage() == u"gr\u00FC";
        } catch (const OutOfMemoryException&) {
            return false;
        }
    });
}

} // namespace

} // namespace QV
