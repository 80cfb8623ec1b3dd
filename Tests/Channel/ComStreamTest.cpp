#include <QVRoot/BasicEnvironment/ErrorCodes.h>
#include <QVRoot/Channel/MemStream.hpp>
#include <QVRoot/Channel/QVHandleStream.hpp>
#include <QVRoot/Exceptions/GeneralExceptions.hpp>
#include <QVRoot/MemoryManagement/BlockMemory.h>
#include <Tests/Support/FaultSweep.hpp>

#include <cstring>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace QV {

namespace {

const unsigned char digits[] = "0123456789";

/// A handle with bytes and a stream over it, both released in the end.
class HandleStream {
public:
    explicit HandleStream(const std::string& bytes, bool readOnly = false)
    {
        BMPtrToHandle(bytes.data(), &handle_, static_cast<Int32>(bytes.size()));
        stream_ = QVHandleStream::Create(handle_, readOnly);
    }
    ~HandleStream()
    {
        EXPECT_EQ(stream_->Release(), 0u);
        BMKillHandle(&handle_);
    }

    QVHandleStream* operator->() const { return stream_; }
    QVHandleStream* Get() const { return stream_; }
    QVHandle GetHandle() const { return handle_; }
    std::string GetBytes() const
    {
        return std::string(*handle_, static_cast<USize>(BMGetHandleSize(handle_)));
    }
    UInt64 GetPosition() const
    {
        UInt64 position = ~0ull;
        EXPECT_EQ(stream_->Seek(0, Com::SeekFromPosition, &position), Com::Ok);
        return position;
    }

private:
    QVHandle handle_ = nullptr;
    QVHandleStream* stream_;
};

/// Calls that both kinds of stream answer in the same way.
void CheckCommon(ComStream& stream, UInt32 size)
{
    EXPECT_EQ(stream.Commit(0), Com::NotImplemented);
    EXPECT_EQ(stream.LockRegion(0, 1, 0), Com::NotImplemented);
    EXPECT_EQ(stream.Clone(nullptr), Com::NotImplemented);
    void* object = nullptr;
    for (const Guid& id : {Com::UnknownId, Com::StreamId}) {
        ASSERT_EQ(stream.QueryInterface(id, &object), Com::Ok);
        EXPECT_EQ(object, static_cast<Com::IStream*>(&stream));
        EXPECT_EQ(stream.Release(), 1u);
    }
    EXPECT_EQ(stream.QueryInterface(Com::SequentialStreamId, &object), Com::NoInterface);
    EXPECT_EQ(object, nullptr);

    UInt64 position = 7;
    EXPECT_EQ(stream.Seek(-1, Com::SeekFromStart, &position), Com::InvalidFunction);
    EXPECT_EQ(position, ~0ull) << "stored, though refused";
    EXPECT_EQ(stream.Seek(0, 3, &position), Com::InvalidFunction);
    EXPECT_EQ(stream.Seek(-2, Com::SeekFromEnd, &position), Com::Ok);
    EXPECT_EQ(position, size - 2);
    EXPECT_EQ(stream.Seek(-1, Com::SeekFromPosition, nullptr), Com::Ok);
    EXPECT_EQ(stream.Seek(0x7FFFFFFFFFFFFFFF, Com::SeekFromPosition, &position), Com::InvalidFunction);
    EXPECT_EQ(stream.Seek(0x100000005, Com::SeekFromStart, &position), Com::Ok) << "kept in 32 bits";
    EXPECT_EQ(position, 5u);

    char bytes[16] = {};
    UInt32 read = 77;
    EXPECT_EQ(stream.Read(nullptr, 1, &read), Com::InvalidPointer);
    EXPECT_EQ(stream.Read(bytes, size - 5, &read), Com::Ok) << "exactly to the end";
    EXPECT_EQ(read, size - 5);
    EXPECT_EQ(stream.Read(bytes, 1, &read), Com::False);
    EXPECT_EQ(read, size - 5) << "left alone";

    Com::StreamStatus status;
    std::memset(static_cast<void*>(&status), 0xAA, sizeof(status));
    EXPECT_EQ(stream.Stat(nullptr, 0), Com::InvalidPointer);
    ASSERT_EQ(stream.Stat(&status, 1), Com::Ok);
    EXPECT_TRUE(status.name == nullptr && status.type == 2 && status.size == size);
    EXPECT_TRUE(status.locksSupported == 1 && status.mode + status.stateBits + status.reserved == 0);
    constexpr UInt32 year2020 = 0x01D5C03A; // the upper half of its first moment
    EXPECT_GT(status.modified.high, year2020);
    EXPECT_EQ(status.created.low, status.modified.low);
    EXPECT_EQ(status.accessed.high, status.modified.high);
}

} // namespace

TEST(ComStream, MemoryIsReadAndNeverWritten)
{
    MemStream* const stream = MemStream::Create(digits, 10);
    CheckCommon(*stream, 10);
    char bytes[] = "....";
    UInt32 count = 0;
    EXPECT_EQ(stream->Seek(8, Com::SeekFromStart, nullptr), Com::Ok);
    EXPECT_EQ(stream->Read(bytes, 4, &count), Com::Ok);
    EXPECT_EQ(count, 2u);
    EXPECT_STREQ(bytes, "89..");
    EXPECT_EQ(stream->Write(bytes, 1, &count), Com::NotImplemented);
    EXPECT_EQ(stream->SetSize(1), Com::NotImplemented);
    EXPECT_EQ(stream->CopyTo(stream, 1, nullptr, nullptr), Com::NotImplemented);
    EXPECT_EQ(stream->Release(), 0u);
}

TEST(ComStream, TheEmptyStreamHasRoomForNoByte)
{
    MemStream* const stream = MemStream::Create();
    UInt32 written = 7;
    EXPECT_EQ(stream->Write("", 0, &written), Com::Ok);
    EXPECT_EQ(written, 0u);
    written = 7;
    EXPECT_EQ(stream->Write("a", 1, &written), Com::MediumFull);
    EXPECT_EQ(written, 0u);
    EXPECT_EQ(stream->Seek(0xFFFFFFFF, Com::SeekFromStart, nullptr), Com::Ok);
    EXPECT_EQ(stream->Write("a", 1, nullptr), Com::MediumFull);
    EXPECT_EQ(stream->Write("", 0, nullptr), Com::MediumFull);
    stream->Release();
}

TEST(ComStream, HandlesGrowWithWhatIsWritten)
{
    HandleStream stream("");
    UInt32 written = 0;
    EXPECT_EQ(stream->Write("hello", 5, &written), Com::Ok);
    EXPECT_EQ(written, 5u);
    EXPECT_EQ(stream->Seek(8, Com::SeekFromStart, nullptr), Com::Ok);
    EXPECT_EQ(stream->Write("", 0, &written), Com::Ok);
    EXPECT_EQ(stream.GetBytes().size(), 5u) << "an empty write does not grow";
    EXPECT_EQ(stream->Write("!", 1, nullptr), Com::Ok);
    EXPECT_EQ(stream.GetBytes(), std::string("hello\0\0\0!", 9)) << "the gap is zero";
    EXPECT_EQ(stream->Seek(3, Com::SeekFromStart, nullptr), Com::Ok);
    EXPECT_EQ(stream->Write(*stream.GetHandle(), 9, nullptr), Com::Ok) << "from the handle itself";
    EXPECT_EQ(stream.GetBytes(), std::string("helhello\0\0\0!", 12));
    EXPECT_EQ(stream->Seek(0xFFFFFFF0, Com::SeekFromStart, nullptr), Com::Ok);
    for (const UInt32 n : {16u, 15u}) { // more than 32 bits, and more than a handle holds
        written = 7;
        EXPECT_EQ(stream->Write(digits, n, &written), Com::MediumFull);
        EXPECT_EQ(written, 0u);
    }
    EXPECT_EQ(stream.GetPosition(), 0xFFFFFFF0u);
    EXPECT_EQ(stream.GetBytes().size(), 12u);
    CheckCommon(*stream.Get(), 12);
}

TEST(ComStream, SizesAreSetAndThePositionStays)
{
    HandleStream stream("0123456789");
    EXPECT_EQ(stream->Seek(9, Com::SeekFromStart, nullptr), Com::Ok);
    EXPECT_EQ(stream->SetSize(4), Com::Ok);
    EXPECT_EQ(stream.GetBytes(), "0123");
    EXPECT_EQ(stream.GetPosition(), 9u);
    char c;
    EXPECT_EQ(stream->Read(&c, 1, nullptr), Com::False);
    EXPECT_EQ(stream->SetSize(6), Com::Ok);
    EXPECT_EQ(stream.GetBytes(), std::string("0123\0\0", 6));
    EXPECT_EQ(stream->SetSize(0x100000000), Com::MediumFull);
    EXPECT_EQ(stream->SetSize(0x80000000), Com::MediumFull);
    EXPECT_EQ(stream.GetBytes().size(), 6u);

    // Others may resize the handle in the meantime.
    BMReallocHandle(stream.GetHandle(), 2, 0, 0);
    EXPECT_EQ(stream->Seek(1, Com::SeekFromStart, nullptr), Com::Ok);
    char bytes[] = "......";
    EXPECT_EQ(stream->Read(bytes, 6, nullptr), Com::Ok);
    EXPECT_STREQ(bytes, "1.....");
    BMReallocHandle(stream.GetHandle(), 100, 0, 0);
    EXPECT_EQ(stream->Seek(8, Com::SeekFromStart, nullptr), Com::Ok);
    EXPECT_EQ(stream->Write("xy", 2, nullptr), Com::Ok);
    EXPECT_EQ(stream.GetBytes().substr(8, 2), "xy");
    EXPECT_EQ(stream.GetBytes().size(), 100u) << "not cut off";
}

TEST(ComStream, CopyingLeavesThePosition)
{
    const HandleStream source("0123456789");
    HandleStream target("");
    UInt64 read = 0;
    UInt64 written = 0;
    ASSERT_EQ(source->Seek(4, Com::SeekFromStart, nullptr), Com::Ok);
    EXPECT_EQ(source->CopyTo(target.Get(), 3, &read, &written), Com::Ok);
    EXPECT_EQ(read + written, 6u);
    EXPECT_EQ(source->CopyTo(target.Get(), ~0ull, nullptr, nullptr), Com::Ok);
    EXPECT_EQ(target.GetBytes(), "456456789");
    EXPECT_EQ(source.GetPosition(), 4u);
    EXPECT_EQ(source->CopyTo(nullptr, 1, &read, &written), Com::InvalidPointer);
    EXPECT_EQ(source->CopyTo(source.Get(), 1, &read, &written), Com::InvalidPointer);
    HandleStream closed("", true);
    ASSERT_EQ(source->Seek(0, Com::SeekFromStart, nullptr), Com::Ok);
    EXPECT_EQ(source->CopyTo(closed.Get(), 2, &read, &written), Com::NotImplemented)
        << "what the target answers";
    EXPECT_EQ(read, 2u);
    EXPECT_EQ(written, 0u);

    // Both over one handle: what is written makes the bytes move that are copied.
    QVHandleStream* const same = QVHandleStream::Create(source.GetHandle(), false);
    ASSERT_EQ(same->Seek(0, Com::SeekFromEnd, nullptr), Com::Ok);
    EXPECT_EQ(source->CopyTo(same, 10, nullptr, &written), Com::Ok);
    EXPECT_EQ(source.GetBytes(), "01234567890123456789");
    same->Release();
}

TEST(ComStream, HandlesMayBeReadOnlyOrEmptyOrMissing)
{
    EXPECT_EQ(QVHandleStream::Create(nullptr, true), nullptr);
    const HandleStream locked("ab", true);
    UInt32 written = 7;
    EXPECT_EQ(locked->Write("x", 1, &written), Com::NotImplemented);
    EXPECT_EQ(written, 7u);
    EXPECT_EQ(locked->SetSize(1), Com::NotImplemented);
    EXPECT_EQ(locked.GetBytes(), "ab");

    QVHandle handle = BMAllocateHandle(0, BMMakeEmpty, 0);
    QVHandleStream* const stream = QVHandleStream::Create(handle, false);
    char c;
    EXPECT_EQ(stream->Read(&c, 1, nullptr), Com::False);
    EXPECT_EQ(stream->Write("x", 1, nullptr), Com::False);
    EXPECT_EQ(stream->CopyTo(locked.Get(), 1, nullptr, nullptr), Com::False);
    EXPECT_EQ(stream->SetSize(3), Com::Ok);
    EXPECT_EQ(stream->Write("x", 1, nullptr), Com::Ok);
    EXPECT_EQ(std::string(*handle, 3), std::string("x\0\0", 3));
    stream->Release();
    BMKillHandle(&handle);
}

TEST(ComStream, AFullMemoryLeavesHandleAndPosition)
{
    const std::vector<char> bytes(100000, 'x');
    Testing::SweepAllocationFailures([&] {
        QVHandle handle = nullptr;
        try {
            BMPtrToHandle("ab", &handle, 2);
        } catch (const OutOfMemoryException&) {
        }
        QVHandleStream* const stream = QVHandleStream::Create(handle, false);
        Com::Result result = Com::MediumFull;
        if (stream != nullptr) {
            UInt32 written = 7;
            UInt64 position = 0;
            result = stream->Write(bytes.data(), 100000, &written);
            EXPECT_EQ(stream->Seek(0, Com::SeekFromPosition, &position), Com::Ok);
            EXPECT_EQ(result, written != 0 ? Com::Ok : Com::MediumFull);
            EXPECT_EQ(position, written);
            EXPECT_EQ(BMGetHandleSize(handle), written != 0 ? 100000 : 2);
            EXPECT_EQ(std::string(*handle, 2), written != 0 ? "xx" : "ab");
            stream->Release();
        }
        BMKillHandle(&handle);
        return result == Com::Ok;
    });
}

} // namespace QV
