#include "Tests/Support/TemporaryFolder.hpp"

#include <QVRoot/BasicEnvironment/DebugValues.hpp>
#include <QVRoot/BasicEnvironment/ErrorCodes.h>
#include <QVRoot/BasicEnvironment/ErrorReporting.hpp>
#include <QVRoot/MemoryManagement/BlockMemory.h>
#include <QVRoot/MemoryManagement/Core/FaultInjection.hpp>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <functional>
#include <random>
#include <thread>

using namespace QV;
using namespace std::string_literals;

extern "C" int QVTestBlockMemoryFromC(void);

namespace {

constexpr Int32 MaxSize = 0x7FFFFFFF;

std::vector<std::string> reports;
std::vector<std::vector<int>> questions;

/// Uses the interface itself, as a real procedure may.
Int16 AskSevere(Int16 operation, Int32 size, Int16 error, Int16 reserved)
{
    questions.push_back({operation, size, error, reserved});
    BMClearHandle(nullptr);
    return 1;
}

QVConstHandle Const(QVHandle handle)
{
    return const_cast<QVConstHandle>(handle);
}

Int32 GetCapacity(const void* record)
{
    Int32 value;
    std::memcpy(&value, static_cast<const char*>(record) + 12, sizeof(value));
    return value;
}

std::string GetBytes(QVHandle handle)
{
    return *handle == nullptr ? "(empty)" : std::string(*handle, BMGetHandleSize(Const(handle)));
}

QVHandle MakeHandle(const std::string& bytes)
{
    QVHandle handle = nullptr;
    EXPECT_EQ(BMPtrToHandle(bytes.data(), &handle, static_cast<Int32>(bytes.size())), 0);
    return handle;
}

class BlockMemoryTest : public testing::Test {
protected:
    void SetUp() override
    {
        reports.clear();
        questions.clear();
        reportSink_ = ErrorReporting::SetSink([](const ErrorReport& report) {
            reports.push_back(report.text + " "s + std::to_string(report.code));
        });
        logSink_ = ErrorLog::SetSink([](const char*, const char*, const char*) {});
        BMSetAbortProc(AskSevere);
    }
    void TearDown() override
    {
        BMSetAbortProc(nullptr);
        ErrorReporting::SetSink(reportSink_);
        ErrorLog::SetSink(logSink_);
    }

private:
    ErrorReporting::Sink reportSink_ = nullptr;
    ErrorLog::Sink logSink_ = nullptr;
};

TEST_F(BlockMemoryTest, HandleTakesExactlyItsSizeAndGrowsByAQuarter)
{
    QVHandle handle = BMAllocateHandle(0, 0, 0);
    EXPECT_NE(*handle, nullptr);
    const int steps[][2] = {{100, 100}, {101, 125}, {120, 125}, {200, 200}, {199, 199}, {0, 0}, {7, 7}};
    for (const auto& [size, capacity] : steps) {
        EXPECT_EQ(BMReallocHandle(handle, size, 0, 0), handle);
        EXPECT_NE(*handle, nullptr);
        EXPECT_EQ(BMGetHandleSize(Const(handle)), size);
        EXPECT_EQ(GetCapacity(handle), capacity) << size;
    }
    BMKillHandle(&handle);
    EXPECT_EQ(handle, nullptr);

    handle = BMAllocateHandle(-1, BMMakeEmpty | BMZeroNew, 0);
    EXPECT_EQ(BMError(), 0);
    EXPECT_EQ(BMGetHandleSize(Const(handle)), 0);
    EXPECT_EQ(BMError(), ErrEmptyHandle);
    EXPECT_EQ(BMReallocHandle(handle, 0, BMZeroAll, 0), handle);
    EXPECT_EQ(*handle, nullptr);
    BMReallocHandle(handle, 10, BMZeroNew, 0);
    EXPECT_EQ(GetBytes(handle), std::string(10, '\0'));
    EXPECT_EQ(GetCapacity(handle), 10);
    BMKillHandle(&handle);
}

TEST_F(BlockMemoryTest, PointerKeepsItsHeaderAndMovesOnlyWhenAllowed)
{
    QVPtr ptr = BMAllocatePtr(100, BMZeroNew, 0);
    EXPECT_EQ(std::count(ptr, ptr + 100, '\0'), 100);
    for (const Int32 size : {101, 99, -1}) {
        EXPECT_EQ(BMReallocPtr(ptr, size, 0, 9), ptr);
        EXPECT_EQ(BMError(), ErrMemoryFull);
        EXPECT_EQ(questions.back(), (std::vector<int>{BMInReallocPtr, size, ErrMemoryFull, 9}));
    }
    std::memcpy(ptr, "abc", 3);
    const int steps[][2] = {{100, 116}, {101, 145}, {129, 145}, {120, 145}, {104, 120}, {9, 25}, {0, 25}};
    for (const auto& [size, capacity] : steps) {
        ptr = BMReallocPtr(ptr, size, size == 100 ? 0 : BMMayMove, 0);
        QVPtr self;
        std::memcpy(&self, ptr - 16, sizeof(self));
        EXPECT_EQ(self, ptr);
        EXPECT_EQ(BMGetPtrSize(ptr), size);
        EXPECT_EQ(GetCapacity(ptr - 16), capacity) << size;
        EXPECT_TRUE(size == 0 || std::memcmp(ptr, "abc", 3) == 0);
    }
    EXPECT_EQ(BMReallocPtr(ptr, MaxSize, BMMayMove | BMKillOnFailure, 0), nullptr);
    EXPECT_EQ(BMError(), ErrMemoryFull);
}

TEST_F(BlockMemoryTest, FlagsZeroWhatTheyName)
{
    const auto resize = [](Int32 size, UInt32 flags) {
        QVHandle handle = MakeHandle("abcd");
        QVPtr ptr = BMAllocatePtr(4, 0, 0);
        std::memcpy(ptr, "abcd", 4);
        BMReallocHandle(handle, size, flags, 0);
        ptr = BMReallocPtr(ptr, size, flags | BMMayMove, 0);
        const std::string bytes = GetBytes(handle);
        EXPECT_EQ(std::string(ptr, BMGetPtrSize(ptr)), bytes);
        BMKillHandle(&handle);
        BMKillPtr(&ptr);
        return bytes;
    };
    EXPECT_EQ(resize(6, BMZeroNew), "abcd\0\0"s);
    EXPECT_EQ(resize(6, BMZeroAll), "\0\0\0\0\0\0"s);
    EXPECT_EQ(resize(3, BMZeroNew), "abc"s);
    EXPECT_EQ(resize(4, BMZeroAll), "\0\0\0\0"s);
    EXPECT_EQ(resize(6, BMNeverGrow | BMZeroAll), "abcd"s);
    EXPECT_EQ(resize(2, BMNeverGrow | BMZeroAll), "\0\0"s);
}

TEST_F(BlockMemoryTest, BadArgumentsLeaveTheirErrors)
{
    QVHandle full = MakeHandle("ab");
    QVHandle empty = BMAllocateHandle(0, BMMakeEmpty, 0);
    QVHandle out = full;
    const auto expect = [](int error, Int64, int line) {
        EXPECT_EQ(BMErrorNotClear(), error) << "line " << line;
        EXPECT_EQ(BMError(), error);
        EXPECT_EQ(BMError(), 0);
    };
    expect(ErrNilHandle, BMHandleToHandle(nullptr, &out), __LINE__);
    expect(ErrNilHandle, BMHandleToHandle(Const(full), nullptr), __LINE__);
    expect(ErrEmptyHandle, BMHandleToHandle(Const(empty), &out), __LINE__);
    expect(ErrNullPointer, BMPtrToHandle(nullptr, nullptr, 1), __LINE__);
    expect(ErrNilHandle, BMPtrToHandle("a", nullptr, 1), __LINE__);
    expect(ErrNilHandle, BMHandleAndHandle(nullptr, full), __LINE__);
    expect(ErrNilHandle, BMHandleAndHandle(empty, nullptr), __LINE__);
    expect(ErrEmptyHandle, BMHandleAndHandle(empty, full), __LINE__);
    expect(ErrEmptyHandle, BMHandleAndHandle(full, empty), __LINE__);
    expect(ErrNullPointer, BMPtrAndHandle(nullptr, nullptr, 1), __LINE__);
    expect(ErrNilHandle, BMPtrAndHandle("a", nullptr, 1), __LINE__);
    expect(ErrEmptyHandle, BMPtrAndHandle("a", empty, 0), __LINE__);
    expect(ErrMemoryFull, BMPtrAndHandle("a", full, -1), __LINE__);
    expect(ErrMemoryFull, BMPtrAndHandle("a", full, MaxSize), __LINE__);
    expect(ErrNilHandle, BMReallocHandle(nullptr, 1, 0, 0) != nullptr, __LINE__);
    expect(ErrNullPointer, BMReallocPtr(nullptr, 1, 0, 0) != nullptr, __LINE__);
    expect(ErrEmptyHandle, BMMunger(empty, 0, "a", 1, nullptr, 0), __LINE__);
    expect(0, BMClearHandle(nullptr), __LINE__);
    EXPECT_EQ(out, full);
    EXPECT_EQ(GetBytes(full), "ab");
    EXPECT_EQ(BMPtrToHandle("a", &out, -1), ErrMemoryFull);
    EXPECT_EQ(out, nullptr);
    BMKillHandle(nullptr);
    EXPECT_EQ(BMErrorNotClear(), 0);
    EXPECT_TRUE(questions.empty());
    BMKillHandle(&full);
    BMKillHandle(&empty);
}

TEST_F(BlockMemoryTest, FatalErrorsAskTheProcedureAndKeepTheError)
{
    QVHandle handle = MakeHandle("ab");
    BMAllocateHandle(-1, 0, 1);
    BMAllocatePtr(MaxSize - 15, 0, 2);
    BMGetHandleSize(nullptr);
    BMGetPtrSize(nullptr);
    EXPECT_EQ(BMError(), ErrNullPointer);
    EXPECT_EQ(BMReallocHandle(handle, -1, 0, 3), handle);
    EXPECT_EQ(GetBytes(handle), "ab");
    EXPECT_EQ(BMReallocHandle(handle, -2, BMKillOnFailure, 4), nullptr);
    EXPECT_EQ(BMError(), ErrMemoryFull);
    const std::vector<std::vector<int>> expected = {{2, -1, -108, 1}, {1, MaxSize - 15, -108, 2},
                                                    {17, 0, -109, 0}, {18, 0, -7001, 0},
                                                    {4, -1, -108, 3}, {4, -2, -108, 4}};
    EXPECT_EQ(questions, expected);
    ASSERT_EQ(reports.size(), 6u);
    EXPECT_EQ(reports[0],
              "Fatal memory error in BMAllocateHandle. Requested memory size is -1 bytes 2147483665");
}

TEST_F(BlockMemoryTest, OrdinaryReportsEndAfterTheTenth)
{
    // In a process of its own, since the count is never reset.
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto report = [] {
        BMSetAbortProc(nullptr);
        const std::string text = "Fatal memory error in BMAllocatePtr. Requested memory size is -1 bytes 17";
        std::vector<std::string> expected(9, text);
        expected.push_back("More Fatal memory errors (not logged) 17");
        expected.push_back("Fatal memory error in BMGetPtrSize. Requested memory size is 0 bytes 2147483665");
        for (int i = 0; i < 12; ++i) {
            BMAllocatePtr(-1, 0, 0);
        }
        BMGetPtrSize(nullptr);
        std::_Exit(reports == expected ? 0 : 1);
    };
    EXPECT_EXIT(report(), testing::ExitedWithCode(0), "");
}

TEST_F(BlockMemoryTest, BytesOfTheHandleItselfMayBeInserted)
{
    QVHandle handle = MakeHandle("abc");
    std::string expected = "abc";
    for (int i = 0; i < 12; ++i) {
        ASSERT_EQ(BMHandleAndHandle(handle, handle), 0);
        expected += expected;
        ASSERT_EQ(BMPtrAndHandle(*handle + 1, handle, i), 0);
        expected += expected.substr(1, i);
        ASSERT_EQ(GetBytes(handle), expected);
    }
    BMMunger(handle, 2, nullptr, 0, *handle, 200);
    expected.insert(2, expected.substr(0, 200));
    BMMunger(handle, 5, nullptr, 300, *handle + 4, 100);
    expected.replace(5, 300, expected.substr(4, 100));
    EXPECT_EQ(GetBytes(handle), expected);
    BMKillHandle(&handle);
}

TEST_F(BlockMemoryTest, MungerHandlesTheEdgesOfItsCases)
{
    const auto munge = [](Int32 offset, const char* pattern, Int32 k, const char* bytes, Int32 m) {
        QVHandle handle = MakeHandle("abcabc");
        const std::string result = std::to_string(BMMunger(handle, offset, pattern, k, bytes, m));
        const std::string error = std::to_string(BMError());
        const std::string text = GetBytes(handle).substr(0, 8);
        BMKillHandle(&handle);
        return result + ' ' + error + ' ' + text;
    };
    EXPECT_EQ(munge(1, "bc", 2, "XYZ", 3), "4 0 aXYZabc");
    EXPECT_EQ(munge(2, nullptr, -1, "Q", 1), "3 0 abQ");
    EXPECT_EQ(munge(2, "ab", 2, nullptr, 5), "3 0 abcabc");
    EXPECT_EQ(munge(2, "ab", 2, "", 0), "3 0 abcc");
    EXPECT_EQ(munge(6, "", 0, "de", 2), "8 0 abcabcde");
    EXPECT_EQ(munge(1, "", 0, nullptr, 0), "1 0 abcabc");
    EXPECT_EQ(munge(0, nullptr, -1, nullptr, 0), "0 0 ");
    EXPECT_EQ(munge(7, "", 0, "de", 2), "-1 0 abcabc");
    EXPECT_EQ(munge(-1, nullptr, 0, "de", 2), "-1 0 abcabc");
    EXPECT_EQ(munge(6, "c", 1, "d", 1), "-1 0 abcabc");
    EXPECT_EQ(munge(0, "b", -1, "d", 1), "-1 0 abcabc");
    EXPECT_EQ(munge(0, "b", 1, "d", -1), "-1 -108 abcabc");
    EXPECT_EQ(munge(0, nullptr, 1, nullptr, MaxSize), "-1 -108 abcabc");
    EXPECT_EQ(munge(5, nullptr, 2, "d", 1), "-1 0 abcabc");
    // Growth comes first and stays when the range turns out too long.
    EXPECT_EQ(munge(5, nullptr, 2, "defg", 4).size(), "-1 0 abcabc??"s.size());
}

TEST_F(BlockMemoryTest, MungerAgreesWithAPlainSearch)
{
    std::mt19937 random(1);
    const auto makeText = [&](int limit) {
        std::string text(random() % limit, 'a');
        for (char& c : text) {
            c = static_cast<char>('a' + random() % 2);
        }
        return text;
    };
    std::string text = makeText(40);
    QVHandle handle = MakeHandle(text);
    for (int i = 0; i < 20000; ++i) {
        const size_t offset = random() % (text.size() + 1);
        const std::string pattern = makeText(7) + "a";
        const std::string bytes = makeText(text.size() < 200 ? 12 : 3);
        const Int32 result =
            BMMunger(handle, static_cast<Int32>(offset), pattern.data(), static_cast<Int32>(pattern.size()),
                     bytes.data(), static_cast<Int32>(bytes.size()));
        const size_t match = text.find(pattern, offset);
        if (match == std::string::npos) {
            ASSERT_EQ(result, -1);
            text += "ba";
            ASSERT_EQ(BMPtrAndHandle("ba", handle, 2), 0);
        } else {
            ASSERT_EQ(result, static_cast<Int32>(match + bytes.size()));
            text.replace(match, pattern.size(), bytes);
        }
        ASSERT_EQ(GetBytes(handle), text);
    }
    BMKillHandle(&handle);
}

TEST_F(BlockMemoryTest, ErrorsBelongToTheirThreads)
{
    const auto work = [](int turn) {
        const int errors[] = {0, ErrNullPointer, ErrNilHandle};
        for (int i = 0; i < 2000; ++i) {
            const int error = errors[(i + turn) % 3];
            BMPtrToHandle(error == ErrNullPointer ? nullptr : "a", nullptr, 1);
            if (error == 0) {
                BMKillPtr(nullptr);
            }
            std::this_thread::yield();
            ASSERT_EQ(BMErrorNotClear(), error);
        }
    };
    std::vector<std::thread> threads;
    for (int turn = 0; turn < 4; ++turn) {
        threads.emplace_back(work, turn);
    }
    std::for_each(threads.begin(), threads.end(), [](std::thread& thread) { thread.join(); });
    EXPECT_EQ(BMError(), 0);
}

struct Blocks {
    QVHandle handle = MakeHandle("abcdef");
    QVHandle result = nullptr;
    QVPtr ptr = BMAllocatePtr(10, BMZeroNew, 0);

    ~Blocks()
    {
        BMKillHandle(&handle);
        BMKillHandle(&result);
        BMKillPtr(&ptr);
    }
};

/// Makes the n-th allocation of the call fail, and looks at what is left. Answers whether there was one.
bool FailOnce(UInt64 n, const std::function<void(Blocks&)>& call)
{
    Blocks blocks;
    FaultInjection::FailOnce(n);
    try {
        call(blocks);
    } catch (const std::bad_alloc&) {
        EXPECT_EQ(n, 1u) << "only the record may throw";
    }
    FaultInjection::Disable();
    if (FaultInjection::GetFailures() == 0) {
        EXPECT_EQ(BMError(), 0);
        return false;
    }
    EXPECT_EQ(BMError(), ErrMemoryFull);
    EXPECT_TRUE(blocks.result == nullptr && GetBytes(blocks.handle) == "abcdef");
    EXPECT_TRUE(BMGetPtrSize(blocks.ptr) == 10 && GetCapacity(blocks.handle) == 6);
    return true;
}

TEST_F(BlockMemoryTest, EveryFailedAllocationLeavesAllAsItWas)
{
    if (!FaultInjection::IsEnabled()) {
        GTEST_SKIP() << "needs the debug value injectFaults";
    }
    const std::string large(500, 'x');
    const std::function<void(Blocks&)> calls[] = {
        [](Blocks& b) { b.result = BMAllocateHandle(10, 0, 0); },
        [](Blocks& b) { b.result = BMAllocateHandle(10, BMMakeEmpty, 0); },
        [](Blocks& b) { BMHandleToHandle(Const(b.handle), &b.result); },
        [](Blocks& b) { b.ptr = BMReallocPtr(b.ptr, 1000, BMMayMove | BMZeroAll, 0); },
        [](Blocks& b) { BMReallocHandle(b.handle, 1000, BMZeroAll, 0); },
        [](Blocks& b) { BMReallocHandle(b.handle, 1, BMZeroAll, 0); },
        [](Blocks& b) { BMHandleAndHandle(b.handle, b.handle); },
        [&](Blocks& b) { BMPtrAndHandle(large.data(), b.handle, 500); },
        [&](Blocks& b) { BMMunger(b.handle, 1, "cd", 2, large.data(), 500); },
    };
    const UInt64 live = FaultInjection::GetLiveBlocks();
    for (const auto& call : calls) {
        EXPECT_TRUE(FailOnce(1, call)) << &call - calls;
        EXPECT_EQ(FailOnce(2, call), &call == &calls[0] || &call == &calls[2]) << &call - calls;
        EXPECT_FALSE(FailOnce(3, call)) << &call - calls;
        EXPECT_EQ(FaultInjection::GetLiveBlocks(), live);
    }
    Blocks blocks;
    FaultInjection::FailOnce(1);
    EXPECT_EQ(BMMunger(blocks.handle, 1, "bc", 2, "", 0), -1);
    EXPECT_EQ(BMError(), ErrMemoryFull);
    EXPECT_EQ(BMGetHandleSize(Const(blocks.handle)), 6);
    // Resizing to nothing releases the block first: without a new one the handle is empty.
    FaultInjection::FailOnce(1);
    BMReallocHandle(blocks.handle, 0, 0, 0);
    FaultInjection::Disable();
    EXPECT_EQ(BMError(), ErrMemoryFull);
    EXPECT_TRUE(*blocks.handle == nullptr && GetCapacity(blocks.handle) == 0);
}

TEST_F(BlockMemoryTest, HeapDumpWritesFramesListAndSums)
{
    const QV::Test::TemporaryFolder folder;
    const std::string path = (folder / "dump.txt").string();
    const auto dump = [&](UInt32 flags) {
        BMDumpHeap(path.c_str(), flags);
        std::ifstream file(path, std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(file), {});
    };
    const std::string frame = std::string(106, '#') + "\r\n";
    const std::string spaces(39, ' ');
    const std::string title = frame + "####  " + spaces + "MAC EMU HEAP DUMP" + spaces + "#####\r\n" + frame;
    const std::string rest = "####   " + spaces + "MSVCRT HEAP DUMP" + spaces + "#####\r\n" + frame;
    void* const large = std::malloc(70016);
    EXPECT_EQ(dump(BMDumpNewFile), title);
    const std::string text = dump(BMDumpRuntimeHeap);
    EXPECT_EQ(text.find(title + frame + rest + "LOCATION\tBLOCKSIZE\r\n"), 0u);
    // What stands behind the list says how much that is.
    const size_t start = text.find("BLOCKSIZE\r\n") + 11;
    const size_t end = text.find("DumpFlags: 0x00000209\r\n");
    ASSERT_TRUE(end != text.npos && (end - start) % 29 == 0);
    const std::string list = text.substr(start, end - start);
    const auto sum = [&](const char* name, Int64 bytes, Int64 blocks) {
        char line[80];
        std::snprintf(line, sizeof(line), "%s %10lld bytes in %8lld blocks.\r\n", name, bytes, blocks);
        return std::string(line);
    };
    Int64 bytes = 0;
    for (size_t i = 0; i < list.size(); i += 29) {
        bytes += std::stol(list.substr(i + 19, 8));
    }
    const std::string listed = sum("Listed     ", bytes, static_cast<Int64>(list.size() / 29));
    EXPECT_EQ(text.substr(end + 23, listed.size()), listed);
    EXPECT_EQ(text.substr(text.size() - 126), "OK - end of heap\r\n" + frame);
    char line[40];
    std::snprintf(line, sizeof(line), "0x%016llX\t00070016\r\n", reinterpret_cast<USize>(large));
    EXPECT_EQ(list.find(line) != list.npos, text.find(sum("Alltogether", 0, 0)) == text.npos);
    EXPECT_EQ(dump(BMDumpNewFile), title);
    static std::string output;
    const DebugOutputSink sink = DBSetOutputSink([](const char* written) { output += written; });
    BMDumpHeap(nullptr, BMDumpNewFile | BMDumpReserved | BMDumpAllSizes);
    DBSetOutputSink(sink);
    EXPECT_EQ(output, title);
    std::free(large);
}

TEST(BlockMemoryCTest, InterfaceServesCPrograms)
{
    EXPECT_EQ(QVTestBlockMemoryFromC(), 0);
}

} // namespace
