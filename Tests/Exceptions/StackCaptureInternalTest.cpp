// Captures are compared with what the runtime's own unwinder finds from the same place.
#include <QVRoot/Exceptions/StackCaptureImpl.hpp>
#include <QVRoot/Exceptions/StackInfo.hpp>
#include <QVRoot/Exceptions/StackWalkerImpl.hpp>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <functional>
#include <gtest/gtest.h>
#include <stdexcept>
#include <string>
#include <thread>
#include <unwind.h>
#include <vector>

using namespace QV;
using namespace QV::Impl;

namespace {

using Addresses = std::vector<void*>;

_Unwind_Reason_Code Record(_Unwind_Context* context, void* data)
{
    static_cast<Addresses*>(data)->push_back(reinterpret_cast<void*>(_Unwind_GetIP(context)));
    return _URC_NO_REASON;
}

[[gnu::noinline]] Addresses CaptureByReference()
{
    Addresses addresses;
    _Unwind_Backtrace(Record, &addresses);
    addresses.erase(std::find(addresses.begin(), addresses.end(), nullptr), addresses.end());
    return addresses;
}

struct Captured {
    Addresses addresses;
    CaptureMethod method;
};

[[gnu::noinline]] Captured CaptureOwn(UInt32 capacity, UInt32 skip)
{
    Captured result = {Addresses(capacity), CaptureMethod::System};
    result.addresses.resize(CaptureStack(result.addresses.data(), capacity, skip, &result.method));
    return result;
}

// From the caller's caller on, both must find the same: the caller itself makes two different calls.
[[gnu::noinline]] int ExpectSameStack()
{
    const Addresses expected = CaptureByReference();
    const Captured captured = CaptureOwn(1000, 0);
    // Entry 0 of either lies in the function that captures, entry 1 in this one.
    EXPECT_EQ(captured.method, CaptureMethod::Rules);
    EXPECT_GT(captured.addresses.size(), 4u);
    EXPECT_EQ(captured.addresses.size(), expected.size());
    EXPECT_TRUE(expected.size() > 2 && captured.addresses.size() > 2 &&
                std::equal(expected.begin() + 2, expected.end(), captured.addresses.begin() + 2,
                           captured.addresses.end()));
    return 1;
}

std::atomic<int> sink;

[[gnu::noinline]] int Recurse(int depth, const std::function<int()>& run)
{
    const int result = depth == 0 ? run() : Recurse(depth - 1, run);
    sink += result;
    return result;
}

[[gnu::noinline]] int WithVariableFrame(int size, const std::function<int()>& run)
{
    auto* block = static_cast<volatile char*>(__builtin_alloca(static_cast<size_t>(size)));
    block[0] = 1;
    const int result = run();
    return result + block[0];
}

[[gnu::noinline]] int WithRealignedFrame(int size, const std::function<int()>& run)
{
    alignas(128) volatile char wide[128];
    wide[0] = 1;
    auto* block = static_cast<volatile char*>(__builtin_alloca(static_cast<size_t>(size)));
    block[0] = static_cast<char>(reinterpret_cast<UInt64>(wide) % 128);
    const int result = run();
    return result + block[0] + wide[0];
}

template <size_t Size>
[[gnu::noinline]] int WithLargeFrame(const std::function<int()>& run)
{
    volatile char block[Size];
    block[0] = 1;
    const int result = run();
    return result + block[0];
}

const std::function<int()>* comparison;

int CompareThrough(const void*, const void*)
{
    return (*comparison)();
}

[[gnu::noinline]] int ThroughForeignCode(const std::function<int()>& run)
{
    comparison = &run;
    int values[] = {2, 1};
    std::qsort(values, 2, sizeof(int), CompareThrough);
    return values[0];
}

struct Unwound {
    ~Unwound() { ExpectSameStack(); }
};

[[gnu::noinline]] void Throw()
{
    const Unwound unwound;
    throw std::runtime_error("thrown");
}

} // namespace

TEST(StackCapture, FindsWhatTheUnwinderFinds)
{
    const std::function<int()> compare = ExpectSameStack;
    for (int round = 0; round < 2; ++round) { // from the tables, then from the cache
        ExpectSameStack();
        Recurse(300, compare);
        WithVariableFrame(100 + round, compare);
        WithRealignedFrame(100 + round, compare);
        WithLargeFrame<10000>(compare);
        WithLargeFrame<700000>(compare); // too large for a cached rule
        ThroughForeignCode(compare);
        WithRealignedFrame(8, [&] { return WithVariableFrame(5000, compare); });
        try {
            Throw();
            FAIL();
        } catch (const std::exception&) {
            ExpectSameStack();
        }
    }
}

TEST(StackCapture, ReachesTheStartOfAThreadOnManyThreadsAtOnce)
{
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([i] {
            for (int round = 0; round < 200; ++round) {
                Recurse(i * 5 + round % 7, ExpectSameStack);
            }
        });
    }
    for (auto& thread : threads) {
        thread.join();
    }
}

TEST(StackCapture, SkipsTheInnermostAndStopsAtTheCapacity)
{
    const auto whole = CaptureOwn(1000, 0).addresses;
    for (const UInt32 skip : {1u, 3u}) {
        const auto part = CaptureOwn(1000, skip).addresses;
        ASSERT_EQ(part.size() + skip, whole.size());
        EXPECT_TRUE(std::equal(part.begin() + 1, part.end(), whole.begin() + skip + 1));
    }
    EXPECT_TRUE(CaptureOwn(1000, static_cast<UInt32>(whole.size())).addresses.empty());
    EXPECT_TRUE(CaptureOwn(1000, ~0u).addresses.empty());
    std::array<void*, 4> few = {};
    EXPECT_EQ(CaptureStack(few.data(), 3, 0), 3u);
    EXPECT_EQ(few[3], nullptr);
    EXPECT_EQ(CaptureStack(few.data(), 0, 0), 0u);
}

// What a damaged stack looks like to the walk: registers that lead nowhere.
TEST(StackCapture, EndsQuietlyOnDamagedFrames)
{
    static void* places[64];
    static UInt32 count;
    WithRealignedFrame(100, [] {
        return WithVariableFrame(100, [] {
            count = CaptureStack(places, 64, 0);
            return 1;
        });
    });
    ASSERT_GT(count, 4u);
    alignas(16) UInt64 stack[64] = {};
    const auto sp = reinterpret_cast<UInt64>(stack);
    const UInt64 frames[] = {0,          1,        sp, sp + 3, sp - 64, sp + (4u << 20), sp + (1u << 30),
                             1ull << 46, ~0ull - 7};
    void* addresses[128];
    for (UInt32 i = 0; i < count; ++i) {
        for (UInt64 offset = 0; offset < 64; ++offset) { // also between, and inside, the instructions
            for (const UInt64 fp : frames) {
                UInt32 depth = 0;
                WalkStack({reinterpret_cast<UInt64>(places[i]) + offset, sp, fp}, addresses, 128, 0, depth);
                ASSERT_LE(depth, 128u);
            }
        }
    }
    UInt32 depth = 1;
    for (const UInt64 pc : {UInt64(0), UInt64(1), sp, ~UInt64(0), UInt64(1) << 47}) {
        WalkStack({pc, sp, sp}, addresses, 128, 0, depth);
        EXPECT_EQ(depth, 0u);
    }
}

TEST(StackCapture, NamesAddresses)
{
    char text[512];
    bool isOwnModuleNamed = false;
    for (void* address : CaptureOwn(128, 0).addresses) {
        DescribeAddress(address, text, sizeof text);
        isOwnModuleNamed = isOwnModuleNamed || std::strstr(text, "QVRootInternalTests") != nullptr;
    }
    EXPECT_TRUE(isOwnModuleNamed);

    auto* code = reinterpret_cast<char*>(&std::terminate) + 1;
    DescribeAddress(code, text, sizeof text, NameForm::Raw);
    const std::string raw = text;
    DescribeAddress(code, text, sizeof text);
    const std::string full = text;
    EXPECT_NE(raw.find("+0x"), std::string::npos) << raw;

    std::memset(text, 'x', sizeof text);
    DescribeAddress(code, text, 0);
    EXPECT_EQ(text[0], 'x');
    DescribeAddress(code, text, 5);
    EXPECT_EQ(text, full.substr(0, 4));
    EXPECT_EQ(text[5], 'x');
    DescribeAddress(nullptr, text, sizeof text);
    EXPECT_GT(std::strlen(text), 0u);
}
