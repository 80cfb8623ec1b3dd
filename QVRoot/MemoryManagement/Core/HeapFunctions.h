/* The memory manager behind the names of the runtime library's heap functions, for C and C++.
 *
 *     char* copy = QV_strdup("text");
 *     copy = (char*)QV_realloc(copy, 100);
 *     QV_free(copy);
 *
 * Every function behaves like its runtime namesake without the prefix, except where it is said otherwise; all
 * blocks come from MemoryManager and go back through QV_free, or QV_aligned_free for the aligned forms. Sizes
 * are bytes. Wide text is UTF-16, also on Linux.
 *
 * Threads: everything may be called from any thread. Errors: null, after the failure handlers were asked and
 * the failure was reported; nothing is thrown but what a failure handler throws.
 */
#pragma once

#include <QVRoot/BasicEnvironment/BaseTypes.h>

QV_BEGIN_C_INTERFACE

QV_EXPORT void* QV_malloc(USize size);

/* The product is not tested for overflow: what it is modulo 2^64 is allocated and zeroed. */
QV_EXPORT void* QV_calloc(USize count, USize size);

/* Size 0 frees the block and returns null. A null block is allocated, without report when that fails. */
QV_EXPORT void* QV_realloc(void* block, USize size);

/* A zeroed block of count times size bytes that takes over the beginning of the old block: no more than
 * `size` bytes, so only the first element. Null, and the old block kept, when size or the product exceeds
 * 2^64-32. Size 0 frees the block and returns null. */
QV_EXPORT void* QV_recalloc(void* block, USize count, USize size);

QV_EXPORT void QV_free(void* block);

/* The usable size; 0 for null. */
QV_EXPORT USize QV_msize(void* block);

/* 1 when the heap is consistent, 0 otherwise (not the runtime's codes). */
QV_EXPORT int QV_heapchk(void);

/* Copies of zero-terminated text; null for null. */
QV_EXPORT char* QV_strdup(const char* text);
QV_EXPORT UInt16* QV_wcsdup(const UInt16* text);
QV_EXPORT unsigned char* QV_mbsdup(const unsigned char* text);

/* The absolute form of a path that need not exist, "." and ".." resolved; null or empty asks for the current
 * directory. A buffer of `length` units is filled and returned, or null when the path does not fit; for a
 * null buffer a block is returned, whatever the length. A buffer with length 0 gives null. */
QV_EXPORT char* QV_fullpath(char* buffer, const char* path, USize length);
QV_EXPORT UInt16* QV_wfullpath(UInt16* buffer, const UInt16* path, USize length);

/* The current directory, with the same rules for the buffer. */
QV_EXPORT char* QV_getcwd(char* buffer, int length);
QV_EXPORT UInt16* QV_wgetcwd(UInt16* buffer, int length);

/* The name of a file that does not exist yet, in the directory that the environment names (TMP on Windows,
 * TMPDIR on Linux), else in `directory`, else in the system's place for temporary files. Either argument may
 * be null. Somebody else may create the file before the caller does. */
QV_EXPORT char* QV_tempnam(const char* directory, const char* prefix);
QV_EXPORT UInt16* QV_wtempnam(const UInt16* directory, const UInt16* prefix);

/* Blocks at a multiple of `alignment`, a power of two. Null when the size is 0 or above 2^64-32 or the
 * alignment is none. */
QV_EXPORT void* QV_aligned_malloc(USize size, USize alignment);

/* Moves the block always. Null, and the old block kept, when the size is above 2^64-32 or the alignment is
 * none; size 0 frees the block and returns null. */
QV_EXPORT void* QV_aligned_realloc(void* block, USize size, USize alignment);

/* The same for count times size bytes, zeroed; no more than `size` bytes of the old block are taken over. */
QV_EXPORT void* QV_aligned_recalloc(void* block, USize count, USize size, USize alignment);

/* As the forms without offset, but the block lies at a multiple of alignment minus offset. Null as well when
 * the offset is nonzero and not below the size, or not below the alignment. */
QV_EXPORT void* QV_aligned_offset_malloc(USize size, USize alignment, USize offset);
QV_EXPORT void* QV_aligned_offset_realloc(void* block, USize size, USize alignment, USize offset);
QV_EXPORT void* QV_aligned_offset_recalloc(void* block, USize count, USize size, USize alignment,
                                           USize offset);

/* The usable size of an aligned block, given what it was made with (offset 0 for the plain forms); 0 for
 * null. */
QV_EXPORT USize QV_aligned_msize(void* block, USize alignment, USize offset);

QV_EXPORT void QV_aligned_free(void* block);

QV_END_C_INTERFACE
