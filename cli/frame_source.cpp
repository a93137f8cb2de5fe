#include "cli/frame_source.h"

#include "cli/cli_error.h"

namespace tessen::cli {

FrameSource::FrameSource(std::function<bool(HostFrame&)> decode, int64_t first_frame)
    : decode_(std::move(decode)), skip_(first_frame) {}

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
    if (i < 0) return false;
    return i < end_ || fill_to(i);
}

const HostFrame& FrameSource::at(int64_t i) {
    if (i < 0) i = 0;
    if (!has(i)) i = end_ - 1;
    if (window_.empty() || i < 0) throw CliError("", "the video has no frames");
    if (i < window_start_) i = window_start_;  // released already: the oldest kept stands in
    return window_[static_cast<size_t>(i - window_start_)];
}

void FrameSource::release_before(int64_t i) {
    // Always keep the newest frame: it stands in for everything past the end.
    while (window_.size() > 1 && window_start_ < i) {
        window_.pop_front();
        ++window_start_;
    }
}

}  // namespace tessen::cli
