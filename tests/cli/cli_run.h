// Runs the tessen program for end-to-end tests: arguments in, exit code and
// both output streams back, with a time limit so a hang fails instead of
// blocking the suite.
#pragma once

#include "cli/video_io.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <fstream>
#include <functional>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

extern char** environ;

namespace tessen::cli::testing {

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
inline RunResult run_tessen(const std::vector<std::string>& args, const std::string& scratch,
                            std::function<void(pid_t)> while_running = nullptr, int timeout_s = 300,
                            const std::string& shell_prefix = "") {
    // The streams go to files outside `scratch`, which tests inspect.
    (void)scratch;
    static int n = 0;
    const std::string base = "/tmp/tessen-run-" + std::to_string(getpid()) + "-" + std::to_string(n++);
    const std::string out_path = base + ".out";
    const std::string err_path = base + ".err";
    std::vector<std::string> argv_s;
    if (shell_prefix.empty()) {
        argv_s.push_back(TESSEN_CLI_PATH);
        argv_s.insert(argv_s.end(), args.begin(), args.end());
    } else {
        // e.g. "ulimit -f 64; trap '' XFSZ;" run before tessen in a shell
        std::string cmd = shell_prefix + " exec '" TESSEN_CLI_PATH "'";
        for (const std::string& a : args) cmd += " '" + a + "'";
        argv_s = {"/bin/sh", "-c", cmd};
    }
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
