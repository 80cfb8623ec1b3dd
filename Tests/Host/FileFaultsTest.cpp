// File channels over a file that fails after each of its bytes, at every call, and moves only a few at a
// time.
#include <Host/IFileChannel.hpp>
#include <Host/OFileChannel.hpp>
#include <Tests/Support/TemporaryFolder.hpp>

#include <algorithm>

namespace QV::Host {

namespace {

using namespace Test;

Impl::SystemError FindError(bool (*means)(Impl::SystemError) noexcept)
{
    Impl::SystemError error = 1;
    while (!means(error)) {
        ++error;
    }
    return error;
}

const Impl::SystemError diskFull = FindError(Impl::MeansDiskFull);
const Impl::SystemError otherFault = FindError(Impl::MeansNotFound);

class FaultyFile : public Impl::File {
public:
    static constexpr UInt64 noLimit = ~UInt64{0};

    UInt64 limit = noLimit; ///< bytes that may still be moved
    UInt32 most = 0xFFFFFFFF;
    Impl::SystemError error = diskFull;
    Impl::SystemError errorOfSynchronize = 0;
    Impl::SystemError errorOfClose = 0;

    Impl::SystemError Read(char* dest, UInt32 n, UInt32* got) noexcept override
    {
        *got = 0;
        n = static_cast<UInt32>(std::min<UInt64>({n, most, limit}));
        const Impl::SystemError result = n == 0 ? error : File::Read(dest, n, got);
        limit -= *got;
        return result;
    }
    Impl::SystemError WriteAt(UInt64 offset, const char* src, UInt32 n, UInt32* written) noexcept override
    {
        const UInt32 allowed = static_cast<UInt32>(std::min<UInt64>(n, limit));
        const Impl::SystemError result = File::WriteAt(offset, src, allowed, written);
        limit -= limit == noLimit ? 0 : *written;
        return allowed < n ? error : result;
    }
    Impl::SystemError Synchronize() noexcept override
    {
        return errorOfSynchronize != 0 ? errorOfSynchronize : File::Synchronize();
    }
    Impl::SystemError Close() noexcept override
    {
        const Impl::SystemError result = File::Close();
        return errorOfClose != 0 ? errorOfClose : result;
    }
};

std::string MakeBytes(std::size_t count)
{
    std::string bytes(count, '\0');
    for (std::size_t i = 0; i < count; ++i) {
        bytes[i] = static_cast<char>(i * 7 + i / 251);
    }
    return bytes;
}

/// Writes in pieces and blocks, and goes on behind each fault once it has been repaired.
class Writer {
public:
    Writer(OFileChannel& out, FaultyFile& file, QVErrCode code) : out_(out), file_(file), code_(code) {}

    void Write(const std::string& bytes)
    {
        for (std::size_t done = 0;;) {
            UInt32 written = 0;
            const UInt32 left = static_cast<UInt32>(bytes.size() - done);
            const QVErrCode error = out_.WriteBin(bytes.data() + done, left, &written);
            ASSERT_LE(written, left);
            done += written;
            if (!HasFailed(error)) {
                ASSERT_EQ(done, bytes.size());
                return;
            }
        }
    }
    void WriteBlock(const std::string& bytes)
    {
        out_.PushMark();
        Write(std::string(4, '\0'));
        out_.PushMark();
        Write(bytes);
        out_.PopMark();
        const UInt32 length = out_.GetOffset();
        out_.PopMark();
        Write(std::string(reinterpret_cast<const char*>(&length), 4));
        out_.ResetOffset();
    }
    void Flush()
    {
        while (HasFailed(out_.Flush())) {
        }
    }
    void Commit()
    {
        while (HasFailed(out_.Commit())) {
        }
    }
    int CountFaults() const { return faults_; }

private:
    bool HasFailed(QVErrCode error)
    {
        if (error == NoError) {
            return false;
        }
        ++faults_;
        EXPECT_EQ(error, code_);
        EXPECT_EQ(out_.GetOutputStatus(), code_);
        EXPECT_EQ(out_.WriteBin("x", 1, nullptr), code_) << "kept";
        EXPECT_FALSE(out_.GetErrorText().IsEmpty());
        file_.limit = FaultyFile::noLimit;
        out_.ResetOutputStatus();
        return true;
    }

    OFileChannel& out_;
    FaultyFile& file_;
    QVErrCode code_;
    int faults_ = 0;
};

std::string AsBlock(const std::string& bytes)
{
    const UInt32 length = static_cast<UInt32>(bytes.size());
    return std::string(reinterpret_cast<const char*>(&length), 4) + bytes;
}

/// One way through a file with small and large pieces. Answers how many faults there were.
int WriteWithFault(const std::filesystem::path& path, UInt64 limit, bool isFull, std::size_t size)
{
    WriteWhole(path, "old");
    FaultyFile file;
    file.limit = limit;
    file.error = isFull ? diskFull : otherFault;
    OFileChannel out(file);
    EXPECT_EQ(out.Open(ToName(path)), NoError);
    Writer writer(out, file, isFull ? ErrOutputFull : ErrWrite);
    const std::string bytes = MakeBytes(size);
    writer.Write(bytes);
    writer.Flush();
    writer.WriteBlock(bytes);
    writer.Flush();
    writer.WriteBlock(bytes.substr(0, 5));
    EXPECT_EQ(ReadWhole(path), "old");
    writer.Commit();
    EXPECT_TRUE(ReadWhole(path) == bytes + AsBlock(bytes) + AsBlock(bytes.substr(0, 5)));
    return writer.CountFaults();
}

} // namespace

TEST(FileFaults, EveryByteThatCannotBeWrittenIsReportedAndWritingGoesOn)
{
    const TemporaryFolder folder;
    constexpr std::size_t size = 40;
    for (UInt64 limit = 0; limit < 2 * size + 13; ++limit) {
        SCOPED_TRACE(limit);
        EXPECT_EQ(WriteWithFault(folder / "file", limit, limit % 2 == 0, size), 1);
    }
    constexpr std::size_t large = 70000; // past the buffer
    for (const UInt64 edge : {UInt64{65536}, UInt64{large}, UInt64{large + 65536}, UInt64{2 * large + 4}}) {
        for (UInt64 limit = edge - 5; limit <= edge + 5; ++limit) {
            SCOPED_TRACE(limit);
            EXPECT_EQ(WriteWithFault(folder / "file", limit, true, large), 1);
        }
    }
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder / ""), {}), 1)
        << "temporary files stay";
}

TEST(FileFaults, WhatTheDiskDoesNotTakeIsDiscarded)
{
    const TemporaryFolder folder;
    WriteWhole(folder / "file", "old");
    FaultyFile file;
    OFileChannel out(file);
    const auto commit = [&] {
        EXPECT_EQ(out.Open(ToName(folder / "file")), NoError);
        out << "new content";
        const QVErrCode error = out.Commit();
        EXPECT_FALSE(out.GetErrorText().IsEmpty());
        EXPECT_FALSE(out.IsOpen());
        EXPECT_EQ(out.Commit(), ErrNotOpen) << "a second try must not succeed";
        EXPECT_EQ(ReadWhole(folder / "file"), "old");
        EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder / ""), {}), 1);
        return error;
    };
    file.errorOfSynchronize = diskFull;
    EXPECT_EQ(commit(), ErrOutputFull);
    file.errorOfSynchronize = otherFault;
    EXPECT_EQ(commit(), ErrWrite);
    file.errorOfSynchronize = 0;
    file.errorOfClose = diskFull;
    EXPECT_EQ(commit(), ErrOutputFull);
}

TEST(FileFaults, WriteProtectionHolds)
{
    const TemporaryFolder folder;
    WriteWhole(folder / "file", "old");
    std::filesystem::permissions(folder / "file", std::filesystem::perms::owner_read);
    OFileChannel out;
    const QVErrCode error = out.Open(ToName(folder / "file"));
    out.Discard();
    EXPECT_TRUE(error == ErrFileAccess || std::ofstream(folder / "file", std::ios::app))
        << "not for administrators";
    std::filesystem::permissions(folder / "file", std::filesystem::perms::owner_all);
}

TEST(FileFaults, ReadingDeliversWhatCameBeforeTheFaultAndGoesOnBehindIt)
{
    const TemporaryFolder folder;
    const std::string bytes = MakeBytes(150);
    WriteWhole(folder / "file", bytes);
    for (const UInt32 most : {1u, 7u, 1000u}) {
        for (UInt64 limit = 0; limit < bytes.size(); ++limit) {
            SCOPED_TRACE(testing::Message() << limit << ", " << most << " at a time");
            FaultyFile file;
            file.limit = limit;
            file.most = most;
            file.error = otherFault;
            IFileChannel in(file);
            ASSERT_EQ(in.Open(ToName(folder / "file")), NoError);
            std::string read(bytes.size(), '\0');
            UInt32 got = 0;
            UInt64 position = 0;
            EXPECT_EQ(in.ReadBin(read.data(), 150, &got), ErrRead);
            EXPECT_EQ(got, limit);
            EXPECT_EQ(in.GetInputPosition(&position), NoError);
            EXPECT_EQ(position, limit);
            EXPECT_EQ(in.ReadBin(read.data(), 1, nullptr), ErrRead) << "kept";
            EXPECT_FALSE(in.GetErrorText().IsEmpty());
            file.limit = FaultyFile::noLimit;
            in.ResetInputStatus();
            EXPECT_EQ(in.ReadBin(read.data() + got, 150 - got, &got), NoError);
            EXPECT_TRUE(read == bytes);
        }
    }
}

} // namespace QV::Host
