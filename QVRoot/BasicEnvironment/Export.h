/* What crosses the library's border, and how. The only public header with a platform conditional.
 *
 * QV_EXPORT marks a class, function or object as part of the library's interface. Everything else stays
 * hidden on both targets. The library itself is compiled with QV_BUILDING_QVROOT. A program that links the
 * library's objects instead of the shared library defines QV_STATIC.
 */
#pragma once

#if defined(_WIN32)
#if defined(QV_STATIC)
#define QV_EXPORT
#elif defined(QV_BUILDING_QVROOT)
#define QV_EXPORT __declspec(dllexport)
#else
#define QV_EXPORT __declspec(dllimport)
#endif
#define QV_CDECL __cdecl
#else
#define QV_EXPORT __attribute__((visibility("default")))
#define QV_CDECL
#endif

/* Lets the compiler check the arguments of a printf-like function. */
#if defined(__GNUC__)
#define QV_PRINTF_LIKE(text, arguments) __attribute__((format(printf, text, arguments)))
#else
#define QV_PRINTF_LIKE(text, arguments)
#endif

#ifdef __cplusplus
#define QV_BEGIN_C_INTERFACE                                                                                 \
    namespace QV {                                                                                           \
    extern "C" {
#define QV_END_C_INTERFACE                                                                                   \
    }                                                                                                        \
    }
#else
#define QV_BEGIN_C_INTERFACE
#define QV_END_C_INTERFACE
#endif
