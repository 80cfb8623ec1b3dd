/* Calls every heap function once, as a C program does. */
#include <QVRoot/MemoryManagement/Core/HeapFunctions.h>

#include <string.h>

/* Both answer 0, or the line of the first check that failed. */
int CallHeapFunctionsFromC(void);
int CallAlignedFunctionsFromC(void);

#define CHECK(condition)                                                                                     \
    if (!(condition))                                                                                        \
    return __LINE__

int CallHeapFunctionsFromC(void)
{
    static const UInt16 wideText[] = {'w', 0x20AC, 0};
    void* blocks[12];
    int i;
    blocks[0] = QV_realloc(QV_malloc(10), 100);
    blocks[1] = QV_recalloc(QV_calloc(3, 4), 5, 4);
    blocks[2] = QV_strdup("text");
    blocks[3] = QV_wcsdup(wideText);
    blocks[4] = QV_mbsdup((const unsigned char*)"bytes");
    blocks[5] = QV_fullpath(0, "a", 0);
    blocks[6] = QV_wfullpath(0, wideText, 0);
    blocks[7] = QV_getcwd(0, 0);
    blocks[8] = QV_wgetcwd(0, 0);
    blocks[9] = QV_tempnam(0, "qv");
    blocks[10] = QV_wtempnam(0, 0);
    blocks[11] = QV_aligned_malloc(1, 1);
    for (i = 0; i < 12; ++i) {
        CHECK(blocks[i]);
    }
    CHECK(QV_msize(blocks[0]) >= 100 && QV_heapchk() == 1);
    CHECK(strcmp((char*)blocks[2], "text") == 0 && strcmp((char*)blocks[4], "bytes") == 0);
    CHECK(memcmp(blocks[3], wideText, sizeof(wideText)) == 0);
    QV_aligned_free(blocks[11]);
    for (i = 0; i < 11; ++i) {
        QV_free(blocks[i]);
    }
    return 0;
}

int CallAlignedFunctionsFromC(void)
{
    void* plain = QV_aligned_realloc(QV_aligned_malloc(10, 64), 100, 64);
    void* shifted = QV_aligned_offset_realloc(QV_aligned_offset_malloc(10, 64, 8), 100, 64, 8);
    CHECK(plain && QV_aligned_msize(plain, 64, 0) >= 100);
    CHECK(shifted && QV_aligned_msize(shifted, 64, 8) >= 100);
    plain = QV_aligned_recalloc(plain, 10, 20, 64);
    shifted = QV_aligned_offset_recalloc(shifted, 10, 20, 64, 8);
    CHECK(plain && (USize)plain % 64 == 0 && shifted && (USize)shifted % 56 == 0);
    QV_aligned_free(plain);
    QV_aligned_free(shifted);
    return 0;
}
