#include <QVRoot/ObjectModel/ObjectOwner.hpp>

namespace QV {

ObjectOwner& ObjectOwner::operator=(ObjectOwner&& other) noexcept
{
    if (this != &other) {
        Clear();
        objects_.Swap(other.objects_);
    }
    return *this;
}

ObjectOwner::~ObjectOwner()
{
    Clear();
}

void ObjectOwner::Append(std::unique_ptr<Object> object)
{
    objects_.Append(object.get());
    object.release();
}

void ObjectOwner::Clear() noexcept
{
    while (!objects_.IsEmpty()) {
        Object* const last = objects_.GetLast();
        objects_.RemoveLast();
        delete last;
    }
}

Array<Object*> ObjectOwner::Release() noexcept
{
    return std::move(objects_);
}

} // namespace QV
