// `rates`: the reference rates of the day.

#include <memory>

#include "bokfolio/currency/reference_rates.hpp"
#include "bokfolio/platform/number_text.hpp"
#include "commands.hpp"
#include "failure.hpp"
#include "settings.hpp"

namespace bokfolio::cli {

namespace {

struct RateOptions {
  std::string from;
  std::string to;
};

// Six digits after the first that tells something: people compare rates, they do not copy them.
std::string rateText(Host& host, const Decimal& rate) {
  int scale = 6;
  for (Decimal left = rate; !left.isZero() && left < Decimal(1) && scale < 120; ++scale) {
    left = left.scaledByPowerOf10(1);
  }
  return decimalDescription(rate.rounded(scale, Rounding::Plain), host.environment().locale());
}

void listRates(Host& host) {
  std::optional<Error> error;
  const auto rates = loadReferenceRates(host.environment(), &error);
  if (!rates) throw failureOf(error, ExitStatus::Input);
  Json json = {{"base", "EUR"}, {"rates", Json::object()}};
  Table table({{host.text("Currency")}, {host.text("For one EUR"), Table::Align::Right}});
  for (const auto& [code, rate] : rates->table()) {
    json["rates"][code] = toJson(rate);
    table.addRow({code, rate ? decimalDescription(*rate, host.environment().locale()) : ""});
  }
  if (rates->table().empty()) {
    throw Failure(ExitStatus::Input, "the server's document holds no rates",
                  "name another server with --server");
  }
  host.json() ? host.print(json) : host.print(table);
}

void showRate(Host& host, const RateOptions& options) {
  std::optional<Error> error;
  std::optional<Decimal> rate;
  std::string to = options.to;
  if (to.empty()) {
    const Session session = Session::reading(host);
    session.read([&] {
      const Book* book = findBook(session);
      to = book->currency().value_or("");
      rate = book->exchangeRate(options.from, &error);
    });
  } else {
    rate = Book::exchangeRateBetween(to, options.from, &error, host.environment());
  }
  if (error) throw failureOf(error, ExitStatus::Input);
  if (!rate) {
    throw Failure(ExitStatus::Refused, "there is no rate of " + options.from + " in " + to,
                  "'bokfolio rates' lists the currencies that have one");
  }
  if (host.json()) {
    return host.print(Json{{"from", options.from}, {"to", to}, {"rate", toJson(*rate)}});
  }
  host.printLine("1 " + options.from + " = " + rateText(host, *rate) + " " + to);
}

}  // namespace

void addRatesCommand(CLI::App& app, Host& host) {
  const auto options = std::make_shared<RateOptions>();
  CLI::App* command = app.add_subcommand("rates", "Reference rates of the day");
  command->add_option("from", options->from, "What one of this currency costs (default: all rates)")
      ->type_name("CODE");
  command->add_option("to", options->to, "in this one (default: the book's)")->type_name("CODE");
  command
      ->add_option("--server", host.options.rateServer,
                   "Server that publishes them (default: the European Central Bank's)")
      ->envname("BOKFOLIO_RATE_SERVER")
      ->type_name("URL");
  command->footer(
      "The rates are fetched anew each time. A server such as http://localhost:8080 serves the\n"
      "bank's document at the bank's path. Example: bokfolio rates USD SEK");
  onRun(command, host,
        [options](Host& h) { options->from.empty() ? listRates(h) : showRate(h, *options); });
}

}  // namespace bokfolio::cli
