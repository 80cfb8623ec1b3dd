#include <QVRoot/Channel/TransferImpl.hpp>
#include <QVRoot/ObjectModel/GraphWriterImpl.hpp>
#include <QVRoot/ObjectModel/OpaqueObject.hpp>

#include <cstring>

namespace QV::Impl {

namespace {

/// A piece goes to the channel when it has become that large.
constexpr UInt32 pieceSize = 65536;

} // namespace

void* GraphWriter::operator new(std::size_t size)
{
    return MemoryManager::Allocate(size, MemoryManager::ThrowOnFailure, true);
}

GraphWriter* GraphWriter::Find(OChannel& oc) noexcept
{
    return IsExactly<GraphOChannel>(oc) ? &static_cast<GraphOChannel&>(oc).GetWriter() : nullptr;
}

QVErrCode GraphWriter::WriteRoot(const Object* root)
{
    if (writing_) {
        return Fail(ErrGeneral, nullptr, "the whole graph is being written already");
    }
    writing_ = true;
    memory_.SetOutputProtocol(target_.GetOutputProtocol());
    memory_.SetOutputContext(target_.GetOutputContext());
    const QVErrCode error = WriteAll(root);
    writing_ = false;
    return error;
}

QVErrCode GraphWriter::WriteAll(const Object* root)
{
    UInt32 number = 0;
    if (root != nullptr) {
        if (const QVErrCode error = GetNumber(*root, &number)) {
            return error;
        }
    }
    QVErrCode error = WriteEntry(number);
    while (error == NoError && written_ < objects_.GetCount()) {
        error = WriteBody(*objects_[written_].object);
        if (error == NoError) {
            ++written_;
            error = memory_.GetSize() < pieceSize ? NoError : FlushPiece();
        }
    }
    if (error == NoError) {
        error = FlushPiece();
    }
    return error != NoError ? error : target_.Write(UInt32{0});
}

/// Length, content, and what the content refers to.
QVErrCode GraphWriter::WriteBody(const Object& object)
{
    references_.Clear();
    const UInt32 lengthStart = memory_.GetPosition();
    memory_.Write(UInt32{0});
    contentStart_ = memory_.GetPosition();
    QVErrCode error = object.Write(memory_);
    if (error == NoError) {
        error = failure_ != NoError ? failure_ : memory_.GetOutputStatus();
    }
    if (error != NoError) {
        return Fail(error, classes_[objects_[written_].classNumber - 1], "it cannot be written");
    }
    memory_.ResetOffset();
    memory_.DropMarks();
    memory_.Patch(lengthStart, memory_.GetSize() - contentStart_);
    memory_.Write(references_.GetCount());
    for (const UInt32 number : references_) {
        WriteEntry(number);
    }
    return memory_.GetOutputStatus();
}

/// An object's number; with the first one that was not written before comes its class.
QVErrCode GraphWriter::WriteEntry(UInt32 number)
{
    memory_.Write(number);
    if (number > announced_) {
        announced_ = number;
        const UInt32 classNumber = objects_[number - 1].classNumber;
        memory_.Write(classNumber);
        if (classNumber > announcedClasses_) {
            announcedClasses_ = classNumber;
            WriteClass(*classes_[classNumber - 1]);
        }
    }
    return memory_.GetOutputStatus();
}

QVErrCode GraphWriter::WriteClass(const ClassInfo& info)
{
    memory_.Write(info.GetId());
    memory_.Write(info.GetName());
    return (ClassManager::GetOutputVersion() == 0 ? info.GetVersion() : info.GetOldVersion()).Write(memory_);
}

QVErrCode GraphWriter::FlushPiece()
{
    if (memory_.GetSize() == 0) {
        return NoError;
    }
    QVErrCode error = target_.Write(memory_.GetSize());
    if (error == NoError) {
        error = WriteFully(target_, memory_.GetData(), memory_.GetSize());
    }
    memory_.Restart();
    return error;
}

QVErrCode GraphWriter::WriteReference(const Object* object)
{
    if (object == nullptr) {
        return memory_.Write(UInt32{0});
    }
    UInt32 number = 0;
    if (const QVErrCode error = GetNumber(*object, &number)) {
        return error;
    }
    references_.Append(number);
    return memory_.Write(references_.GetCount());
}

QVErrCode GraphWriter::WriteOpaque(UInt32 encoding, const Array<Object*>& references, const Array<char>& data)
{
    static constexpr char probe[] = {1, 2, 3, 4};
    const ClassInfo* const info = classes_[objects_[written_].classNumber - 1];
    const UInt32 start = memory_.GetPosition();
    if (start != contentStart_ || !references_.IsEmpty()) {
        return Fail(ErrGeneral, info, "an object of an unknown class cannot be part of another one");
    }
    memory_.Write(encoding);
    if (memory_.GetPosition() - start != sizeof(probe) ||
        std::memcmp(memory_.GetData() + start, probe, sizeof(probe)) != 0) {
        return Fail(ErrGeneral, info, "an object of an unknown class cannot change its encoding");
    }
    memory_.Truncate(start);
    for (const Object* const object : references) {
        UInt32 number = 0;
        if (const QVErrCode error = GetNumber(*object, &number)) {
            return error;
        }
        references_.Append(number);
    }
    return memory_.WriteBin(data.begin(), data.GetCount(), nullptr);
}

QVErrCode GraphWriter::GetNumber(const Object& object, UInt32* number)
{
    *number = objectNumbers_.FindOrAdd(&object);
    if (*number > objects_.GetCount()) {
        UInt32 classNumber = 0;
        if (const QVErrCode error = GetClassNumber(object, &classNumber)) {
            return error;
        }
        objects_.Append({&object, classNumber});
    }
    return NoError;
}

QVErrCode GraphWriter::GetClassNumber(const Object& object, UInt32* number)
{
    const ClassInfo* const info = object.GetClassInfo();
    if (info == nullptr) {
        return Fail(ErrGeneral, nullptr, "it refers to an object without a class");
    }
    if (info != lastInfo_) {
        const UInt32 infoNumber = infoNumbers_.FindOrAdd(info);
        if (infoNumber > classNumbers_.GetCount()) {
            if (const QVErrCode error = AddClass(object, *info)) {
                return error;
            }
        }
        lastInfo_ = info;
        lastClass_ = classNumbers_[infoNumber - 1];
    }
    *number = lastClass_;
    return NoError;
}

QVErrCode GraphWriter::AddClass(const Object& object, const ClassInfo& info)
{
    UInt32 index = 0;
    while (index < classes_.GetCount() && classes_[index]->GetId() != info.GetId()) {
        ++index;
    }
    if (index == classes_.GetCount()) {
        const bool opaque = IsExactly<OpaqueObject>(object);
        if (!opaque && ClassManager::FindFactory(info.GetId()) == nullptr) {
            return Fail(ErrGeneral, &info, "it is not registered, or abstract");
        }
        classes_.Append(&info);
    }
    classNumbers_.Append(index + 1);
    return NoError;
}

/// Keeps the first reason.
QVErrCode GraphWriter::Fail(QVErrCode error, const ClassInfo* info, const char* reason) noexcept
{
    if (fault_.reason == nullptr) {
        fault_ = {reason, written_ + 1, info};
        failure_ = error;
    }
    return error;
}

} // namespace QV::Impl
