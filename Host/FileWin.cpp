#include <Host/FileImpl.hpp>

#include <cstdio>

#define WIN32_LEAN_AND_MEAN
#include <windows.h>

namespace QV::Host::Impl {

namespace {

// The headers may be too old to name them.
constexpr SystemError folderNotSupported = 336;
constexpr SystemError quotaExceeded = 1295;

/// A zero inside a name would end it early.
bool IsName(const UniString& path)
{
    const std::u16string_view units = path.GetView();
    return !units.empty() && units.find(u'\0') == units.npos;
}

const wchar_t* AsWide(const UniString::UStr& text)
{
    return reinterpret_cast<const wchar_t*>(text.GetText());
}

HANDLE AsHandle(Int64 handle)
{
    return reinterpret_cast<HANDLE>(handle);
}

SystemError LastError()
{
    const DWORD error = GetLastError();
    return static_cast<SystemError>(error != 0 ? error : ERROR_GEN_FAILURE);
}

bool IsFolder(const wchar_t* path)
{
    const DWORD attributes = GetFileAttributesW(path);
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

} // namespace

SystemError File::OpenForReading(const UniString& path)
{
    if (!IsName(path)) {
        return ERROR_INVALID_NAME;
    }
    const UniString::UStr name = path.ToUStr();
    // Writing is shared, too: a log is read while it grows.
    const DWORD sharing = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
    const HANDLE file = CreateFileW(AsWide(name), GENERIC_READ, sharing, nullptr, OPEN_EXISTING,
                                    FILE_FLAG_SEQUENTIAL_SCAN, nullptr);
    if (file == INVALID_HANDLE_VALUE) {
        const SystemError error = LastError();
        return IsFolder(AsWide(name)) ? folderNotSupported : error;
    }
    handle_ = reinterpret_cast<Int64>(file);
    return 0;
}

SystemError File::CreateNew(const UniString& path, const UniString&)
{
    if (!IsName(path)) {
        return ERROR_INVALID_NAME;
    }
    const HANDLE file = CreateFileW(AsWide(path.ToUStr()), GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ,
                                    nullptr, CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE) {
        return LastError();
    }
    handle_ = reinterpret_cast<Int64>(file);
    return 0;
}

SystemError File::CreateShared(const UniString& path)
{
    if (!IsName(path)) {
        return ERROR_INVALID_NAME;
    }
    const DWORD sharing = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
    const HANDLE file = CreateFileW(AsWide(path.ToUStr()), GENERIC_READ | GENERIC_WRITE, sharing, nullptr,
                                    CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE) {
        return LastError();
    }
    handle_ = reinterpret_cast<Int64>(file);
    return 0;
}

SystemError File::OpenAlone(const UniString& path)
{
    if (!IsName(path)) {
        return ERROR_INVALID_NAME;
    }
    const HANDLE file = CreateFileW(AsWide(path.ToUStr()), GENERIC_READ | GENERIC_WRITE, 0, nullptr,
                                    OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE) {
        return LastError();
    }
    handle_ = reinterpret_cast<Int64>(file);
    return 0;
}

SystemError File::Close() noexcept
{
    if (!IsOpen()) {
        return 0;
    }
    const BOOL done = CloseHandle(AsHandle(handle_));
    handle_ = closed;
    return done ? 0 : LastError();
}

SystemError File::Read(char* dest, UInt32 n, UInt32* got) noexcept
{
    DWORD count = 0;
    const BOOL done = ReadFile(AsHandle(handle_), dest, n, &count, nullptr);
    *got = count;
    if (!done && GetLastError() != ERROR_BROKEN_PIPE) {
        return LastError();
    }
    return 0;
}

SystemError File::SeekBy(Int64 distance) noexcept
{
    LARGE_INTEGER step;
    step.QuadPart = distance;
    return SetFilePointerEx(AsHandle(handle_), step, nullptr, FILE_CURRENT) ? 0 : LastError();
}

SystemError File::GetRest(UInt64* n) const noexcept
{
    LARGE_INTEGER size;
    LARGE_INTEGER place;
    const LARGE_INTEGER stay = {};
    if (GetFileType(AsHandle(handle_)) != FILE_TYPE_DISK || !GetFileSizeEx(AsHandle(handle_), &size) ||
        !SetFilePointerEx(AsHandle(handle_), stay, &place, FILE_CURRENT)) {
        return ERROR_SEEK;
    }
    *n = size.QuadPart > place.QuadPart ? static_cast<UInt64>(size.QuadPart - place.QuadPart) : 0;
    return 0;
}

SystemError File::WriteAt(UInt64 offset, const char* src, UInt32 n, UInt32* written) noexcept
{
    for (*written = 0; *written < n;) {
        const UInt64 place = offset + *written;
        OVERLAPPED at = {};
        at.Offset = static_cast<DWORD>(place);
        at.OffsetHigh = static_cast<DWORD>(place >> 32);
        DWORD count = 0;
        if (!WriteFile(AsHandle(handle_), src + *written, n - *written, &count, &at)) {
            return LastError();
        }
        if (count == 0) {
            return ERROR_DISK_FULL;
        }
        *written += count;
    }
    return 0;
}

SystemError File::Truncate(UInt64 length) noexcept
{
    LARGE_INTEGER end;
    end.QuadPart = static_cast<Int64>(length);
    const bool done =
        SetFilePointerEx(AsHandle(handle_), end, nullptr, FILE_BEGIN) && SetEndOfFile(AsHandle(handle_));
    return done ? 0 : LastError();
}

SystemError File::Synchronize() noexcept
{
    return FlushFileBuffers(AsHandle(handle_)) ? 0 : LastError();
}

SystemError RenameOver(const UniString& from, const UniString& target)
{
    const UniString::UStr source = from.ToUStr();
    const UniString::UStr place = target.ToUStr();
    const DWORD how = MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH;
    return MoveFileExW(AsWide(source), AsWide(place), how) ? 0 : LastError();
}

SystemError RenameQuickly(const UniString& from, const UniString& target)
{
    const UniString::UStr source = from.ToUStr();
    const UniString::UStr place = target.ToUStr();
    return MoveFileExW(AsWide(source), AsWide(place), MOVEFILE_REPLACE_EXISTING) ? 0 : LastError();
}

bool Exists(const UniString& path)
{
    return GetFileAttributesW(AsWide(path.ToUStr())) != INVALID_FILE_ATTRIBUTES;
}

SystemError MakeFolders(const UniString& path)
{
    if (!IsName(path)) {
        return ERROR_INVALID_NAME;
    }
    const std::u16string_view units = path.GetView();
    for (std::size_t end = 0; end != units.npos;) {
        end = units.find_first_of(u"/\\", end + 1);
        const UniString part(units.substr(0, end));
        if (!CreateDirectoryW(AsWide(part.ToUStr()), nullptr) && end == units.npos &&
            GetLastError() != ERROR_ALREADY_EXISTS) {
            return LastError();
        }
    }
    return 0;
}

UniString GetStateFolder(const UniString& program)
{
    for (const wchar_t* const name : {L"LOCALAPPDATA", L"APPDATA", L"TEMP"}) {
        wchar_t path[MAX_PATH];
        const DWORD length = GetEnvironmentVariableW(name, path, MAX_PATH);
        if (length != 0 && length < MAX_PATH) {
            const UniString folder(reinterpret_cast<const unsigned short*>(path), length);
            return JoinPath(JoinPath(folder, program), u"Logs");
        }
    }
    return UniString();
}

UniString JoinPath(const UniString& folder, const UniString& name)
{
    const std::u16string_view units = folder.GetView();
    const bool isWhole = units.ends_with(u'/') || units.ends_with(u'\\') || units.ends_with(u':');
    return isWhole ? UniString(folder + name) : UniString(folder + u"\\" + name);
}

SystemError RemoveFile(const UniString& path)
{
    return DeleteFileW(AsWide(path.ToUStr())) ? 0 : LastError();
}

SystemError ResolveTarget(const UniString& path, UniString* target)
{
    if (!IsName(path)) {
        return ERROR_INVALID_NAME;
    }
    *target = path;
    const DWORD attributes = GetFileAttributesW(AsWide(path.ToUStr()));
    if (attributes == INVALID_FILE_ATTRIBUTES) {
        return 0;
    }
    if ((attributes & FILE_ATTRIBUTE_DIRECTORY) != 0) {
        return folderNotSupported;
    }
    return (attributes & FILE_ATTRIBUTE_READONLY) != 0 ? ERROR_ACCESS_DENIED : 0;
}

UInt32 GetProcessNumber() noexcept
{
    return GetCurrentProcessId();
}

bool MeansNotFound(SystemError error) noexcept
{
    return error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND || error == ERROR_BAD_NETPATH ||
           error == ERROR_INVALID_DRIVE;
}

bool MeansAccessDenied(SystemError error) noexcept
{
    return error == ERROR_ACCESS_DENIED || error == ERROR_WRITE_PROTECT || error == ERROR_SHARING_VIOLATION;
}

bool MeansExists(SystemError error) noexcept
{
    return error == ERROR_FILE_EXISTS || error == ERROR_ALREADY_EXISTS;
}

bool MeansInUse(SystemError error) noexcept
{
    return error == ERROR_SHARING_VIOLATION || error == ERROR_LOCK_VIOLATION;
}

bool MeansDiskFull(SystemError error) noexcept
{
    return error == ERROR_DISK_FULL || error == ERROR_HANDLE_DISK_FULL || error == quotaExceeded ||
           error == ERROR_FILE_TOO_LARGE;
}

UniString DescribeError(SystemError error)
{
    wchar_t text[512];
    DWORD length = FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS |
                                      FORMAT_MESSAGE_MAX_WIDTH_MASK,
                                  nullptr, static_cast<DWORD>(error), 0, text, 512, nullptr);
    while (length != 0 && text[length - 1] == L' ') {
        --length;
    }
    if (length == 0) {
        char number[40];
        std::snprintf(number, sizeof(number), "system error %d", static_cast<int>(error));
        return UniString(number, UTF8CharCode);
    }
    return UniString(reinterpret_cast<const unsigned short*>(text), length);
}

} // namespace QV::Host::Impl
