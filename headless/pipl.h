// The effect's registration record (PiPL) read the way the host reads it:
// Windows form, little-endian, four-character codes stored as 32-bit numbers.
#pragma once
#include <cstddef>
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace headless {

// A malformed record; what() says where and why.
class PiPLError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// A four-character code as a number, first character in the high byte.
constexpr uint32_t four_cc(const char (&s)[5]) {
    return (uint32_t(uint8_t(s[0])) << 24) | (uint32_t(uint8_t(s[1])) << 16) | (uint32_t(uint8_t(s[2])) << 8) | uint8_t(s[3]);
}
std::string four_cc_text(uint32_t code);

struct PiPLProperty {
    uint32_t key = 0;
    uint32_t id = 0;
    std::vector<uint8_t> data;  // as long as the record's length field says
};

struct PiPL {
    std::vector<PiPLProperty> properties;  // in record order, unknown keys included

    std::optional<uint32_t> kind;          // 'kind'
    std::optional<std::string> name;       // 'name'
    std::optional<std::string> category;   // 'catg'
    std::optional<std::string> entry_point;  // '8664' (Win64 code)
    std::optional<std::string> match_name;   // 'eMNA'
    std::optional<std::string> support_url;  // 'eURL'
    std::optional<uint16_t> pipl_major, pipl_minor;  // 'ePVR'
    std::optional<uint16_t> api_major, api_minor;    // 'eSVR'
    std::optional<uint32_t> version;       // 'eVER', packed like PF_OutData::my_version
    std::optional<uint16_t> info_flags;    // 'eINF'
    std::optional<uint32_t> out_flags;     // 'eGLO'
    std::optional<uint32_t> out_flags2;    // 'eGL2'
    std::optional<uint32_t> ae_flags;      // 'aeFL'
};

// Parses a whole record; throws PiPLError on anything the host would reject
// (short header, wrong reserved word or list version, a property running
// past the end, a vendor other than '8BIM', a Pascal string longer than its
// data or a name or category over 31 characters, an entry name without
// terminator, wrong data sizes, duplicate keys).
PiPL parse_pipl(const uint8_t* data, size_t size);

// What a loaded effect must agree with: kind 'eFKT', name, category and match
// name present, the entry point named in the record exported, and version and
// flags equal to what global set-up reported. One line per disagreement.
struct PiPLExpectations {
    std::string exported_entry;  // name of the symbol the module exports
    bool entry_exported = true;  // whether the record's entry point resolves
    std::optional<uint32_t> my_version, out_flags, out_flags2;
};
std::vector<std::string> check_pipl(const PiPL& pipl, const PiPLExpectations& expect);

}  // namespace headless
