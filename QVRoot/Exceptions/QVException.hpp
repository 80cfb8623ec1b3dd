/// The root of every exception that the library throws.
///
///     try {
///         …
///     } catch (const QVException& e) {
///         if (e.GetID() == ErrMemoryFull) …
///     }
///
/// An exception carries an error code, a message, the source file and line that raised it, an optional cause
/// and the call stack at its construction. The most derived class decides code and name.
///
/// Threads: a value; distinct exceptions are independent. Errors: construction throws only when the memory
/// for the message is exhausted; a cause that cannot be cloned is left out. Allocation: the message and the
/// clone of the cause.
#pragma once

#include <QVRoot/BasicEnvironment/ErrorCodes.h>
#include <QVRoot/Exceptions/SourceFile.hpp>
#include <QVRoot/Exceptions/StackInfo.hpp>

#include <cstddef>

// A system header may have renamed our members by now.
#undef GetMessage

namespace QV {

class OChannel;
class QVException;
class UniString;

/// The default of every cause parameter: there is no cause. Compared by address, so it serves even before it
/// is constructed and after it is destroyed.
QV_EXPORT extern const QVException NoCauseException;

class QV_EXPORT QVException {
public:
    /// `file` is kept as a pointer and must live for ever; `QV_SOURCE_FILE` does. A null message is empty.
    QVException(const UniString& message, const char* file, UInt32 line,
                const QVException& cause = NoCauseException, int code = ErrGeneral);
    QVException(const char* message, const char* file, UInt32 line,
                const QVException& cause = NoCauseException, int code = ErrGeneral);
    QVException(const UniString& message, const char* file, UInt32 line, const QVException* cause, int code);
    QVException(const char* message, const char* file, UInt32 line, const QVException* cause, int code);

    QVException(const QVException& other);
    /// Takes over message and cause; the source keeps an empty message.
    QVException(QVException&& other) noexcept;
    QVException& operator=(const QVException& other);
    virtual ~QVException();

    /// The class's name; of a class that has none of its own, the platform's type name of `QVException`.
    virtual const char* GetName() const;
    /// The error code.
    virtual int GetID() const;
    virtual const UniString& GetMessage() const;
    /// Null when none was given.
    virtual const char* GetFileName() const;
    virtual UInt32 GetLineNumber() const;

    /// A copy of the most derived class, to be deleted by the caller.
    virtual QVException* Clone() const;

    /// Writes "name: message", "file(line)" and "Caused by" with the cause, each piece through the channel's
    /// protocol as text.
    virtual void Print(OChannel& oc) const;
    /// Writes the five fields with labels, then the cause.
    virtual void Dump(OChannel& oc) const;

    /// The exception that caused this one, owned by it; null when there is none.
    virtual const QVException* GetCause() const;
    QVException* GetCause()
    {
        return const_cast<QVException*>(static_cast<const QVException*>(this)->GetCause());
    }

    /// The stack at construction, innermost first; its first entries are constructors.
    virtual const StackInfoCustomDepth<128>& GetStack() const;

    void SetMessage(const UniString& message);
    void SetMessage(const char* message);

    /// Exceptions made with `new` live in the memory manager's blocks.
    static void* operator new(std::size_t size);
    static void* operator new(std::size_t, void* place) noexcept { return place; }
    static void operator delete(void* block) noexcept;
    static void operator delete(void*, void*) noexcept {}

protected:
    /// For classes in the middle of the tree, whose own choice of a virtual base does not count.
    QVException();

private:
    static const UInt32 SizeOfUniString = 16;
    static const UInt32 AlignOfUniString = 8;

    void SetCause(const QVException& cause) noexcept;
    void SetCause(const QVException* cause) noexcept;

    QVErrCode code_;
    UniString* message_;
    alignas(AlignOfUniString) char messageStorage_[SizeOfUniString];
    const char* file_;
    UInt32 line_;
    QVException* cause_ = nullptr;
    StackInfoCustomDepth<128> stack_;
};

} // namespace QV

/// The members that every class of the tree has. The virtual base is built by the most derived class alone.
#define QV_EXCEPTION_MEMBERS(Class)                                                                          \
public:                                                                                                      \
    Class(const ::QV::UniString& message, const char* file, ::QV::UInt32 line);                              \
    Class(const ::QV::UniString& message, const char* file, ::QV::UInt32 line,                               \
          const ::QV::QVException& cause);                                                                   \
    Class(const char* message, const char* file, ::QV::UInt32 line);                                         \
    Class(const char* message, const char* file, ::QV::UInt32 line, const ::QV::QVException& cause);         \
    Class(const Class& other);                                                                               \
    Class(Class&& other) noexcept;                                                                           \
    Class& operator=(const Class& other);                                                                    \
    ~Class() override;                                                                                       \
    const char* GetName() const override;                                                                    \
    ::QV::QVException* Clone() const override;                                                               \
                                                                                                             \
protected:                                                                                                   \
    Class();
