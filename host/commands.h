// Handlers of the host commands that need more than a line; the entry point
// (entry_point.cpp) dispatches to them. Host errors are thrown as A_long or
// returned where the command's result is the host's answer.
#pragma once
#include "hostapi/host_api.h"

// PF_Cmd_ABOUT: "Veltrix Tessen 1.1.12" and notice lines, CR-separated.
void AboutCommand(PF_InData* in_data, PF_OutData* out_data);

// PF_Cmd_GLOBAL_SETUP: refuses every host but After Effects (512), then
// declares version and flags and readies the framework.
void GlobalSetupCommand(PF_InData* in_data, PF_OutData* out_data);

// PF_Cmd_GLOBAL_SETDOWN: releases what the framework keeps between calls.
void GlobalSetdownCommand(PF_InData* in_data);

// PF_Cmd_SEQUENCE_SETUP: a new record, then (in After Effects) the host's own
// field separation and pulldown removal switched off on footage sources.
PF_Err SequenceSetupCommand(PF_InData* in_data, PF_OutData* out_data);

// The footage part of sequence set-up. Errors reading layer, item, type or
// interpretation are returned; a failed write is ignored.
PF_Err TurnOffHostFieldSeparation(PF_InData* in_data);

// PF_Cmd_UPDATE_PARAMS_UI: greys the Auto Setup button out once Auto Setup
// has run (never takes it back).
void UpdateParamsUICommand(PF_InData* in_data, PF_ParamDef* params[]);

// PF_Cmd_EVENT: events of the Effect Controls window go to the custom
// controls; others are left alone.
void EventCommand(PF_InData* in_data, PF_OutData* out_data, PF_ParamDef* params[], PF_EventExtra* extra);
