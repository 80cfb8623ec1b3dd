// The tour's archive reader over arbitrary bytes. What it accepts must survive being written and read again.

#include <Examples/Tour/Archive.hpp>
#include <Examples/Tour/NewerDocument.hpp>
#include <Host/MarkingMemOChannel.hpp>
#include <Host/PositionedMemIChannel.hpp>

#include <cstdint>
#include <cstdlib>

using namespace QV;
using namespace QV::Host;
using namespace Tour;

namespace {

void Require(bool holds)
{
    if (!holds) {
        std::abort();
    }
}

template <class D>
void ReadTwice(const void* data, UInt64 size)
{
    PositionedMemIChannel in(data, size);
    Array<D> documents;
    const ArchiveFault fault = ReadArchive(in, &documents);
    Require(fault.offset <= size);
    if (fault.code != NoError) {
        Require(documents.IsEmpty() && !fault.what.empty());
        return;
    }
    MarkingMemOChannel out;
    Require(WriteArchive(out, documents) == NoError);
    PositionedMemIChannel back(out.GetData(), out.GetSize());
    Array<D> again;
    Require(ReadArchive(back, &again).code == NoError && again.GetCount() == documents.GetCount());
    for (UInt32 i = 0; i < again.GetCount(); ++i) {
        Require(again[i].HasSameText(documents[i]));
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    ReadTwice<Document>(data, size);
    ReadTwice<NewerDocument>(data, size);
    return 0;
}
