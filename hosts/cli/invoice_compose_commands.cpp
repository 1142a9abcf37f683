// `invoice new`, `set`, `address`, `duplicate`: whom an invoice goes to, and on what terms.

#include <algorithm>
#include <cctype>
#include <memory>

#include "bokfolio/model/invoicing/delivery_address.hpp"
#include "bokfolio/model/ledger/tag.hpp"
#include "commands.hpp"
#include "failure.hpp"
#include "input.hpp"
#include "invoice_commands.hpp"
#include "invoice_lookup.hpp"
#include "invoice_output.hpp"
#include "lookup.hpp"
#include "settings.hpp"

namespace bokfolio::cli {

namespace {

constexpr TextSetting kTexts[] = {
    {"yourRef", "--reference", "NAME", "The customer's contact person", ""},
    {"attention", "--attention", "NAME", "Who is to receive the invoice there", ""},
    kStreet,
    kZipcode,
    kCity,
    kCounty,
    {"vatno", "--vatno", "NUMBER", "The customer's VAT number", ""},
    {"ourRef", "--our-reference", "NAME", "Our own contact person", ""},
    {"deliveryMethod", "--delivery", "TEXT", "How it is delivered", ""},
    {"purchaseOrderNo", "--order", "NUMBER", "The customer's order number", ""},
    {"note", "--note", "TEXT", "Note on the invoice", ""},
};

constexpr TextSetting kAddress[] = {
    {"company", "--company", "NAME", "Company", ""},
    {"name", "--name", "NAME", "Who is to receive the goods there", ""},
    kStreet,
    kZipcode,
    kCity,
    kCounty,
};

struct HeadOptions {
  std::string number;
  std::optional<std::string> company;
  GivenTexts texts;
  std::optional<std::string> country;
  std::optional<std::string> language;
  std::optional<std::string> currency;
  std::optional<std::string> date;
  std::optional<std::string> tag;
  std::optional<std::string> rounding;
  std::optional<std::string> vatfree;
};

struct AddressOptions {
  std::string number;
  GivenTexts texts;
  std::optional<std::string> country;
  bool remove = false;
};

// A code of two letters (three for some languages), with the letters as codes have them.
std::optional<std::string> codeFromText(const std::string& text, const std::string& what,
                                        std::size_t longest, int (*letter)(int)) {
  if (text.empty()) return std::nullopt;
  std::string code;
  for (const char c : text) {
    if (std::isalpha(static_cast<unsigned char>(c)) == 0) break;
    code += static_cast<char>(letter(static_cast<unsigned char>(c)));
  }
  if (code.size() == text.size() && code.size() >= 2 && code.size() <= longest) return code;
  throw Failure(ExitStatus::Usage, "\"" + text + "\" is no " + what,
                "name it by its code of two letters");
}

std::optional<std::string> countryFromText(const std::string& text) {
  return codeFromText(text, "country", 2, &std::toupper);
}

template <std::size_t N>
void setTexts(Record* record, const TextSetting (&settings)[N], const GivenTexts& given) {
  for (std::size_t i = 0; i < N && i < given.size(); ++i) {
    if (given[i]) setChecked(record, settings[i].key, textOrNil(*given[i]));
  }
}

void applyHead(const Session& session, Invoice* invoice, const HeadOptions& options) {
  if (options.company) setChecked(invoice, "company", textOrNil(*options.company));
  setTexts(invoice, kTexts, options.texts);
  if (options.country) invoice->setCountry(countryFromText(*options.country));
  if (options.language) {
    invoice->setLanguage(codeFromText(*options.language, "language", 3, &std::tolower));
  }
  if (options.currency) invoice->setCurrency(currencyFromText(*options.currency));
  if (options.date) {
    const CivilDate day = dayFromText(*options.date, session.environment().locale());
    invoice->setDate(session.host().noonOf(day));
  }
  if (options.tag) {
    Tag* tag = options.tag->empty() ? nullptr : findTag(session, *options.tag);
    invoice->setTag(tag != nullptr ? Value(tag) : Value());
  }
  if (options.rounding) invoice->setRounding(yesNoFromText(*options.rounding));
  if (options.vatfree) invoice->setVatfree(yesNoFromText(*options.vatfree));
}

// What the invoice before could not tell: without currency an invoice counts as foreign, without
// language it cannot be sent.
void fillGaps(const Session& session, Invoice* invoice) {
  if (!invoice->currency()) invoice->setCurrency(findBook(session)->currency());
  if (!invoice->language()) invoice->setLanguage(session.environment().locale().languageCode());
}

std::string sentenceAbout(const std::string& done, const Invoice& invoice) {
  return done + " " + invoiceTitle(invoice) + " to " + customerOf(invoice) + ", in " +
         invoice.currency().value_or("?");
}

void newInvoice(Host& host, const HeadOptions& options) {
  Session session = Session::writing(host);
  Invoice* invoice = nullptr;
  session.change([&] {
    invoice = session.context().insert<Invoice>();
    // A customer who is named is not the last one: that one's references and terms stay there.
    if (options.company) invoice->setCompany(*options.company);
    host.drainRunLoop();
    invoice->setDate(host.noonOf(host.today()));
    applyHead(session, invoice, options);
    fillGaps(session, invoice);
  });
  host.confirm(sentenceAbout("Made", *invoice), invoiceJson(host, *invoice));
}

bool nothingGiven(const HeadOptions& options) {
  const bool text = std::any_of(options.texts.begin(), options.texts.end(),
                                [](const auto& given) { return given.has_value(); });
  return !text && !options.company && !options.country && !options.language && !options.currency &&
         !options.date && !options.tag && !options.rounding && !options.vatfree;
}

void setInvoice(Host& host, const HeadOptions& options) {
  if (nothingGiven(options)) {
    throw Failure(ExitStatus::Usage, "nothing to change was named",
                  "'bokfolio invoice set --help' shows what can be");
  }
  Session session = Session::writing(host);
  Invoice* invoice = nullptr;
  session.change([&] {
    invoice = findUnsentInvoice(session, options.number);
    applyHead(session, invoice, options);
  });
  host.confirm(sentenceAbout("Changed", *invoice), invoiceJson(host, *invoice));
}

void duplicateInvoice(Host& host, const std::string& number) {
  Session session = Session::writing(host);
  const Invoice* source = nullptr;
  Invoice* copy = nullptr;
  session.change([&] {
    source = findInvoice(session, number);
    copy = source->duplicate();
    // With its number a new invoice takes over what the latest one has; a copy keeps its own.
    host.drainRunLoop();
    source->copyKeys({"country", "currency", "language", "ourRef", "deliveryMethod"}, *copy);
    copy->setDate(host.noonOf(host.today()));
  });
  host.confirm(sentenceAbout("Copied " + invoiceTitle(*source) + " as", *copy),
               invoiceJson(host, *copy));
}

void removeAddress(const Session& session, Invoice* invoice) {
  DeliveryAddress* former = invoice->deliveryAddress();
  if (former == nullptr) return;
  invoice->setDeliveryAddress(nullptr);
  session.context().deleteObject(former);
}

void setAddress(Host& host, const AddressOptions& options) {
  Session session = Session::writing(host);
  Invoice* invoice = nullptr;
  session.change([&] {
    invoice = findUnsentInvoice(session, options.number);
    if (options.remove) return removeAddress(session, invoice);
    if (invoice->deliveryAddress() == nullptr) invoice->createDeliveryAddress();
    setTexts(invoice->deliveryAddress(), kAddress, options.texts);
    if (options.country) invoice->deliveryAddress()->setCountry(countryFromText(*options.country));
  });
  host.confirm(options.remove ? "Took the delivery address off " + invoiceTitle(*invoice)
                              : "Set the delivery address of " + invoiceTitle(*invoice),
               invoiceJson(host, *invoice));
}

using Shared = std::shared_ptr<HeadOptions>;

void addHeadOptions(CLI::App* command, const Shared& options) {
  addSettingOptions(command, kTexts, options->texts);
  command->add_option("--country", options->country, "Country, by its two letters")
      ->type_name("CODE");
  command->add_option("--language", options->language, "Language of the invoice, such as sv")
      ->type_name("CODE");
  command->add_option("--currency", options->currency, "Currency of its amounts, such as EUR")
      ->type_name("CODE");
  command->add_option("--date", options->date, "Date of the invoice (default: today)")
      ->type_name("DAY");
  command->add_option("--tag", options->tag, "Cost centre or project of its sales")
      ->type_name("TAG");
  command
      ->add_option("--rounding", options->rounding, "Whether the total is rounded to whole units")
      ->type_name("yes|no");
  command->add_option("--vat-free", options->vatfree, "Whether it is without VAT")
      ->type_name("yes|no");
}

void addAddress(CLI::App& invoice, Host& host) {
  const auto options = std::make_shared<AddressOptions>();
  CLI::App* command =
      invoice.add_subcommand("address", "Have the goods delivered to another address");
  addInvoiceNumber(command, options->number);
  addSettingOptions(command, kAddress, options->texts);
  command->add_option("--country", options->country, "Country, by its two letters")
      ->type_name("CODE");
  command->add_flag("--remove", options->remove, "Deliver to the customer's own address again");
  command->footer("What is not named is taken from the customer's own address.");
  onRun(command, host, [options](Host& h) { setAddress(h, *options); });
}

}  // namespace

void addInvoiceComposing(CLI::App& invoice, Host& host) {
  const auto options = std::make_shared<HeadOptions>();
  CLI::App* make = invoice.add_subcommand("new", "Make an invoice");
  make->add_option("customer", options->company, "The customer's company");
  addHeadOptions(make, options);
  make->footer(
      "The number is the next one. Without customer, references, delivery, language and currency\n"
      "are those of the latest invoice.\n"
      "Example: bokfolio invoice new \"Eken AB\" --reference \"Eva Lind\" --street \"Storgatan "
      "1\"\n"
      "Next: 'bokfolio invoice line' adds what is sold, 'bokfolio invoice send' books it.");
  onRun(make, host, [options](Host& h) { newInvoice(h, *options); });

  CLI::App* set = invoice.add_subcommand("set", "Change an invoice that is not sent yet");
  addInvoiceNumber(set, options->number);
  set->add_option("--company", options->company, "The customer's company")->type_name("NAME");
  addHeadOptions(set, options);
  set->footer("\"\" takes a text away.");
  onRun(set, host, [options](Host& h) { setInvoice(h, *options); });

  addAddress(invoice, host);
  CLI::App* duplicate =
      invoice.add_subcommand("duplicate", "Make a new invoice with the same customer and lines");
  addInvoiceNumber(duplicate, options->number);
  onRun(duplicate, host, [options](Host& h) { duplicateInvoice(h, options->number); });
}

}  // namespace bokfolio::cli
