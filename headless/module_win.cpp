#include "headless/module.h"

#include <windows.h>

namespace headless {

namespace {

std::string last_error_text() {
    const DWORD code = GetLastError();
    char buf[512] = {};
    const DWORD n = FormatMessageA(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, code, 0, buf,
                                   sizeof buf, nullptr);
    std::string s(buf, n);
    while (!s.empty() && (s.back() == '\r' || s.back() == '\n' || s.back() == '.')) s.pop_back();
    return s.empty() ? "error " + std::to_string(code) : s;
}

}  // namespace

// As After Effects loads a plug-in: LoadLibrary, the registration record
// from the module's resource PIPL 16000, the entry point by name.
Module::Module(const std::string& path, const std::string& entry_name) : path_(path), entry_name_(entry_name) {
    HMODULE module = LoadLibraryA(path.c_str());
    if (!module) throw ModuleError("cannot load effect module " + path + ": " + last_error_text());
    handle_ = module;
    FARPROC entry = GetProcAddress(module, entry_name.c_str());
    if (!entry) {
        FreeLibrary(module);
        handle_ = nullptr;
        throw ModuleError("effect module " + path + " does not export " + entry_name);
    }
    entry_ = reinterpret_cast<PF_FilterProc>(reinterpret_cast<void*>(entry));
    if (HRSRC res = FindResourceA(module, MAKEINTRESOURCEA(16000), "PIPL")) {
        const DWORD size = SizeofResource(module, res);
        HGLOBAL loaded = LoadResource(module, res);
        const auto* bytes = static_cast<const unsigned char*>(loaded ? LockResource(loaded) : nullptr);
        if (bytes && size > 0) pipl_bytes_.assign(bytes, bytes + size);
    }
}

Module::~Module() {
    if (handle_) FreeLibrary(static_cast<HMODULE>(handle_));
}

void* Module::symbol(const std::string& name) const {
    return handle_ ? reinterpret_cast<void*>(GetProcAddress(static_cast<HMODULE>(handle_), name.c_str())) : nullptr;
}

}  // namespace headless
