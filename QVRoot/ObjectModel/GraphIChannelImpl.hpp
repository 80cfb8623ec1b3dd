/// A part of a graph in memory as an input channel, with positions and look-ahead, so that frames with a sub
/// version work whatever the graph is read from.
///
/// Errors: codes only; `ErrEndOfInput`, sticky but for looking ahead.
#pragma once

#include <QVRoot/Channel/IChannel.hpp>
#include <QVRoot/Channel/MemProtocol.hpp>

namespace QV::Impl {

class GraphReader;

class GraphIChannel final : public IChannel {
public:
    explicit GraphIChannel(GraphReader& reader) noexcept : IChannel(ownProtocol_), reader_(reader) {}
    ~GraphIChannel() override;
    GraphIChannel(const GraphIChannel&) = delete;
    GraphIChannel& operator=(const GraphIChannel&) = delete;

    GraphReader& GetReader() const noexcept { return reader_; }
    /// Starts at the first of these bytes, sound.
    void Restart(const char* begin, const char* end) noexcept;
    const char* GetNext() const noexcept;
    const char* GetEnd() const noexcept { return end_; }

    using IChannel::GetAvailable;
    using IChannel::PushBack;

    QVErrCode ReadBin(char* dest, UInt32 n, UInt32* got) override;
    QVErrCode CopyBin(char* dest, UInt32 n, UInt32* got) override;
    QVErrCode Look(UInt32 index, char* c) override;
    /// The bytes must be those that were read.
    QVErrCode PushBack(const char* bytes, UInt32 n) override;
    QVErrCode Skip(UInt64 n, UInt64* skipped) override;
    QVErrCode DirectInputAccess(UInt32 n, char** data, UInt32* available) override;
    QVErrCode GetInputPosition(UInt64* position) const override;
    QVErrCode GetAvailable(UInt64* n) const override;
    void SetDefaultInputProtocol() override;
    void SetInputProtocol(IProtocol& protocol) override;
    QVErrCode GetInputStatus() const override { return status_; }
    void ResetInputStatus() override;

private:
    USize GetRest() const noexcept { return static_cast<USize>(end_ - GetNext()); }
    void MoveTo(const char* next) noexcept;

    IMemProtocol ownProtocol_;
    GraphReader& reader_;
    const char* begin_ = nullptr;
    const char* next_ = nullptr; ///< which an open window is ahead of
    const char* end_ = nullptr;
    QVErrCode status_ = NoError;
    bool native_ = true;
};

} // namespace QV::Impl
