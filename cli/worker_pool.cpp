#include "cli/worker_pool.h"

#include "cli/cli_error.h"
#include "cli/exit_codes.h"
#include "cli/worker_channel.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <map>
#include <memory>
#include <thread>
#include <poll.h>
#include <sched.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace tessen::cli {

namespace {

using namespace worker;

// Renders one process has on hand at once: the next job waits in its
// socket while it renders, so it never idles between frames.
constexpr int kPerProcess = 2;

struct Process {
    pid_t pid = -1;
    int fd = -1;
    int in_flight = 0;
};

// The processes, killed and reaped however the run ends.
struct Processes {
    std::vector<Process> all;
    ~Processes() {
        for (Process& p : all) {
            if (p.fd >= 0) ::close(p.fd);
            if (p.pid > 0) {
                ::kill(p.pid, SIGKILL);
                int status;
                while (::waitpid(p.pid, &status, 0) < 0 && errno == EINTR) {
                }
            }
        }
    }
};

std::string describe_exit(int status) {
    if (WIFSIGNALED(status))
        return "was killed by signal " + std::to_string(WTERMSIG(status)) + " (" + strsignal(WTERMSIG(status)) + ")";
    if (WIFEXITED(status)) return "exited with code " + std::to_string(WEXITSTATUS(status));
    return "ended";
}

pid_t spawn(const std::string& exe, int channel, int memory) {
    // Out of the way of the numbers they take in the child.
    const int c = ::fcntl(channel, F_DUPFD_CLOEXEC, 10);
    const int m = ::fcntl(memory, F_DUPFD_CLOEXEC, 10);
    posix_spawn_file_actions_t fa;
    posix_spawn_file_actions_init(&fa);
    posix_spawn_file_actions_addopen(&fa, 0, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&fa, c, kChannelFd);
    posix_spawn_file_actions_adddup2(&fa, m, kMemoryFd);
    posix_spawnattr_t attr;
    posix_spawnattr_init(&attr);
    sigset_t none;
    sigemptyset(&none);
    posix_spawnattr_setsigmask(&attr, &none);
    posix_spawnattr_setflags(&attr, POSIX_SPAWN_SETSIGMASK);
    std::string arg0 = exe, arg1 = kProcessCommand;
    char* argv[] = {arg0.data(), arg1.data(), nullptr};
    pid_t pid = -1;
    const int rc = (c < 0 || m < 0) ? errno : posix_spawn(&pid, exe.c_str(), &fa, &attr, argv, environ);
    posix_spawnattr_destroy(&attr);
    posix_spawn_file_actions_destroy(&fa);
    if (c >= 0) ::close(c);
    if (m >= 0) ::close(m);
    if (rc != 0) throw CliError(exe, std::string("cannot start an effect process: ") + std::strerror(rc));
    return pid;
}

Setup setup_message(const ProcessRender& r, size_t frame_bytes, size_t slots) {
    Setup s{};
    s.width = r.setup.width;
    s.height = r.setup.height;
    s.depth = r.setup.depth;
    s.time_scale = r.setup.time_base.time_scale;
    s.time_step = r.setup.time_base.time_step;
    s.rate_num = r.setup.layer_rate.num;
    s.rate_den = r.setup.layer_rate.den;
    s.layer_frames = r.setup.layer_frames;
    s.diagnostic_views = r.setup.diagnostic_views;
    s.params = r.params;
    s.frame_bytes = frame_bytes;
    s.slots = static_cast<uint32_t>(slots);
    return s;
}

// A render handed out (or a frame made here) and not yet written.
struct Pending {
    bool made_here = false;
    HostFrame frame;  // a frame made here
    size_t process = 0;
    int out_slot = 0;
    std::vector<int> in_slots;
    bool done = false, failed = false;
    int exit_code = 0;
    std::string line;
};

struct InSlot {
    int64_t index = -1;  // source frame held, -1 none
    int refs = 0;        // renders handed out that read it
};

}  // namespace

int cores_available() {
#if defined(__linux__)
    cpu_set_t set;
    CPU_ZERO(&set);
    if (::sched_getaffinity(0, sizeof set, &set) == 0 && CPU_COUNT(&set) > 0) return CPU_COUNT(&set);
#endif
    return std::max(1, static_cast<int>(std::thread::hardware_concurrency()));
}

ProcessRenderResult render_in_processes(const ProcessRender& r) {
    const int n = std::max(1, r.jobs);
    FrameSource& source = *r.source;
    const size_t frame_bytes = static_cast<size_t>(r.setup.width) * r.setup.height * 4 * (r.setup.depth / 8);
    // Renders in flight read source frames a few apart (at most 1.25 source
    // frames per output frame, plus one back and two ahead).
    const size_t in_count = static_cast<size_t>(3 * kPerProcess * n / 2 + 6);
    const size_t out_count = static_cast<size_t>(kPerProcess * n);
    ProcessRenderResult result;
    result.end_k = r.first_k;
    std::unique_ptr<SharedFrames> shared_block;
    try {
        shared_block = std::make_unique<SharedFrames>(frame_bytes, in_count + out_count);
    } catch (const CliError& e) {
        result.not_started = e.what();
        return result;
    }
    SharedFrames& shared = *shared_block;
    std::vector<InSlot> in_slots(in_count);
    std::vector<int> free_out;
    for (size_t i = 0; i < out_count; ++i) free_out.push_back(static_cast<int>(in_count + i));

    std::error_code ec;
    const std::string exe = std::filesystem::read_symlink("/proc/self/exe", ec).string();
    if (ec) throw CliError("", "cannot find tessen itself to start effect processes (" + ec.message() + ")");

    Processes procs;
    const Setup setup = setup_message(r, frame_bytes, in_count + out_count);
    for (int i = 0; i < n; ++i) {
        int sv[2];
        if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, sv) != 0)
            throw CliError("", std::string("cannot connect to an effect process: ") + std::strerror(errno));
        Process p;
        p.fd = sv[0];
        procs.all.push_back(p);
        try {
            procs.all.back().pid = spawn(exe, sv[1], shared.fd());
        } catch (...) {
            ::close(sv[1]);
            throw;
        }
        ::close(sv[1]);
    }

    std::map<int64_t, Pending> pending;
    // A process that is gone: its end and the frame it was rendering.
    auto died = [&](size_t i) {
        int64_t k = -1;
        for (const auto& [pk, pend] : pending)
            if (pend.process == i && !pend.done && !pend.failed) {
                k = pk;
                break;
            }
        Process& p = procs.all[i];
        int status = 0;
        while (::waitpid(p.pid, &status, 0) < 0 && errno == EINTR) {
        }
        p.pid = -1;
        std::string line = "effect process " + std::to_string(i + 1) + " of " + std::to_string(n) + " " +
                           describe_exit(status);
        if (k >= 0) line += " while rendering frame " + std::to_string(k);
        throw Failure(kExitEffect, line);
    };

    // Sends to process i; one that is gone is reported as such.
    auto send_to = [&](size_t i, Kind kind, int64_t k, const void* body, size_t size, const std::string& text = "") {
        try {
            send_message(procs.all[i].fd, kind, k, body, size, text);
        } catch (const CliError&) {
            died(i);
        }
    };
    for (size_t i = 0; i < procs.all.size(); ++i)
        send_to(i, Kind::kSetup, -1, &setup, sizeof setup, r.setup.module_path);

    int64_t next_k = r.first_k, write_k = r.first_k;
    bool at_end = false, failed = false;
    HostFrame out;

    // Hands out output frame next_k if a process and the slots are free;
    // false when it has to wait.
    auto hand_out = [&]() -> bool {
        // Frames waiting to be written stay few, however many are made here.
        if (pending.size() >= 2 * out_count + 2) return false;
        const int64_t cur = r.source_frame_of(next_k);
        if (!source.has(cur)) {
            at_end = true;
            return false;
        }
        // The effect looks one source frame back and at most two ahead.
        source.has(cur + 2);
        const int64_t keep = r.keep_from ? r.keep_from(next_k, cur) : cur - 1;
        Pending made;
        if (r.made_here && r.made_here(next_k, made.frame)) {
            made.made_here = made.done = true;
            pending[next_k] = std::move(made);
            source.release_before(keep);
            ++next_k;
            return true;
        }
        size_t best = 0;
        for (size_t i = 1; i < procs.all.size(); ++i)
            if (procs.all[i].in_flight < procs.all[best].in_flight) best = i;
        if (procs.all[best].in_flight >= kPerProcess || free_out.empty()) return false;
        Job job{};
        std::vector<int64_t> resolved;
        for (int64_t i = cur - 1; i <= cur + 2; ++i) {
            job.index[job.count] = i;
            resolved.push_back(source.resolve(i));
            ++job.count;
        }
        // Slots: a frame already shared is read where it lies.
        std::vector<int> chosen(resolved.size(), -1);
        std::vector<bool> taken(in_slots.size(), false);
        for (size_t j = 0; j < resolved.size(); ++j)
            for (size_t s = 0; s < in_slots.size(); ++s)
                if (in_slots[s].index == resolved[j]) chosen[j] = static_cast<int>(s), taken[s] = true;
        for (size_t j = 0; j < resolved.size(); ++j) {
            if (chosen[j] >= 0) continue;
            for (size_t j2 = 0; j2 < j; ++j2)
                if (resolved[j2] == resolved[j]) chosen[j] = chosen[j2];
            if (chosen[j] >= 0) continue;
            // The free slot holding the oldest frame (or none).
            for (size_t s = 0; s < in_slots.size(); ++s)
                if (in_slots[s].refs == 0 && !taken[s] &&
                    (chosen[j] < 0 || in_slots[s].index < in_slots[static_cast<size_t>(chosen[j])].index))
                    chosen[j] = static_cast<int>(s);
            if (chosen[j] < 0) return false;  // wait for renders to finish
            taken[static_cast<size_t>(chosen[j])] = true;
        }
        Pending pend;
        pend.process = best;
        for (size_t j = 0; j < resolved.size(); ++j) {
            InSlot& slot = in_slots[static_cast<size_t>(chosen[j])];
            if (slot.index != resolved[j]) {
                const HostFrame& f = source.at(resolved[j]);
                if (f.bytes.size() < frame_bytes) throw CliError("", "a source frame changed size or depth");
                std::memcpy(shared.slot(static_cast<size_t>(chosen[j])), f.bytes.data(), frame_bytes);
                slot.index = resolved[j];
            }
            ++slot.refs;
            pend.in_slots.push_back(chosen[j]);
            job.slot[j] = chosen[j];
        }
        pend.out_slot = job.out_slot = free_out.back();
        free_out.pop_back();
        ++procs.all[best].in_flight;
        pending[next_k] = std::move(pend);
        send_to(best, Kind::kJob, next_k, &job, sizeof job);
        source.release_before(keep);
        ++next_k;
        return true;
    };

    auto finish_render = [&](int64_t k, bool ok, int code, const std::string& line) {
        auto it = pending.find(k);
        if (it == pending.end()) throw CliError("", "an effect process answered for a frame it was not given");
        Pending& p = it->second;
        for (int s : p.in_slots) --in_slots[static_cast<size_t>(s)].refs;
        p.in_slots.clear();
        --procs.all[p.process].in_flight;
        p.done = ok;
        p.failed = !ok;
        p.exit_code = code;
        p.line = line;
        if (!ok) failed = true;
    };

    for (;;) {
        r.check();
        while (!at_end && !failed && next_k < r.end_k && hand_out()) {
        }
        // Written in order; a failed render ends the run after the frames before it.
        for (auto it = pending.find(write_k); it != pending.end() && (it->second.done || it->second.failed);
             it = pending.find(write_k)) {
            if (it->second.failed) {
                r.pipeline->settle();
                throw Failure(it->second.exit_code, it->second.line);
            }
            if (it->second.made_here) {
                std::swap(out, it->second.frame);
            } else {
                out.allocate(r.setup.width, r.setup.height, r.setup.depth);
                std::memcpy(out.bytes.data(), shared.slot(static_cast<size_t>(it->second.out_slot)), frame_bytes);
                free_out.push_back(it->second.out_slot);
            }
            pending.erase(it);
            r.pipeline->put(out);
            r.written(write_k);
            ++write_k;
        }
        if (pending.empty() && (at_end || next_k >= r.end_k)) break;

        std::vector<pollfd> fds;
        for (const Process& p : procs.all) fds.push_back(pollfd{p.fd, POLLIN, 0});
        const int ready = ::poll(fds.data(), fds.size(), 50);
        if (ready < 0 && errno != EINTR) throw CliError("", std::string("waiting for the effect processes: ") + std::strerror(errno));
        for (size_t i = 0; ready > 0 && i < fds.size(); ++i) {
            if (fds[i].revents == 0) continue;
            Message m;
            if (!receive_message(procs.all[i].fd, m)) died(i);
            switch (m.header.kind) {
                case Kind::kReady: break;
                case Kind::kDone: finish_render(m.header.k, true, 0, ""); break;
                case Kind::kFailed:
                    if (m.header.k < 0) throw Failure(m.header.exit_code, m.text);
                    finish_render(m.header.k, false, m.header.exit_code, m.text);
                    break;
                default: throw CliError("", "an effect process sent a message out of turn");
            }
        }
    }

    // Set-downs: each process reports what leaked and how much memory it took.
    for (size_t i = 0; i < procs.all.size(); ++i) send_to(i, Kind::kClose, -1, nullptr, 0);
    for (size_t i = 0; i < procs.all.size(); ++i) {
        Process& p = procs.all[i];
        Message m;
        do {
            for (;;) {
                pollfd pfd{p.fd, POLLIN, 0};
                if (::poll(&pfd, 1, 50) > 0) break;
                r.check();
            }
            if (!receive_message(p.fd, m)) died(i);
        } while (m.header.kind == Kind::kReady);  // a process that got no frame
        if (m.header.kind == Kind::kFailed) throw Failure(m.header.exit_code, m.text);
        if (m.header.kind != Kind::kClosed) throw CliError("", "an effect process sent a message out of turn");
        Closed c;
        std::memcpy(&c, m.body.data(), sizeof c);
        result.peak_kb.push_back(c.peak_kb);
        result.cpu_seconds += c.cpu_seconds;
        if (!m.text.empty()) result.leaks += "effect process " + std::to_string(i + 1) + ": " + m.text + "\n";
        int status = 0;
        while (::waitpid(p.pid, &status, 0) < 0 && errno == EINTR) {
        }
        p.pid = -1;
    }
    while (!result.leaks.empty() && result.leaks.back() == '\n') result.leaks.pop_back();
    result.end_k = write_k;
    result.shared_bytes = shared.bytes();
    return result;
}

}  // namespace tessen::cli
