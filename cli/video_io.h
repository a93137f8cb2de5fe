// Reading and writing video files through FFmpeg, in the host's pixel layout.
//
// Frames travel as HostFrame: the pixels exactly as the headless host hands
// them to the effect. 8-bit pixels are four bytes A, R, G, B; 16-bit pixels
// are four native-endian uint16 A, R, G, B running 0..32768 (not 0..65535).
// Depth changes use exact integer arithmetic and Y'CbCr is converted here
// (pixel_convert.h), not by FFmpeg's scaler, so video white and black land
// exactly on the host's ends at every depth.
//
// Every failure is thrown as CliError naming the file and the cause.
#pragma once

#include "cli/cli_error.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

struct AVFrame;

namespace tessen::cli {

// An exact frame rate; 23.976 is 24000/1001, 29.97 is 30000/1001.
struct Rational {
    int num = 0;
    int den = 1;
    double value() const { return den ? double(num) / den : 0.0; }
    bool operator==(const Rational& o) const { return int64_t(num) * o.den == int64_t(o.num) * den; }
    bool operator!=(const Rational& o) const { return !(*this == o); }
};

// Snaps a measured rate to the nearest common one (n/1 or n*1000/1001) when
// within 0.05 %, else returns it reduced. 29.97 -> 30000/1001.
Rational exact_frame_rate(double fps);
Rational exact_frame_rate(Rational measured);

// Display order of the fields, as the container or codec states it.
enum class FieldOrder { Unknown, Progressive, UpperFirst, LowerFirst };
const char* field_order_name(FieldOrder order);  // "unknown", "progressive", "upper first", "lower first"

// Colour description. The values are FFmpeg's enum values (AVColorSpace,
// AVColorRange, AVColorPrimaries, AVColorTransferCharacteristic) so they can
// be written to an output unchanged. The reader fills in guesses for what the
// file leaves untagged (height >= 720: BT.709, else BT.601 / SMPTE 170M, or
// BT.470BG for 576-line video); `tagged` says the file stated the matrix.
struct ColorInfo {
    int matrix = 2;     // AVCOL_SPC_*; 0 (AVCOL_SPC_RGB) for RGB sources
    int range = 0;      // AVCOL_RANGE_*: 1 limited (MPEG), 2 full (JPEG)
    int primaries = 2;  // AVCOL_PRI_*
    int transfer = 2;   // AVCOL_TRC_*
    bool tagged = false;
};

// Where R'G'B' black (0) and white (1) lie on the host's scale (0..1 being
// 0..255 or 0..32768). The nominal mapping puts them on the ends, so
// anything below black or above white is clipped. For a limited-range
// Y'CbCr source the whole-range mapping lays the code range itself over the
// host's (8-bit code 0 on 0, 255 on 255; black 16 and white 235 between), so
// sub-black and super-white pass through the effect and back.
struct HostLevels {
    float black = 0.0f;
    float white = 1.0f;
    bool nominal() const { return black == 0.0f && white == 1.0f; }
    // R'G'B' (0 black, 1 white) from a host value on the 0..1 scale, and back.
    float to_nominal(float v) const { return (v - black) / (white - black); }
};

// The colour assumed for untagged video of this height: BT.709 for HD
// (height >= 720), else BT.601 with NTSC primaries, or PAL primaries for
// 576-line video; transfer BT.709 throughout; limited range.
ColorInfo default_color_for(int height);

struct VideoInfo {
    int width = 0;
    int height = 0;
    Rational frame_rate;             // exact (see exact_frame_rate)
    int64_t frame_count = -1;        // estimate from the container, -1 when unknown
    double duration_seconds = 0.0;   // 0 when unknown
    FieldOrder field_order = FieldOrder::Unknown;
    // The pictures carry repeat-field flags (soft pulldown): the reader gives
    // out the frames a player shows, fields paired at the field rate, so the
    // video reads as interlaced (field_order, frame_rate say how).
    bool repeat_field_flags = false;
    int bits_per_component = 8;      // of the decoded pixels (8, 10, 12, 16 ...)
    int chroma_shift_x = 0;          // log2 of chroma subsampling: 4:2:2 -> 1,0; 4:2:0 -> 1,1; 4:1:1 -> 2,0
    int chroma_shift_y = 0;
    bool is_rgb = false;             // RGB pixels (no chroma subsampling to undo)
    bool has_alpha = false;          // an alpha channel (carried in the host frames' alpha)
    bool has_audio = false;
    int audio_streams = 0;
    ColorInfo color;
    Rational sample_aspect{1, 1};
    std::string codec_name;          // e.g. "prores", "h264"
    std::string pixel_format;        // e.g. "yuv422p10le"
    // What the file says about where it came from ("" when it says nothing):
    // the start timecode of the video ("01:00:00;00"), from a timecode track,
    // the stream or the container; the reel or tape name; the creation time;
    // the video stream's title and language.
    std::string timecode, reel, creation_time, title, language;
};

// One picture in the host's layout (see top of file). rowbytes is
// width * 4 * (depth / 8): rows are packed.
struct HostFrame {
    int width = 0;
    int height = 0;
    int depth = 8;  // 8 or 16
    size_t rowbytes = 0;
    std::vector<uint8_t> bytes;
    // The decoded Y'CbCr picture these pixels show, when the reader keeps it
    // (VideoReader::keep_pictures) and nothing has changed them since: a
    // Y'CbCr output writes it in place of the pixels. allocate() drops it.
    std::shared_ptr<const AVFrame> picture;

    // Sizes the buffer (contents unspecified afterwards) and drops `picture`.
    void allocate(int w, int h, int bit_depth);
    uint8_t* row8(int y) { return bytes.data() + size_t(y) * rowbytes; }
    const uint8_t* row8(int y) const { return bytes.data() + size_t(y) * rowbytes; }
    uint16_t* row16(int y) { return reinterpret_cast<uint16_t*>(row8(y)); }
    const uint16_t* row16(int y) const { return reinterpret_cast<const uint16_t*>(row8(y)); }
};

// Decodes every frame of the first video stream of a file, in display order.
// The constructor opens the file and decodes the first frame, so a file that
// cannot be opened, has no video stream or does not decode fails there.
// FFmpeg's own log is silenced on first use of a reader or writer; call
// av_log_set_level() afterwards to see it.
class VideoReader {
public:
    explicit VideoReader(const std::string& path);
    ~VideoReader();
    VideoReader(const VideoReader&) = delete;
    VideoReader& operator=(const VideoReader&) = delete;

    const VideoInfo& info() const;
    const std::string& path() const;

    // Next frame at the given depth (8 or 16); false at the end. Frames that
    // decode are delivered first; a damaged or truncated stream then throws
    // CliError saying where and why.
    bool read(HostFrame& out, int depth);
    // Decodes and drops up to `count` frames without converting them (about
    // half the cost of reading); returns how many there were. Errors as read().
    int64_t skip(int64_t count);
    int64_t frames_read() const;  // delivered or skipped
    // Keeps a limited-range Y'CbCr source's codes outside black..white (see
    // HostLevels); call before the first read. Returns the levels in use,
    // nominal for sources that have no such room (RGB, full range).
    HostLevels use_whole_code_range();
    // Frames read from now on carry their decoded picture (HostFrame::picture)
    // where it is planar Y'CbCr.
    void keep_pictures();
    // Frames are placed by their timestamps at the nominal rate; once the
    // whole video has been read, says how many were repeated to fill gaps
    // or left out ("" when none).
    const std::string& timing_notice() const;

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

// Output kind by the name: ".mov" ProRes 422 HQ, ".mkv" FFV1 lossless,
// ".mp4" H.264, and a name with a printf-style number such as
// "out_%05d.png" a sequence of 16-bit PNG images (numbered from 1).
enum class OutputKind { ProRes, Ffv1, H264, PngSequence };
// Throws CliError for a name that matches none of them.
OutputKind output_kind_for(const std::string& path);
const char* output_kind_name(OutputKind kind);  // "ProRes 422 HQ", ...
// The pixel format an archive keeps a source in: for .mkv from Y'CbCr, FFV1's
// planar Y'CbCr of the source's subsampling (4:4:4 when FFV1 has none such)
// and at least its depth; "" for the kind's default (RGB sources, others).
std::string output_pixel_format(OutputKind kind, const VideoInfo& source);
// Why --pix-fmt `name` cannot be written as `kind` ("" when it can).
std::string pixel_format_refusal(OutputKind kind, const std::string& name);

// Sound that follows the picture: the span of a --start, and the slowing of
// a conform. Times are output seconds from the first picture.
struct AudioFollow {
    double start = 0;       // sound before this is cut off (the source's --start, stretched)
    double stretch = 1;     // output seconds per source second (25 / 23.976 for the PAL conform)
    bool keep_pitch = true; // slowed with the pitch kept; else played slower, pitch and all
    bool end_with_picture = false;  // cut where the last picture ends (--frames)
    bool active() const { return start > 0 || stretch != 1 || end_with_picture; }
};

struct WriterOptions {
    int width = 0;
    int height = 0;
    Rational frame_rate{30000, 1001};
    // Working depth (8 or 16). FFV1 stores exactly this depth (bgr0 /
    // gbrp16le); the other kinds take frames of either depth.
    int depth = 16;
    // Colour of the pictures handed in, normally the reader's. YUV outputs use
    // its matrix (untagged or RGB: chosen by size, height >= 720 -> BT.709),
    // and every output is tagged with matrix, range, primaries and transfer.
    ColorInfo color;
    Rational sample_aspect{1, 1};
    // What the file says about its fields: converted output is progressive;
    // the demo's interlaced source says which field comes first.
    FieldOrder field_order = FieldOrder::Progressive;
    bool overwrite = false;     // replace an existing output (-y)
    // Numbers of a PNG sequence's images: a --range piece writes its own
    // output frame numbers (frame A is image A+1) and touches no other
    // image, so the pieces of one run fill one sequence.
    int64_t first_image = 1;
    int64_t last_image = INT64_MAX;
    int h264_crf = 16;
    // When not empty, the audio streams of this file are copied over
    // (packets re-timed against its first video frame).
    std::string audio_source;
    // Cut (--start) or slowed (conform) with the picture: then the sound is
    // decoded, cut sample-exact, ends with the last picture and is encoded
    // again (PCM from PCM or lossless sound, else AAC).
    AudioFollow audio_follow;
    // The pictures carry alpha worth keeping: ProRes 4444, FFV1 and PNG
    // with alpha are written; H.264 has none and says so in alpha_notice().
    bool alpha = false;
    // Levels of the pictures handed in (the reader's): Y'CbCr outputs keep
    // what lies outside black..white, RGB outputs are brought to nominal.
    HostLevels levels;
    // Pixel format of .mkv and .mov output by FFmpeg's name ("yuv422p10le");
    // empty: .mkv RGB (bgr0 / gbrp16le, with alpha bgra / gbrap16le), .mov
    // ProRes 422 HQ or 4444 with alpha. Others are refused.
    std::string pixel_format;
    // Written where the container holds them ("" leaves one out): start
    // timecode at the output's rate (a timecode track in .mov and .mp4, a
    // TIMECODE tag in .mkv), reel name, creation time, the video stream's
    // title and language. Copied sound keeps its own titles and languages.
    std::string timecode, reel, creation_time, title, language;
};

// Writes frames into a temporary file beside the target; finish() completes
// the file and renames it into place. Destroying a writer without finish()
// (an error or interrupt) removes the temporary file, leaving nothing behind.
class VideoWriter {
public:
    VideoWriter(const std::string& path, const WriterOptions& options);
    ~VideoWriter();
    VideoWriter(const VideoWriter&) = delete;
    VideoWriter& operator=(const VideoWriter&) = delete;

    void write(const HostFrame& frame);  // size must match the options
    void finish();

    OutputKind kind() const;
    int64_t frames_written() const;
    int audio_streams_copied() const;
    // Why audio of audio_source was left out (e.g. a codec the container
    // cannot hold, or an image sequence); empty when all was copied. The
    // caller prints it as a notice.
    const std::string& audio_notice() const;
    // Why the pictures' alpha is not in the output ("" when kept or none).
    const std::string& alpha_notice() const;

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace tessen::cli
