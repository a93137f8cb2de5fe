// The one exception type of the command-line tool: every failure names the
// file it concerns and a cause, so main() can print one clear line
// "tessen: <file>: <cause>".
#pragma once

#include <stdexcept>
#include <string>

namespace tessen::cli {

struct CliError : std::runtime_error {
    CliError(std::string file_name, std::string why)
        : std::runtime_error(file_name.empty() ? why : file_name + ": " + why),
          file(std::move(file_name)),
          cause(std::move(why)) {}

    std::string file;   // may be empty when no file is concerned
    std::string cause;  // lower-case, no trailing full stop
};

}  // namespace tessen::cli
