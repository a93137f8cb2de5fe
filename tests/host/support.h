// Shared helpers for the effect tests driven through the headless host.
#pragma once
#include <gtest/gtest.h>

#include <string>

#include "headless/effect.h"
#include "host/entry_point.h"

namespace host_test {

constexpr A_long kPremiereApplId = 0x50724D72;  // 'PrMr'

// Nothing leaked, no misuse seen by the host, no drawing object left.
inline void ExpectClean(headless::EffectInstance& fx) {
    EXPECT_EQ(fx.host().leak_report(), "");
    for (const std::string& p : fx.host().problems()) ADD_FAILURE() << "host problem: " << p;
    EXPECT_EQ(fx.ui().live_drawbot_objects(), 0);
}

// Global and parameter set-up only, as before sequence set-up.
inline void SetUpParams(headless::EffectInstance& fx) {
    ASSERT_EQ(fx.global_setup(), PF_Err_NONE);
    ASSERT_EQ(fx.params_setup(), PF_Err_NONE);
}

}  // namespace host_test
