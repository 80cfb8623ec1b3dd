/* The scalar types that every exported operation is declared with. Usable from C and C++; in C++ they live
 * in namespace QV.
 *
 * Widths are the same on both targets. Int64 is long long, so that long stays a distinct overload.
 */
#pragma once

#include <QVRoot/BasicEnvironment/Export.h>

#ifdef __cplusplus
namespace QV {
#endif

typedef signed char Int8;
typedef unsigned char UInt8;
typedef short Int16;
typedef unsigned short UInt16;
typedef int Int32;
typedef unsigned int UInt32;
typedef long long Int64;
typedef unsigned long long UInt64;

/* A byte count of the memory manager: as wide as a pointer. */
typedef unsigned long long USize;

/* An error code; 0 is success. The library's own codes are in ErrorCodes.h. */
typedef Int32 QVErrCode;

/* A block of bytes that does not move on its own, and its read-only form. */
typedef char* QVPtr;
typedef const char* QVConstPtr;

/* A relocatable block, reached through its master pointer, and its read-only form. */
typedef QVPtr* QVHandle;
typedef const QVConstPtr* QVConstHandle;

#ifdef __cplusplus
static_assert(sizeof(Int8) == 1 && sizeof(Int16) == 2 && sizeof(Int32) == 4 && sizeof(Int64) == 8);
static_assert(sizeof(USize) == sizeof(void*));
} // namespace QV
#endif
