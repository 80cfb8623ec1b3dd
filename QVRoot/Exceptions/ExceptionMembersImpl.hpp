/// The definitions of what `QV_EXCEPTION_MEMBERS` declares.
#pragma once

#include <QVRoot/Exceptions/QVException.hpp>

#include <utility>

/// The default constructors of the bases do not reach `QVException`: only the most derived class builds it.
/// Copying and moving go through it alone as well, once, however many paths lead to it.
#define QV_DEFINE_EXCEPTION(Class, Code)                                                                     \
    Class::Class() : QVException() {}                                                                        \
    Class::Class(const UniString& message, const char* file, UInt32 line)                                    \
        : QVException(message, file, line, nullptr, Code)                                                    \
    {                                                                                                        \
    }                                                                                                        \
    Class::Class(const UniString& message, const char* file, UInt32 line, const QVException& cause)          \
        : QVException(message, file, line, cause, Code)                                                      \
    {                                                                                                        \
    }                                                                                                        \
    Class::Class(const char* message, const char* file, UInt32 line)                                         \
        : QVException(message, file, line, nullptr, Code)                                                    \
    {                                                                                                        \
    }                                                                                                        \
    Class::Class(const char* message, const char* file, UInt32 line, const QVException& cause)               \
        : QVException(message, file, line, cause, Code)                                                      \
    {                                                                                                        \
    }                                                                                                        \
    Class::Class(const Class&) = default;                                                                    \
    Class::Class(Class&&) noexcept = default;                                                                \
    Class& Class::operator=(const Class& other)                                                              \
    {                                                                                                        \
        QVException::operator=(other);                                                                       \
        return *this;                                                                                        \
    }                                                                                                        \
    Class::~Class() = default;                                                                               \
    const char* Class::GetName() const                                                                       \
    {                                                                                                        \
        return #Class;                                                                                       \
    }                                                                                                        \
    QVException* Class::Clone() const                                                                        \
    {                                                                                                        \
        return new Class(*this);                                                                             \
    }
