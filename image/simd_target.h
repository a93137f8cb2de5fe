// Code for a wider vector unit than the build's baseline: the functions
// between a BEGIN and its END may use that unit's instructions. GCC takes a
// target pragma; clang ignores that pragma and takes the same target as an
// attribute pushed onto every function in the range.
#pragma once

#if defined(__clang__)
#define TESSEN_TARGET_AVX2_BEGIN \
    _Pragma("clang attribute push(__attribute__((target(\"avx2\"))), apply_to = function)")
#define TESSEN_TARGET_AVX512F_BEGIN \
    _Pragma("clang attribute push(__attribute__((target(\"avx512f\"))), apply_to = function)")
#define TESSEN_TARGET_END _Pragma("clang attribute pop")
#else
#define TESSEN_TARGET_AVX2_BEGIN _Pragma("GCC push_options") _Pragma("GCC target(\"avx2\")")
#define TESSEN_TARGET_AVX512F_BEGIN _Pragma("GCC push_options") _Pragma("GCC target(\"avx512f\")")
#define TESSEN_TARGET_END _Pragma("GCC pop_options")
#endif
