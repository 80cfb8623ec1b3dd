// Threads of a test, and ways to wait for what they do.
#pragma once

#include <QVRoot/Exceptions/QVException.hpp>
#include <QVRoot/String/UniString.hpp>
#include <QVRoot/Threading/Thread.hpp>

#include <atomic>
#include <gtest/gtest.h>
#include <string>
#include <typeinfo>

namespace QV::Test {

constexpr UInt32 Long = 20000; // ms: a wait that is to end for another reason

// A started thread that is joined at the latest when the object goes, and what its work ended with.
class Worker {
public:
    template <class Work>
    explicit Worker(Work work)
        : thread_(RunnableTask([this, work]() mutable {
                      try {
                          work();
                      } catch (const QVException& e) {
                          name_ = e.GetName();
                          message_ = std::string(e.GetMessage().ToCStr().GetText());
                          file_ = e.GetFileName();
                      }
                  }),
                  u"worker")
    {
        thread_.Start();
    }
    ~Worker() { thread_.Join(false); }
    Worker(const Worker&) = delete;
    Worker& operator=(const Worker&) = delete;

    Thread& GetThread() { return thread_; }
    void Interrupt() { thread_.Interrupt(); }
    // Returns when the thread is in a wait that is not interruptible: then its interrupt, which stays
    // pending, is not visible any more.
    void WaitUntilItWaits()
    {
        thread_.Interrupt();
        while (thread_.IsInterrupted()) {
            Thread::Yield();
        }
    }
    bool IsDone() { return thread_.GetState().IsFinished(); }

    // "Class: message" of the exception that ended the work; empty when it returned.
    std::string GetOutcome()
    {
        thread_.Join(false);
        return name_.empty() ? "" : name_ + ": " + message_;
    }
    std::string GetFile()
    {
        thread_.Join(false);
        return file_;
    }

private:
    std::string name_;
    std::string message_;
    std::string file_;
    Thread thread_;
};

// The same for an operation on this thread.
template <class Operation>
std::string GetOutcome(Operation operation)
{
    try {
        operation();
    } catch (const QVException& e) {
        return std::string(e.GetName()) + ": " + std::string(e.GetMessage().ToCStr().GetText());
    }
    return "";
}

// Gives the other threads time to get where they block. A test must not fail when it was too short.
inline void Settle(UInt32 milliseconds = 20)
{
    Thread::Sleep(milliseconds);
}

} // namespace QV::Test
