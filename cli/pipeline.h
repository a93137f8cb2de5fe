// Decoding, the effect and encoding of `tessen render` overlapped: a
// decoding thread and an encoding thread around the calling thread, which
// alone calls the effect (the effect runs on one thread at a time). Bounded
// queues between them keep memory flat, and frame buffers travel back to
// where they are filled, so no frame is allocated twice.
//
// An error on either thread reaches the calling thread as the very exception
// it was, where the one-thread order would have met it: a decoding error
// when that frame is asked for, an encoding error at the next frame handed
// over or at drain(). The destructor stops both threads and joins them, so
// unwinding past the pipeline leaves no thread touching the reader or writer.
#pragma once

#include "cli/video_io.h"

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <exception>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace tessen::cli {

class RenderPipeline {
public:
    // `decode` fills the next frame and returns false at the end; `encode`
    // writes one frame; `check` throws to abandon a wait (an interrupt).
    // Unthreaded, both run on the calling thread when asked, in order.
    RenderPipeline(bool threaded, std::function<bool(HostFrame&)> decode,
                   std::function<void(const HostFrame&)> encode, std::function<void()> check);
    ~RenderPipeline();
    RenderPipeline(const RenderPipeline&) = delete;
    RenderPipeline& operator=(const RenderPipeline&) = delete;

    // The next decoded frame, swapped into `frame` (the buffer it held goes
    // back to the decoder); false at the end of the stream.
    bool next(HostFrame& frame);
    // Hands a rendered frame to the encoder; `frame` gets a spare buffer.
    void put(HostFrame& frame);
    // Waits until every frame handed over is encoded; rethrows an encoding
    // error. settle() leaves the encoder open for more, drain() closes it.
    void settle();
    void drain();
    // Processor time of the decoding and the encoding thread, once each has
    // finished (drain() for the encoder, the stream's end for the decoder); 0
    // before, and unthreaded.
    double decode_seconds() const { return decode_cpu_ns_ / 1e9; }
    double encode_seconds() const { return encode_cpu_ns_ / 1e9; }

private:
    struct Item {
        HostFrame frame;
        bool end = false;
        std::exception_ptr error;
    };
    void decode_loop();
    void encode_loop();
    void wait(std::unique_lock<std::mutex>& lock, std::condition_variable& cv);
    void stop_and_join();

    static constexpr size_t kQueued = 3;

    const bool threaded_;
    std::function<bool(HostFrame&)> decode_;
    std::function<void(const HostFrame&)> encode_;
    std::function<void()> check_;

    std::mutex m_;
    std::condition_variable decoded_cv_, encoded_cv_;
    std::deque<Item> decoded_;            // decoder -> caller
    std::vector<HostFrame> decode_spare_;  // caller -> decoder
    std::deque<HostFrame> to_encode_;     // caller -> encoder
    std::vector<HostFrame> encode_spare_;  // encoder -> caller
    bool stop_ = false;                   // unwinding: threads leave at once
    bool closing_ = false;                // no more frames to encode
    bool decode_over_ = false;            // the caller has met the end or an error
    bool encoder_done_ = false;
    size_t in_flight_ = 0;                // handed over and not yet encoded
    std::exception_ptr encode_error_;
    std::atomic<int64_t> decode_cpu_ns_{0}, encode_cpu_ns_{0};
    std::thread decoder_, encoder_;
};

}  // namespace tessen::cli
