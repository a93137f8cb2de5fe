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
