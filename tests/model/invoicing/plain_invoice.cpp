#include "tests/model/invoicing/plain_invoice.hpp"

#include <algorithm>

namespace bokfolio::test {

namespace {

Decimal percent(const Decimal& value) { return value.scaledByPowerOf10(-2); }

Decimal netOf(const PlainRows& rows) {
  Decimal sum;
  for (const PlainRow& row : rows) sum += row.net();
  return sum;
}

}  // namespace

Decimal PlainRebate::on(const Decimal& amount) const {
  return isAmount ? -value : -percent(value * amount);
}

Decimal PlainInvoice::exclVat(const PlainLine& line) const {
  if (!line.quantity || !line.price) return 0;
  const Decimal sum = *line.quantity * *line.price;
  return line.rebate ? sum + line.rebate->on(sum) : sum;
}

Decimal PlainInvoice::vatOf(const PlainLine& line) const {
  return vatfree || !line.vat ? Decimal() : percent(exclVat(line) * *line.vat);
}

Decimal PlainInvoice::sumOf(const PlainLine& line) const {
  return vatfree || !line.vat ? exclVat(line) : exclVat(line) * (1 + percent(*line.vat));
}

Decimal PlainInvoice::unrounded() const {
  Decimal sum;
  for (const PlainLine& line : lines) sum += sumOf(line);
  return rebate ? sum + rebate->on(sum) : sum;
}

Decimal PlainInvoice::total() const {
  return rounding ? unrounded().rounded(0, Rounding::Bankers) : unrounded();
}

void PlainInvoice::takeOffAmount(std::map<int, Decimal>& amounts) const {
  std::vector<const PlainLine*> order;
  for (const PlainLine& line : lines) order.push_back(&line);
  const auto known = [](const PlainLine* line) { return line->quantity && line->price; };
  std::stable_sort(order.begin(), order.end(), [&](const PlainLine* a, const PlainLine* b) {
    return std::pair(known(a), sumOf(*a)) > std::pair(known(b), sumOf(*b));
  });
  const auto take = [&](const PlainLine& line, const Decimal& sale, const Decimal& vat) {
    amounts[line.salesAccount] -= sale;
    if (!vatfree && line.vatAccount != 0) amounts[line.vatAccount] -= vat;
  };
  Decimal rest = rebate->value;
  for (const PlainLine* line : order) {
    if (rest <= sumOf(*line)) {
      const Decimal share = 1 / (1 + percent(line->vat.value_or(0)));
      take(*line, rest * share, rest * (1 - share));
      return;
    }
    rest -= sumOf(*line);
    take(*line, exclVat(*line), vatOf(*line));
  }
}

std::optional<PlainRows> PlainInvoice::saleRows(const Decimal& rate) const {
  std::map<int, Decimal> amounts;
  for (const PlainLine& line : lines) {
    if (line.salesAccount == 0) return std::nullopt;
    if (line.vatAccount == 0 && !vatOf(line).isZero()) return std::nullopt;
    amounts[line.salesAccount] += exclVat(line) * rate;
    if (line.vatAccount != 0) amounts[line.vatAccount] += vatOf(line) * rate;
  }
  if (rebate && rebate->isAmount) takeOffAmount(amounts);
  if (rebate && !rebate->isAmount)
    for (auto& [account, amount] : amounts) amount += rebate->on(amount);
  if (rounding && !book.hasRounding) return std::nullopt;
  if (rounding) amounts[kRounding] += (total() - unrounded()) * rate;
  PlainRows rows;
  for (const auto& [account, amount] : amounts) {
    if (amount.isZero()) continue;
    const int type = book.types.at(account);
    const Decimal size = type == 0 || type == 3 ? -amount.absolute() : amount.absolute();
    rows.push_back(amount.isNegative() ? PlainRow{account, size, 0} : PlainRow{account, 0, size});
  }
  return rows;
}

int PlainInvoice::send(const Decimal& rate) {
  if (lines.empty()) return 5;
  const Decimal used = foreign ? rate : Decimal(1);
  local = total() * used;
  if (book.automatic && !book.once) {
    if (!book.hasReceivable) return 20;
    auto rows = saleRows(used);
    if (!rows) return 18;
    local = -netOf(*rows);
    rows->push_back({kReceivable, local, 0});
    entries.push_back({named("Sent invoice "), *rows});
  }
  status = 1;
  once = book.once;
  return kDone;
}

void PlainInvoice::roundAway(PlainRows& rows) const {
  const Decimal residual = netOf(rows);
  if (residual.isZero() || !book.hasRounding) return;
  bool found = false;
  for (PlainRow& row : rows) {
    if (row.account != kRounding) continue;
    found = true;
    if (row.net() > 0) {
      row.debit -= residual;
    } else {
      row.credit += residual;
    }
  }
  if (!found && residual > 0) rows.push_back({kRounding, 0, residual});
  if (!found && residual < 0) rows.push_back({kRounding, -residual, 0});
  rows.erase(std::remove_if(rows.begin(), rows.end(),
                            [](const PlainRow& row) {
                              return row.account == kRounding && row.net().isZero();
                            }),
             rows.end());
}

int PlainInvoice::pay(const Decimal& amount, bool inFull) {
  orderly = orderly && (status == 1 || status == 7);
  const Decimal before = remaining();
  paid = amount + paid.value_or(0);
  status = inFull ? 3 : 7;
  if (!book.automatic) return kDone;
  if (!foreign && (*paid > local || (inFull && *paid < local))) return 17;
  if (!inFull && once) return kDone;
  Decimal shortfall = foreign && inFull ? local - *paid : Decimal();
  if (!shortfall.isZero() && !book.hasGains) return 11;
  PlainRows rows;
  if (once) {
    if (total().isZero()) return kNoNumber;
    const auto sale = saleRows(local / total());
    if (!sale) return 12;
    rows = *sale;
    if (foreign) shortfall = -(netOf(rows) + *paid);
  } else {
    if (!book.hasReceivable) return 13;
    rows.push_back({kReceivable, 0, inFull ? before : amount});
  }
  rows.push_back({kBank, once ? *paid : amount, 0});
  if (shortfall > 0) rows.push_back({kLosses, shortfall, 0});
  if (shortfall < 0) rows.push_back({book.hasGains ? kGains : 0, 0, -shortfall});
  if (rows.back().debit < 0) rows.back() = {rows.back().account, 0, -rows.back().debit};
  roundAway(rows);
  if (!netOf(rows).isZero()) return 1;
  entries.push_back({named(inFull ? "Paid invoice " : "Partially paid invoice "), rows});
  return kDone;
}

int PlainInvoice::giveBack(bool toBank) {
  const bool wasPaid = status == 3;
  if (status == 6 || status == 8) return 16;
  status = 8;
  return !book.automatic || (once && !wasPaid) ? kDone : reverse(toBank);
}

int PlainInvoice::writeOff() {
  if (status == 6 || status == 8 || status == 3) return 14;
  status = 6;
  return !book.automatic || once ? kDone : reverse(std::nullopt);
}

int PlainInvoice::reverse(std::optional<bool> toBank) {
  const std::string name = named(once ? "Paid invoice " : "Sent invoice ");
  const auto sale = std::find_if(entries.begin(), entries.end(),
                                 [&name](const PlainEntry& each) { return each.name == name; });
  if (sale == entries.end()) return 10;
  PlainRows rows = sale->rows;
  for (PlainRow& row : rows) std::swap(row.debit, row.credit);
  PlainEntry& entry = entries.emplace_back(
      PlainEntry{named(toBank ? "Returned invoice " : "Customer loss, invoice "), {}});
  entry.rows = rows;
  if (!paid) return kDone;
  PlainRow* claim = nullptr;
  for (PlainRow& row : entry.rows) {
    if (row.account == 0 || book.types.at(row.account) != 0) continue;
    if (claim != nullptr) return 15;
    claim = &row;
  }
  if (claim == nullptr) return 15;
  const Decimal rest = remaining();
  if (toBank.value_or(false)) {
    claim->account = kBank;
    if (rest.isZero()) return kDone;
    claim->credit = *paid;
    entry.rows.push_back({book.hasReceivable ? kReceivable : 0, 0, rest});
    return kDone;
  }
  const Decimal whole = std::exchange(claim->credit, rest);
  for (PlainRow& row : entry.rows) {
    if (&row == claim) continue;
    if (whole.isZero()) return kNoNumber;
    row.debit = row.debit * rest / whole;
  }
  return kDone;
}

Decimal PlainInvoice::balance(int account) const {
  Decimal sum;
  for (const PlainEntry& entry : entries)
    for (const PlainRow& row : entry.rows)
      if (row.account == account) sum += row.net();
  return sum;
}

bool PlainInvoice::canBeSaved() const {
  return std::all_of(entries.begin(), entries.end(), [](const PlainEntry& entry) {
    return netOf(entry.rows).isZero() &&
           std::all_of(entry.rows.begin(), entry.rows.end(), [](const PlainRow& row) {
             return row.account != 0 && !(row.debit.isZero() && row.credit.isZero());
           });
  });
}

}  // namespace bokfolio::test
