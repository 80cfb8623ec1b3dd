// The library's own rule for stepping against that of the system.
#include <QVRoot/String/CharPageImpl.hpp>
#include <QVRoot/String/CharText.hpp>

#include <gtest/gtest.h>

#include <windows.h>

namespace QV {
namespace {

TEST(CharStep, EveryPairOfBytesStepsAsTheSystemDoes)
{
    for (const QVCharCode code : {WesternCharCode, CyrillicCharCode, ThaiCharCode, JapaneseCharCode,
                                  TraditionalChineseCharCode, SimplifiedChineseCharCode, KoreanCharCode}) {
        const WORD page = static_cast<WORD>(CHGetCodePage(code));
        for (UInt32 pair = 0; pair < 0x10000; ++pair) {
            const char text[3] = {static_cast<char>(pair >> 8), static_cast<char>(pair), 0};
            ASSERT_EQ(CHGetNextCharPtr(text, code), CharNextExA(page, text, 0)) << page << ' ' << pair;
        }
    }
}

TEST(CharStep, SteppingBackAgreesWithTheSystem)
{
    UInt32 state = 1;
    for (const QVCharCode code : {ThaiCharCode, JapaneseCharCode, KoreanCharCode}) {
        const WORD page = static_cast<WORD>(CHGetCodePage(code));
        for (int round = 0; round < 5000; ++round) {
            char text[9] = {};
            for (int i = 0; i < 8; ++i) {
                state = state * 1664525 + 1013904223;
                text[i] = static_cast<char>(state >> 24 | 1);
            }
            for (const char* end = text + 8; end != text; --end) {
                ASSERT_EQ(CHGetLastCharPtr(text, end, code), CharPrevExA(page, text, end, 0));
            }
        }
    }
}

} // namespace
} // namespace QV
