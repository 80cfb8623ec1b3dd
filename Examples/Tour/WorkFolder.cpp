#include "WorkFolder.hpp"

#include <random>
#include <string>

namespace Tour {

WorkFolder::WorkFolder()
{
    std::random_device random;
    do {
        path_ = std::filesystem::temp_directory_path() / ("qvroot-tour-" + std::to_string(random()));
    } while (!std::filesystem::create_directory(path_));
}

WorkFolder::~WorkFolder()
{
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

QV::UniString WorkFolder::GetPath(const char* name) const
{
    return QV::UniString(std::u16string_view((path_ / name).u16string()));
}

} // namespace Tour
