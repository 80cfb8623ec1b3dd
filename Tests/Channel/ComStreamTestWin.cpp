// The streams in the hands of the system: its own functions take them for what they claim to be.
#include <QVRoot/Channel/MemStream.hpp>
#include <QVRoot/Channel/QVHandleStream.hpp>
#include <QVRoot/MemoryManagement/BlockMemory.h>

#include <cstddef>
#include <gtest/gtest.h>
#include <string>

#include <objidl.h>
#include <windows.h>

namespace QV {

namespace {

static_assert(sizeof(STATSTG) == sizeof(Com::StreamStatus));
static_assert(offsetof(STATSTG, cbSize) == offsetof(Com::StreamStatus, size));
static_assert(offsetof(STATSTG, ctime) == offsetof(Com::StreamStatus, created));
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

} // namespace

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
    MemStream* const memory = MemStream::Create(reinterpret_cast<const unsigned char*>(bytes.data()), 5000);
    back.assign(5000, 0);
    EXPECT_EQ(size(memory->GetSystemStream(), &length), S_OK);
    EXPECT_EQ(read(memory->GetSystemStream(), back.data(), static_cast<ULONG>(length.QuadPart)), S_OK);
    EXPECT_EQ(back, bytes);
    memory->Release();
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

} // namespace QV
