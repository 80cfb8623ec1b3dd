/// JSON objects on one line, from any bytes.
#pragma once

#include "Text.hpp"

#include <rapidjson/writer.h>

#include <string>
#include <string_view>

namespace QVLog {

class JsonText {
public:
    explicit JsonText(std::string& to) : stream_{to}, writer_(stream_) {}

    void BeginObject() { writer_.StartObject(); }
    void BeginObject(std::string_view name)
    {
        Key(name);
        writer_.StartObject();
    }
    void EndObject() { writer_.EndObject(); }

    void Add(std::string_view name, std::string_view text)
    {
        Key(name);
        String(text);
    }
    void Add(std::string_view name, const char* text) { Add(name, std::string_view(text)); }
    void Add(std::string_view name, const std::string& text) { Add(name, std::string_view(text)); }
    void Add(std::string_view name, std::uint64_t number)
    {
        Key(name);
        writer_.Uint64(number);
    }
    void Add(std::string_view name, std::int64_t number)
    {
        Key(name);
        writer_.Int64(number);
    }
    /// An object with a member for each parameter; numbers as numbers, the rest as texts.
    void AddParameters(std::string_view name, const Descriptor& descriptor, const std::vector<Value>& values,
                       Clock& clock, std::int32_t zone);

private:
    struct Stream {
        using Ch = char;
        std::string& to;
        void Put(char c) { to += c; }
        void Flush() {}
    };

    void Key(std::string_view name)
    {
        scratch_.clear();
        AppendUtf8(scratch_, name);
        writer_.Key(scratch_.data(), static_cast<rapidjson::SizeType>(scratch_.size()));
    }
    void String(std::string_view text)
    {
        scratch_.clear();
        AppendUtf8(scratch_, text);
        writer_.String(scratch_.data(), static_cast<rapidjson::SizeType>(scratch_.size()));
    }
    void WriteValue(const Value& value, const Style& style, Clock& clock, std::int32_t zone);

    Stream stream_;
    rapidjson::Writer<Stream> writer_;
    std::string scratch_;
    std::string valueText_;
};

} // namespace QVLog
