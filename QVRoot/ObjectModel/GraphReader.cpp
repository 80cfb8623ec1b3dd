#include <QVRoot/Channel/MemImageImpl.hpp>
#include <QVRoot/Channel/TransferImpl.hpp>
#include <QVRoot/ObjectModel/GraphReaderImpl.hpp>
#include <QVRoot/ObjectModel/OpaqueObject.hpp>

#include <algorithm>

namespace QV::Impl {

namespace {

/// A size that comes from outside is believed up to here; beyond, the bytes must be seen to arrive.
constexpr UInt32 trustedSize = 65536;
constexpr Int32 maxNameLength = 1024;
constexpr UInt32 maxOwnerDepth = 1000;

/// What the encoding makes of the bytes 1, 2, 3, 4.
UInt32 ProbeEncoding(GraphIChannel& ic)
{
    static constexpr char probe[] = {1, 2, 3, 4};
    UInt32 number = 0;
    ic.Restart(probe, probe + sizeof(probe));
    ic.Read(number);
    return number;
}

} // namespace

void* GraphReader::operator new(std::size_t size)
{
    return MemoryManager::Allocate(size, MemoryManager::ThrowOnFailure, true);
}

GraphReader::~GraphReader()
{
    DeleteObjects();
    MemoryManager::Free(buffer_);
}

GraphReader* GraphReader::Find(IChannel& ic) noexcept
{
    return IsExactly<GraphIChannel>(ic) ? &static_cast<GraphIChannel&>(ic).GetReader() : nullptr;
}

QVErrCode GraphReader::ReadRoot(Object*& root)
{
    if (reading_) {
        return Fail(ErrGeneral, nullptr, "the whole graph is being read already");
    }
    reading_ = true;
    begun_ = false;
    part_.SetInputProtocol(source_.GetInputProtocol());
    part_.SetInputContext(source_.GetInputContext());
    encoding_ = ProbeEncoding(part_);
    UInt32 number = 0;
    const QVErrCode error = ReadSection(&number);
    if (error == ErrEndOfInput && begun_) {
        Fail(error, nullptr, "the input ends too early");
    }
    reading_ = false;
    last_ = number;
    if (error == NoError) {
        root = number == 0 ? nullptr : objects_[number - 1].object;
    }
    return error;
}

/// A root, and objects until all have been read that were referred to; then a piece without bytes.
QVErrCode GraphReader::ReadSection(UInt32* root)
{
    if (const QVErrCode error = ReadPiece()) {
        return error;
    }
    part_.Restart(pieceNext_, pieceEnd_);
    if (const QVErrCode error = ReadEntry(root)) {
        return error;
    }
    pieceNext_ = part_.GetNext();
    while (read_ < objects_.GetCount()) {
        if (pieceNext_ == pieceEnd_) {
            if (const QVErrCode error = ReadPiece()) {
                return error;
            }
        }
        if (const QVErrCode error = ReadBody()) {
            return error;
        }
        ++read_;
    }
    if (pieceNext_ != pieceEnd_) {
        return FailDamaged("bytes behind the last object");
    }
    UInt32 end = 0;
    if (const QVErrCode error = source_.Read(end)) {
        return error;
    }
    return end == 0 ? NoError : FailDamaged("objects that nothing refers to");
}

QVErrCode GraphReader::ReadPiece()
{
    UInt32 size = 0;
    if (const QVErrCode error = source_.Read(size)) {
        return error;
    }
    begun_ = true;
    if (size == 0) {
        return FailDamaged("objects are missing");
    }
    // In place where the input is in memory.
    if (const char* const image = MemImage::TryTake(source_, size)) {
        pieceNext_ = image;
        pieceEnd_ = image + size;
        return NoError;
    }
    return LoadPiece(size);
}

/// Memory grows to at most twice what has arrived.
QVErrCode GraphReader::LoadPiece(UInt32 size)
{
    for (UInt32 loaded = 0; loaded < size;) {
        const UInt32 end = static_cast<UInt32>(
            std::min<UInt64>(size, std::max<UInt64>({trustedSize, capacity_, UInt64{loaded} * 2})));
        if (end > capacity_ && !Reserve(end)) {
            return ErrMemoryFull;
        }
        if (const QVErrCode error = ReadFully(source_, buffer_ + loaded, end - loaded)) {
            return error;
        }
        loaded = end;
    }
    pieceNext_ = buffer_;
    pieceEnd_ = buffer_ + size;
    return NoError;
}

bool GraphReader::Reserve(UInt32 size) noexcept
{
    void* const grown = MemoryManager::Reallocate(buffer_, size, MemoryManager::ReturnNullOnFailure, true);
    if (grown == nullptr) {
        return false;
    }
    buffer_ = static_cast<char*>(grown);
    capacity_ = size;
    return true;
}

/// One object: the length of its content, the content, and what it refers to.
QVErrCode GraphReader::ReadBody()
{
    UInt32 size = 0;
    part_.Restart(pieceNext_, pieceEnd_);
    if (const QVErrCode error = part_.Read(size)) {
        return error;
    }
    const char* const content = part_.GetNext();
    if (size > static_cast<USize>(pieceEnd_ - content)) {
        return FailDamaged("an object is longer than its piece");
    }
    part_.Restart(content + size, pieceEnd_);
    UInt32 count = 0;
    if (const QVErrCode error = part_.Read(count)) {
        return error;
    }
    references_.Clear();
    for (UInt32 i = 0; i < count; ++i) {
        UInt32 number = 0;
        if (const QVErrCode error = ReadEntry(&number)) {
            return error;
        }
        if (number == 0) {
            return FailDamaged("a reference to nothing");
        }
        references_.Append(number);
    }
    pieceNext_ = part_.GetNext();
    return ReadContent(objects_[read_], content, content + size);
}

QVErrCode GraphReader::ReadContent(const NumberedObject& entry, const char* begin, const char* end)
{
    if (entry.object == nullptr) {
        return NoError; // of an unknown class
    }
    const KnownClass& known = *classes_[entry.classNumber - 1];
    if (known.factory == nullptr) {
        auto& opaque = static_cast<OpaqueObject&>(*entry.object);
        opaque.SetContent(begin, end);
        for (const UInt32 number : references_) {
            opaque.references_.Append(objects_[number - 1].object);
        }
        return NoError;
    }
    part_.Restart(begin, end);
    QVErrCode error = entry.object->Read(part_);
    if (error == NoError) {
        error = failure_ != NoError ? failure_ : part_.GetInputStatus();
    }
    return error == NoError ? NoError : Fail(error, &known.info, "it cannot be read");
}

/// An object's number; behind the first one that was not there before comes its class.
QVErrCode GraphReader::ReadEntry(UInt32* number)
{
    if (const QVErrCode error = part_.Read(*number)) {
        return error;
    }
    if (*number <= objects_.GetCount()) {
        return NoError;
    }
    return *number == objects_.GetCount() + 1 ? ReadNewObject() : FailDamaged("a number leaves others out");
}

QVErrCode GraphReader::ReadNewObject()
{
    UInt32 classNumber = 0;
    if (const QVErrCode error = part_.Read(classNumber)) {
        return error;
    }
    if (classNumber == 0 || classNumber > classes_.GetCount() + 1) {
        return FailDamaged("there is no class of this number");
    }
    if (classNumber > classes_.GetCount()) {
        if (const QVErrCode error = ReadClass()) {
            return error;
        }
    }
    return MakeObject(*classes_[classNumber - 1], classNumber);
}

QVErrCode GraphReader::ReadClass()
{
    auto known = std::make_unique<KnownClass>();
    Guid id;
    if (const QVErrCode error = part_.Read(id)) {
        return error;
    }
    if (const QVErrCode error = ReadClassName(known->name)) {
        return error;
    }
    ClassVersion version;
    if (const QVErrCode error = version.Read(part_)) {
        return error;
    }
    known->info = ClassInfo(known->name.begin(), {}, id, version, version);
    known->factory = ClassManager::FindFactory(id);
    classes_.Append(std::move(known));
    return NoError;
}

QVErrCode GraphReader::ReadClassName(Array<char>& name)
{
    Int32 length = 0;
    if (const QVErrCode error = part_.Read(length)) {
        return error;
    }
    if (length <= 0 || length > maxNameLength) {
        return FailDamaged("a class name without end");
    }
    name.Reserve(static_cast<UInt32>(length));
    for (Int32 i = 0; i < length; ++i) {
        name.Append('\0');
    }
    if (const QVErrCode error = ReadFully(part_, name.begin(), static_cast<UInt32>(length))) {
        return error;
    }
    return name.GetLast() == '\0' ? NoError : FailDamaged("a class name without end");
}

QVErrCode GraphReader::MakeObject(KnownClass& known, UInt32 classNumber)
{
    NumberedObject& entry = objects_.Emplace(NumberedObject{nullptr, classNumber, 0, 0, false});
    if (known.factory != nullptr) {
        entry.object = known.factory();
        if (!known.checked) {
            const ClassInfo* const info = entry.object->GetClassInfo();
            if (info == nullptr || info->GetId() != known.info.GetId()) {
                return Fail(ErrGeneral, &known.info, "it is registered with the factory of another class");
            }
            known.checked = true;
        }
        return NoError;
    }
    ++unknownCount_;
    if (unknown_ == ObjectInput::KeepUnknown) {
        entry.object = new OpaqueObject(known.info, encoding_);
    }
    return unknown_ == ObjectInput::RefuseUnknown
               ? Fail(ErrGeneral, &known.info, "it is not registered, or abstract")
               : NoError;
}

QVErrCode GraphReader::ReadReference(Object*& object)
{
    UInt32 index = 0;
    if (const QVErrCode error = part_.Read(index)) {
        return error;
    }
    if (index > references_.GetCount()) {
        return FailDamaged("it has no reference of this number");
    }
    last_ = index == 0 ? 0 : references_[index - 1];
    object = index == 0 ? nullptr : objects_[last_ - 1].object;
    return NoError;
}

QVErrCode GraphReader::RefuseReference() noexcept
{
    const ClassInfo* const info = &classes_[objects_[last_ - 1].classNumber - 1]->info;
    return Fail(ErrDataIntegrity, info, "it is not of the class that is referred to");
}

/// Makes the last reference's object one of the object being read.
QVErrCode GraphReader::OwnReference() noexcept
{
    NumberedObject& owned = objects_[last_ - 1];
    if (owned.owner != 0 || owned.taken) {
        return FailDamaged("it would own an object that has an owner");
    }
    // One level up after the other: the depth is bounded.
    UInt32 depth = owned.ownedDepth;
    for (UInt32 number = read_ + 1; number != 0; number = objects_[number - 1].owner) {
        if (number == last_) {
            return FailDamaged("it would own itself");
        }
        NumberedObject& owner = objects_[number - 1];
        ++depth;
        if (depth > maxOwnerDepth) {
            return FailDamaged("owners are nested too deep");
        }
        owner.ownedDepth = std::max(owner.ownedDepth, depth);
    }
    owned.owner = read_ + 1;
    return NoError;
}

ObjectOwner GraphReader::TakeObjects()
{
    ObjectOwner objects;
    UInt32 count = 0;
    for (const NumberedObject& entry : objects_) {
        count += entry.object != nullptr && entry.owner == 0 && !entry.taken;
    }
    objects.Reserve(count);
    for (NumberedObject& entry : objects_) {
        if (entry.object != nullptr && entry.owner == 0 && !entry.taken) {
            objects.Append(std::unique_ptr<Object>(entry.object));
            entry.taken = true;
        }
    }
    return objects;
}

void GraphReader::DeleteObjects() noexcept
{
    for (UInt32 i = objects_.GetCount(); i-- > 0;) {
        const NumberedObject& entry = objects_[i];
        if (entry.owner == 0 && !entry.taken) {
            delete entry.object;
        }
    }
    objects_.Clear();
}

/// Keeps the first reason.
QVErrCode GraphReader::Fail(QVErrCode error, const ClassInfo* info, const char* reason) noexcept
{
    if (fault_.reason == nullptr) {
        fault_ = {reason, reading_ ? read_ + 1 : 0, info};
        failure_ = error;
    }
    return error;
}

} // namespace QV::Impl
