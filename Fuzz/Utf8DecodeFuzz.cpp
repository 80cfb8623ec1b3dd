// Every set of kernels against the reference, in all modes and both directions, and round trips. The first
// byte of the input chooses the room.
#include <QVRoot/String/Transcode/TranscodeImpl.hpp>
#include <QVRoot/String/Unicode.hpp>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>

using namespace QV;
using namespace QV::Impl;

namespace {

/// A block of exactly the size needed, so that the address sanitizer sees every step outside.
template <class Unit>
class Block {
public:
    explicit Block(int count) : units_(new Unit[static_cast<USize>(count)]), count_(count) {}
    Block(const void* source, int count) : Block(count)
    {
        if (count > 0) {
            std::memcpy(units_.get(), source, static_cast<USize>(count) * sizeof(Unit));
        }
    }

    Unit* Get() const { return units_.get(); }
    int GetCount() const { return count_; }
    bool BeginsLike(const Block& other, int count) const
    {
        return std::memcmp(Get(), other.Get(), static_cast<USize>(count) * sizeof(Unit)) == 0;
    }

private:
    std::unique_ptr<Unit[]> units_;
    int count_;
};

void Require(bool condition)
{
    if (!condition) {
        std::abort();
    }
}

int Convert(const TranscodeKernels& kernels, const char* source, int length, unsigned short* target, int room,
            bool strict)
{
    USize trouble = 0;
    return ConvertToUtf16(kernels, source, length, target, room, strict, trouble);
}

int Convert(const TranscodeKernels& kernels, const unsigned short* source, int length, char* target, int room,
            bool strict)
{
    return ConvertToUtf8(kernels, source, length, target, room, strict);
}

int ConvertPlainly(const char* source, int length, unsigned short* target, int room, bool strict)
{
    return ReferenceUTF8ToUTF16(source, length, target, room, strict);
}

int ConvertPlainly(const unsigned short* source, int length, char* target, int room, bool strict)
{
    return ReferenceUTF16ToUTF8(source, length, target, room, strict);
}

/// Compares counting and converting into `room` units.
template <class Target, class Source>
void Compare(const TranscodeKernels& kernels, const Source* source, int length, int room, bool strict)
{
    const int count = ConvertPlainly(source, length, static_cast<Target*>(nullptr), 0, strict);
    Require(Convert(kernels, source, length, static_cast<Target*>(nullptr), 0, strict) == count);
    if (room > 0) {
        const Block<Target> expected(room);
        const Block<Target> actual(room);
        const int result = ConvertPlainly(source, length, expected.Get(), room, strict);
        Require(Convert(kernels, source, length, actual.Get(), room, strict) == result);
        Require(result < 1 || actual.BeginsLike(expected, result));
    }
}

template <class Target, class Source>
void CompareAll(const TranscodeKernels& kernels, const Block<Source>& text, int choice)
{
    for (const bool strict : {true, false}) {
        const int count = ConvertPlainly(text.Get(), text.GetCount(), static_cast<Target*>(nullptr), 0, strict);
        const int most = count > 0 ? count : text.GetCount() * 3;
        Compare<Target>(kernels, text.Get(), text.GetCount(), most, strict);
        Compare<Target>(kernels, text.Get(), text.GetCount(), most - choice, strict);
        Compare<Target>(kernels, text.Get(), text.GetCount(), most + choice, strict);
        Block<Source> ended(text.GetCount() + 1);
        std::memcpy(ended.Get(), text.Get(), static_cast<USize>(text.GetCount()) * sizeof(Source));
        ended.Get()[text.GetCount()] = 0;
        Compare<Target>(kernels, ended.Get(), -1, most + 1 - choice, strict);
    }
}

/// What converts strictly comes back the same.
void GoRound(const TranscodeKernels& kernels, const Block<char>& text)
{
    Block<unsigned short> units(text.GetCount());
    const int count = Convert(kernels, text.Get(), text.GetCount(), units.Get(), units.GetCount(), true);
    if (count > 0) {
        Block<char> back(text.GetCount());
        Require(Convert(kernels, units.Get(), count, back.Get(), back.GetCount(), true) == text.GetCount());
        Require(back.BeginsLike(text, text.GetCount()));
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size < 2 || size > 100000) {
        return 0;
    }
    const int choice = data[0];
    const int length = static_cast<int>(size) - 1;
    const Block<char> bytes(data + 1, length);
    const Block<unsigned short> units(data + 1, length / 2);
    const TranscodeKernels* list[maxTranscodeKernels];
    const UInt32 count = ListTranscodeKernels(list);
    for (UInt32 i = 0; i < count; ++i) {
        CompareAll<unsigned short>(*list[i], bytes, choice);
        CompareAll<char>(*list[i], units, choice);
        GoRound(*list[i], bytes);
    }
    return 0;
}
