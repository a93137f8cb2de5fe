// 16-byte aligned buffers carved from host memory handles, and the locks
// that keep host handle calls from this module from overlapping.
#pragma once
#include "hostapi/host_api.h"

namespace DAE {

// Returns an address 16-byte aligned and 32..47 bytes past the locked start
// of a new host handle, or null when the host gives no handle or no address.
void* AllocateHandleMemory(const PF_HandleSuite1* suite, A_u_long size);
// Finds the handle again from the address alone, unlocks and disposes it.
void FreeHandleMemory(const PF_HandleSuite1* suite, void* address);

// The same through the handle suite of the current command (CurrentSuites());
// null when there is no current command or the host lacks the suite.
void* AllocateHandleMemory(A_u_long size);
void FreeHandleMemory(void* address);

// The runtime's 16-byte aligned heap, under the heap lock.
void* AlignedHeapAllocate(size_t size);
void AlignedHeapFree(void* address);

}  // namespace DAE
