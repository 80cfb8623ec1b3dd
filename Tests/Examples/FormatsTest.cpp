// The worked examples of docs/formats.md, against the bytes that the library writes.

#include <Examples/Tour/Archive.hpp>
#include <Examples/Tour/Document.hpp>
#include <Host/MarkingMemOChannel.hpp>
#include <QVRoot/Channel/OBinaryChannelAdapter.hpp>
#include <QVRoot/Channel/OMemChannel.hpp>
#include <QVRoot/Channel/Subchannels/ChunkedOBinarySubChannel.hpp>
#include <QVRoot/Channel/Subchannels/LengthDeterminedOBinarySubChannel.hpp>
#include <QVRoot/Channel/SwappedMemProtocol.hpp>
#include <QVRoot/Channel/TextOProtocol.hpp>
#include <QVRoot/Logging/FastLogger.hpp>
#include <QVRoot/ObjectModel/ObjectOutput.hpp>
#include <QVRoot/String/String.hpp>
#include <Tests/Support/TemporaryFolder.hpp>

#include <cstring>

#include <functional>
#include <map>
#include <sstream>

namespace QV {

namespace {

/// A class as the documentation describes it.
class Wall : public Object {
public:
    explicit Wall(ClassVersion version) : info_("Wall", {1, 2}, Guid(), version, version) {}

    const ClassInfo* GetClassInfo() const override { return &info_; }
    QVErrCode Write(OChannel& oc) const override
    {
        const OutputFrame frame(oc, info_);
        oc << UInt16{275};
        return oc.GetOutputStatus();
    }

private:
    ClassInfo info_;
};

/// The same for graphs: a number, and a reference to another object.
class Door : public Object {
public:
    static constexpr ClassInfo info{
        "Door",
        {90, 1},
        Guid(0x00112233, 0x4455, 0x6677, {0x88, 0x99, 0xAA, 0xBB, 0xCC, 0xDD, 0xEE, 0xFF}),
        {2, 0},
        {2, 0}};

    explicit Door(UInt16 n = 0) : number(n) {}
    const ClassInfo* GetClassInfo() const override { return &info; }
    QVErrCode Write(OChannel& oc) const override
    {
        const OutputFrame frame(oc, info);
        oc << number;
        return ObjectOutput::WriteReference(oc, other);
    }

    UInt16 number;
    Door* other = nullptr;
};

void WriteDoors(OChannel& oc)
{
    const RegisteredClass<Door> registration(Door::info);
    Door first(1);
    Door second(2);
    first.other = &second;
    second.other = &first;
    ObjectOutput(oc).Write(&first);
}

ObjectState MakeExampleState()
{
    ObjectState list;
    list.Append(ObjectState(true));
    list.Append(ObjectState());
    ObjectState state;
    state.Set(u"id", ObjectState(7));
    state.Set(u"l", list);
    return state;
}

template <class T>
void WriteSwapped(OChannel& oc, const T& value)
{
    OSwappedMemProtocol swapped;
    oc.SetOutputProtocol(swapped);
    oc << value;
    oc.SetDefaultOutputProtocol();
}

Array<Tour::Document> MakeExampleDocuments()
{
    Array<Tour::Document> documents;
    documents.Emplace(UniString(u"a"), UniString(u"Hi\n\n\u00DF!"));
    return documents;
}

struct ExampleLogControl : FastLogger::Control {
    bool IsNewBlockDue() override { return false; }
};

/// Writes a log of one block that does not depend on when and where it was made.
void WriteExampleLog(OChannel& oc, const std::function<void(FastLogger&)>& log)
{
    OMemChannel out;
    ExampleLogControl control;
    FastLogger example;
    example.Start(control, out);
    log(example);
    example.Stop();
    const Guid run("00112233-4455-6677-8899-AABBCCDDEEFF");
    const Int32 time = 1763762400;
    const Int32 offset = 3600;
    const UInt64 thread = 4242;
    char* const bytes = out.LockData();
    std::memcpy(bytes + 5, &run, sizeof(run));
    std::memcpy(bytes + 21, &time, sizeof(time));
    std::memcpy(bytes + 25, &offset, sizeof(offset));
    if (out.DataSize() > 29) {
        std::memcpy(bytes + 30, &time, sizeof(time));
        std::memcpy(bytes + 36, &thread, sizeof(thread));
    }
    UInt32 written;
    oc.WriteBin(bytes, out.DataSize(), &written);
}

/// Three lines, and a data line behind the first.
void LogExampleLines(FastLogger& log)
{
    constexpr LogParameter openedParameters[] = {{LogType::String, 1}, {LogType::Int32, 0}};
    constexpr LogParameter fileParameters[] = {{LogType::String, 0}};
    EventLogLine opened = {258,
                           42,
                           openedParameters,
                           2,
                           "{user} opened {count} files",
                           "Editor/Open.cpp",
                           "info|editor|OpenAll"};
    EventLogLine file = {259, 45, fileParameters, 1, "file {path}", "Editor/Open.cpp", "data|editor|OpenAll"};
    for (const auto& [user, count] : {std::pair("ann", 2), std::pair("bob", 1), std::pair("ann", -1)}) {
        FastLogger::LogComposer composer(opened);
        composer.AddString(user, 3);
        composer.Add(count);
        if (count == 2) {
            composer.AddLine(file);
            composer.AddString("a.w", 3);
        }
        log.Append(opened, &composer);
    }
}

using Writer = std::function<void(OChannel&)>;

/// Writes a value through the protocol of network byte order.
template <class T>
Writer MakeNetworkWriter(const T& value)
{
    return [value](OChannel& oc) {
        OBinaryChannelAdapter bytes(oc);
        OChannelX(bytes, networkByteOrderOProtocolX).Write(value);
    };
}

void WriteNestedSections(OChannel& oc)
{
    OBinaryChannelAdapter bytes(oc);
    ChunkedOBinarySubChannel outer(bytes, platformOProtocolX, 8);
    LengthDeterminedOBinarySubChannel inner(outer, platformOProtocolX);
    inner.Write("a", 1);
    inner.Close();
    outer.Close();
}

const std::map<std::string, Writer> writers = {
    {"char 'A'", [](OChannel& oc) { oc << 'A'; }},
    {"bool true", [](OChannel& oc) { oc << true; }},
    {"Int16 -2", [](OChannel& oc) { oc << Int16{-2}; }},
    {"UInt32 66051", [](OChannel& oc) { oc << UInt32{66051}; }},
    {"long -2", [](OChannel& oc) { oc << -2l; }},
    {"Int64 -2", [](OChannel& oc) { oc << Int64{-2}; }},
    {"float 1.5", [](OChannel& oc) { oc << 1.5f; }},
    {"double -2.75", [](OChannel& oc) { oc << -2.75; }},
    {"long double 1", [](OChannel& oc) { oc << 1.0l; }},
    {"text abc", [](OChannel& oc) { oc << "abc"; }},
    {"Guid 00112233-4455-6677-8899-AABBCCDDEEFF",
     [](OChannel& oc) {
         oc << Guid(0x00112233, 0x4455, 0x6677, {0x88, 0x99, 0xAA, 0xBB, 0xCC, 0xDD, 0xEE, 0xFF});
     }},
    {"text of Guid 00112233-4455-6677-8899-AABBCCDDEEFF",
     [](OChannel& oc) { Guid("00112233-4455-6677-8899-AABBCCDDEEFF").WriteAsText(oc); }},
    {"ClassVersion 3.1",
     [](OChannel& oc) {
         ClassVersion{3, 1}.Write(oc);
     }},
    {"ClassType 1, 2",
     [](OChannel& oc) {
         ClassType{1, 2}.Write(oc);
     }},
    {"block with abc",
     [](OChannel& oc) {
         oc.OpenBlock();
         oc << 'a' << 'b' << 'c';
         oc.CloseBlock();
     }},
    {"object of version 2.0",
     [](OChannel& oc) {
         oc << Wall({2, 0});
     }},
    {"object of version 3.1",
     [](OChannel& oc) {
         oc << Wall({3, 1});
     }},
    {"UniString", [](OChannel& oc) { oc << UniString(); }},
    {"UniString A\u00DF\U0001F600", [](OChannel& oc) { oc << UniString(u"A\u00DF\U0001F600"); }},
    {"String a\u00DF", [](OChannel& oc) { oc << String("a\xC3\x9F"); }},
    {"String a\u00DF of version 2.0",
     [](OChannel& oc) {
         ClassManager::SetOutputVersion(1);
         oc << String("a\xC3\x9F");
         ClassManager::SetOutputVersion(0);
     }},
    {"chunked section 0123456789",
     [](OChannel& oc) {
         OBinaryChannelAdapter bytes(oc);
         ChunkedOBinarySubChannel section(bytes, platformOProtocolX, 4);
         section.Write("0123456789", 10);
         section.Close();
     }},
    {"length-determined section abc in network byte order",
     [](OChannel& oc) {
         OBinaryChannelAdapter bytes(oc);
         LengthDeterminedOBinarySubChannel section(bytes, networkByteOrderOProtocolX);
         section.Write("abc", 3);
         section.Close();
     }},
    {"nested sections", WriteNestedSections},
    {"extended UInt32 66051 in network byte order", MakeNetworkWriter(UInt32{66051})},
    {"extended double -2.75 in network byte order", MakeNetworkWriter(-2.75)},
    {"extended Guid 00112233-4455-6677-8899-AABBCCDDEEFF in network byte order",
     MakeNetworkWriter(Guid(0x00112233, 0x4455, 0x6677, {0x88, 0x99, 0xAA, 0xBB, 0xCC, 0xDD, 0xEE, 0xFF}))},
    {"printed: Int32 -5, bool true, double 0.1, UInt8 65, float 1.5",
     [](OChannel& oc) {
         oc.SetOutputProtocol(textOProtocol);
         oc << -5 << true << 0.1 << UInt8{65} << 1.5f;
     }},
    {"log block", [](OChannel& oc) { WriteExampleLog(oc, [](FastLogger&) {}); }},
    {"log lines", [](OChannel& oc) { WriteExampleLog(oc, LogExampleLines); }},
    {"graph of two objects in a circle", WriteDoors},
    {"graph of nothing", [](OChannel& oc) { ObjectOutput(oc).Write(nullptr); }},
    {"state with id 7 and a list of true and nothing", [](OChannel& oc) { MakeExampleState().Write(oc); }},
    {"swapped UInt32 66051", [](OChannel& oc) { WriteSwapped(oc, UInt32{66051}); }},
    {"swapped Guid 00112233-4455-6677-8899-AABBCCDDEEFF",
     [](OChannel& oc) { WriteSwapped(oc, Guid("00112233-4455-6677-8899-AABBCCDDEEFF")); }},
    {"archive", [](OChannel& oc) { Tour::WriteArchive(oc, MakeExampleDocuments()); }},
};

/// The fenced blocks that are marked "hex NAME": pairs of digits, then at most a remark behind two spaces.
std::map<std::string, std::string> ReadExamples()
{
    std::map<std::string, std::string> examples;
    std::ifstream file(std::filesystem::path(QV_SOURCE_FOLDER) / "docs/formats.md", std::ios::binary);
    std::string* bytes = nullptr;
    for (std::string line; std::getline(file, line);) {
        if (line.starts_with("```hex ")) {
            bytes = &examples[line.substr(7)];
        } else if (line.starts_with("```")) {
            bytes = nullptr;
        } else if (bytes != nullptr) {
            std::istringstream pairs(line.substr(0, line.find("  ")));
            for (std::string pair; pairs >> pair;) {
                *bytes += static_cast<char>(std::stoi(pair, nullptr, 16));
            }
        }
    }
    return examples;
}

std::string ToHex(std::string_view bytes)
{
    std::string text;
    for (const char c : bytes) {
        constexpr char digits[] = "0123456789ABCDEF";
        const auto byte = static_cast<unsigned char>(c);
        text += {digits[byte >> 4], digits[byte & 15], ' '};
    }
    return text;
}

} // namespace

TEST(Formats, TheWorkedExamplesAreWhatIsWritten)
{
    const std::map<std::string, std::string> examples = ReadExamples();
    EXPECT_EQ(examples.size(), writers.size());
    for (const auto& [name, bytes] : examples) {
        const auto writer = writers.find(name);
        ASSERT_NE(writer, writers.end()) << name;
        Host::MarkingMemOChannel out;
        writer->second(out);
        EXPECT_EQ(ToHex({out.GetData(), out.GetSize()}), ToHex(bytes)) << name;
    }
}

} // namespace QV
