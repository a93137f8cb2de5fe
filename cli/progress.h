// Progress of a render on stderr: a bar on a terminal, periodic plain lines
// otherwise, nothing when quiet.
#pragma once

#include <chrono>
#include <cstdio>
#include <string>

namespace tessen::cli {

class Progress {
public:
    enum class Style { kNone, kBar, kLines };

    // Chooses the style from the stream: a bar when it is a terminal.
    Progress(long long total_frames, bool quiet, std::FILE* out = stderr);
    Progress(long long total_frames, Style style, std::FILE* out);
    ~Progress();

    void update(long long frames_done);
    // Ends the bar's line; prints a last line with the totals. The total
    // announced was an estimate: the last line counts the frames done.
    void finish(long long frames_done);
    // Clears the bar's line so that a message can be printed cleanly.
    void interrupt();

    Style style() const { return style_; }

private:
    using Clock = std::chrono::steady_clock;
    void draw(long long done, bool final_line);

    long long total_;
    Style style_;
    std::FILE* out_;
    Clock::time_point start_;
    Clock::time_point last_draw_;
    bool drawn_ = false;
    bool finished_ = false;
    size_t last_width_ = 0;
};

// "1:05", "12:00:03".
std::string format_duration(double seconds);

}  // namespace tessen::cli
