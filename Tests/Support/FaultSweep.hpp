// Walks every path behind a failed allocation of an operation.
#pragma once

#include <QVRoot/BasicEnvironment/DebugValues.hpp>
#include <QVRoot/MemoryManagement/Core/FaultInjection.hpp>

#include <gtest/gtest.h>

namespace QV::Testing {

// With the cache of string buffers in place, a freed block may stay behind in it.
inline bool IsStringCacheDisabled()
{
    return DBGetBool("QVRoot", "disableUniStringAllocationCache", false);
}

// Runs `operation` with its n-th allocation failing, for every n until it gets by without a failure. The
// operation cleans up after itself, answers whether it succeeded, and checks what it documents for a failure.
// Nothing may stay allocated.
template <class Operation>
void SweepAllocationFailures(Operation operation)
{
    ASSERT_TRUE(FaultInjection::IsEnabled()) << "run with a debug-value file of Tests/Support";
    operation(); // what is built on first use stays
    for (UInt64 n = 1;; ++n) {
        SCOPED_TRACE(testing::Message() << "allocation " << n << " fails");
        ASSERT_LT(n, 10000u);
        const UInt64 liveBlocks = FaultInjection::GetLiveBlocks();
        FaultInjection::FailOnce(n);
        const bool succeeded = operation();
        FaultInjection::Disable();
        const bool failed = FaultInjection::GetFailures() != 0;
        EXPECT_TRUE(succeeded || failed);
        if (IsStringCacheDisabled()) {
            EXPECT_EQ(FaultInjection::GetLiveBlocks(), liveBlocks);
        }
        if (!failed) {
            EXPECT_GT(n, 1u) << "the operation allocates nothing";
            return;
        }
        EXPECT_TRUE(operation()) << "the next call does not work";
    }
}

} // namespace QV::Testing
