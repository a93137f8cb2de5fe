// The effect instance's own record, kept by the host with the project
// (out_data->sequence_data): 8 flat bytes, saved and reloaded as they are.
#pragma once
#include "hostapi/host_api.h"

struct SequenceState {
    A_u_char autoSetupDone;  // Auto Setup has succeeded on this instance
    A_u_char state1;         // the rest is scratch for the render path,
    A_u_char state2;         // cleared at set-up and re-set-up
    A_u_char state3;
    A_u_long state4;
};
static_assert(sizeof(SequenceState) == 8, "SequenceState is saved as 8 bytes");

// PF_Cmd_SEQUENCE_SETUP, first part: replaces any record in
// in_data->sequence_data by a new, zeroed one in out_data->sequence_data.
// A refused allocation throws DAEAllocXCP(8).
void SequenceSetup(PF_InData* in_data, PF_OutData* out_data);

// PF_Cmd_SEQUENCE_RESETUP: keeps autoSetupDone and clears bytes 1..7 of an
// existing record (a reopened project or a duplicated layer keeps its Auto
// Setup state); without one, runs SequenceSetup.
void SequenceResetup(PF_InData* in_data, PF_OutData* out_data);

// PF_Cmd_SEQUENCE_SETDOWN: disposes the record, if any.
void SequenceSetdown(PF_InData* in_data, PF_OutData* out_data);

// PF_Cmd_GET_FLATTENED_SEQUENCE_DATA: a new handle with a byte copy of the
// record in out_data->sequence_data; the live record stays. No record, or no
// memory for the copy: 512. A record without memory: 0, nothing done.
PF_Err SequenceFlattenedCopy(PF_InData* in_data, PF_OutData* out_data);

// PF_Cmd_SEQUENCE_FLATTEN: the record is flat already.
inline PF_Err SequenceFlatten() { return PF_Err_NONE; }

// autoSetupDone of the record in in_data->sequence_data; false without one.
bool AutoSetupDone(PF_InData* in_data);
// Sets autoSetupDone; does nothing without a record.
void MarkAutoSetupDone(PF_InData* in_data);
