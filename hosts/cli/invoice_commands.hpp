// The parts of `invoice`, and what their command lines share.
#pragma once

#include <CLI/CLI.hpp>
#include <string>

#include "host.hpp"

namespace bokfolio::cli {

// The word that names the invoice a command is about.
void addInvoiceNumber(CLI::App* command, std::string& number);

void addInvoiceComposing(CLI::App& invoice, Host& host);
void addInvoiceLines(CLI::App& invoice, Host& host);
void addInvoiceLife(CLI::App& invoice, Host& host);
void addInvoiceFiling(CLI::App& invoice, Host& host);

}  // namespace bokfolio::cli
