// Selection: which entries of a year a command is about, by day, tag, account and text. Listing and
// journal share it.
#pragma once

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

#include "lookup.hpp"
#include "session.hpp"

namespace bokfolio::cli {

struct Selection {
  std::string year;
  std::string date;
  std::string from;
  std::string to;
  std::string tag;
  std::string account;
  std::string text;
};

// --year, --date, --from, --to, --tag, --account, --text.
void addSelectionOptions(CLI::App* command, Selection& selection);

// The year that the selection is about: the one named, else the one that holds its days, else the
// latest that has entries. Failure when no year holds them, or two do.
FiscalYear* yearOf(const Session& session, const Selection& selection);

// The entries of the year that satisfy all that was said, by number.
std::vector<Entry*> selectEntries(const Session& session, FiscalYear* year,
                                  const Selection& selection);

// The first instant of a day, and of the next.
Date startOf(Host& host, CivilDate day);
Date endOf(Host& host, CivilDate day);

}  // namespace bokfolio::cli
