#include <QVRoot/Exceptions/StackCaptureImpl.hpp>
#include <QVRoot/Threading/CriticalSectionImpl.hpp>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <cxxabi.h>
#include <windows.h>
// Needs the types of the former.
#include <dbghelp.h>

namespace QV::Impl {

namespace {

/// The system's symbol reader. It is not made for several threads, so all calls go through one lock. Loaded
/// on first use: most programs never name an address.
class SymbolReader {
public:
    struct Function {
        char name[512];
        UInt64 offset;
    };
    struct Line {
        char file[MAX_PATH];
        UInt32 number;
    };

    bool FindFunction(UInt64 address, Function& function) noexcept
    {
        const CriticalSectionGuard guard(lock_);
        if (!IsReady()) {
            return false;
        }
        if (!ReadFunction(address, function)) {
            refreshModules_(process_); // loaded since?
            return ReadFunction(address, function);
        }
        return true;
    }

    bool FindLine(UInt64 address, Line& line) noexcept
    {
        const CriticalSectionGuard guard(lock_);
        IMAGEHLP_LINE64 info = {};
        info.SizeOfStruct = sizeof info;
        DWORD column = 0;
        if (!IsReady() || !getLine_(process_, address, &column, &info) || info.FileName == nullptr) {
            return false;
        }
        std::snprintf(line.file, sizeof line.file, "%s", info.FileName);
        line.number = info.LineNumber;
        return true;
    }

private:
    template <typename F>
    static bool Load(HMODULE module, const char* name, F& function) noexcept
    {
        function = reinterpret_cast<F>(reinterpret_cast<void*>(GetProcAddress(module, name)));
        return function != nullptr;
    }

    bool IsReady() noexcept
    {
        if (state_ == NotLoaded) {
            state_ = LoadReader() ? Ready : Missing;
        }
        return state_ == Ready;
    }

    bool LoadReader() noexcept
    {
        const HMODULE module = LoadLibraryW(L"dbghelp.dll");
        decltype(&SymInitialize) initialize;
        decltype(&SymGetOptions) getOptions;
        decltype(&SymSetOptions) setOptions;
        if (module == nullptr || !Load(module, "SymInitialize", initialize) ||
            !Load(module, "SymGetOptions", getOptions) || !Load(module, "SymSetOptions", setOptions) ||
            !Load(module, "SymRefreshModuleList", refreshModules_) ||
            !Load(module, "SymFromAddr", fromAddress_) || !Load(module, "SymGetLineFromAddr64", getLine_)) {
            return false;
        }
        process_ = GetCurrentProcess();
        setOptions(getOptions() | SYMOPT_LOAD_LINES | SYMOPT_DEFERRED_LOADS);
        // The program itself may have been first: then it has been set up already.
        return initialize(process_, nullptr, TRUE) || GetLastError() == ERROR_INVALID_PARAMETER;
    }

    bool ReadFunction(UInt64 address, Function& function) noexcept
    {
        struct {
            SYMBOL_INFO info;
            char rest[sizeof function.name];
        } symbol = {};
        symbol.info.SizeOfStruct = sizeof symbol.info;
        symbol.info.MaxNameLen = sizeof function.name;
        DWORD64 offset = 0;
        if (!fromAddress_(process_, address, &offset, &symbol.info)) {
            return false;
        }
        std::snprintf(function.name, sizeof function.name, "%s", symbol.info.Name);
        function.offset = offset;
        return function.name[0] != 0;
    }

    enum { NotLoaded, Ready, Missing } state_ = NotLoaded;
    CriticalSection lock_;
    HANDLE process_ = nullptr;
    decltype(&SymRefreshModuleList) refreshModules_ = nullptr;
    decltype(&SymFromAddr) fromAddress_ = nullptr;
    decltype(&SymGetLineFromAddr64) getLine_ = nullptr;
};

constinit SymbolReader symbolReader;

struct Module {
    char name[MAX_PATH];
    UInt64 base;
};

bool FindModule(UInt64 address, Module& module) noexcept
{
    HMODULE handle = nullptr;
    constexpr DWORD ByAddress =
        GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT;
    wchar_t path[MAX_PATH];
    if (!GetModuleHandleExW(ByAddress, reinterpret_cast<const wchar_t*>(address), &handle) ||
        GetModuleFileNameW(handle, path, MAX_PATH) == 0) {
        return false;
    }
    path[MAX_PATH - 1] = 0;
    const wchar_t* slash = std::wcsrchr(path, L'\\');
    const wchar_t* file = slash != nullptr ? slash + 1 : path;
    module.base = reinterpret_cast<UInt64>(handle);
    return WideCharToMultiByte(CP_UTF8, 0, file, -1, module.name, MAX_PATH, nullptr, nullptr) != 0;
}

/// Appends to a text of limited size; what does not fit is cut.
class TextWriter {
public:
    TextWriter(char* text, USize size) noexcept : at_(text), left_(size) { *text = 0; }

    template <typename... Arguments>
    void Append(const char* format, Arguments... arguments) noexcept
    {
        const int wanted = std::snprintf(at_, left_, format, arguments...);
        const USize written = wanted < 0 ? 0 : static_cast<USize>(wanted) < left_ ? wanted : left_ - 1;
        at_ += written;
        left_ -= written;
    }

private:
    char* at_;
    USize left_;
};

void AppendName(TextWriter& writer, const char* name, NameForm form) noexcept
{
    char* demangled = nullptr;
    if (form == NameForm::Demangled && name[0] == '_' && name[1] == 'Z') {
        demangled = abi::__cxa_demangle(name, nullptr, nullptr, nullptr);
    }
    writer.Append("%s", demangled != nullptr ? demangled : name);
    std::free(demangled);
}

} // namespace

// The raw form keeps away from the symbol reader as well, which works on the heap.
void DescribeAddress(void* address, char* text, USize size, NameForm form) noexcept
{
    if (size == 0) {
        return;
    }
    TextWriter writer(text, size);
    // The call is what counts: behind one that never returns, another function may begin.
    const UInt64 call = reinterpret_cast<UInt64>(address) - 1;
    Module module;
    if (address == nullptr || !FindModule(call, module)) {
        writer.Append("%p", address);
        return;
    }
    SymbolReader::Function function;
    if (form == NameForm::Raw || !symbolReader.FindFunction(call, function)) {
        writer.Append("%s+0x%llx", module.name, call + 1 - module.base);
        return;
    }
    AppendName(writer, function.name, form);
    writer.Append("+0x%llx (%s)", function.offset + 1, module.name);
    SymbolReader::Line line;
    if (symbolReader.FindLine(call, line)) {
        writer.Append(" [%s:%u]", line.file, line.number);
    }
}

} // namespace QV::Impl
