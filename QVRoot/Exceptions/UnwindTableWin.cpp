#include <QVRoot/Exceptions/UnwindTableImpl.hpp>

#include <windows.h>

namespace QV::Impl {

namespace {

constexpr UInt32 Rbp = 5;

/// What the tables say about a function; the operations follow.
struct UnwindInfo {
    UInt8 versionAndFlags;
    UInt8 prologSize;
    UInt8 slotCount;
    UInt8 frameRegisterAndOffset;

    UInt32 GetVersion() const noexcept { return versionAndFlags & 7; }
    bool IsChained() const noexcept { return (versionAndFlags >> 3 & UNW_FLAG_CHAININFO) != 0; }
    UInt32 GetFrameRegister() const noexcept { return frameRegisterAndOffset & 15; }
    UInt32 GetFrameOffset() const noexcept { return (frameRegisterAndOffset >> 4) * 16u; }
};

/// Undoes a prologue on paper. Operations come last first.
class PrologReader {
public:
    /// One function's operations, in slots of 16 bits. False for what no rule expresses.
    bool Read(const UnwindInfo& info, const UInt16* slots) noexcept
    {
        for (UInt32 i = 0; i < info.slotCount;) {
            const UInt32 operation = slots[i] >> 8 & 15;
            const UInt32 operand = slots[i] >> 12;
            const UInt32 size = GetSlots(operation, operand);
            if (size == 0 || i + size > info.slotCount || !Apply(info, operation, operand, slots + i + 1)) {
                return false;
            }
            i += size;
        }
        return true;
    }

    /// The return address lies on top of what was undone.
    FrameRule GetRule() const noexcept
    {
        const Int64 cfa = size_ + 8;
        const Int64 fromBase = isFromFramePointer_ ? cfa - frameOffset_ : cfa;
        const bool isSaved = savedRbp_ >= 0;
        return {isFromFramePointer_ ? CfaBase::FramePointer : CfaBase::StackPointer,
                isSaved ? SavedRbp::AtCfa : SavedRbp::Unchanged, static_cast<Int32>(fromBase / 8),
                isSaved ? static_cast<Int32>((savedRbp_ - cfa) / 8) : 0};
    }

private:
    enum Operation : UInt32 {
        PushRegister,
        AllocateLarge,
        AllocateSmall,
        SetFrameRegister,
        SaveRegister,
        SaveRegisterFar,
        SaveVector = 8,
        SaveVectorFar = 9
    };

    static UInt32 GetSlots(UInt32 operation, UInt32 operand) noexcept
    {
        switch (operation) {
        case PushRegister:
        case AllocateSmall:
        case SetFrameRegister:
            return 1;
        case SaveRegister:
        case SaveVector:
            return 2;
        case SaveRegisterFar:
        case SaveVectorFar:
            return 3;
        case AllocateLarge:
            return operand == 0 ? 2 : 3;
        default: // machine frames among them
            return 0;
        }
    }

    bool Apply(const UnwindInfo& info, UInt32 operation, UInt32 operand, const UInt16* operands) noexcept
    {
        switch (operation) {
        case PushRegister:
            NoteSaved(operand, size_);
            size_ += 8;
            return true;
        case AllocateSmall:
            size_ += operand * 8 + 8;
            return true;
        case AllocateLarge:
            size_ += operand == 0 ? operands[0] * Int64{8} : GetFar(operands);
            return true;
        case SetFrameRegister:
            // What was allocated after it need not be known.
            size_ = 0;
            isFromFramePointer_ = true;
            frameOffset_ = info.GetFrameOffset();
            return info.GetFrameRegister() == Rbp;
        case SaveRegister:
            NoteSaved(operand, operands[0] * Int64{8});
            return operand != Rbp || info.GetFrameRegister() == 0;
        case SaveRegisterFar:
            NoteSaved(operand, GetFar(operands));
            return operand != Rbp || info.GetFrameRegister() == 0;
        default:
            return true;
        }
    }

    static Int64 GetFar(const UInt16* operands) noexcept { return operands[0] | Int64{operands[1]} << 16; }

    void NoteSaved(UInt32 number, Int64 offset) noexcept
    {
        if (number == Rbp) {
            savedRbp_ = offset;
        }
    }

    Int64 size_ = 0;
    Int64 savedRbp_ = -1; // from the base, as `size_`
    Int64 frameOffset_ = 0;
    bool isFromFramePointer_ = false;
};

} // namespace

RuleLookup FindFrameRule(const CodeModule& module, UInt64 address, FrameRule& rule) noexcept
{
    DWORD64 base = 0;
    const RUNTIME_FUNCTION* function = RtlLookupFunctionEntry(address, &base, nullptr);
    if (function == nullptr || base != module.begin) {
        return RuleLookup::NotExpressible; // a leaf, or code that was registered on its own
    }
    PrologReader prolog;
    constexpr UInt32 ChainMax = 32;
    for (UInt32 i = 0; i < ChainMax; ++i) {
        const auto& info = *reinterpret_cast<const UnwindInfo*>(base + function->UnwindData);
        const auto* slots = reinterpret_cast<const UInt16*>(&info + 1);
        const bool isInProlog = i == 0 && address - base - function->BeginAddress < info.prologSize;
        if (info.GetVersion() != 1 || isInProlog || !prolog.Read(info, slots)) {
            return RuleLookup::NotExpressible;
        }
        if (!info.IsChained()) {
            rule = prolog.GetRule();
            return RuleLookup::Found;
        }
        // The function that is continued is named behind an even number of slots.
        function = reinterpret_cast<const RUNTIME_FUNCTION*>(slots + (info.slotCount + 1) / 2 * 2);
    }
    return RuleLookup::NotExpressible;
}

} // namespace QV::Impl
