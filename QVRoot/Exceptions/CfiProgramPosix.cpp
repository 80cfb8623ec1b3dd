#include <QVRoot/Exceptions/CfiProgramImpl.hpp>

namespace QV::Impl {

namespace {

enum Register : UInt64 { Rbp = 6, Rsp = 7, ReturnAddress = 16 };

/// Where a caller's register is found.
struct RegisterRule {
    enum Kind { Unchanged, Undefined, AtCfa, AtFramePointer, Other };
    Kind kind = Unchanged;
    Int64 offset = 0;
};

/// All that is known between two instructions. Registers that no rule needs are not kept.
struct Row {
    enum CfaKind { RegisterAndOffset, RbpIndirect, Other };
    CfaKind cfaKind = Other;
    UInt64 cfaRegister = 0;
    Int64 cfaOffset = 0;
    RegisterRule rbp;
    RegisterRule returnAddress;
};

class Machine {
public:
    Machine(const CfiCommon& common, UInt64 location, UInt64 address) noexcept
        : common_(common), location_(location), address_(address)
    {
    }

    bool Run(CfiReader program) noexcept
    {
        while (!program.IsAtEnd() && location_ <= address_ && !failed_) {
            Step(program);
        }
        return !failed_ && !program.HasFailed();
    }

    /// What the common program has set up is what the restoring instructions go back to.
    void EndCommonProgram() noexcept { initial_ = row_; }

    const Row& GetRow() const noexcept { return row_; }

private:
    void Step(CfiReader& program) noexcept;
    void StepExtended(UInt8 operation, CfiReader& program) noexcept;

    void Advance(UInt64 delta) noexcept { location_ += delta * common_.codeAlignment; }

    void Set(UInt64 number, RegisterRule rule) noexcept
    {
        if (number == Rbp) {
            row_.rbp = rule;
        } else if (number == ReturnAddress) {
            row_.returnAddress = rule;
        }
    }
    void SetAtCfa(UInt64 number, Int64 factoredOffset) noexcept
    {
        Set(number, {RegisterRule::AtCfa, factoredOffset * common_.dataAlignment});
    }
    void Restore(UInt64 number) noexcept
    {
        Set(number, number == Rbp ? initial_.rbp : initial_.returnAddress);
    }
    void SetCfa(UInt64 number, Int64 offset) noexcept
    {
        row_.cfaKind = Row::RegisterAndOffset;
        row_.cfaRegister = number;
        row_.cfaOffset = offset;
    }
    void SetCfaExpression(CfiReader expression) noexcept;
    void SetExpression(UInt64 number, CfiReader expression) noexcept;
    void Remember() noexcept;
    void Recall() noexcept;

    static constexpr UInt32 RememberedMax = 8;

    const CfiCommon& common_;
    UInt64 location_;
    UInt64 address_;
    bool failed_ = false;
    UInt32 rememberedCount_ = 0;
    Row row_;
    Row initial_;
    Row remembered_[RememberedMax];
};

/// "rbp + offset", the start of the expressions that compilers use for frames that realign the stack.
bool ReadRbpOffset(CfiReader& expression, Int64& offset) noexcept
{
    constexpr UInt8 BaseRegisterRbp = 0x76;
    if (expression.Read<UInt8>() != BaseRegisterRbp) {
        return false;
    }
    offset = expression.ReadSleb();
    return !expression.HasFailed();
}

void Machine::SetCfaExpression(CfiReader expression) noexcept
{
    constexpr UInt8 Dereference = 0x06;
    const bool isKnown = ReadRbpOffset(expression, row_.cfaOffset) &&
                         expression.Read<UInt8>() == Dereference && expression.IsAtEnd() &&
                         !expression.HasFailed();
    row_.cfaKind = isKnown ? Row::RbpIndirect : Row::Other;
}

void Machine::SetExpression(UInt64 number, CfiReader expression) noexcept
{
    RegisterRule rule;
    const bool isKnown = ReadRbpOffset(expression, rule.offset) && expression.IsAtEnd();
    rule.kind = isKnown ? RegisterRule::AtFramePointer : RegisterRule::Other;
    Set(number, rule);
}

void Machine::Remember() noexcept
{
    if (rememberedCount_ == RememberedMax) {
        failed_ = true;
    } else {
        remembered_[rememberedCount_++] = row_;
    }
}

void Machine::Recall() noexcept
{
    if (rememberedCount_ == 0) {
        failed_ = true;
    } else {
        row_ = remembered_[--rememberedCount_];
    }
}

void Machine::Step(CfiReader& program) noexcept
{
    const UInt8 operation = program.Read<UInt8>();
    const UInt8 operand = operation & 0x3F;
    switch (operation >> 6) {
    case 1: // advance_loc
        Advance(operand);
        break;
    case 2: // offset
        SetAtCfa(operand, static_cast<Int64>(program.ReadUleb()));
        break;
    case 3: // restore
        Restore(operand);
        break;
    default:
        StepExtended(operation, program);
    }
}

void Machine::StepExtended(UInt8 operation, CfiReader& program) noexcept
{
    switch (operation) {
    case 0x00: // nop
        break;
    case 0x01: // set_loc
        location_ = program.ReadPointer(common_.pointerEncoding);
        break;
    case 0x02: // advance_loc1
        Advance(program.Read<UInt8>());
        break;
    case 0x03: // advance_loc2
        Advance(program.Read<UInt16>());
        break;
    case 0x04: // advance_loc4
        Advance(program.Read<UInt32>());
        break;
    case 0x05: { // offset_extended
        const UInt64 number = program.ReadUleb();
        SetAtCfa(number, static_cast<Int64>(program.ReadUleb()));
        break;
    }
    case 0x06: // restore_extended
        Restore(program.ReadUleb());
        break;
    case 0x07: // undefined
        Set(program.ReadUleb(), {RegisterRule::Undefined});
        break;
    case 0x08: // same_value
        Set(program.ReadUleb(), {RegisterRule::Unchanged});
        break;
    case 0x09:   // register
    case 0x14:   // val_offset
    case 0x15: { // val_offset_sf
        const UInt64 number = program.ReadUleb();
        program.ReadUleb(); // signed or not, the same bytes
        Set(number, {RegisterRule::Other});
        break;
    }
    case 0x0A: // remember_state
        Remember();
        break;
    case 0x0B: // restore_state
        Recall();
        break;
    case 0x0C: { // def_cfa
        const UInt64 number = program.ReadUleb();
        SetCfa(number, static_cast<Int64>(program.ReadUleb()));
        break;
    }
    case 0x0D: // def_cfa_register
        SetCfa(program.ReadUleb(), row_.cfaOffset);
        break;
    case 0x0E: // def_cfa_offset
        row_.cfaOffset = static_cast<Int64>(program.ReadUleb());
        break;
    case 0x0F: // def_cfa_expression
        SetCfaExpression(program.ReadPart(program.ReadUleb()));
        break;
    case 0x10: { // expression
        const UInt64 number = program.ReadUleb();
        SetExpression(number, program.ReadPart(program.ReadUleb()));
        break;
    }
    case 0x11: { // offset_extended_sf
        const UInt64 number = program.ReadUleb();
        SetAtCfa(number, program.ReadSleb());
        break;
    }
    case 0x12: { // def_cfa_sf
        const UInt64 number = program.ReadUleb();
        SetCfa(number, program.ReadSleb() * common_.dataAlignment);
        break;
    }
    case 0x13: // def_cfa_offset_sf
        row_.cfaOffset = program.ReadSleb() * common_.dataAlignment;
        break;
    case 0x16: { // val_expression
        const UInt64 number = program.ReadUleb();
        program.Skip(program.ReadUleb());
        Set(number, {RegisterRule::Other});
        break;
    }
    case 0x2E: // GNU_args_size: concerns landing pads only
        program.ReadUleb();
        break;
    default:
        failed_ = true;
    }
}

/// Offsets are kept in words; a frame off the word grid has no rule.
bool ToWords(Int64 bytes, Int32& words) noexcept
{
    words = static_cast<Int32>(bytes / 8);
    return bytes % 8 == 0 && bytes == Int64{words} * 8;
}

bool ConvertCfa(const Row& row, FrameRule& rule) noexcept
{
    if (row.cfaKind == Row::RbpIndirect) {
        rule.cfaBase = CfaBase::FramePointerIndirect;
    } else if (row.cfaKind == Row::RegisterAndOffset && row.cfaRegister == Rsp) {
        rule.cfaBase = CfaBase::StackPointer;
    } else if (row.cfaKind == Row::RegisterAndOffset && row.cfaRegister == Rbp) {
        rule.cfaBase = CfaBase::FramePointer;
    } else {
        return false;
    }
    return ToWords(row.cfaOffset, rule.cfaWords);
}

bool ConvertRbp(const RegisterRule& rbp, FrameRule& rule) noexcept
{
    switch (rbp.kind) {
    case RegisterRule::AtCfa:
        rule.savedRbp = SavedRbp::AtCfa;
        return ToWords(rbp.offset, rule.savedRbpWords);
    case RegisterRule::AtFramePointer:
        rule.savedRbp = SavedRbp::AtFramePointer;
        return ToWords(rbp.offset, rule.savedRbpWords);
    case RegisterRule::Unchanged:
    case RegisterRule::Undefined:
        return true;
    default:
        return false;
    }
}

} // namespace

bool RunCfiProgram(const CfiCommon& common, CfiReader program, UInt64 functionBegin, UInt64 address,
                   FrameRule& rule) noexcept
{
    Machine machine(common, functionBegin, address);
    if (!machine.Run(common.program)) {
        return false;
    }
    machine.EndCommonProgram();
    if (!machine.Run(program)) {
        return false;
    }
    const Row& row = machine.GetRow();
    rule = {CfaBase::Outermost, SavedRbp::Unchanged, 0, 0};
    if (row.returnAddress.kind == RegisterRule::Undefined) {
        return true;
    }
    const bool returnsThroughTheTop =
        row.returnAddress.kind == RegisterRule::AtCfa && row.returnAddress.offset == -8;
    return returnsThroughTheTop && ConvertCfa(row, rule) && ConvertRbp(row.rbp, rule);
}

} // namespace QV::Impl
