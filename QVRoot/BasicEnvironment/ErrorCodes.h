/* The error codes that the library returns, stores and throws. Usable from C and C++.
 *
 * The numbers are the interface: other components compare against them, so none is ever renumbered. All
 * other values belong to the host application and pass through untouched. The handle interface reports the
 * same numbers cut to 16 bits.
 */
#pragma once

#include <QVRoot/BasicEnvironment/BaseTypes.h>

#ifdef __cplusplus
namespace QV {
#endif

enum QVErrorCodes {
    NoError = 0,                      /* success */
    ErrParam = -50,                   /* an argument is invalid */
    ErrMemoryFull = -108,             /* an allocation could not be satisfied */
    ErrNilHandle = -109,              /* a handle argument is null */
    ErrMemoryLocked = -117,           /* a block is locked and can neither move nor be resized */
    ErrTimeConversion = -2015,        /* a time does not convert or does not fit 32 bits */
    ErrNullPointer = -7001,           /* a pointer argument is null */
    ErrEmptyHandle = -7002,           /* a handle is not null but its master pointer is */
    ErrGeneral = -7003,               /* the general failure */
    ErrAborted = -7004,               /* an operation was abandoned on request */
    ErrDataIntegrity = -2130706432,   /* 0x81000000: input violates the format being read */
    ErrEndOfInput = -2130706176,      /* 0x81000100: input ended before the requested data */
    ErrRead = -2130706175,            /* 0x81000101: reading failed */
    ErrOutputFull = -2130705920,      /* 0x81000200: the output cannot take more data */
    ErrWrite = -2130705919,           /* 0x81000201: writing failed */
    ErrGuidGenerate = -2130705407,    /* 0x81000401: no new identifier could be created */
    ErrGuidFormat = -2130705406,      /* 0x81000402: an identifier's text is malformed */
    ErrPrefOperation = -2130705151,   /* 0x81000501: a preference-store operation failed */
    ErrPrefRead = -2130705150,        /* 0x81000502: a preference value could not be read as asked */
    ErrPrefValueType = -2130705149,   /* 0x81000503: a stored preference value has the wrong type */
    ErrPrefAccessDenied = -2130705148 /* 0x81000504: access to the preference store was denied */
};

#ifdef __cplusplus
} // namespace QV
#endif
