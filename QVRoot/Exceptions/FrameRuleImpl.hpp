/// How to get from a frame to its caller on x86-64, small enough to be cached in one machine word.
#pragma once

#include <QVRoot/BasicEnvironment/BaseTypes.h>

#include <atomic>

namespace QV::Impl {

/// What the canonical frame address (the stack pointer before the call) is counted from.
enum class CfaBase : UInt8 {
    StackPointer,         ///< CFA = rsp + offset
    FramePointer,         ///< CFA = rbp + offset
    FramePointerIndirect, ///< CFA = *(rbp + offset): the frame realigned the stack
    Outermost,            ///< there is no caller
};

/// Where the caller's rbp is.
enum class SavedRbp : UInt8 {
    Unchanged,      ///< still in the register
    AtCfa,          ///< *(CFA + offset)
    AtFramePointer, ///< *(rbp + offset)
};

/// The rule of one return address. The return address itself is always at CFA - 8. Offsets are in words.
struct FrameRule {
    CfaBase cfaBase;
    SavedRbp savedRbp;
    Int32 cfaWords;
    Int32 savedRbpWords;

    friend bool operator==(const FrameRule&, const FrameRule&) = default;
};

/// Rules by return address, shared by all threads, without locks. An entry is one word that holds the rest of
/// the key beside the rule, so that readers never see halves of two entries, and a lost update costs no more
/// than a second look into the unwind tables.
///
/// Sets of two entries: the low 12 bits of the key choose the set, the other 35 bits are compared.
class FrameRuleCache {
public:
    static constexpr UInt32 KeyBits = 47; // user space

    constexpr FrameRuleCache() noexcept = default;
    FrameRuleCache(const FrameRuleCache&) = delete;
    FrameRuleCache& operator=(const FrameRuleCache&) = delete;

    /// `key` must fit into `KeyBits`.
    bool Find(UInt64 key, FrameRule& rule) const noexcept
    {
        const auto* set = sets_[GetSet(key)];
        UInt64 entry = set[0].load(std::memory_order_relaxed);
        if (!Matches(entry, key)) [[unlikely]] {
            entry = set[1].load(std::memory_order_relaxed);
            if (!Matches(entry, key)) {
                return false;
            }
        }
        rule = Unpack(entry);
        return true;
    }

    /// Leaves out a rule whose offsets are too large for an entry.
    void Insert(UInt64 key, const FrameRule& rule) noexcept
    {
        if (FitsIn(rule.cfaWords, CfaBits) && FitsIn(rule.savedRbpWords, RbpBits)) {
            auto* set = sets_[GetSet(key)];
            set[1].store(set[0].load(std::memory_order_relaxed), std::memory_order_relaxed);
            set[0].store(Pack(rule) << TagBits | key >> SetBits, std::memory_order_relaxed);
        }
    }

private:
    static constexpr UInt32 SetBits = 12;
    static constexpr UInt32 TagBits = KeyBits - SetBits;
    static constexpr UInt32 CfaBits = 17; // frames up to 512 KB
    static constexpr UInt32 RbpBits = 8;  // rbp is saved within 1 KB
    static_assert(CfaBits + RbpBits + 4 + TagBits == 64);

    static UInt64 GetSet(UInt64 key) noexcept { return key & ((1u << SetBits) - 1); }
    static bool Matches(UInt64 entry, UInt64 key) noexcept
    {
        return (entry ^ key >> SetBits) << (64 - TagBits) == 0;
    }

    static bool FitsIn(Int32 value, UInt32 bits) noexcept
    {
        return value >= -(1 << (bits - 1)) && value < 1 << (bits - 1);
    }

    // From the high end: cfaWords, which the next read waits for, savedRbpWords, savedRbp, cfaBase, tag.
    static UInt64 Pack(const FrameRule& rule) noexcept
    {
        const UInt64 rbp = static_cast<UInt64>(rule.savedRbpWords) & ((1u << RbpBits) - 1);
        return static_cast<UInt64>(rule.cfaWords) << (RbpBits + 4) | rbp << 4 |
               static_cast<UInt64>(rule.savedRbp) << 2 | static_cast<UInt64>(rule.cfaBase);
    }
    static FrameRule Unpack(UInt64 entry) noexcept
    {
        return {static_cast<CfaBase>(entry >> TagBits & 3), static_cast<SavedRbp>(entry >> (TagBits + 2) & 3),
                static_cast<Int32>(static_cast<Int64>(entry) >> (64 - CfaBits)),
                static_cast<Int8>(entry >> (TagBits + 4))};
    }

    // An empty entry stands for the first page, where no code is.
    std::atomic<UInt64> sets_[1 << SetBits][2] = {};
};

} // namespace QV::Impl
