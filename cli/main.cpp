// tessen: converts interlaced video files to progressive frames with the
// Tessen Plus effect, driven through the headless host.
#include "cli/commands.h"

#include <cstdlib>  // defines __GLIBC__ on glibc systems

#if defined(__GLIBC__)
#include <malloc.h>
#endif

int main(int argc, char** argv) {
#if defined(__GLIBC__)
    // Every render allocates and frees frame-sized buffers. Served by mmap,
    // each would come back as fresh zeroed pages (a third of the run in page
    // faults); from the heap they are reused.
    mallopt(M_MMAP_THRESHOLD, 32 << 20);  // the largest glibc accepts
    mallopt(M_TRIM_THRESHOLD, 512 << 20);
#endif
    return tessen::cli::run_command_line(argc, argv);
}
