// tessen: converts interlaced video files to progressive frames with the
// Tessen Plus effect, driven through the headless host.
#include "cli/commands.h"

int main(int argc, char** argv) {
    return tessen::cli::run_command_line(argc, argv);
}
