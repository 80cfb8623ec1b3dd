#include "LogReader.hpp"

#include "Bytes.hpp"

#include <algorithm>

namespace QVLog {

namespace {

constexpr std::string_view signature = "\xF8WW\x02\x02";
constexpr std::size_t headerSize = 29;
constexpr std::size_t blockStartSize = 21;
constexpr std::int32_t mostUtcOffset = 86400;
constexpr std::size_t mostThreadNames = 8192;
constexpr std::size_t longestThreadName = 128;
/// Searches through the whole rest of a log that found no block of the run. After so many of them the log is
/// no accident, and they would never end.
constexpr std::uint32_t mostFruitlessSearches = 64;

constexpr unsigned char timeMarker = 0xF7;
constexpr unsigned char headerMarker = 0xF8;
constexpr unsigned char threadMarker = 0xFA;
constexpr unsigned char byId = 0xFE;
constexpr unsigned char inFull = 0xFF;

constexpr const char* emptySlot = "an empty slot";

bool IsNearUtc(std::int32_t offset)
{
    return offset >= -mostUtcOffset && offset <= mostUtcOffset;
}

/// Whether the bytes begin with a header, of whatever run.
bool MayBeHeader(std::string_view bytes)
{
    return bytes.size() >= headerSize && bytes.starts_with(signature) &&
           IsNearUtc(GetNumber<std::int32_t>(bytes.data() + 25));
}

/// Where one begins, from `at` on.
std::size_t FindHeader(std::string_view bytes, std::size_t at)
{
    while ((at = bytes.find(signature, at)) != std::string_view::npos && !MayBeHeader(bytes.substr(at))) {
        ++at;
    }
    return at;
}

} // namespace

LogReader::LogReader(std::unique_ptr<LogFile> file, bool isLive) : input_(std::move(file)), isLive_(isLive) {}

const std::string& LogReader::GetThreadName(std::uint64_t thread) const
{
    static const std::string none;
    const auto found = threadNames_.find(thread);
    return found == threadNames_.end() ? none : found->second;
}

Event LogReader::Next()
{
    if (resume_ != nowhere) {
        input_.SeekTo(resume_);
        resume_ = nowhere;
    } else {
        input_.Skip(static_cast<std::size_t>(size_));
    }
    offset_ = input_.GetOffset();
    size_ = 0;
    Extent extent;
    if (!FindExtent(extent)) {
        return input_.GetWindow().empty() ? Event::End : Event::TornTail;
    }
    if (extent.damage != nullptr) {
        return SkipDamage(extent.damage);
    }
    size_ = extent.size;
    return ReadRecord();
}

Event LogReader::ReadRecord()
{
    switch (input_.GetData()[0]) {
    case headerMarker:
        return ReadHeader();
    case timeMarker:
        return ReadTime();
    case threadMarker:
        return ReadThread();
    default:
        return ReadLine();
    }
}

/// False when the log ends within the record.
bool LogReader::FindExtent(Extent& extent)
{
    if (!input_.Ensure(1)) {
        return false;
    }
    extent = MeasureWhole();
    if (extent.damage != nullptr) {
        return true;
    }
    extent.damage = FindCut(extent.size);
    return extent.size != 0 || extent.damage != nullptr;
}

/// Takes in more until all of the record is there.
LogReader::Extent LogReader::MeasureWhole()
{
    for (;;) {
        const Extent extent = MeasureRecord(input_.GetWindow());
        const std::size_t seen = input_.GetWindow().size();
        if (extent.size != 0 || extent.damage != nullptr) {
            return extent;
        }
        if (seen >= Input::most) {
            return {0, "a line of more than 512 KiB"};
        }
        if (!input_.Ensure(seen + 1)) {
            return {};
        }
    }
}

/// Whether another block begins before the record's end, and how. Of a torn record, size 0, what is there may
/// already be more than it can be.
const char* LogReader::FindCut(std::size_t size)
{
    const bool isTorn = size == 0;
    if (input_.GetData()[0] == headerMarker) {
        return !isTorn && IsHeaderCut() ? "a block header that is cut by the next one" : nullptr;
    }
    if (ReachesIntoNextBlock(isTorn ? input_.GetWindow().size() : size)) {
        return "a record that reaches into the next block";
    }
    return isTorn && IsTailCut() ? "a record that is cut by another run" : nullptr;
}

/// A header that was not written to its end would swallow the beginning of the next one.
bool LogReader::IsHeaderCut()
{
    input_.Ensure(2 * headerSize - 1);
    const std::string_view window = input_.GetWindow();
    const std::size_t again = window.find(window.substr(0, blockStartSize), 1);
    const std::size_t at = std::min(again, FindHeader(window.substr(0, 2 * headerSize - 1), 1));
    if (at >= headerSize) {
        return false;
    }
    nextBlock_ = input_.GetOffset() + at;
    return true;
}

/// Whether another run follows a record that its program did not write to the end.
bool LogReader::IsTailCut()
{
    const std::size_t at = isLive_ ? std::string_view::npos : FindHeader(input_.GetWindow(), 1);
    if (at == std::string_view::npos) {
        return false;
    }
    nextBlock_ = input_.GetOffset() + at;
    return true;
}

LogReader::Extent LogReader::MeasureRecord(std::string_view window)
{
    const auto fixed = [&](std::size_t size) { return Extent{window.size() < size ? 0 : size, nullptr}; };
    const unsigned char marker = static_cast<unsigned char>(window[0]);
    if (marker == headerMarker) {
        const std::size_t known = std::min(window.size(), signature.size());
        return window.substr(0, known) == signature.substr(0, known)
                   ? fixed(headerSize)
                   : Extent{0, "a block header of another version"};
    }
    if (!hasHeader_ || isLost_) {
        return isLost_ && window.size() < headerSize ? Extent{} : Extent{0, "no block header"};
    }
    if (marker == timeMarker) {
        return fixed(5);
    }
    if (marker == threadMarker) {
        const bool isNew = window.size() > 1 && static_cast<unsigned char>(window[1]) == byId;
        return fixed(isNew ? 10 : 2);
    }
    if (marker >= 240 && marker != byId && marker != inFull) {
        return {0, "a byte that begins no record"};
    }
    if (!hasTime_ || !hasThread_) {
        return {0, "a line before the time and the thread"};
    }
    return MeasureLine(window);
}

LogReader::Extent LogReader::MeasureLine(std::string_view window)
{
    const unsigned char code = static_cast<unsigned char>(window[0]);
    if (code == inFull) {
        const std::size_t size = MeasureDescriptor(window.substr(1));
        if (size == 0) {
            return {};
        }
        parsed_ = std::make_unique<Descriptor>();
        if (const char* const damage = ParseDescriptor(window.substr(1), *parsed_)) {
            return {0, damage};
        }
        return MeasureValues(*parsed_, window, 1 + size);
    }
    if (code != byId) {
        const Descriptor* const descriptor = descriptors_.GetSlot(code);
        return descriptor == nullptr ? Extent{0, emptySlot} : MeasureValues(*descriptor, window, 1);
    }
    if (window.size() < 3) {
        return {};
    }
    const Descriptor* const descriptor = descriptors_.Find(GetUInt16(window.data() + 1));
    return descriptor == nullptr ? Extent{0, "an unknown line"} : MeasureValues(*descriptor, window, 3);
}

/// `at` is where the values begin.
LogReader::Extent LogReader::MeasureValues(const Descriptor& descriptor, std::string_view window,
                                           std::size_t at) const
{
    if (descriptor.isFixed) {
        const std::size_t size = at + descriptor.fixedSize;
        return {window.size() < size ? 0 : size, nullptr};
    }
    for (const Parameter& parameter : descriptor.parameters) {
        bool isWhole = true;
        if (parameter.isCompressed) {
            if (window.size() <= at) {
                return {};
            }
            const unsigned char code = static_cast<unsigned char>(window[at++]);
            if (code >= 250 && code != byId && code != inFull) {
                return {0, "a code that is never written"};
            }
            isWhole = code == inFull;
            at += code == byId ? 4 : 0;
        }
        if (isWhole && parameter.type == Type::S) {
            if (window.size() < at + 2) {
                return {};
            }
            at += 2u + GetUInt16(window.data() + at);
        } else if (isWhole) {
            at += GetFixedSize(parameter.type);
        }
    }
    return {window.size() < at ? 0 : at, nullptr};
}

bool LogReader::ReachesIntoNextBlock(std::size_t size)
{
    if (!hasHeader_ || isLost_) {
        return false;
    }
    const std::uint64_t end = input_.GetOffset() + size;
    if (nextBlock_ == nowhere && scanned_ < end) {
        ScanForNextBlock();
        const bool mayWait = !isLive_ || input_.GetFile().IsSeekable();
        if (nextBlock_ == nowhere && scanned_ < end && mayWait) {
            input_.Ensure(size + blockStartSize - 1);
            ScanForNextBlock();
        }
    }
    return nextBlock_ < end;
}

/// Looks through what is in the window.
void LogReader::ScanForNextBlock()
{
    const std::string_view window = input_.GetWindow();
    const std::uint64_t offset = input_.GetOffset();
    std::size_t at = static_cast<std::size_t>(std::max(scanned_, offset) - offset);
    const std::size_t found = at > window.size() ? std::string_view::npos : window.find(blockStart_, at);
    if (found != std::string_view::npos) {
        nextBlock_ = offset + found;
        return;
    }
    // The beginning of one may stand at the window's end.
    at = std::max(at, window.size() - std::min(window.size(), blockStartSize - 1));
    while (at < window.size() && !std::string_view(blockStart_).starts_with(window.substr(at))) {
        ++at;
    }
    scanned_ = std::max(scanned_, offset + at);
}

Event LogReader::ReadHeader()
{
    const unsigned char* const bytes = input_.GetData();
    blockStart_ = input_.GetWindow().substr(0, blockStartSize);
    Guid run;
    std::copy_n(bytes + signature.size(), run.bytes.size(), run.bytes.begin());
    if (!(run == run_)) {
        threadNames_.clear();
    }
    run_ = run;
    seconds_ = GetNumber<std::int32_t>(bytes + 21);
    microseconds_ = 0;
    utcOffset_ = GetNumber<std::int32_t>(bytes + 25);
    utcOffset_ = IsNearUtc(utcOffset_) ? utcOffset_ : 0;
    hasHeader_ = true;
    isLost_ = false;
    nextBlock_ = nowhere;
    scanned_ = input_.GetOffset() + 1;
    hasTime_ = false;
    hasThread_ = false;
    threadsUsed_ = threadPosition_ = 0;
    descriptors_.Clear();
    valueTable_.Clear();
    return Event::Header;
}

Event LogReader::ReadTime()
{
    seconds_ = GetNumber<std::int32_t>(input_.GetData() + 1);
    microseconds_ = 0;
    hasTime_ = true;
    return Event::Time;
}

Event LogReader::ReadThread()
{
    const unsigned char code = input_.GetData()[1];
    if (code == byId) {
        thread_ = GetUInt64(input_.GetData() + 2);
        threads_[threadPosition_] = thread_;
        threadsUsed_ = std::max(threadsUsed_, threadPosition_ + 1);
        threadPosition_ = threadPosition_ + 1 == threads_.size() ? 0 : threadPosition_ + 1;
    } else if (code < threadsUsed_) {
        thread_ = threads_[code];
    } else {
        return SkipDamage(emptySlot);
    }
    hasThread_ = true;
    return Event::Thread;
}

Event LogReader::ReadLine()
{
    const unsigned char code = input_.GetData()[0];
    std::size_t at = 1;
    hasDescriptor_ = code == inFull;
    saved_ = 0;
    if (hasDescriptor_) {
        const std::size_t size = parsed_->size;
        descriptor_ = descriptors_.Enter(std::move(parsed_), input_.GetWindow().substr(1, size));
        at += size;
    } else if (code == byId) {
        descriptor_ = descriptors_.Use(GetUInt16(input_.GetData() + 1));
        at += 2;
    } else {
        descriptor_ = descriptors_.GetSlot(code);
    }
    if (const char* const damage = TakeValues(at)) {
        return SkipDamage(damage);
    }
    if (descriptor_->own != OwnLine::None) {
        TakeOwnLine();
    }
    return Event::Line;
}

const char* LogReader::TakeValues(std::size_t at)
{
    const std::size_t count = descriptor_->parameters.size();
    values_.resize(count);
    recalled_.clear();
    for (std::size_t i = 0; i < count; ++i) {
        const Parameter parameter = descriptor_->parameters[i];
        Value& value = values_[i];
        value.type = parameter.type;
        if (!parameter.isCompressed) {
            TakePlain(value, at);
            continue;
        }
        if (const char* const damage = TakeCompressed(value, at)) {
            return damage;
        }
        if (value.text.data() == nullptr) {
            recalled_.emplace_back(i, value.cardinal);
        }
    }
    return recalled_.empty() ? nullptr : RecallValues();
}

void LogReader::TakePlain(Value& value, std::size_t& at) const
{
    const char* const from = input_.GetWindow().data() + at;
    at += GetFixedSize(value.type);
    switch (value.type) {
    case Type::I16:
        value.integer = GetNumber<std::int16_t>(from);
        break;
    case Type::UI16:
        value.cardinal = GetUInt16(from);
        break;
    case Type::I32:
    case Type::Dt:
    case Type::T:
        value.integer = GetNumber<std::int32_t>(from);
        break;
    case Type::UI32:
        value.cardinal = GetUInt32(from);
        break;
    case Type::I64:
    case Type::UI64:
        value.cardinal = GetUInt64(from);
        break;
    case Type::F:
        value.real = static_cast<double>(GetNumber<float>(from));
        break;
    case Type::D:
        value.real = GetNumber<double>(from);
        break;
    case Type::C:
        value.text = {from, 1};
        break;
    case Type::S:
        value.text = {from + 2, GetUInt16(from)};
        at += 2 + value.text.size();
        break;
    case Type::Id:
        value.text = {from, 16};
        break;
    case Type::None:
        break;
    }
}

/// Leaves no text, but the id, of a value that was sent before.
const char* LogReader::TakeCompressed(Value& value, std::size_t& at)
{
    const char* const bytes = input_.GetWindow().data();
    const unsigned char code = static_cast<unsigned char>(bytes[at++]);
    if (code == inFull) {
        const std::size_t size = value.type == Type::S ? GetUInt16(bytes + at) : 16;
        at += value.type == Type::S ? 2 : 0;
        value.text = {bytes + at, size};
        valueTable_.Enter(value.type, value.text);
        at += size;
        return nullptr;
    }
    value.text = {};
    if (code == byId) {
        value.cardinal = GetUInt32(bytes + at);
        at += 4;
        return valueTable_.Use(static_cast<std::uint32_t>(value.cardinal)) ? nullptr : "an unknown value";
    }
    value.cardinal = valueTable_.GetSlot(code);
    return value.cardinal != 0 ? nullptr : emptySlot;
}

/// When all are taken, since one that is taken may push others out of memory.
const char* LogReader::RecallValues()
{
    scratch_.clear();
    for (const auto& [index, id] : recalled_) {
        Value& value = values_[index];
        std::string scratch;
        if (const char* const damage = valueTable_.Find(id, value.type, value.text, scratch)) {
            return damage;
        }
        if (value.text.data() == scratch.data()) {
            value.text = scratch_.emplace_back(std::move(scratch));
        }
        saved_ += value.text.size();
        if (saved_ + size_ > Input::most) {
            return "a line of more than 512 KiB";
        }
    }
    return nullptr;
}

void LogReader::TakeOwnLine()
{
    if (descriptor_->own == OwnLine::Time) {
        microseconds_ = static_cast<std::int32_t>(std::min<std::uint64_t>(values_[0].cardinal, 999999));
    } else if (descriptor_->own == OwnLine::Thread &&
               (threadNames_.size() < mostThreadNames || threadNames_.contains(values_[0].cardinal))) {
        threadNames_[values_[0].cardinal] = values_[1].text.substr(0, longestThreadName);
    }
}

Event LogReader::SkipDamage(const char* reason)
{
    reason_ = reason;
    resume_ = nextBlock_ != nowhere ? nextBlock_ : FindResume();
    size_ = resume_ - offset_;
    return Event::Damage;
}

/// Looks for a header of this run, else of any, behind the beginning of the damage.
std::uint64_t LogReader::FindResume()
{
    const bool takesAny =
        isLive_ || !input_.GetFile().IsSeekable() || fruitlessSearches_ > mostFruitlessSearches;
    std::uint64_t other = nowhere;
    std::size_t from = 1;
    for (; input_.Ensure(from + headerSize); from = 0) {
        const std::string_view window = input_.GetWindow();
        const std::size_t own = hasHeader_ ? window.find(blockStart_, from) : std::string_view::npos;
        const std::size_t any = other == nowhere ? FindHeader(window, from) : std::string_view::npos;
        if (own != std::string_view::npos && (own <= any || !takesAny)) {
            return input_.GetOffset() + own;
        }
        if (any != std::string_view::npos) {
            other = input_.GetOffset() + any;
            if (takesAny) {
                return other;
            }
        }
        input_.Skip(window.size() - headerSize + 1);
    }
    if (other != nowhere) {
        ++fruitlessSearches_;
        return other;
    }
    isLost_ = true;
    // What may become a header in a log that grows is left.
    return input_.GetOffset() + (isLive_ ? from : input_.GetWindow().size());
}

} // namespace QVLog
