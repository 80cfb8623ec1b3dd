/// A log's bytes with a window that moves forward: what is read next is looked at in place.
#pragma once

#include "LogFile.hpp"

#include <functional>
#include <string_view>

namespace QVLog {

class Input {
public:
    explicit Input(std::unique_ptr<LogFile> file) : file_(std::move(file)) { Resize(first); }

    /// More than this cannot be looked at in one piece.
    static constexpr std::size_t most = 512 << 10;

    /// Tries to have that many bytes in the window; false when the log ends before, for now.
    bool Ensure(std::size_t count) { return GetWindow().size() >= count || Fill(count); }
    std::string_view GetWindow() const
    {
        return {reinterpret_cast<const char*>(buffer_.get()) + begin_, end_ - begin_};
    }
    const unsigned char* GetData() const { return buffer_.get() + begin_; }
    /// Where the window begins in the log.
    std::uint64_t GetOffset() const { return offset_; }
    /// Moves the window's beginning; not beyond its end.
    void Skip(std::size_t count)
    {
        begin_ += count;
        offset_ += count;
    }
    /// For files only.
    void SeekTo(std::uint64_t offset);

    /// Called before a pipe is asked for more, which may take its time.
    void SetBeforeWait(std::function<void()> beforeWait) { beforeWait_ = std::move(beforeWait); }

    LogFile& GetFile() const { return *file_; }

private:
    bool Fill(std::size_t count);
    void Resize(std::size_t capacity);

    static constexpr std::size_t first = 16 << 10; ///< enough for many a log
    static constexpr std::size_t usual = 256 << 10;

    std::unique_ptr<LogFile> file_;
    std::function<void()> beforeWait_;
    std::unique_ptr<unsigned char[]> buffer_;
    std::size_t capacity_ = 0;
    std::size_t begin_ = 0;
    std::size_t end_ = 0;
    std::uint64_t offset_ = 0;
};

} // namespace QVLog
