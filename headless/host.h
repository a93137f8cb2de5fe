// The headless host: plays After Effects for tests, tools, benchmarks and the
// command-line tool. It serves suites through a real SPBasicSuite, hands out
// real memory handles, fills the PF records and checks what After Effects
// checks, so misuse shows up as a recorded problem instead of passing quietly.
//
// Host functions reached through plain C pointers carry no user data, so the
// most recently constructed Host is the "current" one until it is destroyed
// (hosts nest LIFO). Handles, suites and records are accounted per Host.
#pragma once
#include "hostapi/host_api.h"

#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace headless {

class World;

// How often one (suite name, version) pair was acquired and released.
struct SuiteCount {
    int acquired = 0;
    int released = 0;
    int refused = 0;  // acquisitions asked for while the pair was not served
};

// One parameter the effect added during parameter set-up, kept as the host
// keeps it. String pointers (popup choices, checkbox label) point into `text`.
struct RecordedParam {
    PF_ParamIndex index = 0;  // host index: the input layer is 0, so the first added is 1
    PF_ParamDef def{};
    std::string text;
};

// One register_ui call: its record and how many parameters existed then.
struct RecordedUI {
    int params_before = 0;
    PF_CustomUIInfo info{};
};

class Host {
public:
    Host();
    ~Host();
    Host(const Host&) = delete;
    Host& operator=(const Host&) = delete;

    // The host that C callbacks without user data belong to (null if none).
    static Host* current();

    // ---- records handed to the effect
    SPBasicSuite* basic() { return &basic_; }
    PF_InData& in_data() { return in_data_; }
    PF_OutData& out_data() { return out_data_; }
    PF_UtilCallbacks& utils() { return utils_; }
    // The value the host puts into in_data.effect_ref; callbacks check it.
    PF_ProgPtr effect_ref() const;

    // After Effects is 'FXTC'; tests set e.g. 'PrMr' to play another host.
    void set_appl_id(A_long id) { in_data_.appl_id = id; }
    // PF_InData::version (the effect API version the host reports).
    void set_version(A_short major, A_short minor);
    // Clears PF_OutData as the host does before every command.
    void reset_out_data();

    // ---- suites
    // Serves `table` (not owned; must outlive the Host) under name/version.
    void serve_suite(const std::string& name, int32 version, const void* table);
    void withdraw_suite(const std::string& name, int32 version);
    bool serves(const std::string& name, int32 version) const;
    SuiteCount suite_count(const std::string& name, int32 version) const;
    // Sum of (acquired - released) over every pair; 0 when balanced.
    int unreleased_suites() const;
    // Total successful acquisitions since construction.
    int total_acquisitions() const;
    // acquired - released per (name, version) with a non-zero balance.
    std::map<std::pair<std::string, int32>, int> suite_balances() const;

    // ---- memory handles ("PF Handle Suite" 2 and the PF_UtilCallbacks handle functions)
    const PF_HandleSuite1* handle_suite() const { return &handle_suite_; }
    size_t live_handles() const;
    size_t locked_handles() const;  // live handles with a lock count above 0
    // Allocation requests (new handle and resize) made so far, failed ones included.
    size_t allocation_requests() const;
    // The n-th allocation request from now (1 = the next one) fails.
    void fail_allocation(size_t n);
    // Every allocation request from the n-th from now on fails.
    void fail_allocations_from(size_t n);
    void clear_allocation_failures();
    // Size of a live handle, 0 for an unknown one.
    size_t handle_size(PF_Handle h) const;
    bool is_live_handle(PF_Handle h) const;
    // Handle data starts this many bytes (0 or 8) past a 16-byte boundary, so
    // code that assumes host memory is 16-byte aligned shows itself.
    void set_handle_misalignment(size_t bytes) { handle_misalign_ = bytes; }
    // Memory recycling, off by default. Off, new handle data is filled with
    // 0xCD and disposed data with 0xDD, so that reading what nobody wrote or
    // what was given back shows itself in tests, and an effect instance gives
    // every render fresh zero-filled worlds. On (for speed, as a real host
    // runs), handle data comes as it lies, disposed blocks are kept for
    // requests of the same size, and worlds are reused across renders
    // (EffectInstance). Tail guards are checked either way.
    void set_recycle_memory(bool on);
    // The byte new handle data is filled with when not recycling (0xCD
    // unless set), so tests can show that no output depends on it.
    void set_fresh_byte(unsigned char byte) { fresh_byte_ = byte; }
    bool recycle_memory() const { return recycle_; }

    // ---- SPBasicSuite blocks
    size_t live_blocks() const;

    // ---- parameter set-up recorders (add_param and register_ui)
    size_t param_count() const;                  // added parameters, input layer not counted
    const RecordedParam& param(size_t i) const;  // i = host index - 1
    const RecordedParam* param_by_id(A_long id) const;
    const std::vector<RecordedUI>& registered_uis() const { return uis_; }
    void clear_params();

    // ---- ANSI callbacks: writes beyond a guarded buffer are cut and reported.
    // out_data.return_msg (256 bytes) and out_data.name (32) are always guarded.
    void guard_buffer(const void* start, size_t size, std::string label);
    size_t sprintf_overflows() const { return sprintf_overflows_; }

    // ---- checks
    // Misuse seen so far (bad ids, double dispose, unbalanced release ...).
    std::vector<std::string> problems() const;
    void clear_problems();
    void report_problem(std::string text);
    // Other parts of the headless host add what they account (checkouts,
    // DRAWBOT objects ...): the function returns "" when nothing is left.
    void add_leak_check(std::string name, std::function<std::string()> check);
    void remove_leak_check(const std::string& name);
    // Everything still held: unreleased suites, live handles, live blocks and
    // the added checks; "" when clean. One line per finding.
    std::string leak_report() const;
    // Neither leaks nor problems.
    bool clean() const { return leak_report().empty() && problems().empty(); }

    // ---- hooks for the rest of the headless host
    // Serves in_data.inter.checkout_param / checkin_param.
    using CheckoutFn = std::function<PF_Err(PF_ParamIndex, A_long time, A_long step, A_u_long scale, PF_ParamDef*)>;
    using CheckinFn = std::function<PF_Err(PF_ParamDef*)>;
    void set_checkout(CheckoutFn checkout, CheckinFn checkin);
    // Answer for get_platform_data(PF_PlatData_RES_DLLINSTANCE); non-null by default.
    void set_dll_instance(void* instance) { dll_instance_ = instance; }

    struct Impl;  // callback implementations (host.cpp)

private:
    struct HandleRec;
    struct Guard {
        const char* start;
        size_t size;
        std::string label;
    };

    HandleRec* find_handle(PF_Handle h) const;
    bool take_allocation_slot();  // false when this request must fail
    size_t guarded_capacity(const void* dst, std::string* label) const;
    PF_Err record_param(PF_ParamIndex index, const PF_ParamDef* def);

    Host* previous_;
    mutable std::recursive_mutex mutex_;

    SPBasicSuite basic_{};
    PF_HandleSuite1 handle_suite_{};
    PF_ANSICallbacksSuite1 ansi_suite_{};
    PF_InData in_data_{};
    PF_OutData out_data_{};
    PF_UtilCallbacks utils_{};
    char effect_ref_token_ = 0;
    char dll_token_ = 0;
    void* dll_instance_;

    std::map<std::pair<std::string, int32>, const void*> suites_;
    std::map<std::pair<std::string, int32>, SuiteCount> counts_;

    std::map<PF_Handle, std::unique_ptr<HandleRec>> handles_;
    size_t allocation_requests_ = 0;
    size_t fail_at_ = 0;    // absolute request number that fails, 0 = none
    size_t fail_from_ = 0;  // absolute request number from which all fail, 0 = none
    size_t handle_misalign_ = 0;
    bool recycle_ = false;
    unsigned char fresh_byte_ = 0xCD;
    // Disposed handle blocks by data size, kept while recycling.
    std::multimap<size_t, char*> spare_blocks_;
    size_t spare_bytes_ = 0;
    char* take_spare_block(size_t size, size_t* capacity);
    void keep_spare_block(char* block, size_t size);
    void free_spare_blocks();

    std::map<void*, size_t> blocks_;
    std::map<PF_PixelPtr, std::unique_ptr<World>> worlds_;  // from new_world

    std::vector<std::unique_ptr<RecordedParam>> params_;
    std::vector<RecordedUI> uis_;

    std::vector<Guard> guards_;
    size_t sprintf_overflows_ = 0;

    std::vector<std::string> problems_;
    std::vector<std::pair<std::string, std::function<std::string()>>> leak_checks_;

    CheckoutFn checkout_;
    CheckinFn checkin_;
};

// Host error names for messages: "PF_Err_OUT_OF_MEMORY (4)" and so on.
std::string describe_error(A_long err);

}  // namespace headless
