// The books that are measured, and the work of a day in them. A book is made by a seeded generator
// through the library: accounts, tags, calendar years of filed entries of three rows each, of which
// one falls to the busiest account. The same size gives the same book. This file knows the library
// alone, so that the program which stands for a small host shares it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "bokfolio/model/ledger/account.hpp"
#include "bokfolio/model/ledger/entry.hpp"
#include "bokfolio/model/ledger/fiscal_year.hpp"
#include "bokfolio/model/ledger/row.hpp"
#include "bokfolio/model/ledger/tag.hpp"
#include "bokfolio/platform/environment.hpp"
#include "bokfolio/store/context.hpp"

namespace bokfolio::bench {

inline constexpr std::size_t kAccounts = 300;
inline constexpr std::size_t kTags = 20;
inline constexpr std::size_t kRowsPerEntry = 3;
inline constexpr std::size_t kRowsPerYear = 1'000'000;  // at most
inline constexpr int kLastYear = 2024;
// Of the account to which a third of all rows go, and of the tag that half of all tagged rows bear.
inline constexpr std::int64_t kBusiestAccount = 1000;
inline constexpr std::int64_t kFirstTag = 1;

// Zone CET, nothing read from the user's settings, nothing written but the document.
Environment environment();

// With undo, as a host at a desk has them. They throw std::runtime_error with the library's words.
std::unique_ptr<Context> create(const std::string& path);
std::unique_ptr<Context> open(const std::string& path);
void save(Context& context);

// A saved document of so many rows, made a year at a time, so that making ten million rows takes
// the memory of one.
void makeBook(const std::string& path, std::size_t rows);
// So many entries more in the latest year, numbered on, unsaved; undo is off from then on.
void addEntries(Context& context, std::size_t entries, std::uint64_t seed);
// A SIE file of type 4 with the year after the last and so many rows on the book's accounts.
std::string sieText(std::size_t rows);

// Composes an entry of three rows on the day of the latest entry and files it; one step of undo.
void fileOneEntry(Context& context, std::uint64_t round);

// The balances of all accounts in the latest year with entries, and their absolute sum as text.
FiscalYear* lastYearWithEntries(Context& context);
std::string trialBalance(Context& context, FiscalYear& year);

}  // namespace bokfolio::bench
