#include <QVRoot/Threading/TaskRunImpl.hpp>

#include <QVRoot/BasicEnvironment/ErrorReporting.hpp>
#include <QVRoot/Exceptions/QVException.hpp>
#include <QVRoot/Threading/NativeThreadImpl.hpp>

#include <cstdlib>
#include <cxxabi.h>
#include <typeinfo>

namespace QV::Impl {

namespace {

void ReportEscaped(const QVException& exception) noexcept
{
    int status = 0;
    char* const readable = abi::__cxa_demangle(typeid(exception).name(), nullptr, nullptr, &status);
    ErrorReporting::Report(readable != nullptr ? readable : typeid(exception).name(),
                           static_cast<UInt32>(exception.GetID()));
    std::free(readable);
}

} // namespace

void RunReporting(const RunnableTask& task, const char* unknown)
{
    try {
        task.Run();
    } catch (const QVException& exception) {
        ReportEscaped(exception);
    } catch (...) {
        PassOnForcedUnwinding();
        ErrorReporting::Report(unknown);
    }
}

} // namespace QV::Impl
