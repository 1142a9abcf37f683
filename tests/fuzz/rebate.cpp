// Rebates as text. The first line of an input is the currency, "-" for none; the second what a user
// types. What is taken has a text of its own, which is taken, if at all, as a rebate of that kind.
#include "bokfolio/model/invoicing/allowance.hpp"

#include "tests/fuzz/support/fuzz.hpp"

namespace {

using namespace bokfolio;
using fuzz::expect;

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::string_view text = fuzz::textOf(data, size);
  const std::string_view currency = fuzz::takeLine(text);
  const std::optional<std::string> code =
      currency == "-" ? std::nullopt : std::optional<std::string>(currency);
  const Allowance* made =
      Allowance::createAllowanceFromString(std::string(text), code, fuzz::book());
  if (made != nullptr) {
    expect(made->value().has_value(), "a rebate has a value");
    const std::string shown = made->description();
    expect(!shown.empty(), "a rebate has a text");
    const Allowance* again =
        Allowance::createAllowanceFromString(shown, std::nullopt, fuzz::book());
    expect(again == nullptr || again->absolute() == made->absolute(),
           "a rebate is of the kind that its text says", shown);
    try {
      const Decimal amount(1000);
      expect(made->absolute() ||
                 made->amountOnDecimal(amount) == (*made->value() * Decimal(10)).negated(),
             "a percentage is of the amount");
    } catch (const DecimalError&) {  // NOLINT(bugprone-empty-catch): beyond any amount
    }
  }
  fuzz::restoreBook();
  return 0;
}
