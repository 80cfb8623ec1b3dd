#include <QVRoot/Channel/OBinaryChannel.hpp>
#include <QVRoot/Exceptions/GeneralExceptions.hpp>

namespace QV {

OBinaryChannel::~OBinaryChannel() = default;

void OBinaryChannel::RefuseNull()
{
    QV_THROW(IllegalArgumentException, "the data are null");
}

} // namespace QV
