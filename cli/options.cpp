#include "cli/options.h"

#include <cctype>
#include <cerrno>
#include <cmath>
#include <cstdlib>

namespace tessen::cli {

namespace {

std::string lower(std::string s) {
    for (char& c : s) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return s;
}

bool parse_long(const std::string& s, long long& out) {
    if (s.empty()) return false;
    char* end = nullptr;
    errno = 0;
    long long v = std::strtoll(s.c_str(), &end, 10);
    if (errno != 0 || end == s.c_str() || *end != '\0') return false;
    out = v;
    return true;
}

bool parse_double(const std::string& s, double& out) {
    if (s.empty()) return false;
    char* end = nullptr;
    errno = 0;
    double v = std::strtod(s.c_str(), &end);
    if (errno != 0 || end == s.c_str() || *end != '\0' || !std::isfinite(v)) return false;
    out = v;
    return true;
}

// "A-B" with A <= B, or "A-": digits only. Frame numbers stay far below
// where the arithmetic on them (times, A+1) would overflow.
bool parse_frame_range(const std::string& s, FrameRange& out) {
    constexpr long long kMaxFrame = 1'000'000'000'000;
    const size_t dash = s.find('-');
    if (dash == std::string::npos) return false;
    const std::string a = s.substr(0, dash), b = s.substr(dash + 1);
    auto digits = [](const std::string& t) { return !t.empty() && t.find_first_not_of("0123456789") == std::string::npos; };
    long long first = 0, last = 0;
    if (!digits(a) || !parse_long(a, first) || first > kMaxFrame) return false;
    out.first = first;
    out.last.reset();
    if (b.empty()) return true;
    if (!digits(b) || !parse_long(b, last) || last < first || last > kMaxFrame) return false;
    out.last = last;
    return true;
}

// "12" is a frame index; "1.5", "1.5s", "01:02.5" and "1:02:03" are times.
bool parse_start(const std::string& s, StartPoint& out) {
    long long frame = 0;
    if (s.find_first_not_of("0123456789") == std::string::npos && parse_long(s, frame)) {
        out = StartPoint{false, frame, 0.0};
        return true;
    }
    std::string t = s;
    if (!t.empty() && (t.back() == 's' || t.back() == 'S')) t.pop_back();
    double seconds = 0.0;
    size_t pos = 0;
    int parts = 0;
    while (true) {
        size_t colon = t.find(':', pos);
        std::string piece = t.substr(pos, colon == std::string::npos ? std::string::npos : colon - pos);
        double v = 0.0;
        if (!parse_double(piece, v) || v < 0.0 || piece[0] == '+' || piece[0] == '-') return false;
        seconds = seconds * 60.0 + v;
        if (++parts > 3) return false;
        if (colon == std::string::npos) break;
        pos = colon + 1;
    }
    out = StartPoint{true, 0, seconds};
    return true;
}

}  // namespace

int show_view_ordinal(const std::string& name) {
    std::string n;
    std::string l = lower(name);
    for (size_t i = 0; i < l.size(); ++i) {
        char c = l[i];
        if (c == ' ' || c == '_') continue;
        // A dash joins words ("match-points") but is a sign before a digit ("field-2").
        if (c == '-' && !(i + 1 < l.size() && std::isdigit(static_cast<unsigned char>(l[i + 1])))) continue;
        n += c;
    }
    struct Entry {
        const char* name;
        int ordinal;
    };
    static const Entry kViews[] = {
        {"result", 1},       {"allfields", 3},   {"field-2", 4},
        {"field-1", 5},      {"field0", 6},      {"field+1", 7},
        {"field1", 7},       {"gradient", 9},    {"difference", 10},
        {"autolevels", 11},  {"matchpoints", 12}, {"vectormagnitudes", 13},
        {"source", 14},      {"data", 15},
    };
    for (const Entry& e : kViews)
        if (n == e.name) return e.ordinal;
    return 0;
}

double comp_rate_value(CompRate rate) {
    switch (rate) {
        case CompRate::k23_976: return 23.976;
        case CompRate::k29_97: return 29.97;
        case CompRate::k25: return 25.0;
    }
    return 0.0;
}

const char* comp_rate_text(CompRate rate) {
    switch (rate) {
        case CompRate::k23_976: return "23.976";
        case CompRate::k29_97: return "29.97";
        case CompRate::k25: return "25";
    }
    return "?";
}

const char* usage_text() {
    return "usage: tessen render IN OUT [options]\n"
           "       tessen auto-setup IN [--rate R]\n"
           "       tessen demo [DIR]\n"
           "       tessen --help\n";
}

const char* help_text() {
    return "tessen - turn interlaced NTSC or PAL video into progressive frames with the\n"
           "Tessen Plus effect, run through a headless host exactly as After Effects runs it.\n"
           "\n"
           "Commands:\n"
           "  tessen render IN OUT [options]   convert the video file IN into OUT\n"
           "  tessen auto-setup IN [--rate R]  show what the effect's Auto Setup concludes for IN\n"
           "  tessen demo [DIR]                convert a built-in interlaced clip into DIR\n"
           "                                   (default demo-output) and compare the result\n"
           "\n"
           "Options of render (and auto-setup for --rate):\n"
           "  --rate 23.976|29.97|25   composition rate of the output (default: 23.976 for NTSC\n"
           "                           sources, 25 for PAL). NTSC converts to 23.976 or 29.97;\n"
           "                           PAL to 25, or to 23.976 by conforming: every source frame\n"
           "                           becomes one output frame, so the clip plays longer.\n"
           "  --source ntsc|pal        source standard (default: from Auto Setup and the file)\n"
           "  --field-order upper|lower  field dominance (default: what the first frames'\n"
           "                           motion shows, else how the frames are flagged, else the\n"
           "                           file's tag, else Auto Setup's guess from the frame size)\n"
           "  --force                  convert a source that looks progressive, or a still\n"
           "                           image, which are otherwise refused (--field-order also\n"
           "                           says the source is interlaced)\n"
           "  --motion N               Motion Detection Adjustment, -100..100 (default 20)\n"
           "  --pattern-size N         Detail Pattern Size, 1..12 (default 4)\n"
           "  --deartifact none|422|311|411  remove chroma fringes of subsampled sources\n"
           "                           (411 also serves 4:2:0)\n"
           "  --no-deinterlace         leave the frames as they are (deartifacting still runs)\n"
           "  --pulldown auto|remove|keep  film telecined to NTSC by 3:2 pulldown (default auto:\n"
           "                           where the cadence holds, the film frames are put back\n"
           "                           together from their fields and the effect renders the\n"
           "                           rest; remove: the same, an error when there is no\n"
           "                           cadence; keep: every frame through the effect)\n"
           "  --show VIEW              render a diagnostic view instead of the result: result,\n"
           "                           all-fields, field-2, field-1, field0, field+1, gradient,\n"
           "                           difference, auto-levels, match-points,\n"
           "                           vector-magnitudes, source, data\n"
           "  --draft                  low quality: the fast line-doubling path\n"
           "  --depth 8|16             bits per channel of the host's frames (default: 16 for\n"
           "                           sources above 8 bits, else 8)\n"
           "  --range nominal          put a Y'CbCr source's black and white on the host's ends,\n"
           "                           clipping what lies below black and above white (default:\n"
           "                           the whole code range goes through and is kept)\n"
           "  --pix-fmt F              pixel format of .mkv or .mov output, by FFmpeg's name\n"
           "                           (such as yuv422p10le, yuv444p16le, gbrp16le)\n"
           "  --no-audio               leave the sound out\n"
           "  --audio-pitch keep|shift  a PAL to 23.976 conform slows the sound with the\n"
           "                           picture: keep its pitch (default), or shift it down\n"
           "                           as playing slower does (the old telecine way)\n"
           "  --start F|T              first source frame (an index such as 120) or time (such\n"
           "                           as 4.5s or 00:01:04.5)\n"
           "  --frames N               number of output frames to write\n"
           "  --range A-B              only output frames A to B (from 0, both included; A-\n"
           "                           runs to the end): pieces joined with FFmpeg's concat\n"
           "                           demuxer equal the whole render, frame for frame\n"
           "  --threads 1              decode, render and encode one after another on one\n"
           "                           thread (default: each on a thread of its own, in a\n"
           "                           pipeline; the effect itself always runs on one thread)\n"
           "  -j, --jobs N             run N copies of the effect, each in a process of its\n"
           "                           own (default: one per core it may use; 1 with\n"
           "                           --threads 1)\n"
           "  --module PATH            effect module to load (default: $TESSEN_MODULE, else the\n"
           "                           TessenPlus.so installed beside tessen)\n"
           "  -y                       overwrite OUT if it exists\n"
           "  --quiet                  no progress and no notes\n"
           "  -h, --help               this text\n"
           "\n"
           "Output kinds, by the name of OUT (container: codec, pixel format):\n"
           "  OUT.mov         QuickTime: ProRes 422 HQ, yuv422p10le; ProRes 4444,\n"
           "                  yuva444p10le, when the source has alpha\n"
           "  OUT.mkv         Matroska: FFV1 version 3 with slice CRCs, lossless, in the\n"
           "                  source's own family: Y'CbCr of its subsampling and at least\n"
           "                  its depth (yuv411p from NTSC DV, yuv422p10le from v210),\n"
           "                  RGB (bgr0 or gbrp16le; bgra or gbrap16le with alpha) from\n"
           "                  RGB sources\n"
           "  OUT.mp4         MP4: H.264 High, yuv420p: an 8-bit 4:2:0 viewing copy, not\n"
           "                  an archive\n"
           "  OUT_%05d.png    numbered 16-bit PNG images, rgb48be (rgba64be with alpha)\n"
           "Y'CbCr outputs of a Y'CbCr source keep its codes below black and above white.\n"
           "\n"
           "Exit codes:\n"
           "  0    success\n"
           "  1    the effect or the host failed while rendering (or leaked memory)\n"
           "  2    usage error\n"
           "  3    input cannot be read: missing, unreadable, no video stream, corrupt or\n"
           "       truncated\n"
           "  4    input not supported: frame rate or conversion, frame size below the\n"
           "       effect's minimum, a progressive source or a still image\n"
           "  5    output cannot be written: exists (use -y), folder not writable, disk full\n"
           "  128+N  stopped by signal N (130 Ctrl-C, 143 SIGTERM, 129 SIGHUP, 141 SIGPIPE)\n"
           "No output file is left behind when tessen fails or is interrupted.\n";
}

ParseResult parse_command_line(const std::vector<std::string>& args) {
    ParseResult r;
    Options& o = r.options;
    if (args.empty()) {
        r.error = "no command given";
        return r;
    }
    size_t i = 0;
    const std::string& cmd = args[0];
    if (cmd == "-h" || cmd == "--help" || cmd == "help") {
        o.command = Options::Command::kHelp;
        return r;
    }
    if (cmd == "--version") {
        o.command = Options::Command::kVersion;
        return r;
    }
    if (cmd == "render") {
        o.command = Options::Command::kRender;
    } else if (cmd == "auto-setup") {
        o.command = Options::Command::kAutoSetup;
    } else if (cmd == "demo") {
        o.command = Options::Command::kDemo;
    } else {
        r.error = "unknown command '" + cmd + "'";
        return r;
    }
    ++i;

    std::vector<std::string> positional;
    bool only_positional = false;
    auto need_value = [&](const std::string& opt, std::string& value) -> bool {
        if (i + 1 >= args.size()) {
            r.error = "option " + opt + " needs a value";
            return false;
        }
        value = args[++i];
        return true;
    };
    const bool render = o.command == Options::Command::kRender;
    for (; i < args.size(); ++i) {
        const std::string& a = args[i];
        if (only_positional || a.empty() || a[0] != '-' || a == "-") {
            positional.push_back(a);
            continue;
        }
        if (a == "--") {
            only_positional = true;
            continue;
        }
        std::string opt = a, value;
        bool inline_value = false;
        size_t eq = a.find('=');
        if (a.rfind("--", 0) == 0 && eq != std::string::npos) {
            opt = a.substr(0, eq);
            value = a.substr(eq + 1);
            inline_value = true;
        }
        auto take = [&]() -> bool { return inline_value || need_value(opt, value); };
        auto render_only = [&]() -> bool {
            if (!render) {
                r.error = "option " + opt + " only applies to 'tessen render'";
                return false;
            }
            return true;
        };
        if (opt == "-h" || opt == "--help") {
            o.command = Options::Command::kHelp;
            return r;
        } else if (opt == "--rate") {
            if (o.command == Options::Command::kDemo) {
                r.error = "option --rate does not apply to 'tessen demo'";
                return r;
            }
            if (!take()) return r;
            if (value == "23.976" || value == "23.98" || value == "24000/1001") o.rate = CompRate::k23_976;
            else if (value == "29.97" || value == "30000/1001") o.rate = CompRate::k29_97;
            else if (value == "25" || value == "25.0") o.rate = CompRate::k25;
            else {
                r.error = "--rate must be 23.976, 29.97 or 25 (got '" + value + "')";
                return r;
            }
        } else if (opt == "--module") {
            if (!take()) return r;
            o.module = value;
        } else if (opt == "--quiet" || opt == "-q") {
            o.quiet = true;
        } else if (opt == "-y" || opt == "--overwrite") {
            if (!render_only()) return r;
            o.overwrite = true;
        } else if (opt == "--force") {
            if (!render_only()) return r;
            o.force = true;
        } else if (opt == "--source") {
            if (!render_only() || !take()) return r;
            std::string v = lower(value);
            if (v == "ntsc") o.source = SourceStandard::kNtsc;
            else if (v == "pal") o.source = SourceStandard::kPal;
            else {
                r.error = "--source must be ntsc or pal (got '" + value + "')";
                return r;
            }
        } else if (opt == "--field-order") {
            if (!render_only() || !take()) return r;
            std::string v = lower(value);
            if (v == "upper" || v == "tff" || v == "top") o.field_order = FieldOrderOpt::kUpper;
            else if (v == "lower" || v == "bff" || v == "bottom") o.field_order = FieldOrderOpt::kLower;
            else {
                r.error = "--field-order must be upper or lower (got '" + value + "')";
                return r;
            }
        } else if (opt == "--pulldown") {
            if (!render_only() || !take()) return r;
            std::string v = lower(value);
            if (v == "auto") o.pulldown = Pulldown::kAuto;
            else if (v == "remove") o.pulldown = Pulldown::kRemove;
            else if (v == "keep") o.pulldown = Pulldown::kKeep;
            else {
                r.error = "--pulldown must be auto, remove or keep (got '" + value + "')";
                return r;
            }
        } else if (opt == "--motion") {
            if (!render_only() || !take()) return r;
            double v = 0;
            if (!parse_double(value, v) || v < -100.0 || v > 100.0) {
                r.error = "--motion must be a number from -100 to 100 (got '" + value + "')";
                return r;
            }
            o.motion = v;
        } else if (opt == "--pattern-size") {
            if (!render_only() || !take()) return r;
            long long v = 0;
            if (!parse_long(value, v) || v < 1 || v > 12) {
                r.error = "--pattern-size must be a whole number from 1 to 12 (got '" + value + "')";
                return r;
            }
            o.pattern_size = static_cast<int>(v);
        } else if (opt == "--deartifact") {
            if (!render_only() || !take()) return r;
            std::string v = lower(value);
            if (v == "none") o.deartifact = Deartifact::kNone;
            else if (v == "422" || v == "4:2:2") o.deartifact = Deartifact::k422;
            else if (v == "311" || v == "3:1:1") o.deartifact = Deartifact::k311;
            else if (v == "411" || v == "4:1:1" || v == "420" || v == "4:2:0") o.deartifact = Deartifact::k411;
            else {
                r.error = "--deartifact must be none, 422, 311 or 411 (got '" + value + "')";
                return r;
            }
        } else if (opt == "--no-deinterlace") {
            if (!render_only()) return r;
            o.deinterlace = false;
        } else if (opt == "--show") {
            if (!render_only() || !take()) return r;
            int ord = show_view_ordinal(value);
            if (ord == 0) {
                r.error = "--show: unknown view '" + value + "' (see tessen --help)";
                return r;
            }
            o.show = value;
            o.show_ordinal = ord;
        } else if (opt == "--draft") {
            if (!render_only()) return r;
            o.draft = true;
        } else if (opt == "--depth") {
            if (!render_only() || !take()) return r;
            if (value == "8") o.depth = 8;
            else if (value == "16") o.depth = 16;
            else {
                r.error = "--depth must be 8 or 16 (got '" + value + "')";
                return r;
            }
        } else if (opt == "--range" && (inline_value ? value : i + 1 < args.size() ? args[i + 1] : "") == "nominal") {
            if (!render_only() || !take()) return r;
            o.nominal_range = true;
        } else if (opt == "--no-audio") {
            if (!render_only()) return r;
            o.no_audio = true;
        } else if (opt == "--audio-pitch") {
            if (!render_only() || !take()) return r;
            if (value == "keep" || value == "shift") {
                o.audio_pitch_shift = value == "shift";
            } else {
                r.error = "--audio-pitch must be keep or shift (got '" + value + "')";
                return r;
            }
        } else if (opt == "--pix-fmt") {
            if (!render_only() || !take()) return r;
            o.pix_fmt = lower(value);
        } else if (opt == "--start") {
            if (!render_only() || !take()) return r;
            StartPoint sp;
            if (!parse_start(value, sp)) {
                r.error = "--start must be a frame index (120) or a time (4.5s, 01:04.5) (got '" + value + "')";
                return r;
            }
            o.start = sp;
        } else if (opt == "--frames") {
            if (!render_only() || !take()) return r;
            long long v = 0;
            if (!parse_long(value, v) || v < 1) {
                r.error = "--frames must be a whole number of at least 1 (got '" + value + "')";
                return r;
            }
            o.frames = v;
        } else if (opt == "--threads") {
            if (!render_only() || !take()) return r;
            long long v = 0;
            if (!parse_long(value, v) || v < 1) {
                r.error = "--threads must be a whole number of at least 1 (got '" + value + "')";
                return r;
            }
            o.threads = v == 1 ? 1 : 0;
        } else if (opt == "--jobs" || opt == "-j") {
            if (!render_only() || !take()) return r;
            long long v = 0;
            if (!parse_long(value, v) || v < 1 || v > 256) {
                r.error = "--jobs must be a whole number from 1 to 256 (got '" + value + "')";
                return r;
            }
            o.jobs = static_cast<int>(v);
        } else if (opt == "--range") {
            if (!render_only() || !take()) return r;
            FrameRange fr;
            if (!parse_frame_range(value, fr)) {
                r.error = "--range must be output frames A-B or A- (e.g. 0-1199, 1200-) (got '" + value + "')";
                return r;
            }
            o.range = fr;
        } else {
            r.error = "unknown option '" + a + "'";
            return r;
        }
    }

    switch (o.command) {
        case Options::Command::kRender:
            if (positional.size() != 2) {
                r.error = positional.size() < 2 ? "render needs an input and an output file"
                                                : "render takes one input and one output file";
                return r;
            }
            o.input = positional[0];
            o.output = positional[1];
            break;
        case Options::Command::kAutoSetup:
            if (positional.size() != 1) {
                r.error = "auto-setup takes exactly one input file";
                return r;
            }
            o.input = positional[0];
            break;
        case Options::Command::kDemo:
            if (positional.size() > 1) {
                r.error = "demo takes at most one output folder";
                return r;
            }
            o.output = positional.empty() ? "demo-output" : positional[0];
            break;
        default:
            break;
    }
    return r;
}

}  // namespace tessen::cli
