// Nothing half-written: outputs are produced under a hidden temporary name in
// the target's folder and renamed into place only when complete.
#pragma once

#include <cstdint>
#include <string>

namespace tessen::cli {

// One output being produced. The constructor checks the target (refuses an
// existing one unless overwrite is set, and a folder that is missing or not
// writable) and reserves the temporary name. For an image sequence
// ("out_%05d.png") the temporary is a hidden folder that receives all images.
// Destroying it without commit() removes the temporary.
class OutputFile {
public:
    // A sequence minds only its images numbered first_image..last_image.
    OutputFile(const std::string& target, bool overwrite, bool is_sequence = false, int64_t first_image = 1,
               int64_t last_image = INT64_MAX);
    ~OutputFile();
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    const std::string& target() const { return target_; }
    // Where to write: the temporary file, or for a sequence the temporary
    // folder joined with the pattern's file name.
    const std::string& write_path() const { return write_path_; }

    // Moves the result into place. For a sequence every image is moved (with
    // overwrite, images of an older, longer sequence of the same pattern are
    // removed). Throws CliError; the temporary is removed on failure.
    void commit();
    // Removes the temporary now (idempotent).
    void discard() noexcept;

private:
    std::string target_;
    std::string temp_;        // temporary file or folder
    std::string write_path_;
    bool sequence_ = false;
    bool overwrite_ = false;
    int64_t first_image_ = 1, last_image_ = INT64_MAX;
    bool live_ = false;
    int slot_ = -1;           // registry slot for remove_live_temporaries()
};

// True when the name holds a printf-style frame number (%d, %05d).
bool is_sequence_pattern(const std::string& path);
// The name of image `number` of a sequence: "dir/out_%05d.png", 7 ->
// "dir/out_00007.png". Only the frame number is replaced; other characters
// stay as they are.
std::string sequence_file_name(const std::string& pattern, int64_t number);

// Removes every temporary file and folder still live in this process. For the
// interrupt path: call it after a SIGINT has been seen (or from an atexit
// handler). Plain temporary files are removed with unlink() only, which is
// safe even inside a signal handler; sequence folders need the file system
// library and so must not be removed from inside a handler (pass
// from_signal_handler = true there to skip them).
void remove_live_temporaries(bool from_signal_handler = false) noexcept;

// Text of an errno value for messages ("disk full", "permission denied" ...).
std::string io_error_text(int err);

}  // namespace tessen::cli
