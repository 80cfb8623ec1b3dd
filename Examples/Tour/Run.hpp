/// The tour proper, in this process: reads and decodes files, makes documents of them, writes these to memory
/// and to an archive, reads them back and compares.
#pragma once

#include "Document.hpp"
#include "Measurements.hpp"
#include "Options.hpp"
#include "Progress.hpp"
#include "TextWork.hpp"

#include <Host/MarkingMemOChannel.hpp>

#include <memory>
#include <vector>

namespace Tour {

class Run {
public:
    /// The archive is written to `archive`.
    Run(QV::Array<Input> files, const QV::UniString& archive, QV::UInt32 passes);

    /// Throws `TourError` for a file that cannot be read, decoded or written, and when something read back is
    /// not what was written.
    const Measurements& Execute();

private:
    struct TextFile {
        Input input;
        QV::Host::MarkingMemOChannel bytes;
        QV::UniString text;
    };

    template <class Work>
    void Measure(const char* name, const QV::UInt64& bytes, Work work);

    void ReadFiles();
    void DecodeFiles();
    void MakeDocuments();
    void WorkWithText();
    void WriteToMemory();
    void ReadFromMemory();
    void CompareDocuments();
    void WriteToFile();
    void ReadFromFile();
    void TakeStock();

    QV::Array<Input> inputs_;
    QV::UniString archive_;
    QV::UInt32 passes_;
    Progress progress_;
    std::vector<std::unique_ptr<TextFile>> files_;
    QV::Array<Document> documents_;
    QV::Array<Document> readBack_;
    QV::Host::MarkingMemOChannel memory_;
    TextWork textWork_;
    Measurements measurements_;
};

} // namespace Tour
