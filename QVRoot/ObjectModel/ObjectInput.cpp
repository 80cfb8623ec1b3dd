#include <QVRoot/Channel/IChannel.hpp>
#include <QVRoot/ObjectModel/GraphReaderImpl.hpp>
#include <QVRoot/ObjectModel/ObjectInput.hpp>
#include <QVRoot/ObjectModel/OpaqueObject.hpp>

#include <new>

namespace QV {

ObjectInput::~ObjectInput()
{
    delete reader_;
}

QVErrCode ObjectInput::ReadRoot(Object*& root)
{
    if (status_.IsError()) {
        return status_.GetErrorCode();
    }
    QVErrCode error = NoError;
    try {
        if (reader_ == nullptr) {
            reader_ = new Impl::GraphReader(channel_, unknown_);
        }
        error = reader_->ReadRoot(root);
    } catch (const std::bad_alloc&) {
        error = ErrMemoryFull;
    } catch (...) {
        Fail(ErrGeneral);
        throw;
    }
    if (error == NoError || (reader_ != nullptr && !reader_->HasBegun())) {
        return error; // nothing of a graph was there: the channel says why
    }
    return Fail(IChannel::ConvertObjectReadError(error));
}

QVErrCode ObjectInput::RefuseRoot()
{
    return Fail(reader_->RefuseReference());
}

QVErrCode ObjectInput::Fail(QVErrCode error) noexcept
{
    Impl::SetGraphStatus(status_, error, reader_ == nullptr ? Impl::GraphFault() : reader_->GetFault());
    if (reader_ != nullptr) {
        reader_->DeleteObjects();
    }
    return error;
}

QVErrCode ObjectInput::ReadObject(IChannel& ic, Object*& object)
{
    Impl::GraphReader* const reader = Impl::GraphReader::Find(ic);
    return reader == nullptr ? ErrGeneral : reader->ReadReference(object);
}

QVErrCode ObjectInput::RefuseObject(IChannel& ic)
{
    return Impl::GraphReader::Find(ic)->RefuseReference();
}

QVErrCode ObjectInput::OwnObject(IChannel& ic)
{
    return Impl::GraphReader::Find(ic)->OwnReference();
}

bool ObjectInput::IsOpaque(const Object& object) noexcept
{
    return typeid(object) == typeid(OpaqueObject);
}

ObjectOwner ObjectInput::TakeObjects()
{
    return reader_ == nullptr ? ObjectOwner() : reader_->TakeObjects();
}

UInt32 ObjectInput::GetObjectCount() const noexcept
{
    return reader_ == nullptr ? 0 : reader_->GetObjectCount();
}

UInt32 ObjectInput::GetUnknownCount() const noexcept
{
    return reader_ == nullptr ? 0 : reader_->GetUnknownCount();
}

} // namespace QV
