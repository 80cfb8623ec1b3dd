/// A memory channel to print on: what is written comes out as text.
///
///     TextOMemChannel out;
///     exception.Print(out);
///     Show(out.GetText());
///
/// Threads, errors, allocation: those of `OMemChannel`.
#pragma once

#include <QVRoot/Channel/OMemChannel.hpp>
#include <QVRoot/Channel/TextOProtocol.hpp>

#include <string_view>

namespace QV {

class QV_EXPORT TextOMemChannel : public OMemChannel {
public:
    TextOMemChannel();
    ~TextOMemChannel() override;

    /// The protocol of text.
    void SetDefaultOutputProtocol() override;

    /// What was printed; empty when the status is not 0. Valid until the next write.
    std::string_view GetText() { return {LockData(), DataSize()}; }
};

} // namespace QV
