/// An error code with an optional message and an optional structured error object.
///
///     ErrorStatus status(ErrParam, UniString("the height is negative"));
///     if (status.IsError()) …
///
/// A status is OK exactly when its code is 0, whatever message and object hold. Message or object without a
/// code stand for `ErrGeneral`. A status that was moved from keeps its code and has neither message nor
/// object.
///
/// Threads: a value. Errors: `OutOfMemoryException` while copying a message or an object; the status is then
/// as it was. Allocation: message and object, each on first need.
#pragma once

#include <QVRoot/BasicEnvironment/ErrorCodes.h>
#include <QVRoot/ObjectModel/ObjectState.hpp>

namespace QV {

class String;

class QV_EXPORT ErrorStatus {
public:
    ErrorStatus() noexcept = default;
    ErrorStatus(const ErrorStatus& other);
    ErrorStatus(ErrorStatus&& other) noexcept;
    ErrorStatus& operator=(const ErrorStatus& other);
    ErrorStatus& operator=(ErrorStatus&& other) noexcept;
    ~ErrorStatus();

    /// The given parts; `ErrGeneral` where no code is given. A null text is an empty message.
    ErrorStatus(int code);
    ErrorStatus(int code, const UniString& message);
    ErrorStatus(int code, UniString&& message);
    ErrorStatus(int code, const ObjectState& object);
    ErrorStatus(int code, ObjectState&& object);
    ErrorStatus(int code, const UniString& message, const ObjectState& object);
    ErrorStatus(int code, const UniString& message, ObjectState&& object);
    ErrorStatus(int code, UniString&& message, const ObjectState& object);
    ErrorStatus(int code, UniString&& message, ObjectState&& object);
    ErrorStatus(const UniString& message);
    ErrorStatus(UniString&& message);
    ErrorStatus(const char* message);
    ErrorStatus(const String& message);
    ErrorStatus(const ObjectState& object);
    ErrorStatus(ObjectState&& object);
    ErrorStatus(const UniString& message, const ObjectState& object);
    ErrorStatus(const UniString& message, ObjectState&& object);
    ErrorStatus(UniString&& message, const ObjectState& object);
    ErrorStatus(UniString&& message, ObjectState&& object);

    /// The code; message and object are dropped.
    ErrorStatus& operator=(int code);
    /// `ErrGeneral` and the message; the object is dropped.
    ErrorStatus& operator=(const UniString& message);
    /// `ErrGeneral` and the object; the message is dropped.
    ErrorStatus& operator=(const ObjectState& object);

    /// Replace all three parts: a part that is not given is dropped.
    void Set(int code);
    void Set(int code, const UniString& message);
    void Set(int code, UniString&& message);
    void Set(int code, const ObjectState& object);
    void Set(int code, ObjectState&& object);
    void Set(int code, const UniString& message, const ObjectState& object);
    void Set(int code, const UniString& message, ObjectState&& object);
    void Set(int code, UniString&& message, const ObjectState& object);
    void Set(int code, UniString&& message, ObjectState&& object);
    void Set(const UniString& message);
    void Set(UniString&& message);
    void Set(const char* message);
    void Set(const String& message);
    void Set(const ObjectState& object);
    void Set(ObjectState&& object);
    void Set(const UniString& message, const ObjectState& object);
    void Set(const UniString& message, ObjectState&& object);
    void Set(UniString&& message, const ObjectState& object);
    void Set(UniString&& message, ObjectState&& object);

    /// Change one part only.
    ErrorStatus& SetErrorCode(int code) noexcept;
    ErrorStatus& SetErrorMessage(const UniString& message);
    ErrorStatus& SetErrorMessage(UniString&& message);
    ErrorStatus& SetErrorObject(const ObjectState& object);
    ErrorStatus& SetErrorObject(ObjectState&& object);

    /// Code 0, no message, no object.
    void Clear() noexcept;
    void DeleteErrorMessage() noexcept;
    void DeleteErrorObject() noexcept;

    int GetErrorCode() const noexcept { return code_; }
    bool IsOK() const noexcept { return code_ == NoError; }
    bool IsError() const noexcept { return code_ != NoError; }
    friend bool operator==(const ErrorStatus& status, int code) noexcept { return status.code_ == code; }

    bool HasErrorMessage() const noexcept { return message_ != nullptr; }
    bool HasErrorObject() const noexcept { return object_ != nullptr; }

    /// The stored part, which must be there.
    const UniString& GetErrorMessage() const& noexcept { return *message_; }
    UniString GetErrorMessage() && noexcept { return static_cast<UniString&&>(*message_); }
    const ObjectState& GetErrorObject() const& noexcept { return *object_; }
    ObjectState GetErrorObject() && noexcept { return static_cast<ObjectState&&>(*object_); }

private:
    void Swap(ErrorStatus& other) noexcept;

    QVErrCode code_ = NoError;
    UniString* message_ = nullptr;
    ObjectState* object_ = nullptr;
};

} // namespace QV
