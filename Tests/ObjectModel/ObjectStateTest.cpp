#include <QVRoot/Channel/IMemChannel.hpp>
#include <QVRoot/Channel/OMemChannel.hpp>
#include <QVRoot/Channel/SwappedMemProtocol.hpp>
#include <QVRoot/Exceptions/GeneralExceptions.hpp>
#include <QVRoot/ObjectModel/Object.hpp>
#include <QVRoot/ObjectModel/ObjectStateSchema.hpp>
#include <Tests/Support/DribblingIChannel.hpp>
#include <Tests/Support/FaultSweep.hpp>

#include <limits>
#include <string>

using namespace QV;

namespace {

ObjectState MakeWall()
{
    ObjectState layer;
    layer.Set(u"width", ObjectState(0.125));
    ObjectState wall;
    wall.Set(u"name", ObjectState(UniString(u"n\u00F6rd\"\n\U0001F600\xD800")));
    wall.Set(u"height", ObjectState(3.0));
    wall.Set(u"id", ObjectState(Int64{-9000000000}));
    wall.Set(u"bears", ObjectState(true));
    wall.Set(u"owner", ObjectState());
    ObjectState layers = ObjectState::MakeList();
    layers.Append(layer);
    layers.Append(ObjectState::MakeObject());
    layers.Append(ObjectState::MakeList());
    wall.Set(u"layers", layers);
    return wall;
}

ObjectState Nest(unsigned int depth)
{
    ObjectState state;
    for (unsigned int i = 0; i < depth; ++i) {
        ObjectState outer;
        outer.Append(std::move(state));
        state = std::move(outer);
    }
    return state;
}

std::string Bytes(const ObjectState& state, OProtocol* protocol = nullptr)
{
    OMemChannel oc;
    if (protocol != nullptr) {
        oc.SetOutputProtocol(*protocol);
    }
    EXPECT_EQ(state.Write(oc), NoError);
    return std::string(oc.LockData(), oc.DataSize());
}

QVErrCode ReadFrom(const std::string& bytes, ObjectState& state, IProtocol* protocol = nullptr)
{
    IMemChannel ic(bytes.data(), static_cast<int>(bytes.size()));
    if (protocol != nullptr) {
        ic.SetInputProtocol(*protocol);
    }
    const QVErrCode error = state.Read(ic);
    EXPECT_TRUE(error == NoError || state.IsEmpty());
    return error;
}

TEST(ObjectState, ComesBackFromEveryEncoding)
{
    OSwappedMemProtocol oSwapped;
    ISwappedMemProtocol iSwapped;
    for (const ObjectState& state :
         {MakeWall(), Nest(ObjectState::MaxDepth), ObjectState(), ObjectState(1e300)}) {
        ObjectState read(5);
        EXPECT_EQ(ReadFrom(Bytes(state), read), NoError);
        EXPECT_EQ(read, state);
        EXPECT_EQ(ReadFrom(Bytes(state, &oSwapped), read, &iSwapped), NoError);
        EXPECT_EQ(read, state);
    }
}

TEST(ObjectState, RefusesWhatIsDamaged)
{
    const std::string bytes = Bytes(MakeWall());
    ObjectState state;
    for (std::size_t size = 0; size < bytes.size(); ++size) {
        EXPECT_EQ(ReadFrom(bytes.substr(0, size), state), ErrEndOfInput) << size;
    }
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        std::string damaged = bytes;
        damaged[i] = static_cast<char>(damaged[i] ^ 0xFF);
        ReadFrom(damaged, state);
    }
    EXPECT_EQ(ReadFrom(std::string("\2\0\0", 3), state), ErrGeneral) << "a newer version";
    EXPECT_EQ(ReadFrom(std::string("\1\0\7", 3), state), ErrDataIntegrity) << "no such kind";
    EXPECT_EQ(ReadFrom(std::string("\1\0\1\2", 4), state), ErrDataIntegrity) << "no boolean";
    EXPECT_EQ(ReadFrom(std::string("\1\0\5\xFF\xFF\xFF\xFF\0\0", 9), state), ErrEndOfInput)
        << "a hostile count";
    std::string deep("\1\0", 2);
    for (unsigned int i = 0; i < 100000; ++i) {
        deep += std::string("\5\1\0\0\0", 5);
    }
    EXPECT_EQ(ReadFrom(deep, state), ErrDataIntegrity);
    for (const UInt32 count : {2u, 40u}) {
        ObjectState fields;
        for (UInt32 i = 0; i < count; ++i) {
            fields.Set(UniString(std::u16string(1, static_cast<char16_t>('A' + i)).c_str()), ObjectState(1));
        }
        std::string twice = Bytes(fields);
        EXPECT_EQ(ReadFrom(twice, state), NoError);
        twice[twice.rfind(static_cast<char>('A' + count - 1))] = 'A';
        EXPECT_EQ(ReadFrom(twice, state), ErrDataIntegrity) << "a field twice";
    }
    Testing::SweepAllocationFailures([&] {
        ObjectState read;
        IMemChannel ic(bytes.data(), static_cast<int>(bytes.size()));
        const QVErrCode error = read.Read(ic);
        EXPECT_TRUE(error == NoError || (error == ErrMemoryFull && read.IsEmpty()));
        return error == NoError;
    });
}

TEST(ObjectState, IsNeverNestedTooDeep)
{
    ObjectState deepest = Nest(ObjectState::MaxDepth);
    EXPECT_EQ(ObjectState(deepest), deepest);
    ObjectState outer;
    EXPECT_THROW(outer.Append(deepest), LimitViolationException);
    ObjectState object;
    EXPECT_THROW(object.Set(u"a", deepest), LimitViolationException);
    object.Clear();
    object.Set(u"a", deepest.GetElement(0));
    EXPECT_THROW(outer.Append(object), LimitViolationException);
}

TEST(ObjectState, HasAReadableText)
{
    const char* const expected = R"({
  "name": "n)"
                                 "\xC3\xB6"
                                 R"(rd\"\n)"
                                 "\xF0\x9F\x98\x80"
                                 R"(\ud800",
  "height": 3.0,
  "id": -9000000000,
  "bears": true,
  "owner": null,
  "layers": [
    {
      "width": 0.125
    },
    {},
    []
  ]
})";
    EXPECT_EQ(MakeWall().ToText(), UniString(expected, UTF8CharCode));
    OMemChannel oc;
    MakeWall().Print(oc);
    EXPECT_EQ(std::string(oc.LockData(), oc.DataSize()), expected);

    ObjectState numbers;
    for (const double number : {1e300, -0.0, 0.1, std::numeric_limits<double>::infinity()}) {
        numbers.Append(ObjectState(number));
    }
    EXPECT_EQ(numbers.ToText(), u"[1e+300, -0.0, 0.1, inf]");
}

/// A class that is restored from states.
class Layer : public Object {
public:
    ErrorStatus Validate(const ObjectState& state, bool* valid) override
    {
        static const RealSchema width(0.0, 10.0);
        static const KindSchema text(ObjectState::StringKind);
        static const IntegerSchema color(0, 255);
        static const ListSchema colors(color, 0, 3);
        static const ObjectSchema schema =
            ObjectSchema().Require(u"width", width).Allow(u"name", text).Allow(u"colors", colors);
        return schema.Validate(state, valid);
    }
    ErrorStatus RestoreValidated(const ObjectState& state) override
    {
        width_ = state.Get(u"width").GetReal();
        return ErrorStatus();
    }

    double width_ = 1;
};

TEST(ObjectState, RestoresObjectsOnlyFromWhatTheirSchemaAccepts)
{
    Layer layer;
    ObjectState state;
    const auto reasonOf = [&] {
        const ErrorStatus status = layer.Restore(state);
        EXPECT_EQ(status, ErrDataIntegrity);
        EXPECT_EQ(layer.width_, 1);
        return status.HasErrorMessage() ? status.GetErrorMessage() : UniString();
    };
    EXPECT_EQ(reasonOf(), u"an object is expected");
    state.Set(u"name", ObjectState(UniString(u"brick")));
    EXPECT_EQ(reasonOf(), u"width: the field is missing");
    state.Set(u"width", ObjectState(std::numeric_limits<double>::quiet_NaN()));
    EXPECT_EQ(reasonOf(), u"width: a number from 0 to 10 is expected");
    state.Set(u"width", ObjectState(2.5));
    state.Set(u"depth", ObjectState(2.5));
    EXPECT_EQ(reasonOf(), u"depth: the field is not known");
    state.Remove(u"depth");
    ObjectState colors;
    colors.Append(ObjectState(255));
    colors.Append(ObjectState(256));
    state.Set(u"colors", colors);
    EXPECT_EQ(reasonOf(), u"colors[1]: an integer from 0 to 255 is expected");
    state.Set(u"colors", ObjectState::MakeList());
    EXPECT_TRUE(layer.Restore(state).IsOK());
    EXPECT_EQ(layer.width_, 2.5);

    static const KindSchema text(ObjectState::StringKind);
    static const ObjectSchema inner = ObjectSchema().Require(u"a", text);
    static const ListSchema list(inner);
    static const ObjectSchema outer = ObjectSchema().Require(u"list", list).AllowOthers();
    ObjectState a;
    a.Set(u"a", ObjectState(1));
    ObjectState items;
    items.Append(a);
    ObjectState whole;
    whole.Set(u"list", items);
    whole.Set(u"other", a);
    bool valid = true;
    EXPECT_EQ(outer.Validate(whole, &valid).GetErrorMessage(), u"list[0].a: a text is expected");
    EXPECT_FALSE(valid);
}

} // namespace
