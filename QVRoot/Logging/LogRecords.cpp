// The records of the event log and the compression in them: FastLogger's private half.

#include <QVRoot/Logging/FastLogger.hpp>

#include <QVRoot/BasicEnvironment/QVTime.hpp>
#include <QVRoot/Logging/LogStateImpl.hpp>
#include <QVRoot/Logging/LogSystemImpl.hpp>
#include <QVRoot/Threading/ThreadImpl.hpp>

#include <algorithm>
#include <limits>

namespace QV {

using Impl::LogState;
using Impl::Put;

namespace {

enum Marker : UInt8 { TimeChange = 0xF7, ThreadChange = 0xFA, KnownValue = 0xFE, NewValue = 0xFF };

struct TypeInfo {
    const char* name;
    UInt8 size; ///< in the composed buffer; 0: not fixed
};

constexpr TypeInfo types[LogType::Count] = {
    {"I16", 2}, {"UI16", 2}, {"I32", 4}, {"UI32", 4}, {"I64", 8}, {"UI64", 8}, {"F", 4},
    {"D", 8},   {"C", 1},    {"S", 0},   {"Id", 16},  {"Dt", 4},  {"T", 4},
};
constexpr USize longestTypeEntry = sizeof("UI16:C,") - 1;

constexpr const char* levelWords[] = {"",      "trace", "debug", "info", "warning",
                                      "error", "fatal", "off",   "data"};

constexpr LogParameter timeMarkParameters[] = {{LogType::UInt32, 0}};
constexpr EventLogLine timeMarkLine =
    Impl::MakeOwnLogLine(Impl::TimeMarkLine, timeMarkParameters, 1, "{microseconds} us", "LogTime");

constexpr LogParameter threadNameParameters[] = {{LogType::UInt64, 0}, {LogType::String, 0}};
constexpr EventLogLine threadNameLine =
    Impl::MakeOwnLogLine(Impl::ThreadNameLine, threadNameParameters, 2, "thread {id} is {name}", "LogThread");

char* PutBytes(char* at, const void* bytes, USize n) noexcept
{
    if (n != 0) {
        std::memcpy(at, bytes, n);
    }
    return at + n;
}

/// The part of a text that a length of 16 bits can tell.
USize GetTextLength(const char* text) noexcept
{
    constexpr USize most = 0xFFFF;
    return text != nullptr ? std::min<USize>(std::strlen(text), most) : 0;
}

/// Copies a value of 1 to 8 bytes. Both sides have room for 8 but at the end of the buffer.
char* PutValue(char* at, const char* value, UInt32 size, UInt32 rest) noexcept
{
    constexpr UInt32 most = 8;
    if (rest >= most) [[likely]] {
        std::memcpy(at, value, most);
        return at + size;
    }
    return PutBytes(at, value, size);
}

char* PutText(char* at, const char* text) noexcept
{
    const USize length = GetTextLength(text);
    return PutBytes(Put(at, static_cast<UInt16>(length)), text, length);
}

/// Where the line is: its second site string, or for a line of the macros level, category and function.
char* PutSite(char* at, const EventLogLine& line) noexcept
{
    if (line.category == nullptr) {
        return PutText(at, line.site2);
    }
    constexpr USize most = 0xFFFF;
    char* const begin = at + 2;
    char* end = PutBytes(begin, levelWords[static_cast<UInt8>(line.level)],
                         std::strlen(levelWords[static_cast<UInt8>(line.level)]));
    *end++ = '|';
    end = PutBytes(end, line.category, GetTextLength(line.category));
    *end++ = '|';
    end = PutBytes(end, line.site2, GetTextLength(line.site2));
    const USize length = std::min<USize>(static_cast<USize>(end - begin), most);
    Put(at, static_cast<UInt16>(length));
    return begin + length;
}

/// Room that a line takes at most whose values have n bytes in the buffer.
USize GetLineSize(const EventLogLine& line, UInt32 n) noexcept
{
    constexpr USize codeAndId = 3;
    constexpr USize widestCopy = 8;
    return codeAndId + n + line.count + widestCopy; // a compressed value may take one byte more
}

/// Room that a descriptor takes at most, while it is put together.
USize GetDescriptorSize(const EventLogLine& line) noexcept
{
    constexpr USize fixedFields = 16;
    constexpr USize levelAndBars = 16;
    return fixedFields + line.count * longestTypeEntry + GetTextLength(line.format) +
           GetTextLength(line.site1) + GetTextLength(line.site2) + GetTextLength(line.category) +
           levelAndBars;
}

} // namespace

char* Impl::LogStage::Grow(char* at, USize n) noexcept
{
    const USize used = static_cast<USize>(at - begin_);
    const USize size = (used + n) * 2;
    auto* const block =
        static_cast<char*>(MemoryManager::Allocate(size, MemoryManager::ReturnNullOnFailure, false));
    if (block == nullptr) {
        return nullptr;
    }
    std::memcpy(block, begin_, used);
    if (begin_ != inline_) {
        MemoryManager::Free(begin_);
    }
    begin_ = block;
    end_ = block + size;
    return begin_ + used;
}

char* FastLogger::WriteTimeAndThread(LogState& state, char* at)
{
    at = state.stage.Reserve(at, 5 + 10);
    const LogClock clock = clock_.load(std::memory_order_relaxed);
    Int32 time;
    UInt32 microseconds = 0;
    if (clock == LogClock::Seconds) {
        time = TIGetTime();
    } else {
        const Impl::LogInstant now = Impl::GetLogInstant(clock == LogClock::Precise);
        time = static_cast<Int32>(std::clamp<Int64>(now.seconds, std::numeric_limits<Int32>::min(),
                                                    std::numeric_limits<Int32>::max()));
        microseconds = now.microseconds;
    }
    if (time != state.lastTime || !state.hasTime) {
        at = WriteTimeChange(at, time);
        state.lastTime = time;
        state.lastMicroseconds = 0;
        state.hasTime = true;
    }
    const UInt64 thread = Impl::GetCurrentId();
    if (thread != state.lastThread) {
        char* const begin = at;
        at = WriteThreadChange(state, at, thread);
        state.lastThread = thread;
        const bool isNew = at - begin > 2;
        if (isNew && sendsThreadNames_.load(std::memory_order_relaxed)) {
            at = WriteThreadName(state, at, thread);
        }
    }
    if (microseconds != state.lastMicroseconds && at != nullptr && clock != LogClock::Seconds) {
        at = WriteTimeMark(state, at, microseconds);
        state.lastMicroseconds = microseconds;
    }
    return at;
}

char* FastLogger::WriteThreadChange(LogState& state, char* at, UInt64 threadId)
{
    UInt8 code;
    CompressThreadId(state, threadId, &code);
    at = Put(Put(at, ThreadChange), code);
    return code == KnownValue ? Put(at, threadId) : at;
}

/// The name of the calling thread, if the library knows one.
char* FastLogger::WriteThreadName(LogState& state, char* at, UInt64 threadId)
{
    const Impl::ThreadImpl* const thread = Impl::GetCurrentThreadImpl();
    if (thread == nullptr || thread->GetName().IsEmpty()) {
        return at;
    }
    LogComposer composer(threadNameLine);
    composer.Add(threadId);
    const std::u16string_view name = thread->GetName().GetView();
    composer.AddString(reinterpret_cast<const unsigned short*>(name.data()),
                       static_cast<UInt32>(name.size()));
    UInt32 offset = 0;
    return composer.GetLength() != 0
               ? WriteEventLogLine(state, at, composer.GetBuffer(), composer.GetLength(), &offset)
               : at;
}

char* FastLogger::WriteTimeChange(char* at, Int32 time)
{
    return Put(Put(at, TimeChange), time);
}

char* FastLogger::WriteTimeMark(LogState& state, char* at, UInt32 microseconds)
{
    const EventLogLine* const line = &timeMarkLine;
    char buffer[sizeof(line) + sizeof(microseconds)];
    Put(Put(buffer, line), microseconds);
    UInt32 offset = 0;
    return WriteEventLogLine(state, at, buffer, sizeof(buffer), &offset);
}

char* FastLogger::WriteEventLogLine(LogState& state, char* at, const char* buffer, UInt32 length,
                                    UInt32* offset)
{
    const EventLogLine* line;
    if (length - *offset < sizeof(line)) {
        *offset = length;
        return nullptr;
    }
    std::memcpy(&line, buffer + *offset, sizeof(line));
    *offset += sizeof(line);
    at = state.stage.Reserve(at, GetLineSize(*line, length - *offset));
    if (at == nullptr) {
        return nullptr;
    }
    UInt8 code;
    CompressLogLine(state, line->id, &code);
    at = Put(at, code);
    if (code == KnownValue) {
        at = Put(at, line->id);
    } else if (code == NewValue) {
        at = WriteDescriptor(state, at, *line);
        at = at != nullptr ? state.stage.Reserve(at, GetLineSize(*line, length - *offset)) : nullptr;
    }
    return at != nullptr ? WriteParameters(state, at, *line, buffer, length, offset) : nullptr;
}

/// A data line is an event line; what makes it one is that it follows in the same buffer.
char* FastLogger::WriteDataLogLine(LogState& state, char* at, const char* buffer, UInt32 length,
                                   UInt32* offset)
{
    return WriteEventLogLine(state, at, buffer, length, offset);
}

char* FastLogger::WriteDescriptor(LogState& state, char* at, const EventLogLine& line)
{
    constexpr UInt16 version = 1;
    at = state.stage.Reserve(at, GetDescriptorSize(line));
    if (at == nullptr) {
        return nullptr;
    }
    at = Put(Put(at, line.id), version);
    char* const signature = at;
    at += sizeof(UInt16);
    for (UInt16 i = 0; i < line.count; ++i) {
        const LogParameter& parameter = line.params[i];
        if (i != 0) {
            *at++ = ',';
        }
        if (parameter.type < LogType::Count) {
            at = PutBytes(at, types[parameter.type].name, std::strlen(types[parameter.type].name));
        }
        if (parameter.compress != 0) {
            at = PutBytes(at, ":C", 2);
        }
    }
    const USize size = static_cast<USize>(at - signature) - sizeof(UInt16);
    if (size > 0xFFFF) {
        return nullptr; // thousands of parameters: nobody could tell what they are
    }
    Put(signature, static_cast<UInt16>(size));
    at = PutText(at, line.format);
    at = PutText(Put(at, line.number), line.site1);
    return PutSite(at, line);
}

char* FastLogger::WriteParameters(LogState& state, char* at, const EventLogLine& line, const char* buffer,
                                  UInt32 length, UInt32* offset)
{
    if (line.plainSize != EventLogLine::UnknownSize && line.plainSize <= length - *offset) [[likely]] {
        at = PutBytes(at, buffer + *offset, line.plainSize);
        *offset += line.plainSize;
        return at;
    }
    for (UInt16 i = 0; i < line.count && at != nullptr; ++i) {
        const auto [type, compress] = line.params[i];
        const char* const value = buffer + *offset;
        const UInt32 rest = length - *offset;
        UInt32 used = type < LogType::Count ? types[type].size : 0;
        if (type == LogType::String) {
            at = WriteString(state, at, compress != 0, value, rest, &used);
        } else if (used > rest) {
            at = nullptr;
        } else if (type == LogType::Id) {
            at = WriteId(state, at, compress != 0, value);
        } else {
            at = PutValue(at, value, used, rest);
        }
        *offset += at != nullptr ? used : rest;
    }
    return at;
}

char* FastLogger::WriteString(LogState& state, char* at, bool compress, const char* value, UInt32 rest,
                              UInt32* used)
{
    constexpr UInt32 head = sizeof(UInt16) + sizeof(UInt64);
    UInt16 length;
    UInt64 hash;
    if (rest < head) {
        return nullptr;
    }
    std::memcpy(&length, value, sizeof(length));
    std::memcpy(&hash, value + sizeof(length), sizeof(hash));
    if (rest - head < length) {
        return nullptr;
    }
    const char* const text = value + head;
    *used = head + length;
    if (compress) {
        UInt32 id;
        UInt8 code;
        CompressStringHashValue(state, hash != 0 ? hash : GenerateStringHashValue(text, length), &id, &code);
        at = Put(at, code);
        if (code != NewValue) {
            return code == KnownValue ? Put(at, id) : at;
        }
    }
    return PutBytes(Put(at, length), text, length);
}

char* FastLogger::WriteId(LogState& state, char* at, bool compress, const char* value)
{
    if (compress) {
        Guid key;
        std::memcpy(&key, value, sizeof(key));
        UInt32 id;
        UInt8 code;
        CompressId(state, key, &id, &code);
        at = Put(at, code);
        if (code != NewValue) {
            return code == KnownValue ? Put(at, id) : at;
        }
    }
    return PutBytes(at, value, sizeof(Guid));
}

void FastLogger::CompressThreadId(LogState& state, UInt64 id, UInt8* code)
{
    *code = state.block.threads.Compress(id);
}

void FastLogger::CompressLogLine(LogState& state, UInt16 lineId, UInt8* code)
{
    UInt64& word = state.block.sentLines[lineId / 64];
    const UInt64 bit = UInt64{1} << lineId % 64;
    const bool isSent = (word & bit) != 0 && lineId != Impl::SharedLine;
    word |= bit;
    CompressLogLineId(state, lineId, code);
    if (!isSent) {
        *code = NewValue;
    }
}

void FastLogger::CompressLogLineId(LogState& state, UInt16 lineId, UInt8* code)
{
    *code = state.block.lines.Compress(lineId);
}

void FastLogger::CompressStringHashValue(LogState& state, UInt64 hash, UInt32* id, UInt8* code)
{
    *id = state.block.strings.Find(hash);
    const bool isNew = *id == 0;
    if (isNew) {
        *id = ++state.block.lastId;
        state.block.strings.Insert(hash, *id);
    }
    CompressCompressionCode(state, *id, code);
    if (isNew) {
        *code = NewValue;
    }
}

void FastLogger::CompressId(LogState& state, const Guid& value, UInt32* id, UInt8* code)
{
    *id = state.block.ids.Find(value);
    const bool isNew = *id == 0;
    if (isNew) {
        *id = ++state.block.lastId;
        state.block.ids.Insert(value, *id);
    }
    CompressCompressionCode(state, *id, code);
    if (isNew) {
        *code = NewValue;
    }
}

void FastLogger::CompressCompressionCode(LogState& state, UInt32 id, UInt8* code)
{
    *code = state.block.codes.Compress(id);
}

} // namespace QV
