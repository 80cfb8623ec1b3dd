// Editing, searching and replacing, against the plainest code over std::u16string.
#include "Tests/Support/FaultSweep.hpp"

#include <QVRoot/Containers/Array.hpp>
#include <QVRoot/Exceptions/GeneralExceptions.hpp>
#include <QVRoot/String/UniString.hpp>

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <random>
#include <string>
#include <vector>

using namespace QV;

namespace {

using Model = std::u16string;
constexpr unsigned int npos = UniString::Npos;

template <class T>
T& NullReference()
{
    T* volatile pointer = nullptr;
    return *pointer;
}

std::vector<unsigned int> FindAll(const Model& text, const Model& pattern, unsigned int start,
                                  unsigned int end)
{
    std::vector<unsigned int> found;
    for (unsigned int at = start; at + pattern.size() <= end;) {
        const bool matches = text.compare(at, pattern.size(), pattern) == 0;
        if (matches) {
            found.push_back(at);
        }
        at += matches && !pattern.empty() ? static_cast<unsigned int>(pattern.size()) : 1;
    }
    return found;
}

void ReplaceAllIn(Model& text, const std::vector<unsigned int>& found, size_t width, const Model& replacement)
{
    for (auto at = found.rbegin(); at != found.rend(); ++at) {
        text.replace(*at, width, replacement);
    }
}

unsigned int First(const std::vector<unsigned int>& found)
{
    return found.empty() ? npos : found.front();
}

/// A string and its model, changed together at random.
class Pair {
public:
    explicit Pair(unsigned int seed) : random_(seed) {}

    void Step()
    {
        const Model before = model_;
        const UniString sharer = Below(2) == 0 ? string_ : UniString();
        const bool shared = !sharer.IsEmpty();
        ChooseRange();
        pattern_ = MakePattern();
        replacement_ = MakePattern();
        switch (Below(8)) {
        case 0:
            return Edit();
        case 1:
            return Delete();
        case 2:
        case 3:
            return Replace();
        case 4:
            return ReplaceUnits();
        default:
            Search();
        }
        ASSERT_EQ(string_.GetView(), model_);
        if (shared) {
            ASSERT_EQ(sharer.GetView(), before) << "the sharer has changed";
        }
    }
    void Check() const
    {
        ASSERT_EQ(string_.GetView(), model_);
        ASSERT_GE(string_.GetCapacity(), string_.GetLength());
        ASSERT_TRUE(string_.GetLength() != 0 || string_.GetCapacity() == 0);
    }

private:
    unsigned int Below(size_t limit) { return static_cast<unsigned int>(random_() % limit); }

    Model MakeText(unsigned int length)
    {
        Model text(length, u'a');
        for (char16_t& unit : text) {
            unit = static_cast<char16_t>(u'a' + Below(3));
        }
        return text;
    }
    Model MakePattern() { return Below(8) == 0 ? Model() : MakeText(1 + Below(3) * Below(3)); }

    void ChooseRange()
    {
        start_ = Below(model_.size() + 1);
        length_ = Below(model_.size() - start_ + 1);
        if (Below(3) == 0) {
            length_ = static_cast<unsigned int>(model_.size()) - start_;
        }
        count_ = start_ + length_ == model_.size() && Below(2) == 0 ? npos : length_;
    }

    void Edit()
    {
        const Model text = Below(4) == 0 ? Model(model_) : MakeText(Below(model_.size() < 300 ? 90 : 3));
        const bool self = text.size() == model_.size();
        const UniString other(text);
        const UniString& source = self ? string_ : other;
        const Model put = self ? model_ : text;
        const unsigned int from = Below(put.size() + 1);
        const Model part = put.substr(from);
        const auto units = reinterpret_cast<const unsigned short*>(source.GetView().data());
        switch (Below(7)) {
        case 0:
            string_.Insert(start_, source, from);
            model_.insert(start_, part);
            return;
        case 1:
            string_.SetSubstring(start_, count_, source, from);
            model_.replace(start_, length_, part);
            return;
        case 2:
            if (!part.empty()) {
                string_.SetSubstring(start_, count_, units + from, static_cast<unsigned int>(part.size()));
                model_.replace(start_, length_, part);
            }
            return;
        case 3:
            string_.Fill(UniChar('c'), start_, count_);
            model_.replace(start_, length_, length_, u'c');
            return;
        case 4:
            string_.Insert(start_, UniChar('b'));
            model_.insert(start_, 1, u'b');
            return;
        case 5:
            string_.Pad(start_ + 5, UniChar('a'));
            model_.resize(std::max<size_t>(model_.size(), start_ + 5), u'a');
            return;
        default:
            string_.SetSubstring(start_, count_, string_(start_));
            model_.replace(start_, length_, Model(model_, start_));
        }
    }

    void Delete()
    {
        const auto found = FindAll(model_, pattern_, start_, start_ + length_);
        const UniString pattern(pattern_);
        switch (Below(4)) {
        case 0:
            string_.Delete(start_, count_);
            model_.erase(start_, length_);
            return;
        case 1:
            ASSERT_EQ(string_.DeleteFirst(pattern, start_, count_), First(found));
            ReplaceAllIn(model_, {found.begin(), found.begin() + !found.empty()}, pattern_.size(), u"");
            return;
        case 2: {
            const size_t last = model_.rfind(pattern_);
            ASSERT_EQ(string_.DeleteLast(pattern), static_cast<unsigned int>(last));
            if (last != Model::npos) {
                model_.erase(last, pattern_.size());
            }
            return;
        }
        default:
            ASSERT_EQ(string_.DeleteAll(pattern, start_, count_), pattern_.empty() ? 0 : found.size());
            ReplaceAllIn(model_, found, pattern_.size(), u"");
        }
    }

    void Replace()
    {
        const auto found = FindAll(model_, pattern_, start_, start_ + length_);
        const bool growing = model_.size() > 1000;
        const UniString pattern(pattern_);
        const UniString replacement(growing ? Model() : replacement_);
        const Model put(replacement.GetView());
        switch (Below(3)) {
        case 0:
            ASSERT_EQ(string_.ReplaceFirst(pattern, replacement, start_, count_), First(found));
            ReplaceAllIn(model_, {found.begin(), found.begin() + !found.empty()}, pattern_.size(), put);
            return;
        case 1: {
            const size_t last = model_.rfind(pattern_);
            ASSERT_EQ(string_.ReplaceLast(pattern, replacement), static_cast<unsigned int>(last));
            if (last != Model::npos) {
                model_.replace(last, pattern_.size(), put);
            }
            return;
        }
        default:
            ASSERT_EQ(string_.ReplaceAll(pattern, replacement, start_, count_), found.size());
            ReplaceAllIn(model_, found, pattern_.size(), put);
        }
    }

    void ReplaceUnits()
    {
        const char16_t unit = static_cast<char16_t>(u'a' + Below(3));
        const auto found = FindAll(model_, Model(1, unit), start_, start_ + length_);
        switch (Below(4)) {
        case 0:
            ASSERT_EQ(string_.ReplaceAll(UniChar(unit), UniChar('b'), start_, count_), found.size());
            ReplaceAllIn(model_, found, 1, u"b");
            return;
        case 1:
            ASSERT_EQ(string_.ReplaceFirst(UniChar(unit), UniChar('c'), start_, count_), First(found));
            ReplaceAllIn(model_, {found.begin(), found.begin() + !found.empty()}, 1, u"c");
            return;
        case 2:
            ASSERT_EQ(string_.DeleteFirst(UniChar(unit), start_, count_), First(found));
            ReplaceAllIn(model_, {found.begin(), found.begin() + !found.empty()}, 1, u"");
            return;
        default:
            ASSERT_EQ(string_.DeleteAll(UniChar(unit), start_, count_), found.size());
            ReplaceAllIn(model_, found, 1, u"");
        }
    }

    void Search()
    {
        const UniString pattern(pattern_);
        const auto found = FindAll(model_, pattern_, start_, start_ + length_);
        ASSERT_EQ(string_.FindFirst(pattern, start_, count_), First(found));
        ASSERT_EQ(string_.FindLast(pattern), static_cast<unsigned int>(model_.rfind(pattern_)));
        ASSERT_EQ(string_.Count(pattern, start_, count_), found.size());
        ASSERT_EQ(string_.Contains(pattern, start_, count_), !found.empty());
        ASSERT_EQ(string_.BeginsWith(pattern), model_.starts_with(pattern_));
        ASSERT_EQ(string_.EndsWith(pattern), model_.ends_with(pattern_));
        const Model range = model_.substr(start_, length_);
        const auto expect = [&](unsigned int answer, size_t position) {
            ASSERT_EQ(answer, position == Model::npos ? npos : start_ + position);
        };
        expect(string_.FindFirstIn(pattern, start_, count_), range.find_first_of(pattern_));
        expect(string_.FindFirstNotIn(pattern, start_, count_), range.find_first_not_of(pattern_));
        ASSERT_EQ(string_.FindLastIn(pattern), static_cast<unsigned int>(model_.find_last_of(pattern_)));
        ASSERT_EQ(string_.FindLastNotIn(pattern),
                  static_cast<unsigned int>(model_.find_last_not_of(pattern_)));
        ASSERT_EQ(UniString(string_(start_, count_)), range);
    }

    std::mt19937 random_;
    UniString string_;
    Model model_;
    unsigned int start_ = 0;
    unsigned int length_ = 0;
    unsigned int count_ = 0; ///< the length, or to the end
    Model pattern_;
    Model replacement_;
};

TEST(UniStringEdit, DoesAsThePlainCode)
{
    for (unsigned int seed = 0; seed < 60; ++seed) {
        Pair pair(seed);
        for (int step = 0; step < 400; ++step) {
            SCOPED_TRACE(testing::Message() << "seed " << seed << ", step " << step);
            pair.Step();
            pair.Check();
            if (testing::Test::HasFatalFailure()) {
                return;
            }
        }
    }
}

TEST(UniStringEdit, SpecialAnswers)
{
    const UniString abc(u"abc");
    EXPECT_EQ(abc.FindFirst(u"", 5), 5u);
    EXPECT_EQ(abc.FindLast(u""), 3u);
    EXPECT_EQ(abc.Count(u""), 4u);
    EXPECT_EQ(abc.Count(u"", 1, 1), 2u);
    EXPECT_EQ(abc.Count(u"", 9), 1u);
    EXPECT_EQ(abc.FindFirst(u"a", 9, 0xFFFFFFF0), npos);
    EXPECT_EQ(abc.FindFirst(UniChar('c'), 1, 0xFFFFFFFE), 2u);
    EXPECT_EQ(abc.FindFirstIn("", UTF8CharCode), npos);
    EXPECT_EQ(abc.FindFirstNotIn("ba"), 2u);
    EXPECT_TRUE(abc.Contains(u"", npos));
    EXPECT_FALSE(UniString().EndsWith(u"a"));
    EXPECT_FALSE(UniString().BeginsWith(UniChar('a')));
    EXPECT_TRUE(abc.EndsWith(UniChar('c')));
    EXPECT_EQ(UniString(u"aaaa").Count(u"aa"), 2u);

    std::vector<unsigned int> found;
    const std::function<void(unsigned int)> note = [&](unsigned int position) { found.push_back(position); };
    UniString(u"aaaa").Find(u"aa", note);
    abc.Find(UniChar('c'), note);
    abc.Find(u"", note);
    EXPECT_EQ(found, (std::vector<unsigned int>{0, 1, 2, 2, 0, 1, 2}));

    UniString text(u"aXaXa");
    EXPECT_EQ(text.ReplaceAll(u"a", u"bc"), 3u);
    EXPECT_EQ(text, "bcXbcXbc");
    text = abc;
    EXPECT_EQ(text.ReplaceAll(u"", u"x"), 4u);
    EXPECT_EQ(text, "xaxbxcx");
    EXPECT_EQ(text.DeleteFirst(u"", 2), 2u);
    EXPECT_EQ(text.DeleteAll(u""), 0u);
    EXPECT_EQ(text.DeleteAll(text), 1u);
    EXPECT_TRUE(text.IsEmpty());
    text = abc;
    EXPECT_EQ(text.ReplaceAll(text, text), 1u);
    text.SetSubstring(1, 1, "\xE9\xE8", WesternCharCode);
    EXPECT_EQ(text, u"a\u00E9\u00E8c");
    text.SetSubstring(0, 1, reinterpret_cast<const unsigned char*>("\xC3\xA9z"), UTF8CharCode);
    text.SetSubstring(4, npos, "12345", 2);
    text.SetSubstring(6, 0, u"end");
    EXPECT_EQ(text, u"\u00E9z\u00E9\u00E812end");
    text.DeleteFirst();
    text.DeleteLast();
    EXPECT_EQ(text.DeleteLast(UniChar('e')), 5u);
    EXPECT_EQ(text, u"z\u00E9\u00E812n");
}

TEST(UniStringEdit, RefusesWhatLiesOutside)
{
    UniString text(u"abc");
    EXPECT_THROW(text.Insert(4, UniChar('x')), IllegalReferenceException);
    EXPECT_THROW(text.Insert(0, text, 4), IllegalReferenceException);
    EXPECT_THROW(text.SetSubstring(2, 2, u"x"), IllegalReferenceException);
    EXPECT_THROW(text.SetSubstring(0xFFFFFFF0, 0x20, "x"), IllegalReferenceException);
    EXPECT_THROW(text.Fill(UniChar('x'), 1, 3), IllegalReferenceException);
    EXPECT_THROW(text.Delete(3), IllegalReferenceException);
    EXPECT_THROW(text.DeleteAll(u"a", 4), IllegalReferenceException);
    EXPECT_THROW(text.ReplaceAll(UniChar('a'), UniChar('b'), 0, 4), IllegalReferenceException);
    EXPECT_THROW(text.SetToUpperCase(4), IllegalReferenceException);
    EXPECT_THROW(UniString().DeleteFirst(), IllegalReferenceException);
    EXPECT_THROW(UniString().DeleteLast(), IllegalReferenceException);
    EXPECT_THROW(text.SetSubstring(0, 0, static_cast<const char*>(nullptr)), NullPointerException);
    EXPECT_THROW(text.FindFirstIn(static_cast<const char*>(nullptr)), NullPointerException);
    const UniString& null = NullReference<const UniString>();
    EXPECT_THROW(text.Insert(0, null), NullReferenceException);
    EXPECT_THROW(text.FindFirst(null), NullReferenceException);
    EXPECT_THROW(text.DeleteAll(null), NullReferenceException);
    EXPECT_THROW(text.ReplaceFirst(u"a", null), NullReferenceException);
    EXPECT_THROW(text.Split(null, nullptr), NullReferenceException);
    EXPECT_THROW((void)(text == null), NullReferenceException);
    EXPECT_EQ(text, u"abc");
}

TEST(UniStringEdit, BuffersFollowThePolicy)
{
    UniString text;
    text.SetLength(100, UniChar('a'));
    const UniString sharer = text;
    text.ReplaceFirst(UniChar('z'), UniChar('y'));
    EXPECT_EQ(text.GetView().data(), sharer.GetView().data()) << "nothing found, nothing copied";
    text.ReplaceAll(UniChar('z'), UniChar('y'));
    EXPECT_NE(text.GetView().data(), sharer.GetView().data()) << "private even so";
    if (!Testing::IsStringCacheDisabled()) {
        return; // a cached buffer may be larger than asked for
    }
    EXPECT_EQ(text.GetCapacity(), 102u) << "copied with its capacity of 101, and one to spare";
    text.Delete(0, 48);
    EXPECT_EQ(text.GetCapacity(), 102u) << "more than half is in use";
    text.Delete(0, 1);
    EXPECT_EQ(text.GetCapacity(), 52u);
    text.Insert(0, sharer, 0, 2);
    EXPECT_EQ(text.GetCapacity(), 77u) << "grows by half";
    text = sharer;
    text.Delete(0, 60);
    EXPECT_EQ(text.GetCapacity(), 41u) << "a shared buffer as a private one";
    text = sharer;
    EXPECT_EQ(text.ReplaceAll(u"aa", u"b"), 50u);
    EXPECT_EQ(text.GetCapacity(), 51u);
    text.DeleteAll(UniChar('b'));
    EXPECT_TRUE(text.CheckState());
    text = UniString(u"abcabc");
    EXPECT_EQ(text.ReplaceAll(u"c", u"d"), 2u);
    EXPECT_EQ(text, u"abdabd");
}

TEST(UniStringEdit, StaysWholeWhenMemoryIsOut)
{
    using Change = std::function<void(UniString&)>;
    const std::vector<Change> changes = {
        [](UniString& s) { s.Insert(3, s); },
        [](UniString& s) { s.SetSubstring(0, 2, "some longer text than there is room for", UTF8CharCode); },
        [](UniString& s) { s.Delete(1, 50); },
        [](UniString& s) { s.DeleteAll(u"a"); },
        [](UniString& s) { s.ReplaceAll(u"a", u"long"); },
        [](UniString& s) { s.ReplaceAll(u"", u"-"); },
        [](UniString& s) { s.ReplaceAll(UniChar('a'), UniChar('b')); },
        [](UniString& s) { s.SetToUpperCase(2, 60); },
        [](UniString& s) { s = s.ToDecomposed() + s.GetPrefix(40) + "tail"; },
        [](UniString& s) { s(0, 3) = s; },
        [](UniString& s) { s = s + s + s + s + s + s + s + s + s + s + s + s; },
        [](UniString& s) {
            Array<UniString> parts;
            s.Split(u"b", &parts);
        },
    };
    std::u16string content;
    for (int i = 0; i < 30; ++i) {
        content += u"abc\u00E9";
    }
    for (size_t i = 0; i < changes.size(); ++i) {
        SCOPED_TRACE(i);
        Testing::SweepAllocationFailures([&] {
            UniString string;
            try {
                string = UniString(content);
                const UniString sharer = i % 2 == 0 ? string : UniString();
                changes[i](string);
            } catch (const OutOfMemoryException&) {
                EXPECT_TRUE(string.IsEmpty() || string.GetView() == content ||
                            (i == 3 && string.GetLength() == 90));
                EXPECT_TRUE(string.CheckState());
                return false;
            }
            return true;
        });
    }
}

} // namespace
