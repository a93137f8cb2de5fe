// Bad input and failing output: one clear CliError naming the file, and no
// temporary left behind.
#include "cli/video_io.h"

#include "test_video_io_util.h"

#include <gtest/gtest.h>

#include <csignal>
#include <fstream>

#include <sys/resource.h>

namespace tessen::cli {
namespace {

using testing::ffmpeg;
using testing::ScratchDir;
namespace fs = std::filesystem;

// The cause of the CliError thrown by f, or "" when none is thrown.
template <class F>
std::string cause_of(F&& f, const std::string& file) {
    try {
        f();
    } catch (const CliError& e) {
        EXPECT_EQ(e.file, file);
        EXPECT_EQ(std::string(e.what()), file + ": " + e.cause);
        return e.cause;
    }
    return "";
}

bool contains(const std::string& s, const std::string& part) { return s.find(part) != std::string::npos; }

TEST(VideoReaderErrors, UnusableInputsNameTheCause) {
    ScratchDir dir;
    const std::string missing = dir.file("missing.mov");
    EXPECT_TRUE(contains(cause_of([&] { VideoReader r(missing); }, missing), "not found"));

    const std::string text = dir.file("notes.mov");
    std::ofstream(text) << "this is not a video\n";
    EXPECT_TRUE(contains(cause_of([&] { VideoReader r(text); }, text), "not a video file"));

    const std::string folder = dir.path().string();
    EXPECT_TRUE(contains(cause_of([&] { VideoReader r(folder); }, folder), "folder"));

    const std::string wav = dir.file("sound.wav");
    ASSERT_TRUE(ffmpeg("-f lavfi -i sine=frequency=440 -t 0.2 " + wav));
    EXPECT_EQ(cause_of([&] { VideoReader r(wav); }, wav), "contains no video stream");

    if (::geteuid() != 0) {
        const std::string locked = dir.file("locked.mkv");
        std::ofstream(locked) << "x";
        fs::permissions(locked, fs::perms::none);
        EXPECT_TRUE(contains(cause_of([&] { VideoReader r(locked); }, locked), "permission denied"));
    }
}

// A file cut in half: the frames before the cut are delivered, then the
// reader fails saying so.
TEST(VideoReaderErrors, TruncatedFileDeliversWhatDecodesThenFails) {
    ScratchDir dir;
    struct Case {
        const char* name;
        const char* args;
    };
    const Case cases[] = {
        {"cut.mkv", "-c:v ffv1"},
        {"cut.mp4", "-c:v libx264 -g 5 -bf 0 -movflags +faststart"},
    };
    for (const Case& c : cases) {
        const std::string whole = dir.file(std::string("whole_") + c.name), cut = dir.file(c.name);
        ASSERT_TRUE(ffmpeg("-f lavfi -i testsrc2=size=160x120:rate=25 -frames:v 30 " + std::string(c.args) + " " +
                           whole));
        const auto size = fs::file_size(whole);
        fs::copy_file(whole, cut);
        fs::resize_file(cut, size / 2);
        int64_t frames = 0;
        const std::string cause = cause_of(
            [&] {
                VideoReader r(cut);
                HostFrame f;
                while (r.read(f, 8)) ++frames;
            },
            cut);
        EXPECT_TRUE(contains(cause, "truncated") || contains(cause, "damaged")) << c.name << ": " << cause;
        EXPECT_GT(frames, 3) << c.name;
        EXPECT_LT(frames, 30) << c.name;
    }
}

WriterOptions small_options(bool overwrite = false) {
    WriterOptions o;
    o.width = 32;
    o.height = 24;
    o.depth = 8;
    o.frame_rate = {25, 1};
    o.overwrite = overwrite;
    return o;
}

TEST(VideoWriterErrors, RefusesExistingOutputAndBadNames) {
    ScratchDir dir;
    const std::string target = dir.file("out.mkv");
    std::ofstream(target) << "precious";
    EXPECT_TRUE(contains(cause_of([&] { VideoWriter w(target, small_options()); }, target), "already exists"));
    EXPECT_EQ(fs::file_size(target), 8u);
    const std::string avi = dir.file("out.avi");
    EXPECT_TRUE(contains(cause_of([&] { VideoWriter w(avi, small_options()); }, avi), "unknown output type"));
    const std::string png = dir.file("out.png");
    EXPECT_TRUE(contains(cause_of([&] { VideoWriter w(png, small_options()); }, png), "%05d"));
    const std::string nowhere = dir.file("no/such/out.mov");
    EXPECT_TRUE(contains(cause_of([&] { VideoWriter w(nowhere, small_options()); }, nowhere), "does not exist"));
    EXPECT_EQ(dir.entries(), std::vector<std::string>{"out.mkv"});
}

TEST(VideoWriterErrors, AbandonedOrFailedWritesLeaveNothingBehind) {
    ScratchDir dir;
    for (const char* name : {"a.mov", "a.mkv", "a.mp4", "a_%03d.png"}) {
        {
            VideoWriter w(dir.file(name), small_options());
            w.write(testing::noise_frame(32, 24, 8, 1));
        }  // destroyed without finish(): an interrupted run
        EXPECT_TRUE(dir.entries().empty()) << name;
        const std::string path = dir.file(name);
        const std::string cause = cause_of(
            [&] {
                VideoWriter w(path, small_options());
                w.write(testing::noise_frame(32, 24, 8, 1));
                w.write(testing::noise_frame(16, 24, 8, 1));
            },
            path);
        EXPECT_TRUE(contains(cause, "differs")) << cause;
        EXPECT_TRUE(dir.entries().empty()) << name;
        EXPECT_EQ(cause_of([&] { VideoWriter(path, small_options()).finish(); }, path), "no frames to write");
        EXPECT_TRUE(dir.entries().empty()) << name;
    }
}

// A file size limit stands in for a full disk: every write past it fails.
TEST(VideoWriterErrors, WriteFailureIsReportedAndCleanedUp) {
    ScratchDir dir;
    for (const char* name : {"big.mkv", "big.mov", "big_%03d.png"}) {
        const std::string path = dir.file(name);
        auto write_until_full = [&] {
            std::signal(SIGXFSZ, SIG_IGN);
            // the limit is per file: images need a smaller one
            const rlim_t limit = contains(path, ".png") ? 2048 : 64 * 1024;
            const rlimit lim{limit, limit};
            setrlimit(RLIMIT_FSIZE, &lim);
            std::string cause;
            try {
                VideoWriter w(path, small_options());
                for (unsigned i = 0; i < 200; ++i) w.write(testing::noise_frame(32, 24, 8, i));
                w.finish();
            } catch (const CliError& e) {
                cause = e.cause;
            }
            const bool clean = dir.entries().empty();
            std::fprintf(stderr, "cause=[%s] clean=%d\n", cause.c_str(), int(clean));
            std::exit(contains(cause, "file too large") && clean ? 0 : 1);
        };
        GTEST_FLAG_SET(death_test_style, "threadsafe");
        EXPECT_EXIT(write_until_full(), ::testing::ExitedWithCode(0), "")
            << name;
    }
}

}  // namespace
}  // namespace tessen::cli
