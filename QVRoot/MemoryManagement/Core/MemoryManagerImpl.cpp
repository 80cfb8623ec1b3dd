#include <QVRoot/Exceptions/GeneralExceptions.hpp>
#include <QVRoot/MemoryManagement/Core/MemoryManagerImpl.hpp>

namespace QV::Impl {

namespace {

void RequireHandler(const MemoryAllocationFailureHandler* handler)
{
    if (handler == nullptr) {
        throw IllegalArgumentException("Invalid memory allocation failure handler: handler is null.",
                                       "MemoryManagement/Core/MemoryManager", 304);
    }
}

} // namespace

UInt32 MemoryManagerImpl::GetAllocationFailureHandlers(Array<MemoryAllocationFailureHandler*>& handlers)
{
    const CriticalSectionGuard guard(mutex_);
    handlers.Reserve(handlers.GetCount() + handlerCount_);
    for (UInt32 i = 0; i < handlerCount_; ++i) {
        handlers.Append(handlers_[i]);
    }
    return handlerCount_;
}

bool MemoryManagerImpl::IsAllocationFailureHandlerRegistered(MemoryAllocationFailureHandler* handler)
{
    RequireHandler(handler);
    const CriticalSectionGuard guard(mutex_);
    return handlers_.Find(handler) != handlers_.NotFound;
}

void MemoryManagerImpl::RegisterAllocationFailureHandler(MemoryAllocationFailureHandler* handler)
{
    RequireHandler(handler);
    const CriticalSectionGuard guard(mutex_);
    if (handlers_.Find(handler) == handlers_.NotFound) {
        handlers_.Append(handler);
        handlerCount_ = handlers_.GetCount();
    }
}

void MemoryManagerImpl::UnregisterAllocationFailureHandler(MemoryAllocationFailureHandler* handler)
{
    RequireHandler(handler);
    const CriticalSectionGuard guard(mutex_);
    const UInt32 index = handlers_.Find(handler);
    if (index != handlers_.NotFound) {
        handlers_.RemoveAt(index);
        handlerCount_ = handlers_.GetCount();
    }
}

bool MemoryManagerImpl::CallAllocationFailureHandlers(USize size)
{
    const CriticalSectionGuard guard(mutex_);
    // By index over a count that is read anew: a handler may change the list while it is walked.
    for (UInt32 i = 0; i < handlerCount_; ++i) {
        try {
            if (handlers_[i]->HandleAllocationFailure(size)) {
                return true;
            }
        } catch (const QVException&) {
            // A handler that fails has not released anything: ask the next one.
        }
    }
    return false;
}

} // namespace QV::Impl
