// Shared helpers for the framework tests.
#pragma once
#include <gtest/gtest.h>

#include <cstring>

#include "dae/exceptions.h"
#include "headless/host.h"

namespace dae_test {

// The headless host saw no leak and no misuse.
#define EXPECT_HOST_CLEAN(host) EXPECT_TRUE((host).clean()) << (host).leak_report()

// Runs body as the entry point runs a command: catch everything, map it.
template <typename F>
PF_Err RunCommand(PF_InData* in, PF_OutData* out, F&& body) {
    try {
        body();
    } catch (...) {
        return DAE::ExceptionToResult(in, out);
    }
    return PF_Err_NONE;
}

// A zeroed host record (the SDK structs have no default member values).
template <typename T>
T Zeroed() {
    T t;
    std::memset(&t, 0, sizeof t);
    return t;
}

}  // namespace dae_test
