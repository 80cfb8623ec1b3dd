#include <Tests/Tools/LogBytes.hpp>
#include <Tools/qvlog/Text.hpp>

#include <gtest/gtest.h>

#include <random>

namespace QVLog {
namespace {

struct Reading {
    std::vector<std::string> lines; ///< seconds, thread and message
    std::vector<std::string> damages;
    std::uint64_t bytes = 0; ///< of all events
    std::uint64_t tail = 0;
};

Reading ReadAll(const std::string& bytes, bool isSeekable = true)
{
    Reading reading;
    LogReader reader(std::make_unique<MemoryFile>(bytes, isSeekable), false);
    Clock clock;
    for (;;) {
        const Event event = reader.Next();
        if (event == Event::End || event == Event::TornTail) {
            reading.tail = reader.GetInput().GetWindow().size();
            return reading;
        }
        EXPECT_EQ(reader.GetOffset(), reading.bytes);
        reading.bytes += reader.GetSize();
        if (event == Event::Damage) {
            reading.damages.push_back(reader.GetReason());
        } else if (event == Event::Line) {
            std::string line = std::to_string(reader.GetMicroseconds() / 1000000 - 1763762400) + ' ' +
                               std::to_string(reader.GetThread()) + ' ';
            AppendMessage(line, reader.GetDescriptor(), reader.GetValues(), clock, 0);
            reading.lines.push_back(line);
        }
    }
}

/// Three blocks of one run, each with what a block can hold.
std::string MakeThreeBlocks(std::vector<std::size_t>* ends = nullptr)
{
    LogBytes log;
    for (std::uint32_t block = 0; block < 3; ++block) {
        log.Block(1, 1763762400 + block);
        for (std::uint32_t i = 0; i < 4; ++i) {
            log.Line(300, "S:C,I32", "{name} {n}");
            log.Value(LogBytes::Text("name" + std::to_string(i % 2)));
            log.bytes += LogBytes::Number(i, 4);
            log.Line(301, "D,Id:C", "{x} {id}");
            log.bytes += LogBytes::Number(0x3FF8000000000000, 8);
            log.Value(std::string(16, static_cast<char>(i)));
            log.Thread(1000 + i);
        }
        if (ends != nullptr) {
            ends->push_back(log.bytes.size());
        }
    }
    return log.bytes;
}

TEST(LogReader, FollowsEveryRingBeyondItsEnd)
{
    std::mt19937 random(1);
    LogBytes log;
    std::vector<std::string> expected;
    for (int block = 0; block < 2; ++block) {
        log.Block();
        for (int i = 0; i < 20000; ++i) {
            const auto thread = 1000 + random() % 260;
            const auto id = static_cast<std::uint16_t>(200 + random() % 250);
            const std::string name = "v" + std::to_string(random() % 300);
            log.Thread(thread);
            log.Line(id, "S:C,I16,S", "line " + std::to_string(id) + " {value} {n} {plain}");
            log.Value(LogBytes::Text(name));
            log.bytes += LogBytes::Number(static_cast<std::uint16_t>(-i), 2) + LogBytes::Text("p");
            expected.push_back("0 " + std::to_string(thread) + " line " + std::to_string(id) + ' ' + name +
                               ' ' + std::to_string(static_cast<std::int16_t>(-i)) + " p");
        }
    }
    const Reading reading = ReadAll(log.bytes);
    EXPECT_TRUE(reading.damages.empty());
    EXPECT_EQ(reading.bytes, log.bytes.size());
    EXPECT_EQ(reading.lines, expected);
    EXPECT_EQ(ReadAll(log.bytes, false).lines, expected);
}

TEST(LogReader, KeepsValuesThatDoNotFitIntoMemory)
{
    LogBytes log;
    log.Block();
    for (int round = 0; round < 2; ++round) {
        for (int i = 0; i < 400; ++i) {
            log.Line(300, "S:C", "{s}");
            log.Value(LogBytes::Text(std::to_string(i) + std::string(60000, 'x')));
        }
    }
    const Reading reading = ReadAll(log.bytes);
    ASSERT_EQ(reading.lines.size(), 800u);
    for (std::size_t i = 0; i < 400; ++i) {
        ASSERT_EQ(reading.lines[i], reading.lines[i + 400]) << i;
    }
}

TEST(LogReader, LosesNothingBeforeAnEndAnywhere)
{
    const std::string whole = MakeThreeBlocks();
    const std::vector<std::string> lines = ReadAll(whole).lines;
    ASSERT_EQ(lines.size(), 24u);
    for (std::size_t end = 0; end < whole.size(); ++end) {
        const Reading reading = ReadAll(whole.substr(0, end));
        ASSERT_TRUE(reading.damages.empty()) << end << ": " << reading.damages[0];
        ASSERT_EQ(reading.bytes + reading.tail, end);
        ASSERT_TRUE(std::equal(reading.lines.begin(), reading.lines.end(), lines.begin())) << end;
    }
}

TEST(LogReader, LosesNoBlockThatIsIntact)
{
    std::vector<std::size_t> ends;
    const std::string whole = MakeThreeBlocks(&ends);
    const std::vector<std::string> lines = ReadAll(whole).lines;
    const auto holds = [&](const Reading& reading, std::size_t block) {
        const auto from = lines.begin() + static_cast<std::ptrdiff_t>(block * 8);
        return std::search(reading.lines.begin(), reading.lines.end(), from, from + 8) != reading.lines.end();
    };
    for (std::size_t at = 0; at < whole.size(); ++at) {
        for (const char byte : {'\x00', '\xFF', '\xF8', '\xFA', '\xFE', static_cast<char>(whole[at] ^ 1)}) {
            std::string bytes = whole;
            bytes[at] = byte;
            const Reading reading = ReadAll(bytes);
            ASSERT_EQ(reading.bytes + reading.tail, bytes.size()) << at;
            for (std::size_t block = 0; block < 3; ++block) {
                const std::size_t begin = block == 0 ? 0 : ends[block - 1];
                // A header whose run is changed is that of another run, and its block is read as well.
                ASSERT_TRUE((at >= begin && at < ends[block]) || holds(reading, block)) << at << ' ' << block;
            }
        }
        std::string bytes = whole;
        bytes.erase(at, 1);
        ASSERT_TRUE(holds(ReadAll(bytes), at < ends[0] ? 1 : 0)) << at;
    }
}

TEST(LogReader, TellsWhatIsWrong)
{
    const auto damageOf = [](auto change) {
        LogBytes log;
        log.Block();
        log.Line(300, "I32", "{n}");
        log.bytes += LogBytes::Number(1, 4);
        change(log);
        const std::size_t bad = log.bytes.size();
        log.bytes.append(40, '\0');
        log.Block();
        log.Line(301, "", "after");
        const Reading reading = ReadAll(log.bytes);
        EXPECT_EQ(reading.bytes, log.bytes.size()) << bad;
        EXPECT_EQ(reading.lines.back(), "0 1000 after");
        return reading.damages.empty() ? std::string() : reading.damages.front();
    };
    EXPECT_EQ(damageOf([](LogBytes& log) { log.bytes += '\xF3'; }), "a byte that begins no record");
    EXPECT_EQ(damageOf([](LogBytes& log) { log.bytes += '\x05'; }), "an empty slot");
    EXPECT_EQ(damageOf([](LogBytes& log) { log.bytes += "\xFE\x01\x02"; }), "an unknown line");
    EXPECT_EQ(damageOf([](LogBytes& log) { log.bytes += "\xFA\x21"; }), "an empty slot");
    EXPECT_EQ(damageOf([](LogBytes& log) { log.bytes += "\xF8WW\x03\x02"; }),
              "a block header of another version");
    EXPECT_EQ(damageOf([](LogBytes& log) { log.Line(302, "I33", ""); }), "an unknown type of parameter");
    EXPECT_EQ(damageOf([](LogBytes& log) {
                  log.Line(302, "S:C", "");
                  log.bytes += '\xFB';
              }),
              "a code that is never written");
    EXPECT_EQ(damageOf([](LogBytes& log) {
                  log.Line(302, "S:C", "");
                  log.bytes += '\xFE' + LogBytes::Number(2, 4);
              }),
              "an unknown value");
    EXPECT_EQ(damageOf([](LogBytes& log) {
                  log.Line(302, "S:C", "");
                  log.Value(LogBytes::Text("text"));
                  log.Line(303, "Id:C", "");
                  log.bytes += '\x00';
              }),
              "a value of the other kind");
    EXPECT_EQ(damageOf([](LogBytes& log) {
                  log.Line(302, "S", "");
                  log.bytes += LogBytes::Number(90, 2);
              }),
              "a record that reaches into the next block");
}

TEST(LogReader, GoesOnWithTheLogOfAnotherRun)
{
    LogBytes log;
    log.Block(1);
    log.bytes += '\xF3';
    LogBytes other;
    other.Block(2);
    other.Line(300, "", "other");
    const Reading reading = ReadAll(log.bytes + other.bytes);
    EXPECT_EQ(reading.lines, std::vector<std::string>{"0 1000 other"});
    EXPECT_EQ(ReadAll(log.bytes + other.bytes, false).lines, reading.lines);
    EXPECT_EQ(ReadAll("garbage before it" + other.bytes).lines, reading.lines);
}

TEST(LogReader, WaitsForTheRestOfALiveLog)
{
    const std::string whole = MakeThreeBlocks();
    const std::vector<std::string> lines = ReadAll(whole).lines;
    class GrowingFile : public MemoryFile {
    public:
        explicit GrowingFile(const std::string& bytes) : MemoryFile(bytes) {}
        std::size_t Read(std::uint64_t offset, unsigned char* to, std::size_t count) override
        {
            const std::uint64_t left = end > offset ? end - offset : 0;
            return MemoryFile::Read(offset, to, std::min<std::size_t>(count, left));
        }
        std::uint64_t end = 0;
    };
    auto file = std::make_unique<GrowingFile>(whole);
    std::uint64_t& end = file->end;
    LogReader reader(std::move(file), true);
    std::size_t count = 0;
    for (; end <= whole.size(); ++end) {
        for (Event event; (event = reader.Next()) != Event::End && event != Event::TornTail;) {
            ASSERT_NE(event, Event::Damage);
            count += event == Event::Line;
        }
    }
    EXPECT_EQ(count, lines.size());
}

std::string Show(const std::string& signature, const std::string& format, const std::string& values)
{
    LogBytes log;
    log.Block();
    log.Line(300, signature, format);
    log.bytes += values;
    const Reading reading = ReadAll(log.bytes);
    return reading.lines.empty() ? "nothing" : reading.lines.front().substr(7);
}

TEST(LogText, ShowsValuesByTheirStyles)
{
    const std::string one = LogBytes::Number(static_cast<std::uint16_t>(-5), 2);
    EXPECT_EQ(Show("I16,I16,I16,I16,I16", "{a} {b:4}|{c:04}|{d:x}|{e:bool}", one + one + one + one + one),
              "-5   -5|-005|fffb|true");
    EXPECT_EQ(Show("UI64", "{a:X}", LogBytes::Number(0xABCDEF, 8)), "ABCDEF");
    const std::string real = LogBytes::Number(0x400921FB54442D18, 8);
    EXPECT_EQ(Show("D,D,D,D", "{a} {b:.2} {c:8.3f} {d:.3e}", real + real + real + real),
              "3.141592653589793 3.14    3.142 3.142e+00");
    EXPECT_EQ(Show("D", "{a:06.1f}", LogBytes::Number(0x7FF0000000000000, 8)), "   inf");
    EXPECT_EQ(Show("S,C", "{{{a:6}|{b}}}", LogBytes::Text("ab") + "c"), "{ab    |c}");
    EXPECT_EQ(
        Show("Id", "{a}",
             "\x33\x22\x11" + std::string("\x00", 1) + "\x55\x44\x77\x66\x88\x99\xAA\xBB\xCC\xDD\xEE\xFF"),
        "00112233-4455-6677-8899-AABBCCDDEEFF");
    EXPECT_EQ(Show("Dt,T", "{a} {b}", LogBytes::Number(1763762400, 4) + LogBytes::Number(1763762400, 4)),
              "2025-11-21 2025-11-21 22:00:00");
    // What is no format is shown as it stands, the values behind it.
    EXPECT_EQ(Show("I16,I16", "{a} only {", one + one), "{a} only { (-5, -5)");
    EXPECT_EQ(Show("I16", "{a} {b}", one), "{a} {b} (-5)");
}

TEST(LogText, LetsNothingThroughThatSteersATerminal)
{
    std::string visible;
    AppendVisible(visible, "a\x1B[31m\n\x7F\xC2\x9B\xE2\x80\xAE \xFF\xC3\xA9\xF0\x9F\x98\x80\xED\xA0\x80");
    EXPECT_EQ(visible, "a\\x1B[31m\\n\\x7F\\u009B\\u202E \\xFF\xC3\xA9\xF0\x9F\x98\x80\\xED\\xA0\\x80");
    for (int a = 0; a < 256; ++a) {
        for (int b = 0; b < 256; ++b) {
            const char bytes[] = {static_cast<char>(a), static_cast<char>(b)};
            std::string text;
            AppendVisible(text, {bytes, 2});
            for (std::size_t i = 0; i < text.size();) {
                char32_t c = 0;
                const std::size_t size = MeasureCodePoint(std::string_view(text).substr(i), c);
                ASSERT_NE(size, 0u);
                ASSERT_TRUE(c >= 0x20 && (c < 0x7F || c >= 0xA0));
                i += size;
            }
        }
    }
}

TEST(LogText, ReadsTimes)
{
    std::int64_t time = 0;
    EXPECT_TRUE(ParseTime("2025-11-21T22:00:00.5Z", 3600, time) && time == 1763762400500000);
    EXPECT_TRUE(ParseTime("2025-11-21 23:00", 3600, time) && time == 1763762400000000);
    EXPECT_TRUE(ParseTime("2025-11-22T00:00:00+02:00", 0, time) && time == 1763762400000000);
    for (const char* const bad :
         {"", "2025-11-31", "2025-11-21T25:00", "21.11.2025", "2025-11-21T10", "now"}) {
        EXPECT_FALSE(ParseTime(bad, 0, time)) << bad;
    }
}

} // namespace
} // namespace QVLog
