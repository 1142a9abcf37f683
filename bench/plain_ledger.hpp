// The floor of records in memory: one heap object a row with the fields of a row and the room that
// any observable record needs, kept by id, in its account's list and in its entry's. It has no
// undo, no validation, no indexes, no sums.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "bokfolio/platform/decimal.hpp"

namespace bokfolio::bench {

struct PlainEntry;

struct PlainRow {
  std::int64_t id = 0;
  std::int64_t version = 1;
  Decimal debit;
  Decimal credit;
  std::string who;
  std::int64_t when = 0;
  std::int64_t status = 0;
  std::int64_t number = 0;
  std::uint64_t notNil = 0;
  void* tag = nullptr;
  std::size_t account = 0;
  PlainEntry* entry = nullptr;
  // Class, owner, state, observers, links of lists: what 56 bytes hold.
  std::array<std::uint64_t, 7> rest{};
};
static_assert(sizeof(PlainRow) == 208);

struct PlainEntry {
  std::int64_t id = 0;
  std::int64_t version = 1;
  std::string name;
  std::int64_t number = 0;
  std::int64_t date = 0;
  std::int64_t fiscalYear = 0;
  std::vector<PlainRow*> rows;
};

class PlainLedger {
 public:
  explicit PlainLedger(std::size_t accounts) : rowsOf_(accounts) {}

  void addEntry();
  // Three rows for the entry, the first on the busiest account.
  void addRows(std::size_t entry, std::uint64_t round);
  // Creating its four objects.
  void fileOneEntry(std::uint64_t round) {
    addEntry();
    addRows(entries_.size() - 1, round);
  }

 private:
  std::vector<std::unique_ptr<PlainEntry>> entries_;
  std::vector<std::unique_ptr<PlainRow>> rows_;
  std::vector<std::vector<PlainRow*>> rowsOf_;
};

}  // namespace bokfolio::bench
