/// Base of classes whose objects belong to one thread at a time: tells when another thread comes along.
///
///     class Cache : public NonThreadSafeClass {
///     public:
///         void Add(int value)
///         {
///             CheckThread();
///             ...
///
/// The first thread that is checked becomes the owner, until `DetachThread` lets the object go. A check that
/// another thread makes is reported through `ErrorReporting`, once in a row for the same thread, and the call
/// goes on. Checks are a debugging aid: they are compiled in where `NDEBUG` is not defined, and cost nothing
/// elsewhere. Defining `QV_CHECK_THREADS` as 1 or 0 for a whole program decides otherwise.
///
/// Threads: `DetachThread` by the owner; the next one must know about it. Errors: none. Allocation: none.
#pragma once

#include <QVRoot/BasicEnvironment/BaseTypes.h>

#if !defined(QV_CHECK_THREADS)
#if defined(NDEBUG)
#define QV_CHECK_THREADS 0
#else
#define QV_CHECK_THREADS 1
#endif
#endif

namespace QV {

class QV_EXPORT NonThreadSafeClass {
public:
    /// Leaves the object to the thread that uses it next.
    void DetachThread() noexcept;

protected:
    constexpr NonThreadSafeClass() noexcept = default;
    /// A copy belongs to nobody yet; what is assigned to keeps its owner.
    constexpr NonThreadSafeClass(const NonThreadSafeClass&) noexcept {}
    constexpr NonThreadSafeClass& operator=(const NonThreadSafeClass&) noexcept { return *this; }
    ~NonThreadSafeClass() = default;

    /// To be called by every operation that only the owner may use.
    void CheckThread() const noexcept
    {
#if QV_CHECK_THREADS
        CheckThreadAlways();
#endif
    }

    /// The same in every build.
    void CheckThreadAlways() const noexcept;

private:
    // Here in every build, so that modules built with and without the checks can share objects.
    mutable UInt64 owner_ = 0;    ///< the owner's id, 0 without one
    mutable UInt64 reported_ = 0; ///< the thread that was reported last
};

static_assert(sizeof(NonThreadSafeClass) == 16);

} // namespace QV
