#include <QVRoot/BasicEnvironment/DebugOutputImpl.hpp>
#include <QVRoot/BasicEnvironment/DebugValues.hpp>
#include <QVRoot/Threading/CriticalSectionImpl.hpp>

#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <string_view>

namespace QV {

namespace {

using std::string_view;

/// The file's text, cut into lines by `Load`. Kept for the life of the process, since the answers are
/// looked up in it again and again.
constexpr USize MaxFileSize = 65536;
constinit char fileText[MaxFileSize] = {};
constinit USize fileLength = 0;

constinit std::atomic<bool> loaded = false;
constinit Impl::CriticalSection loadLock;
constinit std::atomic<DebugOutputSink> outputSink = nullptr;

char FoldCase(char c)
{
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool EqualIgnoringCase(string_view a, string_view b)
{
    if (a.size() != b.size()) {
        return false;
    }
    for (USize i = 0; i < a.size(); ++i) {
        if (FoldCase(a[i]) != FoldCase(b[i])) {
            return false;
        }
    }
    return true;
}

string_view Trim(string_view text)
{
    constexpr string_view blanks = " \t\r\n\v\f";
    const USize first = text.find_first_not_of(blanks);
    if (first == string_view::npos) {
        return {};
    }
    return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

/// What a line of the file is.
struct Line {
    enum Kind { Blank, Section, Pair, Malformed } kind;
    string_view name;  ///< section or key
    string_view value; ///< of a pair
};

Line ParseLine(string_view text)
{
    text = Trim(text);
    if (text.empty() || text.front() == ';' || text.front() == '#') {
        return {Line::Blank, {}, {}};
    }
    if (text.front() == '[') {
        if (text.back() != ']') {
            return {Line::Malformed, text, {}};
        }
        return {Line::Section, Trim(text.substr(1, text.size() - 2)), {}};
    }
    const USize equals = text.find('=');
    if (equals == string_view::npos || equals == 0) {
        return {Line::Malformed, text, {}};
    }
    return {Line::Pair, Trim(text.substr(0, equals)), Trim(text.substr(equals + 1))};
}

/// Calls `visit(line, lineNumber)` for every line until it answers false.
template <class Visitor>
void ForEachLine(Visitor visit)
{
    string_view rest(fileText, fileLength);
    for (int number = 1; !rest.empty(); ++number) {
        const USize end = rest.find('\n');
        if (!visit(ParseLine(rest.substr(0, end)), number)) {
            return;
        }
        rest.remove_prefix(end == string_view::npos ? rest.size() : end + 1);
    }
}

void ReadFile(const char* path)
{
    std::FILE* const file = std::fopen(path, "rb");
    if (file == nullptr) {
        DBPrintf("QVRoot: the debug-value file \"%s\" cannot be read\n", path);
        return;
    }
    fileLength = std::fread(fileText, 1, MaxFileSize, file);
    if (fileLength == MaxFileSize) {
        DBPrintf("QVRoot: the debug-value file \"%s\" is cut at %d bytes\n", path,
                 static_cast<int>(MaxFileSize));
    }
    std::fclose(file);
}

void Load()
{
    const Impl::CriticalSectionGuard guard(loadLock);
    if (loaded.load(std::memory_order_relaxed)) {
        return;
    }
    const char* const path = std::getenv("QVROOT_DEBUG_VALUES");
    if (path != nullptr && *path != '\0') {
        ReadFile(path);
        ForEachLine([path](const Line& line, int number) {
            if (line.kind == Line::Malformed) {
                DBPrintf("QVRoot: %s(%d): malformed line skipped: %.*s\n", path, number,
                         static_cast<int>(line.name.size()), line.name.data());
            }
            return true;
        });
    }
    loaded.store(true, std::memory_order_release);
}

/// The value stored last under the key, or an empty text.
string_view FindValue(const char* section, const char* key)
{
    if (!loaded.load(std::memory_order_acquire)) {
        Load();
    }
    string_view found;
    bool inSection = false;
    ForEachLine([&](const Line& line, int) {
        if (line.kind == Line::Section) {
            inSection = EqualIgnoringCase(line.name, section);
        } else if (line.kind == Line::Pair && inSection && EqualIgnoringCase(line.name, key)) {
            found = line.value;
        }
        return true;
    });
    return found;
}

int DigitValue(char c)
{
    if (c >= '0' && c <= '9') {
        return c - '0';
    }
    const char folded = FoldCase(c);
    return folded >= 'a' && folded <= 'f' ? folded - 'a' + 10 : 16;
}

bool ParseLong(string_view text, Int32& value)
{
    const bool negative = !text.empty() && text.front() == '-';
    if (negative) {
        text.remove_prefix(1);
    }
    int base = 10;
    if (text.size() > 2 && text[0] == '0' && FoldCase(text[1]) == 'x') {
        base = 16;
        text.remove_prefix(2);
    }
    if (text.empty()) {
        return false;
    }
    // Hexadecimal flag words may use all 32 bits.
    const Int64 limit = base == 16 ? 0xFFFFFFFFLL : Int64{std::numeric_limits<Int32>::max()} + negative;
    Int64 number = 0;
    for (const char c : text) {
        const int digit = DigitValue(c);
        if (digit >= base) {
            return false;
        }
        number = number * base + digit;
        if (number > limit) {
            return false;
        }
    }
    value = static_cast<Int32>(negative ? -number : number);
    return true;
}

} // namespace

bool DBGetBool(const char* section, const char* key, bool defaultValue)
{
    const string_view value = FindValue(section, key);
    for (const char* const text : {"true", "yes", "on"}) {
        if (EqualIgnoringCase(value, text)) {
            return true;
        }
    }
    for (const char* const text : {"false", "no", "off"}) {
        if (EqualIgnoringCase(value, text)) {
            return false;
        }
    }
    Int32 number;
    return ParseLong(value, number) ? number != 0 : defaultValue;
}

Int32 DBGetLong(const char* section, const char* key, Int32 defaultValue)
{
    Int32 number;
    return ParseLong(FindValue(section, key), number) ? number : defaultValue;
}

UInt32 DBGetText(const char* section, const char* key, char* buffer, UInt32 size, const char* defaultValue)
{
    string_view value = FindValue(section, key);
    if (value.empty() || value.size() >= size) {
        value = defaultValue;
    }
    if (size == 0) {
        return 0;
    }
    value = value.substr(0, size - 1);
    std::memcpy(buffer, value.data(), value.size());
    buffer[value.size()] = '\0';
    return static_cast<UInt32>(value.size());
}

void DBPrintf(const char* format, ...)
{
    char text[2048];
    va_list arguments;
    va_start(arguments, format);
    const int length = std::vsnprintf(text, sizeof(text), format, arguments);
    va_end(arguments);
    if (length < 0) {
        return;
    }
    if (const DebugOutputSink sink = outputSink.load(std::memory_order_acquire)) {
        sink(text);
    } else {
        Impl::WriteDebugOutput(text);
    }
}

DebugOutputSink DBSetOutputSink(DebugOutputSink sink) noexcept
{
    return outputSink.exchange(sink, std::memory_order_acq_rel);
}

} // namespace QV
