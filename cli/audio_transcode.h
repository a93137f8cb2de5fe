// Audio on its way into an output that cannot hold it as it is: decoded,
// resampled to what the encoder takes, and encoded again (AAC for the
// QuickTime and MP4 outputs, PCM where the source was lossless and the
// container takes PCM).
#pragma once

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}

#include "cli/video_io.h"

#include <memory>
#include <string>

namespace tessen::cli {

enum class AudioPlan { Copy, ToAac, ToPcm, Drop };

// What becomes of an audio stream of `codec` in an output of the muxer `muxer`
// ("mov", "mp4", "matroska"): copied when the container holds it as it is,
// else converted (PCM for a lossless source where the container takes PCM,
// AAC otherwise), dropped only where nothing fits.
AudioPlan plan_audio(const AVOutputFormat* muxer, const AVCodecParameters* source);

// As plan_audio, but never Copy: for sound that must be cut or slowed.
AudioPlan plan_audio_converted(const AVOutputFormat* muxer, const AVCodecParameters* source);

// A short name of a plan's outcome for messages ("AAC", "PCM").
const char* audio_plan_name(AudioPlan plan);

class AudioTranscoder {
public:
    // Adds the converted stream to `out` (before its header is written).
    // Throws std::runtime_error with the cause when the conversion cannot be
    // set up. `follow` cuts and slows the sound sample-exact (see end_at).
    AudioTranscoder(const AVStream* source, AVFormatContext* out, AudioPlan plan, const AudioFollow& follow = {});
    ~AudioTranscoder();
    AudioTranscoder(const AudioTranscoder&) = delete;
    AudioTranscoder& operator=(const AudioTranscoder&) = delete;

    int output_index() const;
    // A packet of the source stream, its times already in output time (the
    // source's time base, zero at the first picture). Encoded packets go to
    // `out` interleaved; a write error comes back as the FFmpeg error code.
    int send(const AVPacket* packet);
    // Sound from `seconds` on (output time) is held back; with it given, the
    // sound ends exactly there, with the picture. Called as the picture grows.
    void end_at(double seconds);
    // The end: everything still held (up to end_at) is encoded and written.
    int finish();

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace tessen::cli
