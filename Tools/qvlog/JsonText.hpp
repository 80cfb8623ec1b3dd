/// JSON objects on one line, from any bytes. One writer serves many objects.
#pragma once

#include "Text.hpp"

#include <string>
#include <string_view>
#include <vector>

namespace QVLog {

/// In quotes. What could steer a terminal is escaped, too; bytes that are no UTF-8 become U+FFFD.
void AppendJson(std::string& to, std::string_view bytes);

class JsonText {
public:
    /// Begins an object of its own.
    void BeginObject(std::string& to)
    {
        to_ = &to;
        Open();
    }
    void BeginObject(std::string_view name)
    {
        Key(name);
        Open();
    }
    void EndObject()
    {
        *to_ += '}';
        isFirst_ = false;
    }

    void Add(std::string_view name, std::string_view text)
    {
        Key(name);
        AppendJson(*to_, text);
    }
    void AddNumber(std::string_view name, std::uint64_t number)
    {
        Key(name);
        AppendNumber(*to_, number);
    }
    void AddNumber(std::string_view name, std::int64_t number)
    {
        Key(name);
        AppendNumber(*to_, number);
    }
    /// An object with a member for each parameter; numbers as numbers, the rest as texts.
    void AddParameters(std::string_view name, const Descriptor& descriptor, const std::vector<Value>& values,
                       Clock& clock, std::int32_t zone);

private:
    void Open()
    {
        *to_ += '{';
        isFirst_ = true;
    }
    void Key(std::string_view name)
    {
        if (!isFirst_) {
            *to_ += ',';
        }
        isFirst_ = false;
        AppendJson(*to_, name);
        *to_ += ':';
    }
    void AppendParameter(const Value& value, const Style& style, Clock& clock, std::int32_t zone);

    std::string* to_ = nullptr;
    bool isFirst_ = true;
    std::string scratch_;
    std::vector<const Style*> styles_;
};

} // namespace QVLog
