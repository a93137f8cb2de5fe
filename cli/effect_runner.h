// Runs the Tessen Plus module through the headless host, command by command,
// as After Effects would: global, parameter and sequence set-up, the Auto
// Setup button pressed through Effect Controls events, one render command per
// output frame, the set-downs, then a leak check.
#pragma once

#include "cli/conversion_plan.h"
#include "cli/video_io.h"

#include <cstdint>
#include <cstdio>
#include <functional>
#include <memory>
#include <string>

namespace tessen::cli {

struct EffectSetup {
    std::string module_path;
    int width = 0;
    int height = 0;
    int depth = 8;             // host world depth, 8 or 16
    TimeBase time_base;        // composition time base
    Rational layer_rate;       // footage interpretation of the input layer
    int64_t layer_frames = 0;  // known or estimated duration of the layer, in frames
    bool diagnostic_views = false;
    // Source frame i of the layer; i may lie outside the clip (negative
    // before the start), and the caller decides what stands there.
    std::function<const HostFrame&(int64_t)> frame_at;
    // Instead of frame_at: the packed rows (width * 4 * depth / 8 bytes each)
    // of source frame i, e.g. in memory shared with another process.
    std::function<const uint8_t*(int64_t)> rows_at;
};

struct EffectParams {
    bool deinterlace = true;
    int source_video = kSourceNtsc;
    int field_order = kLowerFirst;
    double motion = 20.0;
    int pattern_size = 4;
    int deartifact = 1;
    int show = 1;
    bool draft = false;
};

class EffectRunner {
public:
    // Loads the module and runs global, parameter and sequence set-up.
    // Throws CliError naming the module when any of it fails.
    explicit EffectRunner(const EffectSetup& setup);
    ~EffectRunner();
    EffectRunner(const EffectRunner&) = delete;
    EffectRunner& operator=(const EffectRunner&) = delete;

    // Presses the "Auto Setup" button: click, drags inside the button, release
    // inside. Returns the message it wrote while dragging and the values it set.
    AutoSetupResult press_auto_setup();

    void set_params(const EffectParams& params);
    // Renders output frame k (current_time = k * time_step) into `out`
    // (allocated here at the setup's size and depth).
    void render(int64_t k, HostFrame& out);
    // The same into packed rows at `out` (width * height * 4 * depth / 8 bytes).
    void render_into(int64_t k, uint8_t* out);
    // Sequence and global set-down; returns what leaked or went wrong in the
    // host's eyes, "" when clean.
    std::string close();

private:
    void render_world(int64_t k);
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

// Prints a message of the effect indented, line by line, and says when the
// effect cut it at its 255-character limit.
void print_effect_message(std::FILE* out, const std::string& message);

// The module to load: --module, else $TESSEN_MODULE, else the one installed
// beside the program (PREFIX/lib/tessen, or the build folder).
std::string resolve_module_path(const std::string& option);

}  // namespace tessen::cli
