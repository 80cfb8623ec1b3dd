#include "FileFinder.hpp"
#include "TourError.hpp"

#include <algorithm>
#include <array>
#include <filesystem>
#include <string_view>
#include <vector>

namespace Tour {

using namespace QV;

namespace fs = std::filesystem;

namespace {

UniString ToUniString(const fs::path& path)
{
    return UniString(std::u16string_view(path.u16string()));
}

/// The code page in a name such as notes.cp1252.txt.
QVCharCode GetCodePage(const fs::path& path, QVCharCode otherwise)
{
    const std::u16string mark = path.stem().extension().u16string();
    if (!mark.starts_with(u".cp") || mark.size() > 8) {
        return otherwise;
    }
    UInt32 number = 0;
    for (const char16_t unit : mark.substr(3)) {
        if (unit < u'0' || unit > u'9') {
            return otherwise;
        }
        number = number * 10 + (unit - u'0');
    }
    const QVCharCode code = CHGetCharCode(number);
    return code == SystemCharCode ? otherwise : code;
}

bool LooksLikeText(const fs::path& path)
{
    constexpr std::array<std::u16string_view, 14> endings = {u".txt", u".md",    u".cpp",  u".hpp", u".c",
                                                             u".h",   u".cmake", u".sh",   u".py",  u".json",
                                                             u".ini", u".csv",   u".html", u".xml"};
    const std::u16string ending = path.extension().u16string();
    return std::find(endings.begin(), endings.end(), ending) != endings.end();
}

bool IsLeftOut(const fs::path& folder)
{
    const std::u16string name = folder.filename().u16string();
    return name.starts_with(u".") || name == u"build";
}

void WalkFolder(const Input& input, const fs::path& folder, Array<Input>& found)
{
    std::vector<fs::path> files;
    for (fs::recursive_directory_iterator i(folder), end; i != end; ++i) {
        if (i->is_directory() && IsLeftOut(i->path())) {
            i.disable_recursion_pending();
        } else if (i->is_regular_file() && LooksLikeText(i->path())) {
            files.push_back(i->path());
        }
    }
    std::sort(files.begin(), files.end());
    for (const fs::path& file : files) {
        found.Append(Input{ToUniString(file), GetCodePage(file, input.code)});
    }
}

} // namespace

Array<Input> FindFiles(const Array<Input>& inputs)
{
    Array<Input> found;
    for (const Input& input : inputs) {
        try {
            const fs::path path(input.path.GetView());
            if (fs::is_directory(path)) {
                WalkFolder(input, path, found);
            } else if (fs::exists(path)) {
                found.Append(Input{input.path, GetCodePage(path, input.code)});
            } else {
                throw TourError(input.path, "no such file or folder");
            }
        } catch (const std::exception& e) {
            throw TourError(input.path, UniString(e.what(), UTF8CharCode));
        }
    }
    return found;
}

Array<Input> GetOwnFolders()
{
    Array<Input> own;
    for (const char* const name : {"Examples", "Host", "QVRoot", "Tools", "docs", "scripts"}) {
        const fs::path folder = fs::path(QV_SOURCE_FOLDER) / name;
        if (fs::is_directory(folder)) {
            own.Append(Input{ToUniString(folder), UTF8CharCode});
        }
    }
    return own;
}

} // namespace Tour
