#include <QVRoot/Channel/OChannel.hpp>
#include <QVRoot/Exceptions/QVException.hpp>
#include <QVRoot/MemoryManagement/Core/MemoryManager.hpp>
#include <QVRoot/String/UniString.hpp>

#include <memory>
#include <typeinfo>
#include <utility>

namespace QV {

const QVException NoCauseException(static_cast<const char*>(nullptr), nullptr, 0, nullptr, ErrGeneral);

QVException::QVException() : QVException(static_cast<const char*>(nullptr), nullptr, 0, nullptr, ErrGeneral)
{
}

QVException::QVException(const UniString& message, const char* file, UInt32 line, const QVException& cause,
                         int code)
    : QVException(message, file, line, &cause, code)
{
}

QVException::QVException(const char* message, const char* file, UInt32 line, const QVException& cause,
                         int code)
    : QVException(message, file, line, &cause, code)
{
}

QVException::QVException(const UniString& message, const char* file, UInt32 line, const QVException* cause,
                         int code)
    : code_(code), message_(new (messageStorage_) UniString(message)), file_(file), line_(line)
{
    stack_.Capture();
    SetCause(cause);
}

QVException::QVException(const char* message, const char* file, UInt32 line, const QVException* cause,
                         int code)
    : code_(code), message_(new (messageStorage_) UniString), file_(file), line_(line)
{
    stack_.Capture();
    SetCause(cause);
    try {
        SetMessage(message);
    } catch (...) {
        delete cause_;
        std::destroy_at(message_);
        throw;
    }
}

QVException::QVException(const QVException& other)
    : code_(other.code_), message_(new (messageStorage_) UniString(*other.message_)), file_(other.file_),
      line_(other.line_), stack_(other.stack_)
{
    SetCause(other.cause_);
}

QVException::QVException(QVException&& other) noexcept
    : code_(other.code_), message_(new (messageStorage_) UniString), file_(other.file_), line_(other.line_),
      cause_(std::exchange(other.cause_, nullptr)), stack_(other.stack_)
{
    message_->Swap(*other.message_);
}

QVException& QVException::operator=(const QVException& other)
{
    if (this != &other) {
        // The clone comes first: when it fails, nothing has changed yet.
        QVException* const cause = other.cause_ == nullptr ? nullptr : other.cause_->Clone();
        delete std::exchange(cause_, cause);
        code_ = other.code_;
        *message_ = *other.message_;
        file_ = other.file_;
        line_ = other.line_;
        stack_ = other.stack_;
    }
    return *this;
}

QVException::~QVException()
{
    delete cause_;
    std::destroy_at(message_);
    static_assert(sizeof(UniString) == SizeOfUniString && alignof(UniString) == AlignOfUniString);
}

const char* QVException::GetName() const
{
    return typeid(QVException).name();
}

int QVException::GetID() const
{
    return code_;
}

const UniString& QVException::GetMessage() const
{
    return *message_;
}

const char* QVException::GetFileName() const
{
    return file_;
}

UInt32 QVException::GetLineNumber() const
{
    return line_;
}

QVException* QVException::Clone() const
{
    return new QVException(*this);
}

namespace {

void PrintText(OChannel& oc, const UniString& text)
{
    oc.Write(text.ToCStr());
}

} // namespace

void QVException::Print(OChannel& oc) const
{
    oc.Write(GetName());
    if (!GetMessage().IsEmpty()) {
        oc.Write(": ");
        PrintText(oc, GetMessage());
    }
    oc.Write('\n');
    if (GetFileName() != nullptr) {
        oc.Write(GetFileName());
        oc.Write("(");
        oc.Write(GetLineNumber());
        oc.Write(")");
        oc.Write('\n');
    }
    if (const QVException* const cause = GetCause()) {
        oc.Write("Caused by");
        cause->Print(oc);
    }
}

void QVException::Dump(OChannel& oc) const
{
    oc.Write("name:       ");
    oc.Write(GetName());
    oc.Write('\n');
    oc.Write("id:         ");
    oc.Write(GetID());
    oc.Write('\n');
    oc.Write("message:    ");
    PrintText(oc, GetMessage());
    oc.Write('\n');
    oc.Write("fileName:   ");
    oc.Write(GetFileName() == nullptr ? "" : GetFileName());
    oc.Write('\n');
    oc.Write("lineNumber: ");
    oc.Write(GetLineNumber());
    oc.Write('\n');
    if (const QVException* const cause = GetCause()) {
        oc.Write("cause:");
        cause->Dump(oc);
    }
}

const QVException* QVException::GetCause() const
{
    return cause_;
}

const StackInfoCustomDepth<128>& QVException::GetStack() const
{
    return stack_;
}

void QVException::SetMessage(const UniString& message)
{
    *message_ = message;
}

void QVException::SetMessage(const char* message)
{
    if (message == nullptr) {
        message_->Clear();
    } else {
        message_->Assign(message, DefaultCharCode);
    }
}

void* QVException::operator new(std::size_t size)
{
    return MemoryManager::Allocate(size, MemoryManager::ThrowOnFailure, true);
}

void QVException::operator delete(void* block) noexcept
{
    MemoryManager::Free(block);
}

void QVException::SetCause(const QVException& cause) noexcept
{
    SetCause(&cause);
}

void QVException::SetCause(const QVException* cause) noexcept
{
    if (cause == nullptr || cause == &NoCauseException) {
        return;
    }
    try {
        cause_ = cause->Clone();
    } catch (...) {
        // Without memory for the cause, the exception itself still arrives.
    }
}

} // namespace QV
