#include "cli/commands.h"

#include "cli/cli_error.h"
#include "cli/conversion_plan.h"
#include "cli/demo.h"
#include "cli/effect_runner.h"
#include "cli/exit_codes.h"
#include "cli/field_analysis.h"
#include "cli/frame_source.h"
#include "cli/interrupt.h"
#include "cli/options.h"
#include "cli/pipeline.h"
#include "cli/pulldown.h"
#include "cli/progress.h"
#include "cli/timecode.h"
#include "cli/video_io.h"
#include "cli/worker_channel.h"
#include "cli/worker_pool.h"

#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <new>
#include <optional>
#include <sys/resource.h>
#include <ctime>
#include <string>
#include <vector>

namespace tessen::cli {

namespace {

void say(bool quiet, const std::string& line) {
    if (!quiet) std::fprintf(stderr, "%s\n", line.c_str());
}

std::string real_path_of(const std::string& p) {
    char buf[PATH_MAX];
    if (::realpath(p.c_str(), buf)) return buf;
    return "";
}

// Opens the input; every failure is about the input file.
std::unique_ptr<VideoReader> open_input(const std::string& path) {
    try {
        return std::make_unique<VideoReader>(path);
    } catch (const CliError& e) {
        throw Failure(kExitInput, e.what());
    }
}

int64_t estimated_frames(const VideoInfo& info) {
    if (info.frame_count > 0) return info.frame_count;
    if (info.duration_seconds > 0) return static_cast<int64_t>(info.duration_seconds * info.frame_rate.value() + 0.5);
    return 0;
}

EffectSetup setup_for(const Options& o, const VideoInfo& info, const ConversionPlan& plan) {
    EffectSetup s;
    s.module_path = resolve_module_path(o.module);
    s.width = info.width;
    s.height = info.height;
    s.depth = plan.depth;
    s.time_base = plan.time_base;
    s.layer_rate = plan.layer_rate;
    int64_t est = estimated_frames(info) - plan.first_source_frame;
    s.layer_frames = est > 0 ? est : 1;
    s.diagnostic_views = !o.show.empty();
    return s;
}

EffectParams params_for(const Options& o, const ConversionPlan& plan) {
    EffectParams p;
    p.deinterlace = o.deinterlace;
    p.source_video = plan.source_video;
    p.field_order = plan.field_order;
    p.motion = o.motion;
    p.pattern_size = o.pattern_size;
    p.deartifact = static_cast<int>(o.deartifact);
    p.show = o.show_ordinal;
    p.draft = o.draft;
    return p;
}

void check_interrupt() {
    if (interrupt_signal()) throw Failure(interrupt_exit_code(), "interrupted; no output written");
}

// Film frames recovered from 3:2 pulldown, for NTSC converted to 23.976 with
// the effect's result; none otherwise. At 29.97 a film source is only named.
std::optional<PulldownPlan> plan_film_frames(const Options& o, const ConversionPlan& plan) {
    const bool remove = o.pulldown == Pulldown::kRemove;
    if (o.pulldown == Pulldown::kKeep) return std::nullopt;
    if (plan.standard != SourceStandard::kNtsc || !o.deinterlace || !o.show.empty()) {
        if (remove)
            throw Failure(kExitUsage, "--pulldown remove needs an NTSC source and the effect's result (no --show, "
                                      "no --no-deinterlace)");
        return std::nullopt;
    }
    if (remove && plan.rate != CompRate::k23_976)
        throw Failure(kExitUsage, "--pulldown remove gives film frames at 23.976 fps: use --rate 23.976");
    const int64_t cap = o.frames ? *o.frames : -1;
    int64_t read_at_most = cap >= 0 ? cap * 5 / 4 + 4 : -1;
    // At 29.97 nothing is recovered and a film source is only named: its
    // first ten seconds tell, without decoding the whole file a second time.
    constexpr int64_t kNamingFrames = 300;
    if (plan.rate != CompRate::k23_976)
        read_at_most = read_at_most < 0 ? kNamingFrames : std::min(read_at_most, kNamingFrames);
    PulldownPlan pd;
    try {
        pd = analyse_pulldown(o.input, plan.first_source_frame, read_at_most, plan.field_order == kUpperFirst, cap);
    } catch (const CliError& e) {
        throw Failure(kExitInput, e.what());
    }
    if (remove && !pd.found())
        throw Failure(kExitUnsupported, o.input + ": no 3:2 pulldown found (--pulldown auto or keep renders every "
                                                  "frame with the effect)");
    if (plan.rate != CompRate::k23_976) {
        if (pd.found())
            say(o.quiet, "note: the source is film with 3:2 pulldown (phase " + std::to_string(pd.phase) +
                             "): 23.976 fps is its natural output, where its film frames come back exactly "
                             "(--rate 23.976)");
        return std::nullopt;
    }
    say(o.quiet, pd.summary());
    if (!pd.found()) return std::nullopt;
    return pd;
}

int run_render(const Options& o) {
    // Output name first: a wrong extension is a usage error, found before any work.
    OutputKind kind;
    try {
        kind = output_kind_for(o.output);
    } catch (const CliError& e) {
        throw Failure(kExitUsage, e.what());
    }
    std::string in_real = real_path_of(o.input);
    if (!in_real.empty() && in_real == real_path_of(o.output))
        throw Failure(kExitUsage, o.output + ": the output would overwrite the input");

    if (!o.pix_fmt.empty()) {
        const std::string why = pixel_format_refusal(kind, o.pix_fmt);
        if (!why.empty()) throw Failure(kExitUsage, o.output + ": " + why);
    }
    std::unique_ptr<VideoReader> reader = open_input(o.input);
    const VideoInfo& info = reader->info();

    ConversionPlan plan;
    if (Refusal r = plan_rates(info, o, plan))
        throw Failure(r.kind == Refusal::Kind::kUsage ? kExitUsage : kExitUnsupported, o.input + ": " + r.message);
    if (Refusal r = plan_start(info, o, plan)) throw Failure(kExitUsage, o.input + ": " + r.message);
    // The first frames' pictures and flags, unless the user settled the order.
    std::optional<FieldAnalysis> fields;
    if (!o.field_order) {
        try {
            fields = analyse_fields(o.input);
        } catch (const CliError& e) {
            throw Failure(kExitInput, e.what());
        }
        if (Refusal r = refuse_unfielded(*fields, o)) throw Failure(kExitUnsupported, o.input + ": " + r.message);
    }

    // The output is claimed before the long work, so "exists" and "cannot
    // write" show at once.
    WriterOptions wo;
    wo.width = info.width;
    wo.height = info.height;
    wo.frame_rate = plan.comp_rate;
    wo.depth = plan.depth;
    wo.color = info.color;
    wo.sample_aspect = info.sample_aspect;
    wo.overwrite = o.overwrite;
    if (plan.keep_audio) wo.audio_source = o.input;
    if (plan.conformed) wo.audio_follow.stretch = info.frame_rate.value() / plan.comp_rate.value();
    // A piece (--range) starts that many output frames into the whole run.
    const int64_t piece_start = o.range ? o.range->first : 0;
    wo.first_image = piece_start + 1;
    if (o.range && o.range->last) wo.last_image = *o.range->last + 1;
    wo.audio_follow.start = double(plan.first_source_frame) / info.frame_rate.value() * wo.audio_follow.stretch +
                            double(piece_start) / plan.comp_rate.value();
    wo.audio_follow.keep_pitch = !o.audio_pitch_shift;
    wo.audio_follow.end_with_picture = o.frames.has_value() || o.range.has_value();
    wo.alpha = info.has_alpha;
    wo.levels = o.nominal_range ? HostLevels{} : reader->use_whole_code_range();
    wo.pixel_format = o.pix_fmt.empty() ? output_pixel_format(kind, info) : o.pix_fmt;
    // Film frames put back together go out in the source's own Y'CbCr.
    if (o.pulldown != Pulldown::kKeep && plan.standard == SourceStandard::kNtsc && plan.rate == CompRate::k23_976 &&
        o.deinterlace && o.show.empty() && !info.is_rgb)
        reader->keep_pictures();
    wo.timecode =
        output_timecode(info.timecode, info.frame_rate, plan.comp_rate, plan.conformed, plan.first_source_frame,
                        piece_start);
    wo.reel = info.reel;
    wo.creation_time = info.creation_time;
    wo.title = info.title;
    wo.language = info.language;
    std::unique_ptr<VideoWriter> writer;
    try {
        writer = std::make_unique<VideoWriter>(o.output, wo);
    } catch (const CliError& e) {
        throw Failure(kExitOutput, e.what());
    }

    // A piece of a longer render (--range) starts where the whole run would
    // be at its first frame: the source frames before the one its first
    // render looks back to are skipped, so every checkout reads the real
    // neighbouring frame and only the clip's true ends get a stand-in.
    const int64_t first_k = o.range ? o.range->first : 0;
    int64_t end_k = o.frames ? *o.frames : INT64_MAX;
    if (o.range && o.range->last) end_k = std::min<int64_t>(end_k, *o.range->last + 1);
    // Which source frame an output frame shows depends on its number and the
    // plan alone, never on the piece or the process that renders it; a
    // selection decided from the pictures must be decided from the whole
    // source, or pieces would not join.
    auto source_frame_of = [&](int64_t k) {
        return source_frame_at(k * plan.time_base.time_step, plan.time_base, plan.layer_rate);
    };
    // Two frames more than the effect's look back: a film frame put back
    // together may take a field from a frame before that.
    const int64_t base = first_k > 0 ? std::max<int64_t>(0, source_frame_of(first_k) - 3) : 0;
    if (base > 0) {
        try {
            if (reader->skip(plan.first_source_frame + base) < plan.first_source_frame + base)
                throw Failure(kExitUsage, o.input + ": --range starts beyond the last frame");
        } catch (const CliError& e) {
            throw Failure(kExitInput, e.what());
        }
    }

    // Declared after the reader and the writer: its threads stop before they go.
    RenderPipeline pipeline(
        o.threads != 1,
        [&](HostFrame& f) {
            try {
                return reader->read(f, plan.depth);
            } catch (const CliError& e) {
                throw Failure(kExitInput, e.what());
            }
        },
        [&](const HostFrame& f) {
            try {
                writer->write(f);
            } catch (const CliError& e) {
                throw Failure(kExitOutput, e.what());
            }
        },
        check_interrupt);
    FrameSource source([&](HostFrame& f) { return pipeline.next(f); }, base > 0 ? 0 : plan.first_source_frame, base);
    if (!source.has(base)) throw Failure(kExitUsage, o.input + ": --start lies beyond the last frame");
    if (o.range && first_k >= end_k) throw Failure(kExitUsage, o.input + ": --range starts after the last frame --frames allows");

    EffectSetup setup = setup_for(o, info, plan);
    setup.frame_at = [&](int64_t i) -> const HostFrame& { return source.at(i); };
    EffectRunner runner(setup);

    AutoSetupResult auto_setup;
    const bool need_auto = !o.source || !o.field_order;
    if (need_auto) {
        auto_setup = runner.press_auto_setup();
        if (!o.quiet) {
            std::fprintf(stderr, "Auto Setup (%s, in a %s fps composition) says:\n",
                         source_family_text(plan.standard, info.width, info.height).c_str(), comp_rate_text(plan.rate));
            print_effect_message(stderr, auto_setup.message);
        }
    }
    plan_fields(info, o, need_auto ? &auto_setup : nullptr, fields ? &*fields : nullptr, plan);
    if (need_auto && !auto_setup.succeeded) say(o.quiet, auto_setup_follow_up(info, plan));
    for (const std::string& n : plan.notes) say(o.quiet, "note: " + n);
    const std::optional<PulldownPlan> film = plan_film_frames(o, plan);
    // The recovered film frame for output frame k, if any.
    auto film_slot = [&](int64_t k) -> const PulldownPlan::Slot* {
        if (!film || k < 0 || k >= int64_t(film->slots.size()) || !film->slots[size_t(k)].recovered()) return nullptr;
        return &film->slots[size_t(k)];
    };
    // The first source frame still needed at output frame k: film frames
    // near it may reach a frame further back.
    auto keep_from = [&](int64_t k, int64_t cur) {
        int64_t keep = cur - 1;
        for (int64_t j = k; j <= k + 2; ++j)
            if (const PulldownPlan::Slot* s = film_slot(j)) keep = std::min({keep, s->upper_frame, s->lower_frame});
        return keep;
    };
    // Output frame k as a film frame put back together from its fields, when it is one.
    auto weave_film = [&](int64_t k, HostFrame& f) {
        const PulldownPlan::Slot* s = film_slot(k);
        if (!s) return false;
        source.has(std::max(s->upper_frame, s->lower_frame));
        weave_fields(source.at(s->upper_frame), source.at(s->lower_frame), f);
        return true;
    };

    const int64_t expected =
        output_frame_count(setup.layer_frames, plan, o.frames ? std::optional<int64_t>(*o.frames) : std::nullopt);
    say(o.quiet, std::string("converting ") + source_family_text(plan.standard, info.width, info.height) + ", " +
                     (plan.field_order == kUpperFirst ? "upper" : "lower") + " field first, to " +
                     comp_rate_text(plan.rate) + " fps: " + o.input + " -> " + o.output + " (" +
                     output_kind_name(kind) + ", " + std::to_string(plan.depth) + "-bit host frames" +
                     (o.draft ? ", draft" : "") + (o.show.empty() ? "" : ", view " + o.show) + ")");

    const EffectParams params = params_for(o, plan);
    runner.set_params(params);
    const int64_t to_write = std::min(expected, end_k) - first_k;
    Progress progress(to_write > 0 ? to_write : 1, o.quiet);
    int jobs = o.jobs ? o.jobs : o.threads == 1 ? 1 : cores_available();
    if (to_write > 0 && jobs > to_write) jobs = static_cast<int>(to_write);
    HostFrame out;
    int64_t k = first_k;
    ProcessRenderResult processes;
    if (jobs > 1) {
        ProcessRender pr;
        pr.jobs = jobs;
        pr.setup = setup;
        pr.params = params;
        pr.source = &source;
        pr.pipeline = &pipeline;
        pr.first_k = first_k;
        pr.end_k = end_k;
        pr.source_frame_of = source_frame_of;
        pr.made_here = weave_film;
        pr.keep_from = keep_from;
        pr.written = [&](int64_t done) { progress.update(done - first_k + 1); };
        pr.check = check_interrupt;
        processes = render_in_processes(pr);
        k = processes.end_k;
        if (!processes.not_started.empty()) {
            say(o.quiet, "note: rendering in one process: " + processes.not_started);
            jobs = 1;
        }
    }
    for (; jobs == 1; ++k) {
        check_interrupt();
        if (k >= end_k) break;
        const int64_t cur = source_frame_of(k);
        if (!source.has(cur)) break;
        // The effect looks one source frame back and at most two ahead: decode
        // those now, so read errors surface here and not inside the effect.
        // Film frames near this one may reach a frame further either way.
        source.has(cur + 2);
        source.release_before(keep_from(k, cur));
        try {
            if (!weave_film(k, out)) runner.render(k, out);
        } catch (...) {
            // One thread would have met a failed write of an earlier frame first.
            pipeline.settle();
            throw;
        }
        check_interrupt();
        pipeline.put(out);
        progress.update(k - first_k + 1);
    }
    pipeline.drain();
    if (k == first_k)
        throw Failure(o.range ? kExitUsage : kExitInput,
                      o.input + (o.range ? ": --range starts beyond the last output frame" : ": no frames to convert"));
    progress.finish(k - first_k);

    std::string leaks = runner.close();
    if (!processes.leaks.empty()) leaks += (leaks.empty() ? "" : "\n") + processes.leaks;
    if (!leaks.empty()) {
        std::fprintf(stderr, "%s\n", leaks.c_str());
        throw Failure(kExitEffect, setup.module_path + ": the effect left resources behind (listed above)");
    }
    try {
        writer->finish();
    } catch (const CliError& e) {
        throw Failure(kExitOutput, e.what());
    }
    if (!reader->timing_notice().empty()) say(o.quiet, "note: " + reader->timing_notice());
    if (!writer->audio_notice().empty()) say(o.quiet, "note: " + writer->audio_notice());
    if (!writer->alpha_notice().empty()) say(o.quiet, "note: " + writer->alpha_notice());
    if (!processes.peak_kb.empty()) {
        const int64_t peak = *std::max_element(processes.peak_kb.begin(), processes.peak_kb.end());
        rusage self{};
        getrusage(RUSAGE_SELF, &self);
        const double own = static_cast<double>(self.ru_utime.tv_sec + self.ru_stime.tv_sec) +
                           (self.ru_utime.tv_usec + self.ru_stime.tv_usec) / 1e6;
        timespec main_thread{};
        clock_gettime(CLOCK_THREAD_CPUTIME_ID, &main_thread);
        char cpu[300];
        std::snprintf(cpu, sizeof cpu,
                      "; processor time %.2f s in them, %.2f s in tessen itself (decoding thread %.2f s, "
                      "encoding thread %.2f s, handing frames out and in %.2f s, FFmpeg's own threads the rest)",
                      processes.cpu_seconds, own, pipeline.decode_seconds(), pipeline.encode_seconds(),
                      static_cast<double>(main_thread.tv_sec) + main_thread.tv_nsec / 1e9);
        say(o.quiet, "note: " + std::to_string(jobs) + " effect processes, each at most " + std::to_string(peak / 1024) +
                         " MB resident at its peak, and " + std::to_string(processes.shared_bytes >> 20) +
                         " MB of frames shared with them" + cpu);
    }
    char summary[256];
    std::snprintf(summary, sizeof summary, "wrote %s: %lld frames at %s fps, %.3f s%s", o.output.c_str(),
                  static_cast<long long>(k - first_k), comp_rate_text(plan.rate),
                  static_cast<double>(k - first_k) / plan.comp_rate.value(),
                  writer->audio_streams_copied() > 0 ? ", with audio" : "");
    say(o.quiet, summary);
    return kExitOk;
}

int run_auto_setup(const Options& o) {
    std::unique_ptr<VideoReader> reader = open_input(o.input);
    const VideoInfo& info = reader->info();
    const std::optional<SourceStandard> by_rate = standard_for_rate(info.frame_rate);
    CompRate rate = o.rate ? *o.rate
                           : (by_rate && *by_rate == SourceStandard::kPal ? CompRate::k25 : CompRate::k23_976);
    if (info.width < 1 || info.height < 1) throw Failure(kExitInput, o.input + ": the video has no picture size");

    FrameSource source(
        [&](HostFrame& f) {
            try {
                return reader->read(f, 8);
            } catch (const CliError& e) {
                throw Failure(kExitInput, e.what());
            }
        },
        0);
    if (!source.has(0)) throw Failure(kExitInput, o.input + ": the video has no frames");

    EffectSetup s;
    s.module_path = resolve_module_path(o.module);
    s.width = info.width;
    s.height = info.height;
    s.depth = 8;
    s.time_base = comp_time_base(rate);
    s.layer_rate = by_rate == SourceStandard::kPal ? Rational{25, 1} : Rational{2997, 100};
    s.layer_frames = std::max<int64_t>(1, estimated_frames(info));
    s.frame_at = [&](int64_t i) -> const HostFrame& { return source.at(i); };
    EffectRunner runner(s);
    AutoSetupResult r = runner.press_auto_setup();
    std::string leaks = runner.close();

    std::printf("%s: %dx%d, %s fps, tagged %s; composition %s fps\n", o.input.c_str(), info.width, info.height,
                [&] {
                    static char b[32];
                    std::snprintf(b, sizeof b, "%.3f", info.frame_rate.value());
                    return b;
                }(),
                field_order_name(info.field_order), comp_rate_text(rate));
    std::printf("Auto Setup says:\n");
    print_effect_message(stdout, r.message);
    if (r.source_video == kSourceNtsc || r.source_video == kSourcePal)
        std::printf("Source Video: %s\n",
                    source_family_text(r.source_video == kSourceNtsc ? SourceStandard::kNtsc : SourceStandard::kPal,
                                       info.width, info.height)
                        .c_str());
    else
        std::printf("Source Video: ?\n");
    std::printf("Field Order: %s\n", r.field_order == kUpperFirst   ? "Upper Field First"
                                     : r.field_order == kLowerFirst ? "Lower Field First"
                                                                    : "?");
    // What tessen render makes of the file's fields.
    ConversionPlan plan;
    if (!plan_rates(info, o, plan)) {
        FieldAnalysis fields;
        try {
            fields = analyse_fields(o.input);
        } catch (const CliError& e) {
            throw Failure(kExitInput, e.what());
        }
        if (Refusal refusal = refuse_unfielded(fields, o)) {
            std::printf("note: tessen render refuses it: %s\n", refusal.message.c_str());
        } else {
            plan_fields(info, o, &r, &fields, plan);
            std::printf("note: tessen render uses %s field first, %s\n",
                        plan.field_order == kUpperFirst ? "upper" : "lower", field_basis_reason(plan.field_basis));
        }
    }
    if (by_rate && r.source_video != (*by_rate == SourceStandard::kNtsc ? kSourceNtsc : kSourcePal))
        std::printf("note: the file runs at %.3f fps, so tessen render treats it as %s\n", info.frame_rate.value(),
                    standard_name(*by_rate));
    std::fflush(stdout);
    if (!leaks.empty()) {
        std::fprintf(stderr, "%s\n", leaks.c_str());
        throw Failure(kExitEffect, s.module_path + ": the effect left resources behind (listed above)");
    }
    return kExitOk;
}

}  // namespace

int run_command_line(int argc, char** argv) {
    if (argc == 2 && std::string(argv[1]) == worker::kProcessCommand) return run_effect_process();
    std::vector<std::string> args(argv + 1, argv + argc);
    ParseResult parsed = parse_command_line(args);
    if (!parsed.error.empty()) {
        std::fprintf(stderr, "tessen: %s\n%s(tessen --help explains every option)\n", parsed.error.c_str(),
                     usage_text());
        return kExitUsage;
    }
    const Options& o = parsed.options;
    try {
        switch (o.command) {
            case Options::Command::kHelp:
                std::fputs(usage_text(), stdout);
                std::fputs("\n", stdout);
                std::fputs(help_text(), stdout);
                return kExitOk;
            case Options::Command::kVersion:
                std::puts("tessen 1.1.12");
                return kExitOk;
            case Options::Command::kRender:
                install_interrupt_handlers();
                return run_render(o);
            case Options::Command::kAutoSetup:
                return run_auto_setup(o);
            case Options::Command::kDemo:
                install_interrupt_handlers();
                return run_demo(o);
            case Options::Command::kNone:
                break;
        }
    } catch (const Failure& f) {
        std::fprintf(stderr, "tessen: %s\n", f.what());
        return f.code;
    } catch (const CliError& e) {
        std::fprintf(stderr, "tessen: %s\n", e.what());
        return kExitEffect;
    } catch (const std::bad_alloc&) {
        std::fprintf(stderr, "tessen: out of memory\n");
        return kExitEffect;
    } catch (const std::exception& e) {
        std::fprintf(stderr, "tessen: %s\n", e.what());
        return kExitEffect;
    }
    std::fputs(usage_text(), stderr);
    return kExitUsage;
}

}  // namespace tessen::cli
