// tessen end to end: the program is run on small clips made here, and what it
// writes is read back.
#include "cli_run.h"
#include "test_video_io_util.h"

#include <gtest/gtest.h>

#include <signal.h>

#include <cmath>
#include <filesystem>

namespace tessen::cli::testing {
namespace {

// A moving test pattern, FFV1 in Matroska.
std::string make_clip(const ScratchDir& dir, const std::string& name, int w, int h, const std::string& rate,
                      int frames, const std::string& extra = "") {
    const std::string path = dir.file(name);
    EXPECT_TRUE(ffmpeg("-f lavfi -i testsrc2=size=" + std::to_string(w) + "x" + std::to_string(h) + ":rate=" + rate +
                       " -frames:v " + std::to_string(frames) + " " + extra + " -c:v ffv1 " + path))
        << name;
    return path;
}

// The given frames written losslessly as 8-bit RGB FFV1.
std::string write_clip(const ScratchDir& dir, const std::string& name, const std::vector<HostFrame>& frames,
                       Rational rate) {
    WriterOptions wo;
    wo.width = frames[0].width;
    wo.height = frames[0].height;
    wo.frame_rate = rate;
    wo.depth = 8;
    VideoWriter w(dir.file(name), wo);
    for (const HostFrame& f : frames) w.write(f);
    w.finish();
    return dir.file(name);
}

bool contains(const std::string& haystack, const std::string& needle) {
    return haystack.find(needle) != std::string::npos;
}

TEST(CliRender, EachSupportedConversionGivesTheExpectedFramesRateAndDuration) {
    ScratchDir dir;
    struct Case {
        const char* name;
        const char* source_rate;
        const char* source;
        const char* rate;
        int in_frames;
        int out_frames;
        Rational out_rate;
    };
    const Case cases[] = {
        {"ntsc_to_23976", "30000/1001", "ntsc", "23.976", 10, 8, {24000, 1001}},
        {"ntsc_to_2997", "30000/1001", "ntsc", "29.97", 10, 10, {30000, 1001}},
        {"pal_to_25", "25", "pal", "25", 10, 10, {25, 1}},
        // Conformed: one output frame per source frame, so the clip plays longer.
        {"pal_to_23976", "25", "pal", "23.976", 10, 10, {24000, 1001}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const std::string in = make_clip(dir, std::string(c.name) + "_in.mkv", 64, 48, c.source_rate, c.in_frames);
        const std::string out = dir.file(std::string(c.name) + "_out.mkv");
        RunResult r = run_tessen({"render", in, out, "--source", c.source, "--field-order", "lower", "--rate", c.rate,
                                  "--quiet"},
                                 dir.path().string());
        ASSERT_EQ(r.exit_code, 0) << r.err;
        EXPECT_EQ(r.err, "");  // --quiet
        ReadBack rb = read_all(out);
        EXPECT_EQ(static_cast<int>(rb.frames.size()), c.out_frames);
        EXPECT_EQ(rb.info.frame_rate, c.out_rate);
        EXPECT_EQ(rb.info.width, 64);
        EXPECT_EQ(rb.info.height, 48);
        if (rb.info.duration_seconds > 0) {
            EXPECT_NEAR(rb.info.duration_seconds, c.out_frames / c.out_rate.value(), 0.5 / c.out_rate.value());
        }
    }
}

TEST(CliRender, FramesAndStartSelectAPartOfTheClip) {
    ScratchDir dir;
    const std::string in = make_clip(dir, "in.mkv", 64, 48, "25", 12);
    const std::string out = dir.file("out.mkv");
    RunResult r = run_tessen({"render", in, out, "--source", "pal", "--field-order", "upper", "--start", "4",
                              "--frames", "5", "--quiet"},
                             dir.path().string());
    ASSERT_EQ(r.exit_code, 0) << r.err;
    EXPECT_EQ(read_all(out).frames.size(), 5u);
    r = run_tessen({"render", in, out, "-y", "--source", "pal", "--field-order", "upper", "--start", "0.4s",
                    "--quiet"},
                   dir.path().string());
    ASSERT_EQ(r.exit_code, 0) << r.err;
    EXPECT_EQ(read_all(out).frames.size(), 2u);  // frames 10 and 11 remain
}

TEST(CliRender, StillClipThroughFfv1ComesBackExactly) {
    ScratchDir dir;
    const HostFrame still = noise_frame(64, 48, 8, 7);
    const std::string in = write_clip(dir, "still.mkv", std::vector<HostFrame>(6, still), {25, 1});
    struct Case {
        const char* name;
        std::vector<std::string> extra;
        int exact_rows;
    };
    // Deinterlacing a still picture weaves the fields back together, except
    // for the last field line, which the merge deliberately leaves out: the
    // bottom two rows keep the blended base.
    const Case cases[] = {
        {"passthrough 8-bit", {"--no-deinterlace"}, 48},
        {"passthrough 16-bit", {"--no-deinterlace", "--depth", "16"}, 48},
        {"deinterlaced 8-bit", {}, 46},
        {"deinterlaced 16-bit", {"--depth", "16"}, 46},
    };
    int n = 0;
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const std::string out = dir.file("out" + std::to_string(n++) + ".mkv");
        std::vector<std::string> args = {"render", in, out, "--source", "pal", "--field-order", "upper", "--quiet"};
        args.insert(args.end(), c.extra.begin(), c.extra.end());
        RunResult r = run_tessen(args, dir.path().string());
        ASSERT_EQ(r.exit_code, 0) << r.err;
        ReadBack rb = read_all(out);
        ASSERT_EQ(rb.frames.size(), 6u);
        for (size_t i = 0; i < rb.frames.size(); ++i) {
            const size_t exact = still.rowbytes * static_cast<size_t>(c.exact_rows);
            EXPECT_TRUE(std::equal(still.bytes.begin(), still.bytes.begin() + static_cast<std::ptrdiff_t>(exact),
                                   rb.frames[i].bytes.begin()))
                << "frame " << i;
            if (c.exact_rows < 48) {
                EXPECT_FALSE(rb.frames[i].bytes == still.bytes) << "frame " << i;
            }
        }
    }
}

TEST(CliRender, AudioFollowsOnlyWhenTheDurationIsKept) {
    ScratchDir dir;
    const std::string in = dir.file("in.mkv");
    ASSERT_TRUE(ffmpeg("-f lavfi -i testsrc2=size=64x48:rate=25 -f lavfi -i sine=duration=0.4 -frames:v 10 "
                       "-c:v ffv1 -c:a pcm_s16le " + in));
    const std::string kept = dir.file("kept.mkv"), conformed = dir.file("conformed.mkv");
    RunResult r = run_tessen({"render", in, kept, "--source", "pal", "--field-order", "lower"}, dir.path().string());
    ASSERT_EQ(r.exit_code, 0) << r.err;
    EXPECT_EQ(probe(kept).audio_streams, 1);
    r = run_tessen({"render", in, conformed, "--source", "pal", "--field-order", "lower", "--rate", "23.976"},
                   dir.path().string());
    ASSERT_EQ(r.exit_code, 0) << r.err;
    EXPECT_EQ(probe(conformed).audio_streams, 0);
    EXPECT_TRUE(contains(r.err, "audio dropped")) << r.err;
    EXPECT_TRUE(contains(r.err, "conformed")) << r.err;
}

TEST(CliRender, ShowAndDraftReachTheEffect) {
    // On a still picture, upper field first, the "Field 0" view and the draft
    // path both give the upper field with the lower lines interpolated: even
    // rows exact, odd rows not. "Result" would weave them back exactly.
    ScratchDir dir;
    const HostFrame still = noise_frame(64, 48, 8, 11);
    const std::string in = write_clip(dir, "still.mkv", std::vector<HostFrame>(3, still), {25, 1});
    const std::vector<std::vector<std::string>> variants = {{"--show", "field0"}, {"--draft"}};
    int n = 0;
    for (const auto& extra : variants) {
        SCOPED_TRACE(extra[0]);
        const std::string out = dir.file("out" + std::to_string(n++) + ".mkv");
        std::vector<std::string> args = {"render", in, out, "--source", "pal", "--field-order", "upper", "--quiet"};
        args.insert(args.end(), extra.begin(), extra.end());
        RunResult r = run_tessen(args, dir.path().string());
        ASSERT_EQ(r.exit_code, 0) << r.err;
        ReadBack rb = read_all(out);
        ASSERT_EQ(rb.frames.size(), 3u);
        const HostFrame& f = rb.frames[1];
        int even_diff = 0, odd_diff = 0;
        for (int y = 0; y < 46; ++y)
            for (size_t b = 0; b < f.rowbytes; ++b)
                (y % 2 ? odd_diff : even_diff) += f.row8(y)[b] != still.row8(y)[b];
        EXPECT_EQ(even_diff, 0);
        EXPECT_GT(odd_diff, 0);
    }
}

TEST(CliAutoSetup, ReportsTheEffectsMessageForNtscAndPal) {
    ScratchDir dir;
    const std::string ntsc = make_clip(dir, "ntsc.mkv", 720, 480, "30000/1001", 2);
    RunResult r = run_tessen({"auto-setup", ntsc}, dir.path().string());
    ASSERT_EQ(r.exit_code, 0) << r.err;
    EXPECT_TRUE(contains(r.out, "Auto Setup Successful!")) << r.out;
    EXPECT_TRUE(contains(r.out, "your footage is NTSC")) << r.out;
    EXPECT_TRUE(contains(r.out, "most likely Lower Field First")) << r.out;
    EXPECT_TRUE(contains(r.out, "23.976")) << r.out;
    EXPECT_TRUE(contains(r.out, "Source Video: NTSC")) << r.out;
    EXPECT_TRUE(contains(r.out, "Field Order: Lower Field First")) << r.out;

    const std::string pal = make_clip(dir, "pal.mkv", 720, 576, "25", 2);
    r = run_tessen({"auto-setup", pal}, dir.path().string());
    ASSERT_EQ(r.exit_code, 0) << r.err;
    EXPECT_TRUE(contains(r.out, "Auto Setup Successful!")) << r.out;
    EXPECT_TRUE(contains(r.out, "your footage is PAL")) << r.out;
    EXPECT_TRUE(contains(r.out, "Source Video: PAL")) << r.out;

    // PAL in a 23.976 composition: the effect's long message arrives cut, and
    // tessen says so rather than passing the cut off as the whole text.
    r = run_tessen({"auto-setup", pal, "--rate", "23.976"}, dir.path().string());
    ASSERT_EQ(r.exit_code, 0) << r.err;
    EXPECT_TRUE(contains(r.out, "Since your comp is set to 23.976 fps")) << r.out;
    EXPECT_TRUE(contains(r.out, "cut its message at 255 characters")) << r.out;

    // At a size Auto Setup does not know, it says so in its own words.
    const std::string odd = make_clip(dir, "odd.mkv", 64, 48, "30000/1001", 2);
    r = run_tessen({"auto-setup", odd}, dir.path().string());
    ASSERT_EQ(r.exit_code, 0) << r.err;
    EXPECT_TRUE(contains(r.out, "Auto Setup Failed.")) << r.out;
}

TEST(CliAutoSetup, RenderPressesTheButtonAndTheFilesFieldOrderWins) {
    ScratchDir dir;
    // 720 x 480 suggests lower field first; the file says upper.
    const std::string in = make_clip(dir, "tff.mkv", 720, 480, "30000/1001", 3, "-field_order tt");
    const std::string out = dir.file("out.mkv");
    RunResult r = run_tessen({"render", in, out, "--frames", "1"}, dir.path().string());
    ASSERT_EQ(r.exit_code, 0) << r.err;
    EXPECT_TRUE(contains(r.err, "Auto Setup Successful!")) << r.err;
    EXPECT_TRUE(contains(r.err, "upper field first, as the file records it")) << r.err;
    EXPECT_TRUE(contains(r.err, "Auto Setup guessed lower")) << r.err;
    EXPECT_EQ(read_all(out).frames.size(), 1u);
}

// Only the inputs the test made remain in the folder: no output, no temporary.
void expect_only(const ScratchDir& dir, std::vector<std::string> names) {
    std::sort(names.begin(), names.end());
    EXPECT_EQ(dir.entries(), names);
}

TEST(CliErrors, BadInputsEndWithOneLineAnExitCodeAndNoOutput) {
    ScratchDir dir;
    const std::string good = make_clip(dir, "good.mkv", 64, 48, "30000/1001", 4);
    const std::string tiny = make_clip(dir, "tiny.mkv", 8, 4, "30000/1001", 2);
    const std::string film = make_clip(dir, "film.mkv", 64, 48, "24", 2);
    ASSERT_TRUE(ffmpeg("-f lavfi -i sine=duration=0.2 -c:a pcm_s16le " + dir.file("sound.mkv")));
    {
        std::ofstream junk(dir.file("junk.mkv"), std::ios::binary);
        for (int i = 0; i < 5000; ++i) junk.put(static_cast<char>((i * 7919) & 0xff));
    }
    {
        // The first third of a valid file.
        std::string whole = slurp(good);
        std::ofstream cut(dir.file("cut.mkv"), std::ios::binary);
        cut.write(whole.data(), static_cast<std::streamsize>(whole.size() / 3));
    }
    std::filesystem::create_directory(dir.file("folder.mkv"));
    const std::string out = dir.file("out.mkv");
    struct Case {
        const char* what;
        std::vector<std::string> args;
        int exit_code;
        const char* names;  // text the line must hold
    };
    const std::string ntsc_lower[] = {"--source", "ntsc", "--field-order", "lower"};
    auto render = [&](const std::string& in, std::vector<std::string> more = {}) {
        std::vector<std::string> a = {"render", in, out, ntsc_lower[0], ntsc_lower[1], ntsc_lower[2], ntsc_lower[3]};
        a.insert(a.end(), more.begin(), more.end());
        return a;
    };
    const Case cases[] = {
        {"missing input", render(dir.file("nothing.mkv")), 3, "nothing.mkv"},
        {"a folder as input", render(dir.file("folder.mkv")), 3, "folder.mkv"},
        {"no video stream", render(dir.file("sound.mkv")), 3, "sound.mkv"},
        {"not a video", render(dir.file("junk.mkv")), 3, "junk.mkv"},
        {"truncated", render(dir.file("cut.mkv")), 3, "cut.mkv"},
        {"below the minimum size", render(tiny), 4, "minimum"},
        {"NTSC to 25", render(good, {"--rate", "25"}), 4, "unsupported conversion"},
        {"24 fps source", {"render", film, out, "--quiet"}, 4, "unsupported conversion"},
        {"output folder missing", {"render", good, dir.file("no/such/dir/out.mkv"), "--source", "ntsc"}, 5, "out.mkv"},
        {"unknown output kind", render(good), 2, ""},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        std::vector<std::string> args = c.args;
        if (std::string(c.what) == "unknown output kind") args[2] = dir.file("out.xyz");
        RunResult r = run_tessen(args, dir.path().string());
        EXPECT_FALSE(r.timed_out);
        EXPECT_EQ(r.exit_code, c.exit_code) << r.err;
        const std::string line = r.last_err_line();
        EXPECT_EQ(line.rfind("tessen: ", 0), 0u) << r.err;
        EXPECT_TRUE(contains(line, c.names)) << line;
        expect_only(dir, {"cut.mkv", "film.mkv", "folder.mkv", "good.mkv", "junk.mkv", "sound.mkv", "tiny.mkv"});
    }
}

TEST(CliErrors, AnExistingOutputIsKeptWithoutOverwrite) {
    ScratchDir dir;
    const std::string in = make_clip(dir, "in.mkv", 64, 48, "25", 3);
    const std::string out = dir.file("out.mkv");
    { std::ofstream(out) << "keep me"; }
    RunResult r = run_tessen({"render", in, out, "--source", "pal", "--field-order", "lower"}, dir.path().string());
    EXPECT_EQ(r.exit_code, 5) << r.err;
    EXPECT_TRUE(contains(r.last_err_line(), "out.mkv")) << r.err;
    EXPECT_EQ(slurp(out), "keep me");
    expect_only(dir, {"in.mkv", "out.mkv"});
    r = run_tessen({"render", in, out, "--source", "pal", "--field-order", "lower", "-y", "--quiet"},
                   dir.path().string());
    EXPECT_EQ(r.exit_code, 0) << r.err;
    EXPECT_EQ(read_all(out).frames.size(), 3u);
}

TEST(CliErrors, FullDiskLeavesNothingBehind) {
    ScratchDir dir;
    const std::string in = make_clip(dir, "in.mkv", 320, 240, "25", 20);
    // A file size limit makes writes fail as on a full disk.
    RunResult r = run_tessen({"render", in, dir.file("out.mkv"), "--source", "pal", "--field-order", "lower"},
                             dir.path().string(), nullptr, 300, "ulimit -f 64; trap '' XFSZ;");
    EXPECT_EQ(r.exit_code, 5) << r.err;
    EXPECT_TRUE(contains(r.last_err_line(), "out.mkv")) << r.err;
    expect_only(dir, {"in.mkv"});
}

TEST(CliErrors, InterruptStopsCleanly) {
    ScratchDir dir;
    const std::string in = make_clip(dir, "in.mkv", 320, 240, "25", 250);
    for (int sig : {SIGINT, SIGTERM}) {
        SCOPED_TRACE(sig);
        bool sent = false;
        // Signal once the temporary output exists, i.e. rendering is under way.
        RunResult r = run_tessen({"render", in, dir.file("out.mkv"), "--source", "pal", "--field-order", "lower"},
                                 dir.path().string(), [&](pid_t pid) {
                                     if (sent) return;
                                     for (const std::string& e : dir.entries())
                                         if (e.find(".tessen-") != std::string::npos) {
                                             kill(pid, sig);
                                             sent = true;
                                         }
                                 });
        ASSERT_TRUE(sent) << "finished before the signal: " << r.err;
        EXPECT_EQ(r.exit_code, 128 + sig) << r.err;
        EXPECT_TRUE(contains(r.last_err_line(), "interrupted")) << r.err;
        expect_only(dir, {"in.mkv"});
    }
}

TEST(CliUsage, HelpListsTheExitCodesAndUsageErrorsSayWhatIsWrong) {
    ScratchDir dir;
    RunResult r = run_tessen({"--help"}, dir.path().string());
    EXPECT_EQ(r.exit_code, 0);
    EXPECT_TRUE(contains(r.out, "Exit codes:"));
    EXPECT_TRUE(contains(r.out, "tessen render IN OUT"));
    r = run_tessen({"render", "a.mkv", "b.mkv", "--pattern-size", "40"}, dir.path().string());
    EXPECT_EQ(r.exit_code, 2);
    EXPECT_TRUE(contains(r.err, "--pattern-size must be")) << r.err;
    r = run_tessen({}, dir.path().string());
    EXPECT_EQ(r.exit_code, 2);
    EXPECT_TRUE(contains(r.err, "usage: tessen render")) << r.err;
}

}  // namespace
}  // namespace tessen::cli::testing
