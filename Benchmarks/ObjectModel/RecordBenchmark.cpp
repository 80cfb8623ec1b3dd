// Records, framed objects and whole graphs against libraries that a program would take instead, and against a
// loop over memory that does nothing else. Times are for all 100,000 of them.
#include <QVRoot/Channel/IMemChannel.hpp>
#include <QVRoot/Channel/OMemChannel.hpp>
#include <QVRoot/ObjectModel/Frame.hpp>
#include <QVRoot/ObjectModel/ObjectInput.hpp>
#include <QVRoot/ObjectModel/ObjectOutput.hpp>
#include <QVRoot/String/UniString.hpp>
#include <QVRoot/Utilities/Guid.hpp>

#include <benchmark/benchmark.h>

#include <array>
#include <cstring>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#ifdef QV_PEER_CEREAL
#include <cereal/archives/binary.hpp>
#include <cereal/types/array.hpp>
#include <cereal/types/string.hpp>
#include <cereal/types/vector.hpp>
#endif
#ifdef QV_PEER_MSGPACK
#include <msgpack.hpp>
#endif
#ifdef QV_PEER_BOOST_SERIALIZATION
#include <boost/archive/binary_iarchive.hpp>
#include <boost/archive/binary_oarchive.hpp>
#include <boost/serialization/array.hpp>
#include <boost/serialization/string.hpp>
#include <boost/serialization/tracking.hpp>
#include <boost/serialization/vector.hpp>
#endif
#ifdef QV_PEER_PROTOBUF_MESSAGES
#include <Record.pb.h>
#include <google/protobuf/io/coded_stream.h>
#include <google/protobuf/io/zero_copy_stream_impl_lite.h>
#endif

namespace {

using namespace QV;

constexpr UInt32 Count = 100000;

// ---- flat records

struct Record {
    UInt32 number = 0;
    UInt64 large = 0;
    double real = 0;
    UniString text;
    Guid id;
};

/// The same for the peers: their own kind of text, the identifier as bytes.
struct PlainRecord {
    UInt32 number = 0;
    UInt64 large = 0;
    double real = 0;
    std::string text;
    std::array<unsigned char, 16> id = {};

    template <class Archive>
    void serialize(Archive& archive)
    {
        archive(number, large, real, text, id);
    }
#ifdef QV_PEER_MSGPACK
    MSGPACK_DEFINE(number, large, real, text, id)
#endif
};

} // namespace

#ifdef QV_PEER_BOOST_SERIALIZATION
namespace boost::serialization {

template <class Archive>
void serialize(Archive& archive, PlainRecord& record, unsigned int)
{
    archive & record.number & record.large & record.real & record.text & record.id;
}

} // namespace boost::serialization
#endif

namespace {

std::string MakeText(UInt32 i)
{
    return "record " + std::to_string(10000 + i % 90000);
}

const std::vector<Record>& GetRecords()
{
    static const std::vector<Record> records = [] {
        std::vector<Record> made(Count);
        for (UInt32 i = 0; i < Count; ++i) {
            made[i] = {i, i * 0x123456789u, i * 0.25, UniString(MakeText(i).c_str()),
                       Guid(i, 2, 3, {4, 5, 6, 7, 8, 9, 10, 11})};
        }
        return made;
    }();
    return records;
}

const std::vector<PlainRecord>& GetPlainRecords()
{
    static const std::vector<PlainRecord> records = [] {
        std::vector<PlainRecord> made(Count);
        for (UInt32 i = 0; i < Count; ++i) {
            made[i] = {i, i * 0x123456789u, i * 0.25, MakeText(i), {}};
            std::memcpy(made[i].id.data(), &i, sizeof(i));
        }
        return made;
    }();
    return records;
}

void Finish(benchmark::State& state, USize bytes)
{
    state.SetItemsProcessed(state.iterations() * Count);
    state.counters["bytes"] = static_cast<double>(bytes);
}

void WriteRecords(OChannel& oc)
{
    for (const Record& record : GetRecords()) {
        oc.Write(record.number);
        oc.Write(record.large);
        oc.Write(record.real);
        oc.Write(record.text);
        oc.Write(record.id);
    }
}

void WriteRecordsQV(benchmark::State& state)
{
    USize bytes = 0;
    for (auto _ : state) {
        OMemChannel out;
        WriteRecords(out);
        bytes = out.DataSize();
        benchmark::DoNotOptimize(out.LockData());
    }
    Finish(state, bytes);
}
BENCHMARK(WriteRecordsQV)->Name("WriteRecords/QVMemChannel");

void ReadRecordsQV(benchmark::State& state)
{
    OMemChannel out;
    WriteRecords(out);
    for (auto _ : state) {
        IMemChannel in(out.LockData(), static_cast<int>(out.DataSize()));
        std::vector<Record> records(Count);
        for (Record& record : records) {
            in.Read(record.number);
            in.Read(record.large);
            in.Read(record.real);
            in.Read(record.text);
            in.Read(record.id);
        }
        benchmark::DoNotOptimize(records.data());
    }
    Finish(state, out.DataSize());
}
BENCHMARK(ReadRecordsQV)->Name("ReadRecords/QVMemChannel");

/// The bytes of a record with a text of 12 units, and nothing that could be done about them but to copy.
constexpr USize imageSize = 4 + 8 + 8 + 6 + 24 + 16;

void WriteRecordsLoop(benchmark::State& state)
{
    const std::vector<Record>& records = GetRecords();
    for (auto _ : state) {
        std::unique_ptr<char[]> block(new char[imageSize * Count]);
        char* at = block.get();
        const auto put = [&at](const void* image, USize size) {
            std::memcpy(at, image, size);
            at += size;
        };
        for (const Record& record : records) {
            const UInt32 length = record.text.GetLength();
            put(&record.number, 4);
            put(&record.large, 8);
            put(&record.real, 8);
            put("\1\0", 2);
            put(&length, 4);
            put(record.text.GetView().data(), length * 2);
            put(&record.id, 16);
        }
        benchmark::DoNotOptimize(block.get());
        benchmark::ClobberMemory();
    }
    Finish(state, imageSize * Count);
}
BENCHMARK(WriteRecordsLoop)->Name("WriteRecords/loop");

void ReadRecordsLoop(benchmark::State& state)
{
    OMemChannel out;
    WriteRecords(out);
    for (auto _ : state) {
        const char* at = out.LockData();
        std::vector<Record> records(Count);
        const auto get = [&at](void* image, USize size) {
            std::memcpy(image, at, size);
            at += size;
        };
        for (Record& record : records) {
            UInt32 length = 0;
            get(&record.number, 4);
            get(&record.large, 8);
            get(&record.real, 8);
            at += 2;
            get(&length, 4);
            record.text.Assign(reinterpret_cast<const unsigned short*>(at), length);
            at += length * 2;
            get(static_cast<void*>(&record.id), 16);
        }
        benchmark::DoNotOptimize(records.data());
    }
    Finish(state, out.DataSize());
}
BENCHMARK(ReadRecordsLoop)->Name("ReadRecords/loop");

#ifdef QV_PEER_CEREAL
void WriteRecordsCereal(benchmark::State& state)
{
    USize bytes = 0;
    for (auto _ : state) {
        std::ostringstream stream;
        cereal::BinaryOutputArchive archive(stream);
        for (const PlainRecord& record : GetPlainRecords()) {
            archive(record);
        }
        bytes = static_cast<USize>(stream.tellp());
    }
    Finish(state, bytes);
}
BENCHMARK(WriteRecordsCereal)->Name("WriteRecords/cereal");

void ReadRecordsCereal(benchmark::State& state)
{
    std::ostringstream stream;
    cereal::BinaryOutputArchive out(stream);
    for (const PlainRecord& record : GetPlainRecords()) {
        out(record);
    }
    const std::string bytes = stream.str();
    for (auto _ : state) {
        std::istringstream input(bytes);
        cereal::BinaryInputArchive archive(input);
        std::vector<PlainRecord> records(Count);
        for (PlainRecord& record : records) {
            archive(record);
        }
        benchmark::DoNotOptimize(records.data());
    }
    Finish(state, bytes.size());
}
BENCHMARK(ReadRecordsCereal)->Name("ReadRecords/cereal");
#endif

#ifdef QV_PEER_MSGPACK
void WriteRecordsMsgpack(benchmark::State& state)
{
    USize bytes = 0;
    for (auto _ : state) {
        msgpack::sbuffer buffer;
        for (const PlainRecord& record : GetPlainRecords()) {
            msgpack::pack(buffer, record);
        }
        bytes = buffer.size();
        benchmark::DoNotOptimize(buffer.data());
    }
    Finish(state, bytes);
}
BENCHMARK(WriteRecordsMsgpack)->Name("WriteRecords/msgpack");

void ReadRecordsMsgpack(benchmark::State& state)
{
    msgpack::sbuffer buffer;
    for (const PlainRecord& record : GetPlainRecords()) {
        msgpack::pack(buffer, record);
    }
    for (auto _ : state) {
        std::size_t offset = 0;
        std::vector<PlainRecord> records(Count);
        for (PlainRecord& record : records) {
            msgpack::unpack(buffer.data(), buffer.size(), offset)->convert(record);
        }
        benchmark::DoNotOptimize(records.data());
    }
    Finish(state, buffer.size());
}
BENCHMARK(ReadRecordsMsgpack)->Name("ReadRecords/msgpack");
#endif

#ifdef QV_PEER_BOOST_SERIALIZATION
constexpr unsigned int boostFlags = boost::archive::no_header | boost::archive::no_codecvt;

void WriteRecordsBoost(benchmark::State& state)
{
    USize bytes = 0;
    for (auto _ : state) {
        std::ostringstream stream;
        boost::archive::binary_oarchive archive(stream, boostFlags);
        for (const PlainRecord& record : GetPlainRecords()) {
            archive << record;
        }
        bytes = static_cast<USize>(stream.tellp());
    }
    Finish(state, bytes);
}
BENCHMARK(WriteRecordsBoost)->Name("WriteRecords/boost");

void ReadRecordsBoost(benchmark::State& state)
{
    std::ostringstream stream;
    boost::archive::binary_oarchive out(stream, boostFlags);
    for (const PlainRecord& record : GetPlainRecords()) {
        out << record;
    }
    const std::string bytes = stream.str();
    for (auto _ : state) {
        std::istringstream input(bytes);
        boost::archive::binary_iarchive archive(input, boostFlags);
        std::vector<PlainRecord> records(Count);
        for (PlainRecord& record : records) {
            archive >> record;
        }
        benchmark::DoNotOptimize(records.data());
    }
    Finish(state, bytes.size());
}
BENCHMARK(ReadRecordsBoost)->Name("ReadRecords/boost");
#endif

// ---- objects with texts and frames

constexpr ClassInfo itemInfo("Benchmark::Item", {31, 1}, Guid(0x31, 1, 1, {}), {2, 0}, {1, 0});

class Item : public Object {
public:
    const ClassInfo* GetClassInfo() const override { return &itemInfo; }
    QVErrCode Write(OChannel& oc) const override
    {
        const OutputFrame frame(oc, itemInfo);
        oc.Write(number);
        oc.Write(real);
        oc.Write(name);
        oc.Write(comment);
        return oc.GetOutputStatus();
    }
    QVErrCode Read(IChannel& ic) override
    {
        const InputFrame frame(ic, itemInfo);
        if (frame.GetStatus() != NoError) {
            return IChannel::ConvertObjectReadError(frame.GetStatus());
        }
        ic.Read(number);
        ic.Read(real);
        ic.Read(name);
        ic.Read(comment);
        return IChannel::ConvertObjectReadError(ic.GetInputStatus());
    }

    UInt32 number = 0;
    double real = 0;
    UniString name;
    UniString comment;
};

std::string MakeComment(UInt32 i)
{
    return "a comment of some words about item " + std::to_string(i);
}

const std::vector<Item>& GetItems()
{
    static const std::vector<Item> items = [] {
        std::vector<Item> made(Count);
        for (UInt32 i = 0; i < Count; ++i) {
            made[i].number = i;
            made[i].real = i * 0.5;
            made[i].name = UniString(MakeText(i).c_str());
            made[i].comment = UniString(MakeComment(i).c_str());
        }
        return made;
    }();
    return items;
}

void WriteItems(OChannel& oc)
{
    for (const Item& item : GetItems()) {
        oc.Write(item);
    }
}

void WriteObjectsQV(benchmark::State& state)
{
    USize bytes = 0;
    for (auto _ : state) {
        OMemChannel out;
        WriteItems(out);
        bytes = out.DataSize();
        benchmark::DoNotOptimize(out.LockData());
    }
    Finish(state, bytes);
}
BENCHMARK(WriteObjectsQV)->Name("WriteObjects/QVMemChannel");

void ReadObjectsQV(benchmark::State& state)
{
    OMemChannel out;
    WriteItems(out);
    for (auto _ : state) {
        IMemChannel in(out.LockData(), static_cast<int>(out.DataSize()));
        std::vector<Item> items(Count);
        for (Item& item : items) {
            in.Read(item);
        }
        benchmark::DoNotOptimize(items.data());
    }
    Finish(state, out.DataSize());
}
BENCHMARK(ReadObjectsQV)->Name("ReadObjects/QVMemChannel");

#ifdef QV_PEER_PROTOBUF_MESSAGES
using namespace google::protobuf;

std::vector<RecordPeers::Item> MakeMessages()
{
    std::vector<RecordPeers::Item> messages(Count);
    for (UInt32 i = 0; i < Count; ++i) {
        messages[i].set_number(i);
        messages[i].set_real(i * 0.5);
        messages[i].set_name(MakeText(i));
        messages[i].set_comment(MakeComment(i));
    }
    return messages;
}

template <class Messages>
void WriteDelimited(const Messages& messages, std::string* bytes)
{
    io::StringOutputStream stream(bytes);
    io::CodedOutputStream coded(&stream);
    for (const auto& message : messages) {
        coded.WriteVarint32(static_cast<UInt32>(message.ByteSizeLong()));
        message.SerializeWithCachedSizes(&coded);
    }
}

template <class Message>
void ReadDelimited(const std::string& bytes, std::vector<Message>& messages)
{
    io::CodedInputStream coded(reinterpret_cast<const UInt8*>(bytes.data()), static_cast<int>(bytes.size()));
    for (Message& message : messages) {
        UInt32 size = 0;
        coded.ReadVarint32(&size);
        const auto limit = coded.PushLimit(static_cast<int>(size));
        message.ParseFromCodedStream(&coded);
        coded.PopLimit(limit);
    }
}

template <class Message>
void WriteMessages(benchmark::State& state, const std::vector<Message>& messages)
{
    USize size = 0;
    for (auto _ : state) {
        std::string bytes;
        WriteDelimited(messages, &bytes);
        size = bytes.size();
        benchmark::DoNotOptimize(bytes.data());
    }
    Finish(state, size);
}

template <class Message>
void ReadMessages(benchmark::State& state, const std::vector<Message>& written)
{
    std::string bytes;
    WriteDelimited(written, &bytes);
    for (auto _ : state) {
        std::vector<Message> messages(Count);
        ReadDelimited(bytes, messages);
        benchmark::DoNotOptimize(messages.data());
    }
    Finish(state, bytes.size());
}

void WriteObjectsProtobuf(benchmark::State& state)
{
    WriteMessages(state, MakeMessages());
}
BENCHMARK(WriteObjectsProtobuf)->Name("WriteObjects/protobuf");

void ReadObjectsProtobuf(benchmark::State& state)
{
    ReadMessages(state, MakeMessages());
}
BENCHMARK(ReadObjectsProtobuf)->Name("ReadObjects/protobuf");

std::vector<RecordPeers::Record> MakeRecordMessages()
{
    std::vector<RecordPeers::Record> messages(Count);
    for (UInt32 i = 0; i < Count; ++i) {
        const PlainRecord& record = GetPlainRecords()[i];
        messages[i].set_number(record.number);
        messages[i].set_large(record.large);
        messages[i].set_real(record.real);
        messages[i].set_text(record.text);
        messages[i].set_id(record.id.data(), record.id.size());
    }
    return messages;
}

void WriteRecordsProtobuf(benchmark::State& state)
{
    WriteMessages(state, MakeRecordMessages());
}
BENCHMARK(WriteRecordsProtobuf)->Name("WriteRecords/protobuf");

void ReadRecordsProtobuf(benchmark::State& state)
{
    ReadMessages(state, MakeRecordMessages());
}
BENCHMARK(ReadRecordsProtobuf)->Name("ReadRecords/protobuf");
#endif

// ---- whole documents: nodes with two references each

constexpr ClassInfo nodeInfo("Benchmark::Node", {31, 2}, Guid(0x31, 2, 1, {}), {1, 0}, {1, 0});
constexpr ClassInfo rootInfo("Benchmark::Root", {31, 3}, Guid(0x31, 3, 1, {}), {1, 0}, {1, 0});

class Node : public Object {
public:
    const ClassInfo* GetClassInfo() const override { return &nodeInfo; }
    QVErrCode Write(OChannel& oc) const override
    {
        const OutputFrame frame(oc, nodeInfo);
        oc.Write(real);
        oc.Write(name);
        ObjectOutput::WriteReference(oc, first);
        return ObjectOutput::WriteReference(oc, second);
    }
    QVErrCode Read(IChannel& ic) override
    {
        const InputFrame frame(ic, nodeInfo);
        if (frame.GetStatus() != NoError) {
            return IChannel::ConvertObjectReadError(frame.GetStatus());
        }
        ic.Read(real);
        ic.Read(name);
        const QVErrCode error = ObjectInput::ReadReference(ic, first);
        return error != NoError ? error : ObjectInput::ReadReference(ic, second);
    }

    double real = 0;
    UniString name;
    Node* first = nullptr;
    Node* second = nullptr;
};

class Root : public Object {
public:
    const ClassInfo* GetClassInfo() const override { return &rootInfo; }
    QVErrCode Write(OChannel& oc) const override
    {
        const OutputFrame frame(oc, rootInfo);
        oc.Write(static_cast<UInt32>(nodes.size()));
        for (const Node* const node : nodes) {
            ObjectOutput::WriteReference(oc, node);
        }
        return oc.GetOutputStatus();
    }
    QVErrCode Read(IChannel& ic) override
    {
        const InputFrame frame(ic, rootInfo);
        UInt32 count = 0;
        QVErrCode error = ic.Read(count);
        for (UInt32 i = 0; i < count && error == NoError; ++i) {
            error = ObjectInput::ReadReference(ic, nodes.emplace_back());
        }
        return error;
    }

    std::vector<Node*> nodes;
};

const RegisteredClass<Node> registeredNode(nodeInfo);
const RegisteredClass<Root> registeredRoot(rootInfo);

/// Both references lead to nodes before it, so that a peer that goes down references does not go deep.
UInt32 GetFirst(UInt32 i)
{
    return i / 2;
}
UInt32 GetSecond(UInt32 i)
{
    return static_cast<UInt32>(i * UInt64{0x9E3779B9u} % (i + 1));
}

Root* MakeGraph(ObjectOwner& owner)
{
    Root* const root = owner.Make<Root>();
    for (UInt32 i = 0; i < Count; ++i) {
        Node* const node = owner.Make<Node>();
        root->nodes.push_back(node);
        node->real = i * 0.5;
        node->name = UniString(MakeText(i).c_str());
        node->first = root->nodes[GetFirst(i)];
        node->second = root->nodes[GetSecond(i)];
    }
    return root;
}

void WriteGraphQV(benchmark::State& state)
{
    ObjectOwner owner;
    const Root* const root = MakeGraph(owner);
    USize bytes = 0;
    for (auto _ : state) {
        OMemChannel out;
        ObjectOutput(out).Write(root);
        bytes = out.DataSize();
        benchmark::DoNotOptimize(out.LockData());
    }
    Finish(state, bytes);
}
BENCHMARK(WriteGraphQV)->Name("WriteGraph/QVObjectOutput");

void ReadGraphQV(benchmark::State& state)
{
    OMemChannel out;
    {
        ObjectOwner owner;
        ObjectOutput(out).Write(MakeGraph(owner));
    }
    for (auto _ : state) {
        IMemChannel in(out.LockData(), static_cast<int>(out.DataSize()));
        Root* root = nullptr;
        ObjectInput input(in);
        if (input.Read(root) != NoError) {
            state.SkipWithError("cannot be read");
        }
        state.PauseTiming();
        input.TakeObjects();
        state.ResumeTiming();
    }
    Finish(state, out.DataSize());
}
BENCHMARK(ReadGraphQV)->Name("ReadGraph/QVObjectInput");

#ifdef QV_PEER_BOOST_SERIALIZATION
struct PlainNode {
    double real = 0;
    std::string name;
    PlainNode* first = nullptr;
    PlainNode* second = nullptr;

    template <class Archive>
    void serialize(Archive& archive, unsigned int)
    {
        archive & real & name & first & second;
    }
};

struct PlainRoot {
    std::vector<PlainNode*> nodes;

    template <class Archive>
    void serialize(Archive& archive, unsigned int)
    {
        archive & nodes;
    }
    void Delete()
    {
        for (PlainNode* const node : nodes) {
            delete node;
        }
        nodes.clear();
    }
};

PlainRoot MakePlainGraph()
{
    PlainRoot root;
    for (UInt32 i = 0; i < Count; ++i) {
        root.nodes.push_back(new PlainNode{i * 0.5, MakeText(i), nullptr, nullptr});
        root.nodes[i]->first = root.nodes[GetFirst(i)];
        root.nodes[i]->second = root.nodes[GetSecond(i)];
    }
    return root;
}

void WriteGraphBoost(benchmark::State& state)
{
    PlainRoot root = MakePlainGraph();
    const PlainRoot& written = root;
    USize bytes = 0;
    for (auto _ : state) {
        std::ostringstream stream;
        boost::archive::binary_oarchive archive(stream, boostFlags);
        archive << written;
        bytes = static_cast<USize>(stream.tellp());
    }
    root.Delete();
    Finish(state, bytes);
}
BENCHMARK(WriteGraphBoost)->Name("WriteGraph/boost");

void ReadGraphBoost(benchmark::State& state)
{
    PlainRoot root = MakePlainGraph();
    const PlainRoot& written = root;
    std::ostringstream stream;
    boost::archive::binary_oarchive(stream, boostFlags) << written;
    root.Delete();
    const std::string bytes = stream.str();
    for (auto _ : state) {
        std::istringstream input(bytes);
        boost::archive::binary_iarchive archive(input, boostFlags);
        archive >> root;
        state.PauseTiming();
        root.Delete();
        state.ResumeTiming();
    }
    Finish(state, bytes.size());
}
BENCHMARK(ReadGraphBoost)->Name("ReadGraph/boost");
#endif

} // namespace
