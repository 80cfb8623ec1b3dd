#include <QVRoot/BasicEnvironment/DebugValues.hpp>
#include <QVRoot/MemoryManagement/BlockMemoryImpl.hpp>
#include <QVRoot/MemoryManagement/Core/MemoryManager.hpp>
#include <QVRoot/MemoryManagement/HeapWalkImpl.hpp>

#include <cstdarg>
#include <cstdio>

namespace QV {

namespace {

/// What a listing holds. The interface's flags are turned into these, debug values add to them.
enum DumpFlags : UInt32 {
    DumpBlocksInUse = 0x1,
    DumpFreeBlocks = 0x2,
    DumpAllSizes = 0x10,
    DumpTitle = 0x100,
    DumpRuntimeHeap = 0x200,
    DumpKeepFile = 0x10000000,
};

constexpr const char* DumpSection = "QVRoot\\QVMem\\HeapDump";
constexpr const char* RuntimeDumpSection = "QVRoot\\MSVCRT\\HeapDump";

constexpr char Frame[] = "#####################################################"
                         "#####################################################";
constexpr char Title[] = "####                                         MAC EMU HEAP DUMP                     "
                         "                  #####";
constexpr char RuntimeTitle[] = "####                                          MSVCRT HEAP DUMP              "
                                "                         #####";
static_assert(sizeof(Frame) == 107 && sizeof(Title) == 107 && sizeof(RuntimeTitle) == 107);

UInt32 GetDumpFlags(UInt32 flags)
{
    UInt32 dump = 0;
    if ((flags & BMDumpAllSizes) != 0) {
        dump |= DumpAllSizes;
    }
    if ((flags & BMDumpNewFile) != 0) {
        dump |= DumpTitle;
    }
    if ((flags & BMDumpRuntimeHeap) != 0) {
        dump |= DumpRuntimeHeap | DumpBlocksInUse | 0x8;
    }
    if ((flags & BMDumpReserved) != 0) {
        dump |= 0x20;
    }
    return dump | static_cast<UInt32>(DBGetLong(DumpSection, "dumpFlags", 0)) |
           static_cast<UInt32>(DBGetLong(RuntimeDumpSection, "dumpFlags", 0));
}

/// Where the lines go: a file, or the debug output.
class Listing {
public:
    Listing(const char* fileName, bool truncate)
        : toFile_(fileName != nullptr),
          file_(toFile_ ? std::fopen(fileName, truncate ? "wb" : "ab") : nullptr)
    {
    }
    ~Listing()
    {
        if (file_ != nullptr) {
            std::fclose(file_);
        }
    }
    Listing(const Listing&) = delete;
    Listing& operator=(const Listing&) = delete;

    void Write(const char* format, ...) QV_PRINTF_LIKE(2, 3);

    void WriteTitle(const char* title)
    {
        Write("%s", Frame);
        Write("%s", title);
        Write("%s", Frame);
    }

private:
    bool toFile_;
    std::FILE* file_;
};

void Listing::Write(const char* format, ...)
{
    char line[128];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(line, sizeof(line), format, arguments);
    va_end(arguments);
    if (!toFile_) {
        DBPrintf("%s\r\n", line);
    } else if (file_ != nullptr) {
        std::fprintf(file_, "%s\r\n", line);
    }
}

struct Total {
    Int64 bytes = 0;
    Int64 blocks = 0;

    void Add(Int64 size)
    {
        bytes += size;
        ++blocks;
    }
};

class RuntimeHeapDump {
public:
    RuntimeHeapDump(Listing& listing, UInt32 flags)
        : listing_(listing), flags_(flags),
          minSize_((flags & DumpAllSizes) != 0 ? 0 : DBGetLong(DumpSection, "minBlockSize", 4096)),
          maxSize_(DBGetLong(DumpSection, "maxBlockSize", -1))
    {
    }

    void Write()
    {
        listing_.WriteTitle(RuntimeTitle);
        listing_.Write("LOCATION\tBLOCKSIZE");
        const Impl::HeapStatus status =
            Impl::WalkHeap([](const Impl::HeapBlock& block,
                              void* dump) { static_cast<RuntimeHeapDump*>(dump)->Visit(block); },
                           this);
        listing_.Write("DumpFlags: 0x%08x", flags_);
        listing_.Write("Listed      %10lld bytes in %8lld blocks.", listed_.bytes, listed_.blocks);
        listing_.Write("Alltogether %10lld bytes in %8lld blocks.", all_.bytes, all_.blocks);
        listing_.Write("%s", GetText(status));
        listing_.Write("%s", Frame);
    }

private:
    void Visit(const Impl::HeapBlock& block)
    {
        if ((flags_ & (block.inUse ? DumpBlocksInUse : DumpFreeBlocks)) == 0) {
            return;
        }
        const Int64 size = static_cast<Int64>(block.size);
        all_.Add(size);
        if (size >= minSize_ && (maxSize_ < 0 || size <= maxSize_)) {
            listed_.Add(size);
            listing_.Write("0x%016llX\t%08lld", reinterpret_cast<USize>(block.address), size);
        }
    }

    static const char* GetText(Impl::HeapStatus status) noexcept
    {
        switch (status) {
        case Impl::HeapStatus::End:
            return "OK - end of heap";
        case Impl::HeapStatus::Empty:
            return "OK - empty heap";
        case Impl::HeapStatus::BadPointer:
            return "ERROR - bad pointer to heap";
        case Impl::HeapStatus::BadStart:
            return "ERROR - bad start of heap";
        case Impl::HeapStatus::BadNode:
            return "ERROR - bad node in heap";
        case Impl::HeapStatus::Unknown:
            break;
        }
        return "ERROR - unknown heap status";
    }

    Listing& listing_;
    UInt32 flags_;
    Int64 minSize_;
    Int64 maxSize_;
    Total listed_;
    Total all_;
};

} // namespace

Int32 BMCheckHeap()
{
    Impl::SetOuterError(NoError);
    return MemoryManager::HeapCheck() != 0 ? 0 : -1;
}

void BMDumpHeap(const char* fileName, UInt32 flags)
{
    const UInt32 dump = GetDumpFlags(flags);
    Listing listing(fileName, (dump & (DumpTitle | DumpKeepFile)) == DumpTitle);
    if ((dump & DumpTitle) != 0) {
        listing.WriteTitle(Title);
    }
    if ((dump & DumpRuntimeHeap) != 0) {
        RuntimeHeapDump(listing, dump).Write();
    }
    Impl::SetOuterError(NoError);
}

} // namespace QV
