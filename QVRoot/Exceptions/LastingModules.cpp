#include <QVRoot/Exceptions/UnwindTableImpl.hpp>

namespace QV::Impl {

namespace {

/// The loader's entries of the modules in question.
class LastingModules {
public:
    bool Contain(const void* loaderEntry) noexcept
    {
        if (!isCollected_.load(std::memory_order_acquire)) [[unlikely]] {
            Collect();
        }
        for (const auto& entry : entries_) {
            if (entry.load(std::memory_order_relaxed) == loaderEntry) {
                return true;
            }
        }
        return false;
    }

private:
    // Needs no lock: every thread finds the same.
    void Collect() noexcept
    {
        UInt64 addresses[LastingMax];
        GetLastingAddresses(addresses);
        for (UInt32 i = 0; i < LastingMax; ++i) {
            CodeModule module;
            FindCodeModule(addresses[i], module);
            entries_[i].store(module.loaderEntry, std::memory_order_relaxed);
        }
        isCollected_.store(true, std::memory_order_release);
    }

    std::atomic<const void*> entries_[LastingMax] = {};
    std::atomic<bool> isCollected_ = false;
};

constinit LastingModules lastingModules;

} // namespace

bool IsLasting(const CodeModule& module) noexcept
{
    return lastingModules.Contain(module.loaderEntry);
}

} // namespace QV::Impl
