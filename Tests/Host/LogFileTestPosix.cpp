#include <Host/LogFile.hpp>
#include <QVRoot/Logging/Log.hpp>
#include <Tests/Logging/LogReader.hpp>
#include <Tests/Support/TemporaryFolder.hpp>

#include <csignal>
#include <sys/resource.h>

namespace QV {

using namespace Test;

namespace {

constinit LogCategory filling("test.filling");

/// A disk that is full behind a file's first bytes.
class FullDisk {
public:
    explicit FullDisk(rlim_t bytes) : handler_(std::signal(SIGXFSZ, SIG_IGN))
    {
        getrlimit(RLIMIT_FSIZE, &former_);
        const rlimit limit = {bytes, former_.rlim_max};
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~FullDisk()
    {
        setrlimit(RLIMIT_FSIZE, &former_);
        std::signal(SIGXFSZ, handler_);
    }
    FullDisk(const FullDisk&) = delete;
    FullDisk& operator=(const FullDisk&) = delete;

private:
    rlimit former_;
    void (*handler_)(int);
};

} // namespace

TEST(LogFile, AFullDiskLeavesAGapThatIsCounted)
{
    const TemporaryFolder folder;
    Host::LogFileSettings settings;
    settings.program = u"tests";
    settings.folder = ToName(folder / "");
    settings.flushMilliseconds = 0;
    Host::LogFile log;
    ASSERT_EQ(log.Start(settings), NoError);
    int number = 0;
    const auto logSome = [&number](int count) {
        while (count-- != 0) {
            QV_LOG(Info, filling, "line {number}", number++);
        }
    };
    {
        const FullDisk disk(100'000);
        logSome(40'000);
        EXPECT_EQ(log.Flush(), ErrOutputFull);
    }
    const LogCounts counts = logger.GetCounts();
    EXPECT_EQ(counts.lines + counts.dropped, 40'000u);
    EXPECT_GT(counts.dropped, 1000u);
    EXPECT_EQ(log.Flush(), NoError);
    logSome(100);
    log.Stop();
    const LogRead read = LogReader::Read(ReadWhole(folder / "tests.qvlog"));
    ASSERT_EQ(read.end, LogRead::End::Clean);
    EXPECT_EQ(read.blocks, 2u);
    const auto lines = read.GetProgramLines();
    ASSERT_EQ(lines.size(), counts.lines + 100);
    for (std::size_t i = 0; i < lines.size(); ++i) {
        const std::size_t expected = i < counts.lines ? i : i + counts.dropped;
        ASSERT_EQ(std::stoul(lines[i].values[0]), expected);
    }
    EXPECT_EQ(read.lines.back().values[1], std::to_string(counts.dropped));
}

} // namespace QV
