#include <QVRoot/BasicEnvironment/DebugValues.hpp>
#include <QVRoot/BasicEnvironment/ErrorReporting.hpp>
#include <QVRoot/Containers/Array.hpp>
#include <QVRoot/Exceptions/GeneralExceptions.hpp>
#include <QVRoot/MemoryManagement/Core/FaultInjection.hpp>
#include <QVRoot/MemoryManagement/Core/MemoryManager.hpp>
#include <QVRoot/String/UniString.hpp>

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <thread>
#include <vector>

using namespace QV;

namespace {

constexpr auto Throw = MemoryManager::ThrowOnFailure;
constexpr auto ReturnNull = MemoryManager::ReturnNullOnFailure;

std::vector<std::string> reports;
std::vector<std::string> logLines;
UInt32 lastErrorCount = 0;

class MemoryManagerTest : public testing::Test {
protected:
    void SetUp() override
    {
        reports.clear();
        logLines.clear();
        oldReportSink_ = ErrorReporting::SetSink([](const ErrorReport& report) {
            reports.push_back(report.text);
            lastErrorCount = report.errorCount;
        });
        oldLogSink_ = ErrorLog::SetSink([](const char* line, const char* category1, const char* category2) {
            logLines.push_back(std::string(category1) + "/" + category2 + " " + line);
        });
    }
    void TearDown() override
    {
        FaultInjection::Disable();
        ErrorReporting::SetSink(oldReportSink_);
        ErrorLog::SetSink(oldLogSink_);
    }

private:
    ErrorReporting::Sink oldReportSink_ = nullptr;
    ErrorLog::Sink oldLogSink_ = nullptr;
};

// Notes in a common list that it was asked, and answers as told.
class RecordingHandler : public MemoryAllocationFailureHandler {
public:
    RecordingHandler(std::string& calls, char name, int retries = 0)
        : calls_(calls), name_(name), retries_(retries)
    {
        MemoryManager::GetInstance().RegisterAllocationFailureHandler(this);
    }
    ~RecordingHandler() override { MemoryManager::GetInstance().UnregisterAllocationFailureHandler(this); }

    bool HandleAllocationFailure(USize size) override
    {
        calls_ += name_;
        size_ = size;
        if (throws_) {
            QV_THROW(IllegalStateException, ""); // a message would need memory in turn
        }
        return retries_-- > 0;
    }

    USize size_ = 0;
    bool throws_ = false;

private:
    std::string& calls_;
    char name_;
    int retries_;
};

TEST_F(MemoryManagerTest, BlocksKeepTheirContentsWhenTheyAreResized)
{
    for (const USize size : {0, 1, 15, 16, 17, 100, 1000, 70000, 3000000}) {
        SCOPED_TRACE(size);
        auto* block = static_cast<unsigned char*>(MemoryManager::Allocate(size, Throw, true));
        ASSERT_NE(block, nullptr);
        EXPECT_EQ(reinterpret_cast<USize>(block) % 16, 0u);
        EXPECT_GE(MemoryManager::MSize(block), size);
        for (USize i = 0; i < size; ++i) {
            block[i] = static_cast<unsigned char>(i * 7);
        }
        block = static_cast<unsigned char*>(MemoryManager::Reallocate(block, 2 * size + 1, Throw, true));
        ASSERT_NE(block, nullptr);
        USize differing = 0;
        for (USize i = 0; i < size; ++i) {
            differing += block[i] != static_cast<unsigned char>(i * 7);
        }
        EXPECT_EQ(differing, 0u);
        EXPECT_EQ(MemoryManager::Reallocate(block, 0, Throw, true), nullptr);
    }
    EXPECT_EQ(MemoryManager::HeapCheck(), 1);
    EXPECT_EQ(MemoryManager::MSize(nullptr), 0u);
    MemoryManager::Free(nullptr);
}

TEST_F(MemoryManagerTest, AlignedBlocksHoldTheirSizeAndAlignment)
{
    for (const USize alignment : {1, 2, 3, 8, 12, 24, 64, 4096}) {
        SCOPED_TRACE(alignment);
        void* const block = MemoryManager::AlignedAllocate(100, alignment, Throw, true);
        ASSERT_NE(block, nullptr);
        EXPECT_EQ(reinterpret_cast<USize>(block) % alignment, 0u);
        EXPECT_GE(MemoryManager::AlignedMsize(block, alignment), 100u);
        void* raw;
        std::memcpy(&raw, static_cast<char*>(block) - 8, 8);
        EXPECT_EQ(MemoryManager::AlignedMsize(block, alignment), MemoryManager::MSize(raw) - 8 - alignment);
        std::memset(block, 1, 100);
        MemoryManager::AlignedFree(block);
    }
    EXPECT_EQ(MemoryManager::AlignedMsize(nullptr, 16), 0u);
    EXPECT_EQ(MemoryManager::AlignedAllocate(~USize{0} - 20, 16, ReturnNull, false), nullptr);
}

TEST_F(MemoryManagerTest, AFailureAsksEveryHandlerInOrderOnce)
{
    std::string calls;
    RecordingHandler a(calls, 'a');
    RecordingHandler b(calls, 'b');
    b.throws_ = true;
    RecordingHandler c(calls, 'c');
    FaultInjection::FailFrom(1);
    EXPECT_EQ(MemoryManager::Allocate(123, ReturnNull, false), nullptr);
    FaultInjection::Disable();
    EXPECT_EQ(calls, "abc");
    EXPECT_EQ(c.size_, 123u);
}

TEST_F(MemoryManagerTest, AHandlerThatReleasedMemoryCausesARetry)
{
    std::string calls;
    RecordingHandler once(calls, 'x', 1);
    FaultInjection::FailFrom(1);
    EXPECT_EQ(MemoryManager::Allocate(10, ReturnNull, false), nullptr);
    EXPECT_EQ(FaultInjection::GetAttempts(), 2u);
    EXPECT_EQ(calls, "xx");

    FaultInjection::Disable();
    RecordingHandler again(calls, 'y', 1);
    void* block = MemoryManager::Allocate(10, Throw, true);
    FaultInjection::FailOnce(1);
    block = MemoryManager::Reallocate(block, 1000, ReturnNull, false);
    FaultInjection::Disable();
    EXPECT_NE(block, nullptr);
    EXPECT_EQ(calls, "xxxy");
    MemoryManager::Free(block);
}

TEST_F(MemoryManagerTest, ReallocatingNullNeverThrowsAndAsksNobody)
{
    std::string calls;
    RecordingHandler handler(calls, 'h');
    FaultInjection::FailFrom(1);
    EXPECT_EQ(MemoryManager::Reallocate(nullptr, 10, Throw, true), nullptr);
    EXPECT_EQ(calls, "");
    EXPECT_TRUE(reports.empty());
}

TEST_F(MemoryManagerTest, HandlersAreKeptOnceAndInOrder)
{
    std::string calls;
    MemoryManager& manager = MemoryManager::GetInstance();
    RecordingHandler a(calls, 'a');
    {
        RecordingHandler b(calls, 'b');
        RecordingHandler c(calls, 'c');
        manager.RegisterAllocationFailureHandler(&b);
        manager.UnregisterAllocationFailureHandler(&b);
        manager.UnregisterAllocationFailureHandler(&b);
        EXPECT_FALSE(manager.IsAllocationFailureHandlerRegistered(&b));
        Array<MemoryAllocationFailureHandler*> handlers;
        EXPECT_EQ(manager.GetAllocationFailureHandlers(handlers), 2u);
        ASSERT_EQ(handlers.GetCount(), 2u);
        EXPECT_EQ(handlers[0], &a);
        EXPECT_EQ(handlers[1], &c);
    }
    try {
        manager.RegisterAllocationFailureHandler(nullptr);
        ADD_FAILURE();
    } catch (const IllegalArgumentException& e) {
        EXPECT_EQ(e.GetMessage(), u"Invalid memory allocation failure handler: handler is null.");
        EXPECT_STREQ(e.GetFileName(), "MemoryManagement/Core/MemoryManager");
        EXPECT_EQ(e.GetLineNumber(), 304u);
    }
    EXPECT_THROW(manager.UnregisterAllocationFailureHandler(nullptr), IllegalArgumentException);
    EXPECT_THROW(manager.IsAllocationFailureHandlerRegistered(nullptr), IllegalArgumentException);
}

// The counter of reports belongs to the process, so one test walks through all of it.
TEST_F(MemoryManagerTest, FinalFailuresAreLoggedAlwaysAndReportedTenTimes)
{
    FaultInjection::FailFrom(1);
    EXPECT_EQ(MemoryManager::Allocate(5, ReturnNull, false), nullptr);
    EXPECT_TRUE(logLines.empty());
    for (int i = 0; i < 12; ++i) {
        EXPECT_EQ(MemoryManager::Allocate(77, ReturnNull, true), nullptr);
    }
    FaultInjection::Disable();
    ASSERT_EQ(logLines.size(), 12u);
    EXPECT_EQ(logLines[0], "QV/Memory Allocation failure, requested memory size is 77 bytes");
    // Other tests may have used some of the nine.
    ASSERT_LE(reports.size(), 10u);
    if (!reports.empty()) {
        EXPECT_EQ(reports.back(), "More Fatal memory errors (not logged)");
        EXPECT_EQ(lastErrorCount, 0u);
        if (reports.size() > 1) {
            EXPECT_EQ(reports[0], "AllocationFailure: Requested memory size is 77 bytes");
        }
    }
    EXPECT_STREQ(MemoryManagerSpecificErrorGUID, "84EE582D-9D0C-48D9-B24F-7FF7D5860FDB");
    EXPECT_STREQ(AllocationFailureGUID, "30B54E1E-DFBB-4BE5-BE29-2D85D9288976");
}

TEST_F(MemoryManagerTest, ThrowsTheExceptionWithoutNeedingMemory)
{
    FaultInjection::FailFrom(1);
    try {
        MemoryManager::Allocate(5, Throw, true);
        ADD_FAILURE();
    } catch (const std::bad_alloc& e) {
        FaultInjection::Disable();
        const auto* const failure = dynamic_cast<const OutOfMemoryException*>(&e);
        ASSERT_NE(failure, nullptr);
        EXPECT_EQ(failure->GetID(), ErrMemoryFull);
        EXPECT_EQ(failure->GetMessage(), u"Allocation Failure");
        EXPECT_STREQ(failure->GetFileName(), "MemoryManagement/Core/MemoryManager");
        EXPECT_EQ(failure->GetLineNumber(), 134u);
    }
}

TEST_F(MemoryManagerTest, DebugAllocationFollowsTheBackEnd)
{
    const bool isProtected = DBGetBool("QVRoot\\MemoryManager", "useProtectedAlloc", false);
    EXPECT_EQ(MemoryManager::IsDebugAllocationEnabled(), isProtected);
    EXPECT_TRUE(MemoryManagerUtil::flagsInitialized);
    EXPECT_FALSE(MemoryManagerUtil::debugAllocationOverridden);
}

TEST_F(MemoryManagerTest, BlocksTravelBetweenThreads)
{
    constexpr int count = 500;
    std::vector<char*> blocks(count);
    std::thread maker([&] {
        for (int i = 0; i < count; ++i) {
            blocks[i] = static_cast<char*>(MemoryManager::Allocate(i % 300 + 1, Throw, true));
            blocks[i][0] = static_cast<char>(i);
        }
    });
    maker.join();
    std::vector<std::thread> takers;
    for (int part = 0; part < 4; ++part) {
        takers.emplace_back([&, part] {
            for (int i = part; i < count; i += 4) {
                EXPECT_EQ(blocks[i][0], static_cast<char>(i));
                blocks[i] = static_cast<char*>(MemoryManager::Reallocate(blocks[i], 400, Throw, true));
                EXPECT_EQ(blocks[i][0], static_cast<char>(i));
                MemoryManager::Free(blocks[i]);
            }
        });
    }
    for (std::thread& taker : takers) {
        taker.join();
    }
    EXPECT_EQ(MemoryManager::HeapCheck(), 1);
}

} // namespace
