#include "cli/commands.h"

#include <cstdio>

namespace tessen::cli {

int run_command_line(int argc, char** argv) {
    (void)argc;
    (void)argv;
    std::fprintf(stderr, "tessen: not ready yet\n");
    return 2;
}

}  // namespace tessen::cli
