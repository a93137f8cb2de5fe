// tessen render --jobs (effect processes) and --range (pieces of a whole run).
#include "cli_test_util.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <signal.h>

namespace tessen::cli::testing {
namespace {

std::vector<std::string> render(const std::string& in, const std::string& out, std::vector<std::string> more) {
    std::vector<std::string> a = {"render", in, out, "--source", "ntsc", "--field-order", "lower", "--quiet"};
    a.insert(a.end(), more.begin(), more.end());
    return a;
}

// Processes whose parent is `parent`.
std::vector<pid_t> children_of(pid_t parent) {
    std::vector<pid_t> kids;
    std::error_code ec;
    for (const auto& e : fs::directory_iterator("/proc", ec)) {
        const std::string name = e.path().filename().string();
        if (name.find_first_not_of("0123456789") != std::string::npos) continue;
        const std::string stat = slurp("/proc/" + name + "/stat");
        const size_t paren = stat.rfind(')');
        if (paren == std::string::npos) continue;
        std::istringstream rest(stat.substr(paren + 1));
        std::string state;
        long ppid = 0;
        if (rest >> state >> ppid && ppid == parent) kids.push_back(static_cast<pid_t>(std::stol(name)));
    }
    return kids;
}

bool gone(pid_t pid) { return ::kill(pid, 0) != 0 && errno == ESRCH; }

// The picture hashes of every frame, as FFmpeg decodes them.
std::vector<std::string> frame_hashes(const std::string& path) {
    std::string text;
    EXPECT_TRUE(ffmpeg_output("-v error -i " + path + " -map 0:v -f framemd5 -", &text, "ffmpeg")) << path;
    std::vector<std::string> hashes;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);)
        if (!line.empty() && line[0] != '#') hashes.push_back(line.substr(line.rfind(',') + 1));
    return hashes;
}

// Every view and the options that change the render's path: the processes
// write what one process writes, byte for byte.
TEST(CliJobs, EffectProcessesWriteWhatOneProcessWritesForEveryViewAndOption) {
    ScratchDir dir;
    const std::string in = make_clip(dir, "in.mkv", 64, 48, "30000/1001", 17);
    std::vector<std::vector<std::string>> cases = {
        {"--depth", "16"},
        {"--draft"},
        {"--no-deinterlace", "--deartifact", "422"},
        {"--rate", "29.97", "--deartifact", "411", "--motion", "-40"},
        {"--pattern-size", "2", "--field-order", "upper", "--start", "3", "--frames", "9"},
    };
    for (const char* view : {"result", "all-fields", "field-2", "field-1", "field0", "field+1", "gradient", "difference",
                             "auto-levels", "match-points", "vector-magnitudes", "source", "data"})
        cases.push_back({"--show", view});
    for (const auto& options : cases) {
        std::string name;
        for (const std::string& o : options) name += o + " ";
        SCOPED_TRACE(name);
        std::vector<HostFrame> frames[2];
        for (int i = 0; i < 2; ++i) {
            const std::string out = dir.file("out" + std::to_string(i) + ".mkv");
            std::vector<std::string> more = options;
            more.insert(more.end(), {"--jobs", i ? "3" : "1", "-y"});
            RunResult r = run_tessen(render(in, out, more));
            ASSERT_EQ(r.exit_code, 0) << r.err;
            frames[i] = read_all(out, 16).frames;
        }
        ASSERT_GE(frames[0].size(), 9u);
        ASSERT_EQ(frames[1].size(), frames[0].size());
        for (size_t k = 0; k < frames[0].size(); ++k) EXPECT_EQ(frames[1][k].bytes, frames[0][k].bytes) << k;
    }
}

// An effect process killed mid-run, or tessen interrupted: one line, the
// exit code, no output, and no effect process left running.
TEST(CliJobs, AProcessThatDiesOrAnInterruptEndsTheRunAndEveryProcess) {
    ScratchDir dir;
    const std::string in = make_clip(dir, "in.mkv", 320, 240, "25", 100);  // some seconds of work
    for (const bool kill_a_process : {true, false}) {
        SCOPED_TRACE(kill_a_process ? "a process killed" : "tessen interrupted");
        std::vector<pid_t> kids;
        RunResult r = run_tessen(
            {"render", in, dir.file("out.mkv"), "--source", "pal", "--field-order", "lower", "--jobs", "2"},
            [&](pid_t pid) {
                if (!kids.empty()) return;
                bool started = false;
                for (const std::string& e : dir.entries()) started |= contains(e, ".tessen-");
                std::vector<pid_t> now = children_of(pid);
                if (!started || now.size() < 2) return;
                kids = now;
                ::kill(kill_a_process ? kids[0] : pid, kill_a_process ? SIGKILL : SIGINT);
            });
        ASSERT_EQ(kids.size(), 2u) << "finished before the signal: " << r.err;
        if (kill_a_process) {
            EXPECT_EQ(r.exit_code, 1) << r.err;
            EXPECT_TRUE(contains(r.last_err_line(), "effect process")) << r.err;
            EXPECT_TRUE(contains(r.last_err_line(), "killed by signal 9")) << r.err;
        } else {
            EXPECT_EQ(r.exit_code, 128 + SIGINT) << r.err;
            EXPECT_TRUE(contains(r.last_err_line(), "interrupted")) << r.err;
        }
        expect_only(dir, {"in.mkv"});
        for (pid_t kid : kids) EXPECT_TRUE(gone(kid)) << kid;
    }
}

// Three pieces joined with FFmpeg's concat demuxer, without re-encoding, give
// the frames of one whole run, the frames at the seams included (their
// checkouts read the real neighbouring source frames), and so do effect
// processes; film recovered from 3:2 pulldown is decided on the whole source
// alike, in pieces and processes.
TEST(CliRange, ThreePiecesJoinedWithoutReencodingEqualTheWholeRun) {
    ScratchDir dir;
    const std::string in = make_clip(dir, "in.mkv", 64, 48, "60000/1001", 40,
                                     "-vf tinterlace=mode=interleave_top,setfield=tff");
    // Film telecined (24 frames), then video-origin fields (30 frames).
    const std::string film = dir.file("film.mkv");
    ASSERT_TRUE(ffmpeg("-f lavfi -i testsrc2=size=96x64:rate=24000/1001 -f lavfi -i testsrc=size=96x64:rate=60000/1001 "
                       "-filter_complex \"[0:v]format=bgr0,trim=end_frame=24,telecine=pattern=23,setpts=N/(30000/1001)/TB[a];"
                       "[1:v]format=bgr0,trim=end_frame=60,interlace=scan=tff,setpts=N/(30000/1001)/TB[b];"
                       "[a][b]concat=n=2:v=1,setfield=tff\" -c:v ffv1 " + film));
    struct Case {
        std::string input, ext;
        size_t frames;
    };
    for (const Case& c : {Case{in, "mkv", 32}, Case{in, "mov", 32}, Case{film, "mkv", 48}}) {
        SCOPED_TRACE(c.input + " to " + c.ext);
        const std::string whole = dir.file("whole." + c.ext), whole3 = dir.file("whole3." + c.ext);
        RunResult r = run_tessen(render(c.input, whole, {"--field-order", "upper", "--jobs", "1", "-y"}));
        ASSERT_EQ(r.exit_code, 0) << r.err;
        r = run_tessen(render(c.input, whole3, {"--field-order", "upper", "--jobs", "3", "-y"}));
        ASSERT_EQ(r.exit_code, 0) << r.err;
        std::string list;
        const char* pieces[][2] = {{"0-9", "1"}, {"10-20", "2"}, {"21-", "3"}};
        for (const auto& [range, jobs] : pieces) {
            const std::string piece = dir.file(std::string("piece") + range + "." + c.ext);
            r = run_tessen(render(c.input, piece, {"--field-order", "upper", "--range", range, "--jobs", jobs, "-y"}));
            ASSERT_EQ(r.exit_code, 0) << r.err;
            list += "file '" + piece + "'\n";
        }
        std::ofstream(dir.file("list.txt")) << list;
        const std::string joined = dir.file("joined." + c.ext);
        ASSERT_TRUE(ffmpeg("-f concat -safe 0 -i " + dir.file("list.txt") + " -c copy " + joined));
        const std::vector<std::string> expected = frame_hashes(whole);
        ASSERT_EQ(expected.size(), c.frames);  // 40 frames at 29.97 -> 23.976; film 24 + video 24
        EXPECT_EQ(frame_hashes(joined), expected);
        EXPECT_EQ(frame_hashes(whole3), expected);
    }
    // PNG pieces number their images by output frame, leave each other's
    // alone (no -y needed) and fill the whole run's sequence.
    fs::create_directories(dir.file("whole"));
    fs::create_directories(dir.file("pieces"));
    ASSERT_EQ(run_tessen(render(in, dir.file("whole/f_%03d.png"), {"--frames", "12"})).exit_code, 0);
    for (const char* range : {"5-", "0-4"})
        ASSERT_EQ(run_tessen(render(in, dir.file("pieces/f_%03d.png"), {"--frames", "12", "--range", range})).exit_code, 0);
    const std::vector<std::string> images = frame_hashes(dir.file("whole/f_%03d.png"));
    ASSERT_EQ(images.size(), 12u);
    EXPECT_EQ(frame_hashes(dir.file("pieces/f_%03d.png")), images);
    RunResult r = run_tessen(render(in, dir.file("late.mkv"), {"--range", "32-40"}));
    EXPECT_EQ(r.exit_code, 2) << r.err;
    EXPECT_TRUE(contains(r.last_err_line(), "--range starts beyond the last")) << r.err;
    EXPECT_FALSE(fs::exists(dir.file("late.mkv")));
}

}  // namespace
}  // namespace tessen::cli::testing
