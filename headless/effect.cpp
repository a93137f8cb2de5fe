// The command lifecycle of one effect instance.
#include "headless/effect.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <stdexcept>

namespace headless {

InputClip InputClip::from_frames(std::vector<World> frames, double fps) {
    if (frames.empty()) throw std::invalid_argument("an input clip needs at least one frame");
    InputClip c;
    c.fps = fps;
    c.width = frames[0].width();
    c.height = frames[0].height();
    c.deep = frames[0].deep();
    c.frame_count = static_cast<A_long>(frames.size());
    for (const World& f : frames) {
        if (f.width() != c.width || f.height() != c.height || f.deep() != c.deep)
            throw std::invalid_argument("input clip frames differ in size or depth");
    }
    auto shared = std::make_shared<std::vector<World>>(std::move(frames));
    c.frame = [shared](A_long i, World& into) { into = (*shared)[static_cast<size_t>(i)]; };
    return c;
}

A_long clip_frame_index(double seconds, double fps) {
    // The epsilon keeps a time that is a whole frame in exact arithmetic (but
    // a hair below it in floating point) on that frame.
    const double f = std::floor(seconds * fps + 1e-6);
    if (!(f > -1e9)) return -1000000000;
    if (!(f < 1e9)) return 1000000000;
    return static_cast<A_long>(f);
}

A_long clip_frame_at(double seconds, double fps, A_long frame_count) {
    const A_long f = clip_frame_index(seconds, fps);
    if (f <= 0) return 0;
    if (f >= frame_count - 1) return frame_count > 0 ? frame_count - 1 : 0;
    return f;
}

void time_base_for_rate(double fps, A_u_long* time_scale, A_long* time_step) {
    if (std::fabs(fps - 23.976) < 1e-6) {
        *time_scale = 2997;
        *time_step = 125;
    } else if (std::fabs(fps - 29.97) < 1e-6) {
        *time_scale = 2997;
        *time_step = 100;
    } else {
        *time_scale = static_cast<A_u_long>(std::lround(fps * 100));
        *time_step = 100;
    }
}

EffectInstance::EffectInstance(PF_FilterProc entry)
    : entry_(entry), owned_host_(std::make_unique<Host>()), host_(owned_host_.get()) {
    init();
}

EffectInstance::EffectInstance(PF_FilterProc entry, Host& host) : entry_(entry), host_(&host) { init(); }

void EffectInstance::init() {
    project_ = std::make_unique<Project>(*host_);
    ui_ = std::make_unique<EffectUI>(*host_);
    ui_->on_update([this](PF_ParamIndex i, const PF_ParamDef& d) {
        if (i <= 0 || i >= num_params()) return;
        PF_ParamDef& p = params_[static_cast<size_t>(i)];
        p.ui_flags = d.ui_flags;
        p.ui_width = d.ui_width;
        p.ui_height = d.ui_height;
        std::memcpy(p.name, d.name, sizeof p.name);
        p.name[sizeof p.name - 1] = 0;
    });
    host_->set_checkout(
        [this](PF_ParamIndex i, A_long t, A_long step, A_u_long scale, PF_ParamDef* p) { return checkout(i, t, step, scale, p); },
        [this](PF_ParamDef* p) { return checkin(p); });
    host_->add_leak_check("checkouts", [this]() -> std::string {
        return checkouts_.empty() ? std::string() : std::to_string(checkouts_.size()) + " checkout(s) not checked in";
    });
    set_comp_rate(29.97);
    set_input(InputClip{});
    build_params();  // until parameter set-up: the input layer alone
}

static std::vector<uint8_t> bytes_of(Host& host, PF_Handle h) {
    if (!h || !host.is_live_handle(h)) return {};
    const size_t n = host.handle_size(h);
    auto* p = static_cast<const uint8_t*>(*h);  // peeking does not lock: the host reads its own memory
    return std::vector<uint8_t>(p, p + n);
}

EffectInstance::~EffectInstance() {
    if (seq_) sequence_setdown();
    if (global_up_) global_setdown();
    host_->remove_leak_check("checkouts");
    host_->set_checkout(nullptr, nullptr);
    ui_.reset();
    project_.reset();
}

std::string EffectInstance::message() const {
    const PF_OutData& o = host_->out_data();
    return std::string(o.return_msg, strnlen(o.return_msg, sizeof o.return_msg));
}

void EffectInstance::set_comp_rate(double fps) {
    A_u_long scale;
    A_long step;
    time_base_for_rate(fps, &scale, &step);
    set_time_base(scale, step);
}

namespace {
// Times are 32-bit in the host's records; a product beyond them stops at the end.
A_long time_product(long long a, long long b) {
    const long long t = a * b;  // both factors are 32-bit: no overflow here
    return static_cast<A_long>(std::max<long long>(INT32_MIN, std::min<long long>(INT32_MAX, t)));
}
}  // namespace

void EffectInstance::set_time_base(A_u_long time_scale, A_long time_step) {
    PF_InData& in = host_->in_data();
    const long long frame = in.time_step ? static_cast<long long>(in.current_time) / in.time_step : 0;
    in.time_scale = time_scale;
    in.time_step = time_step;
    in.local_time_step = time_step;
    in.current_time = time_product(std::max<long long>(INT32_MIN, std::min<long long>(INT32_MAX, frame)), time_step);
    in.total_time = time_product(time_step, 300);
}

void EffectInstance::set_frame(A_long k) { host_->in_data().current_time = time_product(k, host_->in_data().time_step); }

void EffectInstance::set_extent_hint(PF_Rect r) {
    extent_ = r;
    extent_set_ = true;
}

void EffectInstance::set_downsample(A_long num_x, A_u_long den_x, A_long num_y, A_u_long den_y) {
    PF_InData& in = host_->in_data();
    in.downsample_x = PF_RationalScale{num_x, den_x ? den_x : 1};
    in.downsample_y = PF_RationalScale{num_y, den_y ? den_y : 1};
}

void EffectInstance::set_pixel_aspect_ratio(A_long num, A_u_long den) {
    host_->in_data().pixel_aspect_ratio = PF_RationalScale{num, den ? den : 1};
}

void EffectInstance::set_input(InputClip clip) {
    if (clip.width <= 0 || clip.height <= 0 || clip.frame_count <= 0 || !(clip.fps > 0))
        throw std::invalid_argument("an input clip needs a positive size, frame count and rate");
    clip_ = std::move(clip);
    layer_frames_.clear();
    PF_InData& in = host_->in_data();
    in.width = clip_.width;
    in.height = clip_.height;
    project_->set_item_size(clip_.width, clip_.height);
}

// Scaled as the host scales a layer: (num × size + den / 2) / den, in
// arithmetic wide enough for any factor. A host only ever shrinks a layer:
// a factor that is no downsampling (zero, negative, above one) gives the
// full size.
static A_long scaled_layer_size(A_long size, const PF_RationalScale& d) {
    if (d.den == 0 || d.num <= 0 || static_cast<A_u_long>(d.num) > d.den) return size;
    const unsigned long long n = static_cast<unsigned long long>(d.num) * static_cast<unsigned long long>(size);
    return static_cast<A_long>((n + d.den / 2) / d.den);
}

A_long EffectInstance::layer_width() const { return scaled_layer_size(clip_.width, host_->in_data().downsample_x); }

A_long EffectInstance::layer_height() const { return scaled_layer_size(clip_.height, host_->in_data().downsample_y); }

World EffectInstance::make_layer(A_long frame) const {
    World full(clip_.width, clip_.height, clip_.deep);
    if (clip_.frame) clip_.frame(frame, full);
    if (full.width() != clip_.width || full.height() != clip_.height || full.deep() != clip_.deep)
        throw std::runtime_error("the input clip produced a frame of the wrong size or depth");
    const A_long w = layer_width(), h = layer_height();
    if (w == clip_.width && h == clip_.height) return full;
    World scaled(w, h, clip_.deep);
    resample_into(full.def(), scaled.def());
    return scaled;
}

void EffectInstance::make_layer_into(A_long frame, World& into) const {
    const A_long w = layer_width(), h = layer_height();
    if (!clip_.frame || w != clip_.width || h != clip_.height) {
        into = make_layer(frame);
        return;
    }
    // A world never made (no pixel memory at all) must not pass for a 0 x 0 layer.
    if (into.def().data == nullptr || into.width() != w || into.height() != h || into.deep() != clip_.deep)
        into = World(w, h, clip_.deep, false);
    clip_.frame(frame, into);
    if (into.width() != clip_.width || into.height() != clip_.height || into.deep() != clip_.deep)
        throw std::runtime_error("the input clip produced a frame of the wrong size or depth");
}

bool EffectInstance::holds_frame(const World& w, A_long frame) const {
    const auto it = layer_frames_.find(w.def().data);
    return it != layer_frames_.end() && it->second == frame && w.width() == layer_width() &&
           w.height() == layer_height() && w.deep() == clip_.deep;
}

std::unique_ptr<World> EffectInstance::take_layer_world(A_long frame) {
    if (!host_->recycle_memory()) return std::make_unique<World>(make_layer(frame));
    // A kept world that already holds the frame goes out as it is (the
    // clip's frames depend on their index alone). Otherwise a new world is
    // made while fewer than kCachedLayers are kept or out, and past that the
    // one checked in longest ago is filled anew: like the host's frame
    // cache, this keeps a render's few frames when the effect checks them
    // out one after another, so each is copied once, not once a render.
    for (auto it = spare_layers_.begin(); it != spare_layers_.end(); ++it) {
        if (holds_frame(**it, frame)) {
            std::unique_ptr<World> world = std::move(*it);
            spare_layers_.erase(it);
            return world;
        }
    }
    size_t layers_out = 0;
    for (const auto& kv : checkouts_) layers_out += kv.second ? 1 : 0;
    std::unique_ptr<World> world;
    if (!spare_layers_.empty() && spare_layers_.size() + layers_out >= kCachedLayers) {
        world = std::move(spare_layers_.front());
        spare_layers_.erase(spare_layers_.begin());
    } else {
        world = std::make_unique<World>();
    }
    layer_frames_.erase(world->def().data);
    make_layer_into(frame, *world);
    if (world->def().data != nullptr) layer_frames_[world->def().data] = frame;
    return world;
}

namespace {

// Zero in every pixel of `w` outside `r`.
void clear_outside(World& w, const PF_Rect& r) {
    const PF_Pixel zero{0, 0, 0, 0};
    const PF_Rect bands[4] = {{0, 0, w.width(), r.top},
                              {0, r.bottom, w.width(), w.height()},
                              {0, r.top, r.left, r.bottom},
                              {r.right, r.top, w.width(), r.bottom}};
    for (const PF_Rect& b : bands) fill_rect8(&zero, &b, &w.def());
}

}  // namespace

PF_Err EffectInstance::call(PF_Cmd cmd, PF_LayerDef* output, void* extra) {
    PF_InData& in = host_->in_data();
    PF_OutData& out = host_->out_data();
    host_->reset_out_data();
    in.sequence_data = seq_;
    in.global_data = global_data_;
    out.sequence_data = seq_;
    out.global_data = global_data_;
    for (PF_ParamDef& p : params_) p.uu.change_flags = 0;
    const bool with_params = cmd != PF_Cmd_GLOBAL_SETUP && cmd != PF_Cmd_PARAMS_SETUP && cmd != PF_Cmd_ABOUT &&
                             cmd != PF_Cmd_GLOBAL_SETDOWN && !params_.empty();
    PF_ParamDef** params = with_params ? ptrs_.data() : nullptr;

    const auto balances_before = host_->suite_balances();
    PF_Err err;
    try {
        err = entry_(cmd, &in, &out, params, output, extra);
    } catch (...) {
        host_->report_problem("an exception left the entry point (command " + std::to_string(cmd) + ")");
        err = PF_Err_INTERNAL_STRUCT_DAMAGED;
    }

    if (check_suites_) {
        for (const auto& kv : host_->suite_balances()) {
            auto it = balances_before.find(kv.first);
            if (kv.second > (it == balances_before.end() ? 0 : it->second)) {
                host_->report_problem("command " + std::to_string(cmd) + " left \"" + kv.first.first + "\" v" +
                                      std::to_string(kv.first.second) + " acquired");
            }
        }
    }
    for (size_t i = 0; i < params_.size(); ++i) {
        if (params_[i].uu.change_flags & PF_ChangeFlag_CHANGED_VALUE) changes_[i]++;
        params_[i].uu.id = ids_[i];
    }
    if (out.global_data != global_data_) global_data_ = out.global_data;
    switch (cmd) {
    case PF_Cmd_GLOBAL_SETDOWN:
        global_up_ = false;
        global_data_ = nullptr;
        break;
    case PF_Cmd_SEQUENCE_SETDOWN:
        // The effect disposes its record; whatever it leaves is a leak.
        seq_ = nullptr;
        break;
    case PF_Cmd_GET_FLATTENED_SEQUENCE_DATA:
        if (err != PF_Err_NONE) break;
        if (out.sequence_data && out.sequence_data == seq_) {
            host_->report_problem("the flattened copy is the live sequence record itself");
        } else if (out.sequence_data) {
            // The host saves the copy with the project and lets it go at once.
            flattened_ = out.sequence_data;
            flattened_bytes_ = bytes_of(*host_, flattened_);
            if (host_->is_live_handle(flattened_)) host_->handle_suite()->host_dispose_handle(flattened_);
        }
        break;
    default:
        if (out.sequence_data != seq_) seq_ = out.sequence_data;
        break;
    }
    in.sequence_data = seq_;
    in.global_data = global_data_;
    return err;
}

PF_Err EffectInstance::global_setup() {
    const PF_Err err = call(PF_Cmd_GLOBAL_SETUP);
    const PF_OutData& out = host_->out_data();
    my_version_ = out.my_version;
    out_flags_ = out.out_flags;
    out_flags2_ = out.out_flags2;
    if (!err) global_up_ = true;
    return err;
}

PF_Err EffectInstance::params_setup() {
    host_->clear_params();
    ever_set_up_ = true;
    const PF_Err err = call(PF_Cmd_PARAMS_SETUP);
    if (err) return err;
    const A_long expected = static_cast<A_long>(host_->param_count()) + 1;
    if (host_->out_data().num_params != expected) {
        host_->report_problem("params set-up: out_data->num_params is " + std::to_string(host_->out_data().num_params) +
                              " but " + std::to_string(expected) + " parameters exist (input layer included)");
    }
    build_params();
    return err;
}

void EffectInstance::build_params() {
    params_.clear();
    ids_.clear();
    PF_ParamDef layer{};
    layer.param_type = PF_Param_LAYER;
    params_.push_back(layer);
    ids_.push_back(0);
    for (size_t i = 0; i < host_->param_count() && ever_set_up_; ++i) {
        params_.push_back(host_->param(i).def);
        ids_.push_back(host_->param(i).def.uu.id);
    }
    ptrs_.clear();
    for (PF_ParamDef& p : params_) ptrs_.push_back(&p);
    changes_.assign(params_.size(), 0);
    host_->in_data().num_params = num_params();
    ui_->set_param_count(num_params());
}

PF_Err EffectInstance::setup() {
    PF_Err err = global_setup();
    if (!err) err = params_setup();
    if (!err) err = sequence_setup();
    return err;
}

PF_Err EffectInstance::render() {
    PF_InData& in = host_->in_data();
    const double seconds = in.time_scale ? static_cast<double>(in.current_time) / in.time_scale : 0.0;
    const bool recycle = host_->recycle_memory();
    const A_long frame = clip_frame_at(seconds, clip_.fps, clip_.frame_count);
    if (recycle) {
        if (!holds_frame(input_world_, frame)) {
            layer_frames_.erase(input_world_.def().data);
            make_layer_into(frame, input_world_);
            if (input_world_.def().data != nullptr) layer_frames_[input_world_.def().data] = frame;
        }
    } else {
        layer_frames_.clear();
        input_world_ = make_layer(frame);
    }
    if (!params_.empty()) {
        params_[0].u.ld = input_world_.def();
        params_[0].param_type = PF_Param_LAYER;
    }
    const bool keep = recycle && output_.width() == input_world_.width() &&
                      output_.height() == input_world_.height() && output_.deep() == clip_.deep;
    if (!keep) output_ = World(input_world_.width(), input_world_.height(), clip_.deep, !recycle);
    in.extent_hint = extent_set_ ? extent_ : PF_Rect{0, 0, output_.width(), output_.height()};
    if (recycle) clear_outside(output_, in.extent_hint);
    output_.def().extent_hint = PF_UnionableRect{in.extent_hint.left, in.extent_hint.top, in.extent_hint.right,
                                                 in.extent_hint.bottom};
    input_world_.def().extent_hint = output_.def().extent_hint;
    PF_Err err = frame_setup();
    if (!err) err = call(PF_Cmd_RENDER, &output_.def());
    const PF_Err down = frame_setdown();
    return err ? err : down;
}

PF_Err EffectInstance::reload_sequence(const std::vector<uint8_t>& bytes) {
    if (seq_) {
        host_->report_problem("reload_sequence while a sequence record is live");
        return PF_Err_INTERNAL_STRUCT_DAMAGED;
    }
    PF_Handle h = host_->handle_suite()->host_new_handle(bytes.size());
    if (!h) return PF_Err_OUT_OF_MEMORY;
    void* p = host_->handle_suite()->host_lock_handle(h);
    if (!bytes.empty()) std::memcpy(p, bytes.data(), bytes.size());
    host_->handle_suite()->host_unlock_handle(h);
    seq_ = h;
    return sequence_resetup();
}


std::vector<uint8_t> EffectInstance::sequence_bytes() const { return bytes_of(*host_, seq_); }
std::vector<uint8_t> EffectInstance::flattened_bytes() const { return flattened_bytes_; }

// ---- parameters

PF_ParamDef& EffectInstance::param(PF_ParamIndex i) {
    if (i < 0 || i >= num_params()) throw std::out_of_range("parameter index " + std::to_string(i) + " out of range");
    return params_[static_cast<size_t>(i)];
}

A_long EffectInstance::param_id(PF_ParamIndex i) const {
    if (i < 0 || i >= num_params()) throw std::out_of_range("parameter index " + std::to_string(i) + " out of range");
    return ids_[static_cast<size_t>(i)];
}

int EffectInstance::changes_by_effect(PF_ParamIndex i) const {
    return i >= 0 && i < num_params() ? changes_[static_cast<size_t>(i)] : 0;
}

PF_ParamDef& EffectInstance::typed(PF_ParamIndex i, PF_ParamType type, const char* what) {
    PF_ParamDef& p = param(i);
    if (p.param_type != type)
        throw std::invalid_argument("parameter " + std::to_string(i) + " (\"" + std::string(p.name) + "\") is not a " + what);
    return p;
}

void EffectInstance::set_popup(PF_ParamIndex i, A_long value) {
    PF_ParamDef& p = typed(i, PF_Param_POPUP, "popup");
    if (value < 1 || value > p.u.pd.num_choices)
        throw std::invalid_argument("popup \"" + std::string(p.name) + "\" has no choice " + std::to_string(value));
    p.u.pd.value = value;
}

void EffectInstance::set_slider(PF_ParamIndex i, A_long value) {
    PF_ParamDef& p = typed(i, PF_Param_SLIDER, "slider");
    if (value < p.u.sd.valid_min || value > p.u.sd.valid_max)
        throw std::invalid_argument("slider \"" + std::string(p.name) + "\" accepts " + std::to_string(p.u.sd.valid_min) +
                                    " to " + std::to_string(p.u.sd.valid_max) + ", not " + std::to_string(value));
    p.u.sd.value = value;
}

void EffectInstance::set_float_slider(PF_ParamIndex i, double value) {
    PF_ParamDef& p = typed(i, PF_Param_FLOAT_SLIDER, "float slider");
    if (!(value >= p.u.fs_d.valid_min && value <= p.u.fs_d.valid_max))
        throw std::invalid_argument("slider \"" + std::string(p.name) + "\" accepts " + std::to_string(p.u.fs_d.valid_min) +
                                    " to " + std::to_string(p.u.fs_d.valid_max) + ", not " + std::to_string(value));
    p.u.fs_d.value = value;
}

void EffectInstance::set_checkbox(PF_ParamIndex i, bool on) { typed(i, PF_Param_CHECKBOX, "checkbox").u.bd.value = on ? 1 : 0; }

A_long EffectInstance::popup(PF_ParamIndex i) { return typed(i, PF_Param_POPUP, "popup").u.pd.value; }
A_long EffectInstance::slider(PF_ParamIndex i) { return typed(i, PF_Param_SLIDER, "slider").u.sd.value; }
double EffectInstance::float_slider(PF_ParamIndex i) { return typed(i, PF_Param_FLOAT_SLIDER, "float slider").u.fs_d.value; }
bool EffectInstance::checkbox(PF_ParamIndex i) { return typed(i, PF_Param_CHECKBOX, "checkbox").u.bd.value != 0; }

// ---- checkouts

PF_Err EffectInstance::checkout(PF_ParamIndex index, A_long time, A_long step, A_u_long scale, PF_ParamDef* param) {
    (void)step;
    if (index < 0 || index >= num_params()) {
        host_->report_problem("checkout_param of index " + std::to_string(index) + " out of range");
        return PF_Err_INVALID_INDEX;
    }
    if (scale == 0) {
        host_->report_problem("checkout_param with time_scale 0");
        return PF_Err_BAD_CALLBACK_PARAM;
    }
    if (index > 0) {
        *param = params_[static_cast<size_t>(index)];
        checkouts_[param] = nullptr;
        return PF_Err_NONE;
    }
    const double seconds = static_cast<double>(time) / scale;
    const A_long frame = clip_.frame_serves_outside ? clip_frame_index(seconds, clip_.fps)
                                                    : clip_frame_at(seconds, clip_.fps, clip_.frame_count);
    // Nothing may unwind through the effect's frames: a failing clip becomes an error code.
    std::unique_ptr<World> world;
    try {
        world = take_layer_world(frame);
    } catch (const std::bad_alloc&) {
        return PF_Err_OUT_OF_MEMORY;
    } catch (const std::exception& e) {
        host_->report_problem(std::string("input clip failed at frame ") + std::to_string(frame) + ": " + e.what());
        return PF_Err_INTERNAL_STRUCT_DAMAGED;
    }
    world->def().extent_hint = PF_UnionableRect{0, 0, world->width(), world->height()};
    std::memset(param, 0, sizeof *param);
    param->param_type = PF_Param_LAYER;
    param->u.ld = world->def();
    checked_out_frames_.push_back(frame);
    checkouts_[world->def().data] = std::move(world);
    return PF_Err_NONE;
}

PF_Err EffectInstance::checkin(PF_ParamDef* param) {
    auto it = param->param_type == PF_Param_LAYER ? checkouts_.find(param->u.ld.data) : checkouts_.find(param);
    if (it == checkouts_.end()) {
        host_->report_problem("checkin_param of something not checked out (or checked in twice)");
        return PF_Err_BAD_CALLBACK_PARAM;
    }
    if (host_->recycle_memory() && param->param_type == PF_Param_LAYER && it->second) {
        if (spare_layers_.size() < 8)
            spare_layers_.push_back(std::move(it->second));
        else
            layer_frames_.erase(it->second->def().data);
    }
    checkouts_.erase(it);
    return PF_Err_NONE;
}

// ---- events

PF_Err EffectInstance::send_event(PF_EventExtra& e) {
    if (!e.contextH) e.contextH = ui_->context();
    const PF_Err err = call(PF_Cmd_EVENT, nullptr, &e);
    last_event_ = e;
    return err;
}

PF_Err EffectInstance::event(PF_EventExtra& e) { return send_event(e); }

static PF_EventExtra effect_event(PF_ContextH ctx, PF_EventType type, PF_ParamIndex index, PF_Rect frame) {
    PF_EventExtra e{};
    e.contextH = ctx;
    e.e_type = type;
    e.effect_win.index = index;
    e.effect_win.area = PF_EA_CONTROL;
    e.effect_win.current_frame = PF_UnionableRect{frame.left, frame.top, frame.right, frame.bottom};
    e.effect_win.param_title_frame = PF_UnionableRect{0, frame.top, frame.left, frame.top + 16};
    return e;
}

PF_Err EffectInstance::draw(PF_ParamIndex index) {
    PF_EventExtra e = effect_event(ui_->context(), PF_Event_DRAW, index, frame_);
    e.u.draw.update_rect = e.effect_win.current_frame;
    e.u.draw.depth = 32;
    return send_event(e);
}

PF_Err EffectInstance::idle(PF_ParamIndex index) {
    PF_EventExtra e = effect_event(ui_->context(), PF_Event_IDLE, index, frame_);
    return send_event(e);
}

PF_Err EffectInstance::press(PF_ParamIndex index, PF_Point where, PF_Modifiers modifiers) {
    if (dragging_) host_->report_problem("press while the previous press is still going on");
    PF_EventExtra e = effect_event(ui_->context(), PF_Event_DO_CLICK, index, frame_);
    e.u.do_click.when = ++ticks_;
    e.u.do_click.screen_point = where;
    e.u.do_click.num_clicks = 1;
    e.u.do_click.modifiers = modifiers;
    ui_->set_mouse(where);
    const PF_Err err = send_event(e);
    press_ = e;
    dragging_ = e.u.do_click.send_drag != 0;
    return err;
}

PF_Err EffectInstance::drag(PF_Point where) { return drag_event(where, false); }

PF_Err EffectInstance::release(PF_Point where) { return drag_event(where, true); }

// One drag event of the current press; the last one ends the press whatever
// the effect asks for.
PF_Err EffectInstance::drag_event(PF_Point where, bool last) {
    if (!dragging_) return PF_Err_NONE;  // no drags were asked for: the host sends none
    PF_EventExtra e = effect_event(ui_->context(), PF_Event_DRAG, press_.effect_win.index, frame_);
    e.u.do_click = press_.u.do_click;
    e.u.do_click.when = ++ticks_;
    e.u.do_click.screen_point = where;
    e.u.do_click.last_time = last ? 1 : 0;
    ui_->set_mouse(where);
    const PF_Err err = send_event(e);
    press_.u.do_click = e.u.do_click;
    dragging_ = !last && e.u.do_click.send_drag != 0;
    return err;
}

}  // namespace headless
