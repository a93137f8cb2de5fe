#include "cli/interrupt.h"

#include "cli/output_file.h"

#include <csignal>
#include <unistd.h>

namespace tessen::cli {

namespace {

volatile std::sig_atomic_t g_signal = 0;

constexpr int kStopSignals[] = {SIGINT,  SIGTERM, SIGHUP,  SIGPIPE,   SIGQUIT, SIGALRM,
                                SIGUSR1, SIGUSR2, SIGXCPU, SIGVTALRM, SIGPROF};

extern "C" void on_signal(int sig) {
    if (g_signal != 0) {
        // Asked twice: do not wait for the frame in progress.
        remove_live_temporaries(true);
        _exit(128 + sig);
    }
    g_signal = sig;
}

}  // namespace

void add_stop_signals(sigset_t* set) {
    for (int sig : kStopSignals) sigaddset(set, sig);
}

void install_interrupt_handlers() {
    struct sigaction sa {};
    sa.sa_handler = on_signal;
    sigemptyset(&sa.sa_mask);
    sa.sa_flags = 0;  // no SA_RESTART: a blocked write returns so the loop sees the flag
    for (int sig : kStopSignals) sigaction(sig, &sa, nullptr);
    signal(SIGXFSZ, SIG_IGN);
}

int interrupt_signal() { return g_signal; }

int interrupt_exit_code() { return g_signal ? 128 + g_signal : 0; }

}  // namespace tessen::cli
