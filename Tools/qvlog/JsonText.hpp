/// JSON objects on one line, from any bytes. One writer serves many objects.
#pragma once

#include "Text.hpp"

#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <string>
#include <string_view>

namespace QVLog {

class JsonText {
public:
    JsonText() : writer_(buffer_) {}
    JsonText(const JsonText&) = delete;
    JsonText& operator=(const JsonText&) = delete;

    /// Begins an object of its own.
    void BeginObject(std::string& to)
    {
        to_ = &to;
        buffer_.Clear();
        writer_.Reset(buffer_);
        writer_.StartObject();
    }
    void BeginObject(std::string_view name)
    {
        Key(name);
        writer_.StartObject();
    }
    void EndObject()
    {
        writer_.EndObject();
        if (writer_.IsComplete()) {
            to_->append(buffer_.GetString(), buffer_.GetSize());
        }
    }

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

    std::string* to_ = nullptr;
    rapidjson::StringBuffer buffer_;
    rapidjson::Writer<rapidjson::StringBuffer> writer_;
    std::string scratch_;
    std::string valueText_;
    std::vector<const Style*> styles_;
};

} // namespace QVLog
