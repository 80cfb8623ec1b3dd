#include <QVRoot/Exceptions/StackCaptureImpl.hpp>
#include <QVRoot/MemoryManagement/Core/Protected/BlockReportImpl.hpp>

#include <algorithm>
#include <cstdarg>
#include <cstdio>

namespace QV::Impl {

TextWriter::TextWriter(char* text, USize size) noexcept : end_(text), left_(size)
{
    if (size != 0) {
        *text = '\0';
    }
}

void TextWriter::Write(const char* format, ...) noexcept
{
    if (left_ == 0) {
        return;
    }
    va_list arguments;
    va_start(arguments, format);
    const int length = std::vsnprintf(end_, left_, format, arguments);
    va_end(arguments);
    const USize written = length < 0 ? 0 : std::min(static_cast<USize>(length), left_ - 1);
    end_ += written;
    left_ -= written;
}

namespace {

UInt64 Number(const void* address) noexcept
{
    return reinterpret_cast<UInt64>(address);
}

void WriteStack(TextWriter& writer, const char* title, const CapturedStack& stack) noexcept
{
    writer.Write("%s by thread %llu:\n", title, stack.thread);
    for (UInt32 i = 0; i < stack.depth; ++i) {
        char name[512];
        DescribeAddress(stack.addresses[i], name, sizeof(name), NameForm::Raw);
        writer.Write("    %s\n", name);
    }
}

} // namespace

void DescribeDamage(TextWriter& writer, const char* byte, const BlockRecord& record) noexcept
{
    const bool inFront = byte < record.block;
    const UInt64 distance =
        inFront ? Number(record.block) - Number(byte) : Number(byte) - Number(record.block) - record.size;
    writer.Write("the nearest one, at 0x%016llX, %llu bytes %s, holds 0x%02X\n", Number(byte), distance,
                 inFront ? "before the block" : "behind its end",
                 static_cast<unsigned>(static_cast<unsigned char>(*byte)));
}

void DescribeBlock(TextWriter& writer, const void* address, const BlockRecord& record,
                   const BlockStacks* stacks) noexcept
{
    const UInt64 position = Number(address);
    const UInt64 begin = Number(record.block);
    const UInt64 end = begin + record.size;
    const bool before = position < begin;
    const bool inside = !before && position < end;
    const UInt64 distance = before ? begin - position : inside ? position - begin : position - end;
    const char* const place = before ? "before" : inside ? "into" : "behind the end of";
    const bool live = record.state == BlockState::Live;
    writer.Write("0x%016llX lies %llu bytes %s a %s block of %llu bytes at 0x%016llX%s\n", position, distance,
                 place, live ? "live" : "freed", record.size, begin,
                 record.region == nullptr ? ", which has no guard page" : "");
    if (stacks != nullptr) {
        WriteStack(writer, "allocated", stacks->allocated);
        if (!live) {
            WriteStack(writer, "freed", stacks->freed);
        }
    }
}

} // namespace QV::Impl
