// Stacks that only this platform has.
#include <QVRoot/Exceptions/StackCaptureImpl.hpp>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <exception>
#include <execinfo.h>
#include <gtest/gtest.h>
#include <malloc.h>
#include <memory>
#include <string>
#include <sys/mman.h>
#include <ucontext.h>

using namespace QV;
using namespace QV::Impl;

namespace {

struct Captures {
    void* own[128];
    void* reference[128];
    UInt32 ownDepth;
    int referenceDepth;
    CaptureMethod method;
};

Captures captures;

[[gnu::noinline]] void CaptureBoth()
{
    captures.ownDepth = CaptureStack(captures.own, 128, 0, &captures.method);
    captures.referenceDepth = backtrace(captures.reference, 128);
}

/// The first entry is another place in the same function. Others may come first, as the sanitizers' own.
void ExpectSameCaptures()
{
    ASSERT_GE(captures.ownDepth, 2u);
    void** const end = captures.reference + captures.referenceDepth;
    void** const begin = std::find(captures.reference, end, captures.own[1]);
    EXPECT_TRUE(std::equal(captures.own + 1, captures.own + captures.ownDepth, begin, end));
}

void OnSignal(int)
{
    CaptureBoth();
}

void HandleSignalWith(int flags)
{
    struct sigaction action = {};
    struct sigaction before;
    action.sa_handler = OnSignal;
    action.sa_flags = flags;
    CaptureBoth(); // the reference allocates the first time
    sigaction(SIGUSR1, &action, &before);
    raise(SIGUSR1);
    sigaction(SIGUSR1, &before, nullptr);
    ExpectSameCaptures();
    EXPECT_EQ(captures.method, CaptureMethod::System);
}

constexpr size_t StackSize = 256 * 1024;

ucontext_t mainContext;
ucontext_t ownContext;

} // namespace

TEST(StackCapturePosix, CapturesInSignalHandlers)
{
    HandleSignalWith(0);
    const auto place = std::make_unique<char[]>(StackSize);
    stack_t other = {};
    other.ss_sp = place.get();
    other.ss_size = StackSize;
    stack_t before;
    ASSERT_EQ(sigaltstack(&other, &before), 0);
    HandleSignalWith(SA_ONSTACK);
    sigaltstack(&before, nullptr);
}

TEST(StackCapturePosix, CapturesOnStacksOfTheProgram)
{
    // With an unreadable page right behind the stack's end.
    auto* place = static_cast<char*>(
        mmap(nullptr, StackSize + 4096, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
    ASSERT_NE(place, MAP_FAILED);
    mprotect(place + StackSize, 4096, PROT_NONE);
    for (int round = 0; round < 3; ++round) {
        ASSERT_EQ(getcontext(&ownContext), 0);
        ownContext.uc_stack.ss_sp = place;
        ownContext.uc_stack.ss_size = StackSize;
        ownContext.uc_link = &mainContext;
        makecontext(&ownContext, CaptureBoth, 0);
        ASSERT_EQ(swapcontext(&mainContext, &ownContext), 0);
        EXPECT_EQ(captures.method, CaptureMethod::Rules);
        ExpectSameCaptures();
        CaptureBoth();
        ExpectSameCaptures();
    }
    munmap(place, StackSize + 4096);
}

TEST(StackCapturePosix, DoesNotAllocateAndKeepsErrno)
{
    CaptureBoth();
    errno = 1234;
    const auto before = mallinfo2().uordblks;
    for (int i = 0; i < 10; ++i) {
        CaptureStack(captures.own, 128, 0);
    }
    EXPECT_EQ(mallinfo2().uordblks, before);
    EXPECT_EQ(errno, 1234);
}

TEST(StackCapturePosix, NamesExportedFunctions)
{
    auto* code = reinterpret_cast<char*>(&std::terminate) + 1;
    char text[256];
    DescribeAddress(code, text, sizeof text);
    EXPECT_EQ(std::string(text).find("std::terminate()+0x1 (libstdc++"), 0u) << text;
    DescribeAddress(code, text, sizeof text, NameForm::Raw);
    EXPECT_EQ(std::string(text).find("_ZSt9terminatev+0x1 (libstdc++"), 0u) << text;
}
