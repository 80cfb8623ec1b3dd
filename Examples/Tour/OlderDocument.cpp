#include "OlderDocument.hpp"

namespace Tour {

using namespace QV;

namespace {

constexpr ClassInfo olderInfo = MakeDocumentInfo({1, 1}, {1, 1});

} // namespace

const ClassInfo* OlderDocument::GetClassInfo() const
{
    return &olderInfo;
}

OlderDocument* OlderDocument::Clone() const
{
    return new OlderDocument(*this);
}

} // namespace Tour
