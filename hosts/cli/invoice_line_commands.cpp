// `invoice line`, `rebate`, `clean`: what is sold, and what is taken off.

#include <algorithm>
#include <memory>

#include "commands.hpp"
#include "failure.hpp"
#include "input.hpp"
#include "invoice_commands.hpp"
#include "invoice_lookup.hpp"
#include "invoice_output.hpp"
#include "invoice_sums.hpp"

namespace bokfolio::cli {

namespace {

struct LineOptions {
  std::string invoice;
  std::string article;
  std::string quantity;
  std::string price;
  std::string vat;
  std::optional<std::string> text;
  std::optional<std::string> rebate;
  std::string change;
  std::string remove;
};

std::string currencyOf(const Invoice& invoice) { return invoice.currency().value_or(""); }

// Lines made within a second would share a number, and then neither their order nor the line above
// a percentage would be certain.
void placeLast(InvoiceLine* line, const Invoice& invoice) {
  std::int64_t highest = 0;
  for (const InvoiceLine* other : invoice.lines().members()) {
    if (other != line) highest = std::max(highest, other->number().value_or(0));
  }
  line->setNumber(std::max(line->number().value_or(0), highest + 1));
}

// The price list is in the book's currency, so its figures say nothing in another.
void refuseForeignPrice(const Invoice& invoice, const Article& article) {
  if (!invoice.foreignCurrency() || article.isDependentTax()) return;
  throw Failure(
      ExitStatus::Refused,
      "the price list is not in " + currencyOf(invoice) + ", " + invoiceTitle(invoice) + " is",
      "name the price in " + currencyOf(invoice) + " with --price");
}

void takeArticle(const Session& session, InvoiceLine* line, const LineOptions& options) {
  const Article* article = findArticle(session, options.article);
  if (options.price.empty()) refuseForeignPrice(*line->invoice(), *article);
  line->setArticle(Value(article));
  line->handleChangedArticle();
}

// On an invoice or a line; "" takes the rebate away.
template <class Sold>
void setRebate(const Session& session, Sold* sold, const std::string& text) {
  const std::string rebate = rebateFromText(text, session.environment().locale());
  sold->setAllowanceString(rebate.empty() ? std::nullopt : std::optional(rebate));
  if (rebate.empty() || sold->allowance() != nullptr) return;
  throw Failure(ExitStatus::Usage, "\"" + text + "\" is no rebate",
                "write a percentage such as 10% or an amount such as 50");
}

void applyLine(const Session& session, InvoiceLine* line, const LineOptions& options) {
  const Locale& locale = session.environment().locale();
  if (!options.article.empty()) takeArticle(session, line, options);
  if (!options.quantity.empty()) line->setQuantity(amountFromText(options.quantity, locale));
  if (!options.price.empty()) line->setPrice(amountFromText(options.price, locale));
  if (!options.vat.empty()) line->setVat(vatFromText(options.vat, locale));
  if (options.text) {
    line->setComment(options.text->empty() ? std::nullopt : std::optional(*options.text));
  }
  if (options.rebate) setRebate(session, line, *options.rebate);
  if (line->price() && !line->quantity()) line->setQuantity(Decimal(1));
  if (!line->price() || line->vat()) return;
  throw Failure(ExitStatus::Usage, "a price without article does not tell its VAT",
                "name the rate with --vat");
}

InvoiceLine* addLine(const Session& session, Invoice* invoice, const LineOptions& options) {
  if (options.article.empty() && options.text.value_or("").empty()) {
    throw Failure(ExitStatus::Usage, "the line has neither article nor text",
                  "name an article, or write a text with --text");
  }
  auto* line = session.context().insert<InvoiceLine>();
  line->setInvoice(invoice);
  placeLast(line, *invoice);
  applyLine(session, line, options);
  return line;
}

void removeLine(const Session& session, const Invoice& invoice, const std::string& place) {
  InvoiceLine* line = findLine(invoice, place);
  line->setInvoice(nullptr);
  session.context().deleteObject(line);
}

std::string totalOf(Host& host, const Invoice& invoice) {
  return "; the total is " + host.amount(InvoiceSums::of(invoice).total) + " " +
         currencyOf(invoice);
}

void changeLines(Host& host, const LineOptions& options) {
  if (!options.change.empty() && !options.remove.empty()) {
    throw Failure(ExitStatus::Usage, "a line is either changed or removed",
                  "leave out --edit or --remove");
  }
  Session session = Session::writing(host);
  Invoice* invoice = nullptr;
  std::string done = "Added a line to ";
  session.change([&] {
    invoice = findUnsentInvoice(session, options.invoice);
    if (!options.remove.empty()) {
      done = "Removed a line from ";
      removeLine(session, *invoice, options.remove);
    } else if (!options.change.empty()) {
      done = "Changed a line of ";
      applyLine(session, findLine(*invoice, options.change), options);
    } else {
      addLine(session, invoice, options);
    }
  });
  host.confirm(done + invoiceTitle(*invoice) + totalOf(host, *invoice),
               invoiceJson(host, *invoice));
}

void setInvoiceRebate(Host& host, const LineOptions& options) {
  Session session = Session::writing(host);
  Invoice* invoice = nullptr;
  const std::string text = options.rebate.value_or("");
  session.change([&] {
    invoice = findUnsentInvoice(session, options.invoice);
    setRebate(session, invoice, text);
  });
  host.confirm((text.empty() ? "Took the rebate off " : "Set the rebate of ") +
                   invoiceTitle(*invoice) + totalOf(host, *invoice),
               invoiceJson(host, *invoice));
}

void cleanInvoice(Host& host, const LineOptions& options) {
  Session session = Session::writing(host);
  Invoice* invoice = nullptr;
  std::size_t removed = 0;
  session.change([&] {
    invoice = findUnsentInvoice(session, options.invoice);
    const std::size_t before = invoice->lines().count();
    invoice->removeEmptyLines();
    removed = before - invoice->lines().count();
  });
  host.confirm("Removed " + std::to_string(removed) + " empty line" + (removed == 1 ? "" : "s") +
                   " from " + invoiceTitle(*invoice),
               {{"removed", removed}, {"invoice", invoiceJson(host, *invoice)}});
}

using Shared = std::shared_ptr<LineOptions>;

void addLineCommand(CLI::App& invoice, Host& host, const Shared& options) {
  CLI::App* line = invoice.add_subcommand("line", "Add a line, or change or remove one");
  addInvoiceNumber(line, options->invoice);
  line->add_option("article", options->article, "Number or name of the article");
  line->add_option("quantity", options->quantity, "How many (default: 1)");
  line->add_option("-p,--price", options->price,
                   "Price of one unit, excluding VAT (default: that of the article)")
      ->type_name("AMOUNT");
  line->add_option("--vat", options->vat, "VAT in percent (default: that of the article)")
      ->type_name("RATE");
  line->add_option("-t,--text", options->text, "Text of the line")->type_name("TEXT");
  line->add_option("-r,--rebate", options->rebate, "Rebate on the line, such as 10% or 50")
      ->type_name("REBATE");
  line->add_option("--edit", options->change, "Change that line instead")->type_name("LINE");
  line->add_option("--remove", options->remove, "Remove that line instead")->type_name("LINE");
  line->footer(
      "Example: bokfolio invoice line 12 \"Oak table\" 2 --rebate 10%\n"
      "An article called \"Percentage 3\" costs that share of the line above it.");
  onRun(line, host, [options](Host& h) { changeLines(h, *options); });
}

}  // namespace

void addInvoiceLines(CLI::App& invoice, Host& host) {
  const auto options = std::make_shared<LineOptions>();
  addLineCommand(invoice, host, options);

  CLI::App* rebate = invoice.add_subcommand("rebate", "Give a rebate on the whole invoice");
  addInvoiceNumber(rebate, options->invoice);
  rebate
      ->add_option("rebate", options->rebate,
                   "10%, or an amount with VAT such as 50; \"\" for none")
      ->required()
      ->type_name("REBATE");
  onRun(rebate, host, [options](Host& h) { setInvoiceRebate(h, *options); });

  CLI::App* clean = invoice.add_subcommand("clean", "Remove lines without article and text");
  addInvoiceNumber(clean, options->invoice);
  onRun(clean, host, [options](Host& h) { cleanInvoice(h, *options); });
}

}  // namespace bokfolio::cli
