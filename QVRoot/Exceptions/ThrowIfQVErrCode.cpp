#include <QVRoot/Exceptions/QVException.hpp>
#include <QVRoot/Exceptions/ThrowIfQVErrCode.hpp>

#include <new>

namespace QV {

namespace {

/// The runtime's own text differs between platforms.
class BadAllocation : public std::bad_alloc {
public:
    const char* what() const noexcept override { return "bad allocation"; }
};

} // namespace

void ThrowIfQVErrCodeImp(QVErrCode code, const char* file, UInt32 line, const char*)
{
    if (code == NoError) {
        return;
    }
    if (code == ErrMemoryFull) {
        throw BadAllocation();
    }
    throw QVException(static_cast<const char*>(nullptr), file, line, nullptr, code);
}

} // namespace QV
