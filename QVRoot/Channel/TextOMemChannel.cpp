#include <QVRoot/Channel/TextOMemChannel.hpp>

namespace QV {

TextOMemChannel::TextOMemChannel()
{
    SetOutputProtocol(textOProtocol);
}

TextOMemChannel::~TextOMemChannel() = default;

void TextOMemChannel::SetDefaultOutputProtocol()
{
    SetOutputProtocol(textOProtocol);
}

} // namespace QV
