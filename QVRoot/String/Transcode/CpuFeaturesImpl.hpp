/// What the processor offers and the operating system saves across switches. Usable before `main`.
#pragma once

namespace QV::Impl::CpuFeatures {

bool HasSse42() noexcept;

/// AVX2 with both sets of bit-manipulation instructions.
bool HasAvx2() noexcept;

/// The byte compression and permutation of AVX-512, with everything below.
bool HasAvx512Vbmi2() noexcept;

} // namespace QV::Impl::CpuFeatures
