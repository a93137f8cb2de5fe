#include "cli/progress.h"

#include <unistd.h>

#include <algorithm>
#include <cmath>

namespace tessen::cli {

namespace {
constexpr int kBarWidth = 28;
}

std::string format_duration(double seconds) {
    if (!std::isfinite(seconds) || seconds < 0) return "?";
    long long s = static_cast<long long>(seconds + 0.5);
    char buf[32];
    if (s >= 3600)
        std::snprintf(buf, sizeof buf, "%lld:%02lld:%02lld", s / 3600, (s / 60) % 60, s % 60);
    else
        std::snprintf(buf, sizeof buf, "%lld:%02lld", s / 60, s % 60);
    return buf;
}

Progress::Progress(long long total_frames, bool quiet, std::FILE* out)
    : Progress(total_frames,
               quiet ? Style::kNone : (isatty(fileno(out)) ? Style::kBar : Style::kLines), out) {}

Progress::Progress(long long total_frames, Style style, std::FILE* out)
    : total_(std::max(total_frames, 1LL)), style_(style), out_(out), start_(Clock::now()), last_draw_(start_) {}

Progress::~Progress() { interrupt(); }

void Progress::update(long long done) {
    if (style_ == Style::kNone || finished_) return;
    if (done > total_) total_ = done;  // more frames than estimated
    auto now = Clock::now();
    double since = std::chrono::duration<double>(now - last_draw_).count();
    // A terminal bar redraws a few times a second; plain lines every few seconds.
    double period = style_ == Style::kBar ? 0.2 : 5.0;
    // The last frame's line is finish()'s.
    if (style_ == Style::kLines && (done >= total_ || since < period)) return;
    if (style_ == Style::kBar && drawn_ && since < period && done < total_) return;
    last_draw_ = now;
    draw(done, false);
}

void Progress::finish(long long done) {
    if (style_ == Style::kNone || finished_) return;
    total_ = std::max(done, 1LL);
    draw(done, true);
    finished_ = true;
}

void Progress::interrupt() {
    if (style_ == Style::kBar && drawn_ && !finished_) {
        std::fprintf(out_, "\r%*s\r", static_cast<int>(last_width_), "");
        std::fflush(out_);
        drawn_ = false;
    }
}

void Progress::draw(long long done, bool final_line) {
    double elapsed = std::chrono::duration<double>(Clock::now() - start_).count();
    double fps = elapsed > 0 ? done / elapsed : 0.0;
    double left = fps > 0 ? (total_ - done) / fps : -1.0;
    char line[256];
    if (style_ == Style::kBar) {
        int filled = static_cast<int>(kBarWidth * done / total_);
        char bar[kBarWidth + 1];
        for (int i = 0; i < kBarWidth; ++i) bar[i] = i < filled ? '#' : '-';
        bar[kBarWidth] = '\0';
        if (final_line)
            std::snprintf(line, sizeof line, "[%s] %lld/%lld frames  %.1f fps  %s", bar, done, total_, fps,
                          format_duration(elapsed).c_str());
        else
            std::snprintf(line, sizeof line, "[%s] %lld/%lld frames  %.1f fps  %s left", bar, done, total_, fps,
                          format_duration(left).c_str());
        size_t len = std::string(line).size();
        int pad = last_width_ > len ? static_cast<int>(last_width_ - len) : 0;
        std::fprintf(out_, "\r%s%*s%s", line, pad, "", final_line ? "\n" : "");
        last_width_ = len;
    } else {
        if (final_line)
            std::snprintf(line, sizeof line, "%lld/%lld frames, %.1f fps, %s", done, total_, fps,
                          format_duration(elapsed).c_str());
        else
            std::snprintf(line, sizeof line, "%lld/%lld frames (%d%%), %.1f fps, %s left", done, total_,
                          static_cast<int>(100 * done / total_), fps, format_duration(left).c_str());
        std::fprintf(out_, "%s\n", line);
    }
    std::fflush(out_);
    drawn_ = true;
}

}  // namespace tessen::cli
