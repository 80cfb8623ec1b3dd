#include "LogFile.hpp"

#include "WideWin.hpp"

#include <algorithm>
#include <string>

#include <windows.h>

namespace QVLog {

namespace {

/// Others may write, rename and delete the file meanwhile.
HANDLE OpenShared(const std::string& path)
{
    return CreateFileW(Widen(path).c_str(), GENERIC_READ,
                       FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, OPEN_EXISTING,
                       FILE_ATTRIBUTE_NORMAL, nullptr);
}

bool GetIdentity(HANDLE handle, BY_HANDLE_FILE_INFORMATION& information)
{
    return GetFileInformationByHandle(handle, &information) != 0;
}

class WinFile : public LogFile {
public:
    WinFile(HANDLE handle, bool isOwned)
        : handle_(handle), isOwned_(isOwned), isSeekable_(GetFileType(handle) == FILE_TYPE_DISK)
    {
    }
    ~WinFile() override
    {
        if (isOwned_) {
            CloseHandle(handle_);
        }
    }

    std::size_t Read(std::uint64_t offset, unsigned char* to, std::size_t count) override
    {
        OVERLAPPED place = {};
        place.Offset = static_cast<DWORD>(offset);
        place.OffsetHigh = static_cast<DWORD>(offset >> 32);
        DWORD got = 0;
        const DWORD most = static_cast<DWORD>(std::min<std::size_t>(count, 0x40000000));
        return ReadFile(handle_, to, most, &got, isSeekable_ ? &place : nullptr) ? got : 0;
    }
    bool IsSeekable() const override { return isSeekable_; }
    std::uint64_t GetSize() const override
    {
        LARGE_INTEGER size = {};
        return GetFileSizeEx(handle_, &size) ? static_cast<std::uint64_t>(size.QuadPart) : 0;
    }
    bool IsAt(const std::string& path) const override
    {
        if (!isSeekable_) {
            return true;
        }
        const HANDLE other = OpenShared(path);
        if (other == INVALID_HANDLE_VALUE) {
            return false;
        }
        BY_HANDLE_FILE_INFORMATION mine = {};
        BY_HANDLE_FILE_INFORMATION its = {};
        const bool isSame = GetIdentity(handle_, mine) && GetIdentity(other, its) &&
                            mine.dwVolumeSerialNumber == its.dwVolumeSerialNumber &&
                            mine.nFileIndexHigh == its.nFileIndexHigh &&
                            mine.nFileIndexLow == its.nFileIndexLow;
        CloseHandle(other);
        return isSame;
    }

private:
    HANDLE handle_;
    bool isOwned_;
    bool isSeekable_;
};

} // namespace

std::unique_ptr<LogFile> OpenLogFile(const std::string& path, std::string& reason)
{
    const bool isInput = path == "-";
    const HANDLE handle = isInput ? GetStdHandle(STD_INPUT_HANDLE) : OpenShared(path);
    if (handle == INVALID_HANDLE_VALUE || handle == nullptr) {
        const DWORD error = GetLastError();
        reason = error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND ? "No such file or directory"
                 : error == ERROR_ACCESS_DENIED                                 ? "Permission denied"
                                                : "system error " + std::to_string(error);
        return nullptr;
    }
    return std::make_unique<WinFile>(handle, !isInput);
}

} // namespace QVLog
