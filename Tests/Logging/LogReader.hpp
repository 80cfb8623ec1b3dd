// A reader of the event log, written from docs/formats.md alone: it shares no code with the logger.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace QV::Test {

struct LogLineRead {
    std::int32_t time = 0;
    std::uint32_t microseconds = 0;
    std::uint64_t thread = 0;
    std::string format;
    std::uint16_t number = 0;
    std::string site1;
    std::string site2;
    std::vector<std::string> values; // numbers in decimal, identifiers as 16 bytes
    std::size_t size = 0;            // bytes of the event line alone

    bool IsOwn() const { return site1 == "QVRoot" && site2.starts_with("Log"); }
    bool IsData() const { return site2.starts_with("data|"); }
};

struct LogRead {
    enum class End { Clean, Torn, Damaged };

    std::vector<LogLineRead> lines; // the logger's own, too
    std::map<std::uint64_t, std::string> threadNames;
    std::size_t blocks = 0;
    std::size_t fullBytes = 0; // up to the end of the last whole record
    End end = End::Clean;

    // Without the logger's own lines.
    std::vector<LogLineRead> GetProgramLines() const
    {
        std::vector<LogLineRead> found;
        for (const LogLineRead& line : lines) {
            if (!line.IsOwn()) {
                found.push_back(line);
            }
        }
        return found;
    }
};

class LogReader {
public:
    static LogRead Read(std::string_view bytes)
    {
        LogReader reader(bytes);
        try {
            while (reader.at_ < bytes.size()) {
                reader.ReadRecord();
                reader.read_.fullBytes = reader.at_;
            }
        } catch (const LogRead::End end) {
            reader.read_.end = end;
        }
        return reader.read_;
    }

private:
    template <class T, std::size_t Slots>
    struct Ring {
        T slots[Slots] = {};
        std::size_t filled = 0;
        std::size_t position = 0;

        void Take(T value)
        {
            slots[position] = value;
            position = (position + 1) % Slots;
            filled = filled < Slots ? filled + 1 : filled;
        }
        bool Holds(T value) const
        {
            for (std::size_t i = 0; i < filled; ++i) {
                if (slots[i] == value) {
                    return true;
                }
            }
            return false;
        }
        T Get(std::uint8_t slot) const
        {
            if (slot >= filled) {
                throw LogRead::End::Damaged;
            }
            return slots[slot];
        }
    };

    struct Descriptor {
        std::vector<std::string> types;
        LogLineRead line;
    };

    struct Value {
        bool isString = false;
        std::string bytes;
    };

    explicit LogReader(std::string_view bytes) : bytes_(bytes) {}

    std::string_view Take(std::size_t n)
    {
        if (bytes_.size() - at_ < n) {
            throw LogRead::End::Torn;
        }
        at_ += n;
        return bytes_.substr(at_ - n, n);
    }

    template <class T>
    T Number()
    {
        T value;
        std::memcpy(&value, Take(sizeof(T)).data(), sizeof(T));
        return value;
    }

    std::string Text() { return std::string(Take(Number<std::uint16_t>())); }

    static void Require(bool condition)
    {
        if (!condition) {
            throw LogRead::End::Damaged;
        }
    }

    void ReadRecord()
    {
        const std::size_t start = at_;
        const auto code = Number<std::uint8_t>();
        Require(code == 0xF8 || read_.blocks != 0);
        switch (code) {
        case 0xF8:
            ReadHeader();
            break;
        case 0xF7:
            time_ = Number<std::int32_t>();
            hasTime_ = true;
            microseconds_ = 0;
            break;
        case 0xFA: {
            const auto slot = Number<std::uint8_t>();
            if (slot == 0xFE) {
                thread_ = Number<std::uint64_t>();
                Require(!threads_.Holds(thread_));
                threads_.Take(thread_);
            } else {
                thread_ = threads_.Get(slot);
            }
            break;
        }
        default:
            Require(hasTime_ && thread_ != 0 && (code < 0xF0 || code >= 0xFE));
            ReadLine(code, start);
        }
    }

    void ReadHeader()
    {
        Require(Take(4) == std::string_view("WW\x02\x02"));
        const std::string run(Take(16));
        Require(read_.blocks == 0 || run == run_);
        run_ = run;
        Take(4);
        const auto offset = Number<std::int32_t>();
        Require(offset > -86400 && offset < 86400);
        ++read_.blocks;
        hasTime_ = false;
        thread_ = 0;
        lastId_ = 1;
        threads_ = {};
        lines_ = {};
        codes_ = {};
        descriptors_.clear();
        values_.clear();
    }

    void ReadLine(std::uint8_t code, std::size_t start)
    {
        std::uint16_t id;
        if (code == 0xFF) {
            id = ReadDescriptor();
            if (!lines_.Holds(id)) {
                lines_.Take(id);
            }
        } else if (code == 0xFE) {
            id = Number<std::uint16_t>();
            Require(!lines_.Holds(id));
            lines_.Take(id);
        } else {
            id = lines_.Get(code);
        }
        const auto found = descriptors_.find(id);
        Require(found != descriptors_.end());
        LogLineRead line = found->second.line;
        line.thread = thread_;
        for (const std::string& type : found->second.types) {
            line.values.push_back(ReadValue(type));
        }
        if (line.IsOwn() && line.site2 == "LogTime") {
            microseconds_ = static_cast<std::uint32_t>(std::stoul(line.values.at(0)));
        } else if (line.IsOwn() && line.site2 == "LogThread") {
            read_.threadNames[std::stoull(line.values.at(0))] = line.values.at(1);
        }
        line.time = time_;
        line.microseconds = microseconds_;
        line.size = at_ - start;
        read_.lines.push_back(line);
    }

    std::uint16_t ReadDescriptor()
    {
        const auto id = Number<std::uint16_t>();
        Require(Number<std::uint16_t>() == 1);
        Descriptor descriptor;
        const std::string signature = Text();
        for (std::size_t from = 0; !signature.empty() && from <= signature.size();) {
            const std::size_t comma = std::min(signature.find(',', from), signature.size());
            descriptor.types.push_back(signature.substr(from, comma - from));
            from = comma + 1;
        }
        descriptor.line.format = Text();
        descriptor.line.number = Number<std::uint16_t>();
        descriptor.line.site1 = Text();
        descriptor.line.site2 = Text();
        descriptors_[id] = descriptor;
        return id;
    }

    std::string ReadPlain(bool isString) { return isString ? Text() : std::string(Take(16)); }

    std::string ReadCompressed(bool isString)
    {
        const auto code = Number<std::uint8_t>();
        if (code == 0xFF) {
            const std::string bytes = ReadPlain(isString);
            values_[++lastId_] = {isString, bytes};
            codes_.Take(lastId_);
            return bytes;
        }
        std::uint32_t id;
        if (code == 0xFE) {
            id = Number<std::uint32_t>();
            Require(!codes_.Holds(id));
            codes_.Take(id);
        } else {
            id = codes_.Get(code);
        }
        const auto value = values_.find(id);
        Require(value != values_.end() && value->second.isString == isString);
        return value->second.bytes;
    }

    std::string ReadValue(const std::string& name)
    {
        const bool isCompressed = name.ends_with(":C");
        const std::string type = name.substr(0, name.size() - (isCompressed ? 2 : 0));
        if (type == "S" || type == "Id") {
            return isCompressed ? ReadCompressed(type == "S") : ReadPlain(type == "S");
        }
        static const std::map<std::string, std::string (*)(LogReader&)> numbers = {
            {"I16", Show<std::int16_t>}, {"UI16", Show<std::uint16_t>},
            {"I32", Show<std::int32_t>}, {"UI32", Show<std::uint32_t>},
            {"I64", Show<std::int64_t>}, {"UI64", Show<std::uint64_t>},
            {"F", Show<float>},          {"D", Show<double>},
            {"Dt", Show<std::int32_t>},  {"T", Show<std::int32_t>},
        };
        const auto number = numbers.find(type);
        if (number != numbers.end()) {
            return number->second(*this);
        }
        Require(type.empty() || type == "C");
        return std::string(Take(type.size()));
    }

    template <class T>
    static std::string Show(LogReader& reader)
    {
        return std::to_string(reader.Number<T>());
    }

    std::string_view bytes_;
    std::size_t at_ = 0;
    LogRead read_;
    std::string run_;
    std::int32_t time_ = 0;
    bool hasTime_ = false;
    std::uint32_t microseconds_ = 0;
    std::uint64_t thread_ = 0;
    std::uint32_t lastId_ = 1;
    Ring<std::uint64_t, 250> threads_;
    Ring<std::uint16_t, 240> lines_;
    Ring<std::uint32_t, 250> codes_;
    std::map<std::uint16_t, Descriptor> descriptors_;
    std::map<std::uint32_t, Value> values_;
};

} // namespace QV::Test
