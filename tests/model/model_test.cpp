#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <map>
#include <set>
#include <sstream>

#include "bokfolio/model/document.hpp"
#include "bokfolio/model/invoicing/allowance.hpp"
#include "bokfolio/model/invoicing/article.hpp"
#include "bokfolio/model/invoicing/company.hpp"
#include "bokfolio/model/invoicing/credit_details.hpp"
#include "bokfolio/model/invoicing/delivery_address.hpp"
#include "bokfolio/model/invoicing/invoice.hpp"
#include "bokfolio/model/invoicing/invoice_line.hpp"
#include "bokfolio/model/ledger/entry_image.hpp"
#include "bokfolio/model/supplier/supplier_invoice.hpp"
#include "bokfolio/model/supplier/supplier_invoice_line.hpp"
#include "tests/model/ledger/ledger_world.hpp"

namespace bokfolio::test {
namespace {

// The words in backticks of each "### Entity" section of the page about the model.
std::map<std::string, std::set<std::string>> documentedKeys() {
  std::ifstream page(BOKFOLIO_SOURCE_DIR "/docs/model.md");
  std::map<std::string, std::set<std::string>> sections;
  std::string section;
  for (std::string line; std::getline(page, line);) {
    if (line.rfind("### ", 0) == 0) section = line.substr(4);
    if (line.empty() || line[0] != '|') continue;
    const std::string firstCell = line.substr(1, line.find('|', 1) - 1);
    std::istringstream words(firstCell);
    for (std::string word; std::getline(words, word, '`') && std::getline(words, word, '`');)
      sections[section].insert(word);
  }
  return sections;
}

TEST(StandardModel, IsWhatItsPageSays) {
  const Model model = standardModel();
  EXPECT_EQ(model.faults(), std::vector<std::string>());
  std::map<std::string, std::set<std::string>> keys;
  for (const EntityDescription& entity : model.entities())
    for (const PropertyDescription& property : entity.properties)
      keys[entity.name].insert(property.name);
  EXPECT_EQ(keys.size(), 17U);
  EXPECT_EQ(documentedKeys(), keys);
}

class ModelTest : public LedgerWorld {};

TEST_F(ModelTest, NewRecordsAreOfTheirClassAndHaveTheModelsDefaults) {
  const auto isMadeAs = [this]<class... Classes>(std::tuple<Classes*...>) {
    return (... &&
            (dynamic_cast<Classes*>(context().insertNewObject(Classes::kEntityName)) != nullptr));
  };
  using All = std::tuple<Account*, Allowance*, Article*, Book*, Company*, CreditDetails*,
                         DeliveryAddress*, Entry*, EntryImage*, FiscalYear*, Invoice*, InvoiceLine*,
                         Row*, StartingBalance*, SupplierInvoice*, SupplierInvoiceLine*, Tag*>;
  EXPECT_TRUE(isMadeAs(All()));
  EXPECT_EQ(std::tuple_size_v<All>, schema_->entities().size());

  const std::tuple<const char*, const char*, std::int64_t> defaults[] = {
      {"Entry", "number", 2147483647},
      {"Row", "status", 0},
      {"Book", "autoBook", 1},
      {"Book", "bookOnce", 0},
      {"Book", "days", 30},
      {"Book", "vatMode", 0},
      {"Invoice", "status", 0},
      {"Account", "type", 0},
      {"SupplierInvoice", "creditPeriod", 30},
  };
  for (const auto& [entity, key, value] : defaults)
    EXPECT_EQ(context().insertNewObject(entity)->valueForKey(key), Value(value)) << entity << key;
}

TEST_F(ModelTest, DeletingTakesWhatIsOwnedAndSparesWhatIsUsed) {
  Entry* made = transfer(cetDate(2009, 2, 1), 10, account(1930), account(3000));
  made->setEntryImage(context().insert<EntryImage>());
  Tag* marker = tag(1);
  made->rows().first()->setTag(marker);
  ASSERT_TRUE(context().save());

  std::optional<Error> error;
  context().deleteObject(Account::accountWithNumber(1930, context()));
  EXPECT_FALSE(context().save(&error)) << "an account with rows stays";
  context().rollback();
  context().deleteObject(marker);
  EXPECT_EQ(made->rows().first()->tag(), nullptr);
  context().deleteObject(made);
  ASSERT_TRUE(context().save());
  EXPECT_EQ(context().count("Row") + context().count("EntryImage"), 0U);
  EXPECT_EQ(context().count("Account"), 2U);
}

TEST_F(ModelTest, ADocumentIsMadeOnceAndReadAgain) {
  const std::string path = testing::TempDir() + "model_test." + std::to_string(::getpid());
  std::optional<Error> error;
  auto document = createDocument(path, world.environment, &error);
  ASSERT_NE(document, nullptr) << error->localizedDescription();
  document->insert<Account>()->setNumber(1930);
  ASSERT_TRUE(document->save());
  EXPECT_EQ(openDocument(path, OpenMode::ReadWrite, world.environment, &error), nullptr);
  EXPECT_EQ(error->code(), static_cast<int>(PersistenceError::InUse));
  document.reset();
  EXPECT_EQ(createDocument(path, world.environment, &error), nullptr);
  EXPECT_EQ(error->code(), static_cast<int>(PersistenceError::AlreadyExists));
  document = openDocument(path, OpenMode::ReadOnly, world.environment);
  EXPECT_NE(Account::accountWithNumber(1930, *document), nullptr);
  document.reset();
  std::remove(path.c_str());
  EXPECT_FALSE(openInMemory(world.environment)->hasChanges());
}

}  // namespace
}  // namespace bokfolio::test
