// The commands, one group a file. Each function adds its group to the command line and hands the
// host what to do when it is asked for.
#pragma once

#include <CLI/CLI.hpp>
#include <functional>
#include <string>

#include "host.hpp"

namespace bokfolio::cli {

// A command that only has commands of its own, one of which must be given.
CLI::App* addGroup(CLI::App& app, const std::string& name, const std::string& description);

// What runs when the command was given.
void onRun(CLI::App* command, Host& host, std::function<void(Host&)> action);

void addNewCommand(CLI::App& app, Host& host);
void addAccountCommands(CLI::App& app, Host& host);
void addTagCommands(CLI::App& app, Host& host);
void addYearCommands(CLI::App& app, Host& host);
void addOpeningCommands(CLI::App& app, Host& host);
void addSupplierCommands(CLI::App& app, Host& host);
void addImportCommand(CLI::App& app, Host& host);
void addEntryCommands(CLI::App& app, Host& host);
void addBalanceCommand(CLI::App& app, Host& host);
void addJournalCommand(CLI::App& app, Host& host);
void addResultCommand(CLI::App& app, Host& host);
void addBookCommands(CLI::App& app, Host& host);
void addCompanyCommands(CLI::App& app, Host& host);
void addRatesCommand(CLI::App& app, Host& host);
void addArticleCommands(CLI::App& app, Host& host);
void addInvoiceCommands(CLI::App& app, Host& host);
void addCheckCommand(CLI::App& app, Host& host);
void addBackupCommand(CLI::App& app, Host& host);
void addAddressCommand(CLI::App& app, Host& host);

// The parts of `entry`.
void addEntryComposing(CLI::App& entry, Host& host);
void addEntryViews(CLI::App& entry, Host& host);
void addEntryCorrections(CLI::App& entry, Host& host);

}  // namespace bokfolio::cli
