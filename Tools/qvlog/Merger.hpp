/// The lines of several logs in the order of time. Each log keeps its own order, and data lines stay behind
/// the line that they belong to.
#pragma once

#include "LineSource.hpp"

#include <memory>
#include <vector>

namespace QVLog {

class Merger {
public:
    explicit Merger(std::vector<std::unique_ptr<LineSource>> sources);

    /// The log that has the next line and stands at it; null when all are at their ends, for now.
    LineSource* Next();

    std::vector<std::unique_ptr<LineSource>>& GetSources() { return sources_; }
    /// Another file took the place of a log.
    void Replace(std::size_t i, std::unique_ptr<LineSource> source);
    /// Asks the logs that were at their ends again.
    void Retry();

private:
    enum class State { Used, Ready, AtEnd };

    std::vector<std::unique_ptr<LineSource>> sources_;
    std::vector<State> states_;
    std::size_t last_ = 0;
};

} // namespace QVLog
