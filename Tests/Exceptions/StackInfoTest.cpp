#include <QVRoot/Channel/OMemChannel.hpp>
#include <QVRoot/Exceptions/StackInfo.hpp>

#include <algorithm>
#include <gtest/gtest.h>
#include <string>
#include <utility>

using namespace QV;

namespace {

using Stack = StackInfoCustomDepth<128>;

[[gnu::noinline]] void CaptureBelow(int frames, StackInfo& stack, UInt32 skip)
{
    if (frames == 0) {
        stack.Capture(skip);
    } else {
        CaptureBelow(frames - 1, stack, skip);
    }
    asm volatile(""); // keeps the calls from becoming jumps
}

} // namespace

TEST(StackInfo, RecordsFromTheCallerOutwards)
{
    Stack whole;
    EXPECT_EQ(whole.GetDepth(), 0u);
    EXPECT_EQ(whole.GetAddress(0), nullptr);
    CaptureBelow(5, whole, 0);
    ASSERT_GT(whole.GetDepth(), 7u);
    // The innermost entry is the one behind the call of Capture, the five others are those of the recursion.
    EXPECT_NE(whole.GetAddress(0), whole.GetAddress(1));
    for (UInt32 i = 2; i <= 5; ++i) {
        EXPECT_EQ(whole.GetAddress(i), whole.GetAddress(1));
    }
    EXPECT_NE(whole.GetAddress(6), whole.GetAddress(1));
    EXPECT_EQ(whole.GetAddress(whole.GetDepth()), nullptr);

    Stack part;
    CaptureBelow(5, part, 6);
    ASSERT_EQ(part.GetDepth() + 6, whole.GetDepth());
    EXPECT_EQ(part.GetAddress(1), whole.GetAddress(7));
    part.Capture(~0u);
    EXPECT_EQ(part.GetDepth(), 0u);
}

TEST(StackInfo, StopsAtItsCapacity)
{
    Stack stack;
    CaptureBelow(300, stack, 0);
    EXPECT_EQ(stack.GetDepth(), 128u);
    EXPECT_EQ(stack.GetCapacity(), 128u);
    EXPECT_EQ(stack.GetAddress(127), stack.GetAddress(1));

    struct {
        StackInfoCustomDepth<2> stack;
        UInt64 behind = 42;
    } small;
    CaptureBelow(300, small.stack, 0);
    EXPECT_EQ(small.stack.GetDepth(), 2u);
    EXPECT_EQ(small.stack.GetAddress(0), stack.GetAddress(0));
    EXPECT_EQ(small.stack.GetAddress(2), nullptr);
    EXPECT_EQ(small.behind, 42u);
}

TEST(StackInfo, CopiesWhatIsInUse)
{
    Stack deep, shallow;
    CaptureBelow(40, deep, 0);
    CaptureBelow(1, shallow, 0);
    const Stack copy = shallow;
    ASSERT_EQ(copy.GetDepth(), shallow.GetDepth());
    for (UInt32 i = 0; i < copy.GetDepth(); ++i) {
        EXPECT_EQ(copy.GetAddress(i), shallow.GetAddress(i));
    }

    Stack assigned = shallow;
    assigned = deep;
    assigned = std::as_const(assigned);
    EXPECT_EQ(assigned.GetDepth(), deep.GetDepth());
    EXPECT_EQ(assigned.GetAddress(40), deep.GetAddress(40));
}

TEST(StackInfo, PrintsALinePerEntry)
{
    Stack stack;
    stack.Capture();
    OMemChannel channel;
    stack.Print(channel);
    const std::string all(channel.LockData(), channel.DataSize());
    EXPECT_EQ(std::count(all.begin(), all.end(), '\n'), stack.GetDepth());
    EXPECT_NE(all.find("#0 0x"), std::string::npos) << all;
    char text[256];
    for (UInt32 i = 0; i < stack.GetDepth(); ++i) {
        stack.Describe(i, text, sizeof text);
        EXPECT_NE(all.find(text), std::string::npos) << text;
    }
    EXPECT_NE(all.find("QVRootTests"), std::string::npos) << all; // where this function is
}
