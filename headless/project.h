// The project around the effect as the AEGP suites show it: the effect's
// layer, the layer's source item (footage with an interpretation the effect
// can read and change, a composition or a solid), streams and effect
// references, and the application's persistent data blob.
//
// Serves on its Host: "AEGP PF Interface Suite" 1, "AEGP Layer Suite",
// "AEGP Item Suite", "AEGP Stream Suite", "AEGP Dynamic Stream Suite",
// "AEGP Effect Suite" (every version whose slots of the functions used here
// are known), "AEGP Footage Suite" 11 and "AEGP Persistent Data Suite" 3.
// Slots not implemented answer A_Err_GENERIC and report a problem.
#pragma once
#include "headless/host.h"

#include <map>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace headless {

class Project {
public:
    enum class Source { Footage, Composition, Solid };

    // Serves the suites on `host`, which must outlive the project. The newest
    // Project is the one the suites answer for (LIFO, like Host).
    explicit Project(Host& host);
    ~Project();
    Project(const Project&) = delete;
    Project& operator=(const Project&) = delete;

    // ---- the layer's source item
    void set_source(Source source) { source_ = source; }
    Source source() const { return source_; }
    void set_item_size(A_long width, A_long height);
    // The main (non-proxy) footage interpretation; starts progressive, no
    // pulldown, 29.97 fps, square pixels.
    AEGP_FootageInterp& interpretation() { return interp_; }
    // Shorthand: interlaced with the given field order and pulldown phase.
    void set_interlaced(FIEL_Order order, AEGP_PulldownPhase pulldown);
    // How often AEGP_SetFootageInterpretation changed the interpretation.
    int interpretation_writes() const { return interp_writes_; }
    // Makes AEGP_SetFootageInterpretation fail with `err` (0 = succeed again).
    void fail_interpretation_write(A_Err err) { fail_interp_write_ = err; }
    // Makes AEGP_GetFootageInterpretation fail with `err` (0 = succeed again).
    void fail_interpretation_read(A_Err err) { fail_interp_read_ = err; }

    // ---- persistent data ("section", "key") -> value text
    void set_preference(const std::string& section, const std::string& key, const std::string& value);
    void remove_preference(const std::string& section, const std::string& key);
    bool has_preference(const std::string& section, const std::string& key) const;
    // Makes AEGP_GetApplicationBlob fail with `err` (0 = succeed again).
    void fail_blob(A_Err err) { fail_blob_ = err; }

    // ---- effect streams
    // Whether AEGP_SetDynamicStreamFlag last left AEGP_DynStreamFlag_HIDDEN on
    // the parameter's stream.
    bool param_hidden(PF_ParamIndex index) const;
    int live_effect_refs() const { return static_cast<int>(effect_refs_.size()); }
    int live_streams() const { return static_cast<int>(streams_.size()); }

    struct Impl;

private:
    // A handle the project gives out: the address of `self`.
    struct Token {
        void* self;
        Project* owner;
        PF_ParamIndex index;
    };

    Host& host_;
    Project* previous_;
    Source source_ = Source::Footage;
    A_long item_width_ = 720;
    A_long item_height_ = 480;
    AEGP_FootageInterp interp_{};
    int interp_writes_ = 0;
    A_Err fail_interp_write_ = 0;
    A_Err fail_interp_read_ = 0;
    A_Err fail_blob_ = 0;

    Token layer_{};
    Token item_{};
    Token footage_{};
    Token blob_{};
    std::set<Token*> effect_refs_;
    std::set<Token*> streams_;
    std::map<PF_ParamIndex, bool> hidden_;
    std::map<std::pair<std::string, std::string>, std::string> prefs_;
    std::vector<std::unique_ptr<std::vector<void (*)()>>> tables_;
};

}  // namespace headless
