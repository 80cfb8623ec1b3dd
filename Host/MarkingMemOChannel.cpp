#include <Host/MarkingMemOChannel.hpp>

#include <QVRoot/MemoryManagement/Core/MemoryManager.hpp>

#include <algorithm>
#include <cstring>

namespace QV::Host {

MarkingMemOChannel::~MarkingMemOChannel()
{
    MemoryManager::Free(block_);
}

QVErrCode MarkingMemOChannel::WriteBin(const char* src, UInt32 n, UInt32* written)
{
    if (GetOutputStatus() != NoError) {
        return GetOutputStatus();
    }
    const QVErrCode error = Keep(Reserve(n));
    if (error != NoError) {
        n = 0;
    }
    if (n != 0) {
        std::memcpy(block_ + GetPosition(), src, n);
        Advance(n);
    }
    if (written != nullptr) {
        *written = n;
    }
    return error;
}

QVErrCode MarkingMemOChannel::DirectOutputAccess(UInt32 n, char** data, UInt32* available)
{
    if (GetOutputStatus() != NoError) {
        return GetOutputStatus();
    }
    const QVErrCode error = Keep(Reserve(n));
    *available = error == NoError ? n : 0;
    *data = block_ + GetPosition();
    Advance(*available);
    return error;
}

QVErrCode MarkingMemOChannel::Reserve(UInt32 n)
{
    const UInt64 wanted = GetPosition() + n;
    if (wanted <= capacity_) {
        return NoError;
    }
    const UInt64 capacity = std::max<UInt64>({wanted, 2 * capacity_, 4096});
    void* const block =
        MemoryManager::Reallocate(block_, capacity, MemoryManager::ReturnNullOnFailure, false);
    if (block == nullptr) {
        return ErrMemoryFull;
    }
    block_ = static_cast<char*>(block);
    capacity_ = capacity;
    return NoError;
}

} // namespace QV::Host
