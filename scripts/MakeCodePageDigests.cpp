// Writes the table of digests that the tests compare the code pages of both targets with. It asks the system
// for every answer, so it is a Windows program; from the repository's root:
//
//     x86_64-w64-mingw32-g++-posix -std=c++20 -O2 -static -I.
//     scripts/MakeCodePageDigests.cpp -o build/MakeCodePageDigests.exe
//     cmake/wine-run.sh build/MakeCodePageDigests.exe Tests/String/CodePageDigests.hpp
//
// The file is checked in.
#define __USE_MINGW_ANSI_STDIO 1 // for the formats of the standard
#include <Tests/String/CodePageDigest.hpp>

#include <windows.h>

#include <cstdio>

namespace {

std::u16string Decode(UINT page, std::string_view bytes)
{
    std::u16string units(bytes.size(), 0);
    const int length = static_cast<int>(bytes.size());
    units.resize(static_cast<size_t>(
        MultiByteToWideChar(page, 0, bytes.data(), length, reinterpret_cast<WCHAR*>(units.data()), length)));
    return units;
}

std::string Encode(UINT page, std::u16string_view units, bool lossy)
{
    std::string bytes(units.size() * 2, 0);
    BOOL usedDefault = FALSE;
    const int count = WideCharToMultiByte(
        page, lossy ? 0 : WC_NO_BEST_FIT_CHARS, reinterpret_cast<const WCHAR*>(units.data()),
        static_cast<int>(units.size()), bytes.data(), static_cast<int>(bytes.size()), nullptr,
        lossy ? nullptr : &usedDefault);
    bytes.resize(usedDefault ? 0 : static_cast<size_t>(count));
    return bytes;
}

QV::Testing::CodePageDigests DigestPage(UINT page)
{
    return QV::Testing::DigestCodePage(
        page, [page](std::string_view bytes) { return Decode(page, bytes); },
        [page](std::u16string_view units) { return Encode(page, units, true); },
        [page](std::u16string_view units) { return Encode(page, units, false); });
}

} // namespace

int main(int argc, char** argv)
{
    FILE* const file = argc == 2 ? std::fopen(argv[1], "wb") : nullptr;
    if (file == nullptr) {
        std::fprintf(stderr, "usage: MakeCodePageDigests FILE\n");
        return 1;
    }
    std::fputs(
        "// Made by scripts/MakeCodePageDigests.cpp; do not edit.\n"
        "// clang-format off\n"
        "#pragma once\n\n#include \"Tests/String/CodePageDigest.hpp\"\n\nnamespace QV::Testing {\n\n"
        "/// The answers of Windows, down to best fits, default characters and bytes that mean nothing.\n"
        "inline constexpr CodePageDigests codePageDigests[] = {\n",
        file);
    for (const UINT page :
         {1250U, 1251U, 1252U, 1253U, 1254U, 1255U, 1256U, 1257U, 874U, 932U, 936U, 949U, 950U}) {
        const QV::Testing::CodePageDigests digests = DigestPage(page);
        std::fprintf(file, "    {%u, 0x%016llX, 0x%016llX, 0x%016llX, %u, %u},\n", page, digests.decoding,
                     digests.lossy, digests.exact, digests.exactUnits, digests.bestFits);
    }
    std::fputs("};\n\n} // namespace QV::Testing\n", file);
    return std::fclose(file) == 0 ? 0 : 1;
}
