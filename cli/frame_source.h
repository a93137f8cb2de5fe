// Source frames for the effect's input layer, read from a file as the render
// asks for them. The effect looks one frame back and one ahead, so only a
// small window of decoded frames is kept.
#pragma once

#include "cli/video_io.h"

#include <cstdint>
#include <deque>
#include <functional>
#include <vector>

namespace tessen::cli {

// The frame that stands in for frame i of a clip of `count` frames when i
// lies outside it. Before the start, the mirror image about the first frame
// (-1 -> 1): the effect compares the fields of the previous frame with those
// of the current one, and the first frame held in place of its missing
// predecessor would match itself, show no motion and weave a moving picture
// into combs, while the next frame lies as far away in time and shows the
// motion. Past the end, the last frame: there the effect still compares the
// previous frame with the current one, and the last frame's own field is the
// nearest in time to merge with (as near as the missing next frame's).
int64_t stand_in_frame(int64_t i, int64_t count);

class FrameSource {
public:
    // Frames before `first_frame` are skipped. `decode` fills the next frame
    // and returns false at the end of the stream; its errors pass through.
    // With `index_base` > 0 the first frame decoded is frame index_base of
    // the clip (the caller skipped those before it, which are never asked
    // for): a piece of a longer render numbers its frames as the whole does.
    FrameSource(std::function<bool(HostFrame&)> decode, int64_t first_frame, int64_t index_base = 0);

    // Whether frame i (counted from the first frame) exists; reads ahead as needed.
    bool has(int64_t i);
    // Frame i; a frame outside the clip is stood in for by stand_in_frame().
    const HostFrame& at(int64_t i);
    // The index of the frame at(i) returns (i itself inside the clip).
    int64_t resolve(int64_t i);
    // Forget frames before i.
    void release_before(int64_t i);
    // Number of frames, once the end has been reached; -1 before.
    int64_t known_count() const { return ended_ ? base_ + end_ : -1; }

private:
    bool fill_to(int64_t i);

    std::function<bool(HostFrame&)> decode_;
    int64_t skip_;
    int64_t base_;
    std::deque<HostFrame> window_;
    std::vector<HostFrame> spare_;  // released frames whose buffers the next decodes reuse
    int64_t window_start_ = 0;  // index of window_.front()
    int64_t end_ = 0;           // frames decoded so far
    bool ended_ = false;
};

}  // namespace tessen::cli
