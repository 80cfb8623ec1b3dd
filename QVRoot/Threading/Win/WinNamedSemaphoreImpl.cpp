#include <QVRoot/Exceptions/ThreadingExceptions.hpp>
#include <QVRoot/String/UniString.hpp>
#include <QVRoot/Threading/ImplementationImpl.hpp>
#include <QVRoot/Threading/NamedSemaphoreImpl.hpp>

#include <cstdio>

#include <windows.h>

namespace QV::Impl {

namespace {

/// Grants everything to everyone.
class WorldAccess {
public:
    /// Throws the error code as an `int`; false when the descriptor is refused.
    bool Build()
    {
        constexpr DWORD everything = 0x1FFFFF;
        SID_IDENTIFIER_AUTHORITY world = SECURITY_WORLD_SID_AUTHORITY;
        if (!InitializeSid(GetSid(), &world, 1)) {
            throw static_cast<int>(GetLastError());
        }
        *GetSidSubAuthority(GetSid(), 0) = SECURITY_WORLD_RID;
        if (!InitializeAcl(GetAcl(), sizeof(acl_), ACL_REVISION) ||
            !AddAccessAllowedAce(GetAcl(), ACL_REVISION, everything, GetSid())) {
            throw static_cast<int>(GetLastError());
        }
        return InitializeSecurityDescriptor(&descriptor_, SECURITY_DESCRIPTOR_REVISION) &&
               SetSecurityDescriptorDacl(&descriptor_, TRUE, GetAcl(), FALSE);
    }

    SECURITY_ATTRIBUTES GetAttributes() noexcept
    {
        return {sizeof(SECURITY_ATTRIBUTES), &descriptor_, FALSE};
    }

private:
    PSID GetSid() noexcept { return sid_; }
    ACL* GetAcl() noexcept { return reinterpret_cast<ACL*>(acl_); }

    alignas(8) char sid_[SECURITY_MAX_SID_SIZE];
    alignas(8) char acl_[sizeof(ACL) + sizeof(ACCESS_ALLOWED_ACE) + SECURITY_MAX_SID_SIZE];
    SECURITY_DESCRIPTOR descriptor_;
};

} // namespace

class NamedSemaphoreImpl {
public:
    NamedSemaphoreImpl(const UniString& name, UInt32 initialCount) : handle_(Create(name, initialCount))
    {
        if (handle_ == nullptr) {
            QV_THROW(SynchronizationException, "Failed to create named semaphore.");
        }
    }
    ~NamedSemaphoreImpl() { CloseHandle(handle_); }

    bool TryAcquire(UInt32 timeoutMs)
    {
        switch (WaitForSingleObject(handle_, timeoutMs)) {
        case WAIT_OBJECT_0:
        case WAIT_ABANDONED:
            return true;
        case WAIT_TIMEOUT:
            return false;
        default:
            QV_THROW(SynchronizationException, "Failed to acquire the semaphore.");
        }
    }
    void Release()
    {
        if (!ReleaseSemaphore(handle_, 1, nullptr)) {
            QV_THROW(SynchronizationException, "Failed to release the semaphore.");
        }
    }

private:
    static HANDLE Create(const UniString& name, UInt32 initialCount)
    {
        WorldAccess access;
        bool isBuilt = false;
        int error = 0;
        try {
            isBuilt = access.Build();
        } catch (int code) {
            error = code;
        }
        if (error != 0) {
            char message[80];
            std::snprintf(message, sizeof(message), "Failed to create named semaphore. (Error code: %d)",
                          error);
            QV_THROW(SynchronizationException, message);
        }
        if (!isBuilt) {
            QV_THROW(SynchronizationException,
                     "Failed to create named semaphore: failed to create security descriptor.");
        }
        if (initialCount > namedSemaphoreMaximum) {
            return nullptr;
        }
        SECURITY_ATTRIBUTES attributes = access.GetAttributes();
        const UniString::UStr text = name.ToUStr();
        return CreateSemaphoreW(&attributes, static_cast<LONG>(initialCount), namedSemaphoreMaximum,
                                reinterpret_cast<const wchar_t*>(static_cast<const unsigned short*>(text)));
    }

    HANDLE handle_;
};

NamedSemaphoreImpl* OpenNamedSemaphore(const UniString& name, UInt32 initialCount)
{
    return MakeImplementation<NamedSemaphoreImpl>(name, initialCount);
}

bool AcquireNamedSemaphore(NamedSemaphoreImpl& semaphore, UInt32 timeoutMs)
{
    return semaphore.TryAcquire(timeoutMs);
}

void ReleaseNamedSemaphore(NamedSemaphoreImpl& semaphore)
{
    semaphore.Release();
}

void CloseNamedSemaphore(NamedSemaphoreImpl* semaphore) noexcept
{
    DestroyImplementation(semaphore);
}

} // namespace QV::Impl
