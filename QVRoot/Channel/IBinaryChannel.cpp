#include <QVRoot/Channel/IBinaryChannel.hpp>
#include <QVRoot/Exceptions/GeneralExceptions.hpp>

#include <algorithm>

namespace QV {

IBinaryChannel::~IBinaryChannel()
{
    TakeBack();
    if (lender_ != nullptr) {
        GiveBack();
    }
}

UInt64 IBinaryChannel::SkipSome(UInt64 n)
{
    if (n == 0) {
        return 0;
    }
    if (GetWindow() == 0) {
        Settle();
    }
    if (const USize window = GetWindow()) {
        const USize passed = static_cast<USize>(std::min<UInt64>(n, window));
        at_ += passed;
        return passed;
    }
    return SkipBytes(n);
}

UInt64 IBinaryChannel::SkipBytes(UInt64 n)
{
    char scratch[4096];
    return ReadBytes(scratch, static_cast<UInt32>(std::min<UInt64>(n, sizeof(scratch))), ReadAtLeastOne);
}

UInt32 IBinaryChannel::TakeFromWindow(char* dest, UInt32 n) noexcept
{
    const UInt32 taken = static_cast<UInt32>(std::min<USize>(n, GetWindow()));
    if (taken != 0) {
        std::memcpy(dest, at_, taken);
        at_ += taken;
    }
    return taken;
}

UInt32 IBinaryChannel::ReadSlowly(char* dest, UInt32 n, ReadSomeModeSelector mode)
{
    if (dest == nullptr) {
        QV_THROW(IllegalArgumentException, "the destination is null");
    }
    if (n == 0) {
        QV_THROW(IllegalArgumentException, "the number of bytes to read is 0");
    }
    Settle();
    return n <= GetWindow() ? TakeFromWindow(dest, n) : ReadBytes(dest, n, mode);
}

void IBinaryChannel::Borrow(IBinaryChannel& lender, UInt64 most) noexcept
{
    const USize length = static_cast<USize>(std::min<UInt64>(most, lender.GetWindow()));
    if (length == 0) {
        return;
    }
    lender_ = &lender;
    borrowedAt_ = lender.at_;
    SetWindow(lender.at_, lender.at_ + length);
    lender.borrower_ = this;
    lender.lentEnd_ = lender.end_;
    lender.SetWindow(nullptr, nullptr);
}

void IBinaryChannel::OnReturned(USize) noexcept {}

void IBinaryChannel::SettleWindows() noexcept
{
    TakeBack();
    if (lender_ != nullptr) {
        const USize consumed = static_cast<USize>(at_ - borrowedAt_);
        GiveBack();
        OnReturned(consumed);
    }
}

void IBinaryChannel::TakeBack() noexcept
{
    if (borrower_ != nullptr) {
        borrower_->SettleWindows();
    }
}

void IBinaryChannel::GiveBack() noexcept
{
    lender_->SetWindow(at_, lender_->lentEnd_);
    lender_->borrower_ = nullptr;
    lender_ = nullptr;
    SetWindow(nullptr, nullptr);
}

} // namespace QV
