#include <QVRoot/MemoryManagement/BlockMemoryImpl.hpp>
#include <QVRoot/Threading/CriticalSectionImpl.hpp>

namespace QV {

namespace Impl {

constinit std::atomic<UInt32> threadsWithError = 0;

namespace {

/// A thread's two values, packed into the pointer that its slot holds.
struct Errors {
    Int16 inner;
    Int16 outer;
};

/// A thread that ends with an error is no longer to be counted.
constinit ThreadSlot slot([](void*) { threadsWithError.fetch_sub(1, std::memory_order_relaxed); });

constexpr Errors Unpack(USize packed) noexcept
{
    return {static_cast<Int16>(packed >> 16), static_cast<Int16>(packed)};
}

constexpr USize Pack(Errors errors) noexcept
{
    return USize{static_cast<UInt16>(errors.inner)} << 16 | static_cast<UInt16>(errors.outer);
}

USize Load() noexcept
{
    return reinterpret_cast<USize>(slot.Get());
}

template <class Change>
void Update(Change change) noexcept
{
    const USize before = Load();
    Errors errors = Unpack(before);
    change(errors);
    const USize after = Pack(errors);
    if (after == before) {
        return;
    }
    slot.Set(reinterpret_cast<void*>(after));
    if (before == 0) {
        threadsWithError.fetch_add(1, std::memory_order_relaxed);
    } else if (after == 0) {
        threadsWithError.fetch_sub(1, std::memory_order_relaxed);
    }
}

} // namespace

void StoreInnerError(QVErrCode error) noexcept
{
    Update([error](Errors& errors) { errors.inner = static_cast<Int16>(error); });
}

void StoreOuterError(QVErrCode error) noexcept
{
    Update([error](Errors& errors) { errors.outer = static_cast<Int16>(error); });
}

Int16 GetInnerError() noexcept
{
    return Unpack(Load()).inner;
}

} // namespace Impl

Int16 BMErrorNotClear()
{
    const bool none = Impl::threadsWithError.load(std::memory_order_relaxed) == 0;
    return none ? Int16{NoError} : Impl::Unpack(Impl::Load()).outer;
}

Int16 BMError()
{
    const Int16 error = BMErrorNotClear();
    if (error != NoError) {
        Impl::StoreOuterError(NoError);
    }
    return error;
}

} // namespace QV
