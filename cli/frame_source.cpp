#include "cli/frame_source.h"

#include "cli/cli_error.h"

#include <algorithm>
#include <string>

namespace tessen::cli {

FrameSource::FrameSource(std::function<bool(HostFrame&)> decode, int64_t first_frame, int64_t index_base)
    : decode_(std::move(decode)), skip_(first_frame), base_(index_base) {}

bool FrameSource::fill_to(int64_t i) {
    HostFrame scratch;
    while (skip_ > 0 && !ended_) {
        if (!decode_(scratch)) {
            ended_ = true;
            return false;
        }
        --skip_;
    }
    while (!ended_ && end_ <= i) {
        HostFrame f;
        if (!spare_.empty()) {
            f = std::move(spare_.back());
            spare_.pop_back();
        }
        if (!decode_(f)) {
            ended_ = true;
            break;
        }
        if (window_.empty()) window_start_ = end_;
        window_.push_back(std::move(f));
        ++end_;
    }
    return i < end_;
}

bool FrameSource::has(int64_t i) {
    i -= base_;
    if (i < 0) return false;
    return i < end_ || fill_to(i);
}

int64_t stand_in_frame(int64_t i, int64_t count) {
    if (count <= 0) return 0;
    if (i < 0) i = -i;
    return std::min(i, count - 1);
}

int64_t FrameSource::resolve(int64_t i) {
    // Frames before a piece are real frames of the clip that were skipped;
    // nothing may stand in for them.
    if (base_ > 0 && i < base_)
        throw CliError("", "source frame " + std::to_string(i) + " lies before the frames read for this range");
    i -= base_;
    // Before the start, the mirrored frame (the effect looks back one frame;
    // a time further back gets no further than a few frames in, so that it
    // cannot make the whole clip be read). Past the end, reading finds the end.
    constexpr int64_t kMirrorReach = 4;
    if (i < 0) i = std::min(-i, kMirrorReach);
    if (!has(base_ + i)) i = stand_in_frame(i, end_);
    if (window_.empty() || i < 0) throw CliError("", "the video has no frames");
    if (i < window_start_) i = window_start_;  // released already: the oldest kept stands in
    return base_ + i;
}

const HostFrame& FrameSource::at(int64_t i) {
    return window_[static_cast<size_t>(resolve(i) - base_ - window_start_)];
}

void FrameSource::release_before(int64_t i) {
    i -= base_;
    // Always keep the newest frame: it stands in for everything past the end.
    while (window_.size() > 1 && window_start_ < i) {
        if (spare_.size() < 2) spare_.push_back(std::move(window_.front()));
        window_.pop_front();
        ++window_start_;
    }
}

}  // namespace tessen::cli
