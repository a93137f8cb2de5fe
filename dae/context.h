// Module-wide slots for the host command being served. The entry point sets
// them for the length of one call while it holds the module lock; code below
// the entry point (images, handles, controls) reaches the host through them.
#pragma once
#include "hostapi/host_api.h"

namespace DAE {

class AEGP_SuiteHandler;

PF_InData* CurrentInData();
AEGP_SuiteHandler* CurrentSuites();

// Sets both slots for its lifetime and restores the previous values after.
// The entry point uses it for every command; tests use it to run framework
// code against a headless host without going through the entry point.
class CommandScope {
public:
    CommandScope(PF_InData* in_data, AEGP_SuiteHandler* suites);
    ~CommandScope();
    CommandScope(const CommandScope&) = delete;
    CommandScope& operator=(const CommandScope&) = delete;

private:
    PF_InData* prev_in_data_;
    AEGP_SuiteHandler* prev_suites_;
};

}  // namespace DAE

namespace DAE {

// The basic suite of the most recent host input record that reached a custom
// control (set by DAE_Effect_Control::HandleEvent). Framework objects built
// outside a command scope fall back to it.
const SPBasicSuite* LastBasicSuite();
void SetLastBasicSuite(const SPBasicSuite* basic);

// The basic suite of the current command, else the last one seen.
const SPBasicSuite* RecentBasicSuite();

}  // namespace DAE
