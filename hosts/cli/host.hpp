// Host: one run of the program. It owns the options that all commands share, the environment that
// follows from them, and the two ways of answering: text for people, JSON for programs. Which
// document is meant, and what is done with it, is the business of sessions and commands.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "bokfolio/platform/calendar.hpp"
#include "bokfolio/platform/environment.hpp"
#include "failure.hpp"
#include "json.hpp"
#include "table.hpp"

namespace bokfolio::cli {

struct Options {
  std::string document;
  std::string locale;  // "" takes the system's
  std::string zone = "CET";
  std::string user;        // "" takes the system's
  std::string now;         // "" takes the clock
  std::string rateServer;  // "" takes the European Central Bank's
  bool json = false;
  bool quiet = false;
  bool verbose = false;
};

class Host {
 public:
  // Lays the options over the real services, or over others that are given.
  Host() = default;
  explicit Host(Environment base) : base_(std::move(base)) {}

  Options options;
  // What the command line asks for; set by the command, run once everything is parsed.
  std::function<void(Host&)> action;
  // Whether a question of the library to the user is answered yes without asking.
  bool assumeYes = false;
  // Of a command that did its work; `check` tells by it what it found.
  ExitStatus exitStatus = ExitStatus::Done;

  // Made from the options on first use. Failure (usage) for an option that makes no sense.
  const Environment& environment();
  // Runs what records deferred.
  void drainRunLoop();

  // A word or sentence of this program in the user's language.
  std::string text(std::string_view key);
  // An amount, and a day, as tables show them.
  std::string amount(const Decimal& amount);
  // "" for zero and nil: an empty cell reads better.
  std::string amountOrBlank(const std::optional<Decimal>& amount);
  std::string day(const std::optional<Date>& date);
  // Date and time with the offset of the zone, for machines.
  std::string instant(Date date);
  // Noon of a day: the hour at which accounting dates are kept, safe from every boundary.
  Date noonOf(CivilDate day);
  CivilDate today();

  // Answers: JSON in one document, or the other form.
  bool json() const { return options.json; }
  void print(const Json& answer) const;
  void print(const Table& table) const;
  void printLine(std::string_view line) const;
  // What a changing command did: a sentence, or the JSON of the result; neither when quiet.
  void confirm(std::string_view sentence, const Json& result) const;
  // A remark for people that is no part of the answer.
  void note(std::string_view remark) const;

 private:
  void buildEnvironment();
  void useRateServer(Environment& environment) const;

  std::optional<Environment> base_;
  std::optional<Environment> environment_;
  std::shared_ptr<QueueRunLoop> runLoop_;
};

}  // namespace bokfolio::cli
