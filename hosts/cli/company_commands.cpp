// `company`: the bookkeeping company's own record, and the credit terms on its invoices.

#include <algorithm>
#include <memory>

#include "bokfolio/model/invoicing/credit_details.hpp"
#include "commands.hpp"
#include "entry_rows.hpp"
#include "failure.hpp"
#include "input.hpp"
#include "ledger_output.hpp"
#include "settings.hpp"

namespace bokfolio::cli {

namespace {

constexpr TextSetting kTexts[] = {
    {"orgname", "--name", "NAME", "Name of the company", "Name"},
    {"orgid", "--orgid", "NUMBER", "Organisation number", "Organisation number"},
    {"vatno", "--vatno", "NUMBER", "VAT number", "VAT number"},
    kStreet,
    kZipcode,
    kCity,
    kCounty,
    kCountry,
    kPhone,
    kFax,
    kEmail,
    kHomepage,
    {"bank", "--bank", "NAME", "Name of the bank", "Bank"},
    {"bankAccount", "--bank-account", "NUMBER", "Account in the bank", "Bank account"},
    {"bic", "--bic", "CODE", "International code of the bank", "BIC"},
    {"paymentOption1", "--payment1", "TEXT", "A way to pay, for invoices", "Way to pay"},
    {"paymentOption2", "--payment2", "TEXT", "Another way to pay", "Another way to pay"},
};

struct CompanyOptions {
  GivenTexts texts;
  std::optional<std::string> registered;
  std::optional<std::string> logotype;
  std::string extract;
  std::string language;
  std::string creditText;
};

std::vector<CreditDetails*> creditTexts(const Session& session) {
  return session.context().fetch<CreditDetails>(std::nullopt,
                                                std::vector{SortDescriptor("language")});
}

Json companyJson(const Session& session) {
  const Company& company = *findCompany(session);
  Json json;
  for (const TextSetting& setting : kTexts) {
    json[setting.key] = toJson(textUnder(company, setting.key));
  }
  json["registeredForTax"] = company.registeredForTax();
  const auto logotype = company.get(Company::Slots::logotype);
  json["logotype"] = logotype ? Json(pictureKind(*logotype)) : Json(nullptr);
  json["creditTexts"] = Json::object();
  for (const CreditDetails* text : creditTexts(session)) {
    json["creditTexts"][text->language().value_or("")] = toJson(text->creditDetails());
  }
  return json;
}

void printCompany(const Session& session) {
  Host& host = session.host();
  const Company& company = *findCompany(session);
  Table table({{""}, {""}});
  for (const TextSetting& setting : kTexts) {
    table.addRow({host.text(setting.label), textUnder(company, setting.key).value_or("")});
  }
  table.addRow({host.text("Registered for tax"), yesNo(host, company.registeredForTax())});
  const auto logotype = company.get(Company::Slots::logotype);
  table.addRow({host.text("Logotype"), logotype ? pictureText(*logotype) : ""});
  for (const CreditDetails* text : creditTexts(session)) {
    table.addRow({host.text("Credit terms") + " (" + text->language().value_or("") + ")",
                  text->creditDetails().value_or("")});
  }
  host.print(table);
}

void showCompany(Host& host, const CompanyOptions& options) {
  const Session session = Session::reading(host);
  session.read([&] {
    if (!options.extract.empty()) {
      const auto logotype = findCompany(session)->get(Company::Slots::logotype);
      if (!logotype) {
        throw Failure(ExitStatus::Refused, "the company has no logotype",
                      "give it one with 'bokfolio company set --logotype FILE'");
      }
      writeFile(options.extract, *logotype);
    }
    if (host.json()) return host.print(companyJson(session));
    printCompany(session);
  });
}

void setCompany(Host& host, const CompanyOptions& options) {
  std::vector<std::pair<const char*, std::string>> texts;
  for (std::size_t i = 0; i < options.texts.size(); ++i) {
    if (options.texts[i]) texts.emplace_back(kTexts[i].key, *options.texts[i]);
  }
  if (texts.empty() && !options.registered && !options.logotype) {
    throw Failure(ExitStatus::Usage, "nothing to change was named",
                  "'bokfolio company set --help' shows what can be");
  }
  std::optional<Image> logotype;
  if (options.logotype && !options.logotype->empty()) logotype = readPicture(*options.logotype);
  Session session = Session::writing(host);
  session.change([&] {
    Company* company = findCompany(session);
    for (const auto& [key, text] : texts) {
      if (std::string_view(key) == "country") checkCountry(text);
      setChecked(company, key, textOrNil(text));
    }
    if (options.registered) company->setRegisteredForTax(yesNoFromText(*options.registered));
    std::optional<Error> error;
    if (options.logotype && !company->setLogotype(logotype, &error)) {
      throw failureOf(error, ExitStatus::Input).about(*options.logotype);
    }
  });
  host.confirm("Changed the company", companyJson(session));
}

void checkLanguage(const std::string& code) {
  const bool letters =
      std::all_of(code.begin(), code.end(), [](char c) { return c >= 'a' && c <= 'z'; });
  if (letters && (code.size() == 2 || code.size() == 3)) return;
  throw Failure(ExitStatus::Usage, "\"" + code + "\" is no language",
                "name it by its small letters, such as sv or en");
}

// One text a language: those there were go.
void setCreditText(Host& host, const CompanyOptions& options) {
  checkLanguage(options.language);
  Session session = Session::writing(host);
  session.change([&] {
    for (CreditDetails* text : creditTexts(session)) {
      if (text->language() == options.language) session.context().deleteObject(text);
    }
    if (options.creditText.empty()) return;
    auto* text = session.context().insert<CreditDetails>();
    text->setLanguage(options.language);
    text->setCreditDetails(options.creditText);
  });
  const bool gone = options.creditText.empty();
  host.confirm(
      (gone ? "There are no credit terms in " : "Set the credit terms in ") + options.language,
      companyJson(session)["creditTexts"]);
}

}  // namespace

void addCompanyCommands(CLI::App& app, Host& host) {
  CLI::App* group = addGroup(app, "company", "The company itself: show, set, credit-text");
  const auto options = std::make_shared<CompanyOptions>();
  CLI::App* show = group->add_subcommand("show", "Show the company");
  show->add_option("--extract", options->extract, "Write its logotype to that file")
      ->type_name("FILE");
  onRun(show, host, [options](Host& h) { showCompany(h, *options); });

  CLI::App* set = group->add_subcommand("set", "Change the company; what is not named stays");
  addSettingOptions(set, kTexts, options->texts);
  set->add_option("--registered", options->registered, "Whether it is registered for tax")
      ->type_name("yes|no");
  set->add_option("--logotype", options->logotype, "Mark on invoices: PDF or picture")
      ->type_name("FILE");
  set->footer("\"\" takes a text or the logotype away.");
  onRun(set, host, [options](Host& h) { setCompany(h, *options); });

  CLI::App* credit =
      group->add_subcommand("credit-text", "Set the credit terms on invoices in one language");
  credit->add_option("language", options->language, "Its code, such as sv")->required();
  credit->add_option("text", options->creditText, "The terms; \"\" takes them away")->required();
  onRun(credit, host, [options](Host& h) { setCreditText(h, *options); });
}

}  // namespace bokfolio::cli
