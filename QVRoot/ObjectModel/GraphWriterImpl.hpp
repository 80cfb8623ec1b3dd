/// How a graph is written: numbers for objects and classes, and the objects one after the other.
#pragma once

#include <QVRoot/ObjectModel/ClassManager.hpp>
#include <QVRoot/ObjectModel/GraphOChannelImpl.hpp>
#include <QVRoot/ObjectModel/GraphStatusImpl.hpp>
#include <QVRoot/ObjectModel/Object.hpp>
#include <QVRoot/ObjectModel/PointerTableImpl.hpp>

namespace QV::Impl {

class GraphWriter {
public:
    explicit GraphWriter(OChannel& target) noexcept : target_(target), memory_(*this) {}
    GraphWriter(const GraphWriter&) = delete;
    GraphWriter& operator=(const GraphWriter&) = delete;

    static void* operator new(std::size_t size);
    static void operator delete(void* block) noexcept { MemoryManager::Free(block); }

    /// The writer whose object is being written on this channel; null when there is none.
    static GraphWriter* Find(OChannel& oc) noexcept;

    QVErrCode WriteRoot(const Object* root);
    QVErrCode WriteReference(const Object* object);
    QVErrCode WriteOpaque(UInt32 encoding, const Array<Object*>& references, const Array<char>& data);

    UInt32 GetObjectCount() const noexcept { return objects_.GetCount(); }
    /// About the first failure.
    const GraphFault& GetFault() const noexcept { return fault_; }

private:
    struct NumberedObject {
        const Object* object;
        UInt32 classNumber;
    };

    QVErrCode WriteAll(const Object* root);
    QVErrCode WriteBody(const Object& object);
    QVErrCode WriteEntry(UInt32 number);
    QVErrCode WriteClass(const ClassInfo& info);
    QVErrCode FlushPiece();
    QVErrCode GetNumber(const Object& object, UInt32* number);
    QVErrCode GetClassNumber(const Object& object, UInt32* number);
    QVErrCode AddClass(const Object& object, const ClassInfo& info);
    QVErrCode Fail(QVErrCode error, const ClassInfo* info, const char* reason) noexcept;

    OChannel& target_;
    GraphOChannel memory_;
    PointerTable objectNumbers_;
    Array<NumberedObject> objects_;
    PointerTable infoNumbers_;
    Array<UInt32> classNumbers_; ///< by info number: several records may describe one class
    Array<const ClassInfo*> classes_;
    const ClassInfo* lastInfo_ = nullptr;
    UInt32 lastClass_ = 0;
    UInt32 written_ = 0; ///< objects
    UInt32 announced_ = 0;
    UInt32 announcedClasses_ = 0;
    Array<UInt32> references_; ///< of the object being written
    UInt32 contentStart_ = 0;
    bool writing_ = false;
    GraphFault fault_;
    QVErrCode failure_ = NoError; ///< also when an object's `Write` drops the code
};

} // namespace QV::Impl
