#include "Archive.hpp"

#include <QVRoot/ObjectModel/ClassInfo.hpp>

#include <cstring>

namespace Tour {

using namespace QV;

namespace {

/// The last two bytes do not survive a transfer that takes the archive for a text.
constexpr char magic[8] = {'Q', 'V', 'T', 'O', 'U', 'R', '\r', '\x1A'};
constexpr ClassVersion archiveVersion = {1, 0};

ArchiveFault MakeFault(const IChannel& ic, QVErrCode code, std::string what)
{
    ArchiveFault fault{code, 0, std::move(what)};
    ic.GetInputPosition(&fault.offset);
    return fault;
}

/// Reads on where a channel delivers less than was asked for.
QVErrCode ReadBytes(IChannel& ic, char* dest, UInt32 n)
{
    QVErrCode error = NoError;
    for (UInt32 done = 0; done < n && error == NoError;) {
        UInt32 got = 0;
        error = ic.ReadBin(dest + done, n - done, &got);
        done += got;
    }
    return error;
}

} // namespace

QVErrCode WriteArchiveHeader(OChannel& oc, UInt32 count)
{
    for (const char c : magic) {
        oc << c;
    }
    archiveVersion.Write(oc);
    return oc.Write(count);
}

ArchiveFault ReadArchiveHeader(IChannel& ic, UInt32* count)
{
    char start[sizeof(magic)] = {};
    ClassVersion version;
    const QVErrCode error = ReadBytes(ic, start, sizeof(start));
    if (error != NoError && error != ErrEndOfInput) {
        return MakeFault(ic, error, "cannot be read");
    }
    if (std::memcmp(start, magic, sizeof(magic)) != 0) {
        return {ErrDataIntegrity, 0, "not an archive of the tour"};
    }
    if (version.Read(ic) != NoError ||
        (version.mainVersion == archiveVersion.mainVersion && ic.Read(*count) != NoError)) {
        return MakeFault(ic, ic.GetInputStatus(), "the archive ends in its header");
    }
    if (version.mainVersion != archiveVersion.mainVersion) {
        return MakeFault(ic, ErrGeneral, "an archive of a version that this program does not know");
    }
    return {};
}

ArchiveFault MakeDocumentFault(IChannel& ic, UInt32 index, QVErrCode error)
{
    const std::string document = "document " + std::to_string(index + 1);
    if (ic.GetInputStatus() == ErrEndOfInput) {
        return MakeFault(ic, error, "the archive ends in " + document);
    }
    if (error == ErrGeneral) {
        return MakeFault(ic, error, document + " is of a version that this program does not know");
    }
    if (error == ErrDataIntegrity) {
        return MakeFault(ic, error, document + " is damaged");
    }
    return MakeFault(ic, error, document + " cannot be read");
}

ArchiveFault ExpectEnd(IChannel& ic)
{
    UInt64 rest = 0;
    if (ic.GetAvailable(&rest) == NoError && rest != 0) {
        return MakeFault(ic, ErrDataIntegrity, "bytes behind the last document");
    }
    return {};
}

} // namespace Tour
