#include <QVRoot/BasicEnvironment/ErrorStatus.hpp>

#include <utility>

namespace QV {

ErrorStatus::ErrorStatus(const ErrorStatus& other)
{
    // Built part by part on a complete object, so that what is there is released when the next part fails.
    ErrorStatus copy;
    copy.code_ = other.code_;
    if (other.message_ != nullptr) {
        copy.SetErrorMessage(*other.message_);
    }
    if (other.object_ != nullptr) {
        copy.SetErrorObject(*other.object_);
    }
    Swap(copy);
}

ErrorStatus::ErrorStatus(ErrorStatus&& other) noexcept
    : code_(other.code_), message_(std::exchange(other.message_, nullptr)),
      object_(std::exchange(other.object_, nullptr))
{
}

ErrorStatus& ErrorStatus::operator=(const ErrorStatus& other)
{
    if (this != &other) {
        ErrorStatus(other).Swap(*this);
    }
    return *this;
}

ErrorStatus& ErrorStatus::operator=(ErrorStatus&& other) noexcept
{
    if (this != &other) {
        ErrorStatus(std::move(other)).Swap(*this);
    }
    return *this;
}

ErrorStatus::~ErrorStatus()
{
    delete message_;
    delete object_;
}

ErrorStatus::ErrorStatus(int code)
{
    Set(code);
}

ErrorStatus::ErrorStatus(int code, const UniString& message)
{
    Set(code, message);
}

ErrorStatus::ErrorStatus(int code, UniString&& message)
{
    Set(code, std::move(message));
}

ErrorStatus::ErrorStatus(int code, const ObjectState& object)
{
    Set(code, object);
}

ErrorStatus::ErrorStatus(int code, ObjectState&& object)
{
    Set(code, std::move(object));
}

ErrorStatus::ErrorStatus(int code, const UniString& message, const ObjectState& object)
{
    Set(code, message, object);
}

ErrorStatus::ErrorStatus(int code, const UniString& message, ObjectState&& object)
{
    Set(code, message, std::move(object));
}

ErrorStatus::ErrorStatus(int code, UniString&& message, const ObjectState& object)
{
    Set(code, std::move(message), object);
}

ErrorStatus::ErrorStatus(int code, UniString&& message, ObjectState&& object)
{
    Set(code, std::move(message), std::move(object));
}

ErrorStatus::ErrorStatus(const UniString& message)
{
    Set(message);
}

ErrorStatus::ErrorStatus(UniString&& message)
{
    Set(std::move(message));
}

ErrorStatus::ErrorStatus(const char* message)
{
    Set(message);
}

ErrorStatus::ErrorStatus(const String& message)
{
    Set(message);
}

ErrorStatus::ErrorStatus(const ObjectState& object)
{
    Set(object);
}

ErrorStatus::ErrorStatus(ObjectState&& object)
{
    Set(std::move(object));
}

ErrorStatus::ErrorStatus(const UniString& message, const ObjectState& object)
{
    Set(message, object);
}

ErrorStatus::ErrorStatus(const UniString& message, ObjectState&& object)
{
    Set(message, std::move(object));
}

ErrorStatus::ErrorStatus(UniString&& message, const ObjectState& object)
{
    Set(std::move(message), object);
}

ErrorStatus::ErrorStatus(UniString&& message, ObjectState&& object)
{
    Set(std::move(message), std::move(object));
}

ErrorStatus& ErrorStatus::operator=(int code)
{
    Set(code);
    return *this;
}

ErrorStatus& ErrorStatus::operator=(const UniString& message)
{
    Set(message);
    return *this;
}

ErrorStatus& ErrorStatus::operator=(const ObjectState& object)
{
    Set(object);
    return *this;
}

void ErrorStatus::Set(int code)
{
    ErrorStatus status;
    status.code_ = code;
    Swap(status);
}

void ErrorStatus::Set(int code, const UniString& message)
{
    ErrorStatus status;
    status.code_ = code;
    status.SetErrorMessage(message);
    Swap(status);
}

void ErrorStatus::Set(int code, UniString&& message)
{
    ErrorStatus status;
    status.code_ = code;
    status.SetErrorMessage(std::move(message));
    Swap(status);
}

void ErrorStatus::Set(int code, const ObjectState& object)
{
    ErrorStatus status;
    status.code_ = code;
    status.SetErrorObject(object);
    Swap(status);
}

void ErrorStatus::Set(int code, ObjectState&& object)
{
    ErrorStatus status;
    status.code_ = code;
    status.SetErrorObject(std::move(object));
    Swap(status);
}

void ErrorStatus::Set(int code, const UniString& message, const ObjectState& object)
{
    ErrorStatus status;
    status.code_ = code;
    status.SetErrorMessage(message);
    status.SetErrorObject(object);
    Swap(status);
}

void ErrorStatus::Set(int code, const UniString& message, ObjectState&& object)
{
    ErrorStatus status;
    status.code_ = code;
    status.SetErrorMessage(message);
    status.SetErrorObject(std::move(object));
    Swap(status);
}

void ErrorStatus::Set(int code, UniString&& message, const ObjectState& object)
{
    ErrorStatus status;
    status.code_ = code;
    status.SetErrorMessage(std::move(message));
    status.SetErrorObject(object);
    Swap(status);
}

void ErrorStatus::Set(int code, UniString&& message, ObjectState&& object)
{
    ErrorStatus status;
    status.code_ = code;
    status.SetErrorMessage(std::move(message));
    status.SetErrorObject(std::move(object));
    Swap(status);
}

void ErrorStatus::Set(const UniString& message)
{
    ErrorStatus status;
    status.code_ = ErrGeneral;
    status.SetErrorMessage(message);
    Swap(status);
}

void ErrorStatus::Set(UniString&& message)
{
    ErrorStatus status;
    status.code_ = ErrGeneral;
    status.SetErrorMessage(std::move(message));
    Swap(status);
}

void ErrorStatus::Set(const char* message)
{
    ErrorStatus status;
    status.code_ = ErrGeneral;
    status.SetErrorMessage(message == nullptr ? UniString() : UniString(message));
    Swap(status);
}

void ErrorStatus::Set(const String& message)
{
    Set(UniString(message));
}

void ErrorStatus::Set(const ObjectState& object)
{
    ErrorStatus status;
    status.code_ = ErrGeneral;
    status.SetErrorObject(object);
    Swap(status);
}

void ErrorStatus::Set(ObjectState&& object)
{
    ErrorStatus status;
    status.code_ = ErrGeneral;
    status.SetErrorObject(std::move(object));
    Swap(status);
}

void ErrorStatus::Set(const UniString& message, const ObjectState& object)
{
    ErrorStatus status;
    status.code_ = ErrGeneral;
    status.SetErrorMessage(message);
    status.SetErrorObject(object);
    Swap(status);
}

void ErrorStatus::Set(const UniString& message, ObjectState&& object)
{
    ErrorStatus status;
    status.code_ = ErrGeneral;
    status.SetErrorMessage(message);
    status.SetErrorObject(std::move(object));
    Swap(status);
}

void ErrorStatus::Set(UniString&& message, const ObjectState& object)
{
    ErrorStatus status;
    status.code_ = ErrGeneral;
    status.SetErrorMessage(std::move(message));
    status.SetErrorObject(object);
    Swap(status);
}

void ErrorStatus::Set(UniString&& message, ObjectState&& object)
{
    ErrorStatus status;
    status.code_ = ErrGeneral;
    status.SetErrorMessage(std::move(message));
    status.SetErrorObject(std::move(object));
    Swap(status);
}

ErrorStatus& ErrorStatus::SetErrorCode(int code) noexcept
{
    code_ = code;
    return *this;
}

ErrorStatus& ErrorStatus::SetErrorMessage(const UniString& message)
{
    return SetErrorMessage(UniString(message));
}

ErrorStatus& ErrorStatus::SetErrorMessage(UniString&& message)
{
    if (message_ == nullptr) {
        message_ = new UniString(std::move(message));
    } else {
        *message_ = std::move(message);
    }
    return *this;
}

ErrorStatus& ErrorStatus::SetErrorObject(const ObjectState& object)
{
    return SetErrorObject(ObjectState(object));
}

ErrorStatus& ErrorStatus::SetErrorObject(ObjectState&& object)
{
    if (object_ == nullptr) {
        object_ = new ObjectState(std::move(object));
    } else {
        *object_ = std::move(object);
    }
    return *this;
}

void ErrorStatus::Clear() noexcept
{
    ErrorStatus().Swap(*this);
}

void ErrorStatus::DeleteErrorMessage() noexcept
{
    delete std::exchange(message_, nullptr);
}

void ErrorStatus::DeleteErrorObject() noexcept
{
    delete std::exchange(object_, nullptr);
}

void ErrorStatus::Swap(ErrorStatus& other) noexcept
{
    std::swap(code_, other.code_);
    std::swap(message_, other.message_);
    std::swap(object_, other.object_);
}

} // namespace QV
