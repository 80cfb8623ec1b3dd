// A line of a log, sustained to a file. Times are those of all lines together: with more threads they say how
// many nanoseconds pass from one line to the next.
//
// The bare record is what one would write by hand: a struct with a time stamp behind a mutex, into a buffer
// that is written when it is full.

#include <Host/LogFile.hpp>
#include <QVRoot/Logging/Log.hpp>

#include <benchmark/benchmark.h>
#ifdef QV_PEER_SPDLOG
#include <spdlog/async.h>
#include <spdlog/sinks/basic_file_sink.h>
#include <spdlog/spdlog.h>
#endif

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

namespace QV {

namespace {

namespace fs = std::filesystem;

constinit LogCategory measuring("benchmark");

/// The folder of the run that is being measured.
class Folder {
public:
    Folder()
    {
        path_ = fs::temp_directory_path() /
                ("qv-log-benchmark-" +
                 std::to_string(std::chrono::steady_clock::now().time_since_epoch().count()));
        fs::create_directory(path_);
    }
    ~Folder() { fs::remove_all(path_); }

    const fs::path& GetPath() const { return path_; }
    double GetSize() const
    {
        double size = 0;
        for (const auto& file : fs::directory_iterator(path_)) {
            size += static_cast<double>(fs::file_size(file));
        }
        return size;
    }

private:
    fs::path path_;
};

/// What is logged: each subject turns it into its own call.
struct ThreeInts {
    int a, b, c;
};
struct Mixed {
    int number;
    double real;
    const char* text;
};
struct Repeated {
    const char* text;
    Guid id;
};

const Guid someIds[] = {
    Guid("00112233-4455-6677-8899-AABBCCDDEEFF"), Guid("10112233-4455-6677-8899-AABBCCDDEEFF"),
    Guid("20112233-4455-6677-8899-AABBCCDDEEFF"), Guid("30112233-4455-6677-8899-AABBCCDDEEFF")};
const char* const someTexts[] = {"Architecture/Walls/Exterior", "Architecture/Walls/Interior",
                                 "Structure/Columns/Concrete", "Structure/Beams/Steel"};

void Make(int i, ThreeInts& values)
{
    values = {i, i + 1, i + 2};
}
void Make(int i, Mixed& values)
{
    values = {i, i * 0.5, "short"};
}
void Make(int i, Repeated& values)
{
    values = {someTexts[i & 3], someIds[i & 3]};
}

class QVSubject {
public:
    explicit QVSubject(const Folder& folder)
    {
        Host::LogFileSettings settings;
        settings.program = u"benchmark";
        settings.folder = UniString(folder.GetPath().c_str(), UTF8CharCode);
        settings.fileBytes = 0;
        log_.Start(settings);
    }
    void Log(const ThreeInts& v) { QV_LOG(Info, measuring, "point {x} {y} {z} was moved", v.a, v.b, v.c); }
    void Log(const Mixed& v)
    {
        QV_LOG(Info, measuring, "layer {n} of {area} is {name}", v.number, v.real, v.text);
    }
    void Log(const Repeated& v)
    {
        QV_LOG(Info, measuring, "element {id} of {layer} was changed", LogRepeated(v.id),
               LogRepeated(v.text));
    }
    void End() { log_.Stop(); }

private:
    Host::LogFile log_;
};

class BareRecord {
public:
    explicit BareRecord(const Folder& folder)
        : file_(std::fopen((folder.GetPath() / "bare").c_str(), "wb")), buffer_(new char[65536])
    {
        std::setvbuf(file_, nullptr, _IONBF, 0);
    }
    template <class Values>
    void Log(const Values& values)
    {
        struct Record {
            Int64 time;
            UInt32 site;
            UInt32 thread;
            Values values;
        };
        const std::lock_guard guard(mutex_);
        timespec now;
        clock_gettime(CLOCK_REALTIME, &now);
        const Record record = {now.tv_sec * 1'000'000'000 + now.tv_nsec, 17,
                               static_cast<UInt32>(Thread::GetCurrentThreadId()), values};
        if (65536 - used_ < sizeof(record)) {
            WriteOut();
        }
        std::memcpy(buffer_.get() + used_, &record, sizeof(record));
        used_ += sizeof(record);
    }
    void End()
    {
        WriteOut();
        std::fclose(file_);
    }

private:
    void WriteOut()
    {
        benchmark::DoNotOptimize(std::fwrite(buffer_.get(), 1, used_, file_));
        used_ = 0;
    }

    std::FILE* file_;
    std::unique_ptr<char[]> buffer_;
    USize used_ = 0;
    std::mutex mutex_;
};

class Printf {
public:
    explicit Printf(const Folder& folder) : file_(std::fopen((folder.GetPath() / "printf").c_str(), "wb")) {}
    void Log(const ThreeInts& v)
    {
        std::fprintf(file_, "%lld info point %d %d %d was moved\n", Stamp(), v.a, v.b, v.c);
    }
    void Log(const Mixed& v)
    {
        std::fprintf(file_, "%lld info layer %d of %g is %s\n", Stamp(), v.number, v.real, v.text);
    }
    void Log(const Repeated& v)
    {
        char id[Guid::TextSize];
        v.id.ConvertToString(id);
        std::fprintf(file_, "%lld info element %s of %s was changed\n", Stamp(), id, v.text);
    }
    void End() { std::fclose(file_); }

private:
    static long long Stamp()
    {
        timespec now;
        clock_gettime(CLOCK_REALTIME, &now);
        return now.tv_sec * 1'000'000 + now.tv_nsec / 1000;
    }

    std::FILE* file_;
};

#ifdef QV_PEER_SPDLOG
template <bool IsAsync>
class Spdlog {
public:
    explicit Spdlog(const Folder& folder)
    {
        const std::string path = (folder.GetPath() / "spdlog").string();
        auto sink = std::make_shared<spdlog::sinks::basic_file_sink_mt>(path);
        if constexpr (IsAsync) {
            pool_ = std::make_shared<spdlog::details::thread_pool>(8192, 1);
            log_ = std::make_shared<spdlog::async_logger>("log", sink, pool_,
                                                          spdlog::async_overflow_policy::block);
        } else {
            log_ = std::make_shared<spdlog::logger>("log", sink);
        }
    }
    void Log(const ThreeInts& v) { log_->info("point {} {} {} was moved", v.a, v.b, v.c); }
    void Log(const Mixed& v) { log_->info("layer {} of {} is {}", v.number, v.real, v.text); }
    void Log(const Repeated& v)
    {
        char id[Guid::TextSize];
        v.id.ConvertToString(id);
        log_->info("element {} of {} was changed", id, v.text);
    }
    void End()
    {
        log_->flush();
        log_.reset();
        pool_.reset(); // waits for its thread
    }

private:
    std::shared_ptr<spdlog::details::thread_pool> pool_;
    std::shared_ptr<spdlog::logger> log_;
};
#endif

template <class Subject>
std::unique_ptr<Subject> subject;
std::unique_ptr<Folder> folder;

template <class Subject, class Values>
void LogLines(benchmark::State& state)
{
    if (state.thread_index() == 0) {
        // With a second thread about, the standard library's locks are real ones, as in a program that logs.
        std::thread([] {}).join();
        folder = std::make_unique<Folder>();
        subject<Subject> = std::make_unique<Subject>(*folder);
    }
    int i = 0;
    for (auto _ : state) {
        Values values;
        Make(i++, values);
        subject<Subject>->Log(values);
    }
    if (state.thread_index() == 0) {
        const double lines = static_cast<double>(state.iterations()) * state.threads();
        subject<Subject>->End();
        state.counters["bytes/line"] = folder->GetSize() / lines;
        subject<Subject>.reset();
        folder.reset();
    }
}

template <class Subject>
void Register(const std::string& name)
{
    const auto add = [&name](const char* workload, void (*run)(benchmark::State&)) {
        benchmark::RegisterBenchmark((std::string(workload) + "/" + name).c_str(), run)
            ->UseRealTime()
            ->Threads(1)
            ->Threads(2)
            ->Threads(8);
    };
    add("LogThreeInts", LogLines<Subject, ThreeInts>);
    add("LogMixed", LogLines<Subject, Mixed>);
    add("LogRepeated", LogLines<Subject, Repeated>);
}

void LogNothing(benchmark::State& state)
{
    int i = 0;
    for (auto _ : state) {
        QV_LOG(Debug, measuring, "point {x} {y} {z}", i, i + 1, i + 2);
        benchmark::DoNotOptimize(i);
    }
}
BENCHMARK(LogNothing)->Name("LogDisabled/QV");

void LoopOnly(benchmark::State& state)
{
    int i = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(i);
    }
}
BENCHMARK(LoopOnly)->Name("LogDisabled/emptyLoop");

const bool areRegistered = [] {
    Register<QVSubject>("QV");
    Register<BareRecord>("bareRecord");
    Register<Printf>("fprintf");
#ifdef QV_PEER_SPDLOG
    Register<Spdlog<false>>("spdlog");
    Register<Spdlog<true>>("spdlogAsync");
#endif
    return true;
}();

} // namespace

} // namespace QV
