// The decoded picture behind a host frame, kept where a frame is handed on
// unchanged: a film frame put back together from its fields is the decoded
// pictures' lines, and a Y'CbCr output takes it in the source's own codes
// instead of through the host's R'G'B' and back (which would blur its chroma
// and round its codes).
#pragma once

#include <memory>

extern "C" {
#include <libavutil/frame.h>
}

namespace tessen::cli {

using SourcePicture = std::shared_ptr<const AVFrame>;

// A reference to the decoded picture (no copy of its pixels); null when
// the picture is not planar Y'CbCr whose fields can be told apart by line.
SourcePicture share_picture(const AVFrame* frame);

// The even lines (upper field) of one picture and the odd of another; for
// 4:2:0 the chroma lines alternate the same way (each field keeps its own).
// Null when the two differ in format or size.
SourcePicture weave_pictures(const SourcePicture& upper, const SourcePicture& lower);

// Writes `picture` into the encoder's frame `out` (allocated, writable),
// changing only depth and vertical chroma siting; false when `out`'s format
// differs from the picture's in anything else, and then `out` is untouched.
bool picture_into(const AVFrame& picture, AVFrame& out);

}  // namespace tessen::cli
