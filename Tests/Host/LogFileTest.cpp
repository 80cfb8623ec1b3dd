#include <Host/LogFile.hpp>
#include <QVRoot/Logging/Log.hpp>
#include <Tests/Logging/LogReader.hpp>
#include <Tests/Support/ChildProcess.hpp>
#include <Tests/Support/TemporaryFolder.hpp>
#include <Tests/Threading/Worker.hpp>

#include <cstdlib>
#include <random>
#include <thread>

namespace QV {

using namespace Host;
using namespace Test;

namespace {

constinit LogCategory testing("test.host");

constexpr char childFolder[] = "QV_TEST_LOG_FOLDER";
constexpr UInt32 linesPerFlush = 50;

LogFileSettings MakeSettings(const std::filesystem::path& folder)
{
    LogFileSettings settings;
    settings.program = u"tests";
    settings.folder = ToName(folder);
    settings.flushMilliseconds = 0;
    return settings;
}

void LogNumbers(int first, int count)
{
    for (int i = first; i < first + count; ++i) {
        QV_LOG(Info, testing, "line {number} of {what}", i, LogRepeated("many"));
    }
}

/// The numbers in all files, the oldest first. All but the current file must be whole.
std::vector<int> ReadNumbers(const std::filesystem::path& folder, const std::string& name = "tests")
{
    std::vector<int> numbers;
    for (int age = 99; age >= 0; --age) {
        const auto path = folder / (name + (age == 0 ? "" : "." + std::to_string(age)) + ".qvlog");
        if (!std::filesystem::exists(path)) {
            continue;
        }
        const LogRead read = LogReader::Read(ReadWhole(path));
        EXPECT_NE(read.end, LogRead::End::Damaged) << path;
        EXPECT_TRUE(age == 0 || read.end == LogRead::End::Clean) << path;
        for (const LogLineRead& line : read.GetProgramLines()) {
            numbers.push_back(std::stoi(line.values.at(0)));
        }
    }
    return numbers;
}

std::vector<int> CountTo(int count)
{
    std::vector<int> numbers(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i) {
        numbers[static_cast<std::size_t>(i)] = i;
    }
    return numbers;
}

} // namespace

TEST(LogFile, AFileHoldsARun)
{
    const TemporaryFolder folder;
    LogFile log;
    const auto settings = MakeSettings(folder / "made" / "for it");
    ASSERT_EQ(log.Start(settings), NoError);
    LogNumbers(0, 1000);
    log.Stop();
    LogNumbers(1000, 1); // goes nowhere
    EXPECT_EQ(ToName(folder / "made" / "for it" / "tests.qvlog"), log.GetPath());
    EXPECT_EQ(ReadNumbers(folder / "made" / "for it"), CountTo(1000));
    const LogRead read = LogReader::Read(ReadWhole(folder / "made" / "for it" / "tests.qvlog"));
    EXPECT_EQ(read.end, LogRead::End::Clean);
    EXPECT_EQ(read.lines.at(0).site2, "LogTime");
    EXPECT_EQ(read.lines.at(1).site2, "LogStarted");
    EXPECT_EQ(read.lines.at(1).values[0], "tests");
    EXPECT_EQ(read.lines.back().values, (std::vector<std::string>{"1000", "0"}));
    ASSERT_EQ(log.Start(settings), NoError);
    log.Stop();
    EXPECT_TRUE(std::filesystem::exists(folder / "made" / "for it" / "tests.1.qvlog"));
}

TEST(LogFile, FilesAreRotatedBySizeAndOnDemand)
{
    const TemporaryFolder folder;
    auto settings = MakeSettings(folder / "");
    settings.fileBytes = 20000;
    settings.block.bytes = 5000;
    settings.olderFiles = 3;
    LogFile log;
    ASSERT_EQ(log.Start(settings), NoError);
    LogNumbers(0, 5000);
    EXPECT_EQ(log.Flush(), NoError);
    EXPECT_EQ(ReadNumbers(folder / ""), CountTo(5000));
    for (const char* const older : {"tests.1.qvlog", "tests.2.qvlog"}) {
        if (std::filesystem::exists(folder / older)) {
            EXPECT_NEAR(static_cast<double>(std::filesystem::file_size(folder / older)), 20100, 200);
        }
    }
    LogNumbers(5000, 20000);
    EXPECT_FALSE(std::filesystem::exists(folder / "tests.4.qvlog"));
    EXPECT_EQ(log.Rotate(), NoError);
    LogNumbers(25000, 2);
    log.Stop();
    const std::vector<int> numbers = ReadNumbers(folder / "");
    ASSERT_FALSE(numbers.empty());
    EXPECT_LT(numbers.size(), 15000u);
    EXPECT_EQ(numbers.back(), 25001);
    for (std::size_t i = 1; i < numbers.size(); ++i) {
        ASSERT_EQ(numbers[i], numbers[i - 1] + 1);
    }
    EXPECT_EQ(LogReader::Read(ReadWhole(folder / "tests.qvlog")).GetProgramLines().size(), 2u);
    EXPECT_EQ(log.Rotate(), ErrNotOpen);
}

TEST(LogFile, OneProcessWritesUnderAName)
{
    const TemporaryFolder folder;
    LogFile first;
    LogFile second;
    ASSERT_EQ(first.Start(MakeSettings(folder / "")), NoError);
    LogNumbers(0, 10);
    ASSERT_EQ(second.Start(MakeSettings(folder / "")), NoError);
    LogNumbers(0, 20);
    first.Stop(); // no longer writes
    EXPECT_TRUE(logger.IsStarted());
    LogNumbers(20, 1);
    second.Stop();
    EXPECT_EQ(second.GetPath(), ToName(folder / "tests-2.qvlog"));
    EXPECT_EQ(ReadNumbers(folder / ""), CountTo(10));
    EXPECT_EQ(ReadNumbers(folder / "", "tests-2"), CountTo(21));
}

TEST(LogFile, LinesReachTheSystemInTime)
{
    const TemporaryFolder folder;
    auto settings = MakeSettings(folder / "");
    LogFile log;
    ASSERT_EQ(log.Start(settings), NoError);
    LogNumbers(0, 1);
    EXPECT_EQ(ReadNumbers(folder / ""), CountTo(0));
    QV_LOG(Error, testing, "line {number} is an error", 1);
    EXPECT_EQ(ReadNumbers(folder / ""), CountTo(2));
    log.Stop();
    settings.flushMilliseconds = 30;
    ASSERT_EQ(log.Start(settings), NoError);
    LogNumbers(2, 1);
    for (int i = 0; i < 500 && ReadNumbers(folder / "").size() != 3; ++i) {
        Settle(10);
    }
    EXPECT_EQ(ReadNumbers(folder / ""), CountTo(3));
}

TEST(LogFile, ThreadsLogWhileFilesChange)
{
    const TemporaryFolder folder;
    auto settings = MakeSettings(folder / "");
    settings.fileBytes = 4000;
    settings.block.bytes = 1000;
    settings.olderFiles = 99;
    settings.flushMilliseconds = 1;
    LogFile log;
    ASSERT_EQ(log.Start(settings), NoError);
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i) {
        threads.emplace_back([] { LogNumbers(0, 500); });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    log.Stop();
    std::map<int, int> counts;
    for (const int number : ReadNumbers(folder / "")) {
        ++counts[number];
    }
    EXPECT_EQ(counts.size(), 500u);
    for (const auto& [number, count] : counts) {
        EXPECT_EQ(count, 8) << number;
    }
}

TEST(LogFile, WhatCannotBeUsedIsRefused)
{
    const TemporaryFolder folder;
    WriteWhole(folder / "file", "x");
    LogFile log;
    LogFileSettings settings = MakeSettings(folder / "file");
    EXPECT_NE(log.Start(settings), NoError);
    EXPECT_FALSE(log.GetErrorText().IsEmpty());
    settings = MakeSettings(folder / "");
    settings.name = u"a/b";
    EXPECT_EQ(log.Start(settings), ErrParam);
    settings.program = u"";
    EXPECT_EQ(log.Start(settings), ErrParam);
    EXPECT_FALSE(log.IsStarted());
    EXPECT_FALSE(logger.IsStarted());
}

// Logs until the test below kills it.
TEST(LogFileChild, DISABLED_LogsUntilItIsKilled)
{
    const char* const name = std::getenv(childFolder);
    ASSERT_NE(name, nullptr);
    const std::filesystem::path folder = name;
    auto settings = MakeSettings(folder);
    settings.fileBytes = 1 << 20;
    settings.olderFiles = 99;
    settings.block.bytes = 20000;
    LogFile log;
    ASSERT_EQ(log.Start(settings), NoError);
    std::ofstream flushed(folder / "flushed", std::ios::binary);
    for (int i = 0; i < 40'000'000; i += linesPerFlush) {
        LogNumbers(i, linesPerFlush);
        ASSERT_EQ(log.Flush(), NoError);
        flushed.put('x');
        flushed.flush();
    }
}

TEST(LogFile, AKilledProcessLeavesAllThatWasFlushed)
{
    const char* const wanted = std::getenv("QV_LOG_KILLS");
    const int kills = wanted != nullptr ? std::atoi(wanted) : 10;
    std::mt19937 random(7);
    std::size_t mostLines = 0;
    for (int kill = 0; kill < kills; ++kill) {
        const TemporaryFolder folder;
        ChildProcess child("LogFileChild.DISABLED_LogsUntilItIsKilled", childFolder, (folder / "").string());
        ASSERT_TRUE(child.IsStarted());
        const auto flushes = [&folder] {
            std::error_code none;
            const auto size = std::filesystem::file_size(folder / "flushed", none);
            return none ? std::size_t{0} : static_cast<std::size_t>(size);
        };
        for (int i = 0; i < 20000 && flushes() == 0; ++i) {
            Settle(1);
        }
        std::this_thread::sleep_for(std::chrono::microseconds(random() % 8000));
        child.Kill();
        const std::vector<int> numbers = ReadNumbers(folder / "");
        ASSERT_GT(flushes(), 0u);
        EXPECT_GE(numbers.size(), flushes() * linesPerFlush);
        EXPECT_EQ(numbers, CountTo(static_cast<int>(numbers.size())));
        mostLines = std::max(mostLines, numbers.size());
    }
    EXPECT_GT(mostLines, 1000u);
}

} // namespace QV
