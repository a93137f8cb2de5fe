#include "headless/module.h"

namespace headless {

PiPL Module::pipl() const {
    if (pipl_bytes_.empty()) throw PiPLError("effect module " + path_ + " carries no registration record (PiPLResourceData)");
    return parse_pipl(pipl_bytes_.data(), pipl_bytes_.size());
}

std::vector<std::string> Module::check(const PiPL& pipl, std::optional<uint32_t> my_version, std::optional<uint32_t> out_flags,
                                       std::optional<uint32_t> out_flags2) const {
    PiPLExpectations e;
    e.exported_entry = entry_name_;
    e.entry_exported = pipl.entry_point && symbol(*pipl.entry_point) != nullptr;
    e.my_version = my_version;
    e.out_flags = out_flags;
    e.out_flags2 = out_flags2;
    return check_pipl(pipl, e);
}

}  // namespace headless
