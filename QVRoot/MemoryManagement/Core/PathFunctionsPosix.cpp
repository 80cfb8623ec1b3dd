#include <QVRoot/MemoryManagement/Core/PathFunctionsImpl.hpp>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>

namespace QV::Impl::Paths {

namespace {

using std::string_view;

template <class Unit>
Unit* AllocateUnits(USize count) noexcept
{
    return static_cast<Unit*>(std::malloc(count * sizeof(Unit)));
}

/// Puts a block of `malloc` into the caller's buffer; without a buffer it is the result itself.
template <class Unit>
Unit* Deliver(Unit* made, Unit* buffer, USize length) noexcept
{
    if (made == nullptr || buffer == nullptr) {
        return made;
    }
    USize count = 1;
    while (made[count - 1] != 0) {
        ++count;
    }
    const bool fits = count <= length;
    if (fits) {
        std::memcpy(buffer, made, count * sizeof(Unit));
    } else {
        errno = ERANGE;
    }
    std::free(made);
    return fits ? buffer : nullptr;
}

/// The path's bytes in a block of `malloc`: UTF-8. Null for unpaired surrogates.
char* ToBytes(const UInt16* text) noexcept
{
    USize units = 0;
    while (text[units] != 0) {
        ++units;
    }
    char* const bytes = AllocateUnits<char>(3 * units + 1);
    char* out = bytes;
    for (USize i = 0; bytes != nullptr && i < units; ++i) {
        UInt32 code = text[i];
        if (code >= 0xD800 && code < 0xE000) {
            const UInt32 low = text[i + 1];
            if (code >= 0xDC00 || low < 0xDC00 || low >= 0xE000) {
                std::free(bytes);
                errno = EILSEQ;
                return nullptr;
            }
            code = 0x10000 + ((code - 0xD800) << 10) + (low - 0xDC00);
            ++i;
        }
        const int more = code < 0x80 ? 0 : code < 0x800 ? 1 : code < 0x10000 ? 2 : 3;
        constexpr UInt32 leads[] = {0, 0xC0, 0xE0, 0xF0};
        *out++ = static_cast<char>(leads[more] | (code >> (6 * more)));
        for (int shift = 6 * (more - 1); shift >= 0; shift -= 6) {
            *out++ = static_cast<char>(0x80 | ((code >> shift) & 0x3F));
        }
    }
    if (bytes != nullptr) {
        *out = '\0';
    }
    return bytes;
}

/// Reads one character of UTF-8 and steps over it. False for what is not well-formed.
bool Decode(const char*& text, UInt32& code) noexcept
{
    const auto lead = static_cast<UInt8>(*text++);
    const int more = lead < 0x80   ? 0
                     : lead < 0xC0 ? -1
                     : lead < 0xE0 ? 1
                     : lead < 0xF0 ? 2
                     : lead < 0xF8 ? 3
                                   : -1;
    if (more < 0) {
        return false;
    }
    code = more == 0 ? lead : lead & (0x3Fu >> more);
    for (int i = 0; i < more; ++i) {
        const auto next = static_cast<UInt8>(*text);
        if ((next & 0xC0) != 0x80) {
            return false;
        }
        code = code << 6 | (next & 0x3F);
        ++text;
    }
    constexpr UInt32 smallest[] = {0, 0x80, 0x800, 0x10000};
    return code >= smallest[more] && code <= 0x10FFFF && (code < 0xD800 || code >= 0xE000);
}

/// The reverse. Null for bytes that are not well-formed UTF-8, which a file name may have.
UInt16* ToUnits(const char* text) noexcept
{
    UInt16* const units = AllocateUnits<UInt16>(std::strlen(text) + 1);
    UInt16* out = units;
    while (units != nullptr && *text != '\0') {
        UInt32 code;
        if (!Decode(text, code)) {
            std::free(units);
            errno = EILSEQ;
            return nullptr;
        }
        if (code >= 0x10000) {
            *out++ = static_cast<UInt16>(0xD800 + ((code - 0x10000) >> 10));
            code = 0xDC00 + ((code - 0x10000) & 0x3FF);
        }
        *out++ = static_cast<UInt16>(code);
    }
    if (units != nullptr) {
        *out = 0;
    }
    return units;
}

/// A block of `malloc`, freed at the end of the scope.
template <class Unit>
class Scoped {
public:
    explicit Scoped(Unit* block) noexcept : block_(block) {}
    ~Scoped() { std::free(block_); }
    Scoped(const Scoped&) = delete;
    Scoped& operator=(const Scoped&) = delete;

    Unit* Get() const noexcept { return block_; }

private:
    Unit* block_;
};

char* Append(char* end, string_view text) noexcept
{
    std::memcpy(end, text.data(), text.size());
    return end + text.size();
}

/// Writes the components of `path` behind the absolute path that ends at `end`, which is empty for the root.
char* AppendResolved(char* start, char* end, string_view path) noexcept
{
    while (!path.empty()) {
        const string_view component = path.substr(0, path.find('/'));
        path.remove_prefix(component.size() < path.size() ? component.size() + 1 : path.size());
        if (component == "..") {
            while (end != start && *--end != '/') {
            }
        } else if (!component.empty() && component != ".") {
            end = Append(Append(end, "/"), component);
        }
    }
    return end;
}

char* MakeFull(const char* path) noexcept
{
    const bool absolute = *path == '/';
    const Scoped<char> current(absolute ? nullptr : getcwd(nullptr, 0));
    if (!absolute && current.Get() == nullptr) {
        return nullptr;
    }
    const string_view base = absolute ? "" : current.Get();
    const string_view rest = path;
    char* const full = AllocateUnits<char>(base.size() + rest.size() + 3);
    if (full == nullptr) {
        return nullptr;
    }
    char* end = AppendResolved(full, full, base);
    end = AppendResolved(full, end, rest);
    // A separator at the end says that a folder is meant: kept, as on Windows.
    if (end == full || rest.back() == '/') {
        *end++ = '/';
    }
    *end = '\0';
    return full;
}

bool IsFolder(const char* path) noexcept
{
    struct stat status;
    return path != nullptr && *path != '\0' && stat(path, &status) == 0 && S_ISDIR(status.st_mode);
}

const char* ChooseTemporaryFolder(const char* wanted) noexcept
{
    for (const char* const folder :
         {static_cast<const char*>(secure_getenv("TMPDIR")), wanted, P_tmpdir, "/tmp"}) {
        if (IsFolder(folder)) {
            return folder;
        }
    }
    errno = ENOENT;
    return nullptr;
}

/// At most five bytes of the prefix, in whole characters.
string_view ShortenPrefix(const char* prefix) noexcept
{
    if (prefix == nullptr || *prefix == '\0') {
        return "file";
    }
    USize length = strnlen(prefix, 5);
    while (length != 0 && (prefix[length] & 0xC0) == 0x80) {
        --length;
    }
    return string_view(prefix, length);
}

/// Fills in random letters and digits until no file has the name.
bool MakeUnique(const char* name, char* letters, USize count) noexcept
{
    constexpr string_view alphabet = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789";
    for (int attempt = 0; attempt < 1000; ++attempt) {
        UInt64 random;
        if (getrandom(&random, sizeof(random), 0) != static_cast<ssize_t>(sizeof(random))) {
            return false;
        }
        for (USize i = 0; i < count; ++i) {
            letters[i] = alphabet[random % alphabet.size()];
            random /= alphabet.size();
        }
        struct stat status;
        if (lstat(name, &status) != 0) {
            return errno == ENOENT;
        }
    }
    errno = EEXIST;
    return false;
}

} // namespace

char* GetFull(char* buffer, const char* path, USize length) noexcept
{
    const bool empty = path == nullptr || *path == '\0';
    return Deliver(empty ? getcwd(nullptr, 0) : MakeFull(path), buffer, length);
}

UInt16* GetFull(UInt16* buffer, const UInt16* path, USize length) noexcept
{
    constexpr UInt16 none[] = {0};
    const Scoped<char> narrow(ToBytes(path == nullptr ? none : path));
    const Scoped<char> full(narrow.Get() == nullptr ? nullptr : GetFull(nullptr, narrow.Get(), 0));
    return full.Get() == nullptr ? nullptr : Deliver(ToUnits(full.Get()), buffer, length);
}

char* GetCurrent(char* buffer, int length) noexcept
{
    return buffer == nullptr ? getcwd(nullptr, 0) : getcwd(buffer, static_cast<size_t>(length));
}

UInt16* GetCurrent(UInt16* buffer, int length) noexcept
{
    const Scoped<char> current(getcwd(nullptr, 0));
    return current.Get() == nullptr ? nullptr
                                    : Deliver(ToUnits(current.Get()), buffer, static_cast<USize>(length));
}

// Not the runtime's own tempnam: it does the same, but whoever links it is warned against it.
char* GetTemporary(const char* directory, const char* prefix) noexcept
{
    const char* const chosen = ChooseTemporaryFolder(directory);
    if (chosen == nullptr) {
        return nullptr;
    }
    string_view folder = chosen;
    while (!folder.empty() && folder.back() == '/') {
        folder.remove_suffix(1);
    }
    const string_view start = ShortenPrefix(prefix);
    constexpr USize letters = 6;
    char* const name = AllocateUnits<char>(folder.size() + start.size() + letters + 2);
    if (name == nullptr) {
        return nullptr;
    }
    char* end = Append(name, folder);
    end = Append(Append(end, "/"), start);
    end[letters] = '\0';
    if (!MakeUnique(name, end, letters)) {
        std::free(name);
        return nullptr;
    }
    return name;
}

UInt16* GetTemporary(const UInt16* directory, const UInt16* prefix) noexcept
{
    const Scoped<char> folder(directory == nullptr ? nullptr : ToBytes(directory));
    const Scoped<char> start(prefix == nullptr ? nullptr : ToBytes(prefix));
    const Scoped<char> name(GetTemporary(folder.Get(), start.Get()));
    return name.Get() == nullptr ? nullptr : ToUnits(name.Get());
}

} // namespace QV::Impl::Paths
