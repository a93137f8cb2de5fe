// The part of the host's published interface this project uses, declared in
// our own form. Layout is pinned by host_layout_checks.h.
#pragma once
#include "hostapi/host_types.h"
#include "hostapi/host_records.h"
#include "hostapi/host_constants.h"
