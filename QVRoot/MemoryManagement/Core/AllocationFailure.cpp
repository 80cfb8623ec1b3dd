#include <QVRoot/BasicEnvironment/ErrorReporting.hpp>
#include <QVRoot/MemoryManagement/Core/AllocationFailureImpl.hpp>
#include <QVRoot/MemoryManagement/Core/BackEndChoiceImpl.hpp>

#include <atomic>
#include <cstdio>

namespace QV {

const char* const MemoryManagerSpecificErrorGUID = "84EE582D-9D0C-48D9-B24F-7FF7D5860FDB";
const char* const MemoryManagerSpecificErrorName = "MemoryManager specific error";
const char* const AllocationFailureGUID = "30B54E1E-DFBB-4BE5-BE29-2D85D9288976";
const char* const AllocationFailureName = "Allocation failure";

namespace {

constinit std::atomic<UInt32> failureCount = 0;

void ReportFailure(USize size) noexcept
{
    ErrorLog::WriteLine("Allocation failure, requested memory size is % bytes", "QV", "Memory", size);
    char text[80];
    std::snprintf(text, sizeof(text), "AllocationFailure: Requested memory size is %llu bytes", size);
    const UInt32 count = failureCount.fetch_add(1, std::memory_order_relaxed) + 1;
    if (count < 10) {
        const SpecificError errors[] = {{MemoryManagerSpecificErrorGUID, MemoryManagerSpecificErrorName},
                                        {AllocationFailureGUID, AllocationFailureName}};
        ErrorReporting::Report(text, 0, errors, 2);
    } else if (count == 10) {
        ErrorReporting::Report("More Fatal memory errors (not logged)");
    }
}

void HandleFinalFailure(USize size, MemoryManager::ExceptionBehaviour behaviour, bool report)
{
    if (report) {
        ReportFailure(size);
    }
    if (behaviour == MemoryManager::ThrowOnFailure) {
        Impl::ThrowAllocationFailure();
    }
}

/// Tries again as long as a failure handler says that it released something.
template <class Attempt>
void* RetryOrFail(USize size, MemoryManager::ExceptionBehaviour behaviour, bool report, Attempt attempt)
{
    // Without an instance nobody has registered anything, and building one now could fail in turn.
    if (MemoryManager* const manager = Impl::GetManagerIfAny()) {
        while (manager->CallAllocationFailureHandlers(size)) {
            if (void* const block = attempt()) {
                return block;
            }
        }
    }
    HandleFinalFailure(size, behaviour, report);
    return nullptr;
}

} // namespace

void* Impl::AllocateAfterFailure(USize size, MemoryManager::ExceptionBehaviour behaviour, bool report)
{
    return RetryOrFail(size, behaviour, report, [=] { return GetBackEnd().allocate(size); });
}

void* Impl::ReallocateAfterFailure(void* block, USize size, MemoryManager::ExceptionBehaviour behaviour,
                                   bool report)
{
    return RetryOrFail(size, behaviour, report, [=] { return GetBackEnd().reallocate(block, size); });
}

} // namespace QV
