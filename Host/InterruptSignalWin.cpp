#include <Host/InterruptSignal.hpp>

#include <mutex>
#include <utility>

#define WIN32_LEAN_AND_MEAN
#include <windows.h>

namespace QV::Host {

/// The system calls the routine on a thread that it makes for that.
class InterruptSignal::Impl {
public:
    explicit Impl(std::function<void()> handler) : handler_(std::move(handler))
    {
        const std::lock_guard guard(lock_);
        current_ = this;
        SetConsoleCtrlHandler(&Handle, TRUE);
    }
    ~Impl()
    {
        SetConsoleCtrlHandler(&Handle, FALSE);
        // Whoever is in the routine still needs this.
        const std::lock_guard guard(lock_);
        current_ = nullptr;
    }

private:
    /// Answers whether the program goes on.
    static BOOL WINAPI Handle(DWORD event)
    {
        if (event != CTRL_C_EVENT && event != CTRL_BREAK_EVENT) {
            return FALSE;
        }
        const std::lock_guard guard(lock_);
        if (current_ == nullptr || std::exchange(current_->wasCalled_, true)) {
            return FALSE;
        }
        try {
            current_->handler_();
        } catch (...) {
        }
        return TRUE;
    }

    static inline std::mutex lock_;
    static inline Impl* current_ = nullptr;

    std::function<void()> handler_;
    bool wasCalled_ = false;
};

InterruptSignal::InterruptSignal(std::function<void()> handler)
    : impl_(std::make_unique<Impl>(std::move(handler)))
{
}

InterruptSignal::~InterruptSignal() = default;

} // namespace QV::Host
