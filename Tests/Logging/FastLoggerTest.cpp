#include <QVRoot/BasicEnvironment/QVTime.hpp>
#include <Tests/Logging/LogTestTools.hpp>
#include <Tests/Threading/Worker.hpp>

#include <QVRoot/Threading/Semaphore.hpp>

#include <list>
#include <thread>

namespace QV {

using namespace Test;
using Composer = FastLogger::LogComposer;

namespace {

constexpr LogParameter repeatedString[] = {{LogType::String, 1}};
constexpr LogParameter repeatedId[] = {{LogType::Id, 1}};

EventLogLine MakeLine(UInt16 id)
{
    return {id, 7, nullptr, 0, "line", "File.cpp", nullptr};
}

std::string Hex(std::string_view bytes)
{
    std::string text;
    for (const char c : bytes) {
        char digits[4];
        std::snprintf(digits, sizeof(digits), "%02X ", static_cast<unsigned char>(c));
        text += digits;
    }
    return text;
}

} // namespace

TEST(FastLogger, ABlockBeginsWithItsHeader)
{
    TestLog test;
    const Int32 before = TIGetTime();
    test.log.StartNewBlock();
    const std::string& bytes = test.channel.bytes;
    ASSERT_EQ(bytes.size(), 58u);
    EXPECT_EQ(bytes.substr(0, 5), "\xF8WW\x02\x02");
    EXPECT_NE(bytes.substr(5, 16), std::string(16, '\0'));
    EXPECT_EQ(bytes.substr(5, 16), bytes.substr(34, 16));
    Int32 fields[2];
    std::memcpy(fields, bytes.data() + 50, sizeof(fields));
    EXPECT_LE(before, fields[0]);
    QVTimeRecord local;
    Int32 localTime;
    ASSERT_EQ(TIGetTimeRecord(fields[0], &local, 0), 0);
    ASSERT_EQ(TIGetQVTime(&local, &localTime, TITimeInUTC), 0);
    EXPECT_EQ(fields[1], localTime - fields[0]);
    EXPECT_EQ(test.control.calls, "started block block ");
}

TEST(FastLogger, EveryTypeHasItsNameAndItsBytes)
{
    TestLog test;
    LogParameter parameters[16];
    for (UInt32 i = 0; i < 14; ++i) {
        parameters[i] = {i, 0};
    }
    parameters[13].type = 99;
    parameters[14] = {LogType::Int16, 1};
    parameters[15] = {LogType::String, 1};
    EventLogLine line = {0x1234, 0xABCD, parameters, 16, "f", nullptr, "site"};
    Composer composer(line);
    composer.Add(Int16{-2});
    composer.Add(UInt16{0x0102});
    composer.Add(-3);
    composer.Add(UInt32{0x01020304});
    composer.Add(Int64{-4});
    composer.Add(UInt64{0x0102030405060708});
    composer.Add(1.5f);
    composer.Add(-2.75);
    composer.Add('x');
    composer.AddString("ab", 2);
    composer.AddId(Guid(0x00112233, 0x4455, 0x6677, {0x88, 0x99, 0xAA, 0xBB, 0xCC, 0xDD, 0xEE, 0xFF}));
    composer.AddDate(1);
    composer.AddTime(2);
    composer.Add(Int16{5});
    composer.AddString("", 0);
    test.log.Append(line, &composer);
    const std::string& bytes = test.channel.bytes;
    const std::size_t start = bytes.find("\xFF\x34\x12");
    ASSERT_EQ(start, 29u + 5 + 10);
    const std::string signature = "I16,UI16,I32,UI32,I64,UI64,F,D,C,S,Id,Dt,T,,I16:C,S:C";
    EXPECT_EQ(bytes.substr(start, 7), std::string("\xFF\x34\x12\x01\x00\x35\x00", 7));
    EXPECT_EQ(bytes.substr(start + 7, 53), signature);
    EXPECT_EQ(Hex(bytes.substr(start + 60)),
              "01 00 66 CD AB 00 00 04 00 73 69 74 65 " // texts and number
              "FE FF 02 01 FD FF FF FF 04 03 02 01 FC FF FF FF FF FF FF FF 08 07 06 05 04 03 02 01 "
              "00 00 C0 3F 00 00 00 00 00 00 06 C0 78 02 00 61 62 "
              "33 22 11 00 55 44 77 66 88 99 AA BB CC DD EE FF 01 00 00 00 02 00 00 00 05 00 FF 00 00 ");
}

TEST(FastLogger, The241stLineTakesTheFirstSlot)
{
    TestLog test;
    std::list<EventLogLine> lines;
    for (UInt16 id = 0; id < 241; ++id) {
        test.log.Append(lines.emplace_back(MakeLine(static_cast<UInt16>(id * 271))));
    }
    const auto sizeOf = [&test](EventLogLine& line) {
        test.log.Append(line);
        return test.channel.Read().lines.back().size;
    };
    EXPECT_EQ(sizeOf(*std::next(lines.begin(), 1)), 1u);
    EXPECT_EQ(sizeOf(lines.front()), 3u); // was pushed out, and pushes out the second
    EXPECT_EQ(sizeOf(*std::next(lines.begin(), 1)), 3u);
    EXPECT_EQ(sizeOf(lines.front()), 1u);
    EXPECT_EQ(sizeOf(lines.back()), 1u);
    test.log.StartNewBlock();
    EXPECT_GT(sizeOf(lines.back()), 20u);
    EXPECT_EQ(test.channel.Read().end, LogRead::End::Clean);
}

TEST(FastLogger, The251stThreadTakesTheFirstSlot)
{
    TestLog test;
    EventLogLine line = MakeLine(1);
    test.log.Append(line);
    std::vector<std::thread> others; // all alive, so that their ids differ
    Semaphore end(0, 250);
    for (int i = 0; i < 250; ++i) {
        Semaphore logged(0, 1);
        others.emplace_back([&] {
            test.log.Append(line);
            logged.Release();
            end.Acquire();
        });
        logged.Acquire();
    }
    test.log.Append(line);
    // The last of the others has taken its slot, so it takes the next one.
    EXPECT_EQ(test.channel.bytes.substr(test.channel.bytes.size() - 11, 2), "\xFA\xFE");
    test.log.Append(line);
    for (int i = 0; i < 250; ++i) {
        end.Release();
    }
    for (std::thread& other : others) {
        other.join();
    }
    const LogRead read = test.channel.Read();
    ASSERT_EQ(read.end, LogRead::End::Clean);
    ASSERT_EQ(read.lines.size(), 253u);
    std::map<UInt64, int> counts;
    for (const LogLineRead& one : read.lines) {
        ++counts[one.thread];
    }
    EXPECT_EQ(counts.size(), 251u);
    EXPECT_EQ(counts[read.lines[0].thread], 3);
    std::thread([&] { test.log.Append(line); }).join();
    test.log.Append(line);
    EXPECT_EQ(test.channel.bytes.substr(test.channel.bytes.size() - 3), std::string("\xFA\1\0", 3));
    EXPECT_NEAR(test.channel.Read().lines.back().time, TIGetTime(), 5);
}

TEST(FastLogger, RepeatedStringsAndIdentifiersShareTheirNumbersAndSlots)
{
    TestLog test;
    EventLogLine string = {1, 0, repeatedString, 1, "{}", nullptr, nullptr};
    EventLogLine identifier = {2, 0, repeatedId, 1, "{}", nullptr, nullptr};
    const auto add = [&](int i) {
        if (i % 2 == 0) {
            test.AddString(string, std::to_string(i));
        } else {
            Composer composer(identifier);
            composer.AddId(Guid(static_cast<UInt32>(i), 0, 0, {}));
            test.log.Append(composer);
        }
    };
    const auto sizeOf = [&](int i) {
        add(i);
        return test.channel.Read().lines.back().size;
    };
    for (int i = 0; i < 251; ++i) {
        add(i);
    }
    EXPECT_EQ(sizeOf(1), 2u);
    EXPECT_EQ(sizeOf(0), 6u); // pushed out by the 251st, comes back with its number 2
    EXPECT_EQ(test.channel.bytes.substr(test.channel.bytes.size() - 5),
              std::string("\xFE\x02\x00\x00\x00", 5));
    EXPECT_EQ(sizeOf(1), 6u);
    EXPECT_EQ(sizeOf(0), 2u);
    for (int i = 251; i < 700; ++i) {
        add(i);
        add(i - 100);
        add(i / 2);
    }
    const LogRead read = test.channel.Read();
    ASSERT_EQ(read.end, LogRead::End::Clean);
    EXPECT_EQ(read.lines.back().values[0].size(), 16u);
    EXPECT_EQ(read.lines[read.lines.size() - 2].values[0].size(), 16u);
    EXPECT_EQ(read.lines[read.lines.size() - 5].values[0], "598");
    // The hash takes strings of zeros for the empty one.
    test.AddString(string, std::string_view("\0\0", 2));
    test.AddString(string, "");
    EXPECT_EQ(test.channel.Read().lines.back().values[0], std::string(2, '\0'));
    EXPECT_EQ(test.channel.Read().lines.back().size, 2u);
}

TEST(FastLogger, AStringsHashIsTakenAsItIsGivenUnlessItIsZero)
{
    TestLog test;
    EventLogLine line = {1, 0, repeatedString, 1, "{}", nullptr, nullptr};
    const std::string text = "a longer text with \xC3\xA4 in it";
    test.AddString(line, text);
    UInt64 hash = 0;
    for (const char c : text) {
        hash = hash * 65599 + static_cast<UInt64>(static_cast<signed char>(c));
    }
    Composer other(line);
    other.AddString("x", 1);
    std::memcpy(other.GetBuffer() + 10, &hash, sizeof(hash));
    test.log.Append(other);
    Composer repeated(line);
    repeated.AddRepeatedString(text.data(), static_cast<UInt32>(text.size()));
    test.log.Append(repeated);
    const LogRead read = test.channel.Read();
    EXPECT_EQ(read.lines[1].values[0], text);
    EXPECT_EQ(read.lines[2].values[0], text);
    EXPECT_EQ(read.lines[2].size, 2u);
}

TEST(FastLogger, LongStringsAreCutAndManyValuesFindRoom)
{
    TestLog test;
    constexpr LogParameter strings[] = {{LogType::String, 0}, {LogType::String, 0}};
    EventLogLine line = {1, 0, strings, 2, "{} {}", nullptr, nullptr};
    const std::string text(70000, 'x');
    const std::u16string wide = std::u16string(40000, u'\u20AC') + u'\xD800';
    Composer composer(line);
    composer.AddString(text.data(), 70000);
    composer.AddString(reinterpret_cast<const unsigned short*>(wide.data()), 40001);
    test.log.Append(composer);
    const LogRead read = test.channel.Read();
    ASSERT_EQ(read.lines.size(), 1u);
    EXPECT_EQ(read.lines[0].values[0], text.substr(0, 65535));
    EXPECT_EQ(read.lines[0].values[1].size(), 65535u);
    EXPECT_EQ(read.lines[0].values[1].substr(65529), "\xE2\x82\xAC\xE2\x82\xAC");
}

TEST(FastLogger, WhatComesFromWithinIsDropped)
{
    TestLog test;
    EventLogLine line = MakeLine(1);
    test.channel.onWrite = [&] {
        test.log.Append(line);
        test.log.StartNewBlock();
        test.log.Stop();
        EXPECT_EQ(test.log.Flush(), ErrGeneral);
    };
    test.control.isDue = [&] {
        test.log.Append(line);
        return false;
    };
    test.log.Append(line);
    EXPECT_EQ(test.channel.Read().lines.size(), 1u);
    EXPECT_EQ(test.log.GetCounts().lines, 1u);
    EXPECT_EQ(test.log.GetCounts().dropped, 2u);
    EXPECT_TRUE(test.log.IsStarted());
}

TEST(FastLogger, AfterAFailureANewBlockBegins)
{
    TestLog test;
    EventLogLine line = MakeLine(1);
    EventLogLine other = {2, 0, repeatedString, 1, "{}", nullptr, nullptr};
    test.log.Append(line);
    test.channel.failure = ErrOutputFull;
    test.AddString(other, "lost");
    test.log.Append(line);
    EXPECT_EQ(test.log.Flush(), ErrOutputFull);
    test.channel.failure = NoError;
    test.AddString(other, "lost");
    char shortBuffer[sizeof(void*)];
    const EventLogLine* pointer = &other;
    std::memcpy(shortBuffer, &pointer, sizeof(pointer));
    test.log.LogComposed(shortBuffer, sizeof(shortBuffer)); // the parameter is missing
    test.log.Append(line);
    const LogRead read = test.channel.Read();
    ASSERT_EQ(read.end, LogRead::End::Clean);
    EXPECT_EQ(read.blocks, 3u);
    ASSERT_EQ(read.lines.size(), 3u);
    EXPECT_EQ(read.lines[1].values[0], "lost");
    EXPECT_EQ(test.log.GetCounts().lines, 3u);
    EXPECT_EQ(test.log.GetCounts().dropped, 3u);
}

TEST(FastLogger, AnInterruptedThreadLogsAndStaysInterrupted)
{
    TestLog test;
    EventLogLine line = MakeLine(1);
    Semaphore inside(0, 1);
    Semaphore goOn(0, 1);
    bool isFirst = true;
    test.channel.onWrite = [&] {
        if (isFirst) {
            isFirst = false;
            inside.Release();
            goOn.Acquire();
        }
    };
    std::thread holder([&] { test.log.Append(line); });
    inside.Acquire();
    bool wasInterrupted = false;
    {
        Worker waiter([&] {
            test.log.Append(line);
            wasInterrupted = Thread::Interrupted();
        });
        Settle();
        waiter.Interrupt();
        Settle();
        EXPECT_FALSE(waiter.IsDone());
        goOn.Release();
        EXPECT_EQ(waiter.GetOutcome(), "");
    }
    holder.join();
    EXPECT_TRUE(wasInterrupted);
    EXPECT_EQ(test.channel.Read().lines.size(), 2u);
}

TEST(FastLogger, ManyThreadsLoseNothingWhileBlocksChange)
{
    constexpr int threads = 32;
    constexpr int linesPerThread = 400;
    TestLog test;
    test.control.isDue = [&] { return test.log.GetBlockSize() > 3000; };
    constexpr LogParameter parameters[] = {{LogType::Int32, 0}, {LogType::Int32, 0}, {LogType::String, 1}};
    EventLogLine line = {1, 0, parameters, 3, "{} {} {}", nullptr, nullptr};
    std::vector<std::thread> workers;
    for (int thread = 0; thread < threads; ++thread) {
        workers.emplace_back([&, thread] {
            for (int i = 0; i < linesPerThread; ++i) {
                Composer composer(line);
                composer.Add(thread);
                composer.Add(i);
                const std::string text = std::to_string(i % 7);
                composer.AddString(text.data(), 1);
                test.log.Append(composer);
                if (i % 50 == thread) {
                    test.log.StartNewBlock();
                    test.log.Flush();
                }
            }
        });
    }
    for (std::thread& worker : workers) {
        worker.join();
    }
    const LogRead read = test.channel.Read();
    ASSERT_EQ(read.end, LogRead::End::Clean);
    EXPECT_GT(read.blocks, 50u);
    int next[threads] = {};
    std::map<UInt64, std::string> owners;
    for (const LogLineRead& one : read.lines) {
        const int thread = std::stoi(one.values[0]);
        ASSERT_EQ(std::stoi(one.values[1]), next[thread]++);
        ASSERT_EQ(one.values[2], std::to_string(std::stoi(one.values[1]) % 7));
        ASSERT_EQ(owners.try_emplace(one.thread, one.values[0]).first->second, one.values[0]);
    }
    EXPECT_EQ(read.lines.size(), std::size_t{threads} * linesPerThread);
    EXPECT_EQ(test.log.GetCounts().lines, UInt64{threads} * linesPerThread);
    EXPECT_EQ(test.log.GetCounts().dropped, 0u);
}

TEST(FastLogger, TheClockAndThreadNamesAreSentWhenAskedFor)
{
    TestLog test;
    test.log.SetClock(LogClock::Precise);
    test.log.SetThreadNames(true);
    EventLogLine line = MakeLine(1);
    Worker([&] {
        for (int i = 0; i < 3; ++i) {
            test.log.Append(line);
            Settle(15);
        }
    });
    const LogRead read = test.channel.Read();
    const auto lines = read.GetProgramLines();
    ASSERT_EQ(lines.size(), 3u);
    EXPECT_EQ(read.threadNames.at(lines[0].thread), "worker");
    const auto toMicros = [](const LogLineRead& one) {
        return Int64{one.time} * 1'000'000 + one.microseconds;
    };
    EXPECT_GE(toMicros(lines[2]) - toMicros(lines[0]), 25'000);
    EXPECT_LT(toMicros(lines[2]) - toMicros(lines[0]), 20'000'000);
    EXPECT_EQ(test.log.GetCounts().lines, 3u);
}

TEST(FastLogger, StartsAgainAndSaysWhatBecameOfTheLines)
{
    TestLog test;
    EventLogLine line = MakeLine(1);
    test.log.SetFlushLevel(LogLevel::Error);
    test.log.AppendStarted("tests");
    test.log.Append(line);
    EXPECT_EQ(test.channel.flushes, 0);
    line.level = LogLevel::Fatal;
    test.log.Append(line);
    EXPECT_EQ(test.channel.flushes, 1);
    test.log.AppendStopped();
    test.log.Stop();
    test.log.Append(line);
    EXPECT_EQ(test.log.Flush(), NoError);
    const LogRead read = test.channel.Read();
    ASSERT_EQ(read.lines.size(), 4u);
    EXPECT_EQ(read.lines[0].values[0], "tests");
    EXPECT_EQ(read.lines[3].site2, "LogStopped");
    EXPECT_EQ(read.lines[3].values, (std::vector<std::string>{"2", "0"}));
    LogChannel second;
    test.log.Start(test.control, second);
    test.log.Append(line);
    test.log.Stop();
    EXPECT_EQ(second.Read().lines.size(), 1u);
    EXPECT_EQ(test.control.calls, "started block stopped started block stopped ");
}

} // namespace QV
