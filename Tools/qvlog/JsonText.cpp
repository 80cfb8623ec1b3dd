#include "JsonText.hpp"

#include <cmath>

namespace QVLog {

void JsonText::WriteValue(const Value& value, const Style& style, Clock& clock, std::int32_t zone)
{
    const bool isReal = value.type == Type::F || value.type == Type::D;
    valueText_.clear();
    if (value.type <= Type::UI64 && style.kind == 'b') {
        writer_.Bool(value.cardinal != 0);
    } else if (value.type <= Type::UI64 || (isReal && std::isfinite(value.real))) {
        AppendValue(valueText_, value, {}, clock, zone);
        writer_.RawValue(valueText_.data(), valueText_.size(), rapidjson::kNumberType);
    } else if (value.type == Type::None) {
        writer_.Null();
    } else {
        AppendValue(valueText_, value, {}, clock, zone); // "nan" and "inf" are no JSON numbers
        String(valueText_);
    }
}

void JsonText::AddParameters(std::string_view name, const Descriptor& descriptor,
                             const std::vector<Value>& values, Clock& clock, std::int32_t zone)
{
    BeginObject(name);
    styles_.assign(values.size(), nullptr);
    for (const Piece& piece : descriptor.pieces) {
        if (piece.parameter >= 0) {
            styles_[static_cast<std::size_t>(piece.parameter)] = &piece.style;
        }
    }
    for (std::size_t i = 0; i < values.size(); ++i) {
        Key(descriptor.names[i]);
        WriteValue(values[i], styles_[i] == nullptr ? Style() : *styles_[i], clock, zone);
    }
    writer_.EndObject();
}

} // namespace QVLog
