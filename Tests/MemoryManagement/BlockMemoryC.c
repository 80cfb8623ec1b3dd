/* The interface as a C program sees it. */
#include <QVRoot/MemoryManagement/BlockMemory.h>

#include <string.h>

static Int16 askedOperation;

static Int16 Ask(Int16 operation, Int32 size, Int16 error, Int16 reserved)
{
    askedOperation = operation;
    return size == -5 && error == -108 && reserved == 3;
}

/* The line of the first expectation that does not hold, or 0. */
int QVTestBlockMemoryFromC(void);

#define EXPECT(condition)                                                                                    \
    if (!(condition))                                                                                        \
    return __LINE__

int QVTestBlockMemoryFromC(void)
{
    QVHandle copy;
    QVHandle handle = BMAllocateHandle(4, BMZeroNew, 0);
    QVPtr ptr = BMAllocatePtr(3, 0, 0);
    EXPECT(handle != NULL && ptr != NULL && BMError() == 0);
    memcpy(ptr, "xyz", 3);
    EXPECT(BMPtrAndHandle(ptr, handle, BMGetPtrSize(ptr)) == 0 && memcmp(*handle, "\0\0\0\0xyz", 7) == 0);
    EXPECT(BMHandleToHandle((QVConstHandle)handle, &copy) == 0 && BMHandleAndHandle(copy, handle) == 0);
    EXPECT(BMGetHandleSize((QVConstHandle)handle) == 14 && BMClearHandle(copy) == 7 && (*copy)[6] == 0);
    EXPECT(BMMunger(handle, 0, "z", 1, "", 0) == 6 && BMGetHandleSize((QVConstHandle)handle) == 13);
    handle = BMReallocHandle(handle, 2, 0, 0);
    ptr = BMReallocPtr(ptr, 100, BMMayMove | BMZeroAll, 0);
    EXPECT(ptr != NULL && ptr[0] == 0 && ptr[99] == 0 && BMErrorNotClear() == 0);
    BMSetAbortProc(Ask);
    EXPECT(BMAllocatePtr(-5, 0, 3) == NULL && askedOperation == BMInAllocatePtr);
    BMSetAbortProc(NULL);
    EXPECT(BMCheckHeap() == 0);
    BMKillPtr(&ptr);
    BMKillHandle(&copy);
    EXPECT(BMPtrToHandle("ab", &copy, 2) == 0 && (*copy)[1] == 'b');
    BMKillHandle(&copy);
    BMKillHandle(&handle);
    EXPECT(handle == NULL && ptr == NULL);
    return 0;
}
