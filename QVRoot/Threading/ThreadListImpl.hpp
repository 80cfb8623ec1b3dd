/// All threads that the library knows and that have not ended.
#pragma once

#include <QVRoot/Containers/Array.hpp>
#include <QVRoot/Threading/ThreadImpl.hpp>

namespace QV::Impl {

class ThreadList {
public:
    static void Add(ThreadImpl& thread);
    /// Does nothing when the thread is not listed.
    static void Remove(ThreadImpl& thread);
    /// All of them, in the order in which they came, with a reference each for the caller.
    static Array<ThreadImpl*> GetAll();

private:
    static constinit FastLock lock_;
    static constinit ThreadImpl* first_;
    static constinit ThreadImpl* last_;
    static constinit UInt32 count_;
};

} // namespace QV::Impl
