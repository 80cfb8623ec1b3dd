#include <Host/InterruptSignal.hpp>

#include <QVRoot/Threading/Thread.hpp>

#include <atomic>
#include <pthread.h>
#include <signal.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace QV::Host {

/// A thread waits for the signal, so that nothing has to be done inside a signal handler. To be told to end
/// it gets the same signal, with a flag.
class InterruptSignal::Impl {
public:
    explicit Impl(std::function<void()> handler) : handler_(std::move(handler))
    {
        struct sigaction action;
        sigaction(SIGINT, nullptr, &action);
        if (action.sa_handler == SIG_IGN) {
            return;
        }
        sigemptyset(&signals_);
        sigaddset(&signals_, SIGINT);
        pthread_sigmask(SIG_BLOCK, &signals_, &before_);
        thread_ = Thread(RunnableTask([this] { Listen(); }), u"interrupts");
        try {
            thread_.Start();
        } catch (...) {
            pthread_sigmask(SIG_SETMASK, &before_, nullptr);
            throw;
        }
        listens_ = true;
    }
    ~Impl()
    {
        if (listens_) {
            ends_ = true;
            syscall(SYS_tgkill, getpid(), static_cast<pid_t>(thread_.GetId()), SIGINT);
            thread_.Join(false);
            pthread_sigmask(SIG_SETMASK, &before_, nullptr);
        }
    }

private:
    void Listen()
    {
        for (bool isFirst = true;; isFirst = false) {
            int signal = 0;
            sigwait(&signals_, &signal);
            if (ends_) {
                return;
            }
            if (!isFirst) {
                pthread_sigmask(SIG_UNBLOCK, &signals_, nullptr);
                raise(SIGINT);
            }
            try {
                handler_();
            } catch (...) {
            }
        }
    }

    std::function<void()> handler_;
    sigset_t signals_;
    sigset_t before_;
    Thread thread_;
    std::atomic<bool> ends_ = false;
    bool listens_ = false;
};

InterruptSignal::InterruptSignal(std::function<void()> handler)
    : impl_(std::make_unique<Impl>(std::move(handler)))
{
}

InterruptSignal::~InterruptSignal() = default;

} // namespace QV::Host
