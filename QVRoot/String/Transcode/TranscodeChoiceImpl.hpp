/// The set of kernels that this process uses. Not for the kernel files, which must not share inline code.
#pragma once

#include <QVRoot/String/Transcode/TranscodeImpl.hpp>

#include <atomic>

namespace QV::Impl {

/// Null until the first use. Threads that race for it store the same.
extern constinit std::atomic<const TranscodeKernels*> chosenTranscodeKernels;

/// Makes the choice.
const TranscodeKernels& ChooseTranscodeKernels() noexcept;

/// The best set that this processor and system support.
inline const TranscodeKernels& GetTranscodeKernels() noexcept
{
    const TranscodeKernels* const kernels = chosenTranscodeKernels.load(std::memory_order_relaxed);
    if (kernels == nullptr) [[unlikely]] {
        return ChooseTranscodeKernels();
    }
    return *kernels;
}

} // namespace QV::Impl
