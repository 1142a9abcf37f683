#include "bench/plain_ledger.hpp"

namespace bokfolio::bench {

void PlainLedger::addEntry() {
  auto& entry = entries_.emplace_back(std::make_unique<PlainEntry>());
  entry->id = static_cast<std::int64_t>(entries_.size());
  entry->number = entry->id;
  entry->name = "Filed";
}

void PlainLedger::addRows(std::size_t entry, std::uint64_t round) {
  const auto amount = Decimal::fromParts(round % 10'000 + 200, -2, false);
  const Decimal amounts[] = {amount, amount - 1, 1};
  std::int64_t number = 0;
  for (const Decimal& each : amounts) {
    auto& row = rows_.emplace_back(std::make_unique<PlainRow>());
    row->id = static_cast<std::int64_t>(rows_.size());
    row->number = ++number;
    (number == 1 ? row->debit : row->credit) = each;
    row->account =
        number == 1 ? 0 : (round + 7 * static_cast<std::uint64_t>(number)) % rowsOf_.size();
    row->entry = entries_[entry].get();
    row->entry->rows.push_back(row.get());
    rowsOf_[row->account].push_back(row.get());
  }
}

}  // namespace bokfolio::bench
