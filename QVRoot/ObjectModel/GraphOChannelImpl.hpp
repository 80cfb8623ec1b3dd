/// The memory that a graph is put together in: an output channel with marks and positions, so that frames
/// with a sub version work whatever the graph is written to.
///
/// Errors: codes only; `ErrMemoryFull` and `ErrOutputFull` (2 GiB in one piece), sticky.
#pragma once

#include <QVRoot/Channel/MemProtocol.hpp>
#include <QVRoot/Channel/OChannel.hpp>
#include <QVRoot/Containers/Array.hpp>

namespace QV::Impl {

class GraphWriter;

class GraphOChannel final : public OChannel {
public:
    explicit GraphOChannel(GraphWriter& writer) noexcept : OChannel(ownProtocol_), writer_(writer) {}
    ~GraphOChannel() override;
    GraphOChannel(const GraphOChannel&) = delete;
    GraphOChannel& operator=(const GraphOChannel&) = delete;

    GraphWriter& GetWriter() const noexcept { return writer_; }
    const char* GetData() const noexcept { return block_; }
    UInt32 GetSize() const noexcept { return end_ > GetPosition() ? end_ : GetPosition(); }
    UInt32 GetPosition() const noexcept;
    /// Empties it and keeps the block.
    void Restart() noexcept;
    /// Goes to a place where something was written before.
    void MoveTo(UInt32 position) noexcept;
    /// Drops what was written from there on.
    void Truncate(UInt32 size) noexcept;
    void DropMarks() noexcept;
    /// Writes a number where one was written before.
    void Patch(UInt32 position, UInt32 number);

    QVErrCode WriteBin(const char* src, UInt32 n, UInt32* written) override;
    QVErrCode DirectOutputAccess(UInt32 n, char** data, UInt32* available) override;
    QVErrCode GetOutputPosition(UInt64* position) const override;
    void SetDefaultOutputProtocol() override;
    void SetOutputProtocol(OProtocol& protocol) override;
    QVErrCode PushMark() override;
    QVErrCode PopMark() override;
    UInt32 GetOffset() const override { return offset_; }
    void ResetOffset() override;
    QVErrCode GetOutputStatus() const override { return status_; }
    void ResetOutputStatus() override;

private:
    bool Reserve(UInt32 n) noexcept;
    QVErrCode Fail(QVErrCode error) noexcept;

    OMemProtocol ownProtocol_;
    GraphWriter& writer_;
    char* block_ = nullptr;
    UInt32 capacity_ = 0;
    UInt32 end_ = 0;      ///< what was written at most, but for an open window
    UInt32 position_ = 0; ///< behind which the window, where there is one, has gone on
    UInt32 offset_ = 0;
    UInt32 lostMarks_ = 0;
    Array<UInt32> marks_;
    QVErrCode status_ = NoError;
    bool native_ = true;
};

} // namespace QV::Impl
