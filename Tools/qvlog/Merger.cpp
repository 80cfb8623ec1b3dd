#include "Merger.hpp"

#include <algorithm>

namespace QVLog {

Merger::Merger(std::vector<std::unique_ptr<LineSource>> sources)
    : sources_(std::move(sources)), states_(sources_.size(), State::Used)
{
}

LineSource* Merger::Next()
{
    LineSource* first = nullptr;
    std::size_t firstIndex = 0;
    for (std::size_t i = 0; i < sources_.size(); ++i) {
        LineSource& source = *sources_[i];
        if (states_[i] == State::Used) {
            states_[i] = source.Next() ? State::Ready : State::AtEnd;
            if (states_[i] == State::Ready && i == last_ &&
                source.GetReader().GetDescriptor().level == Level::Data) {
                states_[i] = State::Used;
                return &source;
            }
        }
        if (states_[i] == State::Ready && (first == nullptr || source.GetReader().GetMicroseconds() <
                                                                   first->GetReader().GetMicroseconds())) {
            first = &source;
            firstIndex = i;
        }
    }
    if (first != nullptr) {
        states_[firstIndex] = State::Used;
        last_ = firstIndex;
    }
    return first;
}

void Merger::Replace(std::size_t i, std::unique_ptr<LineSource> source)
{
    sources_[i] = std::move(source);
    states_[i] = State::Used;
}

void Merger::Retry()
{
    std::replace(states_.begin(), states_.end(), State::AtEnd, State::Used);
}

} // namespace QVLog
