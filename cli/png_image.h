// Single PNG pictures (the demo's side-by-side image).
#pragma once

#include "cli/demo_scene.h"

#include <string>

namespace tessen::cli {

// Writes an 8-bit RGB PNG; like every output, it appears only when complete.
// Throws CliError naming the file.
void write_png(const std::string& path, const RgbImage& image, bool overwrite);

}  // namespace tessen::cli
