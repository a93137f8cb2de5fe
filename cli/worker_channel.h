// The wire between tessen and its effect processes (--jobs): small
// fixed-layout messages over a Unix stream socket, and the pictures in a
// block of memory both sides map, so a frame is never copied through the
// socket. Both ends are the same program, so the layouts are simply the
// structs below.
#pragma once

#include "cli/effect_runner.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <type_traits>

namespace tessen::cli::worker {

// Descriptors an effect process finds open when it starts.
constexpr int kChannelFd = 3;
constexpr int kMemoryFd = 4;
// The hidden command that makes tessen an effect process.
constexpr char kProcessCommand[] = "--effect-process";

enum class Kind : uint32_t {
    kSetup = 1,  // tessen -> process: Setup, text = module path
    kJob,        // tessen -> process: Job for output frame k
    kClose,      // tessen -> process: set down and report
    kReady,      // process -> tessen: set-up done
    kDone,       // process -> tessen: frame k is in its output slot
    kFailed,     // process -> tessen: text = the one line, k = frame (-1: set-up)
    kClosed,     // process -> tessen: Closed, text = what leaked ("" when clean)
};

static_assert(std::is_trivially_copyable_v<EffectParams>, "the effect's settings travel as they lie in memory");

struct Header {
    Kind kind;
    uint32_t body_size;
    uint32_t text_size;
    int32_t exit_code;  // kFailed
    int64_t k;          // output frame of kJob, kDone, kFailed
};

struct Setup {
    int32_t width, height, depth;
    uint32_t time_scale;
    int32_t time_step;
    int32_t rate_num, rate_den;
    int64_t layer_frames;
    uint8_t diagnostic_views;
    EffectParams params;
    uint64_t frame_bytes;  // one slot of the shared memory
    uint32_t slots;
};

// The source frames one render may check out, each in a slot of the shared
// memory; frame i of the clip as tessen would hand it to the effect itself
// (stand-ins for the clip's ends included).
struct Job {
    static constexpr int kMaxFrames = 8;
    int32_t out_slot;
    int32_t count;
    int64_t index[kMaxFrames];
    int32_t slot[kMaxFrames];
};

struct Closed {
    int64_t peak_kb;     // the process's peak resident memory
    double cpu_seconds;  // its processor time, user and system
};

// Sends one message whole. Throws CliError when the other side is gone.
void send_message(int fd, Kind kind, int64_t k, const void* body, size_t body_size, const std::string& text = "",
                  int exit_code = 0);

// Reads one message; false when the other side has gone (end of stream or
// a reset). The body must have the size the kind expects, else CliError.
struct Message {
    Header header{};
    std::string body;
    std::string text;
};
bool receive_message(int fd, Message& m);

// Memory shared with the effect processes: `slots` frame-sized slots.
class SharedFrames {
public:
    // A new anonymous block (tessen). Throws CliError.
    SharedFrames(size_t frame_bytes, size_t slots);
    // The block behind an inherited descriptor (an effect process).
    SharedFrames(int fd, size_t frame_bytes, size_t slots);
    ~SharedFrames();
    SharedFrames(const SharedFrames&) = delete;
    SharedFrames& operator=(const SharedFrames&) = delete;

    int fd() const { return fd_; }
    size_t bytes() const { return frame_bytes_ * slots_; }
    uint8_t* slot(size_t i) const { return base_ + i * frame_bytes_; }

private:
    void map();
    int fd_ = -1;
    size_t frame_bytes_, slots_;
    uint8_t* base_ = nullptr;
};

}  // namespace tessen::cli::worker
