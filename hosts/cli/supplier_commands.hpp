// The parts of `supplier`, a file each.
#pragma once

#include <CLI/CLI.hpp>
#include <string>

#include "host.hpp"

namespace bokfolio::cli {

void addBillComposing(CLI::App& supplier, Host& host);
void addBillViews(CLI::App& supplier, Host& host);
void addBillBooking(CLI::App& supplier, Host& host);

// The bill that a command is about.
void addBillArgument(CLI::App* command, std::string& bill);

}  // namespace bokfolio::cli
