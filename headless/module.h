// An effect module loaded by path, as the host loads it: the exported entry
// point and the registration record. On Windows (module_win.cpp) the module
// is loaded with LoadLibrary and the record read from its resource PIPL
// 16000; on Linux the record is exported as the C symbols PiPLResourceData
// (bytes) and PiPLResourceSize (unsigned int), standing in for it.
#pragma once
#include "headless/pipl.h"
#include "hostapi/host_api.h"

#include <stdexcept>
#include <string>
#include <vector>

namespace headless {

class ModuleError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

class Module {
public:
    // Loads the module and finds `entry_name`; throws ModuleError with the
    // loader's reason when either fails.
    explicit Module(const std::string& path, const std::string& entry_name = "EntryPointFunc");
    ~Module();
    Module(const Module&) = delete;
    Module& operator=(const Module&) = delete;

    PF_FilterProc entry() const { return entry_; }
    const std::string& path() const { return path_; }
    const std::string& entry_name() const { return entry_name_; }
    // Address of an exported symbol, or null.
    void* symbol(const std::string& name) const;

    bool has_pipl() const { return !pipl_bytes_.empty(); }
    const std::vector<uint8_t>& pipl_bytes() const { return pipl_bytes_; }
    // The parsed record; throws PiPLError when absent or malformed.
    PiPL pipl() const;
    // check_pipl against this module's exports and the given set-up results.
    std::vector<std::string> check(const PiPL& pipl, std::optional<uint32_t> my_version = std::nullopt,
                                   std::optional<uint32_t> out_flags = std::nullopt,
                                   std::optional<uint32_t> out_flags2 = std::nullopt) const;

private:
    std::string path_;
    std::string entry_name_;
    void* handle_ = nullptr;
    PF_FilterProc entry_ = nullptr;
    std::vector<uint8_t> pipl_bytes_;
};

}  // namespace headless
