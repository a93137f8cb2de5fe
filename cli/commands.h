// The tessen subcommands: render, auto-setup, demo.
#pragma once

namespace tessen::cli {

// Parses the command line, runs the chosen subcommand and returns the process
// exit code.
int run_command_line(int argc, char** argv);

}  // namespace tessen::cli
