#include "Descriptor.hpp"

#include "Bytes.hpp"

#include <algorithm>
#include <unordered_set>
#include <utility>

namespace QVLog {

namespace {

constexpr std::string_view typeNames[] = {"I16", "UI16", "I32", "UI32", "I64", "UI64", "F",
                                          "D",   "C",    "S",   "Id",   "Dt",  "T",    ""};
constexpr std::size_t typeSizes[] = {2, 2, 4, 4, 8, 8, 4, 8, 1, 0, 16, 4, 4, 0};
constexpr std::string_view levelNames[] = {"", "data", "trace", "debug", "info", "warning", "error", "fatal"};

bool ParseSignature(std::string_view signature, Descriptor& descriptor)
{
    while (!signature.empty()) {
        const std::size_t comma = std::min(signature.find(','), signature.size());
        std::string_view name = signature.substr(0, comma);
        const bool isCompressed = name.ends_with(":C");
        name.remove_suffix(isCompressed ? 2 : 0);
        const auto* const found = std::find(std::begin(typeNames), std::end(typeNames), name);
        if (found == std::end(typeNames)) {
            return false;
        }
        const Type type = static_cast<Type>(found - typeNames);
        const bool canBe = type == Type::S || type == Type::Id;
        descriptor.parameters.push_back({type, isCompressed && canBe});
        descriptor.fixedSize += static_cast<std::uint32_t>(GetFixedSize(type));
        descriptor.isFixed &= type != Type::S && !(isCompressed && canBe);
        if (comma + 1 == signature.size()) {
            descriptor.parameters.push_back({Type::None, false}); // nothing stands behind the last comma
        }
        signature.remove_prefix(std::min(comma + 1, signature.size()));
    }
    return true;
}

bool IsLetter(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_';
}

bool IsDigit(char c)
{
    return c >= '0' && c <= '9';
}

/// Takes a number of at most two digits; -1 when there is none.
int TakeNumber(std::string_view& text)
{
    int number = -1;
    for (int i = 0; i < 2 && !text.empty() && IsDigit(text.front()); ++i) {
        number = std::max(number, 0) * 10 + (text.front() - '0');
        text.remove_prefix(1);
    }
    return number;
}

bool ParseStyle(std::string_view text, Style& style)
{
    if (text.starts_with('0')) {
        style.hasZeros = true;
        text.remove_prefix(1);
    }
    const int width = TakeNumber(text);
    if (width == 0) {
        return false;
    }
    style.width = std::max(width, 0);
    if (text.starts_with('.')) {
        text.remove_prefix(1);
        style.digits = TakeNumber(text);
        if (style.digits < 0 || style.digits > 17) {
            return false;
        }
    }
    if (text == "bool") {
        style.kind = 'b';
        return true;
    }
    if (text.size() == 1 && std::string_view("xXfeg").find(text[0]) != std::string_view::npos) {
        style.kind = text[0];
        return true;
    }
    return text.empty();
}

/// `text` is what stands between the braces.
bool ParsePlaceholder(std::string_view text, std::string& name, Style& style)
{
    const std::size_t colon = text.find(':');
    const std::string_view named = text.substr(0, colon);
    if (!named.empty() && !IsLetter(named[0])) {
        return false;
    }
    if (!std::all_of(named.begin(), named.end(), [](char c) { return IsLetter(c) || IsDigit(c); })) {
        return false;
    }
    name = named;
    return colon == std::string_view::npos || ParseStyle(text.substr(colon + 1), style);
}

bool ParsePieces(std::string_view format, Descriptor& descriptor)
{
    Piece piece;
    for (std::size_t i = 0; i < format.size(); ++i) {
        const char c = format[i];
        if ((c == '{' || c == '}') && i + 1 < format.size() && format[i + 1] == c) {
            piece.text += c;
            ++i;
            continue;
        }
        if (c == '}') {
            return false;
        }
        if (c != '{') {
            piece.text += c;
            continue;
        }
        const std::size_t end = format.find('}', i);
        std::string name;
        if (end == std::string_view::npos ||
            !ParsePlaceholder(format.substr(i + 1, end - i - 1), name, piece.style)) {
            return false;
        }
        piece.parameter = static_cast<int>(descriptor.names.size());
        descriptor.names.push_back(std::move(name));
        descriptor.pieces.push_back(std::exchange(piece, {}));
        i = end;
    }
    if (!piece.text.empty()) {
        descriptor.pieces.push_back(std::move(piece));
    }
    return descriptor.names.size() == descriptor.parameters.size();
}

/// The format as it is and the values behind it.
void MakePlain(Descriptor& descriptor)
{
    const std::size_t count = descriptor.parameters.size();
    descriptor.names.assign(count, "");
    descriptor.pieces.clear();
    descriptor.pieces.reserve(count + 1);
    for (std::size_t i = 0; i < count; ++i) {
        descriptor.pieces.push_back({i == 0 ? descriptor.format + " (" : ", ", static_cast<int>(i), {}});
    }
    descriptor.pieces.push_back({count == 0 ? descriptor.format : ")", -1, {}});
}

/// Parameters without a name are called by their number; one that has another's name is told from it.
void NameTheNameless(Descriptor& descriptor)
{
    std::unordered_set<std::string_view> taken;
    for (std::size_t i = 0; i < descriptor.names.size(); ++i) {
        std::string& name = descriptor.names[i];
        if (name.empty()) {
            name = "p" + std::to_string(i + 1);
        }
        while (!taken.insert(name).second) {
            name += "_" + std::to_string(i + 1);
        }
    }
}

bool IsCategory(std::string_view text)
{
    return !text.empty() && std::all_of(text.begin(), text.end(), [](char c) {
        return IsLetter(c) || IsDigit(c) || c == '.' || c == '-' || c == '/';
    });
}

void ParseSite(Descriptor& descriptor)
{
    const std::string_view site = descriptor.site;
    const std::size_t first = site.find('|');
    const std::size_t second = first == std::string_view::npos ? first : site.find('|', first + 1);
    descriptor.function = site;
    if (second == std::string_view::npos) {
        return;
    }
    const Level level = FindLevel(site.substr(0, first));
    const std::string_view category = site.substr(first + 1, second - first - 1);
    if (level == Level::Unknown || !IsCategory(category)) {
        return;
    }
    descriptor.level = level;
    descriptor.category = category;
    descriptor.function = site.substr(second + 1);
}

OwnLine FindOwn(const Descriptor& descriptor)
{
    const auto hasTypes = [&](std::initializer_list<Type> types) {
        return descriptor.parameters.size() >= types.size() &&
               std::equal(types.begin(), types.end(), descriptor.parameters.begin(),
                          [](Type type, const Parameter& parameter) { return type == parameter.type; });
    };
    if (descriptor.file != "QVRoot") {
        return OwnLine::None;
    }
    if (descriptor.site == "LogTime" && hasTypes({Type::UI32})) {
        return OwnLine::Time;
    }
    if (descriptor.site == "LogThread" && hasTypes({Type::UI64, Type::S})) {
        return OwnLine::Thread;
    }
    if (descriptor.site == "LogStarted" && hasTypes({Type::S, Type::UI32})) {
        return OwnLine::Started;
    }
    return descriptor.site == "LogStopped" && hasTypes({Type::UI64, Type::UI64}) ? OwnLine::Stopped
                                                                                 : OwnLine::None;
}

std::string_view TakeText(std::string_view& bytes)
{
    const std::size_t length = GetUInt16(bytes.data());
    const std::string_view text = bytes.substr(2, length);
    bytes.remove_prefix(2 + length);
    return text;
}

} // namespace

std::string_view GetLevelName(Level level)
{
    return levelNames[static_cast<std::size_t>(level)];
}

Level FindLevel(std::string_view name)
{
    const auto* const found = std::find(std::begin(levelNames), std::end(levelNames), name);
    return found == std::end(levelNames) || name.empty() ? Level::Unknown
                                                         : static_cast<Level>(found - levelNames);
}

std::size_t GetFixedSize(Type type)
{
    return typeSizes[static_cast<std::size_t>(type)];
}

std::string_view GetCategory(const Descriptor& descriptor)
{
    return descriptor.own != OwnLine::None ? std::string_view("log") : descriptor.category;
}

std::size_t Descriptor::GetFootprint() const
{
    std::size_t bytes = sizeof(Descriptor) + parameters.capacity() * sizeof(Parameter) +
                        names.capacity() * sizeof(std::string) + pieces.capacity() * sizeof(Piece);
    for (const std::string* const text : {&format, &file, &site, &category, &function}) {
        bytes += text->capacity();
    }
    for (const Piece& piece : pieces) {
        bytes += piece.text.capacity();
    }
    return bytes;
}

std::size_t MeasureDescriptor(std::string_view bytes)
{
    std::size_t size = 4;
    for (int text = 0; text < 4; ++text) {
        size += text == 2 ? 2 : 0; // the number
        if (bytes.size() < size + 2) {
            return 0;
        }
        size += 2u + GetUInt16(bytes.data() + size);
    }
    return bytes.size() < size ? 0 : size;
}

const char* ParseDescriptor(std::string_view bytes, Descriptor& descriptor)
{
    descriptor.size = static_cast<std::uint32_t>(MeasureDescriptor(bytes));
    descriptor.id = GetUInt16(bytes.data());
    if (GetUInt16(bytes.data() + 2) != 1) {
        return "a descriptor of another version";
    }
    bytes.remove_prefix(4);
    if (!ParseSignature(TakeText(bytes), descriptor)) {
        return "an unknown type of parameter";
    }
    descriptor.format = TakeText(bytes);
    descriptor.number = GetUInt16(bytes.data());
    bytes.remove_prefix(2);
    descriptor.file = TakeText(bytes);
    descriptor.site = TakeText(bytes);
    if (!ParsePieces(descriptor.format, descriptor)) {
        MakePlain(descriptor);
    }
    NameTheNameless(descriptor);
    ParseSite(descriptor);
    descriptor.own = FindOwn(descriptor);
    return nullptr;
}

} // namespace QVLog
