/// How a graph is read: piece by piece, each object made when it is first referred to and read when its turn
/// comes.
#pragma once

#include <QVRoot/Containers/Array.hpp>
#include <QVRoot/ObjectModel/ClassManager.hpp>
#include <QVRoot/ObjectModel/GraphIChannelImpl.hpp>
#include <QVRoot/ObjectModel/GraphStatusImpl.hpp>
#include <QVRoot/ObjectModel/ObjectInput.hpp>

namespace QV::Impl {

class GraphReader {
public:
    GraphReader(IChannel& source, ObjectInput::UnknownClasses unknown) noexcept
        : source_(source), unknown_(unknown), part_(*this)
    {
    }
    ~GraphReader();
    GraphReader(const GraphReader&) = delete;
    GraphReader& operator=(const GraphReader&) = delete;

    static void* operator new(std::size_t size);
    static void operator delete(void* block) noexcept { MemoryManager::Free(block); }

    /// The reader whose object is being read on this channel; null when there is none.
    static GraphReader* Find(IChannel& ic) noexcept;

    QVErrCode ReadRoot(Object*& root);
    QVErrCode ReadReference(Object*& object);
    /// About the object that was read last as a reference.
    QVErrCode RefuseReference() noexcept;
    QVErrCode OwnReference() noexcept;

    ObjectOwner TakeObjects();
    /// Deletes all objects that are not owned.
    void DeleteObjects() noexcept;

    UInt32 GetObjectCount() const noexcept { return objects_.GetCount(); }
    UInt32 GetUnknownCount() const noexcept { return unknownCount_; }
    /// Whether anything of a graph was found in the last read.
    bool HasBegun() const noexcept { return begun_; }
    /// About the first failure.
    const GraphFault& GetFault() const noexcept { return fault_; }

private:
    struct KnownClass {
        static void* operator new(std::size_t size) { return GraphReader::operator new(size); }
        static void operator delete(void* block) noexcept { MemoryManager::Free(block); }

        Array<char> name;
        ClassInfo info{nullptr, {}, Guid(), {}, {}}; ///< with the version that was written
        ClassRegistration::Factory factory = nullptr;
        bool checked = false;
    };
    /// An object belongs to the reader, until it was taken or another object owns it.
    struct NumberedObject {
        Object* object;
        UInt32 classNumber;
        UInt32 owner;      ///< 0: none
        UInt32 ownedDepth; ///< how deep ownership is nested below it
        bool taken;
    };

    QVErrCode ReadSection(UInt32* root);
    QVErrCode ReadPiece();
    QVErrCode LoadPiece(UInt32 size);
    bool Reserve(UInt32 size) noexcept;
    QVErrCode ReadBody();
    QVErrCode ReadContent(const NumberedObject& entry, const char* begin, const char* end);
    QVErrCode ReadEntry(UInt32* number);
    QVErrCode ReadNewObject();
    QVErrCode ReadClass();
    QVErrCode ReadClassName(Array<char>& name);
    QVErrCode MakeObject(KnownClass& known, UInt32 classNumber);
    QVErrCode Fail(QVErrCode error, const ClassInfo* info, const char* reason) noexcept;
    QVErrCode FailDamaged(const char* reason) noexcept { return Fail(ErrDataIntegrity, nullptr, reason); }

    IChannel& source_;
    ObjectInput::UnknownClasses unknown_;
    GraphIChannel part_;
    char* buffer_ = nullptr;
    UInt32 capacity_ = 0;
    const char* pieceNext_ = nullptr;
    const char* pieceEnd_ = nullptr;
    Array<NumberedObject> objects_;
    Array<std::unique_ptr<KnownClass>> classes_;
    Array<UInt32> references_; ///< of the object being read
    UInt32 encoding_ = 0;      ///< what the bytes 1, 2, 3, 4 are as a number
    UInt32 read_ = 0;          ///< objects
    UInt32 last_ = 0;          ///< the object of the last reference
    UInt32 unknownCount_ = 0;
    bool reading_ = false;
    bool begun_ = false;
    GraphFault fault_;
    QVErrCode failure_ = NoError; ///< also when an object's `Read` drops the code
};

} // namespace QV::Impl
