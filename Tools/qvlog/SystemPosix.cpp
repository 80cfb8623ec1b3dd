#include "System.hpp"

#include <cstdlib>
#include <cstring>

#include <unistd.h>

namespace QVLog {

std::vector<std::string> GetArguments(int count, char** arguments)
{
    return {arguments + (count > 0 ? 1 : 0), arguments + count};
}

bool PrepareTerminal()
{
    const char* const terminal = std::getenv("TERM");
    return isatty(STDOUT_FILENO) == 1 && terminal != nullptr && std::strcmp(terminal, "dumb") != 0;
}

void MakeOutputBinary() {}

std::FILE* OpenForWriting(const std::string& path)
{
    return std::fopen(path.c_str(), "wb");
}

std::FILE* OpenTemporary()
{
    return std::tmpfile();
}

bool SeekTo(std::FILE* file, std::uint64_t offset)
{
    return fseeko(file, static_cast<off_t>(offset), SEEK_SET) == 0;
}

} // namespace QVLog
