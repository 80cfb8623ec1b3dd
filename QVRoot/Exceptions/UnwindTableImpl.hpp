/// The modules' unwind tables: from a code address to the rule of its frame.
#pragma once

#include <QVRoot/Exceptions/FrameRuleImpl.hpp>

namespace QV::Impl {

/// A loaded module, as far as unwinding goes. Addresses are numbers here: the walk computes with them.
struct CodeModule {
    UInt64 begin = 0;
    UInt64 end = 0;
    UInt64 tables = 0; ///< Linux: the sorted index (.eh_frame_hdr); Windows: the image's headers
    const void* loaderEntry = nullptr;
};

enum class RuleLookup {
    Found,
    NoTable,        ///< the tables do not cover the address: the walk ends there
    NotExpressible, ///< the system may know, but a `FrameRule` cannot hold it
};

/// Finds the module that `address` lies in. Does not allocate.
RuleLookup FindCodeModule(UInt64 address, CodeModule& module) noexcept;

/// Whether the module is known not to be unloaded before this library.
bool IsLasting(const CodeModule& module) noexcept;

/// An address in each of them: in the program, in what this library depends on, and in itself.
constexpr UInt32 LastingMax = 5;
void GetLastingAddresses(UInt64 (&addresses)[LastingMax]) noexcept;

/// A number that another module at the same place will hardly have: it depends on the extent of the tables
/// and on when, or in which form, the module was built. Fits into `FrameRuleCache::KeyBits`.
UInt64 GetIdentity(const CodeModule& module) noexcept;

/// The rule that the module's tables give for the instruction at `address`. Reads only within the module.
RuleLookup FindFrameRule(const CodeModule& module, UInt64 address, FrameRule& rule) noexcept;

} // namespace QV::Impl
