/// Where a throwing site is: its file's path below the source root, without extension, found at compile time.
#pragma once

#include <QVRoot/BasicEnvironment/BaseTypes.h>

#include <cstddef>

namespace QV {

/// The path of a source file as an exception carries it. "…/QVRoot/String/UniString.cpp" becomes
/// "String/UniString"; a path without the library's root keeps its folders.
template <std::size_t N>
struct SourceFile {
    consteval SourceFile(const char (&file)[N]) : text{}
    {
        std::size_t first = file[0] == '.' && IsSeparator(file[1]) ? 2 : 0;
        std::size_t end = N - 1;
        for (std::size_t i = first; i < N - 1; ++i) {
            if (IsRoot(file, i)) {
                first = i + sizeof("QVRoot");
            }
        }
        for (std::size_t i = first; i < N - 1; ++i) {
            if (file[i] == '.') {
                end = i;
            }
        }
        for (std::size_t i = first; i < end; ++i) {
            text[i - first] = file[i] == '\\' ? '/' : file[i];
        }
    }

    char text[N];

private:
    static consteval bool IsSeparator(char c) { return c == '/' || c == '\\'; }

    static consteval bool IsRoot(const char (&file)[N], std::size_t position)
    {
        constexpr char root[] = "QVRoot";
        if (position != 0 && !IsSeparator(file[position - 1])) {
            return false;
        }
        for (std::size_t i = 0; i < sizeof(root) - 1; ++i) {
            if (position + i >= N || file[position + i] != root[i]) {
                return false;
            }
        }
        return IsSeparator(file[position + sizeof(root) - 1]);
    }
};

/// Keeps the path alive: exceptions store the pointer only.
template <SourceFile File>
inline constexpr const char* SourceFilePath = File.text;

} // namespace QV

/// The current file as an exception carries it: a `const char*` that lives for ever.
#define QV_SOURCE_FILE (::QV::SourceFilePath<__FILE__>)

/// Throws an exception of the given class from here.
#define QV_THROW(Class, message) throw Class(message, QV_SOURCE_FILE, __LINE__)

/// The same with the exception that caused it.
#define QV_THROW_CAUSED(Class, message, cause) throw Class(message, QV_SOURCE_FILE, __LINE__, cause)
