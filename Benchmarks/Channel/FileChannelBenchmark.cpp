// File channels against the C library's streams and the system's own calls, over files that are in its cache.
// Times are for a file of 4 MiB; blocks have the size that `Copy` moves.
#include <Host/IFileChannel.hpp>
#include <Host/OFileChannel.hpp>

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace {

using namespace QV;
using namespace QV::Host;

constexpr UInt32 fileSize = 4 << 20;
constexpr UInt32 blockSize = 4096;

/// A folder with a file to read.
class Folder {
public:
    Folder()
    {
        path_ = mkdtemp(path_.data());
        const std::string bytes(fileSize, 'f');
        std::FILE* const file = std::fopen(Get("in").c_str(), "wb");
        std::fwrite(bytes.data(), 1, bytes.size(), file);
        std::fclose(file);
    }
    ~Folder()
    {
        std::remove(Get("in").c_str());
        std::remove(Get("out").c_str());
        rmdir(path_.c_str());
    }
    std::string Get(const char* name) const { return path_ + '/' + name; }
    UniString GetName(const char* name) const { return UniString(Get(name).c_str(), UTF8CharCode); }

private:
    std::string path_ = "/tmp/qvroot-bench-XXXXXX";
};

void Fail(benchmark::State& state, bool failed)
{
    if (failed) {
        state.SkipWithError("a file cannot be opened, read or written");
    }
}

void SetBytes(benchmark::State& state)
{
    state.SetBytesProcessed(state.iterations() * fileSize);
}

void ReadQV(benchmark::State& state)
{
    const Folder folder;
    const UInt32 block = static_cast<UInt32>(state.range(0));
    std::vector<char> buffer(block);
    IFileChannel in;
    for (auto _ : state) {
        Fail(state, in.Open(folder.GetName("in")) != NoError);
        UInt32 got = block;
        while (got == block) {
            in.ReadBin(buffer.data(), block, &got);
        }
    }
    SetBytes(state);
}

void ReadStdio(benchmark::State& state)
{
    const Folder folder;
    const UInt32 block = static_cast<UInt32>(state.range(0));
    std::vector<char> buffer(block);
    for (auto _ : state) {
        std::FILE* const file = std::fopen(folder.Get("in").c_str(), "rb");
        while (std::fread(buffer.data(), 1, block, file) == block) {
        }
        std::fclose(file);
    }
    SetBytes(state);
}

void ReadCalls(benchmark::State& state)
{
    const Folder folder;
    const UInt32 block = static_cast<UInt32>(state.range(0));
    std::vector<char> buffer(block);
    for (auto _ : state) {
        const int file = open(folder.Get("in").c_str(), O_RDONLY | O_CLOEXEC);
        while (read(file, buffer.data(), block) > 0) {
        }
        close(file);
    }
    SetBytes(state);
}

void WriteQV(benchmark::State& state)
{
    const Folder folder;
    const UInt32 block = static_cast<UInt32>(state.range(0));
    const std::vector<char> buffer(block, 'w');
    OFileChannel out;
    for (auto _ : state) {
        Fail(state, out.Open(folder.GetName("out")) != NoError);
        for (UInt32 done = 0; done < fileSize; done += block) {
            out.WriteBin(buffer.data(), block, nullptr);
        }
        Fail(state, out.Flush() != NoError);
        out.Discard();
    }
    SetBytes(state);
}

void WriteStdio(benchmark::State& state)
{
    const Folder folder;
    const UInt32 block = static_cast<UInt32>(state.range(0));
    const std::vector<char> buffer(block, 'w');
    for (auto _ : state) {
        std::FILE* const file = std::fopen(folder.Get("out").c_str(), "wb");
        for (UInt32 done = 0; done < fileSize; done += block) {
            std::fwrite(buffer.data(), 1, block, file);
        }
        std::fclose(file);
        std::remove(folder.Get("out").c_str());
    }
    SetBytes(state);
}

void WriteCalls(benchmark::State& state)
{
    const Folder folder;
    const UInt32 block = static_cast<UInt32>(state.range(0));
    const std::vector<char> buffer(block, 'w');
    for (auto _ : state) {
        const int file = open(folder.Get("out").c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        for (UInt32 done = 0; done < fileSize; done += block) {
            Fail(state, write(file, buffer.data(), block) != static_cast<ssize_t>(block));
        }
        close(file);
        unlink(folder.Get("out").c_str());
    }
    SetBytes(state);
}

void CopyQV(benchmark::State& state)
{
    const Folder folder;
    IFileChannel in;
    OFileChannel out;
    for (auto _ : state) {
        Fail(state, in.Open(folder.GetName("in")) != NoError || out.Open(folder.GetName("out")) != NoError);
        Fail(state, Copy(in, out, ~UInt64{0}) != NoError || out.Flush() != NoError);
        out.Discard();
    }
    SetBytes(state);
}

void CopyStdio(benchmark::State& state)
{
    const Folder folder;
    char buffer[blockSize];
    for (auto _ : state) {
        std::FILE* const in = std::fopen(folder.Get("in").c_str(), "rb");
        std::FILE* const out = std::fopen(folder.Get("out").c_str(), "wb");
        std::size_t got = 0;
        while ((got = std::fread(buffer, 1, blockSize, in)) != 0) {
            std::fwrite(buffer, 1, got, out);
        }
        std::fclose(in);
        std::fclose(out);
        std::remove(folder.Get("out").c_str());
    }
    SetBytes(state);
}

void CopyCalls(benchmark::State& state)
{
    const Folder folder;
    char buffer[blockSize];
    for (auto _ : state) {
        const int in = open(folder.Get("in").c_str(), O_RDONLY | O_CLOEXEC);
        const int out = open(folder.Get("out").c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        ssize_t got = 0;
        while ((got = read(in, buffer, blockSize)) > 0) {
            Fail(state, write(out, buffer, static_cast<std::size_t>(got)) != got);
        }
        close(in);
        close(out);
        unlink(folder.Get("out").c_str());
    }
    SetBytes(state);
}

/// A file replaced for good: on the disk before the old one is gone.
void ReplaceQV(benchmark::State& state)
{
    const Folder folder;
    OFileChannel out;
    for (auto _ : state) {
        Fail(state, out.Open(folder.GetName("out")) != NoError);
        out.WriteBin("content", 7, nullptr);
        Fail(state, out.Commit() != NoError);
    }
}

void ReplaceCalls(benchmark::State& state)
{
    const Folder folder;
    const std::string name = folder.Get("out");
    const std::string temporary = folder.Get("tmp");
    for (auto _ : state) {
        const int file = open(temporary.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        Fail(state, write(file, "content", 7) != 7 || fsync(file) != 0);
        close(file);
        Fail(state, rename(temporary.c_str(), name.c_str()) != 0);
        const int entry = open(folder.Get("").c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        fsync(entry);
        close(entry);
    }
}

#define QV_FILES(workload)                                                                                   \
    BENCHMARK(workload##QV)->Name(#workload "/QVFileChannel")->Arg(64)->Arg(4096)->Arg(65536);               \
    BENCHMARK(workload##Stdio)->Name(#workload "/stdio")->Arg(64)->Arg(4096)->Arg(65536);                    \
    BENCHMARK(workload##Calls)->Name(#workload "/system calls")->Arg(64)->Arg(4096)->Arg(65536);
QV_FILES(Read)
QV_FILES(Write)
BENCHMARK(CopyQV)->Name("Copy/QVFileChannel");
BENCHMARK(CopyStdio)->Name("Copy/stdio");
BENCHMARK(CopyCalls)->Name("Copy/system calls");
BENCHMARK(ReplaceQV)->Name("Replace/QVFileChannel")->UseRealTime();
BENCHMARK(ReplaceCalls)->Name("Replace/system calls")->UseRealTime();

} // namespace
