// SIGINT and SIGTERM: the first asks the render loop to stop at the next
// frame (it then unwinds and the output's temporary file is removed); a
// second one removes the temporaries at once and exits.
#pragma once

namespace tessen::cli {

void install_interrupt_handlers();
// The signal number seen, 0 when none.
int interrupt_signal();
// Exit code for an interrupt: 128 + signal.
int interrupt_exit_code();

}  // namespace tessen::cli
