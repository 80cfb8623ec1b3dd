#include <QVRoot/Channel/OChannel.hpp>
#include <QVRoot/ObjectModel/GraphWriterImpl.hpp>
#include <QVRoot/ObjectModel/OpaqueObject.hpp>

#include <cstring>

namespace QV {

namespace {

Array<char> CopyBytes(const char* begin, const char* end)
{
    Array<char> copy;
    copy.Reserve(static_cast<UInt32>(end - begin));
    for (; begin != end; ++begin) {
        copy.Append(*begin);
    }
    return copy;
}

} // namespace

OpaqueObject::OpaqueObject(const ClassInfo& info, UInt32 encoding)
    : name_(CopyBytes(info.GetName(), info.GetName() + std::strlen(info.GetName()) + 1)),
      info_(name_.begin(), info.GetType(), info.GetId(), info.GetVersion(), info.GetVersion()),
      encoding_(encoding)
{
}

OpaqueObject::~OpaqueObject() = default;

void OpaqueObject::SetContent(const char* begin, const char* end)
{
    data_ = CopyBytes(begin, end);
}

QVErrCode OpaqueObject::Write(OChannel& oc) const
{
    Impl::GraphWriter* const writer = Impl::GraphWriter::Find(oc);
    return writer == nullptr ? ErrGeneral : writer->WriteOpaque(encoding_, references_, data_);
}

} // namespace QV
