#include "tests/world/world.hpp"

#include "bokfolio/platform/calendar.hpp"

namespace bokfolio::test {

namespace {

constexpr Date kStart = Date::fromSeconds(1'238'500'800);  // 2009-03-31 12:00 UTC

}  // namespace

TestWorld::TestWorld(const std::string& locale)
    : clock(std::make_shared<ManualClock>(kStart)),
      runLoop(std::make_shared<ManualRunLoop>(clock)),
      preferences(std::make_shared<MemoryPreferences>()),
      user(std::make_shared<ScriptedUser>("Anna Andersson")),
      log(std::make_shared<MemoryLog>()),
      dialog(std::make_shared<ScriptedDialog>()),
      http(std::make_shared<ScriptedHttpClient>()),
      assertions(std::make_shared<RecordingAssertionHandler>()),
      resources(std::make_shared<const DirectoryResources>(
          std::vector<std::string>{BOKFOLIO_SOURCE_DIR "/resources"})),
      environment(Environment::system()) {
  environment.setClock(clock);
  environment.setTimeZone(TimeZone::cet());
  environment.setPreferences(preferences);
  environment.setUser(user);
  environment.setLog(log);
  environment.setRunLoop(runLoop);
  environment.setDialog(dialog);
  environment.setHttpClient(http);
  environment.setResources(resources);
  environment.setAssertions(std::make_shared<ThrowingAssertionHandler>());
  useLocale(locale);
}

void TestWorld::useLocale(const std::string& identifier) {
  const Locale locale(identifier);
  environment.setLocale(locale);
  environment.setLocalizer(std::make_shared<const CatalogLocalizer>(resources, locale));
}

void TestWorld::recordAssertions() { environment.setAssertions(assertions); }

Environment makeTestEnvironment(const std::string& locale) { return TestWorld(locale).environment; }

Date cetDate(int year, int month, int day, int hour, int minute, int second) {
  return dateFromCivil({year, month, day}, {hour, minute, second}, TimeZone::cet());
}

}  // namespace bokfolio::test
