// Command-line options of tessen and their parser.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace tessen::cli {

// Composition frame rates the effect converts to.
enum class CompRate { k23_976, k29_97, k25 };

enum class SourceStandard { kNtsc, kPal };
enum class FieldOrderOpt { kUpper, kLower };

// Values of the effect's "Deartifacting" popup, 1-based as the effect sees them.
enum class Deartifact { kNone = 1, k422 = 2, k311 = 3, k411 = 4 };

// 3:2 pulldown in NTSC sources: auto recovers the film frames where the
// cadence holds, remove does too and fails when there is none, keep sends
// every frame through the effect.
enum class Pulldown { kAuto, kRemove, kKeep };

// A first source frame given either as an index or as a time in seconds.
struct StartPoint {
    bool is_time = false;
    long long frame = 0;
    double seconds = 0.0;
};

// Output frames A to B (both included, numbered from 0 as in a whole
// run); without B, to the end.
struct FrameRange {
    long long first = 0;
    std::optional<long long> last;
};

struct Options {
    enum class Command { kNone, kHelp, kVersion, kRender, kAutoSetup, kDemo };
    Command command = Command::kNone;

    std::string input;
    std::string output;  // render: output file; demo: output folder

    std::optional<CompRate> rate;
    std::optional<SourceStandard> source;
    std::optional<FieldOrderOpt> field_order;
    double motion = 20.0;
    int pattern_size = 4;
    Deartifact deartifact = Deartifact::kNone;
    Pulldown pulldown = Pulldown::kAuto;
    bool deinterlace = true;
    std::string show;  // empty: diagnostic views off
    int show_ordinal = 1;
    bool draft = false;
    int depth = 0;  // 0: chosen from the source's bit depth
    std::optional<StartPoint> start;
    std::optional<long long> frames;
    int threads = 0;  // 0: decoding, the effect and encoding on threads of their own; 1: all on one
    int jobs = 0;     // effect processes; 0: one per core (one when --threads 1)
    std::optional<FrameRange> range;
    bool overwrite = false;
    bool force = false;  // convert a source that looks progressive, or a still image
    bool quiet = false;
    std::string module;  // empty: TESSEN_MODULE or the built-in path
    // --range nominal: a Y'CbCr source's black and white on the host's ends
    // (what lies outside is clipped); default: its whole code range.
    bool nominal_range = false;
    bool no_audio = false;     // --no-audio
    bool audio_pitch_shift = false;  // --audio-pitch shift: a conform slows the sound, pitch and all
    std::string pix_fmt;  // --pix-fmt: pixel format of .mkv/.mov output; empty: the source's family
};

// Parse result: either options, or a message for a usage error.
struct ParseResult {
    Options options;
    std::string error;  // empty on success
};

ParseResult parse_command_line(const std::vector<std::string>& args);

// "Show" menu ordinal (1-based, separators counted) of a view name such as
// "result", "field0", "field-2", "difference", "match-points"; 0 if unknown.
int show_view_ordinal(const std::string& name);

double comp_rate_value(CompRate rate);      // 23.976, 29.97, 25
const char* comp_rate_text(CompRate rate);  // "23.976", "29.97", "25"

const char* usage_text();
const char* help_text();

}  // namespace tessen::cli
