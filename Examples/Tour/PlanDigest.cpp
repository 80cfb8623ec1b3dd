#include "PlanDigest.hpp"
#include "PlanObjects.hpp"

#include <bit>

namespace Tour {

using namespace QV;

UInt64 PlanDigest::Make(const PlanObject& root)
{
    PlanDigest digest;
    digest.Add(&root);
    for (UInt32 i = 0; i < digest.objects_.GetCount(); ++i) {
        const PlanObject& object = *digest.objects_[i];
        digest.Add(UniString(object.GetClassName()));
        object.AddTo(digest);
    }
    return digest.value_;
}

void PlanDigest::Add(UInt64 number) noexcept
{
    value_ = std::rotl((value_ ^ number) * 0x9E3779B97F4A7C15u, 29);
}

void PlanDigest::Add(double number) noexcept
{
    Add(std::bit_cast<UInt64>(number));
}

void PlanDigest::Add(const UniString& text)
{
    Add(UInt64{text.GetLength()});
    for (const char16_t unit : text.GetView()) {
        Add(UInt64{unit});
    }
}

void PlanDigest::Add(const PlanObject* object)
{
    if (object == nullptr) {
        Add(UInt64{0});
        return;
    }
    const auto [found, isNew] = numbers_.try_emplace(object, objects_.GetCount() + 1);
    if (isNew) {
        objects_.Append(object);
    }
    Add(UInt64{found->second});
}

} // namespace Tour
