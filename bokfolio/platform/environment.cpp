#include "bokfolio/platform/environment.hpp"

#include <stdexcept>
#include <utility>

namespace bokfolio {

namespace {

template <typename Service>
void assign(std::shared_ptr<Service>& slot, std::shared_ptr<Service> service) {
  if (service == nullptr) throw std::invalid_argument("An environment needs every service.");
  slot = std::move(service);
}

}  // namespace

Environment::Environment()
    : clock_(std::make_shared<const SystemClock>()),
      timeZone_(TimeZone::system()),
      locale_(Locale::system()),
      preferences_(std::make_shared<FilePreferences>(FilePreferences::standardPath())),
      user_(std::make_shared<const SystemUser>()),
      resources_(std::make_shared<const DirectoryResources>(DirectoryResources::standard())),
      localizer_(std::make_shared<const CatalogLocalizer>(resources_, locale_)),
      log_(std::make_shared<StandardErrorLog>()),
      runLoop_(std::make_shared<QueueRunLoop>(clock_)),
      assertions_(std::make_shared<ThrowingAssertionHandler>()),
      dialog_(std::make_shared<TerminalDialog>()),
      httpClient_(std::make_shared<const CurlHttpClient>()) {}

Environment Environment::system() { return Environment(); }

Environment& Environment::process() {
  static Environment theProcess;
  return theProcess;
}

void Environment::setClock(std::shared_ptr<const Clock> clock) { assign(clock_, std::move(clock)); }

void Environment::setTimeZone(TimeZone timeZone) { timeZone_ = std::move(timeZone); }

void Environment::setLocale(Locale locale) { locale_ = std::move(locale); }

void Environment::setPreferences(std::shared_ptr<Preferences> preferences) {
  assign(preferences_, std::move(preferences));
}

void Environment::setUser(std::shared_ptr<const User> user) { assign(user_, std::move(user)); }

void Environment::setLocalizer(std::shared_ptr<const Localizer> localizer) {
  assign(localizer_, std::move(localizer));
}

void Environment::setResources(std::shared_ptr<const Resources> resources) {
  assign(resources_, std::move(resources));
}

void Environment::setLog(std::shared_ptr<Log> log) { assign(log_, std::move(log)); }

void Environment::setRunLoop(std::shared_ptr<RunLoop> runLoop) {
  assign(runLoop_, std::move(runLoop));
}

void Environment::setAssertions(std::shared_ptr<AssertionHandler> assertions) {
  assign(assertions_, std::move(assertions));
}

void Environment::setDialog(std::shared_ptr<Dialog> dialog) { assign(dialog_, std::move(dialog)); }

void Environment::setHttpClient(std::shared_ptr<const HttpClient> httpClient) {
  assign(httpClient_, std::move(httpClient));
}

void Environment::setReferenceRateSource(ReferenceRateSource source) {
  referenceRateSource_ = std::move(source);
}

std::string Environment::text(std::string_view key, std::string_view table) const {
  return localizer_->text(key, table);
}

std::string Environment::text(std::string_view key,
                              std::initializer_list<std::string> arguments) const {
  return fillFormat(localizer_->text(key),
                    std::span<const std::string>(arguments.begin(), arguments.size()));
}

}  // namespace bokfolio
