#include <QVRoot/MemoryManagement/Core/HeapFunctions.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <memory>
#include <string>

extern "C" int CallHeapFunctionsFromC(void);
extern "C" int CallAlignedFunctionsFromC(void);

using namespace QV;

namespace {

constexpr USize TooLarge = ~USize{0} - 30; // the first size above 2^64-32

struct Free {
    void operator()(void* block) const { QV_free(block); }
};
template <class T>
using Owned = std::unique_ptr<T[], Free>;

char* Fill(void* block, char value, USize count)
{
    return static_cast<char*>(std::memset(block, value, count));
}

bool Holds(const void* block, char value, USize from, USize to)
{
    const auto* bytes = static_cast<const char*>(block);
    return std::all_of(bytes + from, bytes + to, [=](char c) { return c == value; });
}

std::u16string Units(const UInt16* text)
{
    std::u16string units;
    while (*text != 0) {
        units += static_cast<char16_t>(*text++);
    }
    return units;
}

const UInt16* Units(const char16_t* text)
{
    return reinterpret_cast<const UInt16*>(text);
}

std::u16string Widen(const std::string& ascii)
{
    return {ascii.begin(), ascii.end()};
}

std::string GetCurrentFolder()
{
    return Owned<char>(QV_getcwd(nullptr, 0)).get();
}

bool IsPosix()
{
    return GetCurrentFolder().front() == '/';
}

TEST(HeapFunctionsTest, EveryFunctionServesC)
{
    EXPECT_EQ(CallHeapFunctionsFromC(), 0);
    EXPECT_EQ(CallAlignedFunctionsFromC(), 0);
}

TEST(HeapFunctionsTest, PlainBlocksFollowTheRuntime)
{
    EXPECT_EQ(QV_msize(nullptr), 0u);
    QV_free(nullptr);
    const Owned<char> empty(static_cast<char*>(QV_malloc(0)));
    EXPECT_NE(empty, nullptr);
    // The product is taken modulo 2^64: here 8.
    const Owned<char> wrapped(static_cast<char*>(QV_calloc((USize{1} << 61) + 1, 8)));
    ASSERT_NE(wrapped, nullptr);
    EXPECT_TRUE(Holds(wrapped.get(), 0, 0, 8));
    EXPECT_EQ(QV_realloc(QV_realloc(nullptr, 10), 0), nullptr);
}

TEST(HeapFunctionsTest, RecallocKeepsOneElementOnly)
{
    char* block = Fill(QV_malloc(100), 'x', 100);
    EXPECT_EQ(QV_recalloc(block, 1, TooLarge), nullptr);
    EXPECT_EQ(QV_recalloc(block, 0, TooLarge), nullptr);
    EXPECT_EQ(QV_recalloc(block, USize{1} << 32, USize{1} << 32), nullptr);
    ASSERT_TRUE(Holds(block, 'x', 0, 100)) << "a refused size keeps the block";
    block = static_cast<char*>(QV_recalloc(block, 4, 30));
    ASSERT_NE(block, nullptr);
    EXPECT_TRUE(Holds(block, 'x', 0, 30) && Holds(block, 0, 30, 120));
    block = static_cast<char*>(QV_recalloc(block, 0, 100));
    EXPECT_NE(block, nullptr) << "no elements are not an element size of 0";
    EXPECT_EQ(QV_recalloc(block, 5, 0), nullptr);
    const Owned<char> fresh(static_cast<char*>(QV_recalloc(nullptr, 5, 0)));
    EXPECT_NE(fresh, nullptr);
}

TEST(HeapFunctionsTest, CopiesOfTextEndInZero)
{
    EXPECT_EQ(QV_strdup(nullptr), nullptr);
    EXPECT_EQ(QV_wcsdup(nullptr), nullptr);
    EXPECT_EQ(QV_mbsdup(nullptr), nullptr);
    const Owned<char> text(QV_strdup(""));
    EXPECT_STREQ(text.get(), "");
    const Owned<UInt16> wide(QV_wcsdup(Units(u"a\u20ac\U0001F600")));
    EXPECT_EQ(Units(wide.get()), u"a\u20ac\U0001F600");
    const Owned<unsigned char> bytes(QV_mbsdup(reinterpret_cast<const unsigned char*>("\x82\xa0z")));
    EXPECT_STREQ(reinterpret_cast<const char*>(bytes.get()), "\x82\xa0z");
}

TEST(HeapFunctionsTest, FullPathResolvesByTextAlone)
{
    const std::string current = GetCurrentFolder();
    const std::string separator = IsPosix() ? "/" : "\\";
    const auto full = [](const char* path) {
        return std::string(Owned<char>(QV_fullpath(nullptr, path, 0)).get());
    };
    EXPECT_EQ(full(nullptr), current);
    EXPECT_EQ(full(""), current);
    EXPECT_EQ(full("."), current);
    EXPECT_EQ(full("none/.//./deep/../x.y"), current + separator + "none" + separator + "x.y");
    EXPECT_EQ(full("none/../x/"), current + separator + "x" + separator);
    EXPECT_EQ(full((current + "/a/..").c_str()), current);
    if (IsPosix()) {
        EXPECT_EQ(full("/"), "/");
        EXPECT_EQ(full("/../..//a/../b"), "/b");
        EXPECT_EQ(QV_wfullpath(nullptr, Units(u"a\xD800"), 0), nullptr);
    }
    const Owned<UInt16> wide(QV_wfullpath(nullptr, Units(u"a\\\u00df\u20ac\U0001F600"), 0));
    EXPECT_EQ(Units(wide.get()), Widen(current + separator) + u"a\\\u00df\u20ac\U0001F600");
}

TEST(HeapFunctionsTest, PathsGoIntoTheBufferOrNowhere)
{
    const std::string current = GetCurrentFolder();
    const int exact = static_cast<int>(current.size()) + 1;
    std::string buffer(current.size() + 1, '?');
    std::u16string wideBuffer(current.size() + 1, u'?');
    auto* const narrow = buffer.data();
    auto* const wide = reinterpret_cast<UInt16*>(wideBuffer.data());
    for (const int tooShort : {0, exact - 1}) {
        EXPECT_EQ(QV_getcwd(narrow, tooShort), nullptr);
        EXPECT_EQ(QV_wgetcwd(wide, tooShort), nullptr);
        EXPECT_EQ(QV_fullpath(narrow, ".", static_cast<USize>(tooShort)), nullptr);
        EXPECT_EQ(QV_wfullpath(wide, Units(u"."), static_cast<USize>(tooShort)), nullptr);
    }
    EXPECT_EQ(QV_getcwd(narrow, exact), narrow);
    EXPECT_EQ(narrow, current);
    EXPECT_EQ(QV_wgetcwd(wide, exact), wide);
    EXPECT_EQ(Units(wide), Widen(current));
    buffer.front() = wideBuffer.front() = '?';
    EXPECT_EQ(QV_fullpath(narrow, ".", static_cast<USize>(exact)), narrow);
    EXPECT_EQ(narrow, current);
    EXPECT_EQ(QV_wfullpath(wide, Units(u"."), static_cast<USize>(exact)), wide);
    EXPECT_EQ(Units(wide), Widen(current));
}

TEST(HeapFunctionsTest, TemporaryNamesAreFreeAndLieInAFolder)
{
    const Owned<char> name(QV_tempnam("/no such folder", "qvtest"));
    ASSERT_NE(name, nullptr);
    const std::filesystem::path path = name.get();
    EXPECT_EQ(path.filename().string().substr(0, 3), "qvt");
    EXPECT_FALSE(std::filesystem::exists(path));
    EXPECT_TRUE(std::filesystem::is_directory(path.parent_path()));
    const Owned<UInt16> wide(QV_wtempnam(nullptr, Units(u"q\u20ac\u20ac")));
    ASSERT_NE(wide, nullptr);
    EXPECT_TRUE(std::filesystem::is_directory(std::filesystem::path(Units(wide.get())).parent_path()));
}

TEST(HeapFunctionsTest, AlignedBlocksAreAlignedOrRefused)
{
    for (const USize alignment : {0, 3, 24, 48}) {
        EXPECT_EQ(QV_aligned_malloc(16, alignment), nullptr) << alignment;
    }
    EXPECT_EQ(QV_aligned_malloc(0, 16), nullptr);
    EXPECT_EQ(QV_aligned_malloc(TooLarge, 16), nullptr);
    EXPECT_EQ(QV_aligned_malloc(TooLarge - 1, 16), nullptr) << "the overhead must not overflow";
    for (USize alignment = 1; alignment <= 65536; alignment *= 2) {
        void* const block = QV_aligned_malloc(100, alignment);
        ASSERT_EQ(reinterpret_cast<USize>(block) % alignment, 0u);
        void* raw;
        std::memcpy(&raw, static_cast<char*>(block) - 8, 8);
        EXPECT_EQ(QV_aligned_msize(block, alignment, 0), QV_msize(raw) - 8 - alignment);
        Fill(block, 'x', QV_aligned_msize(block, alignment, 0));
        QV_aligned_free(block);
    }
    QV_aligned_free(nullptr);
    EXPECT_EQ(QV_aligned_msize(nullptr, 16, 0), 0u);
    EXPECT_EQ(QV_heapchk(), 1);
}

TEST(HeapFunctionsTest, AlignedReallocationKeepsContent)
{
    void* block = Fill(QV_aligned_realloc(nullptr, 100, 16), 'x', 100);
    EXPECT_EQ(QV_aligned_realloc(block, 50, 24), nullptr);
    EXPECT_EQ(QV_aligned_realloc(block, TooLarge, 16), nullptr);
    ASSERT_TRUE(Holds(block, 'x', 0, 100)) << "a refused request keeps the block";
    for (const USize alignment : {16, 4096, 1, 256}) { // another alignment than the block was made with
        block = QV_aligned_realloc(block, 3000, alignment);
        ASSERT_NE(block, nullptr);
        EXPECT_TRUE(Holds(block, 'x', 0, 100)) << alignment;
    }
    block = QV_aligned_realloc(block, 10, 64);
    EXPECT_TRUE(Holds(block, 'x', 0, 10));
    EXPECT_EQ(QV_aligned_realloc(block, 0, 24), nullptr);

    block = Fill(QV_aligned_malloc(100, 32), 'x', 100);
    block = QV_aligned_recalloc(block, 10, 30, 32);
    EXPECT_TRUE(Holds(block, 'x', 0, 30) && Holds(block, 0, 30, 300));
    EXPECT_EQ(QV_aligned_recalloc(block, USize{1} << 32, USize{1} << 32, 32), nullptr);
    EXPECT_EQ(QV_aligned_recalloc(block, 0, 30, 32), nullptr);
}

TEST(HeapFunctionsTest, OffsetIsTakenFromTheAlignment)
{
    EXPECT_EQ(QV_aligned_offset_malloc(8, 16, 8), nullptr) << "offset not below the size";
    EXPECT_EQ(QV_aligned_offset_malloc(100, 16, 16), nullptr) << "nothing left to align to";
    EXPECT_EQ(QV_aligned_offset_malloc(100, 12, 4), nullptr) << "no power of two";
    void* block = Fill(QV_aligned_offset_malloc(100, 16, 4), 'x', 100);
    EXPECT_EQ(reinterpret_cast<USize>(block) % 12, 0u);
    EXPECT_EQ(QV_aligned_msize(block, 16, 4), QV_aligned_msize(block, 12, 0));
    EXPECT_EQ(QV_aligned_offset_realloc(block, 20, 16, 20), nullptr);
    block = QV_aligned_offset_realloc(block, 500, 64, 8);
    EXPECT_EQ(reinterpret_cast<USize>(block) % 56, 0u);
    EXPECT_TRUE(Holds(block, 'x', 0, 100));
    block = QV_aligned_offset_recalloc(block, 40, 20, 64, 8);
    EXPECT_TRUE(Holds(block, 'x', 0, 20) && Holds(block, 0, 20, 800));
    EXPECT_EQ(QV_aligned_offset_recalloc(block, 40, 0, 64, 8), nullptr);
}

} // namespace
