// The streams in the hands of the system: its own functions take them for what they claim to be.
#include <QVRoot/Channel/MemStream.hpp>
#include <QVRoot/Channel/QVHandleStream.hpp>
#include <QVRoot/MemoryManagement/BlockMemory.h>

#include <cstddef>
#include <cstring>
#include <gtest/gtest.h>
#include <string>

#include <objidl.h>
#include <olectl.h>
#include <windows.h>

namespace QV {

namespace {

static_assert(sizeof(STATSTG) == sizeof(Com::StreamStatus));
static_assert(offsetof(STATSTG, cbSize) == offsetof(Com::StreamStatus, size));
static_assert(offsetof(STATSTG, mtime) == offsetof(Com::StreamStatus, modified));
static_assert(offsetof(STATSTG, ctime) == offsetof(Com::StreamStatus, created));
static_assert(offsetof(STATSTG, atime) == offsetof(Com::StreamStatus, accessed));
static_assert(offsetof(STATSTG, grfMode) == offsetof(Com::StreamStatus, mode));
static_assert(offsetof(STATSTG, grfLocksSupported) == offsetof(Com::StreamStatus, locksSupported));
static_assert(offsetof(STATSTG, clsid) == offsetof(Com::StreamStatus, classId));
static_assert(Com::False == S_FALSE && Com::NotImplemented == E_NOTIMPL && Com::NoInterface == E_NOINTERFACE);
static_assert(Com::InvalidFunction == STG_E_INVALIDFUNCTION && Com::InvalidPointer == STG_E_INVALIDPOINTER);
static_assert(Com::MediumFull == STG_E_MEDIUMFULL && Com::StreamType == STGTY_STREAM);

/// A function of one of the system's libraries.
template <class Function>
Function* Find(const char* library, const char* name)
{
    const HMODULE module = LoadLibraryA(library);
    void* const address = reinterpret_cast<void*>(GetProcAddress(module, name));
    EXPECT_NE(address, nullptr) << library << " lacks " << name;
    return reinterpret_cast<Function*>(address);
}

constexpr GUID unknownId = {0, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
constexpr GUID streamId = {0xC, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};

/// A stream of the system's own over memory, with bytes in it and its position at the start.
::IStream* MakeSystemStream(const std::string& bytes)
{
    ::IStream* stream = nullptr;
    EXPECT_EQ(Find<decltype(CreateStreamOnHGlobal)>("ole32", "CreateStreamOnHGlobal")(nullptr, TRUE, &stream),
              S_OK);
    EXPECT_EQ(stream->Write(bytes.data(), static_cast<ULONG>(bytes.size()), nullptr), S_OK);
    EXPECT_EQ(stream->Seek({}, STREAM_SEEK_SET, nullptr), S_OK);
    return stream;
}

std::string GetBytes(QVHandle handle)
{
    return std::string(*handle, static_cast<USize>(BMGetHandleSize(handle)));
}

std::string MakeBytes(USize count)
{
    std::string bytes(count, '\0');
    for (USize i = 0; i < count; ++i) {
        bytes[i] = static_cast<char>(i * i >> 3);
    }
    return bytes;
}

/// A picture of 2 by 3 points, as files have it.
std::string MakeBitmap()
{
    const BITMAPINFOHEADER info = {sizeof(info), 2, 3, 1, 24, BI_RGB, 24, 0, 0, 0, 0};
    BITMAPFILEHEADER file = {};
    file.bfType = 0x4D42;
    file.bfOffBits = sizeof(file) + sizeof(info);
    file.bfSize = file.bfOffBits + 24;
    std::string bytes(file.bfSize, '\x55');
    std::memcpy(bytes.data(), &file, sizeof(file));
    std::memcpy(bytes.data() + sizeof(file), &info, sizeof(info));
    return bytes;
}

} // namespace

TEST(ComStreamSystem, KnowsTheInterfacesByTheirIdentifiers)
{
    MemStream* const stream = MemStream::Create(reinterpret_cast<const unsigned char*>("abc"), 3);
    ::IStream* const system = stream->GetSystemStream();
    void* object = nullptr;
    EXPECT_EQ(system->QueryInterface(unknownId, &object), S_OK);
    EXPECT_EQ(system->QueryInterface(streamId, &object), S_OK);
    EXPECT_EQ(object, system);
    STATSTG status;
    EXPECT_EQ(system->Stat(&status, STATFLAG_NONAME), S_OK);
    EXPECT_EQ(status.cbSize.QuadPart, 3u);
    FILETIME now;
    GetSystemTimeAsFileTime(&now);
    EXPECT_EQ(status.mtime.dwHighDateTime, now.dwHighDateTime);
    EXPECT_EQ(system->Release(), 2u);
    EXPECT_EQ(system->Release(), 1u);
    EXPECT_EQ(system->Release(), 0u);
}

TEST(ComStreamSystem, ShellHelpersReadWriteAndMeasure)
{
    const auto read = Find<HRESULT __stdcall(::IStream*, void*, ULONG)>("shlwapi", "IStream_Read");
    const auto write = Find<HRESULT __stdcall(::IStream*, const void*, ULONG)>("shlwapi", "IStream_Write");
    const auto reset = Find<HRESULT __stdcall(::IStream*)>("shlwapi", "IStream_Reset");
    const auto size = Find<HRESULT __stdcall(::IStream*, ULARGE_INTEGER*)>("shlwapi", "IStream_Size");
    ASSERT_TRUE(read && write && reset && size);
    QVHandle handle = BMAllocateHandle(0, 0, 0);
    QVHandleStream* const stream = QVHandleStream::Create(handle, false);
    ::IStream* const system = stream->GetSystemStream();
    const std::string bytes = MakeBytes(5000);
    EXPECT_EQ(write(system, bytes.data(), 5000), S_OK);
    ULARGE_INTEGER length = {};
    EXPECT_EQ(size(system, &length), S_OK);
    EXPECT_EQ(length.QuadPart, 5000u);
    EXPECT_EQ(reset(system), S_OK);
    std::string back(5000, '\0');
    EXPECT_EQ(read(system, back.data(), 5000), S_OK);
    EXPECT_EQ(back, bytes);
    EXPECT_NE(read(system, back.data(), 1), S_OK) << "at the end";
    stream->Release();
    BMKillHandle(&handle);
}

TEST(ComStreamSystem, StreamsOfTheSystemCopyIntoOursAndBack)
{
    const std::string bytes = MakeBytes(100000);
    ::IStream* const system = MakeSystemStream(bytes);
    QVHandle handle = BMAllocateHandle(0, 0, 0);
    QVHandleStream* const stream = QVHandleStream::Create(handle, false);
    ULARGE_INTEGER most;
    most.QuadPart = ~0ull;
    ULARGE_INTEGER read = {};
    ULARGE_INTEGER written = {};
    EXPECT_EQ(system->CopyTo(stream->GetSystemStream(), most, &read, &written), S_OK);
    EXPECT_EQ(written.QuadPart, bytes.size());
    EXPECT_EQ(GetBytes(handle), bytes);

    ::IStream* const other = MakeSystemStream("");
    EXPECT_EQ(stream->Seek(0, Com::SeekFromStart, nullptr), Com::Ok);
    EXPECT_EQ(stream->GetSystemStream()->CopyTo(other, most, &read, &written), S_OK);
    EXPECT_EQ(written.QuadPart, bytes.size());
    std::string back(bytes.size(), '\0');
    EXPECT_EQ(other->Seek({}, STREAM_SEEK_SET, nullptr), S_OK);
    EXPECT_EQ(other->Read(back.data(), static_cast<ULONG>(back.size()), nullptr), S_OK);
    EXPECT_EQ(back, bytes);

    other->Release();
    system->Release();
    stream->Release();
    BMKillHandle(&handle);
}

TEST(ComStreamSystem, ReferencesAreMarshalledThroughAHandle)
{
    ASSERT_GE(Find<decltype(CoInitializeEx)>("ole32", "CoInitializeEx")(nullptr, COINIT_MULTITHREADED), S_OK);
    QVHandle handle = BMAllocateHandle(0, 0, 0);
    QVHandleStream* const stream = QVHandleStream::Create(handle, false);
    ::IStream* const object = MakeSystemStream("abc");
    void* same = nullptr;
    EXPECT_EQ(Find<decltype(CoMarshalInterface)>("ole32", "CoMarshalInterface")(
                  stream->GetSystemStream(), streamId, object, MSHCTX_INPROC, nullptr, MSHLFLAGS_NORMAL),
              S_OK);
    EXPECT_GT(BMGetHandleSize(handle), 16);
    EXPECT_EQ(stream->Seek(0, Com::SeekFromStart, nullptr), Com::Ok);
    EXPECT_EQ(Find<decltype(CoUnmarshalInterface)>("ole32", "CoUnmarshalInterface")(stream->GetSystemStream(),
                                                                                    streamId, &same),
              S_OK);
    EXPECT_EQ(same, object);
    static_cast<::IStream*>(same)->Release();
    object->Release();
    stream->Release();
    BMKillHandle(&handle);
    Find<decltype(CoUninitialize)>("ole32", "CoUninitialize")();
}

TEST(ComStreamSystem, APictureIsLoadedFromMemoryAndFromAHandle)
{
    constexpr GUID pictureId = {0x7BF80980, 0xBF32, 0x101A, {0x8B, 0xBB, 0, 0xAA, 0, 0x30, 0x0C, 0xAB}};
    const auto load = Find<decltype(OleLoadPicture)>("oleaut32", "OleLoadPicture");
    const std::string bytes = MakeBitmap();
    QVHandle handle = nullptr;
    ASSERT_EQ(BMPtrToHandle(bytes.data(), &handle, static_cast<Int32>(bytes.size())), 0);
    ComStream* const streams[] = {MemStream::Create(reinterpret_cast<const unsigned char*>(bytes.data()),
                                                    static_cast<UInt32>(bytes.size())),
                                  QVHandleStream::Create(handle, true)};
    for (ComStream* const stream : streams) {
        void* object = nullptr;
        ASSERT_EQ(load(stream->GetSystemStream(), 0, TRUE, pictureId, &object), S_OK);
        IPicture* const picture = static_cast<IPicture*>(object);
        OLE_HANDLE bitmap = 0;
        ASSERT_EQ(picture->get_Handle(&bitmap), S_OK);
        BITMAP about = {};
        const HBITMAP image = reinterpret_cast<HBITMAP>(static_cast<USize>(bitmap));
        EXPECT_NE(Find<decltype(GetObjectA)>("gdi32", "GetObjectA")(image, sizeof(about), &about), 0);
        EXPECT_EQ(about.bmWidth, 2);
        EXPECT_EQ(about.bmHeight, 3);
        picture->Release();
        EXPECT_EQ(stream->Release(), 0u) << "the system keeps a reference";
    }
    BMKillHandle(&handle);
}

} // namespace QV
