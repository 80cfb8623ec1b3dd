#include "JsonText.hpp"

#include <cmath>

namespace QVLog {

namespace {

void AppendEscape(std::string& to, std::string_view bytes, std::size_t& size)
{
    char32_t c = 0;
    size = MeasureCodePoint(bytes, c);
    if (size == 0) {
        size = 1;
        to += "\xEF\xBF\xBD";
    } else if (c == '"' || c == '\\') {
        to += '\\';
        to += static_cast<char>(c);
    } else if (c == '\n') {
        to += "\\n";
    } else if (IsUnsafe(c)) {
        to += "\\u";
        AppendHex(to, c, 4);
    } else {
        to += bytes.substr(0, size);
    }
}

} // namespace

void AppendJson(std::string& to, std::string_view bytes)
{
    to += '"';
    while (!bytes.empty()) {
        const std::size_t plain = CountPlainJson(bytes);
        to += bytes.substr(0, plain);
        bytes.remove_prefix(plain);
        if (!bytes.empty()) {
            std::size_t size = 0;
            AppendEscape(to, bytes, size);
            bytes.remove_prefix(size);
        }
    }
    to += '"';
}

void JsonText::AppendParameter(const Value& value, const Style& style, Clock& clock, std::int32_t zone)
{
    const bool isReal = value.type == Type::F || value.type == Type::D;
    if (value.type <= Type::UI64 && style.kind == 'b') {
        *to_ += value.cardinal != 0 ? "true" : "false";
    } else if (value.type <= Type::UI64 || (isReal && std::isfinite(value.real))) {
        AppendValue(*to_, value, {}, clock, zone);
    } else if (value.type == Type::None) {
        *to_ += "null";
    } else if (value.type == Type::S || value.type == Type::C) {
        AppendJson(*to_, value.text);
    } else {
        scratch_.clear();
        AppendValue(scratch_, value, {}, clock, zone); // "nan" and "inf" are no JSON numbers
        AppendJson(*to_, scratch_);
    }
}

void JsonText::AddParameters(std::string_view name, const Descriptor& descriptor,
                             const std::vector<Value>& values, Clock& clock, std::int32_t zone)
{
    static const Style plain;
    BeginObject(name);
    styles_.assign(values.size(), &plain);
    for (const Piece& piece : descriptor.pieces) {
        if (piece.parameter >= 0) {
            styles_[static_cast<std::size_t>(piece.parameter)] = &piece.style;
        }
    }
    for (std::size_t i = 0; i < values.size(); ++i) {
        Key(descriptor.names[i]);
        AppendParameter(values[i], *styles_[i], clock, zone);
    }
    EndObject();
}

} // namespace QVLog
