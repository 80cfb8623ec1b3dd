/// Takes a log apart, record by record.
///
/// Every byte of a log belongs to exactly one event. Nothing in a log is trusted: what breaks the format
/// comes as `Damage`, and reading goes on at the next block that can be told. Memory does not grow with the
/// log: a line of more than 512 KiB, its repeated values in full, counts as damage.
#pragma once

#include "DescriptorTable.hpp"
#include "Input.hpp"
#include "ValueTable.hpp"

#include <array>
#include <deque>
#include <memory>
#include <string>
#include <unordered_map>

namespace QVLog {

enum class Event {
    Header,
    Time,
    Thread,
    Line,
    Damage,   ///< bytes that could not be read, up to where it goes on
    TornTail, ///< the log ends within a record; asked again, it looks whether there is more now
    End,      ///< the same at the end of a record
};

struct Value {
    Type type;
    union {
        std::int64_t integer;
        std::uint64_t cardinal;
        double real; ///< of `F`, too
    };
    std::string_view text; ///< of `S`; the 16 bytes of `Id`; the byte of `C`
};

struct Guid {
    std::array<unsigned char, 16> bytes = {};
    friend bool operator==(const Guid&, const Guid&) = default;
};

class LogReader {
public:
    /// With `isLive` the log is still growing: what is not whole may become so, and behind damage it goes on
    /// at the first header of any run. So it does in a pipe, which cannot be read twice.
    LogReader(std::unique_ptr<LogFile> file, bool isLive);

    /// What was answered before is gone.
    Event Next();

    /// @name The event
    /// @{
    std::uint64_t GetOffset() const { return offset_; }
    std::uint64_t GetSize() const { return size_; }
    const char* GetReason() const { return reason_; } ///< of damage
    /// @}

    /// @name The line
    /// @{
    const Descriptor& GetDescriptor() const { return *descriptor_; }
    const std::vector<Value>& GetValues() const { return values_; }
    /// Whether the record brought its descriptor.
    bool HasDescriptor() const { return hasDescriptor_; }
    /// Compressed values that were sent by code, and the bytes which that saved.
    std::uint64_t GetSavedBytes() const { return saved_; }
    /// @}

    /// @name Where the log stands
    /// @{
    bool HasHeader() const { return hasHeader_; } ///< whether there was any so far
    /// Whether no block was found behind the last damage.
    bool IsLost() const { return isLost_; }
    const Guid& GetRun() const { return run_; }
    std::int64_t GetMicroseconds() const { return std::int64_t{seconds_} * 1000000 + microseconds_; }
    std::int32_t GetUtcOffset() const { return utcOffset_; }
    std::uint64_t GetThread() const { return thread_; }
    /// Empty: unknown.
    const std::string& GetThreadName(std::uint64_t thread) const;
    /// @}

    Input& GetInput() { return input_; }

private:
    /// How far a record reaches, or why it is none.
    struct Extent {
        std::size_t size = 0; ///< 0: not all there yet
        const char* damage = nullptr;
    };

    static constexpr std::uint64_t nowhere = ~std::uint64_t{0};

    bool FindExtent(Extent& extent);
    Extent MeasureWhole();
    Extent MeasureRecord(std::string_view window);
    Extent MeasureLine(std::string_view window);
    Extent MeasureValues(const Descriptor& descriptor, std::string_view window, std::size_t at) const;
    const char* FindCut(std::size_t size);
    bool IsHeaderCut();
    bool IsTailCut();
    bool ReachesIntoNextBlock(std::size_t size);
    void ScanForNextBlock();

    Event ReadRecord();
    Event ReadHeader();
    Event ReadTime();
    Event ReadThread();
    Event ReadLine();
    const char* TakeValues(std::size_t at);
    void TakePlain(Value& value, std::size_t& at) const;
    const char* TakeCompressed(Value& value, std::size_t& at);
    const char* RecallValues();
    void TakeOwnLine();

    Event SkipDamage(const char* reason);
    std::uint64_t FindResume();

    Input input_;
    bool isLive_;
    std::uint64_t offset_ = 0;
    std::uint64_t size_ = 0;
    const char* reason_ = nullptr;
    std::uint64_t resume_ = nowhere; ///< behind damage
    std::uint32_t fruitlessSearches_ = 0;

    bool hasHeader_ = false;
    bool isLost_ = false; ///< nothing but a header can be read
    bool hasTime_ = false;
    bool hasThread_ = false;
    std::uint64_t scanned_ = 0;         ///< up to here no header of this run begins
    std::uint64_t nextBlock_ = nowhere; ///< or where it does
    std::string blockStart_;            ///< the 21 bytes that begin each block of this run
    Guid run_;
    std::int32_t seconds_ = 0;
    std::int32_t microseconds_ = 0;
    std::int32_t utcOffset_ = 0;
    std::uint64_t thread_ = 0;
    std::unordered_map<std::uint64_t, std::string> threadNames_;

    std::array<std::uint64_t, 250> threads_ = {};
    std::uint32_t threadsUsed_ = 0;
    std::uint32_t threadPosition_ = 0;
    DescriptorTable descriptors_;
    ValueTable valueTable_;

    std::unique_ptr<Descriptor> parsed_; ///< what the record brings
    const Descriptor* descriptor_ = nullptr;
    bool hasDescriptor_ = false;
    std::vector<Value> values_;
    std::vector<std::pair<std::uint32_t, std::uint32_t>> recalled_; ///< index and id of what was sent before
    std::deque<std::string> scratch_;
    std::uint64_t saved_ = 0;
};

} // namespace QVLog
