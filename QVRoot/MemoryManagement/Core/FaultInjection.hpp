/// Makes allocations fail on purpose, so that tests can walk every path behind a failed allocation.
///
///     for (UInt64 n = 1; ; ++n) {
///         FaultInjection::FailOnce(n);
///         Work();
///         FaultInjection::Disable();
///         if (FaultInjection::GetFailures() == 0) {
///             break; // Work allocates fewer than n times: every allocation has failed once.
///         }
///     }
///
/// Works when the debug value "injectFaults" of the section "QVRoot\MemoryManager" is true when the first
/// block is allocated; otherwise plans are kept but nothing fails. A plan sees what reaches the memory
/// manager's back end: allocations and reallocations, the latter leaving the old block valid when they fail.
/// The C++ runtime's own allocations do not pass here.
///
/// Threads: everything may be called from any thread. One plan holds at a time; setting one replaces the
/// other and starts the counts anew. Errors: none. Allocation: none.
#pragma once

#include <QVRoot/BasicEnvironment/BaseTypes.h>

namespace QV {

class QV_EXPORT FaultInjection {
public:
    /// Whose allocations a plan counts and fails.
    enum class Scope {
        CurrentThread, ///< only those of the thread that sets the plan
        AllThreads,
    };

    /// Whether the layer is in place. Chooses the back end when nobody has allocated yet.
    static bool IsEnabled() noexcept;

    /// The n-th allocating call from now, counted from 1, fails; those after it succeed. 0 fails none.
    static void FailOnce(UInt64 n, Scope scope = Scope::CurrentThread) noexcept;

    /// The n-th allocating call from now and all later ones fail. 0 and 1 fail all.
    static void FailFrom(UInt64 n, Scope scope = Scope::CurrentThread) noexcept;

    /// One of `oneIn` calls fails on average, the same ones for the same seed. 0 fails none, 1 all.
    static void FailRandomly(UInt64 seed, UInt32 oneIn, Scope scope = Scope::CurrentThread) noexcept;

    /// Ends the plan; its counts stay.
    static void Disable() noexcept;

    /// Allocating calls that the plan has seen, failed ones included, and how many of them it has failed.
    static UInt64 GetAttempts() noexcept;
    static UInt64 GetFailures() noexcept;

    /// Blocks of the whole process that are in use: equal before and after, nothing has leaked.
    static UInt64 GetLiveBlocks() noexcept;
};

} // namespace QV
