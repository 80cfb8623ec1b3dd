#include <QVRoot/Channel/OBinaryChannel.hpp>
#include <QVRoot/Exceptions/GeneralExceptions.hpp>

namespace QV {

OBinaryChannel::~OBinaryChannel() = default;

void OBinaryChannel::WriteBeyondWindow(const char* data, UInt32 n)
{
    if (data == nullptr) {
        QV_THROW(IllegalArgumentException, "the data are null");
    }
    WriteBytes(data, n);
}

} // namespace QV
