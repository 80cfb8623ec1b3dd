/// The document class as it was once: version 1.1, without statistics.
#pragma once

#include "DocumentBase.hpp"

namespace Tour {

class OlderDocument : public DocumentBase {
public:
    const QV::ClassInfo* GetClassInfo() const override;
    OlderDocument* Clone() const override;
};

} // namespace Tour
