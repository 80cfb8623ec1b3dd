#include <QVRoot/Channel/IMemChannel.hpp>
#include <QVRoot/Channel/OMemChannel.hpp>
#include <QVRoot/Channel/SwappedMemProtocol.hpp>
#include <QVRoot/ObjectModel/OpaqueObject.hpp>
#include <Tests/Support/DribblingIChannel.hpp>
#include <Tests/Support/DribblingOChannel.hpp>
#include <Tests/Support/FaultSweep.hpp>
#include <Tests/Support/GraphModel.hpp>

#include <string>

namespace QV {

using namespace Test;

namespace {

class ObjectGraph : public testing::Test {
protected:
    void SetUp() override { liveBefore_ = liveObjects; }
    void TearDown() override { EXPECT_EQ(liveObjects, liveBefore_); }

    RegisteredClass<Node> nodes_{nodeInfo};
    RegisteredClass<Box> boxes_{boxInfo};

private:
    int liveBefore_ = 0;
};

/// Two nodes that share a third one, which leads back to the first, to itself and to nothing.
Node* MakeCircle(ObjectOwner& owner)
{
    Node* const a = owner.Make<Node>(u"a");
    Node* const b = owner.Make<Node>(u"b");
    Node* const c = owner.Make<Node>(u"c");
    a->links = {b, c};
    b->links = {c, nullptr};
    c->links = {a, c, b};
    return a;
}

void ExpectCircle(const Node* a)
{
    ASSERT_TRUE(a != nullptr && a->links.GetCount() == 2);
    const Node* const b = a->At(0);
    const Node* const c = a->At(1);
    ASSERT_EQ(b->links.GetCount(), 2u);
    ASSERT_EQ(c->links.GetCount(), 3u);
    EXPECT_EQ(a->name, u"a");
    EXPECT_EQ(b->name, u"b");
    EXPECT_EQ(c->name, u"c");
    EXPECT_TRUE(b->At(0) == c && b->At(1) == nullptr);
    EXPECT_TRUE(c->At(0) == a && c->At(1) == c && c->At(2) == b);
}

std::string WriteGraph(const Object* root, OProtocol* protocol = nullptr)
{
    OMemChannel oc;
    if (protocol != nullptr) {
        oc.SetOutputProtocol(*protocol);
    }
    ObjectOutput out(oc);
    EXPECT_EQ(out.Write(root), NoError);
    return std::string(oc.LockData(), oc.DataSize());
}

/// What reading answers; the objects are gone afterwards.
template <class T = Object>
QVErrCode TryRead(const std::string& bytes, IProtocol* protocol = nullptr,
                  ObjectInput::UnknownClasses unknown = ObjectInput::RefuseUnknown)
{
    IMemChannel ic(bytes.data(), static_cast<int>(bytes.size()));
    if (protocol != nullptr) {
        ic.SetInputProtocol(*protocol);
    }
    ObjectInput in(ic, unknown);
    T* root = nullptr;
    const QVErrCode error = in.Read(root);
    EXPECT_EQ(in.GetStatus().GetErrorCode(), error == ErrEndOfInput ? NoError : error);
    EXPECT_TRUE(error == NoError || in.TakeObjects().IsEmpty());
    return error;
}

std::string MakeCircleBytes()
{
    ObjectOwner owner;
    return WriteGraph(MakeCircle(owner));
}

/// A box with a box on each side, the left one with a node in front.
std::unique_ptr<Box> MakeBoxes(ObjectOwner& owner)
{
    auto box = std::make_unique<Box>();
    box->left = std::make_unique<Box>();
    box->left->front = owner.Make<Node>(u"n");
    box->right = std::make_unique<Box>();
    return box;
}

} // namespace

TEST_F(ObjectGraph, SharedAndCircularReferencesComeBackInEveryEncodingAndOverEveryChannel)
{
    ObjectOwner owner;
    const Node* const root = MakeCircle(owner);
    OSwappedMemProtocol oSwapped;
    ISwappedMemProtocol iSwapped;
    const std::string bytes = WriteGraph(root);
    const std::string swapped = WriteGraph(root, &oSwapped);
    EXPECT_EQ(bytes.size(), swapped.size());
    EXPECT_NE(bytes, swapped);
    for (const bool isSwapped : {false, true}) {
        for (const bool dribbles : {false, true}) {
            const std::string& source = isSwapped ? swapped : bytes;
            IMemChannel memory(source.data(), static_cast<int>(source.size()));
            DribblingIChannel dribbling(memory, 3);
            IChannel& ic = dribbles ? static_cast<IChannel&>(dribbling) : memory;
            if (isSwapped) {
                ic.SetInputProtocol(iSwapped);
            }
            ObjectInput in(ic);
            Node* read = nullptr;
            ASSERT_EQ(in.Read(read), NoError);
            ExpectCircle(read);
            EXPECT_EQ(in.TakeObjects().GetCount(), 3u);
            UInt64 rest = 1;
            memory.GetAvailable(&rest);
            EXPECT_EQ(rest, 0u);
        }
    }
    EXPECT_EQ(TryRead(bytes, &iSwapped), ErrDataIntegrity);
}

TEST_F(ObjectGraph, RootsFollowOneAnotherAndKnowWhatIsThere)
{
    ObjectOwner owner;
    Node* const a = MakeCircle(owner);
    Node* const d = owner.Make<Node>(u"d");
    d->links = {a};
    OMemChannel oc;
    ObjectOutput out(oc);
    EXPECT_EQ(out.Write(a), NoError);
    oc << UInt32{77};
    EXPECT_EQ(out.Write(d), NoError);
    EXPECT_EQ(out.Write(a->At(1)), NoError);
    EXPECT_EQ(out.Write(nullptr), NoError);
    EXPECT_EQ(out.GetObjectCount(), 4u);

    IMemChannel ic(oc.LockData(), static_cast<int>(oc.DataSize()));
    ObjectInput in(ic);
    Node* readA = nullptr;
    Node* readD = nullptr;
    Node* readC = nullptr;
    Node* nothing = d;
    UInt32 between = 0;
    ASSERT_EQ(in.Read(readA), NoError);
    const ObjectOwner first = in.TakeObjects();
    ASSERT_EQ(ic.Read(between), NoError);
    ASSERT_EQ(in.Read(readD), NoError);
    ASSERT_EQ(in.Read(readC), NoError);
    ASSERT_EQ(in.Read(nothing), NoError);
    EXPECT_EQ(between, 77u);
    EXPECT_EQ(readD->At(0), readA);
    EXPECT_EQ(readC, readA->At(1));
    EXPECT_EQ(nothing, nullptr);
    EXPECT_EQ(in.Read(nothing), ErrEndOfInput) << "nothing of a graph is there";
    EXPECT_TRUE(in.GetStatus().IsOK());
    EXPECT_EQ(in.TakeObjects().GetCount(), 1u);
}

TEST_F(ObjectGraph, ALongChainNeedsNoStack)
{
    const UInt32 length = MemoryManager::IsDebugAllocationEnabled() ? 1000 : 1000000;
    std::string bytes;
    {
        ObjectOwner owner;
        Node* last = nullptr;
        for (UInt32 i = 0; i < length; ++i) {
            Node* const node = owner.Make<Node>();
            node->links.Append(last);
            last = node;
        }
        bytes = WriteGraph(last);
    }
    IMemChannel ic(bytes.data(), static_cast<int>(bytes.size()));
    ObjectInput in(ic);
    Node* node = nullptr;
    ASSERT_EQ(in.Read(node), NoError);
    UInt32 count = 0;
    for (; node != nullptr; node = node->At(0)) {
        ++count;
    }
    EXPECT_EQ(count, length);
}

TEST_F(ObjectGraph, OwnedObjectsAreTheirOwners)
{
    ObjectOwner owner;
    const std::unique_ptr<Box> boxes = MakeBoxes(owner);
    const std::string bytes = WriteGraph(boxes.get());
    IMemChannel ic(bytes.data(), static_cast<int>(bytes.size()));
    ObjectInput in(ic);
    Box* box = nullptr;
    ASSERT_EQ(in.Read(box), NoError);
    EXPECT_EQ(box->left->front->name, u"n");
    EXPECT_TRUE(box->right != nullptr && box->right->left == nullptr);
    const ObjectOwner objects = in.TakeObjects();
    ASSERT_EQ(objects.GetCount(), 2u) << "the outer box and the node";
    EXPECT_EQ(objects[0], box);
}

TEST_F(ObjectGraph, AnObjectHasOneOwnerAndNoCircle)
{
    // Boxes that are not what they own: the pointers are given up before anything is deleted.
    const auto write = [](void (*tangle)(Box&, Box&, Box&), void (*untangle)(Box&)) {
        Box boxes[3];
        tangle(boxes[0], boxes[1], boxes[2]);
        std::string bytes = WriteGraph(&boxes[0]);
        for (Box& box : boxes) {
            untangle(box);
        }
        return bytes;
    };
    const auto giveUp = [](Box& box) {
        (void)box.left.release();
        (void)box.right.release();
    };
    const std::string twice = write(
        [](Box& a, Box& b, Box&) {
            a.left.reset(&b);
            a.right.reset(&b);
        },
        giveUp);
    EXPECT_EQ(TryRead(twice), ErrDataIntegrity);
    const std::string itself = write([](Box& a, Box&, Box&) { a.left.reset(&a); }, giveUp);
    EXPECT_EQ(TryRead(itself), ErrDataIntegrity);
    const std::string circle = write(
        [](Box& a, Box& b, Box& c) {
            a.left.reset(&b);
            b.left.reset(&c);
            c.right.reset(&a);
        },
        giveUp);
    EXPECT_EQ(TryRead(circle), ErrDataIntegrity);

    const auto nest = [](int levels) {
        auto outer = std::make_unique<Box>();
        for (int i = 0; i < levels; ++i) {
            auto box = std::make_unique<Box>();
            box->left = std::move(outer);
            outer = std::move(box);
        }
        return WriteGraph(outer.get());
    };
    EXPECT_EQ(TryRead(nest(1000)), NoError);
    EXPECT_EQ(TryRead(nest(1001)), ErrDataIntegrity);
}

TEST_F(ObjectGraph, RefusesWhatCannotBeReadBack)
{
    static constexpr ClassInfo strangerInfo("Test::Stranger", {}, Guid(0x21, 3, 1, {}), {1, 0}, {1, 0});
    class Stranger : public Node {
    public:
        const ClassInfo* GetClassInfo() const override { return &strangerInfo; }
    };
    Stranger stranger;
    OMemChannel oc;
    ObjectOutput out(oc);
    EXPECT_EQ(out.Write(&stranger), ErrGeneral);
    ASSERT_TRUE(out.GetStatus().HasErrorMessage());
    EXPECT_TRUE(out.GetStatus().GetErrorMessage().Contains("Test::Stranger"));
    EXPECT_EQ(out.Write(nullptr), ErrGeneral) << "sticky";
    EXPECT_EQ(ObjectOutput::WriteReference(oc, &stranger), ErrGeneral) << "no graph here";

    Node node;
    node.links = {&stranger};
    EXPECT_EQ(ObjectOutput(oc).Write(&node), ErrGeneral);

    const std::string bytes = MakeCircleBytes();
    EXPECT_EQ(TryRead<Box>(bytes), ErrDataIntegrity) << "a root of another class";
    Box box;
    Node front;
    box.front = &front;
    std::string wrong = WriteGraph(&box);
    wrong.replace(wrong.find("Test::Node"), 10, "Test::Nope");
    EXPECT_EQ(TryRead(wrong), NoError) << "the identifier is what counts";
    wrong.replace(wrong.find(std::string("\x21\0\0\0\1\0\1\0", 8)), 8, std::string("\x21\0\0\0\2\0\1\0", 8));
    EXPECT_EQ(TryRead(wrong), ErrDataIntegrity) << "a reference to an object of another class";
}

TEST_F(ObjectGraph, ObjectsOfUnknownClassesAreRefusedSkippedOrKept)
{
    std::string bytes;
    std::string swapped;
    {
        ObjectOwner owner;
        Node* const a = MakeCircle(owner);
        Box box;
        box.front = a;
        a->links.Append(&box);
        OSwappedMemProtocol protocol;
        bytes = WriteGraph(a);
        swapped = WriteGraph(a, &protocol);
    }
    std::string unknown = bytes;
    unknown.replace(unknown.find(std::string("\x21\0\0\0\2\0", 6)), 6, std::string("\x99\0\0\0\2\0", 6));
    EXPECT_EQ(TryRead(unknown), ErrGeneral);

    for (const auto rule : {ObjectInput::SkipUnknown, ObjectInput::KeepUnknown}) {
        IMemChannel ic(unknown.data(), static_cast<int>(unknown.size()));
        ObjectInput in(ic, rule);
        Node* a = nullptr;
        ASSERT_EQ(in.Read(a), NoError);
        EXPECT_EQ(in.GetUnknownCount(), 1u);
        ASSERT_EQ(a->links.GetCount(), 3u);
        if (rule == ObjectInput::SkipUnknown) {
            EXPECT_EQ(a->links[2], nullptr);
            continue;
        }
        const auto* const opaque = dynamic_cast<const OpaqueObject*>(a->links[2]);
        ASSERT_NE(opaque, nullptr);
        EXPECT_STREQ(opaque->GetClassName(), "Test::Box");
        ASSERT_EQ(opaque->GetReferences().GetCount(), 1u);
        EXPECT_EQ(opaque->GetReferences()[0], a);
        EXPECT_EQ(WriteGraph(a), unknown) << "goes through unharmed";
        OMemChannel oc;
        OSwappedMemProtocol protocol;
        oc.SetOutputProtocol(protocol);
        EXPECT_EQ(ObjectOutput(oc).Write(a), ErrGeneral) << "but not into another encoding";
    }
}

TEST_F(ObjectGraph, EveryTruncationAndEveryChangedByteEndsInACodeAndReleasesAll)
{
    ObjectOwner owner;
    const std::unique_ptr<Box> boxes = MakeBoxes(owner);
    const int live = liveObjects;
    for (const std::string& bytes : {MakeCircleBytes(), WriteGraph(boxes.get())}) {
        for (std::size_t size = 0; size < bytes.size(); ++size) {
            const QVErrCode error = TryRead(bytes.substr(0, size));
            EXPECT_TRUE(error == ErrDataIntegrity || (size < 4 && error == ErrEndOfInput))
                << size << ' ' << error;
            EXPECT_EQ(liveObjects, live);
        }
        for (std::size_t i = 0; i < bytes.size(); ++i) {
            for (const int change : {1, 0x80, 0xFF}) {
                std::string damaged = bytes;
                damaged[i] = static_cast<char>(damaged[i] ^ change);
                for (const auto rule : {ObjectInput::RefuseUnknown, ObjectInput::KeepUnknown}) {
                    TryRead(damaged, nullptr, rule);
                    EXPECT_EQ(liveObjects, live);
                }
            }
        }
    }
}

TEST_F(ObjectGraph, ReportsWhereAChannelFails)
{
    ObjectOwner owner;
    const Node* const root = MakeCircle(owner);
    const std::string bytes = WriteGraph(root);
    for (std::size_t k = 0; k < bytes.size(); ++k) {
        OMemChannel memory;
        DribblingOChannel oc(memory, 7, k);
        ObjectOutput out(oc);
        EXPECT_EQ(out.Write(root), ErrOutputFull) << k;
        EXPECT_EQ(out.GetStatus(), ErrOutputFull) << k;

        IMemChannel below(bytes.data(), static_cast<int>(bytes.size()));
        DribblingIChannel ic(below, 7, k, ErrRead);
        ObjectInput in(ic);
        Object* read = nullptr;
        EXPECT_EQ(in.Read(read), ErrRead) << k;
        EXPECT_EQ(read, nullptr);
    }
}

TEST_F(ObjectGraph, LackOfMemoryIsACodeAndLeaksNothing)
{
    const std::string bytes = MakeCircleBytes();
    Testing::SweepAllocationFailures([] {
        try {
            ObjectOwner objects;
            Node* const root = MakeCircle(objects);
            OMemChannel oc;
            ObjectOutput out(oc);
            const QVErrCode error = out.Write(root);
            EXPECT_TRUE(error == NoError || error == ErrMemoryFull);
            return error == NoError;
        } catch (const std::bad_alloc&) {
            return false; // while the objects were made
        }
    });
    const int live = liveObjects;
    Testing::SweepAllocationFailures([&] {
        IMemChannel below(bytes.data(), static_cast<int>(bytes.size()));
        DribblingIChannel ic(below, 1000);
        ObjectInput in(ic);
        Object* root = nullptr;
        const QVErrCode error = in.Read(root);
        EXPECT_TRUE(error == NoError || error == ErrMemoryFull);
        EXPECT_TRUE(error == NoError || liveObjects == live);
        return error == NoError;
    });
}

TEST_F(ObjectGraph, OldVersionsAreWrittenOnRequest)
{
    ClassManager::SetOutputVersion(1);
    const std::string bytes = MakeCircleBytes();
    ClassManager::SetOutputVersion(0);
    EXPECT_LT(bytes.size(), MakeCircleBytes().size()) << "no lengths in the frames";
    EXPECT_EQ(TryRead(bytes), NoError);
}

TEST_F(ObjectGraph, ClaimsOfTheInputCostNoMemory)
{
    const auto readPiece = [](std::string bytes) {
        IMemChannel below(bytes.data(), static_cast<int>(bytes.size()));
        DribblingIChannel ic(below, 1000);
        ObjectInput in(ic);
        Object* root = nullptr;
        return in.Read(root);
    };
    EXPECT_EQ(readPiece(std::string("\xFF\xFF\xFF\xFF\1\0\0\0", 8)), ErrDataIntegrity);
    EXPECT_EQ(readPiece(std::string("\4\0\0\0\2\0\0\0", 8)), ErrDataIntegrity) << "leaves number 1 out";
    EXPECT_EQ(readPiece(std::string("\x08\0\0\0\1\0\0\0\2\0\0\0", 12)), ErrDataIntegrity);
    EXPECT_EQ(readPiece(std::string("\0\0\0\0", 4)), ErrDataIntegrity);
    EXPECT_EQ(readPiece(std::string("\5\0\0\0\0\0\0\0\0\0\0\0\0", 13)), ErrDataIntegrity);
}

} // namespace QV
