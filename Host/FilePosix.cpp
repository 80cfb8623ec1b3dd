#include <Host/FileImpl.hpp>

#include <QVRoot/String/Unicode.hpp>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <string>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace QV::Host::Impl {

namespace {

/// The name as UTF-8; empty when it is no text or has a zero inside, which no system call would see.
std::string ToSystemName(const UniString& path)
{
    const std::u16string_view units = path.GetView();
    if (units.empty() || units.find(u'\0') != units.npos) {
        return {};
    }
    const auto* const source = reinterpret_cast<const unsigned short*>(units.data());
    const int length = static_cast<int>(units.size());
    std::string name(static_cast<std::size_t>(length) * 3, '\0');
    const int bytes = Unicode::UTF16ToUTF8(source, length, name.data(), static_cast<int>(name.size()), true);
    name.resize(Unicode::ConversionError::HasError(bytes) ? 0 : static_cast<std::size_t>(bytes));
    return name;
}

template <class Call>
auto Retry(Call call) noexcept
{
    auto result = call();
    while (result == -1 && errno == EINTR) {
        result = call();
    }
    return result;
}

} // namespace

SystemError File::OpenForReading(const UniString& path)
{
    const std::string name = ToSystemName(path);
    if (name.empty()) {
        return EINVAL;
    }
    const int file = Retry([&] { return open(name.c_str(), O_RDONLY | O_CLOEXEC); });
    if (file == -1) {
        return errno;
    }
    handle_ = file;
    struct stat about;
    if (fstat(file, &about) == 0 && S_ISDIR(about.st_mode)) {
        Close();
        return EISDIR;
    }
    return 0;
}

SystemError File::CreateNew(const UniString& path, const UniString& model)
{
    const std::string name = ToSystemName(path);
    if (name.empty()) {
        return EINVAL;
    }
    const int file = Retry([&] { return open(name.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0666); });
    if (file == -1) {
        return errno;
    }
    handle_ = file;
    struct stat about;
    if (stat(ToSystemName(model).c_str(), &about) == 0 && fchmod(file, about.st_mode & 07777) != 0) {
        return 0; // a file system without permissions serves as well
    }
    return 0;
}

SystemError File::CreateShared(const UniString& path)
{
    return CreateNew(path, UniString());
}

SystemError File::OpenAlone(const UniString& path)
{
    const std::string name = ToSystemName(path);
    if (name.empty()) {
        return EINVAL;
    }
    const int file = Retry([&] { return open(name.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666); });
    if (file == -1) {
        return errno;
    }
    if (Retry([&] { return flock(file, LOCK_EX | LOCK_NB); }) == -1) {
        const SystemError error = errno;
        close(file);
        return error;
    }
    handle_ = file;
    return 0;
}

SystemError File::Close() noexcept
{
    if (!IsOpen()) {
        return 0;
    }
    const int result = close(static_cast<int>(handle_));
    handle_ = closed;
    return result == -1 && errno != EINTR ? errno : 0;
}

SystemError File::Read(char* dest, UInt32 n, UInt32* got) noexcept
{
    constexpr UInt32 most = 0x40000000;
    const auto count = Retry([&] { return read(static_cast<int>(handle_), dest, n < most ? n : most); });
    *got = count > 0 ? static_cast<UInt32>(count) : 0;
    return count == -1 ? errno : 0;
}

SystemError File::SeekBy(Int64 distance) noexcept
{
    return lseek(static_cast<int>(handle_), distance, SEEK_CUR) == -1 ? errno : 0;
}

SystemError File::GetRest(UInt64* n) const noexcept
{
    struct stat about;
    if (fstat(static_cast<int>(handle_), &about) != 0) {
        return errno;
    }
    const off_t place = lseek(static_cast<int>(handle_), 0, SEEK_CUR);
    if (!S_ISREG(about.st_mode) || place == -1) {
        return ESPIPE;
    }
    *n = about.st_size > place ? static_cast<UInt64>(about.st_size - place) : 0;
    return 0;
}

SystemError File::WriteAt(UInt64 offset, const char* src, UInt32 n, UInt32* written) noexcept
{
    for (*written = 0; *written < n;) {
        const auto count = Retry([&] {
            return pwrite(static_cast<int>(handle_), src + *written, n - *written,
                          static_cast<off_t>(offset + *written));
        });
        if (count == -1) {
            return errno;
        }
        if (count == 0) {
            return ENOSPC;
        }
        *written += static_cast<UInt32>(count);
    }
    return 0;
}

SystemError File::Truncate(UInt64 length) noexcept
{
    return Retry([&] { return ftruncate(static_cast<int>(handle_), static_cast<off_t>(length)); }) == -1
               ? errno
               : 0;
}

SystemError File::Synchronize() noexcept
{
    return Retry([&] { return fsync(static_cast<int>(handle_)); }) == -1 ? errno : 0;
}

SystemError RenameOver(const UniString& from, const UniString& target)
{
    const std::string name = ToSystemName(target);
    if (rename(ToSystemName(from).c_str(), name.c_str()) != 0) {
        return errno;
    }
    // The folder's entry must reach the disk as well. Where that cannot be asked for, the rename still
    // stands.
    const std::size_t slash = name.rfind('/');
    const std::string folder = slash == name.npos ? "." : name.substr(0, slash + 1);
    const int entry = open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (entry != -1) {
        fsync(entry);
        close(entry);
    }
    return 0;
}

SystemError RenameQuickly(const UniString& from, const UniString& target)
{
    return rename(ToSystemName(from).c_str(), ToSystemName(target).c_str()) == 0 ? 0 : errno;
}

bool Exists(const UniString& path)
{
    struct stat about;
    return lstat(ToSystemName(path).c_str(), &about) == 0;
}

SystemError MakeFolders(const UniString& path)
{
    const std::string name = ToSystemName(path);
    if (name.empty()) {
        return EINVAL;
    }
    for (std::size_t end = 0; end != name.npos;) {
        end = name.find('/', end + 1);
        if (mkdir(name.substr(0, end).c_str(), 0700) != 0 && errno != EEXIST && end == name.npos) {
            return errno;
        }
    }
    return 0;
}

UniString GetStateFolder(const UniString& program)
{
    // As the XDG Base Directory rules have it: paths that are not absolute do not count.
    const char* const state = getenv("XDG_STATE_HOME");
    if (state != nullptr && *state == '/') {
        return JoinPath(UniString(state, UTF8CharCode), program);
    }
    const char* const home = getenv("HOME");
    if (home == nullptr || *home != '/') {
        return UniString();
    }
    return JoinPath(JoinPath(UniString(home, UTF8CharCode), u".local/state"), program);
}

UniString JoinPath(const UniString& folder, const UniString& name)
{
    const std::u16string_view units = folder.GetView();
    return units.ends_with(u'/') ? UniString(folder + name) : UniString(folder + u"/" + name);
}

SystemError RemoveFile(const UniString& path)
{
    return unlink(ToSystemName(path).c_str()) == 0 ? 0 : errno;
}

SystemError ResolveTarget(const UniString& path, UniString* target)
{
    const std::string name = ToSystemName(path);
    if (name.empty()) {
        return EINVAL;
    }
    *target = path;
    struct stat about;
    if (stat(name.c_str(), &about) != 0) {
        return errno == ENOENT ? 0 : errno;
    }
    if (!S_ISREG(about.st_mode)) {
        return S_ISDIR(about.st_mode) ? EISDIR : EINVAL;
    }
    if (faccessat(AT_FDCWD, name.c_str(), W_OK, AT_EACCESS) != 0) {
        return errno;
    }
    if (char* const resolved = realpath(name.c_str(), nullptr)) {
        *target = UniString(resolved, UTF8CharCode);
        free(resolved);
    }
    return 0;
}

UInt32 GetProcessNumber() noexcept
{
    return static_cast<UInt32>(getpid());
}

bool MeansNotFound(SystemError error) noexcept
{
    return error == ENOENT || error == ENOTDIR;
}

bool MeansAccessDenied(SystemError error) noexcept
{
    return error == EACCES || error == EPERM || error == EROFS;
}

bool MeansExists(SystemError error) noexcept
{
    return error == EEXIST;
}

bool MeansInUse(SystemError error) noexcept
{
    return error == EWOULDBLOCK;
}

bool MeansDiskFull(SystemError error) noexcept
{
    return error == ENOSPC || error == EDQUOT || error == EFBIG;
}

UniString DescribeError(SystemError error)
{
    return UniString(std::strerror(error), UTF8CharCode);
}

} // namespace QV::Host::Impl
