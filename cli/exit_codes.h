// Exit codes of tessen (also listed by --help) and the failure that carries one.
#pragma once

#include <stdexcept>
#include <string>

namespace tessen::cli {

constexpr int kExitOk = 0;
constexpr int kExitEffect = 1;       // the effect or the host failed, or resources leaked
constexpr int kExitUsage = 2;        // bad command line
constexpr int kExitInput = 3;        // input missing, unreadable, without video, corrupt or truncated
constexpr int kExitUnsupported = 4;  // conversion or frame size the effect does not handle
constexpr int kExitOutput = 5;       // output exists, folder not writable, disk full
// Interrupts exit with 128 + the signal number (130 for SIGINT, 143 for SIGTERM).

// A failure that ends the run: the exit code and the one line to print
// (after "tessen: "), which names the file concerned and the cause.
struct Failure : std::runtime_error {
    Failure(int exit_code, const std::string& line) : std::runtime_error(line), code(exit_code) {}
    int code;
};

}  // namespace tessen::cli
