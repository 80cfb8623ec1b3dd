/// What goes to the standard output or to a file, in large pieces.
#pragma once

#include <cstdio>
#include <string>

namespace QVLog {

class Output {
public:
    explicit Output(std::FILE* file) : file_(file) {}

    std::string& GetText() { return text_; }
    /// To be called between pieces. False when nobody takes it any more.
    bool FlushIfLong() { return text_.size() < longEnough || Flush(); }
    bool Flush()
    {
        const bool isDone =
            std::fwrite(text_.data(), 1, text_.size(), file_) == text_.size() && std::fflush(file_) == 0;
        text_.clear();
        return isDone;
    }

private:
    static constexpr std::size_t longEnough = 1 << 16;

    std::FILE* file_;
    std::string text_;
};

} // namespace QVLog
