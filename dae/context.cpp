#include "dae/context.h"

namespace DAE {

namespace {
// Plain statics: the entry point serialises commands under the module lock,
// so only one command at a time reads or writes them.
PF_InData* g_in_data = nullptr;
AEGP_SuiteHandler* g_suites = nullptr;
}  // namespace

PF_InData* CurrentInData() { return g_in_data; }
AEGP_SuiteHandler* CurrentSuites() { return g_suites; }

CommandScope::CommandScope(PF_InData* in_data, AEGP_SuiteHandler* suites)
    : prev_in_data_(g_in_data), prev_suites_(g_suites) {
    g_in_data = in_data;
    g_suites = suites;
}

CommandScope::~CommandScope() {
    g_in_data = prev_in_data_;
    g_suites = prev_suites_;
}

}  // namespace DAE

namespace DAE {

namespace {
const SPBasicSuite* g_last_basic = nullptr;
}  // namespace

const SPBasicSuite* LastBasicSuite() { return g_last_basic; }
void SetLastBasicSuite(const SPBasicSuite* basic) { g_last_basic = basic; }

const SPBasicSuite* RecentBasicSuite() {
    if (g_in_data && g_in_data->pica_basicP) return g_in_data->pica_basicP;
    return g_last_basic;
}

}  // namespace DAE
