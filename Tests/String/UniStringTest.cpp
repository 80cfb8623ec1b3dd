#include "Tests/Support/FaultSweep.hpp"

#include <QVRoot/Exceptions/GeneralExceptions.hpp>
#include <QVRoot/MemoryManagement/Core/MemoryManager.hpp>
#include <QVRoot/String/UniString.hpp>

#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

using namespace QV;

namespace {

const unsigned short* Units(const char16_t* text)
{
    return reinterpret_cast<const unsigned short*>(text);
}

UniString Repeated(char16_t unit, unsigned int count)
{
    UniString text;
    text.SetLength(count, UniChar(unit));
    return text;
}

// A reference that the compiler cannot know to be null.
template <class T>
T& NullReference()
{
    T* volatile pointer = nullptr;
    return *pointer;
}

TEST(UniString, ConvertsTextFromItsCodePage)
{
    EXPECT_EQ(UniString("caf\xC3\xA9", UTF8CharCode), u"caf\u00E9");
    EXPECT_EQ(UniString("caf\xE9", WesternCharCode), u"caf\u00E9");
    EXPECT_EQ(UniString("\xC4\xE0", CyrillicCharCode), u"\u0414\u0430");
    EXPECT_EQ(UniString("abc", 2, WesternCharCode), u"ab");
    EXPECT_EQ(UniString("a\0b", 3), UniString(Units(u"a\0b"), 3));
    EXPECT_EQ(UniString(reinterpret_cast<const unsigned char*>("xyz")), u"xyz");
    EXPECT_EQ(UniString("\xF0\x9F\x98\x80"), u"\U0001F600");
    EXPECT_TRUE(UniString("\xFF\xFE").IsEmpty());
    EXPECT_TRUE(UniString("").IsEmpty());
    EXPECT_EQ(UniString(std::u16string_view(u"view")), u"view");
    EXPECT_THROW(UniString(static_cast<const char*>(nullptr)), NullPointerException);
    EXPECT_THROW(UniString(static_cast<const unsigned char*>(nullptr)), NullPointerException);
    EXPECT_THROW(UniString(static_cast<const unsigned short*>(nullptr)), NullPointerException);
    EXPECT_THROW(UniString(static_cast<const char*>(nullptr), 0u), NullPointerException);
}

TEST(UniString, TakesRangesOfOtherStrings)
{
    const UniString text(u"abcdef");
    EXPECT_EQ(UniString(text, 2), u"cdef");
    EXPECT_EQ(UniString(text, 2, 3), u"cde");
    EXPECT_TRUE(UniString(text, 6).IsEmpty());
    EXPECT_TRUE(UniString(text, 3, 0).IsEmpty());
    EXPECT_THROW(UniString(text, 7), IllegalReferenceException);
    EXPECT_THROW(UniString(text, 2, 5), IllegalReferenceException);
    EXPECT_THROW(UniString(text, 0xFFFFFFF0, 0x20), IllegalReferenceException);
    const UniString whole(text, 0, 6);
    EXPECT_EQ(whole.GetView().data(), text.GetView().data());
    EXPECT_THROW(UniString(NullReference<UniString>(), 0, 1), NullReferenceException);
    UniString target;
    EXPECT_THROW(target = NullReference<UniString>(), NullReferenceException);
}

TEST(UniString, CopiesShareUntilOneIsChanged)
{
    UniString original(u"shared text");
    UniString copy = original;
    EXPECT_EQ(copy.GetView().data(), original.GetView().data());
    copy[0] = UniChar('S');
    EXPECT_EQ(original, u"shared text");
    EXPECT_EQ(copy, u"Shared text");
    EXPECT_NE(copy.GetView().data(), original.GetView().data());
    const char16_t* const owned = original.GetView().data();
    original.SetChar(1, UniChar('H'));
    EXPECT_EQ(original.GetView().data(), owned) << "the last owner writes in place";

    UniString aliased = copy;
    aliased[1] = copy[0];
    EXPECT_EQ(aliased, u"SSared text");
    EXPECT_EQ(copy, u"Shared text");
}

TEST(UniString, MovesLeaveASourceThatMayBeAssignedOrDestroyed)
{
    UniString source(u"moved");
    UniString target(std::move(source));
    EXPECT_EQ(target, u"moved");
    EXPECT_FALSE(source.CheckState());
    EXPECT_EQ(source.GetLength(), 0u);
    EXPECT_TRUE(UniString(source).IsEmpty());
    source = target;
    EXPECT_EQ(source, u"moved");
    UniString other(u"other");
    other = std::move(target);
    EXPECT_EQ(target, u"other");
    UniString emptied(std::move(other));
    other.Append(UniChar('x'));
    EXPECT_EQ(other, u"x");
}

TEST(UniString, CapacitiesFollowThePolicy)
{
    if (!Testing::IsStringCacheDisabled()) {
        return; // a cached buffer may be larger than asked for
    }
    EXPECT_EQ(Repeated(u'a', 1).GetCapacity(), 9u);
    EXPECT_EQ(Repeated(u'a', 7).GetCapacity(), 9u);
    EXPECT_EQ(Repeated(u'a', 8).GetCapacity(), 17u);
    EXPECT_EQ(Repeated(u'a', 16).GetCapacity(), 25u);
    EXPECT_EQ(Repeated(u'a', 24).GetCapacity(), 33u);
    EXPECT_EQ(Repeated(u'a', 32).GetCapacity(), 33u);
    EXPECT_EQ(Repeated(u'a', 100).GetCapacity(), 101u);

    UniString text = Repeated(u'a', 7);
    text.SetLength(9);
    text.SetLength(10);
    EXPECT_EQ(text.GetCapacity(), 17u);

    text = Repeated(u'b', 100);
    text.SetLength(60);
    EXPECT_EQ(text.GetCapacity(), 101u);
    text.SetLength(20);
    EXPECT_EQ(text.GetCapacity(), 101u);
    text.SetLength(40);
    EXPECT_EQ(text.GetCapacity(), 41u);
    text.SetCapacity(10);
    EXPECT_EQ(text.GetCapacity(), 41u) << "never below the length";
    text.SetCapacity(200);
    EXPECT_EQ(text.GetCapacity(), 201u);
    EXPECT_EQ(UniString(text, 0, 20), Repeated(u'b', 20));
}

TEST(UniString, LengthChangesKeepTheTextThatRemains)
{
    UniString text(u"abc");
    text.SetLength(5, UniChar('-'));
    EXPECT_EQ(text, u"abc--");
    text.Truncate(9);
    text.Truncate(2);
    EXPECT_EQ(text, u"ab");
    const UniString sharer = text;
    text.SetLength(1);
    EXPECT_EQ(sharer, u"ab");

    const unsigned int capacity = text.GetCapacity();
    text.ClearContent();
    EXPECT_EQ(text.GetCapacity(), capacity);
    EXPECT_FALSE(text.CheckState()) << "an emptied buffer that is kept";
    text.SetLength(0);
    EXPECT_EQ(text.GetCapacity(), 0u);
    EXPECT_TRUE(text.CheckState());
    EXPECT_TRUE(EmptyUniString.IsEmpty());
}

TEST(UniString, AppendsEveryKindOfTextAlsoItself)
{
    UniString text;
    text.Append("ab", UTF8CharCode);
    text.Append("\xE9zz", 1, WesternCharCode);
    text.Append(Units(u"xy"));
    text.Append(Units(u"12345"), 2);
    text.Append(UniChar('!'));
    text += UniString(u"?");
    text += "c";
    EXPECT_EQ(text, u"ab\u00E9xy12!?c");
    text.Append(text, 1, 2);
    EXPECT_EQ(text, u"ab\u00E9xy12!?cb\u00E9");
    text.Append(text);
    text.Append(text.ToUStr(), 2);
    EXPECT_EQ(text, u"ab\u00E9xy12!?cb\u00E9ab\u00E9xy12!?cb\u00E9ab");
    EXPECT_THROW(text.Append(text, 99), IllegalReferenceException);
    EXPECT_THROW(text.Append(static_cast<const char*>(nullptr)), NullPointerException);

    text.Assign(text, 3, 2);
    EXPECT_EQ(text, u"xy");
    text.Assign(text.ToUStr(1), 1);
    EXPECT_EQ(text, u"y");
    text.Assign("k\xC3\xB6", UTF8CharCode);
    EXPECT_EQ(text, u"k\u00F6");

    std::u16string expected;
    UniString grown;
    for (int i = 0; i < 3000; ++i) {
        grown.Append(UniChar(static_cast<unsigned short>(i)));
        expected += static_cast<char16_t>(i);
    }
    EXPECT_EQ(grown.GetView(), expected);
}

TEST(UniString, ConvertsToZeroTerminatedText)
{
    const UniString text(u"abc\u20AC");
    EXPECT_STREQ(text.ToCStr(), "abc\xE2\x82\xAC");
    EXPECT_STREQ(text.ToCStr(1, 2, WesternCharCode), "bc");
    EXPECT_STREQ(text.ToCStr(3, UniString::Npos, WesternCharCode), "\x80");
    EXPECT_STREQ(UniString(u"\u0414").ToCStr(0, 1, WesternCharCode), "?");
    EXPECT_THROW(UniString(u"\u0414").ToCStr(0, 1, WesternCharCode, ThrowOnConversionError),
                 ConversionErrorException);
    EXPECT_THROW(UniString(u"\xD800").ToCStr(0, 1, UTF8CharCode, ThrowOnConversionError),
                 ConversionErrorException);
    EXPECT_STREQ(UniString(u"a\xD800").ToCStr(), "") << "strict, and nothing converts";
    EXPECT_THROW(text.ToCStr(5), IllegalReferenceException);
    EXPECT_THROW(text.CopyUStr(2, 3), IllegalReferenceException);

    const UniString::CStr inlined = Repeated(u'x', 255).ToCStr();
    const UniString::CStr block = Repeated(u'x', 256).ToCStr();
    EXPECT_EQ(std::string(inlined), std::string(255, 'x'));
    EXPECT_EQ(std::string(block), std::string(256, 'x'));

    const UniString::PStr cut = Repeated(u'p', 300).ToPStr();
    EXPECT_EQ(cut.GetLength(), 255u);

    char* const utf8 = text.CopyUTF8(2);
    EXPECT_STREQ(utf8, "c\xE2\x82\xAC");
    MemoryManager::Free(utf8);
    unsigned short* const units = text.CopyUStr(1, 2);
    EXPECT_EQ(UniString(units), u"bc");
    MemoryManager::Free(units);
}

TEST(UniString, TerminatesInItsOwnBufferWhereThereIsRoom)
{
    const UniString text(u"abcdef");
    const UniString sharer = text;
    EXPECT_FALSE(text.ToUStr().IsOwned());
    EXPECT_FALSE(text.ToUStr(3).IsOwned());
    EXPECT_EQ(UniString(sharer.ToUStr(3)), u"def");
    UniString::UStr part = text.ToUStr(1, 2);
    EXPECT_TRUE(part.IsOwned());
    UniString::UStr moved(part);
    EXPECT_FALSE(part.IsOwned());
    EXPECT_EQ(UniString(moved), u"bc");
    EXPECT_EQ(UniString().ToUStr()[0], 0);

    UniString full;
    while (full.GetLength() == 0 || full.GetLength() < full.GetCapacity()) {
        full.Append(UniChar('f'));
    }
    EXPECT_TRUE(full.ToUStr().IsOwned());
}

TEST(UniString, HashesSamplesOfLongText)
{
    EXPECT_EQ(UniString().GenerateHashValue(), 0u);
    EXPECT_EQ(UniString(u"ab").GenerateHashValue(), 97u * 65599 + 98);
    UniString text = Repeated(u'a', 40);
    const UInt32 hash = text.GenerateHashValue();
    text[1] = UniChar('b');
    text[39] = UniChar('b');
    EXPECT_EQ(text.GenerateHashValue(), hash) << "units between the samples do not count";
    text[38] = UniChar('b');
    EXPECT_NE(text.GenerateHashValue(), hash);
    UInt32 expected = 0;
    for (unsigned int i = 0; i < 1000; i += 62) {
        expected = expected * 65599 + 'z';
    }
    EXPECT_EQ(Repeated(u'z', 1000).GenerateHashValue(), expected);
}

TEST(UniString, StaysAsItWasWhenMemoryIsOut)
{
    Testing::SweepAllocationFailures([] {
        UniString text;
        const UniString sharer = text;
        try {
            text = UniString(u"twelve units");
        } catch (const OutOfMemoryException&) {
            EXPECT_TRUE(text.IsEmpty());
            return false;
        }
        const UniString before = text;
        const auto attempt = [&](auto change) {
            const UniString old(text.GetView());
            try {
                change();
                return true;
            } catch (const OutOfMemoryException&) {
                EXPECT_EQ(text.GetView(), old.GetView());
                return false;
            }
        };
        try {
            return attempt([&] { text.Append(UniChar('x')); }) && attempt([&] { text.Append(text); }) &&
                   attempt([&] { text.SetLength(500); }) && attempt([&] { text.SetLength(100); }) &&
                   attempt([&] { text.Assign("something else that is longer", UTF8CharCode); }) &&
                   attempt([&] { text[0] = UniChar('y'); }) && attempt([&] { (void)text.ToUStr(0, 3); }) &&
                   attempt([&] { (void)Repeated(u'x', 400).ToCStr(); });
        } catch (const OutOfMemoryException&) {
            return false; // the copy to compare with
        }
    });
    EXPECT_THROW(Repeated(u'a', 0xFFFFFFF0), OutOfMemoryException);
}

TEST(UniString, SharesBuffersBetweenThreads)
{
    const UniString shared = Repeated(u's', 50);
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&shared, t] {
            for (int i = 0; i < 2000; ++i) {
                UniString copy = shared;
                const UniString second = copy;
                copy.Append(UniChar(static_cast<unsigned short>('a' + t)));
                EXPECT_EQ(copy.GetLength(), 51u);
                EXPECT_EQ(second.ToUStr()[50], 0);
                const UniString small(u"small one");
                EXPECT_EQ(small.GetLength(), 9u);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(shared, Repeated(u's', 50));
}

} // namespace
