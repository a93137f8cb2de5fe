#include "cli/cli_error.h"
#include "cli/output_file.h"

#include "test_video_io_util.h"

#include <gtest/gtest.h>

#include <fstream>

namespace tessen::cli {
namespace {

using testing::ScratchDir;
namespace fs = std::filesystem;

void put(const std::string& path, const std::string& text) { std::ofstream(path) << text; }
std::string get(const std::string& path) {
    std::ifstream in(path);
    return std::string(std::istreambuf_iterator<char>(in), {});
}

// A folder this process cannot create files in, also when running as root.
std::string unwritable_folder(const ScratchDir& dir) {
    const std::string locked = dir.file("locked");
    fs::create_directory(locked);
    fs::permissions(locked, fs::perms::owner_read | fs::perms::owner_exec);
    const std::string probe = locked + "/probe";
    if (std::FILE* f = std::fopen(probe.c_str(), "w")) {  // root ignores permissions
        std::fclose(f);
        fs::remove(probe);
        return "/sys";
    }
    return locked;
}

TEST(OutputFile, WritesUnderHiddenTemporaryAndRenamesOnCommit) {
    ScratchDir dir;
    const std::string target = dir.file("out.mov");
    {
        OutputFile out(target, false);
        const fs::path temp(out.write_path());
        EXPECT_EQ(temp.parent_path(), dir.path());
        EXPECT_EQ(temp.filename().string()[0], '.');
        EXPECT_FALSE(fs::exists(target));
        put(out.write_path(), "done");
        out.commit();
    }
    EXPECT_EQ(get(target), "done");
    EXPECT_EQ(dir.entries(), std::vector<std::string>{"out.mov"});
}

TEST(OutputFile, AbandonedOutputLeavesNothing) {
    ScratchDir dir;
    {
        OutputFile out(dir.file("out.mkv"), false);
        put(out.write_path(), "half");
    }
    EXPECT_TRUE(dir.entries().empty());
    {
        OutputFile seq(dir.file("img_%04d.png"), false, true);
        put(seq.write_path().substr(0, seq.write_path().rfind('/')) + "/img_0001.png", "x");
    }
    EXPECT_TRUE(dir.entries().empty());
}

TEST(OutputFile, ExistingTargetNeedsOverwrite) {
    ScratchDir dir;
    const std::string target = dir.file("out.mp4");
    put(target, "old");
    try {
        OutputFile out(target, false);
        FAIL() << "existing output accepted";
    } catch (const CliError& e) {
        EXPECT_EQ(e.file, target);
        EXPECT_NE(e.cause.find("already exists"), std::string::npos) << e.cause;
        EXPECT_NE(e.cause.find("-y"), std::string::npos) << e.cause;
    }
    EXPECT_EQ(get(target), "old");
    {
        OutputFile out(target, true);
        put(out.write_path(), "new");
        out.commit();
    }
    EXPECT_EQ(get(target), "new");
    EXPECT_EQ(dir.entries().size(), 1u);
}

TEST(OutputFile, MissingOrUnwritableFolderIsAClearError) {
    ScratchDir dir;
    try {
        OutputFile out(dir.file("nowhere/out.mov"), false);
        FAIL();
    } catch (const CliError& e) {
        EXPECT_NE(e.cause.find("does not exist"), std::string::npos) << e.cause;
    }
    const std::string locked = unwritable_folder(dir);
    try {
        OutputFile out(locked + "/out.mov", true);
        FAIL();
    } catch (const CliError& e) {
        EXPECT_NE(e.cause.find("cannot write in the folder"), std::string::npos) << e.cause;
        EXPECT_NE(e.cause.find("permission denied"), std::string::npos) << e.cause;
    }
    try {
        OutputFile out(dir.path().string(), true);
        FAIL();
    } catch (const CliError& e) {
        EXPECT_NE(e.cause.find("folder"), std::string::npos) << e.cause;
    }
}

TEST(OutputFile, InterruptPathRemovesLiveTemporaries) {
    ScratchDir dir;
    OutputFile a(dir.file("a.mov"), false);
    OutputFile b(dir.file("b_%03d.png"), false, true);
    put(a.write_path(), "partial");
    put(b.write_path(), "partial");
    remove_live_temporaries(true);  // as from a signal handler: plain files only
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
    EXPECT_EQ(get(dir.file("f_002.png")), "new");
}

}  // namespace
}  // namespace tessen::cli
