#include "VersionCheck.hpp"
#include "Archive.hpp"
#include "NewerDocument.hpp"
#include "OlderDocument.hpp"
#include "TourError.hpp"

#include <Host/MarkingMemOChannel.hpp>
#include <Host/PositionedMemIChannel.hpp>

namespace Tour {

using namespace QV;
using namespace QV::Host;

namespace {

/// Classes write their old versions as long as it lives.
class OldOutput {
public:
    OldOutput() { ClassManager::SetOutputVersion(1); }
    ~OldOutput() { ClassManager::SetOutputVersion(0); }
};

void Require(bool holds, const char* what)
{
    if (!holds) {
        throw TourError("versions", what);
    }
}

template <class D>
void Write(MarkingMemOChannel& out, const Array<D>& documents)
{
    out.Clear();
    Require(WriteArchive(out, documents) == NoError, "the documents cannot be written");
}

/// Reads with another version of the class and compares names and texts.
template <class D>
Array<D> ReadAs(const MarkingMemOChannel& out, const Array<Document>& documents, const char* what)
{
    Array<D> read;
    PositionedMemIChannel in(out.GetData(), out.GetSize());
    Require(ReadArchive(in, &read).code == NoError && read.GetCount() == documents.GetCount(), what);
    for (UInt32 i = 0; i < read.GetCount(); ++i) {
        Require(read[i].HasSameText(documents[i]), what);
    }
    return read;
}

} // namespace

Array<VersionResult> CheckVersions(const Array<Document>& documents)
{
    Array<VersionResult> results;
    MarkingMemOChannel out;

    Write(out, documents);
    ReadAs<NewerDocument>(out, documents, "2.1 is not read by 2.2");
    results.Append({"written by 2.1, read by 2.2", "the same; the field that 2.2 added is made anew"});

    Array<OlderDocument> refused;
    PositionedMemIChannel in(out.GetData(), out.GetSize());
    Require(documents.IsEmpty() || ReadArchive(in, &refused).code == ErrGeneral, "2.1 is not refused by 1.1");
    results.Append({"written by 2.1, read by 1.1", "refused, as the main version is newer"});

    {
        const OldOutput old;
        Write(out, documents);
    }
    ReadAs<OlderDocument>(out, documents, "1.1 is not read by 1.1");
    results.Append({"written by 2.1 as 1.1, read by 1.1", "the same"});
    const Array<Document> fromOld = ReadAs<Document>(out, documents, "1.1 is not read by 2.1");
    for (UInt32 i = 0; i < fromOld.GetCount(); ++i) {
        Require(fromOld[i].GetStatistics() == documents[i].GetStatistics(), "1.1 gives other statistics");
    }
    results.Append({"written by 2.1 as 1.1, read by 2.1", "the same; statistics are counted anew"});

    Array<NewerDocument> newer;
    for (const Document& document : documents) {
        newer.Emplace(document);
    }
    Write(out, newer);
    ReadAs<Document>(out, documents, "2.2 is not read by 2.1");
    results.Append({"written by 2.2, read by 2.1", "the same; the field that 2.2 added is skipped"});
    return results;
}

} // namespace Tour
