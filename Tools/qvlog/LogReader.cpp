#include "LogReader.hpp"

#include "Bytes.hpp"

#include <algorithm>

namespace QVLog {

namespace {

constexpr std::string_view signature = "\xF8WW\x02\x02";
constexpr std::size_t headerSize = 29;
constexpr std::size_t blockStartSize = 21;
constexpr std::size_t mostThreadNames = 65536;
/// Of descriptors that are kept ready; more are parsed again when they are used.
constexpr std::size_t mostParsedBytes = 2 << 20;

constexpr unsigned char timeMarker = 0xF7;
constexpr unsigned char headerMarker = 0xF8;
constexpr unsigned char threadMarker = 0xFA;
constexpr unsigned char byId = 0xFE;
constexpr unsigned char inFull = 0xFF;

} // namespace

LogReader::LogReader(std::unique_ptr<LogFile> file, bool isLive)
    : input_(std::move(file)), isLive_(isLive || !input_.GetFile().IsSeekable()), descriptorBytes_(1 << 20),
      valueBytes_(4 << 20), valueIndex_(2 << 20)
{
}

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
    switch (input_.GetData()[0]) {
    case headerMarker:
        return ReadHeader();
    case timeMarker:
        seconds_ = static_cast<std::int32_t>(GetUInt32(input_.GetData() + 1));
        microseconds_ = 0;
        hasTime_ = true;
        return Event::Time;
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
    for (;;) {
        extent = MeasureRecord(input_.GetWindow());
        if (extent.damage != nullptr) {
            return true;
        }
        const bool isHeader = input_.GetData()[0] == headerMarker;
        if (extent.size != 0) {
            if (!isHeader && ReachesIntoNextBlock(extent.size)) {
                extent.damage = "a record that reaches into the next block";
            }
            return true;
        }
        const std::size_t seen = input_.GetWindow().size();
        if (seen >= Input::most) {
            extent.damage = "a record of more than 8 MiB";
            return true;
        }
        if (!input_.Ensure(seen + 1)) {
            // What is there may already be more than a torn record can be.
            if (hasHeader_ && !isHeader && ReachesIntoNextBlock(seen)) {
                extent.damage = "a record that reaches into the next block";
                return true;
            }
            return false;
        }
    }
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
        if (window.size() < 2) {
            return {};
        }
        const unsigned char code = static_cast<unsigned char>(window[1]);
        return code == byId ? fixed(10) : fixed(2);
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
        auto descriptor = std::make_unique<Descriptor>();
        if (const char* const damage = ParseDescriptor(window.substr(1), *descriptor)) {
            return {0, damage};
        }
        return MeasureValues(*descriptor, window, 1 + size);
    }
    std::size_t at = 1;
    const Descriptor* descriptor = nullptr;
    if (code == byId) {
        at = 3;
        if (window.size() < at) {
            return {};
        }
        descriptor = FindDescriptor(GetUInt16(window.data() + 1));
    } else if (code < linesUsed_) {
        descriptor = lineDescriptors_[code];
        if (descriptor == nullptr) {
            descriptor = lineDescriptors_[code] = FindDescriptor(lines_[code]);
        }
    }
    if (descriptor == nullptr) {
        return {0, code == byId ? "an unknown line" : "an empty slot"};
    }
    return MeasureValues(*descriptor, window, at);
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
    const std::uint64_t end = input_.GetOffset() + size;
    if (nextBlock_ == nowhere && scanned_ < end) {
        if (input_.GetFile().IsSeekable()) { // a pipe would wait
            input_.Ensure(std::min(Input::most, size + blockStartSize));
        }
        ScanForNextBlock();
    }
    return nextBlock_ < end;
}

/// Looks through what is in the window.
void LogReader::ScanForNextBlock()
{
    const std::string_view window = input_.GetWindow();
    const std::uint64_t offset = input_.GetOffset();
    const std::size_t from = static_cast<std::size_t>(std::max(scanned_, offset) - offset);
    const std::size_t found = from > window.size() ? std::string_view::npos : window.find(blockStart_, from);
    if (found != std::string_view::npos) {
        nextBlock_ = offset + found;
    } else if (window.size() >= blockStartSize) {
        scanned_ = std::max(scanned_, offset + window.size() - blockStartSize + 1);
    }
}

Event LogReader::ReadHeader()
{
    const unsigned char* const bytes = input_.GetData();
    std::copy_n(bytes + signature.size(), run_.bytes.size(), run_.bytes.begin());
    blockStart_ = input_.GetWindow().substr(0, blockStartSize);
    seconds_ = static_cast<std::int32_t>(GetUInt32(bytes + 21));
    microseconds_ = 0;
    utcOffset_ = static_cast<std::int32_t>(GetUInt32(bytes + 25));
    hasHeader_ = true;
    isLost_ = false;
    nextBlock_ = nowhere;
    scanned_ = input_.GetOffset() + 1;
    ClearBlock();
    return Event::Header;
}

void LogReader::ClearBlock()
{
    hasTime_ = false;
    hasThread_ = false;
    threadsUsed_ = threadPosition_ = 0;
    descriptors_.clear();
    descriptorBytes_.Clear();
    parsedBytes_ = 0;
    linesUsed_ = linePosition_ = 0;
    valueBytes_.Clear();
    valueIndex_.Clear();
    lastValue_ = 1;
    ringUsed_ = ringPosition_ = 0;
}

Event LogReader::ReadThread()
{
    const unsigned char code = input_.GetData()[1];
    if (code == byId) {
        thread_ = GetUInt64(input_.GetData() + 2);
        threads_[threadPosition_] = thread_;
        threadsUsed_ = std::max(threadsUsed_, threadPosition_ + 1);
        threadPosition_ = (threadPosition_ + 1) % threads_.size();
    } else if (code < threadsUsed_) {
        thread_ = threads_[code];
    } else {
        return SkipDamage("an empty slot");
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
        TakeDescriptor(at);
    } else if (code == byId) {
        const std::uint16_t id = GetUInt16(input_.GetData() + 1);
        at = 3;
        descriptor_ = FindDescriptor(id);
        lines_[linePosition_] = id;
        lineDescriptors_[linePosition_] = descriptor_;
        linesUsed_ = std::max(linesUsed_, linePosition_ + 1);
        linePosition_ = (linePosition_ + 1) % lines_.size();
    } else {
        descriptor_ = lineDescriptors_[code];
    }
    if (const char* const damage = TakeValues(at)) {
        return SkipDamage(damage);
    }
    if (descriptor_->own != OwnLine::None) {
        TakeOwnLine();
    }
    return Event::Line;
}

const char* LogReader::TakeDescriptor(std::size_t& at)
{
    const std::string_view window = input_.GetWindow().substr(1);
    auto parsed = std::make_unique<Descriptor>();
    ParseDescriptor(window, *parsed); // sound, since it was measured
    const std::size_t size = parsed->size;
    const std::uint16_t id = parsed->id;
    at += size;
    descriptor_ = KeepDescriptor(window.substr(0, size), std::move(parsed));
    bool isInSlot = false;
    for (std::uint32_t slot = 0; slot < linesUsed_; ++slot) {
        if (lines_[slot] == id) {
            lineDescriptors_[slot] = descriptor_;
            isInSlot = true;
        }
    }
    if (!isInSlot) {
        lines_[linePosition_] = id;
        lineDescriptors_[linePosition_] = descriptor_;
        linesUsed_ = std::max(linesUsed_, linePosition_ + 1);
        linePosition_ = (linePosition_ + 1) % lines_.size();
    }
    return nullptr;
}

/// Parsed ones that are out of use may go; their bytes stay.
void LogReader::MakeRoomForDescriptor()
{
    if (parsedBytes_ > mostParsedBytes) {
        for (auto& [id, kept] : descriptors_) {
            kept.parsed.reset();
        }
        lineDescriptors_.fill(nullptr);
        parsedBytes_ = 0;
    }
}

const Descriptor* LogReader::KeepDescriptor(std::string_view bytes, std::unique_ptr<Descriptor> descriptor)
{
    MakeRoomForDescriptor();
    parsedBytes_ += bytes.size() + sizeof(Descriptor);
    KeptDescriptor& kept = descriptors_[descriptor->id];
    kept.position = descriptorBytes_.Append(bytes);
    kept.size = static_cast<std::uint32_t>(bytes.size());
    kept.parsed = std::move(descriptor);
    return kept.parsed.get();
}

const Descriptor* LogReader::FindDescriptor(std::uint16_t id)
{
    const auto found = descriptors_.find(id);
    if (found == descriptors_.end()) {
        return nullptr;
    }
    KeptDescriptor& kept = found->second;
    if (kept.parsed == nullptr) {
        MakeRoomForDescriptor();
        std::string scratch;
        const std::string_view bytes = descriptorBytes_.Read(kept.position, kept.size, scratch);
        if (bytes.empty()) {
            return nullptr;
        }
        kept.parsed = std::make_unique<Descriptor>();
        ParseDescriptor(bytes, *kept.parsed);
        parsedBytes_ += bytes.size() + sizeof(Descriptor);
    }
    return kept.parsed.get();
}

const char* LogReader::TakeValues(std::size_t at)
{
    const char* const bytes = input_.GetWindow().data();
    const std::size_t count = descriptor_->parameters.size();
    values_.resize(count);
    bool hasRecalled = false;
    recalled_.clear();
    for (std::size_t i = 0; i < count; ++i) {
        const Parameter parameter = descriptor_->parameters[i];
        Value& value = values_[i];
        value.type = parameter.type;
        if (parameter.isCompressed) {
            recalled_.resize(count);
            hasRecalled = true;
            if (const char* const damage = TakeCompressed(value, at)) {
                return damage;
            }
            recalled_[i] = value.text.data() == nullptr ? static_cast<std::uint32_t>(value.cardinal) : 0;
            continue;
        }
        const char* const from = bytes + at;
        at += GetFixedSize(parameter.type);
        switch (parameter.type) {
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
    // Only now, since a value that is taken in may push others out of memory.
    scratch_.clear();
    for (std::size_t i = 0; hasRecalled && i < count; ++i) {
        if (recalled_[i] != 0) {
            if (const char* const damage = Recall(values_[i], recalled_[i])) {
                return damage;
            }
        }
    }
    return nullptr;
}

/// Leaves no text and the id where the value must be recalled.
const char* LogReader::TakeCompressed(Value& value, std::size_t& at)
{
    const char* const bytes = input_.GetWindow().data();
    const unsigned char code = static_cast<unsigned char>(bytes[at++]);
    if (code == inFull) {
        const std::size_t size = value.type == Type::S ? GetUInt16(bytes + at) : 16;
        at += value.type == Type::S ? 2 : 0;
        Remember(value, {bytes + at, size});
        at += size;
        return nullptr;
    }
    value.text = {};
    if (code == byId) {
        value.cardinal = GetUInt32(bytes + at);
        at += 4;
        if (value.cardinal < 2 || value.cardinal > lastValue_) {
            return "an unknown value";
        }
        EnterRing(static_cast<std::uint32_t>(value.cardinal));
        return nullptr;
    }
    if (code >= ringUsed_) {
        return "an empty slot";
    }
    value.cardinal = ring_[code];
    return nullptr;
}

void LogReader::Remember(Value& value, std::string_view bytes)
{
    value.text = bytes;
    const KeptValue kept = {valueBytes_.Append(bytes), static_cast<std::uint32_t>(bytes.size()),
                            static_cast<std::uint32_t>(value.type)};
    valueIndex_.Append({reinterpret_cast<const char*>(&kept), sizeof(kept)});
    EnterRing(++lastValue_);
}

void LogReader::EnterRing(std::uint32_t id)
{
    ring_[ringPosition_] = id;
    ringUsed_ = std::max(ringUsed_, ringPosition_ + 1);
    ringPosition_ = (ringPosition_ + 1) % ring_.size();
}

const char* LogReader::Recall(Value& value, std::uint32_t id)
{
    // Entries fill their chunks to the last byte, so their places follow from their numbers.
    std::string scratch;
    const std::string_view entry =
        valueIndex_.Read(std::uint64_t{id - 2} * sizeof(KeptValue), sizeof(KeptValue), scratch);
    if (entry.empty()) {
        return "too many values for this machine";
    }
    const auto kept = GetNumber<KeptValue>(entry.data());
    if (kept.type != static_cast<std::uint32_t>(value.type)) {
        return "a value of the other kind";
    }
    value.text = valueBytes_.Read(kept.position, kept.size, scratch);
    if (value.text.data() == scratch.data()) {
        value.text = scratch_.emplace_back(std::move(scratch));
    }
    saved_ += kept.size;
    return nullptr;
}

void LogReader::TakeOwnLine()
{
    if (descriptor_->own == OwnLine::Time) {
        microseconds_ = static_cast<std::int32_t>(std::min<std::uint64_t>(values_[0].cardinal, 999999));
    } else if (descriptor_->own == OwnLine::Thread &&
               (threadNames_.size() < mostThreadNames || threadNames_.contains(values_[0].cardinal))) {
        threadNames_[values_[0].cardinal] = values_[1].text.substr(0, 256);
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
    std::uint64_t other = nowhere;
    std::size_t from = 1;
    while (input_.Ensure(from + headerSize)) {
        const std::string_view window = input_.GetWindow();
        for (std::size_t at = from;
             (at = window.find(signature, at)) != std::string_view::npos && at + headerSize <= window.size();
             ++at) {
            const std::uint64_t place = input_.GetOffset() + at;
            if (hasHeader_ && window.substr(at).starts_with(blockStart_)) {
                return place;
            }
            const auto offset = GetNumber<std::int32_t>(window.data() + at + 25);
            if (other == nowhere && offset >= -86400 && offset <= 86400) {
                other = place;
                if (isLive_) {
                    return place;
                }
            }
        }
        input_.Skip(window.size() - headerSize + 1);
        from = 0;
    }
    if (other != nowhere) {
        return other;
    }
    isLost_ = true;
    const std::uint64_t end = input_.GetOffset() + input_.GetWindow().size();
    // What may become a header in a log that grows is left.
    return isLive_ ? std::max(input_.GetOffset() + from, end - std::min(end, std::uint64_t{headerSize - 1}))
                   : end;
}

} // namespace QVLog
