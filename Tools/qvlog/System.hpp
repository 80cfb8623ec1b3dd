/// What the operating systems do in ways of their own. Paths and arguments are UTF-8.
#pragma once

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

namespace QVLog {

/// Those of the command line, without the program's name.
std::vector<std::string> GetArguments(int count, char** arguments);

/// Whether the standard output is a terminal that understands colours.
bool PrepareTerminal();
/// Nothing between line feeds and the output.
void MakeOutputBinary();

/// Begins a file; null, with `errno`, when it cannot be.
std::FILE* OpenForWriting(const std::string& path);
/// A file without a name, that goes when it is closed; null when there can be none.
std::FILE* OpenTemporary();
bool SeekTo(std::FILE* file, std::uint64_t offset);

} // namespace QVLog
