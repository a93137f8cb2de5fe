// Fuzz target: bytes as tessen's input file. Every run goes through the
// command line as a user's would (the reader, the conversion plan, the
// headless host and the effect module, the writer) on two output frames.
// A failure must be exactly one line "tessen: ..." on stderr with an error
// exit code, and leave no file in the output folder; a success must leave
// the output file and nothing else.
#include "cli/commands.h"

#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace {

[[noreturn]] void Finding(const std::string& what)
{
    std::fprintf(stderr, "finding: %s\n", what.c_str());
    std::abort();
}

std::string Folder()
{
    static std::string folder = [] {
        char name[] = "/tmp/tessen-fuzz-XXXXXX";
        if (::mkdtemp(name) == nullptr) Finding("no scratch folder");
        return std::string(name);
    }();
    return folder;
}

std::vector<std::string> FilesIn(const std::string& dir)
{
    std::vector<std::string> names;
    if (DIR* d = ::opendir(dir.c_str())) {
        while (dirent* e = ::readdir(d))
            if (std::strcmp(e->d_name, ".") != 0 && std::strcmp(e->d_name, "..") != 0) names.push_back(e->d_name);
        ::closedir(d);
    }
    return names;
}

std::string ReadAll(int fd)
{
    std::string text;
    ::lseek(fd, 0, SEEK_SET);
    char buf[4096];
    ssize_t n;
    while ((n = ::read(fd, buf, sizeof buf)) > 0) text.append(buf, static_cast<size_t>(n));
    return text;
}

}  // namespace

// The module is instrumented too and registers its counters with the fuzzer
// when loaded: it must stay mapped although each run loads and unloads it.
extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    if (::dlopen(TESSEN_MODULE_PATH, RTLD_NOW | RTLD_NODELETE) == nullptr) Finding(::dlerror());
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const std::string input = Folder() + "/input";
    const std::string outDir = Folder() + "/out";
    const std::string output = outDir + "/converted.mov";
    ::mkdir(outDir.c_str(), 0700);
    ::unlink(output.c_str());
    if (FILE* f = std::fopen(input.c_str(), "wb")) {
        if (size != 0) std::fwrite(data, 1, size, f);
        std::fclose(f);
    }

    // stderr into a scratch file for the run.
    std::fflush(stderr);
    const int saved = ::dup(2);
    FILE* capture = std::tmpfile();
    ::dup2(::fileno(capture), 2);
    std::vector<std::string> args = {"tessen", "render", input,       output, "--frames", "2",
                                     "--quiet", "--threads", "1", "--module", TESSEN_MODULE_PATH};
    std::vector<char*> argv;
    for (std::string& a : args) argv.push_back(a.data());
    argv.push_back(nullptr);
    const int code = tessen::cli::run_command_line(static_cast<int>(args.size()), argv.data());
    std::fflush(stderr);
    ::dup2(saved, 2);
    ::close(saved);
    const std::string said = ReadAll(::fileno(capture));
    std::fclose(capture);

    const std::vector<std::string> left = FilesIn(outDir);
    if (code == 0) {
        if (left.size() != 1 || left[0] != "converted.mov") Finding("success without exactly the output file");
        ::unlink(output.c_str());
        return 0;
    }
    if (!left.empty()) Finding("exit " + std::to_string(code) + " left " + left[0] + " behind");
    // One line of our own: the last, naming the program. (The decoders'
    // own notes about damaged data may come before it.)
    size_t ours = 0;
    size_t start = 0;
    while (start < said.size()) {
        size_t end = said.find('\n', start);
        if (end == std::string::npos) end = said.size();
        if (said.compare(start, 8, "tessen: ") == 0) ++ours;
        start = end + 1;
    }
    if (ours != 1 || said.empty() || said.back() != '\n')
        Finding("exit " + std::to_string(code) + " with " + std::to_string(ours) + " lines of tessen's own:\n" + said);
    return 0;
}
