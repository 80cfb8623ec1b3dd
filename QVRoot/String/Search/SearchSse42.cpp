#include <QVRoot/String/Search/Vectors128Impl.hpp>

namespace QV::Impl {

constinit const SearchKernels searchSse42 = MakeSearchKernels<Vector128>("Sse42");

} // namespace QV::Impl
