#include "cli/pulldown.h"

#include "cli/conversion_plan.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace tessen::cli {

namespace {

// A field is a repeat when it differs from the field two before it by less
// than this share of what its neighbours differ by.
constexpr double kRepeatRatio = 0.5;
// A film frame's fields pair unless they comb more than this many times the
// cleanest pair of fields nearby.
constexpr double kCombRatio = 2.0;
// The cadence is carried over this many cycles without a repeat in sight
// (still pictures show none).
constexpr int64_t kCarryCycles = 12;

template <typename T>
void brightness_rows(const HostFrame& f, const T* (*row)(const HostFrame&, int), std::vector<float>& out) {
    out.resize(size_t(f.width) * size_t(f.height));
    for (int y = 0; y < f.height; ++y) {
        const T* p = row(f, y);
        float* o = out.data() + size_t(y) * size_t(f.width);
        for (int x = 0; x < f.width; ++x) o[x] = float(p[4 * x + 1]) + 2.0f * float(p[4 * x + 2]) + float(p[4 * x + 3]);
    }
}

}  // namespace

void FieldMeter::add(const HostFrame& frame) {
    const float scale = frame.depth == 16 ? 255.0f / (4.0f * 32768.0f) : 1.0f / 4.0f;
    if (frame.depth == 16)
        brightness_rows<uint16_t>(frame, [](const HostFrame& f, int y) { return f.row16(y); }, current_);
    else
        brightness_rows<uint8_t>(frame, [](const HostFrame& f, int y) { return f.row8(y); }, current_);
    const int w = frame.width, h = frame.height;
    const bool have_previous = previous_.size() == current_.size();
    // Line y of frame i is upper (even) or lower; the first field of a frame
    // is the upper one when upper_first_.
    auto line_of = [&](int y, bool first_from_current, bool second_from_current) -> const float* {
        const bool upper = y % 2 == 0;
        const bool first = upper == upper_first_;
        const bool from_current = first ? first_from_current : second_from_current;
        return (from_current ? current_ : previous_).data() + size_t(y) * size_t(w);
    };
    auto comb = [&](bool first_from_current, bool second_from_current) {
        double sum = 0;
        for (int y = 1; y + 1 < h; ++y) {
            const float* a = line_of(y - 1, first_from_current, second_from_current);
            const float* b = line_of(y, first_from_current, second_from_current);
            const float* c = line_of(y + 1, first_from_current, second_from_current);
            for (int x = 0; x < w; ++x) sum += double(std::max(0.0f, (a[x] - b[x]) * (c[x] - b[x])));
        }
        const double n = double(w) * double(std::max(1, h - 2));
        return sum / n * double(scale) * double(scale);
    };
    auto repeat = [&](bool upper) {
        double sum = 0;
        int lines = 0;
        for (int y = upper ? 0 : 1; y < h; y += 2, ++lines) {
            const float* a = current_.data() + size_t(y) * size_t(w);
            const float* b = previous_.data() + size_t(y) * size_t(w);
            for (int x = 0; x < w; ++x) sum += std::fabs(double(a[x]) - double(b[x]));
        }
        return sum / (double(w) * std::max(1, lines)) * double(scale);
    };
    FieldMeasure first, second;
    if (have_previous) {
        first.comb = comb(true, false);  // the frame before's second field, then this frame's first
        first.repeat = repeat(upper_first_);
        second.repeat = repeat(!upper_first_);
    }
    second.comb = comb(true, true);
    fields_.push_back(first);
    fields_.push_back(second);
    std::swap(previous_, current_);
}

namespace {

struct Group {
    int64_t start = 0;
    int len = 0;
    bool pairs = false;
};

// Repeated fields: much closer to the field two before than their neighbours are.
std::vector<int64_t> find_repeats(const std::vector<FieldMeasure>& m) {
    std::vector<int64_t> out;
    const int64_t n = int64_t(m.size());
    for (int64_t j = 2; j < n; ++j) {
        double least = -1;
        int seen = 0;
        for (int64_t d : {-2, -1, 1, 2}) {
            const int64_t i = j + d;
            if (i < 2 || i >= n) continue;
            least = seen == 0 ? m[size_t(i)].repeat : std::min(least, m[size_t(i)].repeat);
            ++seen;
        }
        if (seen >= 2 && least > 0 && m[size_t(j)].repeat <= kRepeatRatio * least) out.push_back(j);
    }
    return out;
}

}  // namespace

PulldownPlan plan_pulldown(const std::vector<FieldMeasure>& m, bool upper_first, int64_t output_frames) {
    PulldownPlan plan;
    plan.slots.assign(size_t(std::max<int64_t>(0, output_frames)), {});
    const int64_t n = int64_t(m.size());
    const std::vector<int64_t> reps = find_repeats(m);

    // Runs of repeats five fields apart (or a multiple of five, across still
    // stretches). Read in the wrong field order, film shows its repeats
    // three and seven fields apart, and no run.
    std::vector<std::pair<int64_t, int64_t>> runs;  // first and last repeat
    for (size_t i = 0; i < reps.size();) {
        size_t k = i + 1;
        while (k < reps.size() && (reps[k] - reps[k - 1]) % 5 == 0 && reps[k] - reps[k - 1] <= 5 * kCarryCycles) ++k;
        if (k - i >= 2) runs.push_back({reps[i], reps[k - 1]});
        i = k;
    }

    // The film frames of each run, from the first repeat's three fields to
    // the last's (each two-field frame lies between two repeats); beyond them
    // only toward an end of the video, where a repeat could not be seen.
    std::vector<std::vector<Group>> run_groups;
    std::vector<int> run_phase;
    int64_t taken = 0;  // fields before this belong to an earlier run
    for (const auto& [first, last] : runs) {
        std::vector<Group> groups;
        const bool from_start = first - 5 < 2, to_end = last + 5 >= n;
        const int64_t stop = to_end ? n : last + 1;
        int64_t i = 0;
        for (int64_t s = first - (from_start ? 7 : 2); s < stop; s += (i % 2 == 0 ? 3 : 2), ++i) {
            const int64_t begin = std::max(s, taken), end = std::min<int64_t>(s + (i % 2 == 0 ? 3 : 2), n);
            if (end - begin >= 2) groups.push_back({begin, int(end - begin), false});
        }
        if (groups.empty()) continue;
        taken = groups.back().start + groups.back().len;
        run_phase.push_back(int(((first - 2) % 5 + 5) % 5));
        run_groups.push_back(std::move(groups));
    }
    // The phase most film frames have, and how often it changes.
    std::vector<size_t> per_phase(5, 0);
    for (size_t r = 0; r < run_groups.size(); ++r) {
        per_phase[size_t(run_phase[r])] += run_groups[r].size();
        if (r > 0 && run_phase[r] != run_phase[r - 1]) ++plan.phase_changes;
    }
    if (!run_groups.empty())
        plan.phase = int(std::max_element(per_phase.begin(), per_phase.end()) - per_phase.begin());

    // A film frame's fields weave without combing: in a run, the fields
    // inside film frames comb less than the fields across their borders, or
    // the run is no film. A film frame pairs
    // when its fields comb no more than those of the film frames around it
    // (the picture's own detail); an orphan field at an edit combs far more.
    auto comb = [&](int64_t j) { return j >= 1 && j < n ? m[size_t(j)].comb : -1.0; };
    auto median = [](std::vector<double> v) {
        if (v.empty()) return -1.0;
        std::nth_element(v.begin(), v.begin() + ptrdiff_t(v.size() / 2), v.end());
        return v[v.size() / 2];
    };
    for (auto& groups : run_groups) {
        std::vector<double> inside, across;
        for (const Group& g : groups) {
            inside.push_back(comb(g.start + 1));
            if (comb(g.start) >= 0) across.push_back(comb(g.start));
        }
        const double border = median(across);
        if (!(median(inside) <= border)) continue;  // none pairs
        for (size_t g = 0; g < groups.size(); ++g) {
            const size_t lo = g >= 4 ? g - 4 : 0, hi = std::min(groups.size(), g + 5);
            const double around = median(std::vector<double>(inside.begin() + ptrdiff_t(lo), inside.begin() + ptrdiff_t(hi)));
            // Smooth pictures comb next to nothing; a tenth of the combing
            // across film frames is still far below an orphan's.
            groups[g].pairs = inside[g] >= 0 && inside[g] <= std::max(kCombRatio * around, 0.1 * border) + 1e-6;
        }
    }

    // Each run's film frames fill consecutive output frames, shifted to where
    // their times lie closest to the times the effect would render.
    auto slot_field = [](int64_t k) { return (5 * k) / 2; };
    std::vector<double> claim(plan.slots.size(), 1e30);
    for (const auto& groups : run_groups) {
        const double c0 = double(groups[0].start) + (groups[0].len - 1) / 2.0;
        const int64_t base = int64_t(std::llround(c0 / 2.5));
        int64_t best_d = base;
        double best_cost = 1e30;
        for (int64_t d = base - 2; d <= base + 2; ++d) {
            double cost = 0;
            for (size_t g = 0; g < groups.size(); ++g) {
                const double centre = double(groups[g].start) + (groups[g].len - 1) / 2.0;
                cost += std::fabs(centre - double(slot_field(d + int64_t(g))));
            }
            if (cost < best_cost - 1e-9) {
                best_cost = cost;
                best_d = d;
            }
        }
        for (size_t g = 0; g < groups.size(); ++g) {
            const int64_t k = best_d + int64_t(g);
            if (k < 0 || k >= int64_t(plan.slots.size())) continue;
            const Group& gr = groups[g];
            const double dist = std::fabs(double(gr.start) + (gr.len - 1) / 2.0 - double(slot_field(k)));
            if (dist >= claim[size_t(k)]) continue;
            claim[size_t(k)] = dist;
            PulldownPlan::Slot s;
            if (gr.pairs) {
                // Fields start and start + 1: one upper, one lower.
                const int64_t a = gr.start, b = gr.start + 1;
                const bool a_upper = (a % 2 == 0) == upper_first;
                s.upper_frame = (a_upper ? a : b) / 2;
                s.lower_frame = (a_upper ? b : a) / 2;
            }
            plan.slots[size_t(k)] = s;
        }
    }
    for (const PulldownPlan::Slot& s : plan.slots) (s.recovered() ? plan.recovered : plan.rendered)++;
    if (plan.recovered == 0) plan.phase = -1;
    return plan;
}

std::string PulldownPlan::summary() const {
    if (!found()) return "no 3:2 pulldown found";
    std::string s = "3:2 pulldown (phase " + std::to_string(phase);
    if (phase_changes > 0)
        s += ", " + std::to_string(phase_changes) + (phase_changes == 1 ? " change" : " changes") + " of phase";
    s += "): " + std::to_string(recovered) + (recovered == 1 ? " film frame" : " film frames") + " recovered, " +
         std::to_string(rendered) + " rendered by the effect";
    return s;
}

PulldownPlan analyse_pulldown(const std::string& path, int64_t first_frame, int64_t max_frames, bool upper_first,
                              int64_t frames_cap) {
    VideoReader reader(path);
    if (first_frame > 0) reader.skip(first_frame);
    FieldMeter meter(upper_first);
    HostFrame f;
    int64_t frames = 0;
    while ((max_frames < 0 || frames < max_frames) && reader.read(f, 8)) {
        meter.add(f);
        ++frames;
    }
    ConversionPlan ntsc;
    ntsc.rate = CompRate::k23_976;
    ntsc.time_base = comp_time_base(CompRate::k23_976);
    ntsc.layer_rate = {2997, 100};
    const int64_t outputs =
        output_frame_count(frames, ntsc, frames_cap >= 0 ? std::optional<int64_t>(frames_cap) : std::nullopt);
    return plan_pulldown(meter.fields(), upper_first, outputs);
}

void weave_fields(const HostFrame& upper, const HostFrame& lower, HostFrame& out) {
    out.allocate(upper.width, upper.height, upper.depth);
    for (int y = 0; y < out.height; ++y)
        std::memcpy(out.row8(y), (y % 2 == 0 ? upper : lower).row8(y), out.rowbytes);
}

}  // namespace tessen::cli
