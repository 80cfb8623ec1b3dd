#include <QVRoot/BasicEnvironment/ErrorStatus.hpp>
#include <QVRoot/Exceptions/GeneralExceptions.hpp>
#include <QVRoot/ObjectModel/ObjectState.hpp>

#include <algorithm>
#include <utility>

namespace QV {

ObjectState::ObjectState(const ObjectState& other)
    : kind_(other.kind_), depth_(other.depth_), integer_(other.integer_), string_(other.string_),
      children_(other.children_), names_(other.names_)
{
}

ObjectState::ObjectState(ObjectState&& other) noexcept
{
    *this = std::move(other);
}

ObjectState& ObjectState::operator=(const ObjectState& other)
{
    if (this != &other) {
        *this = ObjectState(other);
    }
    return *this;
}

ObjectState& ObjectState::operator=(ObjectState&& other) noexcept
{
    if (this != &other) {
        // Aside first: the source may be one of this value's own children.
        Array<ObjectState> oldChildren;
        oldChildren.Swap(children_);
        Array<UniString> oldNames;
        oldNames.Swap(names_);
        kind_ = std::exchange(other.kind_, EmptyKind);
        depth_ = std::exchange(other.depth_, 0);
        integer_ = std::exchange(other.integer_, 0);
        string_.Clear();
        string_.Swap(other.string_);
        children_.Swap(other.children_);
        names_.Swap(other.names_);
    }
    return *this;
}

ObjectState::~ObjectState() = default;

ObjectState ObjectState::MakeList()
{
    ObjectState list;
    list.BecomeContainer(ListKind);
    return list;
}

ObjectState ObjectState::MakeObject()
{
    ObjectState object;
    object.BecomeContainer(ObjectKind);
    return object;
}

bool ObjectState::GetBoolean() const
{
    RequireKind(BooleanKind);
    return boolean_;
}

Int64 ObjectState::GetInteger() const
{
    RequireKind(IntegerKind);
    return integer_;
}

double ObjectState::GetReal() const
{
    RequireKind(RealKind);
    return real_;
}

const UniString& ObjectState::GetString() const
{
    RequireKind(StringKind);
    return string_;
}

void ObjectState::Append(ObjectState element)
{
    BecomeContainer(ListKind);
    AddDepth(element);
    children_.Append(std::move(element));
}

const ObjectState& ObjectState::GetElement(unsigned int index) const
{
    if (index >= children_.GetCount()) {
        QV_THROW(IllegalReferenceException, "ObjectState: there is no such element");
    }
    return children_[index];
}

void ObjectState::Set(const UniString& name, ObjectState value)
{
    BecomeContainer(ObjectKind);
    AddDepth(value);
    const unsigned int index = FindField(name);
    if (index < children_.GetCount()) {
        children_[index] = std::move(value);
        return;
    }
    // Room for both first, so that names and values stay in step when memory is out.
    names_.Reserve(names_.GetCount() + 1);
    children_.Append(std::move(value));
    names_.Append(name);
}

bool ObjectState::Has(const UniString& name) const
{
    return kind_ == ObjectKind && FindField(name) < children_.GetCount();
}

const ObjectState& ObjectState::Get(const UniString& name) const
{
    RequireKind(ObjectKind);
    return GetElement(FindField(name));
}

bool ObjectState::Remove(const UniString& name)
{
    if (!Has(name)) {
        return false;
    }
    const unsigned int index = FindField(name);
    children_.RemoveAt(index);
    names_.RemoveAt(index);
    return true;
}

const UniString& ObjectState::GetFieldName(unsigned int index) const
{
    if (index >= names_.GetCount()) {
        QV_THROW(IllegalReferenceException, "ObjectState: there is no such field");
    }
    return names_[index];
}

void ObjectState::Clear() noexcept
{
    *this = ObjectState();
}

void* ObjectState::operator new(std::size_t size)
{
    return MemoryManager::Allocate(size, MemoryManager::ThrowOnFailure, true);
}

void ObjectState::operator delete(void* block) noexcept
{
    MemoryManager::Free(block);
}

bool ObjectState::IsEqual(const ObjectState& other) const
{
    if (kind_ != other.kind_ || GetCount() != other.GetCount()) {
        return false;
    }
    switch (kind_) {
    case EmptyKind:
        return true;
    case BooleanKind:
        return boolean_ == other.boolean_;
    case IntegerKind:
        return integer_ == other.integer_;
    case RealKind:
        return real_ == other.real_;
    case StringKind:
        return string_ == other.string_;
    case ListKind:
    case ObjectKind:
        break;
    }
    for (unsigned int i = 0; i < GetCount(); ++i) {
        if (!(children_[i] == other.children_[i]) ||
            (kind_ == ObjectKind && !(names_[i] == other.names_[i]))) {
            return false;
        }
    }
    return true;
}

void ObjectState::RequireKind(Kind kind) const
{
    if (kind_ != kind) {
        QV_THROW(IllegalTypeException, "ObjectState: the value is of another kind");
    }
}

void ObjectState::BecomeContainer(Kind kind)
{
    if (kind_ == EmptyKind) {
        kind_ = kind;
        depth_ = 1;
    }
    RequireKind(kind);
}

/// Makes sure that the destructor, copying and comparing, which go down the tree, never go too deep.
void ObjectState::AddDepth(const ObjectState& child)
{
    if (child.depth_ >= MaxDepth) {
        QV_THROW(LimitViolationException, "ObjectState: values are nested too deep");
    }
    depth_ = std::max(depth_, child.depth_ + 1);
}

/// The field's index, or the count when there is none.
unsigned int ObjectState::FindField(const UniString& name) const
{
    unsigned int index = 0;
    while (index < names_.GetCount() && !(names_[index] == name)) {
        ++index;
    }
    return index;
}

ObjectState::Schema::~Schema() = default;

ErrorStatus ObjectState::Schema::Validate(const ObjectState&, bool* valid) const
{
    if (valid != nullptr) {
        *valid = true;
    }
    return ErrorStatus();
}

} // namespace QV
