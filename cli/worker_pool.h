// `tessen render --jobs N`: N copies of the effect, each in a process of its
// own (tessen itself in a hidden mode, with its own headless host), as After
// Effects renders several frames at once with several render processes. The
// effect stays single-threaded inside each. This process decodes once, hands
// every render the source frames it checks out (the same frames, stand-ins
// included, that it would hand the effect itself) and writes the results in
// order, so the output is the one process's byte for byte.
//
// A process that fails or dies ends the run with one line; the processes are
// killed and reaped whenever the run ends early (an error, an interrupt).
#pragma once

#include "cli/effect_runner.h"
#include "cli/frame_source.h"
#include "cli/pipeline.h"

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace tessen::cli {

struct ProcessRender {
    int jobs = 2;
    EffectSetup setup;  // frame_at and rows_at are not used
    EffectParams params;
    FrameSource* source = nullptr;
    RenderPipeline* pipeline = nullptr;
    int64_t first_k = 0;         // first output frame
    int64_t end_k = INT64_MAX;   // first output frame not to render
    std::function<int64_t(int64_t)> source_frame_of;  // the source frame output frame k shows
    // Output frames made here without the effect (film frames put back
    // together): fills the frame and returns true; null or false: the
    // effect renders it.
    std::function<bool(int64_t, HostFrame&)> made_here;
    // The first source frame still needed once output frame k, showing
    // source frame cur, is handed out (null: cur - 1).
    std::function<int64_t(int64_t k, int64_t cur)> keep_from;
    std::function<void(int64_t)> written;             // output frame k went to the encoder
    std::function<void()> check;                      // throws to stop (an interrupt)
};

struct ProcessRenderResult {
    // Why no process was started (memory cannot be shared, e.g. under a file
    // size limit); the caller renders in its own process. "" when they ran.
    std::string not_started;
    int64_t end_k = 0;             // one past the last frame written
    std::string leaks;             // what the processes' set-downs found ("" when clean)
    std::vector<int64_t> peak_kb;  // peak resident memory of each process
    double cpu_seconds = 0;        // processor time of all of them
    size_t shared_bytes = 0;       // frames shared with them
};

// Renders output frames first_k.. until end_k or the source's end, unless it
// cannot start (see not_started; nothing was read then). Failures come as
// Failure with the exit code tessen reports.
ProcessRenderResult render_in_processes(const ProcessRender& render);

// The cores this process may run on (its affinity mask, as a batch system
// such as Slurm sets it), at least 1.
int cores_available();

// The hidden command of an effect process; its descriptors
// worker::kChannelFd and worker::kMemoryFd are open.
int run_effect_process();

}  // namespace tessen::cli
