// Drives one effect instance through the commands After Effects sends:
// global set-up, parameter set-up, sequence set-up / re-set-up / flatten /
// flattened copy / set-down, frame set-up, render, parameter UI update,
// Effect Controls events and global set-down. It owns what the host owns
// (sequence data, parameter values, the input layer and output worlds) and
// checks what the host checks (parameter count, release of checkouts).
#pragma once
#include "headless/effect_ui.h"
#include "headless/host.h"
#include "headless/project.h"
#include "headless/world.h"

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace headless {

// The effect's input layer: frames at the footage's own rate. Frame i is
// shown from i / fps seconds on; times before the first frame show the first
// one and times after the last frame show the last one.
struct InputClip {
    double fps = 29.97;
    A_long width = 720;
    A_long height = 480;
    bool deep = false;  // 16-bit channels (0..32768) instead of 8-bit
    A_long frame_count = 1;
    // Writes frame `index` into `into` (already width × height at the clip's
    // depth, zero-filled; while the host recycles memory it holds an earlier
    // frame, and the function must write every pixel). Unset: every frame is
    // transparent black.
    std::function<void(A_long index, World& into)> frame;
    // Times outside the clip: false holds the first or last frame, as After
    // Effects holds footage; true passes the index as it falls (negative
    // before the start, frame_count or more past the end) to `frame`, which
    // decides what stands there.
    bool frame_serves_outside = false;

    // A clip of ready-made frames (all of one size and depth; at least one).
    static InputClip from_frames(std::vector<World> frames, double fps);
};

// The frame a clip of `frame_count` frames at `fps` shows at `seconds`.
A_long clip_frame_at(double seconds, double fps, A_long frame_count);
// The frame index at `seconds` counted without the clip's ends (negative
// before the start).
A_long clip_frame_index(double seconds, double fps);

// time_scale and time_step for a composition rate, as After Effects gives
// them: 23.976 -> 2997/125, 29.97 -> 2997/100, 24 -> 2400/100, 25 -> 2500/100,
// 30 -> 3000/100; any other rate -> round(rate × 100)/100.
void time_base_for_rate(double fps, A_u_long* time_scale, A_long* time_step);

// One instance per Host at a time: the instance serves the Host's layer
// checkouts and the project and Effect Controls suites while it lives.
class EffectInstance {
public:
    // Calls `entry` (linked in-process or taken from a loaded module, which
    // must stay loaded while the instance lives: the destructor still calls
    // it). Without a host it makes its own; with one it borrows it.
    explicit EffectInstance(PF_FilterProc entry);
    EffectInstance(PF_FilterProc entry, Host& host);
    // Sends sequence set-down and global set-down if still set up.
    ~EffectInstance();
    EffectInstance(const EffectInstance&) = delete;
    EffectInstance& operator=(const EffectInstance&) = delete;

    Host& host() { return *host_; }
    Project& project() { return *project_; }
    EffectUI& ui() { return *ui_; }
    PF_InData& in_data() { return host_->in_data(); }
    PF_OutData& out_data() { return host_->out_data(); }
    // out_data.return_msg of the last command.
    std::string message() const;

    // ---- composition and render settings (in_data)
    void set_comp_rate(double fps);  // see time_base_for_rate
    void set_time_base(A_u_long time_scale, A_long time_step);
    void set_frame(A_long k);          // current_time = k × time_step
    void set_current_time(A_long t) { host_->in_data().current_time = t; }
    // Fixed extent hint for renders; by default it is the whole output.
    void set_extent_hint(PF_Rect r);
    void clear_extent_hint() { extent_set_ = false; }
    void set_downsample(A_long num_x, A_u_long den_x, A_long num_y, A_u_long den_y);
    void set_quality(PF_Quality q) { host_->in_data().quality = q; }
    void set_pixel_aspect_ratio(A_long num, A_u_long den);
    // The input layer; also sets in_data width and height to the clip's.
    void set_input(InputClip clip);
    const InputClip& input() const { return clip_; }
    // Size of the layer as the host hands it at the current downsampling.
    A_long layer_width() const;
    A_long layer_height() const;

    // ---- commands; each returns the entry point's result
    // Any command. Suites the effect acquires during a command must be
    // released by its end (they live for one command); what is left is
    // reported as a problem naming the command, unless switched off.
    PF_Err call(PF_Cmd cmd, PF_LayerDef* output = nullptr, void* extra = nullptr);
    void set_check_suites_per_command(bool on) { check_suites_ = on; }
    PF_Err about() { return call(PF_Cmd_ABOUT); }
    PF_Err global_setup();
    PF_Err params_setup();
    PF_Err sequence_setup() { return call(PF_Cmd_SEQUENCE_SETUP); }
    PF_Err sequence_resetup() { return call(PF_Cmd_SEQUENCE_RESETUP); }
    PF_Err sequence_flatten() { return call(PF_Cmd_SEQUENCE_FLATTEN); }
    PF_Err get_flattened_sequence_data() { return call(PF_Cmd_GET_FLATTENED_SEQUENCE_DATA); }
    PF_Err sequence_setdown() { return call(PF_Cmd_SEQUENCE_SETDOWN); }
    PF_Err frame_setup() { return call(PF_Cmd_FRAME_SETUP); }
    PF_Err frame_setdown() { return call(PF_Cmd_FRAME_SETDOWN); }
    PF_Err update_params_ui() { return call(PF_Cmd_UPDATE_PARAMS_UI); }
    PF_Err global_setdown() { return call(PF_Cmd_GLOBAL_SETDOWN); }
    // Global, parameter and sequence set-up; stops at the first error.
    PF_Err setup();
    // Frame set-up, render into a new output world of the layer's size and
    // depth, frame set-down. The result stays in output(). While the host
    // recycles memory the output world of the last render is reused and
    // cleared only outside the extent hint: inside it the effect writes
    // every pixel.
    PF_Err render();
    World& output() { return output_; }
    // The input layer world the last render passed as parameter 0.
    World& rendered_input() { return input_world_; }
    // A project reopened: a new record holding `bytes` becomes the sequence
    // data and the effect gets sequence re-set-up.
    PF_Err reload_sequence(const std::vector<uint8_t>& bytes);

    // ---- what global set-up declared
    A_u_long my_version() const { return my_version_; }
    PF_OutFlags out_flags() const { return out_flags_; }
    PF_OutFlags2 out_flags2() const { return out_flags2_; }

    // ---- sequence data (owned by the host between commands)
    PF_Handle sequence_data() const { return seq_; }
    std::vector<uint8_t> sequence_bytes() const;
    // The copy handed back by the last flattened-data command. The host keeps
    // its bytes and disposes the handle straight away, so the handle is only
    // good for identity checks.
    PF_Handle flattened() const { return flattened_; }
    std::vector<uint8_t> flattened_bytes() const;

    // ---- parameters (index 0 is the input layer)
    A_long num_params() const { return static_cast<A_long>(params_.size()); }
    PF_ParamDef& param(PF_ParamIndex i);
    A_long param_id(PF_ParamIndex i) const;
    // Setters check type and range the way the host's UI does and throw
    // std::invalid_argument otherwise (sliders: the valid range, popups:
    // 1..num_choices).
    void set_popup(PF_ParamIndex i, A_long value);
    void set_slider(PF_ParamIndex i, A_long value);
    void set_float_slider(PF_ParamIndex i, double value);
    void set_checkbox(PF_ParamIndex i, bool on);
    A_long popup(PF_ParamIndex i);
    A_long slider(PF_ParamIndex i);
    double float_slider(PF_ParamIndex i);
    bool checkbox(PF_ParamIndex i);
    // How often the effect marked the parameter changed (PF_ChangeFlag_CHANGED_VALUE).
    int changes_by_effect(PF_ParamIndex i) const;

    // ---- Effect Controls events (PF_Window_EFFECT)
    // The control's frame, effect_win.current_frame of every event.
    void set_control_frame(PF_Rect frame) { frame_ = frame; }
    PF_Rect control_frame() const { return frame_; }
    PF_Err draw(PF_ParamIndex index);
    PF_Err idle(PF_ParamIndex index);
    // Mouse down: a click event. If the effect sets send_drag, the press goes
    // on: drag() sends drag events and release() the last one (last_time),
    // each carrying continue_refcon and send_drag from the event before.
    PF_Err press(PF_ParamIndex index, PF_Point where, PF_Modifiers modifiers = 0);
    PF_Err drag(PF_Point where);
    PF_Err release(PF_Point where);
    // True while a press asked for drag events.
    bool dragging() const { return dragging_; }
    // Any event record, sent as it is (context, window and frame filled in when unset).
    PF_Err event(PF_EventExtra& e);
    const PF_EventExtra& last_event() const { return last_event_; }
    bool last_event_handled() const { return (last_event_.evt_out_flags & PF_EO_HANDLED_EVENT) != 0; }

    // ---- layer checkouts
    int outstanding_checkouts() const { return static_cast<int>(checkouts_.size()); }
    // Source frame index of every layer checkout so far, in order.
    const std::vector<A_long>& checked_out_frames() const { return checked_out_frames_; }
    void clear_checkout_log() { checked_out_frames_.clear(); }

private:
    void init();
    void build_params();
    World make_layer(A_long frame) const;
    // make_layer into a world kept from before (reused when its size and
    // depth fit, the frame function writing every pixel).
    void make_layer_into(A_long frame, World& into) const;
    std::unique_ptr<World> take_layer_world(A_long frame);
    PF_Err checkout(PF_ParamIndex index, A_long time, A_long step, A_u_long scale, PF_ParamDef* param);
    PF_Err checkin(PF_ParamDef* param);
    PF_ParamDef& typed(PF_ParamIndex i, PF_ParamType type, const char* what);
    PF_Err send_event(PF_EventExtra& e);
    PF_Err drag_event(PF_Point where, bool last);

    PF_FilterProc entry_;
    std::unique_ptr<Host> owned_host_;
    Host* host_;
    std::unique_ptr<Project> project_;
    std::unique_ptr<EffectUI> ui_;

    bool global_up_ = false;
    A_u_long my_version_ = 0;
    PF_OutFlags out_flags_ = 0;
    PF_OutFlags2 out_flags2_ = 0;
    PF_Handle global_data_ = nullptr;
    PF_Handle seq_ = nullptr;
    PF_Handle flattened_ = nullptr;
    std::vector<uint8_t> flattened_bytes_;

    bool check_suites_ = true;
    bool ever_set_up_ = false;  // parameter set-up has run (its parameters are in the host's record)
    std::vector<PF_ParamDef> params_;
    std::vector<A_long> ids_;
    std::vector<PF_ParamDef*> ptrs_;
    std::vector<int> changes_;

    InputClip clip_;
    bool extent_set_ = false;
    PF_Rect extent_{};
    World input_world_;
    World output_;
    std::map<const void*, std::unique_ptr<World>> checkouts_;  // by pixel data (layers) or record (others)
    std::vector<std::unique_ptr<World>> spare_layers_;         // checked in, kept while recycling memory
    static constexpr size_t kCachedLayers = 4;                 // layer worlds kept or out before reuse
    // While recycling: which clip frame a kept layer world holds (by its
    // pixels), so that a frame asked for again is handed out as it is
    // instead of being made anew. Cleared when the clip changes.
    std::map<const void*, A_long> layer_frames_;
    bool holds_frame(const World& w, A_long frame) const;
    std::vector<A_long> checked_out_frames_;

    PF_Rect frame_{60, 40, 173, 140};
    bool dragging_ = false;
    PF_EventExtra press_{};
    PF_EventExtra last_event_{};
    A_u_long ticks_ = 0;
};

}  // namespace headless
