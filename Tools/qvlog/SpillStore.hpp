/// Bytes that are kept for the length of a block: the latest in memory, what exceeds a limit in a temporary
/// file, so that no block is too long.
#pragma once

#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace QVLog {

class SpillStore {
public:
    /// At most `limit` bytes stay in memory.
    explicit SpillStore(std::size_t limit) : limit_(limit) {}

    /// Keeps up to 512 KiB and answers where. They never straddle a chunk.
    std::uint64_t Append(std::string_view bytes);
    /// The bytes, in place or in `scratch`. Empty when there was no room for them.
    std::string_view Read(std::uint64_t position, std::size_t length, std::string& scratch) const;
    void Clear();

private:
    static constexpr std::size_t chunkSize = 1 << 19;

    void SpillFirst();

    struct CloseFile {
        void operator()(std::FILE* file) const { std::fclose(file); }
    };

    std::size_t limit_;
    std::vector<std::unique_ptr<char[]>> chunks_; ///< null: in the file
    std::size_t spilled_ = 0;                     ///< how many chunks are
    std::size_t used_ = chunkSize;                ///< of the last chunk
    std::unique_ptr<std::FILE, CloseFile> file_;
};

} // namespace QVLog
