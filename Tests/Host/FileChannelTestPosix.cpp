#include <Host/IFileChannel.hpp>
#include <Host/OFileChannel.hpp>
#include <Tests/Support/TemporaryFolder.hpp>

#include <csignal>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace QV::Host {

namespace {

using namespace Test;

/// Lets no file grow beyond a size, as a full disk would not.
class SizeLimit {
public:
    explicit SizeLimit(rlim_t size)
    {
        handler_ = std::signal(SIGXFSZ, SIG_IGN);
        getrlimit(RLIMIT_FSIZE, &saved_);
        const rlimit small{size, saved_.rlim_max};
        setrlimit(RLIMIT_FSIZE, &small);
    }
    ~SizeLimit()
    {
        setrlimit(RLIMIT_FSIZE, &saved_);
        std::signal(SIGXFSZ, handler_);
    }

private:
    rlimit saved_;
    void (*handler_)(int);
};

} // namespace

TEST(FileChannel, AFullDiskIsReportedAndWritingGoesOnWhenThereIsRoom)
{
    const TemporaryFolder folder;
    WriteWhole(folder / "file", "old");
    const std::string bytes(300000, 'q');
    OFileChannel out;
    ASSERT_EQ(out.Open(ToName(folder / "file")), NoError);
    UInt32 written = 0;
    {
        const SizeLimit limit(100000);
        EXPECT_EQ(out.WriteBin(bytes.data(), 10, &written), NoError);
        EXPECT_EQ(out.WriteBin(bytes.data(), 299990, &written), ErrOutputFull);
        EXPECT_LT(written, 299990u);
        EXPECT_EQ(out.Commit(), ErrOutputFull);
        EXPECT_FALSE(out.GetErrorText().IsEmpty());
    }
    EXPECT_EQ(ReadWhole(folder / "file"), "old");
    out.ResetOutputStatus();
    EXPECT_EQ(out.WriteBin(bytes.data(), 299990 - written, &written), NoError);
    ASSERT_EQ(out.Commit(), NoError);
    EXPECT_TRUE(ReadWhole(folder / "file") == bytes);
}

TEST(FileChannel, KeepsLinksPermissionsAndDevices)
{
    const TemporaryFolder folder;
    WriteWhole(folder / "file", "old");
    chmod((folder / "file").c_str(), 0640);
    std::filesystem::create_symlink("file", folder / "link");
    OFileChannel out;
    ASSERT_EQ(out.Open(ToName(folder / "link")), NoError);
    out << UInt8{'n'};
    ASSERT_EQ(out.Commit(), NoError);
    EXPECT_TRUE(std::filesystem::is_symlink(folder / "link"));
    EXPECT_EQ(ReadWhole(folder / "file"), "n");
    struct stat about;
    ASSERT_EQ(stat((folder / "file").c_str(), &about), 0);
    EXPECT_EQ(about.st_mode & 0777, 0640u);
    EXPECT_EQ(out.Open(UniString(u"/dev/null")), ErrFileOpen);
}

TEST(FileChannel, ReadsFromAPipe)
{
    const TemporaryFolder folder;
    const auto path = folder / "pipe";
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    const int both = open(path.c_str(), O_RDWR | O_CLOEXEC); // so that opening to read does not wait
    IFileChannel in;
    ASSERT_EQ(in.Open(ToName(path)), NoError);
    ASSERT_EQ(write(both, "abcdef", 6), 6);
    close(both);
    UInt64 count = 0;
    EXPECT_EQ(in.GetAvailable(&count), ErrGeneral);
    EXPECT_EQ(in.Skip(4, &count), NoError);
    char c = 0;
    EXPECT_EQ(in.Read(c), NoError);
    EXPECT_EQ(c, 'e');
    EXPECT_EQ(in.Skip(5, &count), ErrEndOfInput);
    EXPECT_EQ(count, 1u);
}

TEST(FileChannel, AccessIsDenied)
{
    if (geteuid() == 0) {
        GTEST_SKIP() << "nothing is denied to the administrator";
    }
    const TemporaryFolder folder;
    WriteWhole(folder / "file", "secret");
    chmod((folder / "file").c_str(), 0);
    IFileChannel in;
    EXPECT_EQ(in.Open(ToName(folder / "file")), ErrFileAccess);
}

} // namespace QV::Host
