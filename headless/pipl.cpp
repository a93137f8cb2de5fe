#include "headless/pipl.h"

#include <cstring>
#include <set>

namespace headless {

std::string four_cc_text(uint32_t code) {
    std::string s;
    for (int shift = 24; shift >= 0; shift -= 8) {
        const char c = static_cast<char>(code >> shift);
        s += (c >= 32 && c < 127) ? c : '?';
    }
    return s;
}

namespace {

uint16_t le16(const uint8_t* p) { return static_cast<uint16_t>(p[0] | (p[1] << 8)); }
uint32_t le32(const uint8_t* p) { return uint32_t(p[0]) | (uint32_t(p[1]) << 8) | (uint32_t(p[2]) << 16) | (uint32_t(p[3]) << 24); }

std::string where(size_t index, uint32_t key) {
    return "PiPL property " + std::to_string(index) + " ('" + four_cc_text(key) + "')";
}

std::string pascal(const PiPLProperty& p, size_t index, size_t limit) {
    if (p.data.empty()) throw PiPLError(where(index, p.key) + ": empty Pascal string data");
    const size_t n = p.data[0];
    if (n + 1 > p.data.size())
        throw PiPLError(where(index, p.key) + ": Pascal string of " + std::to_string(n) + " characters in " +
                        std::to_string(p.data.size()) + " bytes of data");
    if (n > limit) throw PiPLError(where(index, p.key) + ": " + std::to_string(n) + " characters, at most " + std::to_string(limit) + " allowed");
    return std::string(reinterpret_cast<const char*>(p.data.data()) + 1, n);
}

uint32_t word32(const PiPLProperty& p, size_t index) {
    if (p.data.size() != 4) throw PiPLError(where(index, p.key) + ": " + std::to_string(p.data.size()) + " data bytes, expected 4");
    return le32(p.data.data());
}

}  // namespace

PiPL parse_pipl(const uint8_t* data, size_t size) {
    if (!data || size < 10) throw PiPLError("PiPL record truncated: " + std::to_string(size) + " bytes, the header alone needs 10");
    const uint16_t reserved = le16(data);
    if (reserved != 1) throw PiPLError("PiPL reserved word is " + std::to_string(reserved) + ", expected 1");
    const uint32_t list_version = le32(data + 2);
    if (list_version != 0) throw PiPLError("PiPL property-list version " + std::to_string(list_version) + ", expected 0");
    const uint32_t count = le32(data + 6);
    if (count > (size - 10) / 16)
        throw PiPLError("PiPL record truncated: " + std::to_string(count) + " properties announced in " + std::to_string(size) + " bytes");

    PiPL out;
    std::set<uint32_t> seen;
    size_t pos = 10;
    for (uint32_t i = 0; i < count; ++i) {
        if (size - pos < 16) throw PiPLError("PiPL record truncated in the header of property " + std::to_string(i));
        const uint32_t vendor = le32(data + pos);
        PiPLProperty p;
        p.key = le32(data + pos + 4);
        p.id = le32(data + pos + 8);
        const uint32_t len = le32(data + pos + 12);
        if (vendor != four_cc("8BIM"))
            throw PiPLError(where(i, p.key) + ": vendor '" + four_cc_text(vendor) + "', expected '8BIM'");
        pos += 16;
        if (len > size - pos)
            throw PiPLError(where(i, p.key) + ": " + std::to_string(len) + " data bytes announced, " + std::to_string(size - pos) + " left");
        p.data.assign(data + pos, data + pos + len);
        const size_t padded = (static_cast<size_t>(len) + 3) / 4 * 4;
        // The last property may end without its padding.
        if (padded > size - pos && i + 1 < count) throw PiPLError(where(i, p.key) + ": padding runs past the end of the record");
        pos += std::min(padded, size - pos);
        if (!seen.insert(p.key).second) throw PiPLError(where(i, p.key) + ": duplicate property");
        out.properties.push_back(p);
    }

    for (size_t i = 0; i < out.properties.size(); ++i) {
        const PiPLProperty& p = out.properties[i];
        switch (p.key) {
        case four_cc("kind"): out.kind = word32(p, i); break;
        case four_cc("name"): out.name = pascal(p, i, 31); break;
        case four_cc("catg"): out.category = pascal(p, i, 31); break;
        case four_cc("eMNA"): out.match_name = pascal(p, i, 255); break;
        case four_cc("eURL"): out.support_url = pascal(p, i, 255); break;
        case four_cc("8664"): {
            const void* nul = std::memchr(p.data.data(), 0, p.data.size());
            if (!nul) throw PiPLError(where(i, p.key) + ": entry point name without terminator");
            out.entry_point = std::string(reinterpret_cast<const char*>(p.data.data()));
            if (out.entry_point->empty()) throw PiPLError(where(i, p.key) + ": empty entry point name");
            break;
        }
        case four_cc("ePVR"):
        case four_cc("eSVR"): {
            const uint32_t w = word32(p, i);
            auto& major = p.key == four_cc("ePVR") ? out.pipl_major : out.api_major;
            auto& minor = p.key == four_cc("ePVR") ? out.pipl_minor : out.api_minor;
            major = static_cast<uint16_t>(w);
            minor = static_cast<uint16_t>(w >> 16);
            break;
        }
        case four_cc("eINF"):
            if (p.data.size() != 2 && p.data.size() != 4)
                throw PiPLError(where(i, p.key) + ": " + std::to_string(p.data.size()) + " data bytes, expected 2");
            out.info_flags = le16(p.data.data());
            break;
        case four_cc("eVER"): out.version = word32(p, i); break;
        case four_cc("eGLO"): out.out_flags = word32(p, i); break;
        case four_cc("eGL2"): out.out_flags2 = word32(p, i); break;
        case four_cc("aeFL"): out.ae_flags = word32(p, i); break;
        default: break;
        }
    }
    return out;
}

std::vector<std::string> check_pipl(const PiPL& pipl, const PiPLExpectations& expect) {
    std::vector<std::string> f;
    auto hex = [](uint32_t v) {
        char b[16];
        std::snprintf(b, sizeof b, "0x%08X", v);
        return std::string(b);
    };
    if (!pipl.kind)
        f.push_back("no 'kind' property");
    else if (*pipl.kind != four_cc("eFKT"))
        f.push_back("kind is '" + four_cc_text(*pipl.kind) + "', not an effect ('eFKT')");
    if (!pipl.name || pipl.name->empty()) f.push_back("no effect name ('name')");
    if (!pipl.category || pipl.category->empty()) f.push_back("no category ('catg')");
    if (!pipl.match_name || pipl.match_name->empty()) f.push_back("no match name ('eMNA')");
    if (!pipl.entry_point)
        f.push_back("no Win64 entry point ('8664')");
    else if (!expect.exported_entry.empty() && *pipl.entry_point != expect.exported_entry)
        f.push_back("entry point '" + *pipl.entry_point + "' but the module exports '" + expect.exported_entry + "'");
    else if (!expect.entry_exported)
        f.push_back("entry point '" + *pipl.entry_point + "' is not exported by the module");
    auto same = [&](const char* what, const std::optional<uint32_t>& rec, const std::optional<uint32_t>& exp) {
        if (!exp) return;
        if (!rec)
            f.push_back(std::string("no ") + what + " property");
        else if (*rec != *exp)
            f.push_back(std::string(what) + " is " + hex(*rec) + " but global set-up reports " + hex(*exp));
    };
    same("'eVER'", pipl.version, expect.my_version);
    same("'eGLO'", pipl.out_flags, expect.out_flags);
    same("'eGL2'", pipl.out_flags2, expect.out_flags2);
    return f;
}

}  // namespace headless
