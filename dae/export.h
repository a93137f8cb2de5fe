// Marks what the effect module exports to the host.
#pragma once
#if defined(_WIN32)
#define TESSEN_EXPORT __declspec(dllexport)
#else
#define TESSEN_EXPORT __attribute__((visibility("default")))
#endif
