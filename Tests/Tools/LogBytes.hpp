/// Makes event logs by their description, for tests of what reads them.
#pragma once

#include <Tools/qvlog/LogReader.hpp>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace QVLog {

class MemoryFile : public LogFile {
public:
    explicit MemoryFile(std::string bytes, bool isSeekable = true)
        : bytes_(std::move(bytes)), isSeekable_(isSeekable)
    {
    }

    std::size_t Read(std::uint64_t offset, unsigned char* to, std::size_t count) override
    {
        const std::size_t from = std::min<std::size_t>(bytes_.size(), isSeekable_ ? offset : position_);
        count = std::min(count, bytes_.size() - from);
        std::memcpy(to, bytes_.data() + from, count);
        position_ = from + count;
        return count;
    }
    bool IsSeekable() const override { return isSeekable_; }
    std::uint64_t GetSize() const override { return bytes_.size(); }
    bool IsAt(const std::string&) const override { return true; }

private:
    std::string bytes_;
    bool isSeekable_;
    std::size_t position_ = 0;
};

/// The other side of the reader's tables.
class LogBytes {
public:
    /// A number of this many bytes.
    static std::string Number(std::uint64_t number, std::size_t size)
    {
        return std::string(reinterpret_cast<const char*>(&number), size);
    }
    static std::string Text(const std::string& text) { return Number(text.size(), 2) + text; }

    void Block(char run = 1, std::uint32_t time = 1763762400, std::int32_t offset = 3600)
    {
        bytes += "\xF8WW\x02\x02" + std::string(16, run) + Number(time, 4) +
                 Number(static_cast<std::uint32_t>(offset), 4);
        threads_ = Ring(250);
        lines_ = Ring(240);
        values_ = Ring(250);
        sent_.clear();
        ids_.clear();
        lastId_ = 1;
        Time(time);
        Thread(1000);
    }
    void Time(std::uint32_t time) { bytes += '\xF7' + Number(time, 4); }
    void Thread(std::uint64_t id)
    {
        bytes += '\xFA';
        bytes += threads_.Use(id) ? "\xFE" + Number(id, 8) : std::string(1, threads_.code);
    }
    /// The code of an event line, with the descriptor when it is the first.
    void Line(std::uint16_t id, const std::string& signature, const std::string& format,
              const std::string& site = "info|test|Run", const std::string& file = "Test.cpp")
    {
        const bool isFirst = sent_.insert({id, true}).second;
        const bool isNew = lines_.Use(id);
        if (isFirst) {
            bytes += '\xFF' + Number(id, 2) + Number(1, 2) + Text(signature) + Text(format) + Number(7, 2) +
                     Text(file) + Text(site);
        } else {
            bytes += isNew ? "\xFE" + Number(id, 2) : std::string(1, lines_.code);
        }
    }
    /// A compressed value; `whole` is its full form.
    void Value(const std::string& whole)
    {
        const auto [found, isFirst] = ids_.insert({whole, lastId_ + 1});
        lastId_ += isFirst;
        const bool isNew = values_.Use(found->second);
        if (isFirst) {
            bytes += '\xFF' + whole;
        } else {
            bytes += isNew ? "\xFE" + Number(found->second, 4) : std::string(1, values_.code);
        }
    }

    std::string bytes;

private:
    struct Ring {
        explicit Ring(std::size_t size) : slots(size, ~std::uint64_t{0}) {}
        /// Whether the value was in no slot.
        bool Use(std::uint64_t value)
        {
            const auto found = std::find(slots.begin(), slots.end(), value);
            const bool isNew = found == slots.end();
            code = static_cast<char>(isNew ? position : static_cast<std::size_t>(found - slots.begin()));
            if (isNew) {
                slots[position] = value;
                position = (position + 1) % slots.size();
            }
            return isNew;
        }
        std::vector<std::uint64_t> slots;
        std::size_t position = 0;
        char code = 0;
    };

    Ring threads_{250};
    Ring lines_{240};
    Ring values_{250};
    std::map<std::uint16_t, bool> sent_;
    std::map<std::string, std::uint32_t> ids_;
    std::uint32_t lastId_ = 1;
};

} // namespace QVLog
