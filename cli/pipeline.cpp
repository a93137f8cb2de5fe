#include "cli/pipeline.h"

#include "cli/interrupt.h"

#include <chrono>
#include <csignal>
#include <ctime>
#include <pthread.h>
#include <utility>

namespace tessen::cli {

namespace {

// Signals go to the calling thread alone: it watches for them between
// frames, and a read or write on a worker cut short by one would pass for a
// file error.
class SignalsBlocked {
public:
    SignalsBlocked() {
        sigset_t s;
        sigemptyset(&s);
        add_stop_signals(&s);
        pthread_sigmask(SIG_BLOCK, &s, &old_);
    }
    ~SignalsBlocked() { pthread_sigmask(SIG_SETMASK, &old_, nullptr); }

private:
    sigset_t old_;
};

int64_t thread_cpu_ns() {
    timespec t{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
    return static_cast<int64_t>(t.tv_sec) * 1000000000 + t.tv_nsec;
}

}  // namespace

RenderPipeline::RenderPipeline(bool threaded, std::function<bool(HostFrame&)> decode,
                               std::function<void(const HostFrame&)> encode, std::function<void()> check)
    : threaded_(threaded), decode_(std::move(decode)), encode_(std::move(encode)), check_(std::move(check)) {
    if (!threaded_) return;
    SignalsBlocked blocked;  // the threads inherit the mask
    decoder_ = std::thread([this] {
        decode_loop();
        decode_cpu_ns_ = thread_cpu_ns();
    });
    try {
        encoder_ = std::thread([this] {
            encode_loop();
            encode_cpu_ns_ = thread_cpu_ns();
        });
    } catch (...) {
        stop_and_join();
        throw;
    }
}

RenderPipeline::~RenderPipeline() { stop_and_join(); }

void RenderPipeline::stop_and_join() {
    {
        std::lock_guard<std::mutex> lock(m_);
        stop_ = true;
    }
    decoded_cv_.notify_all();
    encoded_cv_.notify_all();
    if (decoder_.joinable()) decoder_.join();
    if (encoder_.joinable()) encoder_.join();
}

// Waits for a change, looking up now and then so an interrupt is not missed
// (signals do not wake a condition variable).
void RenderPipeline::wait(std::unique_lock<std::mutex>& lock, std::condition_variable& cv) {
    cv.wait_for(lock, std::chrono::milliseconds(50));
    if (check_) {
        lock.unlock();
        check_();
        lock.lock();
    }
}

void RenderPipeline::decode_loop() {
    for (;;) {
        Item item;
        {
            std::unique_lock<std::mutex> lock(m_);
            decoded_cv_.wait(lock, [&] { return stop_ || decoded_.size() < kQueued; });
            if (stop_) return;
            if (!decode_spare_.empty()) {
                item.frame = std::move(decode_spare_.back());
                decode_spare_.pop_back();
            }
        }
        try {
            item.end = !decode_(item.frame);
        } catch (...) {
            item.error = std::current_exception();
        }
        const bool last = item.end || item.error;
        {
            std::lock_guard<std::mutex> lock(m_);
            if (stop_) return;
            decoded_.push_back(std::move(item));
        }
        decoded_cv_.notify_all();
        if (last) return;
    }
}

bool RenderPipeline::next(HostFrame& frame) {
    if (!threaded_) return decode_(frame);
    std::unique_lock<std::mutex> lock(m_);
    if (decode_over_) return false;
    while (decoded_.empty()) wait(lock, decoded_cv_);
    Item item = std::move(decoded_.front());
    decoded_.pop_front();
    if (item.error || item.end) {
        decode_over_ = true;
        if (item.error) std::rethrow_exception(item.error);
        return false;
    }
    std::swap(frame, item.frame);
    if (decode_spare_.size() < kQueued) decode_spare_.push_back(std::move(item.frame));
    lock.unlock();
    decoded_cv_.notify_all();
    return true;
}

void RenderPipeline::encode_loop() {
    for (;;) {
        HostFrame frame;
        {
            std::unique_lock<std::mutex> lock(m_);
            encoded_cv_.wait(lock, [&] { return stop_ || closing_ || !to_encode_.empty(); });
            if (stop_ || to_encode_.empty()) {
                encoder_done_ = true;
                lock.unlock();
                encoded_cv_.notify_all();
                return;
            }
            frame = std::move(to_encode_.front());
            to_encode_.pop_front();
        }
        encoded_cv_.notify_all();
        std::exception_ptr error;
        try {
            encode_(frame);
        } catch (...) {
            error = std::current_exception();
        }
        {
            std::lock_guard<std::mutex> lock(m_);
            --in_flight_;
            if (error) {
                encode_error_ = error;
                encoder_done_ = true;
            } else if (encode_spare_.size() < kQueued) {
                encode_spare_.push_back(std::move(frame));
            }
        }
        encoded_cv_.notify_all();
        if (error) return;
    }
}

void RenderPipeline::put(HostFrame& frame) {
    if (!threaded_) {
        encode_(frame);
        return;
    }
    std::unique_lock<std::mutex> lock(m_);
    while (!encode_error_ && to_encode_.size() >= kQueued) wait(lock, encoded_cv_);
    if (encode_error_) std::rethrow_exception(encode_error_);
    to_encode_.push_back(std::move(frame));
    ++in_flight_;
    frame = HostFrame();
    if (!encode_spare_.empty()) {
        frame = std::move(encode_spare_.back());
        encode_spare_.pop_back();
    }
    lock.unlock();
    encoded_cv_.notify_all();
}

void RenderPipeline::settle() {
    if (!threaded_) return;
    std::unique_lock<std::mutex> lock(m_);
    while (!encode_error_ && in_flight_ > 0) wait(lock, encoded_cv_);
    if (encode_error_) std::rethrow_exception(encode_error_);
}

void RenderPipeline::drain() {
    if (!threaded_) return;
    settle();
    std::unique_lock<std::mutex> lock(m_);
    closing_ = true;
    lock.unlock();
    encoded_cv_.notify_all();
    if (encoder_.joinable()) encoder_.join();
}

}  // namespace tessen::cli
