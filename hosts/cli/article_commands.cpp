// `article`: the price list.

#include <algorithm>
#include <memory>

#include "commands.hpp"
#include "failure.hpp"
#include "input.hpp"
#include "invoice_lookup.hpp"
#include "invoice_output.hpp"
#include "lookup.hpp"

namespace bokfolio::cli {

namespace {

struct ArticleOptions {
  std::string article;
  std::optional<std::string> name;
  std::optional<std::string> number;
  std::optional<std::string> unit;
  std::optional<std::string> price;
  std::optional<std::string> vat;
  std::optional<std::string> salesAccount;
  std::optional<std::string> vatAccount;
  std::string pattern;
};

std::optional<std::string> nilWhenEmpty(const std::string& text) {
  return text.empty() ? std::nullopt : std::optional(text);
}

void setNumber(const Session& session, Article* article, const std::string& text) {
  if (!numberFromText(text)) {
    throw Failure(ExitStatus::Usage, "\"" + text + "\" is no number of an article",
                  "use digits, such as 12");
  }
  const auto* other =
      session.context().fetchFirst<Article>(Predicate("number == %@", {Value(text)}));
  if (other != nullptr && other != article) {
    throw Failure(ExitStatus::Refused, "there is an article " + text + " already",
                  "change it with 'bokfolio article set " + text + "'");
  }
  article->setNumber(text);
}

Account* accountOrNone(const Session& session, const std::string& text) {
  return text.empty() ? nullptr : findAccount(session, text);
}

void apply(const Session& session, Article* article, const ArticleOptions& options) {
  const Locale& locale = session.environment().locale();
  if (options.name) article->setName(nilWhenEmpty(*options.name));
  if (options.number) setNumber(session, article, *options.number);
  if (options.unit) article->setUnit(nilWhenEmpty(*options.unit));
  if (options.price) article->setPrice(amountFromText(*options.price, locale));
  if (options.vat) article->setVat(vatFromText(*options.vat, locale));
  if (options.salesAccount) {
    article->setSalesAccount(accountOrNone(session, *options.salesAccount));
  }
  if (options.vatAccount) article->setVatAccount(accountOrNone(session, *options.vatAccount));
}

// A new article has got the accounts of the one before it, whatever that one's rate of VAT. Only
// those of an article with the same rate book the VAT where it is reported, so they come from the
// latest of these, or from nowhere.
void chooseAccounts(const Session& session, Article* article) {
  auto alike = session.context().fetch<Article>(Predicate("vat == %@", {Value(article->vat())}));
  std::erase(alike, article);
  const auto latest =
      std::max_element(alike.begin(), alike.end(),
                       [](const Article* a, const Article* b) { return a->compareNumber(*b) < 0; });
  article->setSalesAccount(latest == alike.end() ? nullptr : (*latest)->salesAccount());
  article->setVatAccount(latest == alike.end() ? nullptr : (*latest)->vatAccount());
}

std::string accountText(const Account* account) {
  return account != nullptr && account->number() ? std::to_string(*account->number()) : "";
}

std::string priceText(Host& host, const Article& article) {
  if (article.isDependentTax()) return "";
  return article.price() ? host.amount(*article.price()) : "";
}

// What still keeps the article's sales from being booked.
std::string whatIsMissing(const Article& article) {
  const bool taxed = article.vat() && !article.vat()->isZero();
  std::string missing;
  if (article.salesAccount() == nullptr) missing = "sales account";
  if (taxed && article.vatAccount() == nullptr) {
    missing += (missing.empty() ? "" : " and ") + std::string("VAT account");
  }
  if (missing.empty()) return "";
  return "; it has no " + missing + " yet, 'bokfolio article set " + article.number().value_or("") +
         "' gives it one";
}

std::string sentenceAbout(Host& host, const std::string& done, const Article& article) {
  std::string sentence =
      done + " article " + article.number().value_or("") + " " + article.name().value_or("");
  const std::string price = priceText(host, article);
  if (!price.empty()) sentence += ", " + price;
  if (article.vat()) sentence += ", VAT " + percentText(host, article.vat());
  return sentence + whatIsMissing(article);
}

void addArticle(Host& host, const ArticleOptions& options) {
  Session session = Session::writing(host);
  Article* article = nullptr;
  session.change([&] {
    article = session.context().insert<Article>();
    host.drainRunLoop();
    if (options.vat) article->setVat(vatFromText(*options.vat, session.environment().locale()));
    chooseAccounts(session, article);
    apply(session, article, options);
  });
  host.confirm(sentenceAbout(host, "Added", *article), articleJson(*article));
}

void setArticle(Host& host, const ArticleOptions& options) {
  const bool nothing = !options.name && !options.number && !options.unit && !options.price &&
                       !options.vat && !options.salesAccount && !options.vatAccount;
  if (nothing) {
    throw Failure(ExitStatus::Usage, "nothing to change was named",
                  "'bokfolio article set --help' shows what can be");
  }
  Session session = Session::writing(host);
  Article* article = nullptr;
  session.change([&] {
    article = findArticle(session, options.article);
    apply(session, article, options);
  });
  host.confirm(sentenceAbout(host, "Changed", *article), articleJson(*article));
}

std::vector<Article*> listedArticles(const Session& session, const ArticleOptions& options) {
  std::optional<Predicate> condition;
  if (numberFromText(options.pattern)) {
    condition = Predicate("number == %@", {Value(options.pattern)});
  } else if (!options.pattern.empty()) {
    condition = Predicate("name LIKE[c] %@", {"*" + options.pattern + "*"});
  }
  auto articles = session.context().fetch<Article>(condition);
  std::stable_sort(articles.begin(), articles.end(), [](const Article* a, const Article* b) {
    return a->number() && a->compareNumber(*b) < 0;
  });
  return articles;
}

void listArticles(Host& host, const ArticleOptions& options) {
  const Session session = Session::reading(host);
  const auto articles = listedArticles(session, options);
  if (host.json()) {
    Json list = Json::array();
    for (const Article* article : articles) list.push_back(articleJson(*article));
    return host.print(list);
  }
  Table table({{host.text("Article"), Table::Align::Right},
               {host.text("Name")},
               {host.text("Unit")},
               {host.text("Price"), Table::Align::Right},
               {host.text("VAT"), Table::Align::Right},
               {host.text("Sales account"), Table::Align::Right},
               {host.text("VAT account"), Table::Align::Right}});
  for (const Article* article : articles) {
    table.addRow({article->number().value_or(""), article->name().value_or(""),
                  article->unit().value_or(""), priceText(host, *article),
                  percentText(host, article->vat()), accountText(article->salesAccount()),
                  accountText(article->vatAccount())});
  }
  if (!table.empty()) host.print(table);
  if (table.empty()) host.note("no such article");
}

using Shared = std::shared_ptr<ArticleOptions>;

void addCommonOptions(CLI::App* command, const Shared& options) {
  command->add_option("-p,--price", options->price, "Price of one unit, excluding VAT")
      ->type_name("AMOUNT");
  command->add_option("--vat", options->vat, "VAT in percent, such as 12")->type_name("RATE");
  command->add_option("-u,--unit", options->unit, "What is counted, such as hour")
      ->type_name("TEXT");
  command->add_option("--number", options->number, "Number of the article")->type_name("NUMBER");
  command->add_option("--sales", options->salesAccount, "Account of its sales")
      ->type_name("ACCOUNT");
  command->add_option("--vat-account", options->vatAccount, "Account of the VAT on its sales")
      ->type_name("ACCOUNT");
}

}  // namespace

void addArticleCommands(CLI::App& app, Host& host) {
  CLI::App* group = addGroup(app, "article", "The price list: add, set, list");
  const auto options = std::make_shared<ArticleOptions>();
  CLI::App* add = group->add_subcommand("add", "Add an article");
  add->add_option("name", options->name, "Its name")->required();
  addCommonOptions(add, options);
  add->footer(
      "Left out, the number is the next one, the VAT that of the locale's country, and the "
      "accounts\n"
      "those of the latest article with the same VAT.\n"
      "Example: bokfolio article add \"Oak table\" -p 8000 --vat 25 --sales 3001 --vat-account "
      "2611");
  onRun(add, host, [options](Host& h) { addArticle(h, *options); });

  CLI::App* set = group->add_subcommand("set", "Change an article; lines that have it stay");
  set->add_option("article", options->article, "Its number or name")->required();
  set->add_option("--name", options->name, "New name")->type_name("NAME");
  addCommonOptions(set, options);
  onRun(set, host, [options](Host& h) { setArticle(h, *options); });

  CLI::App* list = group->add_subcommand("list", "Show the articles");
  list->add_option("pattern", options->pattern, "Only that number, or names holding these words");
  onRun(list, host, [options](Host& h) { listArticles(h, *options); });
}

}  // namespace bokfolio::cli
