#include <QVRoot/ObjectModel/GraphStatusImpl.hpp>
#include <QVRoot/ObjectModel/GraphWriterImpl.hpp>
#include <QVRoot/ObjectModel/ObjectOutput.hpp>

#include <new>

namespace QV {

ObjectOutput::~ObjectOutput()
{
    delete writer_;
}

QVErrCode ObjectOutput::Write(const Object* object)
{
    if (status_.IsError()) {
        return status_.GetErrorCode();
    }
    QVErrCode error = NoError;
    try {
        if (writer_ == nullptr) {
            writer_ = new Impl::GraphWriter(channel_);
        }
        error = writer_->WriteRoot(object);
    } catch (const std::bad_alloc&) {
        error = ErrMemoryFull;
    } catch (...) {
        status_.SetErrorCode(ErrGeneral);
        throw;
    }
    if (error != NoError) {
        Impl::SetGraphStatus(status_, error, writer_ == nullptr ? Impl::GraphFault() : writer_->GetFault());
    }
    return error;
}

QVErrCode ObjectOutput::WriteReference(OChannel& oc, const Object* object)
{
    Impl::GraphWriter* const writer = Impl::GraphWriter::Find(oc);
    return writer == nullptr ? ErrGeneral : writer->WriteReference(object);
}

UInt32 ObjectOutput::GetObjectCount() const noexcept
{
    return writer_ == nullptr ? 0 : writer_->GetObjectCount();
}

} // namespace QV
