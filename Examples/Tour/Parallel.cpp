#include "Parallel.hpp"

#include <QVRoot/Threading/Lock.hpp>
#include <QVRoot/Threading/LockGuard.hpp>

#include <algorithm>

namespace Tour {

using namespace QV;

namespace {

ThreadPoolOptions NameThreads()
{
    ThreadPoolOptions options;
    options.name = u"tour ";
    return options;
}

} // namespace

/// What the threads share during one `ForEach`. Indexes are given out in order, so when work for one of them
/// fails, all lower ones have been begun already.
class Parallel::Round {
public:
    Round(UInt32 count, const std::function<void(UInt32)>& work, Progress& progress)
        : count_(count), failedAt_(count), work_(work), progress_(progress)
    {
    }

    void RunOnThisThread()
    {
        for (UInt32 i = next_++; i < count_; i = next_++) {
            try {
                work_(i);
                progress_.Advance();
            } catch (...) {
                Fail(i);
            }
        }
    }
    void Stop() noexcept { next_ = count_; }
    void ThrowFailure() const
    {
        if (failure_ != nullptr) {
            std::rethrow_exception(failure_);
        }
    }

private:
    void Fail(UInt32 index)
    {
        Stop();
        const LockGuard guard(lock_);
        if (index < failedAt_) {
            failedAt_ = index;
            failure_ = std::current_exception();
        }
    }

    const UInt32 count_;
    std::atomic<UInt32> next_ = 0;
    Lock lock_;
    UInt32 failedAt_;
    std::exception_ptr failure_;
    const std::function<void(UInt32)>& work_;
    Progress& progress_;
};

Parallel::Parallel(UInt32 threads, Progress& progress) : progress_(progress), pool_(threads, NameThreads()) {}

void Parallel::ForEach(UInt32 count, const std::function<void(UInt32)>& work)
{
    Round round(count, work, progress_);
    Array<Future<void>> runs;
    const UInt32 threads = std::min(count, GetThreadCount());
    runs.Reserve(threads);
    progress_.Expect(count);
    try {
        for (UInt32 i = 0; i < threads; ++i) {
            runs.Append(pool_.Submit([&round] { round.RunOnThisThread(); }));
        }
        for (Future<void>& run : runs) {
            do {
                progress_.Tick();
            } while (!run.Wait(50, true));
        }
    } catch (...) {
        round.Stop();
        for (Future<void>& run : runs) {
            run.Wait();
        }
        throw;
    }
    round.ThrowFailure();
}

} // namespace Tour
