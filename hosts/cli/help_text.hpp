// The help that the command line shows, in the user's language. Commands are written with English
// texts; here, and only when help is asked for, all of them are replaced by those of the language.
#pragma once

#include <CLI/CLI.hpp>

#include "host.hpp"

namespace bokfolio::cli {

// The command with all commands in it: descriptions, headings, names of values, and footers line by
// line, so that examples stay as they are. What has no text in the language stays English.
void translateHelp(CLI::App& app, Host& host);

}  // namespace bokfolio::cli
