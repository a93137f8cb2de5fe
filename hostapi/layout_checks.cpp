// Compiled into every build of the module so a layout drift fails the build.
#include "hostapi/host_api.h"
#include "hostapi/host_layout_checks.h"
#include "hostapi/host_constant_checks.h"
