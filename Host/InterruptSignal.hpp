/// Lets a program end in order when its user interrupts it: Ctrl-C, on Windows also Ctrl-Break, on Linux
/// SIGINT.
///
///     Thread main = Thread::GetCurrent();
///     const InterruptSignal signal([main]() mutable { main.Interrupt(); });
///     … // waits end with `InterruptedException`
///
/// The handler runs on a thread of its own, so it may do anything but destroy its `InterruptSignal`. It is
/// called once: the next interrupt ends the program as the system does. A program that was started with
/// interrupts ignored goes on ignoring them.
///
/// Threads: there may be one at a time, to be made before other threads are started: on Linux the signal is
/// blocked in the calling thread and in those that it starts. Errors: those of starting a thread. Exceptions
/// of the handler are swallowed.
#pragma once

#include <functional>
#include <memory>

namespace QV::Host {

class InterruptSignal {
public:
    explicit InterruptSignal(std::function<void()> handler);
    ~InterruptSignal();
    InterruptSignal(const InterruptSignal&) = delete;
    InterruptSignal& operator=(const InterruptSignal&) = delete;

private:
    class Impl;

    std::unique_ptr<Impl> impl_;
};

} // namespace QV::Host
