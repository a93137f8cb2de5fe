// An effect process of `tessen render --jobs N`: one headless host with one
// instance of the effect, rendering the frames tessen hands it. It says
// nothing on its own streams; every failure goes back to tessen as one line.
#include "cli/worker_pool.h"

#include "cli/cli_error.h"
#include "cli/effect_runner.h"
#include "cli/exit_codes.h"
#include "cli/interrupt.h"
#include "cli/worker_channel.h"

#include <csignal>
#include <cstring>
#include <memory>
#include <new>
#include <sys/resource.h>
#if defined(__linux__)
#include <sys/prctl.h>
#endif

namespace tessen::cli {

int run_effect_process() {
    using namespace worker;
    // Interrupts are tessen's to handle: it stops this process when it stops.
    // Should tessen vanish without that, the process goes with it.
    sigset_t stops;
    sigemptyset(&stops);
    add_stop_signals(&stops);
    for (int sig = 1; sig < NSIG; ++sig)
        if (sigismember(&stops, sig) == 1) std::signal(sig, SIG_IGN);
#if defined(__linux__)
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (::getppid() == 1) return kExitEffect;
#endif
    const int fd = kChannelFd;
    Message m;
    if (!receive_message(fd, m) || m.header.kind != Kind::kSetup) return kExitEffect;
    Setup s;
    std::memcpy(&s, m.body.data(), sizeof s);

    std::unique_ptr<SharedFrames> shared;
    std::unique_ptr<EffectRunner> runner;
    Job job{};
    try {
        shared = std::make_unique<SharedFrames>(kMemoryFd, s.frame_bytes, s.slots);
        EffectSetup setup;
        setup.module_path = m.text;
        setup.width = s.width;
        setup.height = s.height;
        setup.depth = s.depth;
        setup.time_base.time_scale = s.time_scale;
        setup.time_base.time_step = s.time_step;
        setup.layer_rate = Rational{s.rate_num, s.rate_den};
        setup.layer_frames = s.layer_frames;
        setup.diagnostic_views = s.diagnostic_views != 0;
        // Only the frames tessen handed over for this render: anything else
        // would be a frame tessen did not decide, so it is an error.
        setup.rows_at = [&](int64_t i) -> const uint8_t* {
            for (int n = 0; n < job.count; ++n)
                if (job.index[n] == i) return shared->slot(static_cast<size_t>(job.slot[n]));
            throw CliError("", "the effect asked for source frame " + std::to_string(i) +
                                   ", which tessen did not hand to its process");
        };
        runner = std::make_unique<EffectRunner>(setup);
        runner->set_params(s.params);
        send_message(fd, Kind::kReady, -1, nullptr, 0);
    } catch (const std::bad_alloc&) {
        send_message(fd, Kind::kFailed, -1, nullptr, 0, "out of memory", kExitEffect);
        return kExitEffect;
    } catch (const std::exception& e) {
        send_message(fd, Kind::kFailed, -1, nullptr, 0, e.what(), kExitEffect);
        return kExitEffect;
    }

    try {
        while (receive_message(fd, m)) {
            if (m.header.kind == Kind::kJob) {
                std::memcpy(&job, m.body.data(), sizeof job);
                if (job.count < 0 || job.count > Job::kMaxFrames || job.out_slot < 0 ||
                    static_cast<uint32_t>(job.out_slot) >= s.slots)
                    throw CliError("", "a damaged job reached an effect process");
                try {
                    runner->render_into(m.header.k, shared->slot(static_cast<size_t>(job.out_slot)));
                    send_message(fd, Kind::kDone, m.header.k, nullptr, 0);
                } catch (const std::bad_alloc&) {
                    send_message(fd, Kind::kFailed, m.header.k, nullptr, 0, "out of memory", kExitEffect);
                } catch (const std::exception& e) {
                    send_message(fd, Kind::kFailed, m.header.k, nullptr, 0, e.what(), kExitEffect);
                }
            } else if (m.header.kind == Kind::kClose) {
                const std::string leaks = runner->close();
                rusage ru{};
                ::getrusage(RUSAGE_SELF, &ru);
                auto seconds = [](const timeval& t) { return static_cast<double>(t.tv_sec) + t.tv_usec / 1e6; };
                Closed c{static_cast<int64_t>(ru.ru_maxrss), seconds(ru.ru_utime) + seconds(ru.ru_stime)};
                send_message(fd, Kind::kClosed, -1, &c, sizeof c, leaks);
                return kExitOk;
            }
        }
    } catch (const std::exception&) {
        // tessen went away or sent nonsense: it reports, this process ends.
    }
    return kExitEffect;
}

}  // namespace tessen::cli
