// Feeds saved inputs to a fuzz target: the empty input, then every file named on the command line or lying
// in a folder named there. A fault shows as a crash or a sanitizer's report.

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

bool ReplayFile(const std::filesystem::path& path)
{
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        std::fprintf(stderr, "cannot read %s\n", path.string().c_str());
        return false;
    }
    const std::string bytes(std::istreambuf_iterator<char>(file), {});
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
    return true;
}

} // namespace

int main(int argumentCount, char** arguments)
{
    LLVMFuzzerTestOneInput(nullptr, 0);
    int replayed = 1;
    for (int i = 1; i < argumentCount; ++i) {
        const std::filesystem::path path(arguments[i]);
        if (!std::filesystem::is_directory(path)) {
            if (!ReplayFile(path)) {
                return 1;
            }
            ++replayed;
            continue;
        }
        for (const auto& entry : std::filesystem::recursive_directory_iterator(path)) {
            if (entry.is_regular_file()) {
                if (!ReplayFile(entry.path())) {
                    return 1;
                }
                ++replayed;
            }
        }
    }
    std::printf("%d inputs replayed\n", replayed);
    return 0;
}
