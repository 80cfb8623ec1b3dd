// Uses the installed library the way a host does: by its headers, its C++ interface and, in blocks.c, its C
// interface. Prints one line per step; exit status 0 when all hold.

#include <QVRoot/Exceptions/GeneralExceptions.hpp>
#include <QVRoot/MemoryManagement/Core/MemoryManager.hpp>

#include <cstdio>
#include <cstring>

extern "C" int CheckBlocks(void);

namespace {

int failures = 0;

void Check(bool holds, const char* what)
{
    std::printf("%s: %s\n", holds ? "ok" : "FAILED", what);
    failures += holds ? 0 : 1;
}

class Handler : public QV::MemoryAllocationFailureHandler {
public:
    bool HandleAllocationFailure(QV::USize) override { return false; }
};

bool ThrowsAcrossTheBorder()
{
    try {
        QV::MemoryManager::GetInstance().RegisterAllocationFailureHandler(nullptr);
    }
    catch (const QV::IllegalArgumentException&) {
        return true;
    }
    return false;
}

bool CallsBackAcrossTheBorder()
{
    Handler handler;
    QV::MemoryManager& manager = QV::MemoryManager::GetInstance();
    manager.RegisterAllocationFailureHandler(&handler);
    const bool registered = manager.IsAllocationFailureHandlerRegistered(&handler);
    manager.UnregisterAllocationFailureHandler(&handler);
    return registered && !manager.IsAllocationFailureHandlerRegistered(&handler);
}

bool Allocates()
{
    void* const block = QV::MemoryManager::Allocate(100, QV::MemoryManager::ThrowOnFailure, true);
    std::memset(block, 1, 100);
    const bool roomy = QV::MemoryManager::MSize(block) >= 100;
    QV::MemoryManager::Free(block);
    return roomy;
}

} // namespace

int main()
{
    Check(Allocates(), "a block is allocated and freed");
    Check(CallsBackAcrossTheBorder(), "an object of this program is registered and unregistered");
    Check(ThrowsAcrossTheBorder(), "an exception of the library is caught by its class");
    const int failedInC = CheckBlocks();
    Check(failedInC == 0, "the C interface works from C");
    return failures == 0 ? 0 : 1;
}
