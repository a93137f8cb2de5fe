#include "cli/cli_error.h"
#include "cli/output_file.h"
#include "cli/video_io.h"

#include "cli_test_util.h"

#include <gtest/gtest.h>

#include <fstream>

namespace tessen::cli {
namespace {

using testing::ScratchDir;
namespace fs = std::filesystem;

void put(const std::string& path, const std::string& text) { std::ofstream(path) << text; }

// The output file's other rules (hidden temporary, refusal without -y,
// missing or unwritable folder, removal on failure and on a signal) are
// checked through the tessen program.

// A writer destroyed without finish(), as when a run is interrupted or fails
// part-way, leaves nothing behind, whatever the output kind.
TEST(OutputFile, AbandonedWritesLeaveNothingBehind) {
    ScratchDir dir;
    WriterOptions o;
    o.width = 32;
    o.height = 24;
    o.depth = 8;
    o.frame_rate = {25, 1};
    for (const char* name : {"a.mov", "a.mkv", "a.mp4", "a_%03d.png"}) {
        {
            VideoWriter w(dir.file(name), o);
            w.write(testing::noise_frame(32, 24, 8, 1));
        }
        EXPECT_TRUE(dir.entries().empty()) << name;
    }
}

TEST(OutputFile, SignalHandlerRemovesOnlyPlainFiles) {
    ScratchDir dir;
    OutputFile a(dir.file("a.mov"), false);
    OutputFile b(dir.file("b_%03d.png"), false, true);
    put(a.write_path(), "partial");
    put(b.write_path(), "partial");
    remove_live_temporaries(true);  // a folder's removal is not async-signal-safe
    EXPECT_EQ(dir.entries().size(), 1u);
    remove_live_temporaries();
    EXPECT_TRUE(dir.entries().empty());
}

TEST(OutputFile, SequenceMovesImagesAndReplacesAnOlderSequence) {
    ScratchDir dir;
    const std::string pattern = dir.file("f_%03d.png");
    EXPECT_TRUE(is_sequence_pattern(pattern));
    EXPECT_FALSE(is_sequence_pattern(dir.file("f_003.png")));
    for (int i = 1; i <= 4; ++i) put(dir.file("f_00" + std::to_string(i) + ".png"), "old");
    put(dir.file("f_other.png"), "keep");
    EXPECT_THROW(OutputFile(pattern, false, true), CliError);
    {
        OutputFile out(pattern, true, true);
        const fs::path tmp = fs::path(out.write_path()).parent_path();
        put((tmp / "f_001.png").string(), "new");
        put((tmp / "f_002.png").string(), "new");
        out.commit();
    }
    EXPECT_EQ(dir.entries(), (std::vector<std::string>{"f_001.png", "f_002.png", "f_other.png"}));
    EXPECT_EQ(testing::slurp(dir.file("f_002.png")), "new");
}

}  // namespace
}  // namespace tessen::cli
