#include <ThreadCachePointerImpl.hpp>

namespace QV::Impl {

[[gnu::tls_model("initial-exec")]] constinit thread_local void* threadCachePointer = nullptr;

} // namespace QV::Impl
