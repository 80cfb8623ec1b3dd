#include <Host/IFileChannel.hpp>
#include <Host/MarkingMemOChannel.hpp>
#include <Host/OFileChannel.hpp>
#include <Host/PositionedMemIChannel.hpp>
#include <Tests/Support/TemporaryFolder.hpp>

namespace QV::Host {

namespace {

using Test::ReadWhole;
using Test::TemporaryFolder;
using Test::ToName;
using Test::WriteWhole;

std::string MakeBytes(std::size_t count, unsigned seed = 1)
{
    std::mt19937 random(seed);
    std::string bytes(count, '\0');
    for (char& c : bytes) {
        c = static_cast<char>(random());
    }
    return bytes;
}

/// Runs operations at random and compares each answer with what the rest of a plain text would give.
void CompareWithModel(IChannel& in, std::string rest, unsigned seed)
{
    std::mt19937 random(seed);
    const auto pick = [&](UInt32 below) { return static_cast<UInt32>(random() % below); };
    constexpr UInt32 sizes[] = {4, 300, 70000, 200000};
    std::string consumed;
    std::vector<char> buffer(200000);
    for (int step = 0; step < 3000 && in.GetInputStatus() == NoError; ++step) {
        const UInt32 n = pick(sizes[random() % std::size(sizes)]);
        const UInt32 m = std::min<UInt32>(n, static_cast<UInt32>(rest.size()));
        const QVErrCode expected = m < n ? ErrEndOfInput : NoError;
        const auto consume = [&](std::size_t count) {
            consumed += rest.substr(0, count);
            rest.erase(0, count);
        };
        UInt32 got = 77;
        UInt64 passed = 77;
        switch (pick(5)) {
        case 0:
            ASSERT_EQ(in.ReadBin(buffer.data(), n, &got), expected);
            ASSERT_EQ(std::string(buffer.data(), got), rest.substr(0, n));
            consume(m);
            break;
        case 1:
            ASSERT_EQ(in.CopyBin(buffer.data(), n, &got), expected);
            ASSERT_EQ(std::string(buffer.data(), got), rest.substr(0, n));
            break;
        case 2:
            ASSERT_EQ(in.Look(n, buffer.data()), n < rest.size() ? NoError : ErrEndOfInput);
            ASSERT_TRUE(n >= rest.size() || buffer[0] == rest[n]);
            break;
        case 3:
            ASSERT_EQ(in.Skip(n / 8, &passed), n / 8 > rest.size() ? ErrEndOfInput : NoError);
            ASSERT_EQ(passed, std::min<std::size_t>(n / 8, rest.size()));
            consume(passed);
            break;
        default: {
            // What goes back need not be what came.
            const std::string back = MakeBytes(std::min<std::size_t>(n, consumed.size()), random());
            ASSERT_EQ(in.PushBack(back.data(), static_cast<UInt32>(back.size())), NoError);
            consumed.resize(consumed.size() - back.size());
            rest = back + rest;
        }
        }
        UInt64 position = 0;
        UInt64 available = 0;
        ASSERT_EQ(in.GetInputPosition(&position), NoError);
        ASSERT_EQ(position, consumed.size());
        ASSERT_EQ(in.GetAvailable(&available), NoError);
        ASSERT_EQ(available, rest.size());
        ASSERT_EQ(in.IsEOI(), rest.empty());
    }
}

/// Writes nested blocks of random sizes; beside them the bytes they must become.
std::string WriteBlocks(OChannel& out, std::mt19937& random, int depth)
{
    std::string image;
    for (int i = 0; i < 3; ++i) {
        constexpr UInt32 sizes[] = {0, 5, 1000, 65536, 65537, 150000};
        const std::string content = MakeBytes(sizes[random() % std::size(sizes)], random());
        EXPECT_EQ(out.OpenBlock(), NoError);
        UInt32 written = 0;
        EXPECT_EQ(out.WriteBin(content.data(), static_cast<UInt32>(content.size()), &written), NoError);
        std::string block = content + (depth > 0 ? WriteBlocks(out, random, depth - 1) : std::string());
        EXPECT_EQ(out.CloseBlock(), NoError);
        const UInt32 length = static_cast<UInt32>(block.size());
        image += std::string(reinterpret_cast<const char*>(&length), sizeof(length)) + block;
    }
    return image;
}

} // namespace

TEST(FileChannel, ReadsLikeAPlainText)
{
    const TemporaryFolder folder;
    for (const std::size_t size : {0, 1, 65535, 65536, 65537, 900000}) {
        const std::string bytes = MakeBytes(size);
        WriteWhole(folder / "in", bytes);
        for (unsigned seed = 0; seed < 6; ++seed) {
            SCOPED_TRACE(testing::Message() << size << " bytes, seed " << seed);
            IFileChannel file;
            ASSERT_EQ(file.Open(ToName(folder / "in")), NoError);
            CompareWithModel(file, bytes, seed);
            PositionedMemIChannel memory(bytes.data(), bytes.size());
            CompareWithModel(memory, bytes, seed);
            if (HasFatalFailure()) {
                return;
            }
        }
    }
}

TEST(FileChannel, TheEndIsKeptUntilReset)
{
    PositionedMemIChannel in("abc", 3);
    char bytes[4] = {};
    UInt32 got = 9;
    EXPECT_EQ(in.ReadBin(bytes, 4, &got), ErrEndOfInput);
    EXPECT_EQ(got, 3u);
    EXPECT_EQ(in.ReadBin(bytes, 0, &got), ErrEndOfInput);
    EXPECT_EQ(in.PushBack('c'), ErrEndOfInput);
    EXPECT_EQ(in.Skip(0, nullptr), ErrEndOfInput);
    EXPECT_EQ(got, 3u) << "left alone in the error state";
    in.ResetInputStatus();
    EXPECT_EQ(in.PushBack("abcd", 4), ErrParam) << "more than was consumed";
    EXPECT_EQ(in.PushBack('z'), NoError);
    EXPECT_EQ(in.Read(bytes[0]), NoError);
    EXPECT_EQ(bytes[0], 'z');
}

TEST(FileChannel, WindowsIntoTheBufferMoveNoBytes)
{
    const TemporaryFolder folder;
    const std::string bytes = MakeBytes(200000);
    OFileChannel out;
    ASSERT_EQ(out.Open(ToName(folder / "file")), NoError);
    for (std::size_t done = 0; done < bytes.size();) {
        char* window = nullptr;
        UInt32 room = 0;
        ASSERT_EQ(out.DirectOutputAccess(static_cast<UInt32>(bytes.size() - done), &window, &room), NoError);
        ASSERT_NE(room, 0u);
        bytes.copy(window, room, done);
        done += room;
    }
    ASSERT_EQ(out.Commit(), NoError);
    EXPECT_TRUE(ReadWhole(folder / "file") == bytes);

    IFileChannel in;
    ASSERT_EQ(in.Open(ToName(folder / "file")), NoError);
    std::string read;
    char* window = nullptr;
    UInt32 count = 0;
    while (in.DirectInputAccess(9000, &window, &count) == NoError) {
        read.append(window, count / 2 + 1);
        ASSERT_EQ(in.PushBack(window + count / 2 + 1, count - count / 2 - 1), NoError);
    }
    EXPECT_EQ(in.GetInputStatus(), ErrEndOfInput);
    EXPECT_TRUE(read == bytes);
}

TEST(FileChannel, BlockLengthsLandInTheirPlaceholders)
{
    const TemporaryFolder folder;
    for (unsigned seed = 0; seed < 4; ++seed) {
        std::mt19937 first(seed);
        std::mt19937 second(seed);
        MarkingMemOChannel memory;
        OFileChannel file;
        ASSERT_EQ(file.Open(ToName(folder / "blocks")), NoError);
        const std::string image = WriteBlocks(memory, first, 2);
        EXPECT_TRUE(std::string(memory.GetData(), memory.GetSize()) == image);
        WriteBlocks(file, second, 2);
        UInt64 position = 0;
        ASSERT_EQ(file.GetOutputPosition(&position), NoError);
        EXPECT_EQ(position, image.size());
        ASSERT_EQ(file.Commit(), NoError);
        EXPECT_TRUE(ReadWhole(folder / "blocks") == image);
    }
    MarkingMemOChannel memory;
    EXPECT_EQ(memory.PopMark(), ErrGeneral);
    EXPECT_EQ(memory.GetOutputStatus(), NoError);
}

TEST(FileChannel, ReplacesAFileInOneStepOrNotAtAll)
{
    const TemporaryFolder folder;
    const auto path = folder / std::filesystem::path(u"\u00FCber \u65E5\u672C.bin");
    WriteWhole(path, "old");
    OFileChannel out;
    ASSERT_EQ(out.Open(ToName(path)), NoError);
    out << "new content";
    ASSERT_EQ(out.Flush(), NoError);
    EXPECT_EQ(ReadWhole(path), "old") << "as long as nothing is committed";
    out.Discard();
    EXPECT_EQ(out.Commit(), ErrNotOpen);
    {
        OFileChannel forgotten;
        ASSERT_EQ(forgotten.Open(ToName(path)), NoError);
        forgotten << UInt32{7};
    }
    EXPECT_EQ(ReadWhole(path), "old");
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(path.parent_path()), {}), 1)
        << "temporary files stay behind";

    ASSERT_EQ(out.Open(ToName(path)), NoError);
    out << UInt16{0x4142};
    ASSERT_EQ(out.Commit(), NoError);
    EXPECT_EQ(ReadWhole(path), "BA");
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(path.parent_path()), {}), 1);
}

TEST(FileChannel, AnUnfinishedWriterHoldsNothingUp)
{
    const TemporaryFolder folder;
    WriteWhole(folder / "file", "old");
    OFileChannel stuck; // what it leaves on the disk is what a process leaves that dies here
    ASSERT_EQ(stuck.Open(ToName(folder / "file")), NoError);
    stuck << "half of the new";
    ASSERT_EQ(stuck.Flush(), NoError);
    OFileChannel next;
    ASSERT_EQ(next.Open(ToName(folder / "file")), NoError) << "steps over the first one's temporary file";
    next << UInt8{'n'};
    EXPECT_EQ(ReadWhole(folder / "file"), "old");
    ASSERT_EQ(next.Commit(), NoError);
    EXPECT_EQ(ReadWhole(folder / "file"), "n");
}

TEST(FileChannel, SaysWhyAFileCannotBeOpened)
{
    const TemporaryFolder folder;
    IFileChannel in;
    EXPECT_EQ(in.Open(ToName(folder / "missing")), ErrFileNotFound);
    EXPECT_FALSE(in.GetErrorText().IsEmpty());
    EXPECT_EQ(in.Open(ToName(folder / "")), ErrFileOpen) << "a folder";
    EXPECT_EQ(in.Open(UniString()), ErrFileOpen);
    EXPECT_EQ(in.Open(UniString(u"a\0b", 3)), ErrFileOpen);
    char c = 'x';
    EXPECT_EQ(in.Read(c), ErrNotOpen);
    WriteWhole(folder / "file", "a");
    ASSERT_EQ(in.Open(ToName(folder / "file")), NoError) << "an error ends with the next file";
    EXPECT_EQ(in.Read(c), NoError);
    EXPECT_EQ(c, 'a');

    OFileChannel out;
    EXPECT_EQ(out.WriteBin("a", 1, nullptr), ErrNotOpen);
    EXPECT_EQ(out.Open(ToName(folder / "no folder" / "file")), ErrFileNotFound);
    EXPECT_EQ(out.Open(ToName(folder / "")), ErrFileOpen);
    EXPECT_FALSE(out.GetErrorText().IsEmpty());
}

} // namespace QV::Host
