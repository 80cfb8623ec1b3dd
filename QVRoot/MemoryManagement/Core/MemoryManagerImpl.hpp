/// The only implementation of `MemoryManager`: the list of failure handlers.
#pragma once

#include <QVRoot/Containers/PagedArray.hpp>
#include <QVRoot/MemoryManagement/Core/MemoryManager.hpp>
#include <QVRoot/Threading/CriticalSectionImpl.hpp>

namespace QV::Impl {

class MemoryManagerImpl final : public MemoryManager {
public:
    UInt32 GetAllocationFailureHandlers(Array<MemoryAllocationFailureHandler*>& handlers) override;
    bool IsAllocationFailureHandlerRegistered(MemoryAllocationFailureHandler* handler) override;
    void RegisterAllocationFailureHandler(MemoryAllocationFailureHandler* handler) override;
    void UnregisterAllocationFailureHandler(MemoryAllocationFailureHandler* handler) override;
    bool CallAllocationFailureHandlers(USize size) override;

private:
    PagedArray<MemoryAllocationFailureHandler*, 8> handlers_;
    UInt32 handlerCount_ = 0;
    CriticalSection mutex_;
};

} // namespace QV::Impl
