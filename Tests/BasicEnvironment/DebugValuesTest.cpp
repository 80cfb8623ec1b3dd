#include <QVRoot/BasicEnvironment/DebugValues.hpp>
#include <QVRoot/BasicEnvironment/ErrorReporting.hpp>

#include <gtest/gtest.h>

#include <string>

using namespace QV;

namespace {

std::string output;

TEST(DebugValues, ComeFromTheFileOrAreTheDefault)
{
    EXPECT_TRUE(DBGetBool("QVRoot\\MemoryManager", "injectFaults", false));
    EXPECT_TRUE(DBGetBool("qvroot\\memorymanager", "INJECTFAULTS", false));
    EXPECT_FALSE(DBGetBool("QVRoot", "injectFaults", false));
    EXPECT_EQ(DBGetLong("Values of the tests", "negative", 0), -12);
    EXPECT_EQ(DBGetLong("Values of the tests", "hexadecimal", 0), 0x1F);
    EXPECT_EQ(DBGetLong("Values of the tests", "word", 5), 5);
    EXPECT_EQ(DBGetLong("Values of the tests", "tooLarge", 5), 5);
    EXPECT_EQ(DBGetLong("Values of the tests", "absent", 5), 5);
    EXPECT_TRUE(DBGetBool("Values of the tests", "word", true));
    EXPECT_FALSE(DBGetBool("Values of the tests", "switchedOff", true));
    EXPECT_TRUE(DBGetBool("Values of the tests", "negative", false));
}

TEST(DebugValues, TextsFitTheirBufferOrAreTheDefault)
{
    char text[6];
    EXPECT_EQ(DBGetText("Values of the tests", "word", text, 6, "default"), 4u);
    EXPECT_STREQ(text, "word");
    EXPECT_EQ(DBGetText("Values of the tests", "word", text, 4, "default"), 3u);
    EXPECT_STREQ(text, "def");
    EXPECT_EQ(DBGetText("Values of the tests", "absent", text, 6, ""), 0u);
    EXPECT_STREQ(text, "");
    EXPECT_EQ(DBGetText("Values of the tests", "word", nullptr, 0, "default"), 0u);
}

TEST(DebugOutput, GoesToTheSinkAndIsCut)
{
    output.clear();
    const DebugOutputSink old = DBSetOutputSink([](const char* text) { output += text; });
    DBPrintf("%s %d\n", "number", 7);
    EXPECT_EQ(output, "number 7\n");
    output.clear();
    DBPrintf("%s", std::string(5000, 'x').c_str());
    EXPECT_EQ(output.size(), 2047u);
    DBSetOutputSink(old);
}

TEST(ErrorLog, FillsInItsParameters)
{
    output.clear();
    const ErrorLog::Sink old = ErrorLog::SetSink([](const char* line, const char* a, const char* b) {
        output += std::string(a) + b + ":" + line;
        ErrorLog::WriteLine("from inside", "x", "y");
    });
    ErrorLog::WriteLine("a % b % c % d %", "QV", "Log", "text", -5, 18446744073709551615ull);
    ErrorLog::SetSink(old);
    EXPECT_EQ(output, "QVLog:a text b -5 c 18446744073709551615 d %");
}

} // namespace
