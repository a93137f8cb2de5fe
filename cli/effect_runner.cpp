#include "cli/effect_runner.h"

#include "cli/cli_error.h"

#include <cstdlib>

namespace tessen::cli {

struct EffectRunner::Impl {};

std::string resolve_module_path(const std::string& option) {
    if (!option.empty()) return option;
    if (const char* env = std::getenv("TESSEN_MODULE"); env && *env) return env;
    return TESSEN_DEFAULT_MODULE;
}

EffectRunner::EffectRunner(const EffectSetup& setup) {
    throw CliError(setup.module_path, "the headless host cannot run the module yet");
}
EffectRunner::~EffectRunner() = default;
AutoSetupResult EffectRunner::press_auto_setup() { return {}; }
void EffectRunner::set_params(const EffectParams&) {}
void EffectRunner::render(int64_t, HostFrame&) {}
std::string EffectRunner::close() { return {}; }

}  // namespace tessen::cli
