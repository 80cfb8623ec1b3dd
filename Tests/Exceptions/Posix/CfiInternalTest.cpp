#include <QVRoot/Exceptions/CfiProgramImpl.hpp>
#include <QVRoot/Exceptions/UnwindTableImpl.hpp>

#include <cstring>
#include <gtest/gtest.h>
#include <optional>
#include <vector>

using namespace QV;
using namespace QV::Impl;

namespace {

using Bytes = std::vector<UInt8>;

CfiReader ReaderOf(const Bytes& bytes)
{
    const auto begin = reinterpret_cast<UInt64>(bytes.data());
    return CfiReader(begin, begin + bytes.size());
}

/// The rule at the given distance from the function's begin; starts as compilers do: CFA = rsp + 8, the
/// return address below it.
std::optional<FrameRule> RuleAfter(const Bytes& program, UInt64 distance)
{
    static const Bytes start = {0x0C, 7, 8, 0x90, 1};
    CfiCommon common;
    common.dataAlignment = -8;
    common.program = ReaderOf(start);
    FrameRule rule = {};
    return RunCfiProgram(common, ReaderOf(program), 0x1000, 0x1000 + distance, rule) ? std::optional(rule)
                                                                                     : std::nullopt;
}

constexpr auto Sp = CfaBase::StackPointer;
constexpr auto Fp = CfaBase::FramePointer;
constexpr auto Unchanged = SavedRbp::Unchanged;
constexpr auto AtCfa = SavedRbp::AtCfa;

} // namespace

TEST(CfiProgram, FollowsAFunctionThroughItsInstructions)
{
    // push rbp; mov rbp, rsp; … leave; early exit kept by remember and restore
    const Bytes program = {0x41, 0x0E, 16,   0x86, 2, 0x43, 0x0D, 6,   0x0A,
                           0x02, 100,  0x0C, 7,    8, 0xC6, 0x41, 0x0B};
    const std::pair<UInt64, FrameRule> expected[] = {
        {0, {Sp, Unchanged, 1, 0}}, {1, {Sp, AtCfa, 2, -2}},    {3, {Sp, AtCfa, 2, -2}},
        {4, {Fp, AtCfa, 2, -2}},    {103, {Fp, AtCfa, 2, -2}},  {104, {Sp, Unchanged, 1, 0}},
        {105, {Fp, AtCfa, 2, -2}},  {5000, {Fp, AtCfa, 2, -2}},
    };
    for (const auto& [distance, rule] : expected) {
        EXPECT_EQ(RuleAfter(program, distance), rule) << distance;
    }
}

TEST(CfiProgram, UnderstandsEveryInstruction)
{
    const FrameRule plain = {Sp, Unchanged, 1, 0};
    const FrameRule outermost = {CfaBase::Outermost, Unchanged, 0, 0};
    const std::pair<Bytes, std::optional<FrameRule>> cases[] = {
        {{0x00, 0x2E, 0x80, 0x01}, plain},
        {{0x0E, 0x88, 0x08}, FrameRule{Sp, Unchanged, 129, 0}},
        {{0x03, 0x01, 0x02, 0x0E, 16}, plain}, // begins beyond
        {{0x04, 1, 0, 0, 0, 0x0E, 16}, plain},
        {{0x05, 6, 3}, FrameRule{Sp, AtCfa, 1, -3}},
        {{0x11, 6, 0x7D}, FrameRule{Sp, AtCfa, 1, 3}}, // -3 * -8
        {{0x12, 6, 0x7E}, FrameRule{Fp, Unchanged, 2, 0}},
        {{0x13, 0x7E}, FrameRule{Sp, Unchanged, 2, 0}},
        {{0x86, 2, 0x06, 6}, plain},
        {{0x86, 2, 0x08, 6}, plain},
        {{0x07, 16}, outermost},
        // The stack was realigned: CFA = *(rbp - 8), rbp at *rbp.
        {{0x0F, 3, 0x76, 0x78, 0x06, 0x10, 6, 2, 0x76, 0},
         FrameRule{CfaBase::FramePointerIndirect, SavedRbp::AtFramePointer, -1, 0}},
        {{0x16, 3, 1, 0x30, 0x14, 12, 1, 0x09, 13, 0}, plain}, // of registers that no rule needs
        // No rule: another register or expression, a moved return address, a place off the grid.
        {{0x0C, 10, 8}, std::nullopt},
        {{0x0F, 2, 0x77, 8}, std::nullopt},
        {{0x0F, 4, 0x76, 0x78, 0x06, 0x06}, std::nullopt},
        {{0x16, 6, 1, 0x30}, std::nullopt},
        {{0x09, 6, 3}, std::nullopt},
        {{0x90, 2}, std::nullopt},
        {{0x0E, 12}, std::nullopt},
        // Damaged: unknown, unbalanced, cut off.
        {{0x3F}, std::nullopt},
        {{0x0B}, std::nullopt},
        {Bytes(9, 0x0A), std::nullopt},
        {{0x0E, 0x80}, std::nullopt},
        {{0x0F, 0x7F, 0x76}, std::nullopt},
    };
    for (const auto& [program, rule] : cases) {
        EXPECT_EQ(RuleAfter(program, 0), rule)
            << "instruction " << int(program[0]) << ", bytes " << program.size();
    }
}

// Whatever the bytes of a table say, only the module itself is read. The image fills its block exactly, so
// that the address sanitizer sees a step over its ends.
TEST(CfiTable, StaysWithinDamagedModules)
{
    // Index of one function: version, encodings, table, count, {function, description}; CIE; FDE.
    const Bytes sound = {1,    0x1B, 3,  0x3B, 0x10, 0,    0, 0, 1,    0, 0, 0, 0x00, 1,    0,    0,
                         0x2C, 0,    0,  0,    0x14, 0,    0, 0, 0,    0, 0, 0, 1,    'z',  'R',  0,
                         1,    0x78, 16, 1,    0x1B, 0x0C, 7, 8, 0x90, 1, 0, 0, 0x10, 0,    0,    0,
                         0x1C, 0,    0,  0,    0xCC, 0,    0, 0, 0x10, 0, 0, 0, 0,    0x0E, 0x18, 0};
    CodeModule module;
    FrameRule rule = {};
    const auto find = [&](const Bytes& image, UInt64 address) {
        module.begin = module.tables = reinterpret_cast<UInt64>(image.data());
        module.end = module.begin + image.size();
        return FindFrameRule(module, module.begin + address, rule);
    };
    EXPECT_EQ(find(sound, 0x105), RuleLookup::Found);
    EXPECT_EQ(rule, (FrameRule{Sp, Unchanged, 3, 0}));
    EXPECT_EQ(find(sound, 0x110), RuleLookup::NoTable);
    EXPECT_EQ(find(sound, 0xFF), RuleLookup::NoTable);
    const UInt64 identity = GetIdentity(module);

    for (size_t i = 0; i < sound.size(); ++i) {
        for (int bit = 0; bit < 8; ++bit) {
            auto damaged = std::make_unique<Bytes>(sound);
            (*damaged)[i] ^= static_cast<UInt8>(1 << bit);
            find(*damaged, 0x105);
        }
        find(Bytes(sound.begin(), sound.begin() + static_cast<long>(i)), 0x105);
    }
    Bytes rebuilt = sound;
    rebuilt[16] += 4; // the last function is described elsewhere
    std::memcpy(reinterpret_cast<void*>(const_cast<UInt8*>(sound.data())), rebuilt.data(), rebuilt.size());
    find(sound, 0x105);
    EXPECT_NE(GetIdentity(module), identity);
}
