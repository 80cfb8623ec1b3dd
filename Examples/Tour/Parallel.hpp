/// The same work for many things, on the threads of a pool.
#pragma once

#include "Progress.hpp"

#include <QVRoot/Threading/ThreadPool.hpp>

#include <functional>

namespace Tour {

class Parallel {
public:
    Parallel(QV::UInt32 threads, Progress& progress);

    QV::UInt32 GetThreadCount() const noexcept { return pool_.GetThreadCount(); }

    /// Calls `work(i)` for every i below the count, on any thread and in any order, shows the progress, and
    /// returns when all have ended. When some of them throw, the exception for the lowest i comes out, as in
    /// a loop; what has not begun by then is left out. So it is when the user interrupts the program.
    void ForEach(QV::UInt32 count, const std::function<void(QV::UInt32)>& work);

private:
    class Round;

    Progress& progress_;
    QV::ThreadPool pool_;
};

} // namespace Tour
