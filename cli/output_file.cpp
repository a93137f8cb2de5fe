#include "cli/output_file.h"

#include "cli/cli_error.h"

#include <algorithm>
#include <atomic>
#include <cctype>
#include <cerrno>
#include <cstdlib>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tessen::cli {

namespace fs = std::filesystem;

namespace {

// Live temporaries, kept in fixed storage so that the interrupt path can
// remove plain files without allocating or locking.
enum SlotState : int { kFree = 0, kClaimed = 1, kFile = 2, kFolder = 3 };
constexpr int kSlots = 64;
struct Slot {
    std::atomic<int> state{kFree};
    char path[4096];
};
Slot g_slots[kSlots];

int claim_slot(const std::string& path, bool folder) {
    if (path.size() >= sizeof(g_slots[0].path)) return -1;
    for (int i = 0; i < kSlots; ++i) {
        int expected = kFree;
        if (g_slots[i].state.compare_exchange_strong(expected, kClaimed)) {
            std::memcpy(g_slots[i].path, path.c_str(), path.size() + 1);
            g_slots[i].state.store(folder ? kFolder : kFile);
            return i;
        }
    }
    return -1;  // more live outputs than slots: still cleaned by the destructor
}

void release_slot(int slot) {
    if (slot >= 0) g_slots[slot].state.store(kFree);
}

// The parts of a sequence file name around its number: "out_%05d.png" ->
// "out_", 5, ".png".
struct Pattern {
    std::string prefix, suffix;
    int width = 0;
    bool valid = false;
};

Pattern parse_pattern(const std::string& name) {
    Pattern p;
    for (size_t i = 0; i < name.size(); ++i) {
        if (name[i] != '%') continue;
        size_t j = i + 1;
        while (j < name.size() && std::isdigit(static_cast<unsigned char>(name[j]))) ++j;
        if (j < name.size() && name[j] == 'd') {
            p.prefix = name.substr(0, i);
            p.suffix = name.substr(j + 1);
            p.width = j > i + 1 ? std::atoi(name.substr(i + 1, j - i - 1).c_str()) : 0;
            p.valid = true;
            return p;
        }
    }
    return p;
}

bool matches(const Pattern& p, const std::string& name, int64_t first, int64_t last) {
    if (name.size() <= p.prefix.size() + p.suffix.size()) return false;
    if (name.compare(0, p.prefix.size(), p.prefix) != 0) return false;
    if (name.compare(name.size() - p.suffix.size(), p.suffix.size(), p.suffix) != 0) return false;
    const std::string digits = name.substr(p.prefix.size(), name.size() - p.prefix.size() - p.suffix.size());
    if (int(digits.size()) < p.width || digits.size() > 18) return false;
    if (!std::all_of(digits.begin(), digits.end(), [](char c) { return c >= '0' && c <= '9'; })) return false;
    const int64_t number = std::stoll(digits);
    return number >= first && number <= last;
}

std::vector<std::string> matching_files(const fs::path& dir, const Pattern& p, int64_t first, int64_t last) {
    std::vector<std::string> found;
    std::error_code ec;
    for (fs::directory_iterator it(dir, ec), end; !ec && it != end; it.increment(ec)) {
        const std::string name = it->path().filename().string();
        if (matches(p, name, first, last)) found.push_back(name);
    }
    std::sort(found.begin(), found.end());
    return found;
}

std::atomic<unsigned> g_counter{0};

}  // namespace

std::string io_error_text(int err) {
    switch (err) {
    case ENOSPC: return "disk full";
#ifdef EDQUOT
    case EDQUOT: return "disk quota exceeded";
#endif
    case EACCES:
    case EPERM: return "permission denied";
    case EROFS: return "read-only file system";
    case EFBIG: return "file too large";
    case ENOENT: return "no such file or folder";
    case ENOTDIR: return "a part of the path is not a folder";
    case EISDIR: return "is a folder";
    default: break;
    }
    std::string s = std::strerror(err);
    if (!s.empty()) s[0] = char(std::tolower(static_cast<unsigned char>(s[0])));
    return s;
}

bool is_sequence_pattern(const std::string& path) {
    return parse_pattern(fs::path(path).filename().string()).valid;
}

std::string sequence_file_name(const std::string& pattern, int64_t number) {
    const fs::path path(pattern);
    const Pattern p = parse_pattern(path.filename().string());
    if (!p.valid) return pattern;
    std::string digits = std::to_string(number);
    if (int(digits.size()) < p.width) digits.insert(0, size_t(p.width) - digits.size(), '0');
    return (path.parent_path() / (p.prefix + digits + p.suffix)).string();
}

OutputFile::OutputFile(const std::string& target, bool overwrite, bool is_sequence, int64_t first_image,
                       int64_t last_image)
    : target_(target), sequence_(is_sequence), overwrite_(overwrite), first_image_(first_image),
      last_image_(last_image) {
    const fs::path t(target);
    const std::string name = t.filename().string();
    if (name.empty() || name == "." || name == "..") throw CliError(target, "is a folder, not an output file name");
    fs::path dir = t.parent_path();
    if (dir.empty()) dir = ".";

    struct stat st {};
    if (::stat(dir.c_str(), &st) != 0) {
        const int err = errno;
        if (err == ENOENT) throw CliError(target, "the folder \"" + dir.string() + "\" does not exist");
        throw CliError(target, "cannot use the folder \"" + dir.string() + "\": " + io_error_text(err));
    }
    if (!S_ISDIR(st.st_mode)) throw CliError(target, "\"" + dir.string() + "\" is not a folder");

    std::string temp_stem = name;
    if (sequence_) {
        const Pattern p = parse_pattern(name);
        if (!p.valid) throw CliError(target, "an image sequence needs a frame number such as %05d in its name");
        const auto existing = matching_files(dir, p, first_image_, last_image_);
        if (!existing.empty() && !overwrite_)
            throw CliError(target, "images of this sequence already exist (" + existing.front() +
                                       "); add -y to overwrite them");
        std::replace(temp_stem.begin(), temp_stem.end(), '%', '_');
    } else if (::lstat(target.c_str(), &st) == 0) {
        if (S_ISDIR(st.st_mode)) throw CliError(target, "is a folder, not an output file name");
        if (!overwrite_) throw CliError(target, "already exists; add -y to overwrite it");
    }

    for (int attempt = 0; attempt < 1000; ++attempt) {
        const fs::path candidate = dir / ("." + temp_stem + ".tessen-" + std::to_string(::getpid()) + "-" +
                                          std::to_string(g_counter++) + ".partial");
        int rc;
        if (sequence_) {
            rc = ::mkdir(candidate.c_str(), 0777);
        } else {
            rc = ::open(candidate.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
            if (rc >= 0) rc = ::close(rc);
        }
        if (rc == 0) {
            temp_ = candidate.string();
            break;
        }
        const int err = errno;
        if (err != EEXIST)
            throw CliError(target, "cannot write in the folder \"" + dir.string() + "\": " + io_error_text(err));
    }
    if (temp_.empty()) throw CliError(target, "cannot find a free temporary name in \"" + dir.string() + "\"");
    live_ = true;
    slot_ = claim_slot(temp_, sequence_);
    write_path_ = sequence_ ? (fs::path(temp_) / name).string() : temp_;
}

OutputFile::~OutputFile() { discard(); }

void OutputFile::discard() noexcept {
    if (!live_) return;
    live_ = false;
    if (sequence_) {
        std::error_code ec;
        fs::remove_all(temp_, ec);
    } else {
        ::unlink(temp_.c_str());
    }
    release_slot(slot_);
    slot_ = -1;
}

void OutputFile::commit() {
    if (!live_) throw CliError(target_, "output already finished or abandoned");
    if (!sequence_) {
        if (!overwrite_) {
            struct stat st {};
            if (::lstat(target_.c_str(), &st) == 0) {
                discard();
                throw CliError(target_, "was created by someone else meanwhile; add -y to overwrite it");
            }
        }
        if (::rename(temp_.c_str(), target_.c_str()) != 0) {
            const int err = errno;
            discard();
            throw CliError(target_, "cannot move the finished file into place: " + io_error_text(err));
        }
        live_ = false;
        release_slot(slot_);
        slot_ = -1;
        return;
    }

    const fs::path t(target_);
    fs::path dir = t.parent_path();
    if (dir.empty()) dir = ".";
    const Pattern p = parse_pattern(t.filename().string());
    const auto made = matching_files(temp_, p, first_image_, last_image_);
    const auto old = matching_files(dir, p, first_image_, last_image_);
    if (!overwrite_ && !old.empty()) {
        discard();
        throw CliError(target_, "images of this sequence were created by someone else meanwhile (" + old.front() +
                                    "); add -y to overwrite them");
    }
    for (const auto& name : made) {
        if (::rename((fs::path(temp_) / name).c_str(), (dir / name).c_str()) != 0) {
            const int err = errno;
            discard();
            throw CliError(target_, "cannot move " + name + " into place: " + io_error_text(err));
        }
    }
    // With overwrite, images left from an older, longer sequence would
    // silently extend the new one.
    for (const auto& name : old) {
        if (!std::binary_search(made.begin(), made.end(), name)) ::unlink((dir / name).c_str());
    }
    discard();  // the now empty folder
}

void remove_live_temporaries(bool from_signal_handler) noexcept {
    for (int i = 0; i < kSlots; ++i) {
        const int state = g_slots[i].state.load();
        if (state == kFile) {
            ::unlink(g_slots[i].path);
        } else if (state == kFolder && !from_signal_handler) {
            std::error_code ec;
            fs::remove_all(g_slots[i].path, ec);
        }
    }
}

}  // namespace tessen::cli
