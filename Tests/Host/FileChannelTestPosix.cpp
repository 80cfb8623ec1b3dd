#include <Host/IFileChannel.hpp>
#include <Host/OFileChannel.hpp>
#include <Tests/Support/TemporaryFolder.hpp>

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
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

/// Takes from the administrator, to whom nothing is denied, what others may not do.
class NobodyInParticular {
public:
    NobodyInParticular() : saved_(geteuid()) { Become(saved_ == 0 ? 65534 : saved_); }
    ~NobodyInParticular() { Become(saved_); }

private:
    static void Become(uid_t user) { EXPECT_EQ(seteuid(user), 0); }

    uid_t saved_;
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
    const TemporaryFolder folder;
    WriteWhole(folder / "file", "secret");
    chmod((folder / "file").c_str(), 0);
    IFileChannel in;
    OFileChannel out;
    {
        const NobodyInParticular user;
        EXPECT_EQ(in.Open(ToName(folder / "file")), ErrFileAccess);
        EXPECT_EQ(out.Open(ToName(folder / "new")), ErrFileAccess) << "the folder is another's";
    }
    chmod((folder / "").c_str(), 0777);
    {
        const NobodyInParticular user;
        EXPECT_EQ(out.Open(ToName(folder / "file")), ErrFileAccess) << "replacing would be a way round";
        EXPECT_EQ(out.Open(ToName(folder / "new")), NoError);
        out.Discard();
    }
    chmod((folder / "file").c_str(), 0600);
    EXPECT_EQ(ReadWhole(folder / "file"), "secret");
}

TEST(FileChannel, AFullDeviceIsAFullDisk)
{
    class FullDevice : public Impl::File {
    public:
        ~FullDevice() override { close(device_); }
        Impl::SystemError WriteAt(UInt64 offset, const char* src, UInt32 n, UInt32* written) noexcept override
        {
            *written = 0;
            return pwrite(device_, src, n, static_cast<off_t>(offset)) == -1 ? errno : 0;
        }

    private:
        int device_ = open("/dev/full", O_WRONLY | O_CLOEXEC);
    };

    const TemporaryFolder folder;
    FullDevice device;
    OFileChannel out(device);
    ASSERT_EQ(out.Open(ToName(folder / "file")), NoError);
    out << "content";
    EXPECT_EQ(out.Commit(), ErrOutputFull);
    EXPECT_FALSE(out.GetErrorText().IsEmpty());
    EXPECT_EQ(out.GetOutputStatus(), ErrOutputFull);
    out.Discard();
    EXPECT_TRUE(std::filesystem::is_empty(folder / ""));
}

TEST(FileChannel, AProcessThatDiesLeavesTheOldFile)
{
    const TemporaryFolder folder;
    WriteWhole(folder / "file", "old");
    const UniString name = ToName(folder / "file");
    const std::string bytes(100000, 'n');
    for (UInt32 size = 0; size <= bytes.size(); size += 20000) {
        const pid_t child = fork();
        if (child == 0) {
            OFileChannel out;
            out.Open(name);
            out.WriteBin(bytes.data(), size, nullptr);
            out.Flush();
            kill(getpid(), SIGKILL);
        }
        int status = 0;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        EXPECT_TRUE(WIFSIGNALED(status));
        EXPECT_EQ(ReadWhole(folder / "file"), "old");
    }
    OFileChannel out;
    ASSERT_EQ(out.Open(name), NoError);
    out << UInt8{'n'};
    EXPECT_EQ(out.Commit(), NoError);
    EXPECT_EQ(ReadWhole(folder / "file"), "n");
}

} // namespace QV::Host
