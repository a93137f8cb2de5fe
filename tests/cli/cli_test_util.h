// Shared support for the tessen tests: scratch folders, clips made with the
// ffmpeg program, synthetic frames, a libavformat probe, and running the
// tessen program with a time limit so a hang fails instead of blocking.
#pragma once

#include "cli/video_io.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <random>
#include <sstream>
#include <cstdio>
#include <string>
#include <thread>
#include <vector>

extern char** environ;

namespace tessen::cli::testing {

namespace fs = std::filesystem;

inline bool contains(const std::string& haystack, const std::string& needle) {
    return haystack.find(needle) != std::string::npos;
}

// A fresh folder per test, removed afterwards.
class ScratchDir {
public:
    ScratchDir() {
        static int counter = 0;
        path_ = fs::temp_directory_path() /
                ("tessen-vio-" + std::to_string(::getpid()) + "-" + std::to_string(counter++));
        fs::remove_all(path_);
        fs::create_directories(path_);
    }
    ~ScratchDir() {
        std::error_code ec;
        fs::permissions(path_, fs::perms::owner_all, fs::perm_options::add, ec);
        fs::remove_all(path_, ec);
    }
    std::string file(const std::string& name) const { return (path_ / name).string(); }
    const fs::path& path() const { return path_; }
    // Every entry of the folder, hidden ones included.
    std::vector<std::string> entries() const {
        std::vector<std::string> names;
        for (const auto& e : fs::directory_iterator(path_)) names.push_back(e.path().filename().string());
        std::sort(names.begin(), names.end());
        return names;
    }

private:
    fs::path path_;
};

// Runs the ffmpeg program quietly; true on success.
inline bool ffmpeg(const std::string& args) {
    const std::string cmd = "ffmpeg -nostdin -hide_banner -loglevel error -y " + args + " 2>/dev/null";
    return std::system(cmd.c_str()) == 0;
}

// What ffprobe (or ffmpeg) prints on standard output for `args`.
inline bool ffmpeg_output(const std::string& args, std::string* out, const std::string& tool = "ffprobe") {
    const std::string cmd = tool + (tool == "ffmpeg" ? " -nostdin " : " ") + args + " 2>/dev/null </dev/null";
    FILE* p = popen(cmd.c_str(), "r");
    if (!p) return false;
    out->clear();
    char buf[65536];
    size_t n;
    while ((n = fread(buf, 1, sizeof buf, p)) > 0) out->append(buf, n);
    return pclose(p) == 0;
}

// Opaque frame of pseudo-random colours at the given depth.
inline HostFrame noise_frame(int w, int h, int depth, unsigned seed) {
    HostFrame f;
    f.allocate(w, h, depth);
    std::mt19937 rng(seed);
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x)
            for (int c = 0; c < 4; ++c) {
                if (depth == 8)
                    f.row8(y)[4 * x + c] = c == 0 ? 255 : uint8_t(rng() & 0xff);
                else
                    f.row16(y)[4 * x + c] = c == 0 ? 32768 : uint16_t(rng() % 32769);
            }
    return f;
}

// Opaque frame of one colour given in 8-bit R, G, B.
inline HostFrame solid_frame(int w, int h, int depth, int r, int g, int b) {
    HostFrame f;
    f.allocate(w, h, depth);
    const int v[4] = {255, r, g, b};
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x)
            for (int c = 0; c < 4; ++c) {
                if (depth == 8)
                    f.row8(y)[4 * x + c] = uint8_t(v[c]);
                else
                    f.row16(y)[4 * x + c] = uint16_t((v[c] * 32768 + 127) / 255);
            }
    return f;
}

// Component c (0 A, 1 R, 2 G, 3 B) of pixel (x, y) on the 8-bit scale.
inline double value8(const HostFrame& f, int x, int y, int c) {
    return f.depth == 8 ? f.row8(y)[4 * x + c] : f.row16(y)[4 * x + c] * 255.0 / 32768.0;
}

// What libavformat says about the first video stream of a file, with the
// packets counted by reading them.
struct Probe {
    bool ok = false;
    std::string codec, pix_fmt;
    int width = 0, height = 0;
    int rate_num = 0, rate_den = 0;
    int64_t packets = 0;
    int color_space = -1, color_range = -1, primaries = -1, transfer = -1, field_order = -1;
    int audio_streams = 0;
    std::string profile;
    double first_plane_mean[3] = {0, 0, 0};  // Y, Cb, Cr of the first frame on the 8-bit scale (YUV only)
};
Probe probe(const std::string& path);

// A moving test pattern, FFV1 in Matroska.
inline std::string make_clip(const ScratchDir& dir, const std::string& name, int w, int h, const std::string& rate,
                             int frames, const std::string& extra = "") {
    const std::string path = dir.file(name);
    EXPECT_TRUE(ffmpeg("-f lavfi -i testsrc2=size=" + std::to_string(w) + "x" + std::to_string(h) + ":rate=" + rate +
                       " -frames:v " + std::to_string(frames) + " " + extra + " -c:v ffv1 " + path))
        << name;
    return path;
}

// Only the given names remain in the folder: no output, no temporary.
inline void expect_only(const ScratchDir& dir, std::vector<std::string> names) {
    std::sort(names.begin(), names.end());
    EXPECT_EQ(dir.entries(), names);
}

struct RunResult {
    int exit_code = -1;  // 128 + n when ended by signal n
    bool timed_out = false;
    std::string out, err;
    // The one-line failure report tessen ends with.
    std::string last_err_line() const {
        std::string s = err;
        while (!s.empty() && s.back() == '\n') s.pop_back();
        size_t nl = s.rfind('\n');
        return nl == std::string::npos ? s : s.substr(nl + 1);
    }
};

inline std::string slurp(const std::string& path) {
    std::ifstream f(path, std::ios::binary);
    std::stringstream ss;
    ss << f.rdbuf();
    return ss.str();
}

// `while_running` is called every 20 ms with the child's pid until it ends
// (e.g. to send a signal once a condition holds).
// The streams go to files outside the scratch folder, which tests inspect.
inline RunResult run_tessen(const std::vector<std::string>& args, std::function<void(pid_t)> while_running = nullptr,
                            const std::string& shell_prefix = "", int timeout_s = 300) {
    static int n = 0;
    const std::string base = "/tmp/tessen-run-" + std::to_string(getpid()) + "-" + std::to_string(n++);
    const std::string out_path = base + ".out";
    const std::string err_path = base + ".err";
    // Through a shell, so a test can set limits first (e.g. "ulimit -f 64; trap '' XFSZ;").
    std::vector<std::string> argv_s = {"/bin/sh", "-c", shell_prefix + " exec \"$0\" \"$@\"", TESSEN_CLI_PATH};
    argv_s.insert(argv_s.end(), args.begin(), args.end());
    std::vector<char*> argv;
    for (std::string& a : argv_s) argv.push_back(a.data());
    argv.push_back(nullptr);

    posix_spawn_file_actions_t fa;
    posix_spawn_file_actions_init(&fa);
    posix_spawn_file_actions_addopen(&fa, 0, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&fa, 1, out_path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    posix_spawn_file_actions_addopen(&fa, 2, err_path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    pid_t pid = -1;
    RunResult r;
    int rc = posix_spawn(&pid, argv[0], &fa, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&fa);
    if (rc != 0) {
        ADD_FAILURE() << "cannot start " << argv[0];
        return r;
    }
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(timeout_s);
    int status = 0;
    while (true) {
        pid_t w = waitpid(pid, &status, WNOHANG);
        if (w == pid) break;
        if (std::chrono::steady_clock::now() > deadline) {
            r.timed_out = true;
            kill(pid, SIGKILL);
            waitpid(pid, &status, 0);
            break;
        }
        if (while_running) while_running(pid);
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    r.exit_code = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    r.out = slurp(out_path);
    r.err = slurp(err_path);
    unlink(out_path.c_str());
    unlink(err_path.c_str());
    return r;
}

// All frames of a file at 8 bits, with the reader's view of it.
struct ReadBack {
    VideoInfo info;
    std::vector<HostFrame> frames;
};
inline ReadBack read_all(const std::string& path, int depth = 8) {
    ReadBack rb;
    VideoReader reader(path);
    rb.info = reader.info();
    HostFrame f;
    while (reader.read(f, depth)) rb.frames.push_back(f);
    return rb;
}

}  // namespace tessen::cli::testing
