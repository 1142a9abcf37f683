// XML, and entries described in it: a document that is read can be written and read again; whatever
// it says, the entry gets rows on accounts that exist, and the book stays in order.
#include "bokfolio/model/ledger/entry.hpp"
#include "bokfolio/model/ledger/row.hpp"
#include "tests/fuzz/support/fuzz.hpp"

namespace {

using namespace bokfolio;
using fuzz::expect;

void checkEntry(const XmlElement& description) {
  Entry* entry = Entry::findTheNewInContext(fuzz::book());
  expect(entry != nullptr, "the book has its new entry");
  try {
    const auto rows = entry->defineRowsFromXml(description);
    expect(rows.size() <= description.children("row").size(),
           "there are no rows beyond those told");
    for (Row* row : rows) {
      expect(row->account() != nullptr, "a row has an account");
      row->setEntry(entry);
    }
  } catch (const DecimalError&) {  // NOLINT(bugprone-empty-catch): sums beyond any amount
  }
  fuzz::restoreBook();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view bytes = fuzz::textOf(data, size);
  std::optional<Error> error;
  const auto document = XmlDocument::parse(bytes, {}, &error);
  fuzz::expectExplained(document.has_value(), error);
  if (!document) return 0;
  const std::string written = fuzz::writeXml(document->root());
  const auto again = XmlDocument::parse(written, {}, &error);
  expect(again.has_value(), "what is written can be read",
         error ? error->localizedDescription() : "");
  expect(fuzz::writeXml(again->root()) == written, "reading changes nothing", written);
  checkEntry(document->root());
  return 0;
}
