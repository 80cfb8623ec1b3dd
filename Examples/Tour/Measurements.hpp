/// What one run of the tour found out: a persistent object, so that a run in another process can hand it
/// over.
#pragma once

#include "TextWork.hpp"

#include <QVRoot/Containers/Array.hpp>
#include <QVRoot/String/UniString.hpp>

namespace Tour {

struct Stage {
    QV::UniString name;
    QV::UInt64 bytes = 0;
    QV::UInt64 nanoseconds = 0; ///< of the fastest pass
    QV::UInt64 allocations = 0; ///< of one pass
    QV::UInt32 threads = 1;     ///< that shared the work

    double GetMegabytesPerSecond() const;
};

/// A version of the document class that wrote, one that read, and how it went.
struct VersionResult {
    QV::UniString what;
    QV::UniString outcome;
};

class Measurements : public QV::Object {
public:
    QV::UInt32 files = 0;
    QV::UInt64 inputBytes = 0;
    QV::UInt64 characters = 0;
    QV::UInt64 paragraphs = 0;
    QV::UInt64 archiveBytes = 0;
    QV::UInt64 liveBlocks = 0; ///< with all documents in memory
    QV::UInt64 liveBytes = 0;
    QV::UInt64 peakBytes = 0;
    WordSummary summary;
    QV::Array<Stage> stages;
    QV::Array<VersionResult> versions;

    const QV::ClassInfo* GetClassInfo() const override;
    Measurements* Clone() const override;
    QV::QVErrCode Read(QV::IChannel& ic) override;
    QV::QVErrCode Write(QV::OChannel& oc) const override;
};

} // namespace Tour
