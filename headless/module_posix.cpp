#include "headless/module.h"

#include <dlfcn.h>

namespace headless {

Module::Module(const std::string& path, const std::string& entry_name) : path_(path), entry_name_(entry_name) {
    handle_ = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!handle_) {
        const char* why = dlerror();
        throw ModuleError("cannot load effect module " + path + ": " + (why ? why : "unknown reason"));
    }
    void* entry = dlsym(handle_, entry_name.c_str());
    if (!entry) {
        dlclose(handle_);
        handle_ = nullptr;
        throw ModuleError("effect module " + path + " does not export " + entry_name);
    }
    entry_ = reinterpret_cast<PF_FilterProc>(entry);
    const auto* bytes = static_cast<const unsigned char*>(dlsym(handle_, "PiPLResourceData"));
    const auto* size = static_cast<const unsigned int*>(dlsym(handle_, "PiPLResourceSize"));
    if (bytes && size) pipl_bytes_.assign(bytes, bytes + *size);
}

Module::~Module() {
    if (handle_) dlclose(handle_);
}

void* Module::symbol(const std::string& name) const { return handle_ ? dlsym(handle_, name.c_str()) : nullptr; }

}  // namespace headless
