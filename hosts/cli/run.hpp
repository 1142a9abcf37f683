// One run of the program: from the words of a command line to an exit status. Whatever a command
// throws ends here as one line on standard error; nothing leaves by another door.
#pragma once

#include <string>
#include <vector>

#include "host.hpp"

namespace bokfolio::cli {

// Does what the words ask for, writes answers to std::cout and failures to std::cerr, and answers
// the exit status of the process.
int run(Host& host, const std::vector<std::string>& words);

}  // namespace bokfolio::cli
