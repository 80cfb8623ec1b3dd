/// Many documents in one stream: a mark, a version, the count, then the documents in their frames. The form
/// is described in docs/formats.md under "The tour's archive".
///
/// The channels need marks and positions: those of Host have them.
#pragma once

#include <QVRoot/Channel/IChannel.hpp>
#include <QVRoot/Channel/OChannel.hpp>
#include <QVRoot/Containers/Array.hpp>

#include <string>

namespace Tour {

/// Why an archive could not be read; the code is 0 when it could.
struct ArchiveFault {
    QV::QVErrCode code = QV::NoError;
    QV::UInt64 offset = 0; ///< where the reader stood
    std::string what;
};

QV::QVErrCode WriteArchiveHeader(QV::OChannel& oc, QV::UInt32 count);
ArchiveFault ReadArchiveHeader(QV::IChannel& ic, QV::UInt32* count);

/// The fault of a document that could not be read; `index` counts from 0.
ArchiveFault MakeDocumentFault(QV::IChannel& ic, QV::UInt32 index, QV::QVErrCode error);
/// A fault when anything follows the documents.
ArchiveFault ExpectEnd(QV::IChannel& ic);

template <class D>
QV::QVErrCode WriteArchive(QV::OChannel& oc, const QV::Array<D>& documents)
{
    WriteArchiveHeader(oc, documents.GetCount());
    for (const D& document : documents) {
        oc << document;
    }
    return oc.GetOutputStatus();
}

/// After a fault there are no documents.
template <class D>
ArchiveFault ReadArchive(QV::IChannel& ic, QV::Array<D>* documents)
{
    QV::UInt32 count = 0;
    documents->Clear();
    ArchiveFault fault = ReadArchiveHeader(ic, &count);
    for (QV::UInt32 i = 0; i < count && fault.code == QV::NoError; ++i) {
        // Whatever the count says, memory grows only as documents arrive.
        if (const QV::QVErrCode error = ic.Read(documents->Emplace())) {
            fault = MakeDocumentFault(ic, i, error);
        }
    }
    if (fault.code == QV::NoError) {
        fault = ExpectEnd(ic);
    }
    if (fault.code != QV::NoError) {
        documents->Clear();
    }
    return fault;
}

} // namespace Tour
