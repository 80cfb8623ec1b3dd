/* The BM and QV_ families, used from plain C. */

#include <QVRoot/MemoryManagement/BlockMemory.h>
#include <QVRoot/MemoryManagement/Core/HeapFunctions.h>

#include <stdio.h>
#include <string.h>

int CheckBlocks(void);

static int failures = 0;

static void Check(int holds, const char* what)
{
    printf("%s: %s\n", holds ? "ok" : "FAILED", what);
    failures += holds ? 0 : 1;
}

static void CheckHandles(void)
{
    QVHandle handle = NULL;
    Check(BMPtrToHandle("abc", &handle, 3) == 0 && handle != NULL, "BMPtrToHandle copies into a handle");
    Check(BMPtrAndHandle("def", handle, 3) == 0 && BMGetHandleSize((QVConstHandle)handle) == 6,
          "BMPtrAndHandle appends");
    Check(memcmp(*handle, "abcdef", 6) == 0, "the handle holds both parts");
    BMKillHandle(&handle);
    Check(handle == NULL && BMError() == 0, "BMKillHandle clears the variable");
    Check(BMGetHandleSize(NULL) == 0 && BMErrorNotClear() == -109 && BMError() == -109 && BMError() == 0,
          "a null handle leaves its error until it is read");
}

static void CheckHeap(void)
{
    char* text = QV_strdup("text");
    Check(text != NULL && strcmp(text, "text") == 0, "QV_strdup copies");
    text = QV_realloc(text, 100);
    Check(text != NULL && strcmp(text, "text") == 0 && QV_msize(text) >= 100, "QV_realloc keeps the bytes");
    QV_free(text);
    Check(QV_heapchk() == 1, "QV_heapchk finds the heap in order");
}

int CheckBlocks(void)
{
    CheckHandles();
    CheckHeap();
    return failures;
}
