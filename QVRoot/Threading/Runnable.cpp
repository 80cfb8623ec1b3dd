#include <QVRoot/Threading/Runnable.hpp>

namespace QV {

Runnable::~Runnable() = default;

} // namespace QV
