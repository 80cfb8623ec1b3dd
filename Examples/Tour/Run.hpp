/// The tour proper, in this process: reads and decodes files, makes documents of them, writes these to memory
/// and to an archive, reads them back and compares.
#pragma once

#include "Document.hpp"
#include "Measurements.hpp"
#include "Options.hpp"
#include "Parallel.hpp"
#include "Progress.hpp"
#include "TextWork.hpp"

#include <Host/MarkingMemOChannel.hpp>

#include <deque>
#include <memory>
#include <vector>

namespace Tour {

class Run {
public:
    /// The archive is written to `archive`.
    Run(QV::Array<Input> files, const QV::UniString& archive, QV::UInt32 passes, QV::UInt32 threads);

    /// Throws `TourError` for a file that cannot be read, decoded or written, and when something read back is
    /// not what was written. `InterruptedException` when the user wants the program to end.
    const Measurements& Execute();

    /// Whether the archive has been put in its place.
    bool HasReplacedArchive() const noexcept { return hasReplacedArchive_; }

private:
    struct TextFile {
        Input input;
        QV::Host::MarkingMemOChannel bytes;
        QV::UniString text;
    };

    template <class Work>
    void Measure(const char* name, const QV::UInt64& bytes, QV::UInt32 threads, Work work);

    void ReadFiles();
    void DecodeFiles();
    void MakeDocuments();
    void WorkWithText();
    QV::QVErrCode Save(QV::OChannel& out);
    void WriteToMemory();
    void ReadFromMemory();
    void CompareDocuments();
    void WriteToFile();
    void ReadFromFile();
    void TakeStock();

    QV::Array<Input> inputs_;
    QV::UniString archive_;
    QV::UInt32 passes_;
    bool hasReplacedArchive_ = false;
    Progress progress_;
    Parallel parallel_;
    std::vector<std::unique_ptr<TextFile>> files_;
    QV::Array<Document> documents_;
    QV::Array<Document> readBack_;
    QV::Host::MarkingMemOChannel memory_;
    std::deque<QV::Host::MarkingMemOChannel> pieces_; ///< the documents' bytes, each for itself
    TextWork textWork_;
    Measurements measurements_;
};

} // namespace Tour
