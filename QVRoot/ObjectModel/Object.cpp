#include <QVRoot/BasicEnvironment/ErrorStatus.hpp>
#include <QVRoot/Channel/OChannel.hpp>
#include <QVRoot/MemoryManagement/Core/MemoryManager.hpp>
#include <QVRoot/ObjectModel/ClassInfo.hpp>
#include <QVRoot/ObjectModel/Object.hpp>
#include <QVRoot/ObjectModel/ObjectState.hpp>

namespace QV {

ErrorStatus Object::Validate(const ObjectState&, bool* valid)
{
    if (valid != nullptr) {
        *valid = true;
    }
    return ErrorStatus();
}

ErrorStatus Object::RestoreValidated(const ObjectState&)
{
    return ErrorStatus(ErrGeneral);
}

Object* Object::Clone() const
{
    return nullptr;
}

Object::~Object() = default;

const ClassInfo* Object::GetClassInfo() const
{
    return nullptr;
}

QVErrCode Object::Read(IChannel&)
{
    return ErrGeneral;
}

QVErrCode Object::Write(OChannel&) const
{
    return ErrGeneral;
}

ErrorStatus Object::Store(ObjectState&)
{
    return ErrorStatus(ErrGeneral);
}

ErrorStatus Object::Restore(const ObjectState& state)
{
    bool valid = false;
    ErrorStatus status = Validate(state, &valid);
    if (status.IsError()) {
        return status;
    }
    return valid ? RestoreValidated(state) : ErrorStatus(ErrDataIntegrity);
}

void Object::Print(OChannel& oc) const
{
    const ClassInfo* const info = GetClassInfo();
    oc.Write(info == nullptr ? "" : info->GetName());
    oc.Write('\n');
}

void Object::Dump(OChannel& oc) const
{
    Object::Print(oc);
}

bool Object::CheckState() const
{
    return true;
}

const char* Object::GetClassName() const
{
    return GetClassInfo()->GetName();
}

const Guid& Object::GetClassId() const
{
    return GetClassInfo()->GetId();
}

const ClassType& Object::GetClassType() const
{
    return GetClassInfo()->GetType();
}

ClassVersion Object::GetClassVersion() const
{
    return GetClassInfo()->GetVersion();
}

ClassVersion Object::GetClassOldVersion() const
{
    return GetClassInfo()->GetOldVersion();
}

void* Object::operator new(std::size_t size)
{
    return MemoryManager::Allocate(size, MemoryManager::ThrowOnFailure, true);
}

void Object::operator delete(void* block) noexcept
{
    MemoryManager::Free(block);
}

} // namespace QV
