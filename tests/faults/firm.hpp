// The firm whose document is put through faults: two years of entries, invoices in every state, a
// bill, a scanned receipt. And what is asked of its document after each fault: whether it is sound,
// and what exactly is in it. Only the library's public face is used.
#pragma once

#include <map>
#include <memory>
#include <stdexcept>
#include <string>

#include "bokfolio/store/context.hpp"
#include "bokfolio/store/persistence/sqlite/sqlite_persistence.hpp"
#include "tests/conformance/places.hpp"
#include "tests/world/world.hpp"

namespace bokfolio::faults {

using test::bytesOf;
using test::TemporaryFolder;
using test::writeBytes;

// The promise was broken: state lost, a failure without words, an exception that no header names.
class Broken : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

void expect(bool holds, const std::string& what);

// The world of all documents. Faults come and go within one instant: beginAnew drops what waits for
// its moment and sets the clock back.
test::TestWorld& world();
void beginAnew();

// Fills a new document and saves it.
void makeFirm(Context& context);
// Imports so many vouchers, without saving.
bool importVouchers(Context& context, int vouchers, ErrorOut error = nullptr);

// Every stored key of every record: "Row 12" to "debit=100; account=3; ...". References by id, or
// by the place of the record among those of its entity: what was made, taken back and made again
// has other ids and the same places.
using Dump = std::map<std::string, std::string>;
enum class Ids { AsStored, ByPlace };
// Throws LoadError.
Dump dumpOf(Context& context, Ids ids = Ids::AsStored);
// The first difference in words, "" when there is none.
std::string difference(const Dump& expected, const Dump& seen);

// What the store and its engine find wrong, "" when nothing. Throws LoadError.
std::string unsoundness(Context& context);

// A document that must open.
std::unique_ptr<Context> opened(const std::string& path, OpenMode mode = OpenMode::ReadWrite);

// The sound document and what is in it, made once.
struct Sample {
  std::string bytes;
  Dump dump;
};
const Sample& sample();

}  // namespace bokfolio::faults
