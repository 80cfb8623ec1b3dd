#include <QVRoot/BasicEnvironment/ErrorReporting.hpp>
#include <QVRoot/Containers/Array.hpp>
#include <QVRoot/ObjectModel/ClassManager.hpp>
#include <QVRoot/ObjectModel/Object.hpp>
#include <QVRoot/Threading/SpinLockImpl.hpp>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstring>

namespace QV {

namespace {

constexpr UInt32 bucketCount = 256;
constexpr UInt32 keyCount = 3;

/// Chains of registrations by each key. The links live in the registrations, so that nothing is allocated
/// while modules are loaded; held for a few steps only, as many classes as an application has spread well.
struct Registry {
    Impl::SpinLock lock;
    ClassRegistration* buckets[keyCount][bucketCount] = {};
    UInt32 count = 0;
};

constinit Registry registry;
constinit std::atomic<UInt32> outputVersion = 0;

UInt32 Fold(UInt64 hash) noexcept
{
    return static_cast<UInt32>((hash * 0x9E3779B97F4A7C15u) >> 56);
}
static_assert(bucketCount == 256);

UInt32 GetBucket(const Guid& id) noexcept
{
    UInt64 half[2];
    std::memcpy(half, &id, sizeof(half));
    return Fold(half[0] ^ half[1] * 31);
}

UInt32 GetBucket(const char* name) noexcept
{
    UInt64 hash = 0xCBF29CE484222325u;
    for (; *name != '\0'; ++name) {
        hash = (hash ^ static_cast<unsigned char>(*name)) * 0x100000001B3u;
    }
    return Fold(hash);
}

UInt32 GetBucket(const ClassType& type) noexcept
{
    return Fold((UInt64{type.creator} << 32) | type.type);
}

bool HasValue(const ClassInfo& info, const Guid& id) noexcept
{
    return info.GetId() == id;
}

bool HasValue(const ClassInfo& info, const char* name) noexcept
{
    return std::strcmp(info.GetName(), name) == 0;
}

bool HasValue(const ClassInfo& info, const ClassType& type) noexcept
{
    return info.GetType() == type;
}

bool HasType(const ClassInfo& info) noexcept
{
    return info.GetType() != ClassType();
}

bool IsValid(const ClassInfo& info) noexcept
{
    return info.GetName() != nullptr && *info.GetName() != '\0' && !info.GetId().IsNull();
}

void ReportRefusal(const ClassInfo& info, ClassRegistration::Result result) noexcept
{
    static constexpr const char* reasons[] = {"", "it has no name or no identifier",
                                              "another class has its identifier",
                                              "another class has its name", "another class has its type"};
    char text[256];
    std::snprintf(text, sizeof(text), "The class \"%.100s\" is not registered: %s.",
                  info.GetName() == nullptr ? "" : info.GetName(), reasons[result]);
    ErrorReporting::Report(text);
}

} // namespace

ClassRegistration::ClassRegistration(const ClassInfo& classInfo, Factory factory) noexcept
    : classInfo_(classInfo), factory_(factory)
{
    result_ = ClassManager::Enter(*this);
    if (result_ != Registered) {
        ReportRefusal(classInfo_, result_);
    }
}

ClassRegistration::~ClassRegistration()
{
    if (result_ == Registered) {
        ClassManager::Remove(*this);
    }
}

UInt32 ClassManager::GetOutputVersion() noexcept
{
    return outputVersion.load(std::memory_order_relaxed);
}

void ClassManager::SetOutputVersion(UInt32 version) noexcept
{
    outputVersion.store(version, std::memory_order_relaxed);
}

/// Under the registry's lock.
template <ClassRegistration::Key key, class Value>
const ClassRegistration* ClassManager::Look(const Value& value) noexcept
{
    const ClassRegistration* at = registry.buckets[key][GetBucket(value)];
    while (at != nullptr && !HasValue(at->classInfo_, value)) {
        at = at->next_[key];
    }
    return at;
}

ClassRegistration::Result ClassManager::Enter(ClassRegistration& registration) noexcept
{
    using Registration = ClassRegistration;
    const ClassInfo& info = registration.classInfo_;
    if (!IsValid(info)) {
        return Registration::InvalidClass;
    }
    const Impl::SpinLockGuard guard(registry.lock);
    if (Look<Registration::IdKey>(info.GetId()) != nullptr) {
        return Registration::DuplicateId;
    }
    if (Look<Registration::NameKey>(info.GetName()) != nullptr) {
        return Registration::DuplicateName;
    }
    if (HasType(info) && Look<Registration::TypeKey>(info.GetType()) != nullptr) {
        return Registration::DuplicateType;
    }
    const auto link = [&registration](Registration::Key key, UInt32 bucket) {
        registration.next_[key] = registry.buckets[key][bucket];
        registry.buckets[key][bucket] = &registration;
    };
    link(Registration::IdKey, GetBucket(info.GetId()));
    link(Registration::NameKey, GetBucket(info.GetName()));
    if (HasType(info)) {
        link(Registration::TypeKey, GetBucket(info.GetType()));
    }
    ++registry.count;
    return Registration::Registered;
}

void ClassManager::Remove(ClassRegistration& registration) noexcept
{
    const Impl::SpinLockGuard guard(registry.lock);
    const ClassInfo& info = registration.classInfo_;
    const UInt32 buckets[] = {GetBucket(info.GetId()), GetBucket(info.GetName()), GetBucket(info.GetType())};
    static_assert(std::size(buckets) == ClassRegistration::KeyCount);
    for (UInt32 key = 0; key < ClassRegistration::KeyCount; ++key) {
        ClassRegistration** link = &registry.buckets[key][buckets[key]];
        while (*link != nullptr && *link != &registration) {
            link = &(*link)->next_[key];
        }
        if (*link != nullptr) {
            *link = registration.next_[key];
        }
    }
    --registry.count;
}

const ClassInfo* ClassManager::Find(const Guid& id) noexcept
{
    const Impl::SpinLockGuard guard(registry.lock);
    const ClassRegistration* const found = Look<ClassRegistration::IdKey>(id);
    return found == nullptr ? nullptr : &found->classInfo_;
}

const ClassInfo* ClassManager::Find(const char* name) noexcept
{
    if (name == nullptr) {
        return nullptr;
    }
    const Impl::SpinLockGuard guard(registry.lock);
    const ClassRegistration* const found = Look<ClassRegistration::NameKey>(name);
    return found == nullptr ? nullptr : &found->classInfo_;
}

const ClassInfo* ClassManager::Find(const ClassType& type) noexcept
{
    const Impl::SpinLockGuard guard(registry.lock);
    const ClassRegistration* const found = Look<ClassRegistration::TypeKey>(type);
    return found == nullptr ? nullptr : &found->classInfo_;
}

ClassRegistration::Factory ClassManager::FindFactory(const Guid& id) noexcept
{
    const Impl::SpinLockGuard guard(registry.lock);
    const ClassRegistration* const found = Look<ClassRegistration::IdKey>(id);
    return found == nullptr ? nullptr : found->factory_;
}

Object* ClassManager::Create(const Guid& id)
{
    // Outside the lock: a constructor may take its time, and may use the registry.
    const ClassRegistration::Factory factory = FindFactory(id);
    return factory == nullptr ? nullptr : factory();
}

Array<const ClassInfo*> ClassManager::GetClasses()
{
    Array<const ClassInfo*> classes;
    for (bool complete = false; !complete;) {
        const UInt32 room = GetClassCount();
        classes.Reserve(room); // outside the lock: an allocation may wait or report
        const Impl::SpinLockGuard guard(registry.lock);
        complete = registry.count <= room;
        for (UInt32 bucket = 0; bucket < bucketCount && complete; ++bucket) {
            for (const ClassRegistration* at = registry.buckets[ClassRegistration::NameKey][bucket];
                 at != nullptr; at = at->next_[ClassRegistration::NameKey]) {
                classes.Append(&at->classInfo_);
            }
        }
        // Within the lock: outside, a module may take its classes away while their names are read.
        std::sort(classes.begin(), classes.end(), [](const ClassInfo* a, const ClassInfo* b) {
            return std::strcmp(a->GetName(), b->GetName()) < 0;
        });
    }
    return classes;
}

UInt32 ClassManager::GetClassCount() noexcept
{
    const Impl::SpinLockGuard guard(registry.lock);
    return registry.count;
}

} // namespace QV
