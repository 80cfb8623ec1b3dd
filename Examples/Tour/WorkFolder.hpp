/// A folder for files that nobody needs afterwards.
#pragma once

#include <QVRoot/String/UniString.hpp>

#include <filesystem>

namespace Tour {

class WorkFolder {
public:
    WorkFolder();
    ~WorkFolder();
    WorkFolder(const WorkFolder&) = delete;
    WorkFolder& operator=(const WorkFolder&) = delete;

    QV::UniString GetPath(const char* name) const;

private:
    std::filesystem::path path_;
};

} // namespace Tour
