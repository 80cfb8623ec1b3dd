#include <QVRoot/Exceptions/StackWindowImpl.hpp>

#include <atomic>
#include <cerrno>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace QV::Impl {

namespace {

constexpr UInt32 PageBits = 12;
constexpr UInt64 PageSize = UInt64(1) << PageBits;
constexpr UInt64 GrowthMax = UInt64(8) << 20; // a frame
constexpr UInt64 JoinMax = UInt64(256) << 10; // between the places of two captures

// Number of the first page, then 29 bits for the count of pages. One word, so that a signal handler that
// captures, too, cannot leave a mixture of two stacks behind. Initial-exec: reached without a call that may
// allocate.
constexpr UInt32 CountBits = 29;
[[gnu::tls_model("initial-exec")]] constinit thread_local std::atomic<UInt64> rememberedWindow = 0;

enum class Support { Unknown, Missing, Present };
constinit std::atomic<Support> populateSupport = Support::Unknown;

/// Asks the kernel to have the pages at hand, which it refuses where a read would fault.
bool Populate(UInt64 begin, UInt64 end) noexcept
{
    return madvise(reinterpret_cast<void*>(begin), end - begin, MADV_POPULATE_READ) == 0;
}

/// For kernels before 5.14: they copy the signal set in before they look at the operation, an invalid one.
bool IsPageReadable(UInt64 page) noexcept
{
    constexpr int NoOperation = -1;
    constexpr USize SignalSetSize = 8;
    return syscall(SYS_rt_sigprocmask, NoOperation, page, nullptr, SignalSetSize) == -1 && errno == EINVAL;
}

bool ArePagesReadable(UInt64 begin, UInt64 end) noexcept
{
    const int savedError = errno;
    Support support = populateSupport.load(std::memory_order_relaxed);
    if (support == Support::Unknown) {
        const UInt64 page = reinterpret_cast<UInt64>(&support) & ~(PageSize - 1);
        support = Populate(page, page + PageSize) ? Support::Present : Support::Missing;
        populateSupport.store(support, std::memory_order_relaxed);
    }
    bool areReadable = true;
    if (support == Support::Present) {
        areReadable = begin == end || Populate(begin, end);
    } else {
        for (UInt64 page = begin; areReadable && page < end; page += PageSize) {
            areReadable = IsPageReadable(page);
        }
    }
    errno = savedError;
    return areReadable;
}

} // namespace

StackWindow::StackWindow(UInt64 stackPointer) noexcept
    : begin_(stackPointer), end_(0), remembered_(rememberedWindow.load(std::memory_order_relaxed))
{
    const UInt64 page = stackPointer & ~(PageSize - 1);
    firstPage_ = remembered_ >> CountBits << PageBits;
    end_ = firstPage_ + ((remembered_ & ((UInt64(1) << CountBits) - 1)) << PageBits);
    const bool isInside = page >= firstPage_ && page < end_;
    if (!isInside && !JoinFrom(page)) [[unlikely]] {
        firstPage_ = page;
        end_ = page + PageSize;
    }
}

StackWindow::~StackWindow()
{
    const UInt64 packed = firstPage_ >> PageBits << CountBits | (end_ - firstPage_) >> PageBits;
    if (packed != remembered_) {
        rememberedWindow.store(packed, std::memory_order_relaxed);
    }
}

/// Extends the window over a page somewhat below or above it. Keeps recursion from starting anew each time.
bool StackWindow::JoinFrom(UInt64 page) noexcept
{
    if (page >= end_) {
        return page - end_ < JoinMax && GrowTo(page);
    }
    if (firstPage_ - page > JoinMax || !ArePagesReadable(page + PageSize, firstPage_)) {
        return false;
    }
    firstPage_ = page;
    return true;
}

bool StackWindow::GrowTo(UInt64 address) noexcept
{
    const UInt64 end = (address | (PageSize - 1)) + 1;
    if (address - end_ >= GrowthMax || !ArePagesReadable(end_, end)) {
        return false;
    }
    end_ = end;
    return true;
}

} // namespace QV::Impl
