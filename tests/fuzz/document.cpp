// Documents from strangers. An input is a script and patches: when it begins with the line "SQL",
// the lines up to "BYTES" are run as SQL on a sound document, past this library; what follows
// overwrites single bytes of the file, four bytes a patch (offset of three bytes, value), or cuts
// it short (offset FFFFFF, value in 256ths). Then its pages get new seals, as a stranger would see
// to, unless the last byte is odd. The result is opened for reading and for writing, read
// whole, verified, changed, saved and closed, and salvaged.
#include "bokfolio/model/document.hpp"

#include <sqlite3.h>

#include <filesystem>
#include <span>

#include "bokfolio/model/invoicing/article.hpp"
#include "bokfolio/model/invoicing/invoice.hpp"
#include "bokfolio/model/invoicing/invoice_line.hpp"
#include "bokfolio/model/ledger/account.hpp"
#include "bokfolio/model/ledger/entry.hpp"
#include "bokfolio/model/ledger/fiscal_year.hpp"
#include "bokfolio/model/ledger/row.hpp"
#include "bokfolio/store/persistence/sqlite/internal/page_seal.hpp"
#include "bokfolio/store/persistence/sqlite/internal/sealing_vfs.hpp"
#include "bokfolio/store/persistence/sqlite/salvage.hpp"
#include "bokfolio/store/store_error.hpp"
#include "tests/fuzz/support/fuzz.hpp"
#include "tests/world/world.hpp"

namespace {

using namespace bokfolio;
using fuzz::expect;

constexpr std::size_t kPatch = 4;
constexpr std::uint32_t kCut = 0xFFFFFF;

// Failed assertions are noted: what a document says may break every rule of use.
test::TestWorld& world() {
  static test::TestWorld made = [] {
    test::TestWorld fresh("sv_SE");
    fresh.recordAssertions();
    return fresh;
  }();
  return made;
}

const Environment& environment() { return world().environment; }

std::string path() { return fuzz::scratchFolder() + "/stranger.bokfolio"; }

void addRow(Entry& entry, std::int64_t account, const Decimal& amount) {
  auto* row = entry.managedObjectContext().insert<Row>();
  row->setAccount(account);
  amount.sign() > 0 ? row->setDebit(amount) : row->setCredit(-amount);
  row->setEntry(&entry);
}

std::string makeSoundDocument() {
  const std::string file = fuzz::scratchFolder() + "/sound.bokfolio";
  auto book = createDocument(file, environment());
  FiscalYear::createFiscalYearWithDate(environment().now(), *book);
  for (const std::int64_t number : {1910, 3010}) book->insert<Account>()->setNumber(number);
  for (int count = 1; count <= 3; ++count) {
    auto* entry = book->insert<Entry>();
    entry->setName("Sale " + std::to_string(count));
    addRow(*entry, 1910, Decimal(count));
    addRow(*entry, 3010, Decimal(-count));
    entry->fileMe(nullptr);
  }
  auto* article = book->insert<Article>();
  article->setName("Table");
  auto* invoice = book->insert<Invoice>();
  auto* line = book->insert<InvoiceLine>();
  line->setInvoice(invoice);
  line->setPrice(Decimal(100));
  world().runLoop->advance(1'000'000);
  std::optional<Error> error;
  expect(book->save(&error), "a sound document is saved",
         error ? error->localizedDescription() : "");
  book.reset();
  return fuzz::readBytes(file);
}

// No other file, and nothing that takes long: the script makes a document, it is not on trial.
int authorize(void* /*user*/, int action, const char* first, const char* /*second*/,
              const char* /*database*/, const char* /*trigger*/) {
  const auto isPragma = [&](const char* name) { return sqlite3_stricmp(first, name) == 0; };
  if (action == SQLITE_ATTACH) return SQLITE_DENY;
  if (action != SQLITE_PRAGMA) return SQLITE_OK;
  for (const char* harmless : {"application_id", "user_version", "writable_schema", "foreign_keys",
                               "journal_mode", "encoding", "legacy_alter_table"}) {
    if (isPragma(harmless)) return SQLITE_OK;
  }
  return SQLITE_DENY;
}

void runScript(const std::string& script) {
  sqlite3* database = nullptr;
  if (sqlite3_open_v2(path().c_str(), &database, SQLITE_OPEN_READWRITE, internal::sealingVfs()) ==
      SQLITE_OK) {
    sqlite3_exec(database, "PRAGMA synchronous=OFF; PRAGMA max_page_count=1000", nullptr, nullptr,
                 nullptr);
    sqlite3_limit(database, SQLITE_LIMIT_LENGTH, 100'000);
    sqlite3_set_authorizer(database, &authorize, nullptr);
    int steps = 100;
    sqlite3_progress_handler(
        database, 1000, [](void* left) { return --*static_cast<int*>(left) < 0 ? 1 : 0; }, &steps);
    sqlite3_exec(database, script.c_str(), nullptr, nullptr, nullptr);
  }
  sqlite3_close(database);
}

void sealAnew(std::string& bytes) {
  const std::span all(reinterpret_cast<unsigned char*>(bytes.data()), bytes.size());
  const std::uint32_t size = internal::pageSizeSaid(all);
  if (size < 512 || !internal::saysSealed(all)) return;
  for (std::size_t at = 0; at + size <= all.size(); at += size)
    internal::seal(all.subspan(at, size), static_cast<std::uint32_t>(at / size + 1));
}

void makeDocument(std::string_view input) {
  static const std::string sound = makeSoundDocument();
  for (const auto& file : std::filesystem::directory_iterator(fuzz::scratchFolder())) {
    std::filesystem::remove_all(file);
  }
  fuzz::writeBytes(path(), sound);
  constexpr std::string_view kScript = "SQL\n";
  constexpr std::string_view kBytes = "BYTES\n";
  if (input.starts_with(kScript)) {
    const auto end = std::min(input.find(kBytes), input.size());
    runScript(std::string(input.substr(kScript.size(), end - kScript.size())));
    input.remove_prefix(std::min(end + kBytes.size(), input.size()));
  }
  if (input.size() < kPatch) return;
  const bool isOdd = (static_cast<unsigned char>(input.back()) & 1U) != 0;
  std::string bytes = fuzz::readBytes(path());
  for (; input.size() >= kPatch && !bytes.empty(); input.remove_prefix(kPatch)) {
    const auto byte = [&](std::size_t at) -> std::uint32_t {
      return static_cast<unsigned char>(input[at]);
    };
    const std::uint32_t offset = byte(0) << 16U | byte(1) << 8U | byte(2);
    if (offset == kCut) {
      bytes.resize(bytes.size() * byte(3) / 256);
    } else {
      bytes[offset % bytes.size()] = input[3];
    }
  }
  if (!isOdd) sealAnew(bytes);
  fuzz::writeBytes(path(), bytes);
}

void readWhole(Context& document) {
  for (const Entity& entity : document.schema().entities()) {
    const auto records = document.fetchEntitiesWithName(entity.name());
    if (!records) continue;
    for (const Record* record : *records) {
      for (const Key& key : entity.keys()) {
        try {
          static_cast<void>(record->valueForKey(key.name).description());
        } catch (const DecimalError&) {  // NOLINT(bugprone-empty-catch): a sum beyond any amount
        } catch (const LoadError&) {     // NOLINT(bugprone-empty-catch): what is damaged says so
        }
      }
    }
  }
}

void use(OpenMode mode) {
  std::optional<Error> error;
  const auto document = openDocument(path(), mode, environment(), &error);
  fuzz::expectExplained(document != nullptr, error);
  if (document == nullptr) return;
  try {
    readWhole(*document);
    static_cast<void>(document->verify());
  } catch (const LoadError&) {     // NOLINT(bugprone-empty-catch)
  } catch (const DecimalError&) {  // NOLINT(bugprone-empty-catch)
  }
  fuzz::expectExplained(document->persistence().verify(&error), error);
  if (mode == OpenMode::ReadOnly) return;
  try {
    document->insert<Account>()->setNumber(1);
    error.reset();
    const bool saved = document->save(&error);
    fuzz::expectExplained(saved, error);
    if (!saved) return;
    error.reset();
    fuzz::expectExplained(document->rebuildSums(&error), error);
  } catch (const LoadError&) {  // NOLINT(bugprone-empty-catch)
  }
}

// What can be salvaged at all is a sound document then.
void salvage() {
  static const auto schema = standardModel().freeze();
  const std::string target = fuzz::scratchFolder() + "/salvaged.bokfolio";
  SalvageReport report;
  std::optional<Error> error;
  const bool done = salvageSqliteDocument(*schema, path(), target, {}, report, &error);
  fuzz::expectExplained(done, error);
  if (!done) return;
  const auto document = openDocument(target, OpenMode::ReadWrite, environment(), &error);
  expect(document != nullptr && document->persistence().verify(&error),
         "what was salvaged is sound", error ? error->localizedDescription() : "");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  makeDocument(fuzz::textOf(data, size));
  const std::string before = fuzz::readBytes(path());
  use(OpenMode::ReadOnly);
  salvage();
  expect(fuzz::readBytes(path()) == before, "reading and salvaging change nothing");
  use(OpenMode::ReadWrite);
  return 0;
}
