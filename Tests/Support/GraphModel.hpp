/// Classes that make every kind of graph: nodes that refer to anything, boxes that own what is in them.
#pragma once

#include <QVRoot/Channel/IChannel.hpp>
#include <QVRoot/Channel/OChannel.hpp>
#include <QVRoot/ObjectModel/Frame.hpp>
#include <QVRoot/ObjectModel/ObjectInput.hpp>
#include <QVRoot/ObjectModel/ObjectOutput.hpp>
#include <QVRoot/String/UniString.hpp>

namespace QV::Test {

inline constexpr ClassInfo nodeInfo("Test::Node", {21, 1}, Guid(0x21, 1, 1, {1, 2, 3, 4, 5, 6, 7, 8}), {2, 1},
                                    {1, 0});
inline constexpr ClassInfo boxInfo("Test::Box", {21, 2}, Guid(0x21, 2, 1, {1, 2, 3, 4, 5, 6, 7, 8}), {1, 0},
                                   {1, 0});

inline int liveObjects = 0;

class Counted : public Object {
public:
    Counted() { ++liveObjects; }
    ~Counted() override { --liveObjects; }
    Counted(const Counted&) = delete;
};

/// Its frame has a length, so that it needs marks and positions.
class Node : public Counted {
public:
    explicit Node(const UniString& text = UniString()) : name(text) {}
    const ClassInfo* GetClassInfo() const override { return &nodeInfo; }
    QVErrCode Write(OChannel& oc) const override
    {
        const OutputFrame frame(oc, nodeInfo);
        oc << name << links.GetCount();
        for (const Object* const link : links) {
            if (const QVErrCode error = ObjectOutput::WriteReference(oc, link)) {
                return error;
            }
        }
        return oc.GetOutputStatus();
    }
    QVErrCode Read(IChannel& ic) override
    {
        const InputFrame frame(ic, nodeInfo);
        UInt32 count = 0;
        QVErrCode error = frame.GetStatus();
        error = error != NoError ? error : ic.Read(name);
        error = error != NoError ? error : ic.Read(count);
        for (UInt32 i = 0; i < count && error == NoError; ++i) {
            Object* link = nullptr;
            error = ObjectInput::ReadReference(ic, link);
            if (error == NoError) {
                links.Append(link);
            }
        }
        return error;
    }

    Node* At(UInt32 index) const { return static_cast<Node*>(links[index]); }

    UniString name;
    Array<Object*> links;
};

class Box : public Counted {
public:
    const ClassInfo* GetClassInfo() const override { return &boxInfo; }
    QVErrCode Write(OChannel& oc) const override
    {
        const OutputFrame frame(oc, boxInfo);
        ObjectOutput::WriteReference(oc, front);
        ObjectOutput::WriteReference(oc, left.get());
        return ObjectOutput::WriteReference(oc, right.get());
    }
    QVErrCode Read(IChannel& ic) override
    {
        const InputFrame frame(ic, boxInfo);
        QVErrCode error = frame.GetStatus();
        error = error != NoError ? error : ObjectInput::ReadReference(ic, front);
        error = error != NoError ? error : ObjectInput::ReadOwned(ic, left);
        return error != NoError ? error : ObjectInput::ReadOwned(ic, right);
    }

    Node* front = nullptr;
    std::unique_ptr<Box> left;
    std::unique_ptr<Box> right;
};

} // namespace QV::Test
