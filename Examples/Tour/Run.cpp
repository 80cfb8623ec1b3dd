#include "Run.hpp"
#include "Archive.hpp"
#include "TextDecoder.hpp"
#include "TourError.hpp"
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

} // namespace

Run::Run(Array<Input> files, const UniString& archive, UInt32 passes)
    : inputs_(std::move(files)), archive_(archive), passes_(passes)
{
}

/// Runs a stage several times and keeps the fastest pass. `bytes` may become known while it runs.
template <class Work>
void Run::Measure(const char* name, const UInt64& bytes, Work work)
{
    progress_.Begin(name);
    Stage stage{UniString(name), 0, ~UInt64{0}, 0};
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
    measurements_.stages.Append(std::move(stage));
}

const Measurements& Run::Execute()
{
    const UInt64& input = measurements_.inputBytes;
    const UInt64& packed = measurements_.archiveBytes;
    Measure("read files", input, [this] { ReadFiles(); });
    Measure("decode", input, [this] { DecodeFiles(); });
    Measure("make documents", input, [this] { MakeDocuments(); });
    WorkWithText();
    Measure("write to memory", packed, [this] { WriteToMemory(); });
    Measure("read from memory", packed, [this] { ReadFromMemory(); });
    Measure("compare", packed, [this] { CompareDocuments(); });
    Measure("write archive", packed, [this] { WriteToFile(); });
    Measure("read archive", packed, [this] { ReadFromFile(); });
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
    measurements_.inputBytes = 0;
    for (const Input& input : inputs_) {
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
        measurements_.inputBytes += file->bytes.GetSize();
        files_.push_back(std::move(file));
        progress_.Tick();
    }
}

void Run::DecodeFiles()
{
    for (const auto& file : files_) {
        const DecodeFault fault =
            DecodeText(file->bytes.GetData(), file->bytes.GetSize(), file->input.code, &file->text);
        if (fault.what != nullptr) {
            throw TourError(file->input.path, fault.offset, fault.what);
        }
        progress_.Tick();
    }
}

void Run::MakeDocuments()
{
    documents_.Clear();
    for (const auto& file : files_) {
        documents_.Emplace(file->input.path, file->text);
    }
}

void Run::WorkWithText()
{
    const UInt64& input = measurements_.inputBytes;
    Measure("replace and trim", input, [this] { textWork_.Clean(documents_); });
    Measure("lower case", input, [this] { textWork_.FoldCase(); });
    Measure("split and count", input, [this] { textWork_.SplitAndCount(); });
    Measure("natural order", input, [this] { textWork_.Sort(); });
    measurements_.summary = textWork_.GetSummary();
    textWork_.Clear();
}

void Run::WriteToMemory()
{
    memory_.Clear();
    if (WriteArchive(memory_, documents_) != NoError) {
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
        WriteArchive(out, documents_);
        error = out.Commit();
    }
    if (error != NoError) {
        throw TourError(archive_, GetReason(out.GetErrorText(), "cannot be written"));
    }
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
