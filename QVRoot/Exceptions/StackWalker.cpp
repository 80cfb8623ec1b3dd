#include <QVRoot/Exceptions/StackWalkerImpl.hpp>
#include <QVRoot/Exceptions/StackWindowImpl.hpp>
#include <QVRoot/Exceptions/UnwindTableImpl.hpp>

namespace QV::Impl {

namespace {

constinit FrameRuleCache rules;

/// Finds rules for one walk. Remembers the last module, since neighbouring frames are often of the same one.
class RuleFinder {
public:
    RuleLookup Find(UInt64 pc, FrameRule& rule) noexcept
    {
        if (rules.Find(pc, rule)) [[likely]] {
            return RuleLookup::Found;
        }
        FrameRule found = {}; // so that `rule` stays in registers
        const RuleLookup lookup = FindByModule(pc, found);
        rule = found;
        return lookup;
    }

private:
    [[gnu::noinline]] RuleLookup FindByModule(UInt64 pc, FrameRule& rule) noexcept
    {
        if (pc - 1 < module_.begin || pc - 1 >= module_.end) {
            const RuleLookup entered = EnterModule(pc - 1);
            if (entered != RuleLookup::Found) {
                return entered;
            }
        }
        const UInt64 key = pc ^ identity_;
        if (identity_ != 0 && rules.Find(key, rule)) {
            return RuleLookup::Found;
        }
        const RuleLookup lookup = FindFrameRule(module_, pc - 1, rule);
        if (lookup == RuleLookup::Found) {
            rules.Insert(key, rule);
        }
        return lookup;
    }

    RuleLookup EnterModule(UInt64 address) noexcept
    {
        const RuleLookup lookup = FindCodeModule(address, module_);
        if (lookup == RuleLookup::Found) {
            identity_ = IsLasting(module_) ? 0 : GetIdentity(module_);
        } else {
            module_ = {};
        }
        return lookup;
    }

    CodeModule module_;
    UInt64 identity_ = 0;
};

enum class Progress { Stepped, Ended, NotExpressible };

class Walker {
public:
    explicit Walker(UInt64 stackPointer) noexcept : window_(stackPointer) {}

    /// Goes to the caller. The registers are not kept in here, so that they stay in registers.
    Progress Step(StackRegisters& registers) noexcept
    {
        FrameRule rule;
        const RuleLookup lookup = finder_.Find(registers.pc, rule);
        if (lookup != RuleLookup::Found) [[unlikely]] {
            return lookup == RuleLookup::NoTable ? Progress::Ended : Progress::NotExpressible;
        }
        UInt64 cfa =
            GetWord(rule.cfaBase == CfaBase::StackPointer ? registers.sp : registers.fp, rule.cfaWords);
        if (rule.cfaBase >= CfaBase::FramePointerIndirect) [[unlikely]] {
            if (rule.cfaBase == CfaBase::Outermost || !window_.Read(cfa, cfa)) {
                return Progress::Ended;
            }
        }
        UInt64 fp = registers.fp;
        if (rule.savedRbp != SavedRbp::Unchanged) {
            const UInt64 base = rule.savedRbp == SavedRbp::AtCfa ? cfa : registers.fp;
            if (!window_.Read(GetWord(base, rule.savedRbpWords), fp)) [[unlikely]] {
                return Progress::Ended;
            }
        }
        UInt64 pc = 0;
        const bool isSound =
            cfa > registers.sp && window_.Read(cfa - 8, pc) && pc != 0 && pc >> FrameRuleCache::KeyBits == 0;
        registers = {pc, cfa, fp};
        return isSound ? Progress::Stepped : Progress::Ended;
    }

private:
    static UInt64 GetWord(UInt64 base, Int32 words) noexcept
    {
        return base + static_cast<UInt64>(Int64{words} * 8);
    }

    StackWindow window_;
    RuleFinder finder_;
};

} // namespace

bool WalkStack(StackRegisters registers, void** addresses, UInt32 capacity, UInt32 skip,
               UInt32& depth) noexcept
{
    Walker walker(registers.sp);
    for (depth = 0; depth < capacity;) {
        const Progress progress = walker.Step(registers);
        if (progress != Progress::Stepped) [[unlikely]] {
            return progress == Progress::Ended;
        }
        if (skip != 0) {
            --skip;
        } else {
            addresses[depth++] = reinterpret_cast<void*>(registers.pc);
        }
    }
    return true;
}

} // namespace QV::Impl
