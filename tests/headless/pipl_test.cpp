// Registration records: hand-made good and malformed ones, and the loader's
// errors. The built module's own record is checked with the effect's tests.
#include "headless/module.h"
#include "headless/pipl.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using headless::four_cc;
using headless::parse_pipl;
using headless::PiPLError;

// Builds records in the Windows form, bytes as the resource compiler lays them.
struct Builder {
    std::vector<uint8_t> props;
    uint32_t count = 0;
    uint16_t reserved = 1;
    uint32_t list_version = 0;

    static void le32(std::vector<uint8_t>& v, uint32_t x) {
        for (int i = 0; i < 4; ++i) v.push_back(uint8_t(x >> (8 * i)));
    }
    Builder& raw(uint32_t key, std::vector<uint8_t> data, uint32_t stored_len, uint32_t vendor = four_cc("8BIM")) {
        le32(props, vendor);
        le32(props, key);
        le32(props, 0);
        le32(props, stored_len);
        while (data.size() % 4) data.push_back(0);
        props.insert(props.end(), data.begin(), data.end());
        ++count;
        return *this;
    }
    Builder& word(uint32_t key, uint32_t v) {
        std::vector<uint8_t> d;
        le32(d, v);
        return raw(key, d, 4);
    }
    Builder& pstr(uint32_t key, const std::string& s) {
        std::vector<uint8_t> d{uint8_t(s.size())};
        d.insert(d.end(), s.begin(), s.end());
        const uint32_t padded = uint32_t((d.size() + 3) / 4 * 4);
        return raw(key, d, padded);
    }
    Builder& cstr(uint32_t key, const std::string& s) {
        std::vector<uint8_t> d(s.begin(), s.end());
        d.push_back(0);
        const uint32_t padded = uint32_t((d.size() + 3) / 4 * 4);
        return raw(key, d, padded);
    }
    std::vector<uint8_t> bytes() const {
        std::vector<uint8_t> out{uint8_t(reserved), uint8_t(reserved >> 8)};
        le32(out, list_version);
        le32(out, count);
        out.insert(out.end(), props.begin(), props.end());
        return out;
    }
};

Builder good() {
    Builder b;
    b.word(four_cc("kind"), four_cc("eFKT"))
        .pstr(four_cc("name"), "Tessen Plus")
        .pstr(four_cc("catg"), "VX Wrenfold Suite")
        .cstr(four_cc("8664"), "EntryPointFunc")
        .word(four_cc("ePVR"), 2)
        .word(four_cc("eSVR"), 13 | (28u << 16))
        .word(four_cc("eVER"), 0x8E600)
        .raw(four_cc("eINF"), {0, 0}, 2)
        .word(four_cc("eGLO"), 0x06008043)
        .word(four_cc("eGL2"), 0x00800008)
        .pstr(four_cc("eMNA"), "ADBE Corvane SD")
        .word(four_cc("aeFL"), 8);
    return b;
}

TEST(PiPL, ParsesAWellFormedRecord) {
    const auto bytes = good().bytes();
    // Four-character codes are stored little-endian: '8BIM' reads "MIB8".
    EXPECT_EQ(std::string(bytes.begin() + 10, bytes.begin() + 14), "MIB8");
    const headless::PiPL p = parse_pipl(bytes.data(), bytes.size());
    EXPECT_EQ(p.properties.size(), 12u);
    EXPECT_EQ(*p.kind, four_cc("eFKT"));
    EXPECT_EQ(*p.name, "Tessen Plus");
    EXPECT_EQ(*p.category, "VX Wrenfold Suite");
    EXPECT_EQ(*p.entry_point, "EntryPointFunc");
    EXPECT_EQ(*p.match_name, "ADBE Corvane SD");
    EXPECT_EQ(*p.pipl_major, 2);
    EXPECT_EQ(*p.api_major, 13);
    EXPECT_EQ(*p.api_minor, 28);
    EXPECT_EQ(*p.version, 0x8E600u);
    EXPECT_EQ(*p.info_flags, 0);
    EXPECT_EQ(*p.ae_flags, 8u);
    EXPECT_FALSE(p.support_url);

    headless::PiPLExpectations e;
    e.exported_entry = "EntryPointFunc";
    e.my_version = 0x8E600;
    e.out_flags = 0x06008043;
    e.out_flags2 = 0x00800008;
    EXPECT_TRUE(check_pipl(p, e).empty());
    e.out_flags = 0x06008042;
    e.exported_entry = "EffectMain";
    const auto findings = check_pipl(p, e);
    ASSERT_EQ(findings.size(), 2u);
    EXPECT_NE(findings[0].find("'EntryPointFunc' but the module exports 'EffectMain'"), std::string::npos);
    EXPECT_NE(findings[1].find("'eGLO' is 0x06008043 but global set-up reports 0x06008042"), std::string::npos);
}

TEST(PiPL, MalformedRecordsAreRejectedWithAReason) {
    struct Case {
        const char* expect;
        std::vector<uint8_t> bytes;
    };
    std::vector<Case> cases;
    const auto full = good().bytes();
    cases.push_back({"header alone needs 10", std::vector<uint8_t>(full.begin(), full.begin() + 6)});
    cases.push_back({"truncated in the header of property 10", std::vector<uint8_t>(full.begin(), full.end() - 40)});
    {
        Builder b = good();
        b.count += 1;
        cases.push_back({"truncated in the header of property 12", b.bytes()});
    }
    {
        auto cut = full;
        cut.resize(10 + 16 + 4 + 16 + 2);  // inside the name's data
        cut[6] = 2;
        cases.push_back({"data bytes announced", cut});
    }
    {
        Builder b;
        b.reserved = 0;
        b.word(four_cc("kind"), four_cc("eFKT"));
        cases.push_back({"reserved word is 0", b.bytes()});
    }
    {
        Builder b;
        b.list_version = 3;
        cases.push_back({"list version 3", b.bytes()});
    }
    {
        Builder b;
        b.word(four_cc("kind"), four_cc("eFKT")).raw(four_cc("name"), {1, 'x'}, 4, four_cc("MIB8"));
        cases.push_back({"vendor 'MIB8'", b.bytes()});
    }
    {
        Builder b;
        b.pstr(four_cc("name"), std::string(32, 'n'));
        cases.push_back({"32 characters, at most 31", b.bytes()});
    }
    {
        Builder b;
        b.pstr(four_cc("catg"), std::string(40, 'c'));
        cases.push_back({"40 characters, at most 31", b.bytes()});
    }
    {
        Builder b;
        b.raw(four_cc("name"), {20, 'a', 'b', 'c'}, 4);  // claims 20 characters in 4 bytes
        cases.push_back({"Pascal string of 20 characters in 4 bytes", b.bytes()});
    }
    {
        Builder b;
        b.raw(four_cc("8664"), {'E', 'n', 't', 'r'}, 4);
        cases.push_back({"without terminator", b.bytes()});
    }
    {
        Builder b;
        b.raw(four_cc("eGLO"), {1, 2}, 2);
        cases.push_back({"2 data bytes, expected 4", b.bytes()});
    }
    {
        Builder b;
        b.word(four_cc("kind"), four_cc("eFKT")).word(four_cc("kind"), four_cc("eFKT"));
        cases.push_back({"duplicate", b.bytes()});
    }
    for (const Case& c : cases) {
        try {
            parse_pipl(c.bytes.data(), c.bytes.size());
            ADD_FAILURE() << "accepted: " << c.expect;
        } catch (const PiPLError& e) {
            EXPECT_NE(std::string(e.what()).find(c.expect), std::string::npos) << e.what();
        }
    }
}

TEST(PiPL, TheLastPropertyMayEndWithoutPadding) {
    Builder b;
    b.word(four_cc("kind"), four_cc("eFKT")).raw(four_cc("eINF"), {0, 0}, 2);
    auto bytes = b.bytes();
    bytes.resize(bytes.size() - 2);
    EXPECT_EQ(*parse_pipl(bytes.data(), bytes.size()).info_flags, 0);
}

TEST(Module, UnloadablePathsGiveTheLoadersReason) {
    try {
        headless::Module m("/nonexistent/TessenPlus.so");
        FAIL();
    } catch (const headless::ModuleError& e) {
        EXPECT_NE(std::string(e.what()).find("/nonexistent/TessenPlus.so"), std::string::npos);
    }
}

}  // namespace
