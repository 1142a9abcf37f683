// TestWorld: an Environment in which nothing depends on the machine. The clock stands at 2009-03-31
// 12:00 UTC until a test moves it, the zone is CET, the locale en_US, the user Anna Andersson,
// texts come from the source tree, questions and downloads are answered from a script.
#pragma once

#include <memory>
#include <string>

#include "bokfolio/platform/environment.hpp"

namespace bokfolio::test {

struct TestWorld {
  explicit TestWorld(const std::string& locale = "en_US");

  // Sets the locale and the language of the texts.
  void useLocale(const std::string& identifier);
  // From now on failed assertions are noted in `assertions` instead of thrown.
  void recordAssertions();

  std::shared_ptr<ManualClock> clock;
  std::shared_ptr<ManualRunLoop> runLoop;
  std::shared_ptr<MemoryPreferences> preferences;
  std::shared_ptr<ScriptedUser> user;
  std::shared_ptr<MemoryLog> log;
  std::shared_ptr<ScriptedDialog> dialog;
  std::shared_ptr<ScriptedHttpClient> http;
  std::shared_ptr<RecordingAssertionHandler> assertions;
  std::shared_ptr<const Resources> resources;
  Environment environment;
};

// The environment alone, for tests that need none of the concrete services.
Environment makeTestEnvironment(const std::string& locale = "en_US");

// An instant by wall clock in CET.
Date cetDate(int year, int month, int day, int hour = 0, int minute = 0, int second = 0);

}  // namespace bokfolio::test
