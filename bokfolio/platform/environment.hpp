// Environment: all that may differ between two runs of the same operations, in one value that the
// host hands to a context: clock, zone, locale, preferences, user, texts, resources, log, run loop,
// downloads, assertions and the user's answers. Each service has a real default and a scripted twin
// for tests.
//
// Copies share the services; setting one service changes that copy only. A service may be shared by
// several environments and lives as long as the last of them. No service is ever missing.
#pragma once

#include <initializer_list>
#include <memory>
#include <string>
#include <string_view>

#include "bokfolio/export.hpp"
#include "bokfolio/platform/assertion.hpp"
#include "bokfolio/platform/clock.hpp"
#include "bokfolio/platform/dialog.hpp"
#include "bokfolio/platform/http.hpp"
#include "bokfolio/platform/locale.hpp"
#include "bokfolio/platform/localization.hpp"
#include "bokfolio/platform/log.hpp"
#include "bokfolio/platform/preferences.hpp"
#include "bokfolio/platform/reference_rate_source.hpp"
#include "bokfolio/platform/resources.hpp"
#include "bokfolio/platform/run_loop.hpp"
#include "bokfolio/platform/time_zone.hpp"
#include "bokfolio/platform/user.hpp"

namespace bokfolio {

class BOKFOLIO_EXPORT Environment {
 public:
  // The real services: system clock and zone, the locale of the process, preferences in a file,
  // texts and resources from the standard folders, log on standard error, a QueueRunLoop that the
  // host drains or replaces, failed assertions thrown, questions at the terminal, downloads from
  // the network.
  static Environment system();
  // The one for operations that have neither record nor context; system() until the host assigns
  // another. Assign before using the library from other threads.
  static Environment& process();

  const Clock& clock() const noexcept { return *clock_; }
  // The zone of the calendar: in it an instant has a year, a month and a day.
  const TimeZone& timeZone() const noexcept { return timeZone_; }
  const Locale& locale() const noexcept { return locale_; }
  Preferences& preferences() const noexcept { return *preferences_; }
  const User& user() const noexcept { return *user_; }
  const Localizer& localizer() const noexcept { return *localizer_; }
  const Resources& resources() const noexcept { return *resources_; }
  Log& log() const noexcept { return *log_; }
  RunLoop& runLoop() const noexcept { return *runLoop_; }
  AssertionHandler& assertions() const noexcept { return *assertions_; }
  Dialog& dialog() const noexcept { return *dialog_; }
  const HttpClient& httpClient() const noexcept { return *httpClient_; }
  // Where daily exchange rates come from.
  const ReferenceRateSource& referenceRateSource() const noexcept { return referenceRateSource_; }

  // A null service is a programming error and throws std::invalid_argument. Services that were made
  // from one another are not remade: a new clock needs a new run loop, a new locale or new
  // resources a new localizer.
  void setClock(std::shared_ptr<const Clock> clock);
  void setTimeZone(TimeZone timeZone);
  void setLocale(Locale locale);
  void setPreferences(std::shared_ptr<Preferences> preferences);
  void setUser(std::shared_ptr<const User> user);
  void setLocalizer(std::shared_ptr<const Localizer> localizer);
  void setResources(std::shared_ptr<const Resources> resources);
  void setLog(std::shared_ptr<Log> log);
  void setRunLoop(std::shared_ptr<RunLoop> runLoop);
  void setAssertions(std::shared_ptr<AssertionHandler> assertions);
  void setDialog(std::shared_ptr<Dialog> dialog);
  void setHttpClient(std::shared_ptr<const HttpClient> httpClient);
  void setReferenceRateSource(ReferenceRateSource source);

  Date now() const { return clock_->now(); }
  // The localised text, the key itself when there is none.
  std::string text(std::string_view key, std::string_view table = "") const;
  // The localised text as a format, filled with the arguments: text("Paid invoice", {number}).
  std::string text(std::string_view key, std::initializer_list<std::string> arguments) const;

 private:
  Environment();

  std::shared_ptr<const Clock> clock_;
  TimeZone timeZone_;
  Locale locale_;
  std::shared_ptr<Preferences> preferences_;
  std::shared_ptr<const User> user_;
  std::shared_ptr<const Resources> resources_;
  std::shared_ptr<const Localizer> localizer_;
  std::shared_ptr<Log> log_;
  std::shared_ptr<RunLoop> runLoop_;
  std::shared_ptr<AssertionHandler> assertions_;
  std::shared_ptr<Dialog> dialog_;
  std::shared_ptr<const HttpClient> httpClient_;
  ReferenceRateSource referenceRateSource_;
};

}  // namespace bokfolio
