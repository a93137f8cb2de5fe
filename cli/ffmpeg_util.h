// Small helpers shared by the video reader and writer (FFmpeg C API).
#pragma once

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/imgutils.h>
#include <libavutil/opt.h>
#include <libavutil/pixdesc.h>
#include <libswscale/swscale.h>
}

#include "cli/output_file.h"
#include "cli/video_io.h"

#include <cstring>
#include <string>

namespace tessen::cli {

// An FFmpeg error code as a short lower-case text; errno codes use the same
// wording as file errors ("disk full").
inline std::string av_error_text(int err) {
    if (err < 0 && -err < 4096) return io_error_text(-err);
    char buf[AV_ERROR_MAX_STRING_SIZE] = {};
    av_strerror(err, buf, sizeof buf);
    std::string s = buf;
    if (!s.empty()) s[0] = char(std::tolower(static_cast<unsigned char>(s[0])));
    return s;
}

// FFmpeg writes its own diagnostics to stderr; the tool reports its errors
// itself, so they are silenced once unless someone already chose a level.
inline void quiet_ffmpeg_log() {
    static const bool once = [] {
        if (av_log_get_level() == AV_LOG_INFO) av_log_set_level(AV_LOG_QUIET);
        return true;
    }();
    (void)once;
}

// libav fills its enum fields with the file's own numbers, also ones the
// enum does not list; such a value must not be read as the enum type.
template <typename E>
int file_value(const E& field) {
    static_assert(sizeof(E) == sizeof(int), "libav enums are ints");
    int v;
    std::memcpy(&v, &field, sizeof v);
    return v;
}

// A number past the enum's own ones counts as not stated (the writer passes
// the tags on in the enum types).
inline int listed(int v, int count, int unstated) { return v >= 0 && v < count ? v : unstated; }

// The first letter of the tag names the field shown first. FFmpeg's header
// describes TB and BT the other way round, but its own encoding tool writes
// TB for top-field-first pictures (and BT for bottom first) of every codec
// but MJPEG, and its muxers and demuxers pass the tag through: a
// setfield=tff FFV1 file reads back TB, an NTSC DV .mov (bottom first) BT.
// Not every container keeps to it (MXF reads bottom-first pictures as TB),
// so the pictures, not the tag, settle a render's field order.
inline FieldOrder field_order_from(const AVFieldOrder& f) {
    switch (file_value(f)) {
    case AV_FIELD_PROGRESSIVE: return FieldOrder::Progressive;
    case AV_FIELD_TT:
    case AV_FIELD_TB: return FieldOrder::UpperFirst;
    case AV_FIELD_BB:
    case AV_FIELD_BT: return FieldOrder::LowerFirst;
    default: return FieldOrder::Unknown;
    }
}

// sws colour coefficients for an AVColorSpace.
inline const int* sws_coefficients_for(int matrix) {
    switch (matrix) {
    case AVCOL_SPC_BT709: return sws_getCoefficients(SWS_CS_ITU709);
    case AVCOL_SPC_FCC: return sws_getCoefficients(SWS_CS_FCC);
    case AVCOL_SPC_SMPTE240M: return sws_getCoefficients(SWS_CS_SMPTE240M);
    case AVCOL_SPC_BT2020_NCL:
    case AVCOL_SPC_BT2020_CL: return sws_getCoefficients(SWS_CS_BT2020);
    default: return sws_getCoefficients(SWS_CS_ITU601);
    }
}

}  // namespace tessen::cli
