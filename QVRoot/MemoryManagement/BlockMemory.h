/* Blocks of bytes for C and C++: relocatable ones behind a handle, and fixed ones behind a pointer.
 *
 *     QVHandle text = BMAllocateHandle(0, 0, 0);
 *     BMPtrAndHandle("abc", text, 3);
 *     BMMunger(text, 0, "b", 1, "XY", 2);
 *     Use(*text, BMGetHandleSize(text));
 *     BMKillHandle(&text);
 *
 * A handle stays the same while its bytes move: read the address anew (`*handle`) after every call that may
 * resize. A handle may be empty (`*handle` is null). A pointer block only moves when the caller allows it.
 *
 * Sizes, offsets and lengths are bytes. Growing takes at least a quarter more than there is, so that repeated
 * appending is cheap; shrinking gives memory back at once. Byte arguments may lie in the handle that the call
 * changes.
 *
 * Errors: every function leaves its result as the thread's error: 0, -108 (no memory, or a negative size),
 * -109 (null handle, or nowhere to store one), -7001 (null pointer) or -7002 (empty handle). A block that
 * could not be resized is as it was. Nothing throws but the making of a handle, when not even its 16-byte
 * record can be had: `OutOfMemoryException`.
 *
 * The functions whose result is a block or a size also report their failures, as a fatal memory error: the
 * abort procedure is asked, a line goes to the error log and a report to the error reporting.
 *
 * Threads: the error belongs to the thread. Blocks are not locked: one thread at a time may use one.
 */
#pragma once

#include <QVRoot/BasicEnvironment/BaseTypes.h>

QV_BEGIN_C_INTERFACE

enum BMFlags {
    BMZeroNew = 0x02,       /* zero the new block, or the bytes that growth adds */
    BMMakeEmpty = 0x08,     /* BMAllocateHandle: make an empty handle, whatever the size */
    BMZeroAll = 0x08,       /* resizing: zero the whole block afterwards */
    BMNeverGrow = 0x10,     /* resizing: a larger size succeeds without change */
    BMKillOnFailure = 0x20, /* resizing: on failure release the block and return null */
    BMMayMove = 0x40        /* BMReallocPtr: the block may move; without it no size change succeeds */
};

/* What a fatal memory error happened in. */
enum BMOperation {
    BMInAllocatePtr = 1,
    BMInAllocateHandle = 2,
    BMInReallocHandle = 4,
    BMInKillPtr = 5,
    BMInKillHandle = 6,
    BMInGetHandleSize = 17,
    BMInGetPtrSize = 18,
    BMInReallocPtr = 19
};

enum BMDumpHeapFlags {
    BMDumpAllSizes = 1,    /* also list blocks outside the debug value "minBlockSize" */
    BMDumpNewFile = 2,     /* start the file anew, with a title */
    BMDumpRuntimeHeap = 4, /* list the blocks of the runtime's heap that are in use */
    BMDumpReserved = 8     /* only shows in the listing's flags */
};

/* A new handle with a block of exactly `size` bytes, or null. `reserved` only reaches the abort procedure,
 * here and below. */
QV_EXPORT QVHandle BMAllocateHandle(Int32 size, UInt32 flags, Int16 reserved);

/* A new pointer block of `size` bytes, or null. */
QV_EXPORT QVPtr BMAllocatePtr(Int32 size, UInt32 flags, Int16 reserved);

/* Gives the handle a new size and returns it; null when it was null or has been killed. An empty handle gets
 * a block. A null handle is not reported. */
QV_EXPORT QVHandle BMReallocHandle(QVHandle handle, Int32 newSize, UInt32 flags, Int16 reserved);

/* Gives the pointer block a new size and returns its address: the old one unless `BMMayMove` is given, also
 * on failure; null when it was null or has been killed. A null pointer is not reported. */
QV_EXPORT QVPtr BMReallocPtr(QVPtr ptr, Int32 newSize, UInt32 flags, Int16 reserved);

/* Release the block and set the variable to null. A null argument and a null block do nothing. */
QV_EXPORT void BMKillHandle(QVHandle* handle);
QV_EXPORT void BMKillPtr(QVPtr* ptr);

/* The size; 0 with an error for null and for an empty handle. */
QV_EXPORT Int32 BMGetHandleSize(QVConstHandle handle);
QV_EXPORT Int32 BMGetPtrSize(QVConstPtr ptr);

/* Zeroes all bytes and returns how many. Null is no error and gives 0. */
QV_EXPORT Int32 BMClearHandle(QVHandle handle);

/* Store a new handle with a copy of the bytes in `*result`, null when that fails. Wrong arguments leave
 * `*result` alone. Return the error. */
QV_EXPORT Int16 BMHandleToHandle(QVConstHandle source, QVHandle* result);
QV_EXPORT Int16 BMPtrToHandle(QVConstPtr source, QVHandle* result, Int32 size);

/* Append the bytes of `a` to `b`, or `size` bytes to the handle. Return the error. */
QV_EXPORT Int16 BMHandleAndHandle(QVHandle a, QVHandle b);
QV_EXPORT Int16 BMPtrAndHandle(QVConstPtr source, QVHandle handle, Int32 size);

/* Searches and replaces in a handle's bytes from `offset` on. Returns an offset, or -1.
 *
 *     pattern  replacement     effect                                        result
 *     k > 0    m > 0           replaces the first match                      behind the new bytes
 *     k = 0    any             inserts m bytes                               behind the new bytes
 *     k > 0    null            only searches                                 at the match
 *     k > 0    not null, m = 0 deletes the first match                       at the match
 *     null     any             replaces k bytes, to the end when k < 0       behind the new bytes
 *
 * Where bytes are to be inserted and the replacement is null, m bytes of unspecified content open up. A miss
 * and a range outside the handle are -1 with error 0. A range that reaches beyond the end may leave the
 * handle grown; a failed shrink leaves the size as it was, but the bytes behind the range moved. */
QV_EXPORT Int32 BMMunger(QVHandle handle, Int32 offset, const void* pattern, Int32 patternLength,
                         const void* replacement, Int32 replacementLength);

/* The error of the thread's last call; BMError also resets it to 0. */
QV_EXPORT Int16 BMError(void);
QV_EXPORT Int16 BMErrorNotClear(void);

/* Is asked about every fatal memory error: 0 counts it among those of which only the first few are reported,
 * anything else has it reported as severe. Without one, failed allocating and BMReallocHandle count as 0. */
typedef Int16 (*BMAbortProc)(Int16 operation, Int32 size, Int16 error, Int16 reserved);

/* Installs the procedure for the whole process; null removes it. */
QV_EXPORT void BMSetAbortProc(BMAbortProc abortProc);

/* 0 when the heap is consistent, -1 otherwise. */
QV_EXPORT Int32 BMCheckHeap(void);

/* Appends a listing of the heap to the file, or writes it to the debug output when there is no file name.
 * Debug values of the section "QVRoot\QVMem\HeapDump": "minBlockSize" (default 4096) and "maxBlockSize"
 * (default -1, no bound) choose the listed blocks, "dumpFlags" adds to the flags of the listing: 0x1 blocks
 * in use, 0x2 free blocks, 0x10 all sizes, 0x100 new file with title, 0x200 runtime heap, 0x10000000 keep the
 * file's old contents. "dumpFlags" of "QVRoot\MSVCRT\HeapDump" adds to them as well. */
QV_EXPORT void BMDumpHeap(const char* fileName, UInt32 flags);

QV_END_C_INTERFACE
