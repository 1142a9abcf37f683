// The command line as a whole: options that every command has, help, and the one line that an
// unusable command line is answered with.
#pragma once

#include <string>
#include <vector>

#include "host.hpp"

namespace bokfolio::cli {

// Parses the words after the program's name and leaves the action in the host; no action when help
// or the version was asked for, which is then written. Failure (usage) for anything else.
void parseCommandLine(Host& host, std::vector<std::string> words);

}  // namespace bokfolio::cli
