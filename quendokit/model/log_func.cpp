#include "quendokit/model/log_func.hpp"

#include <atomic>
#include <utility>

namespace quendokit {
namespace {

// Read by completions on other threads.
std::shared_ptr<const LogHook> installedHook;

}  // namespace

std::shared_ptr<const LogHook> LogFunc() {
    return std::atomic_load(&installedHook);
}

void setLogFunc(LogHook hook) {
    std::atomic_store(&installedHook, hook ? std::make_shared<const LogHook>(std::move(hook)) : nullptr);
}

}  // namespace quendokit
