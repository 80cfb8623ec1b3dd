#include <QVRoot/BasicEnvironment/ErrorStatus.hpp>
#include <QVRoot/Channel/IMemChannel.hpp>
#include <QVRoot/Channel/OMemChannel.hpp>
#include <QVRoot/Exceptions/GeneralExceptions.hpp>
#include <QVRoot/ObjectModel/Frame.hpp>
#include <QVRoot/ObjectModel/Object.hpp>

#include <gtest/gtest.h>

#include <memory>
#include <string>

using namespace QV;

namespace {

constexpr ClassInfo wallInfo("Wall", {7, 8}, Guid(1, 2, 3, {4, 5, 6, 7, 8, 9, 10, 11}), {2, 0}, {1, 0});

class Wall : public Object {
public:
    explicit Wall(Int32 height = 0) : height_(height) {}
    Wall* Clone() const override { return new Wall(*this); }
    const ClassInfo* GetClassInfo() const override { return &wallInfo; }
    QVErrCode Write(OChannel& oc) const override
    {
        const OutputFrame frame(oc, wallInfo);
        oc.Write(frame.GetMainVersion() >= 2 ? height_ : -height_);
        return oc.GetOutputStatus();
    }
    QVErrCode Read(IChannel& ic) override
    {
        const InputFrame frame(ic, wallInfo);
        if (frame.GetStatus() != NoError) {
            return IChannel::ConvertObjectReadError(frame.GetStatus());
        }
        const QVErrCode error = ic.Read(height_);
        height_ = frame.GetMainVersion() >= 2 ? height_ : -height_;
        return IChannel::ConvertObjectReadError(error);
    }

    Int32 height_;
};

class Plain : public Object {
public:
    ErrorStatus CallValidate(const ObjectState& state, bool* valid) { return Validate(state, valid); }
};

std::string Bytes(OMemChannel& oc)
{
    return std::string(oc.LockData(), oc.DataSize());
}

TEST(Object, TheBaseAnswersThatItHasNothing)
{
    Plain plain;
    OMemChannel oc;
    IMemChannel ic("", 0);
    ObjectState state;
    EXPECT_EQ(plain.Clone(), nullptr);
    EXPECT_EQ(plain.GetClassInfo(), nullptr);
    EXPECT_EQ(plain.Read(ic), ErrGeneral);
    EXPECT_EQ(plain.Write(oc), ErrGeneral);
    EXPECT_EQ(plain.Store(state), ErrGeneral);
    EXPECT_EQ(plain.Restore(state), ErrGeneral);
    bool valid = false;
    EXPECT_TRUE(plain.CallValidate(state, &valid).IsOK());
    EXPECT_TRUE(valid);
    EXPECT_TRUE(plain.CheckState());
}

TEST(Object, AnswersFromItsClassRecordAndDumpsItsName)
{
    const Wall wall(5);
    EXPECT_STREQ(wall.GetClassName(), "Wall");
    EXPECT_EQ(wall.GetClassType(), (ClassType{7, 8}));
    EXPECT_EQ(wall.GetClassVersion(), (ClassVersion{2, 0}));
    EXPECT_EQ(wall.GetClassOldVersion(), (ClassVersion{1, 0}));
    OMemChannel oc;
    wall.Dump(oc);
    EXPECT_EQ(Bytes(oc), std::string("\5\0\0\0Wall\0\n", 10));
    const std::unique_ptr<Wall> clone(wall.Clone());
    EXPECT_EQ(clone->height_, 5);
}

TEST(Frame, WritesTheCurrentOrTheOldVersion)
{
    OMemChannel oc;
    oc << Wall(3);
    EXPECT_EQ(Bytes(oc), std::string("\2\0\3\0\0\0", 6));
    ClassManager::SetOutputVersion(1);
    oc << Wall(3);
    ClassManager::SetOutputVersion(0);
    EXPECT_EQ(Bytes(oc).substr(6), std::string("\1\0\xFD\xFF\xFF\xFF", 6));

    IMemChannel ic(oc.LockData(), static_cast<int>(oc.DataSize()));
    Wall current;
    Wall old;
    EXPECT_EQ(ic.Read(current), NoError);
    EXPECT_EQ(ic.Read(old), NoError);
    EXPECT_EQ(current.height_, 3);
    EXPECT_EQ(old.height_, 3);
    EXPECT_EQ(ic.Read(old), ErrDataIntegrity) << "the end inside an object";
}

TEST(Frame, RefusesWhatItCannotRead)
{
    const auto statusOf = [](const char* bytes, int size) {
        IMemChannel ic(bytes, size);
        const InputFrame frame(ic, wallInfo);
        return frame.GetStatus();
    };
    EXPECT_EQ(statusOf("\3\0", 2), ErrGeneral) << "newer main version";
    EXPECT_EQ(statusOf("\3\1\5\0\0\0", 6), ErrGeneral) << "a refusal stays";
    EXPECT_EQ(statusOf("\0\0", 2), ErrGeneral);
    EXPECT_EQ(statusOf("\2", 1), ErrEndOfInput);
    EXPECT_EQ(statusOf("\2\1\1", 3), ErrEndOfInput);
    EXPECT_EQ(statusOf("\2\1\0\0\0\0", 6), NoError) << "no data, nothing to skip";
    EXPECT_EQ(statusOf("\2\1\5\0\0\0", 6), ErrGeneral) << "a length, but no positions";
}

TEST(Frame, TypesAndVersionsHaveFixedForms)
{
    OMemChannel oc;
    EXPECT_EQ((ClassType{1, 2}.Write(oc)), NoError);
    EXPECT_EQ((ClassVersion{3, 4}.Write(oc)), NoError);
    EXPECT_EQ(Bytes(oc), std::string("\1\0\0\0\2\0\0\0\3\4", 10));
    IMemChannel ic(oc.LockData(), static_cast<int>(oc.DataSize()));
    ClassType type;
    ClassVersion version;
    EXPECT_EQ(type.Read(ic), NoError);
    EXPECT_EQ(version.Read(ic), NoError);
    EXPECT_EQ(type, (ClassType{1, 2}));
    EXPECT_EQ(version, (ClassVersion{3, 4}));
}

TEST(SerializationContext, FlagsAndPointersCountFromTheStart)
{
    static const SerializationContext::Flag first;
    static const SerializationContext::Flag second;
    EXPECT_EQ(first.GetMask(), 1u);
    EXPECT_EQ(second.GetMask(), 2u);
    SerializationContext::Pointer pointers[11];
    EXPECT_EQ(pointers[0].GetIndex(), 0u);
    EXPECT_EQ(pointers[9].GetIndex(), 9u);

    SerializationContext context;
    EXPECT_FALSE(context.IsSet(first) || context.IsSet(second) || context.IsSet(pointers[0]));
    context.Set(second);
    context.Set(first, true);
    context.Set(first, false);
    EXPECT_TRUE(context.Get(second));
    EXPECT_FALSE(context.Get(first));
    int value;
    context.Set(pointers[9], &value);
    context.Set(pointers[10], &value);
    EXPECT_EQ(context.Get(pointers[9]), &value);
    EXPECT_FALSE(context.IsSet(pointers[10])) << "there are ten slots";
    SerializationContext copy = context;
    context.Clear(pointers[9]);
    context.Clear(second);
    EXPECT_TRUE(copy.IsSet(pointers[9]) && copy.IsSet(second));
    EXPECT_FALSE(context.IsSet(pointers[9]) || context.IsSet(second));
}

TEST(ObjectState, HoldsATreeOfValues)
{
    ObjectState wall;
    wall.Set(u"height", ObjectState(2.75));
    wall.Set(u"name", ObjectState(UniString(u"north")));
    ObjectState layers;
    layers.Append(ObjectState(1));
    layers.Append(ObjectState(true));
    wall.Set(u"layers", layers);
    wall.Set(u"height", ObjectState(3.5));

    EXPECT_EQ(wall.GetCount(), 3u);
    EXPECT_EQ(wall.GetFieldName(0), u"height");
    EXPECT_EQ(wall.Get(u"height").GetReal(), 3.5);
    EXPECT_EQ(wall.Get(u"name").GetString(), u"north");
    EXPECT_EQ(wall.Get(u"layers").GetElement(0).GetInteger(), 1);
    EXPECT_TRUE(wall.Get(u"layers").GetElement(1).GetBoolean());
    EXPECT_THROW(wall.Get(u"height").GetInteger(), IllegalTypeException);
    EXPECT_THROW(wall.Get(u"width"), IllegalReferenceException);
    EXPECT_THROW(wall.Append(ObjectState(1)), IllegalTypeException);

    ObjectState copy = wall;
    EXPECT_EQ(copy, wall);
    EXPECT_TRUE(copy.Remove(u"name"));
    EXPECT_FALSE(copy.Remove(u"name"));
    EXPECT_FALSE(copy == wall);
    copy = ObjectState(copy.Get(u"layers"));
    EXPECT_EQ(copy, layers);
    const ObjectState moved(std::move(copy));
    EXPECT_TRUE(copy.IsEmpty());
    EXPECT_EQ(moved, layers);
}

} // namespace
