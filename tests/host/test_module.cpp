// The built module as the host meets it: its registration record (every
// property, and the same flags global set-up declares) and a session through
// the entry point it exports.
#include "host/entry_point.h"

#include "headless/effect.h"
#include "tessen_pipl_values.h"

#include <gtest/gtest.h>

#include <dlfcn.h>

#include <cstdint>
#include <cstring>
#include <fstream>
#include <iterator>
#include <map>
#include <string>
#include <vector>

namespace {

struct Property {
    uint32_t length;
    std::vector<uint8_t> data;
};

uint32_t U32(const uint8_t* p) { return p[0] | p[1] << 8 | p[2] << 16 | static_cast<uint32_t>(p[3]) << 24; }
uint16_t U16(const uint8_t* p) { return static_cast<uint16_t>(p[0] | p[1] << 8); }
uint32_t FourCC(const char* s) {
    return static_cast<uint32_t>(s[0]) << 24 | static_cast<uint32_t>(s[1]) << 16 | static_cast<uint32_t>(s[2]) << 8 |
           static_cast<uint32_t>(s[3]);
}
std::string Key(uint32_t k) { return {char(k >> 24), char(k >> 16), char(k >> 8), char(k)}; }

// Decodes the Windows form: reserved word, version, count, then records of
// vendor, key, id, length and data padded to 4 bytes.
std::map<std::string, Property> Decode(const std::vector<uint8_t>& b, std::vector<std::string>* order) {
    std::map<std::string, Property> props;
    EXPECT_GE(b.size(), 10u);
    EXPECT_EQ(U16(&b[0]), 1);
    EXPECT_EQ(U32(&b[2]), 0u);
    const uint32_t count = U32(&b[6]);
    size_t at = 10;
    for (uint32_t i = 0; i < count; ++i) {
        if (at + 16 > b.size()) {
            ADD_FAILURE() << "record " << i << " runs past the end";
            break;
        }
        EXPECT_EQ(U32(&b[at]), FourCC("8BIM"));
        const std::string key = Key(U32(&b[at + 4]));
        EXPECT_EQ(U32(&b[at + 8]), 0u) << key;
        const uint32_t length = U32(&b[at + 12]);
        const size_t padded = (length + 3u) & ~3u;
        if (at + 16 + padded > b.size()) {
            ADD_FAILURE() << key << " runs past the end";
            break;
        }
        props[key] = Property{length, std::vector<uint8_t>(b.begin() + at + 16, b.begin() + at + 16 + padded)};
        order->push_back(key);
        at += 16 + padded;
    }
    EXPECT_EQ(at, b.size()) << "bytes after the last record";
    return props;
}

std::string Pascal(const Property& p) {
    EXPECT_EQ(p.length % 4, 0u);
    return std::string(reinterpret_cast<const char*>(&p.data[1]), p.data[0]);
}

std::vector<uint8_t> ModuleRecord() {
    void* module = dlopen(TESSEN_MODULE_PATH, RTLD_NOW | RTLD_LOCAL);
    if (!module) {
        ADD_FAILURE() << dlerror();
        return {};
    }
    const auto* data = static_cast<const uint8_t*>(dlsym(module, "PiPLResourceData"));
    const auto* size = static_cast<const unsigned int*>(dlsym(module, "PiPLResourceSize"));
    std::vector<uint8_t> bytes;
    if (data && size) bytes.assign(data, data + *size);
    EXPECT_NE(dlsym(module, "EntryPointFunc"), nullptr);
    dlclose(module);
    return bytes;
}

TEST(PiPL, EveryPropertyAsTheHostReadsIt) {
    const std::vector<uint8_t> bytes = ModuleRecord();
    ASSERT_FALSE(bytes.empty());
    std::vector<std::string> order;
    std::map<std::string, Property> p = Decode(bytes, &order);
    EXPECT_EQ(order, (std::vector<std::string>{"kind", "name", "catg", "8664", "ePVR", "eSVR", "eVER", "eINF", "eGLO",
                                               "eGL2", "eMNA", "aeFL"}));
    EXPECT_EQ(U32(p["kind"].data.data()), FourCC("eFKT"));
    EXPECT_EQ(Pascal(p["name"]), "Tessen Plus");
    EXPECT_EQ(Pascal(p["catg"]), "VX Wrenfold Suite");
    EXPECT_EQ(Pascal(p["eMNA"]), "ADBE Corvane SD");
    EXPECT_STREQ(reinterpret_cast<const char*>(p["8664"].data.data()), "EntryPointFunc");
    EXPECT_EQ(p["8664"].length, 16u);
    EXPECT_EQ(U16(&p["ePVR"].data[0]), 2);
    EXPECT_EQ(U16(&p["ePVR"].data[2]), 0);
    EXPECT_EQ(U16(&p["eSVR"].data[0]), 13);
    EXPECT_EQ(U16(&p["eSVR"].data[2]), 28);
    EXPECT_EQ(U32(p["eVER"].data.data()), 0x0008E600u);
    EXPECT_EQ(p["eINF"].length, 2u);
    EXPECT_EQ(U16(p["eINF"].data.data()), 0);
    EXPECT_EQ(U32(p["eGLO"].data.data()), 0x06008043u);
    EXPECT_EQ(U32(p["eGL2"].data.data()), 0x00800008u);
    EXPECT_EQ(U32(p["aeFL"].data.data()), 8u);
}

TEST(PiPL, FlagsEqualWhatGlobalSetupDeclares) {
    const std::vector<uint8_t> bytes = ModuleRecord();
    ASSERT_FALSE(bytes.empty());
    std::vector<std::string> order;
    std::map<std::string, Property> p = Decode(bytes, &order);
    headless::EffectInstance fx(&EntryPointFunc);
    ASSERT_EQ(fx.global_setup(), PF_Err_NONE);
    EXPECT_EQ(U32(p["eGLO"].data.data()), static_cast<uint32_t>(fx.out_flags()));
    EXPECT_EQ(U32(p["eGL2"].data.data()), static_cast<uint32_t>(fx.out_flags2()));
    EXPECT_EQ(U32(p["eVER"].data.data()), fx.my_version());
}

TEST(PiPL, WindowsResourceHoldsTheSameBytes) {
    // The Windows resource script embeds this file; the exported copy must match it.
    std::ifstream f(TESSEN_BINARY_DIR "/resources/tessen_pipl.bin", std::ios::binary);
    ASSERT_TRUE(f) << "generated record missing";
    const std::vector<uint8_t> file((std::istreambuf_iterator<char>(f)), std::istreambuf_iterator<char>());
    EXPECT_EQ(file, ModuleRecord());
    std::ifstream rc(TESSEN_BINARY_DIR "/resources/tessen_pipl.rc");
    const std::string script((std::istreambuf_iterator<char>(rc)), std::istreambuf_iterator<char>());
    EXPECT_NE(script.find("16000 PIPL \""), std::string::npos) << script;
}

TEST(Module, LoadedModuleRunsASession) {
    void* module = dlopen(TESSEN_MODULE_PATH, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(module, nullptr) << dlerror();
    auto entry = reinterpret_cast<PF_FilterProc>(dlsym(module, "EntryPointFunc"));
    ASSERT_NE(entry, nullptr);
    {
        headless::EffectInstance fx(entry);
        fx.set_comp_rate(23.976);
        ASSERT_EQ(fx.setup(), PF_Err_NONE);
        EXPECT_EQ(fx.num_params(), 13);
        fx.ui().reset_raster(200, 160);
        EXPECT_EQ(fx.draw(2), PF_Err_NONE);
        EXPECT_TRUE(fx.last_event_handled());
        EXPECT_EQ(fx.render(), PF_Err_NONE);
        EXPECT_EQ(fx.sequence_setdown(), PF_Err_NONE);
        EXPECT_EQ(fx.global_setdown(), PF_Err_NONE);
        EXPECT_EQ(fx.host().leak_report(), "");
        EXPECT_TRUE(fx.host().problems().empty());
    }
    dlclose(module);
}

}  // namespace
