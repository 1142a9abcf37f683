// What is sold and bought in the plain book: sums of invoices and bills, and the entries that
// sending, paying, returning and writing off must make.
#include "tests/simulation/plain_firm.hpp"

namespace bokfolio::simulation {

namespace {

constexpr int kPaid = 3;
constexpr int kLost = 6;
constexpr int kPartlyPaid = 7;
constexpr int kReturned = 8;

constexpr int kNoSalesEntry = 10;
constexpr int kLossRefused = 14;
constexpr int kNoReceivableRow = 15;
constexpr int kReturnRefused = 16;
constexpr int kNotTheAmountOwed = 17;
constexpr int kSaleNotBookable = 18;

std::string named(const char* words, const PlainInvoice& invoice) {
  return words + std::to_string(invoice.number);
}

PlainRow debit(Id account, Amount amount) { return {account, amount, 0, 0, 0}; }
PlainRow credit(Id account, Amount amount) { return {account, 0, amount, 0, 0}; }

Amount sumOf(const std::vector<PlainRow>& rows) {
  Amount sum = 0;
  for (const PlainRow& row : rows) sum += row.net();
  return sum;
}

// The largest first, equal ones as they were made.
std::vector<const PlainLine*> bySum(const PlainInvoice& invoice) {
  std::vector<const PlainLine*> lines;
  for (const PlainLine& line : invoice.lines) lines.push_back(&line);
  std::stable_sort(lines.begin(), lines.end(), [&](const PlainLine* a, const PlainLine* b) {
    return a->sum(invoice.vatfree) > b->sum(invoice.vatfree);
  });
  return lines;
}

// What is left over goes to the rounding account: into its row, or into a new one.
void roundAway(std::vector<PlainRow>& rows, Id account) {
  const Amount rest = sumOf(rows);
  if (rest == 0) return;
  bool found = false;
  for (PlainRow& row : rows) {
    if (row.account != account) continue;
    found = true;
    if (row.net() <= 0) {
      row.credit += rest;
    } else {
      row.debit -= rest;
    }
  }
  std::erase_if(rows,
                [&](const PlainRow& row) { return row.account == account && row.net() == 0; });
  if (!found) rows.push_back(rest <= 0 ? debit(account, -rest) : credit(account, rest));
}

}  // namespace

Amount PlainRebate::on(Amount sum) const {
  return absolute ? -value : -share(sum, value / kUnit, 100);
}

Amount PlainLine::exclVat() const {
  const Amount sum = price * quantity;
  return rebate ? sum + rebate->on(sum) : sum;
}

Instant PlainInvoice::due() const { return laterByDays(date, days); }

Amount PlainInvoice::linesSum() const {
  Amount sum = 0;
  for (const PlainLine& line : lines) sum += line.sum(vatfree);
  return sum;
}

Amount PlainInvoice::unrounded() const {
  const Amount sum = linesSum();
  return rebate ? sum + rebate->on(sum) : sum;
}

Amount PlainInvoice::totalExclVat() const {
  Amount sum = 0;
  for (const PlainLine& line : lines) sum += line.exclVat();
  if (!rebate) return sum;
  if (!rebate->absolute) return sum + rebate->on(sum);
  Amount rest = rebate->value;
  for (const PlainLine* line : bySum(*this)) {
    if (rest <= line->sum(vatfree)) return sum - share(rest, 100, 100 + line->vat);
    rest -= line->sum(vatfree);
    sum -= line->exclVat();
  }
  return sum;
}

bool PlainInvoice::suitsFixedRebate() const {
  return std::all_of(lines.begin(), lines.end(), [](const PlainLine& line) {
    return !line.rebate && (line.vat == 0 || line.vat == 25) && line.price % whole(4) == 0;
  });
}

Amount PlainBill::amount() const {
  Amount sum = 0;
  for (const PlainBillLine& line : lines) sum += line.amount;
  return sum;
}

Amount PlainBill::amountInclVat() const {
  Amount sum = 0;
  for (const PlainBillLine& line : lines) sum += line.amount + percent(line.amount, line.vat);
  return sum;
}

std::int64_t PlainFirm::nextInvoiceNumber() const {
  std::int64_t highest = 0;
  for (const auto& [id, invoice] : invoices) highest = std::max(highest, invoice->number);
  return highest + 1;
}

// In the invoice's currency, whatever the rate of the others.
void PlainFirm::takeOffFixed(const PlainInvoice& invoice,
                             std::map<std::int64_t, Amount>& amounts) const {
  Amount rest = invoice.rebate->value;
  for (const PlainLine* line : bySum(invoice)) {
    const PlainArticle& article = articles.at(line->article);
    const auto takeOff = [&](Amount sale, Amount vat) {
      amounts[numberOf(article.sales)] -= sale;
      if (!invoice.vatfree && article.vatAccount != 0) amounts[numberOf(article.vatAccount)] -= vat;
    };
    if (rest <= line->sum(invoice.vatfree)) {
      const Amount sale = share(rest, 100, 100 + line->vat);
      return takeOff(sale, rest - sale);
    }
    rest -= line->sum(invoice.vatfree);
    takeOff(line->exclVat(), line->vatOf(invoice.vatfree));
  }
}

std::optional<std::vector<PlainRow>> PlainFirm::saleRows(const PlainInvoice& invoice,
                                                         Amount rate) const {
  std::map<std::int64_t, Amount> amounts;
  for (const PlainLine& line : invoice.lines) {
    const PlainArticle* article = articles.find(line.article);
    const Amount vat = line.vatOf(invoice.vatfree);
    if (article == nullptr || article->sales == 0) return std::nullopt;
    if (article->vatAccount == 0 && vat != 0) return std::nullopt;
    amounts[numberOf(article->sales)] += share(line.exclVat(), rate, kUnit);
    if (article->vatAccount != 0) amounts[numberOf(article->vatAccount)] += share(vat, rate, kUnit);
  }
  if (invoice.rebate && invoice.rebate->absolute) {
    takeOffFixed(invoice, amounts);
  } else if (invoice.rebate) {
    for (auto& [number, sum] : amounts) sum += invoice.rebate->on(sum);
  }
  if (invoice.rounding)
    amounts[numberOf(roles[kRounding])] +=
        share(invoice.total() - invoice.unrounded(), rate, kUnit);
  std::vector<PlainRow> rows;
  for (const auto& [number, sum] : amounts) {
    if (sum == 0) continue;
    for (const auto& [id, account] : accounts) {
      if (account->number != number) continue;
      // On assets and costs a sale stands with a negative sign in the other column.
      const bool usual = account->type == 1 || account->type == 2 || account->type == 4;
      const Amount turned = usual ? -sum : sum;
      PlainRow row = sum < 0 ? debit(id, turned) : credit(id, -turned);
      row.tag = account->isBalance() ? 0 : invoice.tag;
      rows.push_back(row);
      break;
    }
  }
  return rows;
}

int PlainFirm::send(Id id, Amount rate, std::optional<PlainEntry>& made) {
  PlainInvoice& invoice = invoices.edit(id);
  invoice.rate = invoice.foreign ? rate : kUnit;
  invoice.local = share(invoice.total(), invoice.rate, kUnit);
  if (automatic && !once) {
    auto rows = saleRows(invoice, invoice.rate);
    if (!rows) return kSaleNotBookable;
    invoice.local = -sumOf(*rows);
    rows->push_back(debit(roles[kReceivable], invoice.local));
    made = PlainEntry{named("Sent invoice ", invoice), 0, invoice.date, 0, std::move(*rows), 0};
  }
  invoice.status = 1;
  invoice.days = days;
  invoice.once = once;
  return 0;
}

int PlainFirm::pay(Id id, Amount amount, bool full, Instant day, std::optional<PlainEntry>& made) {
  PlainInvoice& invoice = invoices.edit(id);
  const Amount before = invoice.remaining();
  invoice.paid = invoice.paid.value_or(0) + amount;
  invoice.status = full ? kPaid : kPartlyPaid;
  if (!automatic) return 0;
  const Amount paid = *invoice.paid;
  if (!invoice.foreign && (paid > invoice.local || (full && paid < invoice.local)))
    return kNotTheAmountOwed;
  if (!full && invoice.once) return 0;
  Amount difference = invoice.foreign && full ? invoice.local - paid : 0;
  std::vector<PlainRow> rows;
  if (invoice.once) {
    invoice.rate = share(invoice.local, kUnit, invoice.total());
    const auto sale = saleRows(invoice, invoice.rate);
    if (!sale) return 12;
    rows = *sale;
    if (invoice.foreign) difference = -(sumOf(rows) + paid);
  } else {
    rows.push_back(credit(roles[kReceivable], full ? before : amount));
  }
  rows.push_back(debit(roles[kBank], invoice.once ? paid : amount));
  if (difference != 0 && full)
    rows.push_back(difference > 0 ? debit(roles[kLosses], difference)
                                  : credit(roles[kGains], -difference));
  if (PlainRow& last = rows.back(); last.debit < 0) last = credit(last.account, -last.debit);
  roundAway(rows, roles[kRounding]);
  const char* words = full ? "Paid invoice " : "Partially paid invoice ";
  made = PlainEntry{named(words, invoice), 0, day, 0, std::move(rows), 0};
  return made->sum() == 0 && !made->rows.empty() ? 0 : 1;
}

int PlainFirm::giveBack(Id id, bool toBank, Instant now, std::optional<PlainEntry>& made) {
  PlainInvoice& invoice = invoices.edit(id);
  const int before = invoice.statusAt(now);
  if (before == kLost || before == kReturned) return kReturnRefused;
  invoice.status = kReturned;
  if ((invoice.once && before != kPaid) || !automatic) return 0;
  return reverse(invoice, toBank, now, made);
}

int PlainFirm::writeOff(Id id, Instant now, std::optional<PlainEntry>& made) {
  PlainInvoice& invoice = invoices.edit(id);
  const int before = invoice.statusAt(now);
  if (before == kLost || before == kReturned || before == kPaid) return kLossRefused;
  invoice.status = kLost;
  if (!automatic || invoice.once) return 0;
  return reverse(invoice, false, now, made);
}

int PlainFirm::reverse(PlainInvoice& invoice, bool toBank, Instant now,
                       std::optional<PlainEntry>& made) {
  const Amount rest = invoice.remaining();
  const std::string name = named(invoice.once ? "Paid invoice " : "Sent invoice ", invoice);
  const PlainEntry* sale = nullptr;
  for (const auto& [id, entry] : entries)
    if (sale == nullptr && entry->name == name) sale = entry.get();
  if (sale == nullptr) return kNoSalesEntry;
  const bool isLoss = invoice.status == kLost;
  PlainEntry entry{
      named(isLoss ? "Customer loss, invoice " : "Returned invoice ", invoice), 0, now, 0, {}, 0};
  for (PlainRow row : sale->rows) {
    if (row.isRemoved()) continue;
    std::swap(row.debit, row.credit);
    row.status = 0;
    entry.rows.push_back(row);
  }
  const auto isAsset = [this](const PlainRow& row) { return accounts.at(row.account).type == 0; };
  if (invoice.paid) {
    if (std::count_if(entry.rows.begin(), entry.rows.end(), isAsset) != 1) return kNoReceivableRow;
    PlainRow& claim = *std::find_if(entry.rows.begin(), entry.rows.end(), isAsset);
    if (toBank) {
      claim.account = roles[kBank];
      if (rest != 0) {
        claim.credit = *invoice.paid;
        entry.rows.push_back(credit(roles[kReceivable], rest));
      }
    } else {
      const Amount all = claim.credit;
      claim.credit = rest;
      for (PlainRow& row : entry.rows)
        if (&row != &claim) row.debit = share(row.debit, rest, all);
    }
  }
  made = std::move(entry);
  return 0;
}

}  // namespace bokfolio::simulation
