#include "Run.hpp"
#include "Archive.hpp"
#include "TextDecoder.hpp"
#include "TourError.hpp"
#include "TourLog.hpp"
#include "VersionCheck.hpp"

#include <Host/IFileChannel.hpp>
#include <Host/OFileChannel.hpp>
#include <Host/PositionedMemIChannel.hpp>
#include <QVRoot/MemoryManagement/Core/MemoryStatistics.hpp>

#include <algorithm>
#include <chrono>
#include <utility>

namespace Tour {

using namespace QV;
using namespace QV::Host;

namespace {

UniString GetReason(const UniString& systemText, const char* otherwise)
{
    return systemText.IsEmpty() ? UniString(otherwise) : systemText;
}

void Append(OChannel& out, const MarkingMemOChannel& piece)
{
    constexpr UInt64 mostAtOnce = 0x40000000;
    for (UInt64 offset = 0; offset < piece.GetSize(); offset += mostAtOnce) {
        const UInt64 n = std::min(piece.GetSize() - offset, mostAtOnce);
        out.WriteBin(piece.GetData() + offset, static_cast<UInt32>(n), nullptr);
    }
}

} // namespace

Run::Run(Array<Input> files, const UniString& archive, UInt32 passes, UInt32 threads)
    : inputs_(std::move(files)), archive_(archive), passes_(passes), parallel_(threads, progress_)
{
}

/// Runs a stage several times and keeps the fastest pass. `bytes` may become known while it runs.
template <class Work>
void Run::Measure(const char* name, const UInt64& bytes, UInt32 threads, Work work)
{
    progress_.Begin(name);
    Stage stage{UniString(name), 0, ~UInt64{0}, 0, threads};
    QV_LOG(Debug, stageLog, "{stage} begins on {threads} threads", LogRepeated(name), threads);
    for (UInt32 pass = 0; pass < passes_; ++pass) {
        const UInt64 allocations = MemoryStatistics::Get().allocations;
        const auto start = std::chrono::steady_clock::now();
        work();
        const auto end = std::chrono::steady_clock::now();
        const auto time = std::chrono::duration_cast<std::chrono::nanoseconds>(end - start).count();
        stage.nanoseconds = std::min(stage.nanoseconds, static_cast<UInt64>(time));
        stage.allocations = MemoryStatistics::Get().allocations - allocations;
        progress_.Tick();
    }
    stage.bytes = bytes;
    QV_LOG(Info, stageLog, "{stage}: {bytes} bytes in {microseconds:.1} us, {allocations} allocations",
           LogRepeated(name), bytes, static_cast<double>(stage.nanoseconds) / 1000, stage.allocations);
    measurements_.stages.Append(std::move(stage));
}

const Measurements& Run::Execute()
{
    const UInt64& input = measurements_.inputBytes;
    const UInt64& packed = measurements_.archiveBytes;
    const UInt32 all = parallel_.GetThreadCount();
    Measure("read files", input, all, [this] { ReadFiles(); });
    Measure("decode", input, all, [this] { DecodeFiles(); });
    Measure("make documents", input, all, [this] { MakeDocuments(); });
    WorkWithText();
    Measure("write to memory", packed, all, [this] { WriteToMemory(); });
    Measure("read from memory", packed, 1, [this] { ReadFromMemory(); });
    Measure("compare", packed, 1, [this] { CompareDocuments(); });
    Measure("write archive", packed, all, [this] { WriteToFile(); });
    Measure("read archive", packed, 1, [this] { ReadFromFile(); });
    CompareDocuments();
    TakeStock();
    readBack_.Clear();
    progress_.Begin("versions");
    measurements_.versions = CheckVersions(documents_);
    return measurements_;
}

void Run::ReadFiles()
{
    files_.clear();
    files_.resize(inputs_.GetCount());
    parallel_.ForEach(inputs_.GetCount(), [this](UInt32 i) {
        const Input& input = inputs_[i];
        auto file = std::make_unique<TextFile>();
        file->input = input;
        IFileChannel in;
        QVErrCode error = in.Open(input.path);
        if (error == NoError) {
            error = Copy(in, file->bytes, ~UInt64{0});
        }
        if (error != NoError) {
            throw TourError(input.path, GetReason(in.GetErrorText(), "cannot be read"));
        }
        QV_LOG(Debug, fileLog, "read {path}, {bytes} bytes", LogRepeated(input.path), file->bytes.GetSize());
        files_[i] = std::move(file);
    });
    measurements_.inputBytes = 0;
    for (const auto& file : files_) {
        measurements_.inputBytes += file->bytes.GetSize();
    }
}

void Run::DecodeFiles()
{
    parallel_.ForEach(inputs_.GetCount(), [this](UInt32 i) {
        TextFile& file = *files_[i];
        const DecodeFault fault =
            DecodeText(file.bytes.GetData(), file.bytes.GetSize(), file.input.code, &file.text);
        if (fault.what != nullptr) {
            QV_LOG(Error, fileLog, "{path} is damaged at {offset}", file.input.path, fault.offset);
            throw TourError(file.input.path, fault.offset, fault.what);
        }
        QV_LOG(Debug, fileLog, "decoded {path} into {units} units", LogRepeated(file.input.path),
               file.text.GetLength());
    });
}

void Run::MakeDocuments()
{
    documents_.Clear();
    for (UInt32 i = 0; i < inputs_.GetCount(); ++i) {
        documents_.Emplace();
    }
    parallel_.ForEach(inputs_.GetCount(),
                      [this](UInt32 i) { documents_[i] = Document(files_[i]->input.path, files_[i]->text); });
}

void Run::WorkWithText()
{
    const UInt64& input = measurements_.inputBytes;
    Measure("replace and trim", input, 1, [this] { textWork_.Clean(documents_); });
    Measure("lower case", input, 1, [this] { textWork_.FoldCase(); });
    Measure("split and count", input, 1, [this] { textWork_.SplitAndCount(); });
    Measure("natural order", input, 1, [this] { textWork_.Sort(); });
    measurements_.summary = textWork_.GetSummary();
    textWork_.Clear();
}

/// Writes the archive. With several threads, each document becomes bytes for itself first; what comes out is
/// the same.
QVErrCode Run::Save(OChannel& out)
{
    if (parallel_.GetThreadCount() == 1) {
        return WriteArchive(out, documents_);
    }
    pieces_.resize(documents_.GetCount());
    parallel_.ForEach(documents_.GetCount(), [this](UInt32 i) {
        pieces_[i].Clear();
        if ((pieces_[i] << documents_[i]).GetOutputStatus() != NoError) {
            throw TourError("memory", "the documents do not fit");
        }
    });
    WriteArchiveHeader(out, documents_.GetCount());
    for (const MarkingMemOChannel& piece : pieces_) {
        progress_.Tick();
        Append(out, piece);
    }
    return out.GetOutputStatus();
}

void Run::WriteToMemory()
{
    memory_.Clear();
    if (Save(memory_) != NoError) {
        throw TourError("memory", "the documents do not fit");
    }
    measurements_.archiveBytes = memory_.GetSize();
}

void Run::ReadFromMemory()
{
    PositionedMemIChannel in(memory_.GetData(), memory_.GetSize());
    const ArchiveFault fault = ReadArchive(in, &readBack_);
    if (fault.code != NoError) {
        throw TourError("memory", fault.offset, fault.what.c_str());
    }
}

void Run::CompareDocuments()
{
    bool same = documents_.GetCount() == readBack_.GetCount();
    for (UInt32 i = 0; same && i < documents_.GetCount(); ++i) {
        same = documents_[i].HasSameText(readBack_[i]) &&
               documents_[i].GetStatistics() == readBack_[i].GetStatistics();
    }
    if (!same) {
        throw TourError("archive", "the documents that were read back are not those that were written");
    }
}

void Run::WriteToFile()
{
    OFileChannel out;
    QVErrCode error = out.Open(archive_);
    if (error == NoError) {
        Save(out);
        error = out.Commit();
    }
    if (error != NoError) {
        throw TourError(archive_, GetReason(out.GetErrorText(), "cannot be written"));
    }
    QV_LOG(Info, fileLog, "archive {path} is written, {bytes} bytes", LogRepeated(archive_),
           measurements_.archiveBytes);
    hasReplacedArchive_ = true;
    progress_.Tick();
}

void Run::ReadFromFile()
{
    IFileChannel in;
    if (in.Open(archive_) != NoError) {
        throw TourError(archive_, in.GetErrorText());
    }
    const ArchiveFault fault = ReadArchive(in, &readBack_);
    if (fault.code != NoError) {
        throw TourError(archive_, fault.offset, fault.what.c_str());
    }
    progress_.Tick();
}

/// Counts what is held while both sets of documents are in memory.
void Run::TakeStock()
{
    pieces_.clear();
    const MemoryCounts counts = MemoryStatistics::Get();
    measurements_.liveBlocks = counts.liveBlocks;
    measurements_.liveBytes = counts.liveBytes;
    measurements_.peakBytes = counts.peakBytes;
    measurements_.files = documents_.GetCount();
    for (const Document& document : documents_) {
        measurements_.characters += document.GetStatistics().characters;
        measurements_.paragraphs += document.GetParagraphs().GetCount();
    }
}

} // namespace Tour
