#include "entry_rows.hpp"

#include "bokfolio/platform/image.hpp"
#include "failure.hpp"
#include "settings.hpp"

namespace bokfolio::cli {

std::vector<RowText> rowsFromTexts(Host& host, const std::vector<std::string>& texts) {
  std::vector<RowText> rows;
  std::size_t open = 0;
  for (const std::string& text : texts) {
    rows.push_back(rowFromText(text, host.environment().locale()));
    const std::optional<Decimal>& amount = rows.back().amount;
    if (amount && amount->isZero()) {
      throw Failure(ExitStatus::Usage, "the row \"" + text + "\" has no amount", "leave it out");
    }
    if (!amount && ++open > 1) {
      throw Failure(ExitStatus::Usage, "more than one row is without amount",
                    "only one can take what balances the others");
    }
  }
  return rows;
}

namespace {

Row* addRow(const Session& session, Entry* entry, const RowText& text, RowStatus status) {
  Account* account = findAccount(session, text.account);
  Tag* tag = text.tag.empty() ? nullptr : findTag(session, text.tag);
  auto* row = session.context().insert<Row>();
  row->setAccount(account);
  if (tag != nullptr) row->setTag(tag);
  row->setStatus(status);
  if (text.amount && text.amount->isNegative()) row->setCredit(text.amount->negated());
  if (text.amount && !text.amount->isNegative()) row->setDebit(*text.amount);
  row->setEntry(entry);
  return row;
}

}  // namespace

void addRows(const Session& session, Entry* entry, const std::vector<RowText>& rows,
             RowStatus status) {
  Row* open = nullptr;
  for (const RowText& text : rows) {
    Row* row = addRow(session, entry, text, status);
    if (!text.amount) open = row;
  }
  if (open == nullptr) return;
  open->makeEntryBalanced();
  if (open->net().isZero()) {
    throw Failure(ExitStatus::Refused, "nothing is left for the row without amount",
                  "the other rows balance already; leave it out");
  }
}

Decimal imbalance(const Entry& entry) { return entry.rows().sum("net"); }

Failure refusalOf(Host& host, const Entry& entry, const std::optional<Error>& error) {
  Failure failure = failureOf(error);
  const Decimal difference = imbalance(entry);
  if (difference.isZero()) return failure;
  failure.advise(difference.isNegative()
                     ? "credit exceeds debit by " + host.amount(difference.negated())
                     : "debit exceeds credit by " + host.amount(difference));
  return failure;
}

void refuseUnfinished(const Entry& entry) {
  const std::size_t rows = entry.rows().count();
  if (rows == 0) return;
  throw Failure(ExitStatus::Refused,
                "the new entry holds " + std::to_string(rows) + " unfiled rows",
                "file them with 'entry file', drop them with 'entry discard', or add rows with "
                "--no-file");
}

std::vector<Entry*> fileNewEntry(const Session& session, Entry* entry) {
  std::optional<Error> error;
  const auto filed = findBook(session)->fileTheNewEntry(&error);
  if (!filed) throw refusalOf(session.host(), *entry, error);
  newEntry(session);
  return *filed;
}

Image readPicture(const std::string& path) {
  const std::string bytes = readFile(path, Image::kMaximumBytes);
  std::optional<Error> error;
  const auto image = Image::decode(
      ByteView(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()), &error);
  if (image) return *image;
  Failure failure = failureOf(error, ExitStatus::Input);
  throw failure.about(path).advise("name a PDF, TIFF, PNG or JPEG");
}

void attachReceipt(Entry* entry, const Image& image) {
  std::optional<Error> error;
  if (!entry->setImage(image, &error)) throw failureOf(error, ExitStatus::Input);
}

}  // namespace bokfolio::cli
