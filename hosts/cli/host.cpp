#include "host.hpp"

#include <cstdio>
#include <iostream>
#include <utility>

#include "bokfolio/platform/date_text.hpp"
#include "bokfolio/platform/number_text.hpp"
#include "failure.hpp"
#include "input.hpp"
#include "text_width.hpp"

namespace bokfolio::cli {

namespace {

// Answers yes to every question, for commands that were told to.
class AgreeingDialog final : public Dialog {
 public:
  int ask(const Question& question) override {
    static_cast<void>(question);
    return kSecondButton;
  }
  void inform(std::string_view message, std::string_view informative,
              std::string_view button) override {
    TerminalDialog().inform(message, informative, button);
  }
};

}  // namespace

const Environment& Host::environment() {
  if (!environment_) buildEnvironment();
  return *environment_;
}

void Host::buildEnvironment() {
  Environment environment = base_ ? *base_ : Environment::system();
  const std::optional<TimeZone> zone = TimeZone::named(options.zone);
  if (!zone) {
    throw Failure(ExitStatus::Usage, "no time zone is called \"" + options.zone + "\"",
                  "name one such as CET or Europe/Stockholm with --zone");
  }
  environment.setTimeZone(*zone);
  if (!options.locale.empty()) {
    environment.setLocale(Locale(options.locale));
    environment.setLocalizer(std::make_shared<CatalogLocalizer>(
        std::make_shared<DirectoryResources>(DirectoryResources::standard()),
        environment.locale()));
  }
  if (!options.user.empty()) environment.setUser(std::make_shared<ScriptedUser>(options.user));
  if (!options.verbose) environment.setLog(std::make_shared<MemoryLog>());
  if (assumeYes) environment.setDialog(std::make_shared<AgreeingDialog>());

  if (!options.rateServer.empty()) useRateServer(environment);

  std::shared_ptr<const Clock> clock = std::make_shared<SystemClock>();
  if (!options.now.empty()) {
    clock = std::make_shared<ManualClock>(instantFromText(options.now, *zone));
  }
  environment.setClock(clock);
  runLoop_ = std::make_shared<QueueRunLoop>(clock);
  environment.setRunLoop(runLoop_);
  Environment::process() = environment;
  environment_ = std::move(environment);
}

// "http://localhost:8080"; the path of the document is the same everywhere.
void Host::useRateServer(Environment& environment) const {
  const std::string& url = options.rateServer;
  const std::size_t end = url.find("://");
  ReferenceRateSource source = environment.referenceRateSource();
  source.scheme = url.substr(0, end);
  source.host = end == std::string::npos ? "" : url.substr(end + 3);
  if (!source.host.empty() && source.host.back() == '/') source.host.pop_back();
  const bool known = source.scheme == "https" || source.scheme == "http";
  if (!known || source.host.empty() || source.host.find('/') != std::string::npos) {
    throw Failure(ExitStatus::Usage, "\"" + url + "\" is no server",
                  "write it like https://rates.example.org or http://localhost:8080");
  }
  environment.setReferenceRateSource(source);
}

void Host::drainRunLoop() {
  if (runLoop_) runLoop_->drain();
}

std::string Host::text(std::string_view key) { return environment().text(key, "cli"); }

std::string Host::amount(const Decimal& amount) {
  return amountText(amount, environment().locale());
}

std::string Host::amountOrBlank(const std::optional<Decimal>& value) {
  return value && !value->isZero() ? amount(*value) : "";
}

std::string Host::day(const std::optional<Date>& date) {
  return date ? isoDay(*date, environment().timeZone()) : "";
}

std::string Host::instant(Date date) {
  const TimeZone& zone = environment().timeZone();
  const CivilTime time = civilTime(date, zone);
  const std::int64_t offset = zone.offsetSeconds(date) / 60;
  const std::int64_t distance = offset < 0 ? -offset : offset;
  char text[32];
  std::snprintf(text, sizeof text, "T%02d:%02d:%02d%c%02d:%02d", time.hour, time.minute,
                time.second, offset < 0 ? '-' : '+', static_cast<int>(distance / 60),
                static_cast<int>(distance % 60));
  return isoDay(date, zone) + text;
}

Date Host::noonOf(CivilDate day) {
  return dateFromCivil(day, {12, 0, 0}, environment().timeZone());
}

CivilDate Host::today() { return civilDate(environment().now(), environment().timeZone()); }

void Host::print(const Json& answer) const {
  std::cout << answer.dump(2, ' ', false, Json::error_handler_t::replace) << '\n';
}

void Host::print(const Table& table) const { table.write(std::cout); }

void Host::printLine(std::string_view line) const { std::cout << printable(line) << '\n'; }

void Host::confirm(std::string_view sentence, const Json& result) const {
  if (options.quiet) return;
  if (options.json) {
    print(result);
  } else {
    printLine(sentence);
  }
}

void Host::note(std::string_view remark) const {
  if (!options.quiet) std::cerr << "bokfolio: " << printable(remark) << '\n';
}

}  // namespace bokfolio::cli
