/// Work that can be given up. What happens then is the work's own matter.
#pragma once

#include <QVRoot/BasicEnvironment/BaseTypes.h>

namespace QV {

class QV_EXPORT Cancelable {
public:
    virtual ~Cancelable();

    virtual void Cancel() = 0;
    virtual bool IsCanceled() const = 0;

protected:
    Cancelable() = default;
    Cancelable(const Cancelable&) = default;
    Cancelable& operator=(const Cancelable&) = default;
};

} // namespace QV
