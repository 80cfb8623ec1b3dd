#include <Examples/Tour/Archive.hpp>
#include <Examples/Tour/NewerDocument.hpp>
#include <Examples/Tour/Program.hpp>
#include <Examples/Tour/TextDecoder.hpp>
#include <Examples/Tour/TextWork.hpp>
#include <Examples/Tour/VersionCheck.hpp>
#include <Host/MarkingMemOChannel.hpp>
#include <Host/PositionedMemIChannel.hpp>
#include <QVRoot/MemoryManagement/Core/MemoryStatistics.hpp>
#include <Tests/Support/TemporaryFolder.hpp>

namespace Tour {

namespace {

using namespace QV;
using namespace QV::Host;
using namespace QV::Test;

Array<Document> MakeDocuments()
{
    Array<Document> documents;
    documents.Emplace(UniString(u"empty"), UniString());
    documents.Emplace(UniString(u"caf\u00E9"), UniString(u"one\ntwo words\n\n \n\u65E5\u672C \U0001F600"));
    return documents;
}

std::string Pack(const Array<Document>& documents)
{
    MarkingMemOChannel out;
    EXPECT_EQ(WriteArchive(out, documents), NoError);
    return std::string(out.GetData(), out.GetSize());
}

ArchiveFault Unpack(const std::string& bytes, Array<Document>* documents)
{
    PositionedMemIChannel in(bytes.data(), bytes.size());
    return ReadArchive(in, documents);
}

bool HaveSameText(const Array<Document>& a, const Array<Document>& b)
{
    bool same = a.GetCount() == b.GetCount();
    for (UInt32 i = 0; same && i < a.GetCount(); ++i) {
        same = a[i].HasSameText(b[i]);
    }
    return same;
}

/// Runs the program in this process and returns what it says on standard error.
std::string RunAndListen(const std::vector<UniString>& arguments, int expectedCode)
{
    Array<UniString> list;
    for (const UniString& argument : arguments) {
        list.Append(argument);
    }
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    const int code = RunProgram(list);
    const std::string text = testing::internal::GetCapturedStderr();
    testing::internal::GetCapturedStdout();
    EXPECT_EQ(code, expectedCode) << text;
    return text;
}

struct Encoded {
    std::string_view bytes;
    QVCharCode code;
    std::u16string_view text;
    int faultOffset; ///< -1: none
};

} // namespace

TEST(Tour, DecodesOrSaysWhereItCannot)
{
    using namespace std::string_view_literals;
    const Encoded cases[] = {
        {""sv, UTF8CharCode, u"", -1},
        {"\xEF\xBB\xBF\xC3\x9F"sv, CyrillicCharCode, u"\u00DF", -1},
        {"\xFF\xFE\x3D\xD8\x00\xDE"sv, UTF8CharCode, u"\U0001F600", -1},
        {"\xFE\xFF\xD8\x3D\xDE\x00\x00\x41"sv, UTF8CharCode, u"\U0001F600A", -1},
        {"\xCF\xF0\xE8"sv, CyrillicCharCode, u"\u041F\u0440\u0438", -1},
        {"\x80\x9C"sv, WesternCharCode, u"\u20AC\u0153", -1},
        {"ab\xC3\x9F\xFFz"sv, UTF8CharCode, u"", 4},
        {"ab\xC3"sv, UTF8CharCode, u"", 2},
        {"\xEF\xBB\xBF\xED\xA0\x80"sv, UTF8CharCode, u"", 3},
        {"\xFF\xFE\x41\x00\x42"sv, UTF8CharCode, u"", 4},
        {"\xFE\xFF\x00\x41\xDC\x00\x00\x41"sv, UTF8CharCode, u"", 4},
        {"\xFF\xFE\x3D\xD8"sv, UTF8CharCode, u"", 2},
    };
    for (const Encoded& example : cases) {
        UniString text(u"before");
        const DecodeFault fault = DecodeText(example.bytes.data(), example.bytes.size(), example.code, &text);
        SCOPED_TRACE(testing::PrintToString(example.bytes));
        EXPECT_EQ(fault.what != nullptr, example.faultOffset >= 0);
        EXPECT_TRUE(text.GetView() == example.text);
        if (fault.what != nullptr) {
            EXPECT_EQ(fault.offset, static_cast<UInt64>(example.faultOffset));
        }
    }
}

TEST(Tour, SplitsTextsAndCounts)
{
    const Document document = MakeDocuments()[1];
    ASSERT_EQ(document.GetParagraphs().GetCount(), 2u);
    EXPECT_TRUE(document.GetParagraphs()[0].GetView() == u"one\ntwo words\n");
    EXPECT_TRUE(document.GetParagraphs()[1].GetView() == u"\u65E5\u672C \U0001F600");
    EXPECT_EQ(document.GetStatistics().characters, 18u);
    EXPECT_EQ(document.GetStatistics().words, 5u);
    EXPECT_EQ(document.GetStatistics().longest, 14u);
}

TEST(Tour, CountsWordsRegardlessOfCaseAndSpace)
{
    Array<Document> documents;
    documents.Emplace(UniString(u"a"), UniString(u"Page 10,\tpage 9;\r\nPAGE\u00A02 (\u041F\u0440\u0438)\n"));
    documents.Emplace(UniString(u"b"),
                      UniString(u" \u03A3\u03BF\u03C6\u03AF\u03B1\u3000\u043F\u0440\u0438 "));
    TextWork work;
    work.Clean(documents);
    work.FoldCase();
    work.SplitAndCount();
    work.Sort();
    const WordSummary summary = work.GetSummary();
    EXPECT_EQ(summary.words, 9u);
    EXPECT_EQ(summary.distinct, 6u);
    EXPECT_TRUE(summary.mostFrequent == u"page");
    EXPECT_EQ(summary.occurrences, 3u);
    EXPECT_TRUE(summary.first == u"2");
    EXPECT_TRUE(summary.last == u"\u043F\u0440\u0438");
}

TEST(Tour, VersionsReadEachOther)
{
    EXPECT_EQ(CheckVersions(MakeDocuments()).GetCount(), 5u);
}

TEST(Tour, EveryCutOfAnArchiveIsNoticed)
{
    const std::string whole = Pack(MakeDocuments());
    Array<Document> documents;
    ASSERT_EQ(Unpack(whole, &documents).code, NoError);
    EXPECT_TRUE(HaveSameText(documents, MakeDocuments()));
    for (std::size_t size = 0; size < whole.size(); ++size) {
        const ArchiveFault fault = Unpack(whole.substr(0, size), &documents);
        EXPECT_NE(fault.code, NoError) << size;
        EXPECT_EQ(fault.offset, size < 8 ? 0 : size);
        EXPECT_TRUE(documents.IsEmpty());
    }
    EXPECT_EQ(Unpack(whole + 'x', &documents).code, ErrDataIntegrity);
}

TEST(Tour, DamagedArchivesNeverGiveOtherTexts)
{
    const std::string whole = Pack(MakeDocuments());
    for (std::size_t i = 0; i < whole.size(); ++i) {
        for (int bit = 0; bit < 8; ++bit) {
            std::string damaged = whole;
            damaged[i] = static_cast<char>(damaged[i] ^ 1 << bit);
            Array<Document> documents;
            const ArchiveFault fault = Unpack(damaged, &documents);
            EXPECT_TRUE(fault.code != NoError ? documents.IsEmpty()
                                              : HaveSameText(documents, MakeDocuments()))
                << "bit " << bit << " of byte " << i;
        }
    }
}

TEST(Tour, HostileLengthsCostNoMemory)
{
    const std::string whole = Pack(MakeDocuments());
    const UInt64 before = MemoryStatistics::Get().peakBytes;
    for (std::size_t i = 10; i + 4 <= whole.size(); ++i) {
        for (const UInt32 length : {0xFFFFFFFFu, 0x7FFFFFFFu, 0x01000000u}) {
            std::string hostile = whole;
            hostile.replace(i, 4, reinterpret_cast<const char*>(&length), 4);
            Array<Document> documents;
            Unpack(hostile, &documents);
        }
    }
    EXPECT_LT(MemoryStatistics::Get().peakBytes - before, 1u << 20);
}

TEST(Tour, PacksItsSamplesAndChecksTheArchive)
{
    const TemporaryFolder folder;
    const UniString archive = ToName(folder / "archive");
    const UniString samples = ToName(std::filesystem::path(QV_SOURCE_FOLDER) / "Examples/Tour/samples");
    RunAndListen({"--here", "--passes", "1", "--archive", archive, samples}, 0);
    Array<Document> documents;
    ASSERT_EQ(Unpack(ReadWhole(folder / "archive"), &documents).code, NoError);
    EXPECT_GE(documents.GetCount(), 12u);
    for (const Document& document : documents) {
        EXPECT_GE(document.GetParagraphs().GetCount(), 3u);
        for (const UniString& paragraph : document.GetParagraphs()) {
            EXPECT_EQ(paragraph.GetView().find(u'\uFFFD'), std::u16string_view::npos);
        }
    }
    RunAndListen({"--verify", archive}, 0);

    std::string bytes = ReadWhole(folder / "archive");
    bytes.resize(bytes.size() / 2);
    WriteWhole(folder / "cut", bytes);
    const std::string line = RunAndListen({"--verify", ToName(folder / "cut")}, 1);
    EXPECT_NE(line.find("cut: offset " + std::to_string(bytes.size()) + ": the archive ends in document"),
              std::string::npos)
        << line;
}

TEST(Tour, InputThatFailsLeavesTheOldArchive)
{
    const TemporaryFolder folder;
    WriteWhole(folder / "good.txt", "good");
    WriteWhole(folder / "bad.txt", "bad \xFF");
    WriteWhole(folder / "archive", "old");
    const UniString archive = ToName(folder / "archive");
    const UniString good = ToName(folder / "good.txt");
    const UniString bad = ToName(folder / "bad.txt");
    const std::string line = RunAndListen({"--here", "--archive", archive, good, bad}, 1);
    EXPECT_NE(line.find("bad.txt: offset 4: not valid UTF-8"), std::string::npos) << line;
    RunAndListen({"--here", "--archive", archive, good, ToName(folder / "missing")}, 1);
    RunAndListen({"--verify", good}, 1);
    EXPECT_EQ(ReadWhole(folder / "archive"), "old");
    RunAndListen({"--here", "--passes", "1", "--archive", archive, "--code-page", "1251", bad}, 0);
    EXPECT_NE(ReadWhole(folder / "archive"), "old");

    for (const std::vector<UniString>& wrong : std::vector<std::vector<UniString>>{
             {"--code-page", "77"}, {"--code-page"}, {"--passes", "0"}, {"--passes", "x"}, {"--unknown"}}) {
        RunAndListen(wrong, 2);
    }
}

} // namespace Tour
