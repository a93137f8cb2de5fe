// Every signal that would end the process (SIGINT, SIGTERM, SIGHUP when the
// terminal goes, SIGPIPE when the reader of tessen's output goes, SIGQUIT,
// SIGALRM, SIGUSR1/2, SIGXCPU, SIGVTALRM, SIGPROF): the first asks the render
// loop to stop at the next frame (it then unwinds and the output's temporary
// file is removed); a second one removes the temporaries at once and exits.
// SIGXFSZ is ignored, so a write past the file size limit fails like one on
// a full disk and is reported as such.
#pragma once

#include <csignal>

namespace tessen::cli {

// The signals the handlers take; threads other than the one that watches
// for them block these.
void add_stop_signals(sigset_t* set);

void install_interrupt_handlers();
// The signal number seen, 0 when none.
int interrupt_signal();
// Exit code for an interrupt: 128 + signal.
int interrupt_exit_code();

}  // namespace tessen::cli
