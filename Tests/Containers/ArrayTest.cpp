#include "Tests/Support/FaultSweep.hpp"

#include <QVRoot/Containers/PagedArray.hpp>
#include <QVRoot/Exceptions/GeneralExceptions.hpp>
#include <QVRoot/String/UniString.hpp>

#include <gtest/gtest.h>

using namespace QV;

namespace {

TEST(Array, GrowsInsertsAndRemovesInOrder)
{
    Array<UniString> texts;
    for (char16_t c = u'a'; c < u'z'; ++c) {
        texts.Append(UniString(&c, 1));
        texts.Append(texts[0]);
    }
    EXPECT_EQ(texts.GetCount(), 50u);
    EXPECT_EQ(texts[48], u"y");
    EXPECT_EQ(texts.GetLast(), u"a");
    texts.InsertAt(1, u"new");
    texts.RemoveAt(0);
    EXPECT_EQ(texts[0], u"new");
    EXPECT_EQ(texts[1], u"a");
    Array<UniString> copy = texts;
    texts.Clear();
    EXPECT_TRUE(texts.IsEmpty());
    EXPECT_EQ(copy.GetCount(), 50u);
    texts = std::move(copy);
    EXPECT_EQ(texts.GetCount(), 50u);
}

TEST(PagedArray, NeverMovesItsElements)
{
    PagedArray<UniString, 4> texts;
    UniString* const first = &texts.Append(u"first");
    for (int i = 0; i < 40; ++i) {
        texts.Append(u"more");
    }
    EXPECT_EQ(&texts[0], first);
    EXPECT_EQ(texts.Find(u"more"), 1u);
    EXPECT_EQ(texts.Find(u"none"), texts.NotFound);
    texts.RemoveAt(0);
    EXPECT_EQ(texts.GetCount(), 40u);
    const PagedArray<UniString, 4> copy = texts;
    EXPECT_EQ(copy[39], u"more");
}

TEST(PagedArray, StaysAsItWasWhenMemoryIsOut)
{
    Testing::SweepAllocationFailures([] {
        PagedArray<int, 2> numbers;
        Array<int> flat;
        for (int i = 0; i < 9; ++i) {
            try {
                numbers.Append(i);
                flat.Append(i);
            } catch (const OutOfMemoryException&) {
                EXPECT_EQ(flat.GetCount(), static_cast<UInt32>(i));
                return false;
            }
        }
        return true;
    });
}

} // namespace
