#include <QVRoot/Containers/RefPtr.hpp>

namespace QV {

RefCounted::~RefCounted() = default;

} // namespace QV
