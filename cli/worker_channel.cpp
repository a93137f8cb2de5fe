#include "cli/worker_channel.h"

#include "cli/cli_error.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <unistd.h>

namespace tessen::cli::worker {

namespace {

constexpr uint32_t kMaxText = 1 << 20;

size_t body_size_of(Kind kind) {
    switch (kind) {
        case Kind::kSetup: return sizeof(Setup);
        case Kind::kJob: return sizeof(Job);
        case Kind::kClosed: return sizeof(Closed);
        default: return 0;
    }
}

void send_all(int fd, const void* data, size_t n) {
    const auto* p = static_cast<const uint8_t*>(data);
    while (n > 0) {
        // MSG_NOSIGNAL: a process that is gone is an error here, not a SIGPIPE.
        const ssize_t w = ::send(fd, p, n, MSG_NOSIGNAL);
        if (w < 0 && errno == EINTR) continue;
        if (w <= 0) throw CliError("", std::string("the effect process is gone (") + std::strerror(errno) + ")");
        p += w;
        n -= static_cast<size_t>(w);
    }
}

// false at the end of the stream or a reset, before or within the data.
bool receive_all(int fd, void* data, size_t n) {
    auto* p = static_cast<uint8_t*>(data);
    while (n > 0) {
        const ssize_t r = ::recv(fd, p, n, 0);
        if (r < 0 && errno == EINTR) continue;
        if (r <= 0) return false;
        p += r;
        n -= static_cast<size_t>(r);
    }
    return true;
}

}  // namespace

void send_message(int fd, Kind kind, int64_t k, const void* body, size_t body_size, const std::string& text,
                  int exit_code) {
    Header h{};
    h.kind = kind;
    h.body_size = static_cast<uint32_t>(body_size);
    h.text_size = static_cast<uint32_t>(std::min<size_t>(text.size(), kMaxText));
    h.exit_code = exit_code;
    h.k = k;
    std::string all(reinterpret_cast<const char*>(&h), sizeof h);
    if (body_size) all.append(static_cast<const char*>(body), body_size);
    all.append(text, 0, h.text_size);
    send_all(fd, all.data(), all.size());
}

bool receive_message(int fd, Message& m) {
    if (!receive_all(fd, &m.header, sizeof m.header)) return false;
    if (m.header.body_size != body_size_of(m.header.kind) || m.header.text_size > kMaxText)
        throw CliError("", "a message between tessen and an effect process was damaged");
    m.body.resize(m.header.body_size);
    m.text.resize(m.header.text_size);
    return receive_all(fd, m.body.data(), m.body.size()) && receive_all(fd, m.text.data(), m.text.size());
}

SharedFrames::SharedFrames(size_t frame_bytes, size_t slots) : frame_bytes_(frame_bytes), slots_(slots) {
#if defined(__linux__)
    fd_ = ::memfd_create("tessen-frames", MFD_CLOEXEC);
#else
    const std::string name = "/tessen-" + std::to_string(::getpid()) + "-" + std::to_string(reinterpret_cast<uintptr_t>(this));
    fd_ = ::shm_open(name.c_str(), O_RDWR | O_CREAT | O_EXCL, 0600);
    if (fd_ >= 0) {
        ::shm_unlink(name.c_str());
        ::fcntl(fd_, F_SETFD, FD_CLOEXEC);
    }
#endif
    if (fd_ < 0) throw CliError("", std::string("cannot make memory to share with the effect processes: ") + std::strerror(errno));
    if (::ftruncate(fd_, static_cast<off_t>(bytes())) != 0) {
        const int e = errno;
        ::close(fd_);
        throw CliError("", std::string("cannot make memory to share with the effect processes: ") + std::strerror(e));
    }
    map();
}

SharedFrames::SharedFrames(int fd, size_t frame_bytes, size_t slots) : fd_(fd), frame_bytes_(frame_bytes), slots_(slots) {
    map();
}

void SharedFrames::map() {
    void* p = ::mmap(nullptr, bytes(), PROT_READ | PROT_WRITE, MAP_SHARED, fd_, 0);
    if (p == MAP_FAILED) {
        const int e = errno;
        ::close(fd_);
        fd_ = -1;
        throw CliError("", std::string("cannot map the memory shared with the effect processes: ") + std::strerror(e));
    }
    base_ = static_cast<uint8_t*>(p);
}

SharedFrames::~SharedFrames() {
    if (base_) ::munmap(base_, bytes());
    if (fd_ >= 0) ::close(fd_);
}

}  // namespace tessen::cli::worker
