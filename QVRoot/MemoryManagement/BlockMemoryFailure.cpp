#include <QVRoot/BasicEnvironment/ErrorReporting.hpp>
#include <QVRoot/MemoryManagement/BlockMemoryImpl.hpp>

#include <cstdio>

namespace QV {

namespace {

constexpr UInt32 OrdinaryReport = 17;
constexpr UInt32 SevereReport = 0x80000011;
constexpr UInt32 ReportLimit = 10;

constinit std::atomic<BMAbortProc> installedProc = nullptr;
constinit std::atomic<UInt32> ordinaryFailures = 0;

const char* GetName(BMOperation operation) noexcept
{
    switch (operation) {
    case BMInAllocatePtr:
        return "BMAllocatePtr";
    case BMInAllocateHandle:
        return "BMAllocateHandle";
    case BMInReallocHandle:
        return "BMReallocHandle";
    case BMInKillPtr:
        return "BMKillPtr";
    case BMInKillHandle:
        return "BMKillHandle";
    case BMInGetHandleSize:
        return "BMGetHandleSize";
    case BMInGetPtrSize:
        return "BMGetPtrSize";
    case BMInReallocPtr:
        return "BMReallocPtr";
    }
    return "???";
}

bool IsSevere(BMOperation operation, Int32 size, QVErrCode error, Int16 reserved)
{
    if (const BMAbortProc abortProc = installedProc.load(std::memory_order_acquire)) {
        return abortProc(static_cast<Int16>(operation), size, static_cast<Int16>(error), reserved) != 0;
    }
    return operation != BMInAllocatePtr && operation != BMInAllocateHandle && operation != BMInReallocHandle;
}

void Report(const char* text, bool severe) noexcept
{
    if (severe) {
        ErrorReporting::Report(text, SevereReport);
        return;
    }
    const UInt32 count = ordinaryFailures.fetch_add(1, std::memory_order_relaxed) + 1;
    if (count < ReportLimit) {
        ErrorReporting::Report(text, OrdinaryReport);
    } else if (count == ReportLimit) {
        ErrorReporting::Report("More Fatal memory errors (not logged)", OrdinaryReport);
    }
}

} // namespace

void Impl::FailOperation(BMOperation operation, Int32 size, QVErrCode error, Int16 reserved)
{
    SetOuterError(error);
    const bool severe = IsSevere(operation, size, error, reserved);
    const char* const name = GetName(operation);
    ErrorLog::WriteLine("Fatal memory error in %. Requested memory size is % bytes", "QV", "Memory", name,
                        size);
    char text[100];
    std::snprintf(text, sizeof(text), "Fatal memory error in %s. Requested memory size is %ld bytes", name,
                  long{size});
    Report(text, severe);
    // The procedure and the sinks may have used this interface themselves.
    SetOuterError(error);
}

void BMSetAbortProc(BMAbortProc abortProc)
{
    installedProc.store(abortProc, std::memory_order_release);
    Impl::SetOuterError(NoError);
}

} // namespace QV
