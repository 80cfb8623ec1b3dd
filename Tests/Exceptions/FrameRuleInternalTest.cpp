#include <QVRoot/Exceptions/FrameRuleImpl.hpp>

#include <gtest/gtest.h>
#include <memory>
#include <thread>
#include <vector>

using namespace QV;
using namespace QV::Impl;

namespace {

FrameRule MakeRule(UInt64 key)
{
    const auto mixed = static_cast<UInt32>(key * 0x9E3779B97F4A7C15 >> 32);
    return {static_cast<CfaBase>(mixed & 3), static_cast<SavedRbp>((mixed >> 2) % 3),
            static_cast<Int32>(mixed >> 4 & 0x1FFFF) - 0x10000, static_cast<Int32>(mixed >> 24) - 128};
}

} // namespace

TEST(FrameRuleCache, KeepsTwoRulesOfASet)
{
    const auto cache = std::make_unique<FrameRuleCache>();
    FrameRule rule = {};
    const UInt64 keys[] = {0x7F0000001234, 0x7FFFFFFFF234, 0x000000001234};
    for (int i = 0; i < 3; ++i) {
        EXPECT_FALSE(cache->Find(keys[i], rule));
        cache->Insert(keys[i], MakeRule(keys[i]));
        for (int j = 0; j < 3; ++j) {
            const bool isKept = j == i || j == i - 1;
            ASSERT_EQ(cache->Find(keys[j], rule), isKept) << i << ' ' << j;
            EXPECT_TRUE(!isKept || rule == MakeRule(keys[j]));
        }
    }
}

TEST(FrameRuleCache, HoldsOffsetsUpToItsLimits)
{
    const auto cache = std::make_unique<FrameRuleCache>();
    UInt64 key = 0x400000;
    for (const Int32 cfa : {-0x10000, -1, 0, 0xFFFF}) {
        for (const Int32 saved : {-128, -1, 0, 127}) {
            const FrameRule expected = {CfaBase::FramePointerIndirect, SavedRbp::AtFramePointer, cfa, saved};
            FrameRule rule = {};
            cache->Insert(++key, expected);
            ASSERT_TRUE(cache->Find(key, rule));
            EXPECT_EQ(rule, expected);
        }
    }
    FrameRule rule = {};
    cache->Insert(++key, {CfaBase::StackPointer, SavedRbp::AtCfa, 0x10000, 0});
    EXPECT_FALSE(cache->Find(key, rule));
    cache->Insert(++key, {CfaBase::StackPointer, SavedRbp::AtCfa, 0, -129});
    EXPECT_FALSE(cache->Find(key, rule));
}

TEST(FrameRuleCache, NeverMixesRulesOfRacingThreads)
{
    const auto cache = std::make_unique<FrameRuleCache>();
    std::vector<std::thread> threads;
    for (UInt64 thread = 0; thread < 4; ++thread) {
        threads.emplace_back([&cache, thread] {
            for (UInt64 i = 0; i < 20000; ++i) {
                const UInt64 key = 0x5500'0000'0010 + (i * (thread + 1) % 16 << 12); // all in one set
                FrameRule rule = {};
                if (!cache->Find(key, rule)) {
                    cache->Insert(key, MakeRule(key));
                } else if (rule != MakeRule(key)) {
                    ADD_FAILURE() << "another key's rule";
                }
            }
        });
    }
    for (auto& thread : threads) {
        thread.join();
    }
}
