/// A folder of the test's own that is removed with everything in it.
#pragma once

#include <QVRoot/String/UniString.hpp>

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <random>
#include <string>

namespace QV::Test {

class TemporaryFolder {
public:
    TemporaryFolder()
    {
        std::random_device random;
        do {
            path_ = std::filesystem::temp_directory_path() / ("qvroot-test-" + std::to_string(random()));
        } while (!std::filesystem::create_directory(path_));
    }
    ~TemporaryFolder()
    {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    std::filesystem::path operator/(const std::filesystem::path& name) const { return path_ / name; }

private:
    std::filesystem::path path_;
};

inline UniString ToName(const std::filesystem::path& path)
{
    return UniString(std::u16string_view(path.u16string()));
}

inline std::string ReadWhole(const std::filesystem::path& path)
{
    std::ifstream file(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), {});
}

inline void WriteWhole(const std::filesystem::path& path, const std::string& bytes)
{
    std::ofstream(path, std::ios::binary).write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

} // namespace QV::Test
