// Plug-ins as a host meets them: shared objects that are loaded, asked for their model, and given a
// document.
#include "bokfolio/plugins/plugin_library.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <tuple>

#include "bokfolio/model/document.hpp"
#include "bokfolio/model/ledger/account.hpp"
#include "bokfolio/model/ledger/fiscal_year.hpp"

namespace bokfolio::test {
namespace {

using testing::AllOf;
using testing::HasSubstr;

const std::string kModules = BOKFOLIO_MODULES "/";

class Plugins : public testing::Test {
 protected:
  Plugins() {
    std::string name = testing::TempDir() + "bokfolio-plugins-XXXXXX";
    if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("no temporary folder");
    folder = name;
    environment.setLocale(Locale("en_SE"));
    environment.setClock(std::make_shared<ManualClock>(Date::fromSeconds(1'238'500'800)));
    environment.setTimeZone(TimeZone::cet());
    environment.setLog(std::make_shared<MemoryLog>());
  }
  ~Plugins() override {
    document.reset();
    std::filesystem::remove_all(folder);
  }

  // The standard model with what the example plug-in adds.
  Model budgetModel() const {
    Model model = standardModel();
    std::optional<Error> error;
    EXPECT_TRUE(extendModel(model, *budget.value().make(nullptr), &error))
        << error->localizedDescription();
    return model;
  }
  // Closes the document and opens it again.
  void open(const Model& model, OpenMode mode = OpenMode::ReadWrite) {
    document.reset();
    std::optional<Error> error;
    document = openDocument(path(), mode, environment, model, &error);
    ASSERT_NE(document, nullptr) << error->localizedDescription();
  }
  void save() {
    std::optional<Error> error;
    ASSERT_TRUE(document->save(&error)) << error->localizedDescription();
  }
  std::string path() const { return folder + "/firm.bokfolio"; }

  Account* addAccount(std::int64_t number, AccountType type) {
    auto* account = document->insert<Account>();
    account->setNumber(number);
    account->setType(type);
    return account;
  }
  // "account amount note" of each budget, in ascending order of creation.
  std::vector<std::string> budgets() const {
    std::vector<std::string> lines;
    const auto records = document->fetchEntitiesWithName("Budget");
    for (const Record* line : *records) {
      lines.push_back(line->valueForKeyPath("account.number").description() + ' ' +
                      line->valueForKey("amount").description() + ' ' +
                      line->valueForKeyPath("account.budgetNote").description());
    }
    return lines;
  }

  std::string folder;
  Environment environment = Environment::system();
  std::optional<PluginLibrary> budget = PluginLibrary::load(BOKFOLIO_EXAMPLE_PLUGIN);
  std::unique_ptr<Context> document;
};

TEST_F(Plugins, AreRefusedWithTheReason) {
  std::ofstream(folder + "/text.so") << "no shared object";
  const std::tuple<std::string, PluginError, const char*> cases[] = {
      {folder + "/none.so", PluginError::NotFound, "is no file"},
      {folder, PluginError::NotFound, "is no file"},
      {"libc.so.6", PluginError::NotFound, "is no file"},
      {folder + "/text.so", PluginError::NotLoadable, "cannot be loaded"},
      {kModules + "unresolved.so", PluginError::NotLoadable, "bokfolioNobodyHasThis"},
      {kModules + "no_plugin.so", PluginError::NotAPlugin, "no mark"},
      {kModules + "maker_missing.so", PluginError::NotAPlugin, "makes none"},
      {kModules + "other_version.so", PluginError::OtherVersion, "for BokfolioSDK 0.0, libstdc++"},
  };
  for (const auto& [file, code, reason] : cases) {
    std::optional<Error> error;
    EXPECT_FALSE(PluginLibrary::load(file, &error)) << file;
    ASSERT_TRUE(error.has_value()) << file;
    EXPECT_EQ(error->domain(), kPluginErrorDomain);
    EXPECT_EQ(error->code(), static_cast<int>(code)) << file;
    EXPECT_THAT(error->localizedDescription(),
                AllOf(HasSubstr('"' + file + '"'), HasSubstr(reason)));
    EXPECT_FALSE(PluginLibrary::load(file)) << file;
  }
}

TEST_F(Plugins, ThatOthersCouldHavePutThereAreNotLoaded) {
  using std::filesystem::perms;
  const std::string shared = folder + "/shared";
  const std::string own = shared + "/own";
  const std::string file = own + "/budget.so";
  const std::string link = folder + "/budget.so";
  std::filesystem::create_directories(own);
  std::filesystem::copy_file(BOKFOLIO_EXAMPLE_PLUGIN, file);
  std::filesystem::create_symlink(file, link);
  const auto mode = [](const std::string& path, unsigned bits) {
    std::filesystem::permissions(path, perms(bits));
  };
  struct Case {
    unsigned file, folder, above;
    bool loads;
  };
  for (const auto& [ofFile, ofFolder, above, loads] :
       {Case{0600, 0700, 0700, true}, Case{0755, 0755, 0755, true}, Case{0755, 0755, 01777, true},
        Case{0755, 0755, 0777, false}, Case{0755, 0777, 0755, false},
        Case{0755, 01777, 0755, false}, Case{0646, 0755, 0755, false}}) {
    SCOPED_TRACE(testing::Message() << std::oct << ofFile << ' ' << ofFolder << ' ' << above);
    mode(file, ofFile);
    mode(own, ofFolder);
    mode(shared, above);
    for (const std::string& path : {file, link}) {
      std::optional<Error> error;
      const auto library = PluginLibrary::load(path, &error);
      EXPECT_EQ(library.has_value(), loads);
      if (loads) continue;
      EXPECT_EQ(error.value().code(), static_cast<int>(PluginError::OpenToOthers));
      EXPECT_THAT(error->localizedDescription(), HasSubstr("other users can change"));
    }
  }
  if (geteuid() != 0) return;
  mode(file, 0755);
  mode(shared, 0755);
  ASSERT_EQ(chown(file.c_str(), 65534, 65534), 0);
  EXPECT_FALSE(PluginLibrary::load(file));
}

TEST_F(Plugins, ThatThrowWhileTheyAreMadeDoNoHarm) {
  const auto library = PluginLibrary::load(kModules + "needs_document.so");
  ASSERT_TRUE(library.has_value());
  for (const char* reason : {"there is no document", "no exception"}) {
    std::optional<Error> error;
    EXPECT_EQ(library->make(nullptr, &error), nullptr);
    EXPECT_EQ(error->code(), static_cast<int>(PluginError::Failed));
    EXPECT_THAT(error->localizedDescription(), HasSubstr(reason));
  }
  document = openInMemory(environment);
  const auto plugin = library->make(document.get());
  auto* shown = dynamic_cast<BFViewPluginBase*>(plugin.get());
  ASSERT_NE(shown, nullptr);
  EXPECT_EQ(shown->managedObjectContext(), document.get());
  try {
    shown->view();
    FAIL();
  } catch (const PluginException& missing) {
    EXPECT_EQ(missing.name(), "No view");
    EXPECT_EQ(missing.reason(),
              "You must implement the view method for your (anonymous namespace)::NeedsDocument "
              "view plug-in!");
  }
}

TEST_F(Plugins, KeepWhatTheyAddedWhileTheyAreAway) {
  ASSERT_TRUE(budget.has_value());
  ASSERT_NE(document = createDocument(path(), environment, budgetModel()), nullptr);
  FiscalYear::createFiscalYearWithDate(environment.now(), *document);
  addAccount(1930, AccountType::Asset);
  addAccount(3000, AccountType::Income);
  const auto plugin = budget->make(document.get());
  EXPECT_EQ(plugin->title(), "Budget");
  EXPECT_EQ(plugin->type(), 1);
  EXPECT_EQ(plugin->className(), "planning::BudgetPlugin");
  auto& item = dynamic_cast<BFMenuActionPluginBase&>(*plugin);
  EXPECT_EQ(item.tag(), 8101);
  item.action(nullptr);
  document->fetchEntitiesWithName("Budget")->front()->setValueForKey(Value(Decimal(-250)),
                                                                     "amount");
  const std::vector<std::string> planned = {"3000 -250 as 2009"};
  EXPECT_EQ(budgets(), planned);
  save();

  // Away: its records and keys are not seen, the others change as ever.
  open(standardModel());
  EXPECT_EQ(document->entityForName("Budget"), nullptr);
  Account* sales = Account::accountWithNumber(3000, *document);
  EXPECT_THROW(sales->valueForKey("budgetNote"), UndefinedKeyError);
  sales->setName("Sales");
  addAccount(4000, AccountType::Cost);
  addAccount(4010, AccountType::Cost);
  save();
  document->deleteObject(Account::accountWithNumber(4010, *document));
  save();
  ASSERT_TRUE(document->persistence().backup(folder + "/copy.bokfolio", nullptr));
  EXPECT_TRUE(document->persistence().verify(nullptr));

  // Back again, in the document and in the copy that was made meanwhile.
  for (const char* name : {"/firm.bokfolio", "/copy.bokfolio"}) {
    document.reset();
    document = openDocument(folder + name, OpenMode::ReadOnly, environment, budgetModel());
    ASSERT_NE(document, nullptr);
    EXPECT_EQ(budgets(), planned) << name;
    const Account* added = Account::accountWithNumber(4000, *document);
    EXPECT_TRUE(added->valueForKey("budgetNote").isNil());
    EXPECT_EQ(document->verify(), std::vector<std::string>());
    EXPECT_TRUE(document->persistence().verify(nullptr));
  }
  open(budgetModel());
  dynamic_cast<BFMenuActionPluginBase&>(*budget->make(document.get())).action(nullptr);
  save();
  EXPECT_EQ(budgets(), (std::vector<std::string>{"3000 0 as 2009", "4000 0 as 2009"}));
}

TEST_F(Plugins, HoldWhatTheyReferToWhileTheyAreAway) {
  ASSERT_NE(document = createDocument(path(), environment), nullptr);
  FiscalYear::createFiscalYearWithDate(environment.now(), *document);
  addAccount(3000, AccountType::Income);
  save();
  // A document of before the plug-in gets what it adds.
  open(budgetModel());
  dynamic_cast<BFMenuActionPluginBase&>(*budget->make(document.get())).action(nullptr);
  save();

  open(standardModel());
  document->deleteObject(Account::accountWithNumber(3000, *document));
  std::optional<Error> error;
  EXPECT_FALSE(document->save(&error));
  EXPECT_EQ(error->code(), static_cast<int>(PersistenceError::Refused));
  EXPECT_THAT(error->localizedDescription(), HasSubstr("Budget 1 refers to"));
  document->rollback();
  open(budgetModel(), OpenMode::ReadOnly);
  EXPECT_EQ(budgets(), std::vector<std::string>{"3000 0 as 2009"});
}

}  // namespace
}  // namespace bokfolio::test
