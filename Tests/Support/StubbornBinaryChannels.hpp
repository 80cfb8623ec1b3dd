/// Binary channels over a string that move a few bytes at a time and end or fail after a given number.
#pragma once

#include <QVRoot/Channel/IBinaryChannel.hpp>
#include <QVRoot/Channel/OBinaryChannel.hpp>
#include <QVRoot/Exceptions/IOExceptions.hpp>

#include <algorithm>
#include <string>

namespace QV::Test {

/// Delivers at most `most` bytes a read, ends behind the bytes, and fails at `faultAt`.
class StubbornIBinaryChannel : public IBinaryChannel {
public:
    explicit StubbornIBinaryChannel(std::string bytes, UInt32 most = ~0u, USize faultAt = ~USize{0})
        : bytes_(std::move(bytes)), most_(most), faultAt_(faultAt)
    {
    }

    UInt64 GetAvailable() override { return bytes_.size() - position_; }
    bool IsEOI() override { return position_ == bytes_.size(); }
    void Close() override { isClosed = true; }
    USize GetPosition() const { return position_; }

    bool isClosed = false;

protected:
    UInt32 ReadBytes(char* dest, UInt32 n, ReadSomeModeSelector) override
    {
        if (position_ == faultAt_) {
            QV_THROW(ReadErrorException, "the fault");
        }
        const USize left = std::min<USize>(bytes_.size(), faultAt_) - position_;
        const UInt32 got = static_cast<UInt32>(std::min<USize>({n, most_, left}));
        bytes_.copy(dest, got, position_);
        position_ += got;
        return got;
    }

private:
    std::string bytes_;
    UInt32 most_;
    USize faultAt_;
    USize position_ = 0;
};

/// Takes bytes up to `faultAt` and then fails. Notes how the writes were cut.
class StubbornOBinaryChannel : public OBinaryChannel {
public:
    explicit StubbornOBinaryChannel(USize faultAt = ~USize{0}) : faultAt_(faultAt) {}

    void Flush() override { ++flushes; }
    void Close() override { isClosed = true; }

    std::string bytes;
    std::string sizes; ///< of the writes
    int flushes = 0;
    bool isClosed = false;

protected:
    void WriteBytes(const char* data, UInt32 n) override
    {
        bytes.append(data, std::min<USize>(n, faultAt_ - bytes.size()));
        sizes += std::to_string(n) + ' ';
        if (bytes.size() == faultAt_) {
            QV_THROW(WriteErrorException, "the fault");
        }
    }

private:
    USize faultAt_;
};

} // namespace QV::Test
