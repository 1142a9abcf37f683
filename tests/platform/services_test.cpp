#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>

#include "bokfolio/platform/date_text.hpp"
#include "bokfolio/platform/internal/plain_text.hpp"
#include "bokfolio/platform/platform_error.hpp"
#include "tests/world/world.hpp"

namespace bokfolio {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;

class TemporaryFolder {
 public:
  TemporaryFolder() {
    std::string name = (fs::temp_directory_path() / "bokfolio-XXXXXX").string();
    path_ = mkdtemp(name.data());
  }
  ~TemporaryFolder() { fs::remove_all(path_); }
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;
  const fs::path& path() const { return path_; }

 private:
  fs::path path_;
};

std::string contents(const fs::path& file) {
  std::ifstream stream(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

void writeFile(const fs::path& file, std::string_view bytes) {
  std::ofstream(file, std::ios::binary) << bytes;
}

TEST(Locale, TellsCountryCurrencyAndLanguage) {
  struct Case {
    const char* identifier;
    std::optional<std::string> country;
    std::optional<std::string> currency;
    std::optional<std::string> language;
  };
  const Case cases[] = {
      {"sv_SE", "SE", "SEK", "sv"},
      {"sv-SE", "SE", "SEK", "sv"},
      {"sv_SE.UTF-8", "SE", "SEK", "sv"},
      {"sv_SE.UTF-8@euro", "SE", "SEK", "sv"},
      {"nb_NO", "NO", "NOK", "nb"},
      {"sv_SE@currency=EUR", "SE", "EUR", "sv"},
      {"sv", {}, {}, "sv"},
      {"en_150", {}, {}, "en"},
      {"", {}, {}, "en"},
      {"C", {}, {}, "en"},
      {"C.UTF-8", {}, {}, "en"},
      {"POSIX", {}, {}, "en"},
      {"root", {}, {}, "en"},
      {"garbage", {}, {}, {}},
  };
  for (const Case& c : cases) {
    const Locale locale(c.identifier);
    EXPECT_EQ(locale.identifier(), c.identifier);
    EXPECT_EQ(locale.countryCode(), c.country) << c.identifier;
    EXPECT_EQ(locale.currencyCode(), c.currency) << c.identifier;
    EXPECT_EQ(locale.languageCode(), c.language) << c.identifier;
  }
  EXPECT_TRUE(Locale("sv").isKnown());
  EXPECT_FALSE(Locale("C.UTF-8").isKnown());
}

class Variable {
 public:
  Variable(const char* name, const char* value) : name_(name) {
    if (const char* old = std::getenv(name); old != nullptr) old_ = old;
    value != nullptr ? setenv(name, value, 1) : unsetenv(name);
  }
  ~Variable() { old_ ? setenv(name_, old_->c_str(), 1) : unsetenv(name_); }
  Variable(const Variable&) = delete;
  Variable& operator=(const Variable&) = delete;

 private:
  const char* name_;
  std::optional<std::string> old_;
};

TEST(SystemServices, ReadTheEnvironmentOfTheProcess) {
  struct ZoneCase {
    const char* variable;
    const char* zone;
  };
  for (const auto& [variable, zone] :
       {ZoneCase{"Europe/Stockholm", "Europe/Stockholm"}, ZoneCase{":CET", "CET"},
        ZoneCase{"/usr/share/zoneinfo/CET", "CET"}, ZoneCase{"", "UTC"}, ZoneCase{"Bogus", "UTC"},
        ZoneCase{"CET-1CEST", "UTC"}}) {
    const Variable tz("TZ", variable);
    EXPECT_EQ(TimeZone::system().id(), zone) << variable;
  }
  const Variable lang("LANG", "sv_SE.UTF-8");
  const Variable messages("LC_MESSAGES", "");
  const Variable all("LC_ALL", nullptr);
  EXPECT_EQ(Locale::system().countryCode(), "SE");
  const Variable everything("LC_ALL", "nb_NO");
  EXPECT_EQ(Locale::system().countryCode(), "NO");

  const Variable home("HOME", "/home/anna");
  const Variable noConfig("XDG_CONFIG_HOME", nullptr);
  EXPECT_EQ(FilePreferences::standardPath(), "/home/anna/.config/bokfolio/preferences");
  const Variable config("XDG_CONFIG_HOME", "/config");
  EXPECT_EQ(FilePreferences::standardPath(), "/config/bokfolio/preferences");
}

TEST(Preferences, AreFalseUntilSetAndSurviveInTheFile) {
  const TemporaryFolder folder;
  const fs::path file = folder.path() / "new" / "folder" / "preferences";
  FilePreferences first(file.string());
  EXPECT_FALSE(first.boolForKey(kSortRowsByAccount));
  EXPECT_TRUE(first.setBool(kSortRowsByAccount, true));
  EXPECT_TRUE(first.setBool("other", true));
  EXPECT_TRUE(first.setBool("other", false));
  EXPECT_EQ(std::distance(fs::directory_iterator(file.parent_path()), {}), 1);

  writeFile(file, "# mine\n  sortRowsByAccount = true \r\ncolour=blue\nbroken\n");
  FilePreferences second(file.string());
  EXPECT_TRUE(second.boolForKey(kSortRowsByAccount));
  EXPECT_FALSE(second.boolForKey("colour"));
  EXPECT_TRUE(second.setBool(kSortRowsByAccount, false));
  EXPECT_EQ(contents(file), "# mine\ncolour=blue\nbroken\nsortRowsByAccount=false\n");
}

TEST(Preferences, FailuresAreReportedAndHoldForTheRun) {
  const TemporaryFolder folder;
  writeFile(folder.path() / "file", "");
  for (const std::string& path : {std::string(), (folder.path() / "file" / "below").string()}) {
    FilePreferences preferences(path);
    std::optional<Error> error;
    EXPECT_FALSE(preferences.setBool("key", true, &error));
    EXPECT_EQ(error.value().code(), static_cast<int>(PlatformErrorCode::FileNotWritten));
    EXPECT_TRUE(preferences.boolForKey("key"));
    for (const char* key : {"", "a=b", "a b", "a\nb", "#a"}) {
      EXPECT_FALSE(preferences.setBool(key, true)) << key;
      EXPECT_FALSE(preferences.boolForKey(key)) << key;
    }
  }
}

TEST(Resources, TheFirstFolderWinsAndNoNameLeadsOut) {
  const TemporaryFolder folder;
  fs::create_directories(folder.path() / "a" / "sub");
  fs::create_directories(folder.path() / "b");
  writeFile(folder.path() / "secret.txt", "secret");
  writeFile(folder.path() / "a" / "status1.png", "from a");
  writeFile(folder.path() / "b" / "status1.png", "from b");
  writeFile(folder.path() / "b" / "plain", std::string_view("x\0y", 3));
  writeFile(folder.path() / "a" / "sub" / "x.txt", "");
  const DirectoryResources resources({(folder.path() / "missing").string(),
                                      (folder.path() / "a").string(),
                                      (folder.path() / "b").string()});
  EXPECT_EQ(resources.load("status1", "png"), "from a");
  EXPECT_EQ(resources.load("plain", ""), std::string("x\0y", 3));
  EXPECT_EQ(resources.load("sub/x", "txt"), "");
  for (const char* name : {"", "../secret", "sub/../../secret", "/etc/passwd", "sub//x", "./plain",
                           "sub", "absent", "..", "a\\b"}) {
    EXPECT_FALSE(resources.load(name, "")) << name;
    EXPECT_FALSE(resources.load(name, "txt")) << name;
  }
  EXPECT_FALSE(resources.load("x", "/../../secret.txt"));
}

TEST(Dialog, AnswersAtTheTerminal) {
  struct Case {
    const char* typed;
    bool somebodyThere;
    int expected;
  };
  const Question question{"Sure?\x1B[2J", "Think.", "No", "Yes", 0};
  for (const auto& [typed, somebodyThere, expected] :
       {Case{"2\n", true, kSecondButton}, Case{"1\n", true, kFirstButton},
        Case{" Yes \n", true, kSecondButton}, Case{"Y\n", true, kSecondButton},
        Case{"what\n\n2\n", true, kSecondButton}, Case{"a\nb\nc\n2\n", true, kFirstButton},
        Case{"", true, kFirstButton}, Case{"2\n", false, kFirstButton}}) {
    std::istringstream input(typed);
    std::ostringstream output;
    TerminalDialog dialog(input, output, somebodyThere);
    EXPECT_EQ(dialog.ask(question), expected) << typed;
    EXPECT_EQ(output.str().find("Sure??[2J\nThink.\n[1] No  [2] Yes: "), 0U);
  }
}

TEST(PlainText, ControlsBecomeQuestionMarks) {
  EXPECT_EQ(withoutControls("a\nb\x7F\x1B[1m å\xC2\x9B"
                            "2J ö"),
            "a?b??[1m å?2J ö");
  EXPECT_TRUE(isUtf8("åäö €"));
  EXPECT_FALSE(isUtf8("\xE5\xE4"));
  EXPECT_FALSE(isUtf8("\xC3"));
}

TEST(Environment, CopiesShareServicesAndDifferByTheirOwnSettings) {
  test::TestWorld world;
  Environment copy = world.environment;
  copy.log().write("shared");
  EXPECT_THAT(world.log->lines(), ElementsAre("shared"));
  copy.setLog(std::make_shared<MemoryLog>());
  copy.setTimeZone(TimeZone::utc());
  copy.log().write("mine");
  EXPECT_EQ(world.log->lines().size(), 1U);
  EXPECT_EQ(world.environment.timeZone(), TimeZone::cet());
  EXPECT_THROW(copy.setClock(nullptr), std::invalid_argument);
}

}  // namespace
}  // namespace bokfolio
