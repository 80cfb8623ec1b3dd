#include <QVRoot/BasicEnvironment/ErrorReporting.hpp>
#include <QVRoot/Exceptions/StackCaptureImpl.hpp>
#include <QVRoot/MemoryManagement/Core/BackEndImpl.hpp>

#include <cstdio>
#include <cstdlib>

namespace QV::Impl {

namespace {

/// A text that grows within a fixed buffer; what does not fit is cut.
class ReportText {
public:
    void Append(const char* text) noexcept
    {
        while (*text != 0 && length_ + 1 < sizeof(text_)) {
            text_[length_++] = *text++;
        }
        text_[length_] = 0;
    }
    const char* Get() const noexcept { return text_; }

private:
    char text_[8192] = {};
    USize length_ = 0;
};

void AppendStack(ReportText& report) noexcept
{
    void* addresses[32];
    const UInt32 depth = CaptureStack(addresses, 32, 1);
    for (UInt32 i = 0; i < depth; ++i) {
        char line[256];
        DescribeAddress(addresses[i], line, sizeof(line), NameForm::Raw);
        report.Append("\n    ");
        report.Append(line);
    }
}

} // namespace

void ReportDamagedHeap(const char* message) noexcept
{
    // Standard error comes first, and the message before the stack: each next step may need what is damaged.
    std::fputs(message, stderr);
    std::fflush(stderr);
    ReportText stack;
    AppendStack(stack);
    std::fputs(stack.Get(), stderr);
    std::fputs("\n", stderr);
    std::fflush(stderr);
    ReportText report;
    report.Append(message);
    report.Append(stack.Get());
    ErrorReporting::Report(report.Get());
    std::abort();
}

} // namespace QV::Impl
