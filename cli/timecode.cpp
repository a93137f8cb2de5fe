#include "cli/timecode.h"

extern "C" {
#include <libavutil/timecode.h>
}

#include <cmath>
#include <cstdio>

namespace tessen::cli {

namespace {

std::string label(const AVTimecode& tc, int64_t frame) {
    char buf[AV_TIMECODE_STR_SIZE];
    return av_timecode_make_string(&tc, buf, int(frame));
}

}  // namespace

std::string output_timecode(const std::string& source, Rational source_rate, Rational out_rate, bool conformed,
                            int64_t skipped, int64_t later) {
    if (source.empty() || source_rate.num <= 0 || out_rate.num <= 0) return "";
    AVTimecode in{};
    if (av_timecode_init_from_string(&in, AVRational{source_rate.num, source_rate.den}, source.c_str(), nullptr) < 0)
        return "";
    const int64_t first = int64_t(in.start) + skipped;  // source frames since 00:00:00:00
    const bool drop = (in.flags & AV_TIMECODE_FLAG_DROPFRAME) && out_rate == Rational{30000, 1001};
    AVTimecode out{};
    if (av_timecode_init(&out, AVRational{out_rate.num, out_rate.den}, drop ? AV_TIMECODE_FLAG_DROPFRAME : 0, 0,
                         nullptr) < 0)
        return "";
    int64_t frame = 0;
    if (conformed) {
        // The same label: hours, minutes and seconds as they are, the frame
        // number scaled to the new count per second.
        int hh = 0, mm = 0, ss = 0, ff = 0;
        char sep[3] = {};
        if (std::sscanf(source.c_str(), "%d%c%d%c%d%c%d", &hh, &sep[0], &mm, &sep[1], &ss, &sep[2], &ff) != 7)
            return "";
        frame = ((int64_t(hh) * 60 + mm) * 60 + ss) * out.fps + int64_t(ff) * out.fps / in.fps + skipped;
    } else {
        // The output frame showing the instant of the source's first frame.
        const double t = double(first) * source_rate.den / source_rate.num;
        frame = std::llround(t * out_rate.num / out_rate.den);
    }
    return label(out, frame + later);
}

}  // namespace tessen::cli
