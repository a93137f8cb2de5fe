// Suite tables built slot by slot. Slots the headless host does not
// implement get a function that reports which slot was called and answers
// A_Err_GENERIC, so a call into an unknown slot shows up as a problem rather
// than a jump through a null pointer. (The stub ignores its arguments; the
// x86-64 calling conventions make that harmless.)
#pragma once
#include "headless/host.h"

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace headless {

using SlotFn = void (*)();
using SlotTable = std::vector<SlotFn>;

namespace detail {

template <int N>
A_Err UnimplementedSlot() {
    if (Host* h = Host::current()) {
        h->report_problem("unimplemented host suite function in slot " + std::to_string(N) + " called");
    }
    return A_Err_GENERIC;
}

template <int... N>
SlotFn stub_for(int slot, std::integer_sequence<int, N...>) {
    static const SlotFn stubs[] = {reinterpret_cast<SlotFn>(&UnimplementedSlot<N>)...};
    return stubs[slot];
}

}  // namespace detail

// A table of `slots` stub entries (at most 64).
inline std::unique_ptr<SlotTable> make_slot_table(int slots) {
    auto t = std::make_unique<SlotTable>(static_cast<size_t>(slots));
    for (int i = 0; i < slots; ++i) (*t)[static_cast<size_t>(i)] = detail::stub_for(i, std::make_integer_sequence<int, 64>{});
    return t;
}

// The stub for `slot` (0..63).
inline SlotFn stub_slot(int slot) { return detail::stub_for(slot, std::make_integer_sequence<int, 64>{}); }

// Gives a null function-pointer member the stub for `slot`.
template <typename F>
void stub_if_null(F& member, int slot) {
    if (!member) member = reinterpret_cast<F>(stub_slot(slot));
}

template <typename F>
void set_slot(SlotTable& t, int slot, F fn) {
    t.at(static_cast<size_t>(slot)) = reinterpret_cast<SlotFn>(fn);
}

}  // namespace headless
