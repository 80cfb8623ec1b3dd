#include <QVRoot/String/CodePages/CodePageKernelsImpl.hpp>

#include <cstring>

namespace QV::Impl {

void ReferenceDecodeSingles(const UInt16* table, const UInt8* source, USize length, UInt16* target)
{
    for (USize i = 0; i < length; ++i) {
        target[i] = table[source[i]];
    }
}

bool ReferenceEncodeSingles(const UInt8* table, const UInt16* source, USize length, UInt8* target)
{
    bool complete = true;
    for (USize i = 0; i < length; ++i) {
        target[i] = table[source[i]];
        complete &= target[i] != 0 || source[i] == 0;
    }
    return complete;
}

namespace {

constexpr UInt64 highBits8 = 0x8080808080808080;
constexpr UInt64 nonAscii16 = 0xFF80FF80FF80FF80;

UInt64 Load64(const void* address)
{
    UInt64 value;
    std::memcpy(&value, address, sizeof(value));
    return value;
}

bool IsAscii(const UInt8* source)
{
    return (Load64(source) & highBits8) == 0;
}

bool IsAscii(const UInt16* source)
{
    return ((Load64(source) | Load64(source + 4)) & nonAscii16) == 0;
}

template <class Source, class Target>
void Copy8(const Source* source, Target* target)
{
    for (USize i = 0; i < 8; ++i) {
        target[i] = static_cast<Target>(source[i]);
    }
}

template <class Source, class Target>
USize CopyRun(const Source* source, USize length, Target* target)
{
    USize i = 0;
    for (; i + 8 <= length && IsAscii(source + i); i += 8) {
        Copy8(source + i, target + i);
    }
    return i;
}

} // namespace

// Looking for ASCII in between costs more mispredicted branches than it saves.
constinit const CodePageKernels codePagePortable = {"Portable", ReferenceDecodeSingles,
                                                    ReferenceEncodeSingles, CopyRun<UInt8, UInt16>,
                                                    CopyRun<UInt16, UInt8>};

} // namespace QV::Impl
