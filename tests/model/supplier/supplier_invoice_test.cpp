#include "bokfolio/model/supplier/supplier_invoice.hpp"

#include <gmock/gmock.h>

#include "bokfolio/model/supplier/supplier_invoice_line.hpp"
#include "tests/model/ledger/ledger_world.hpp"
#include "tests/model/ledger/watch.hpp"

namespace bokfolio::test {
namespace {

constexpr std::int64_t kDelay = 10'000;

class SupplierInvoiceTest : public LedgerWorld {
 protected:
  SupplierInvoice* bill() { return context().insert<SupplierInvoice>(); }
  SupplierInvoiceLine* line(SupplierInvoice* of, const std::optional<Decimal>& amount,
                            const std::optional<Decimal>& vat = std::nullopt,
                            Account* cost = nullptr, Account* vatAccount = nullptr) {
    auto* made = context().insert<SupplierInvoiceLine>();
    made->setInvoice(of);
    made->setAmount(amount);
    made->setVat(vat);
    made->setAccount(cost);
    made->setVatAccount(vatAccount);
    return made;
  }
  // "number debit credit account tag", a row each.
  static std::string written(const std::vector<Row*>& rows) {
    std::string text;
    for (const Row* row : rows)
      text += std::to_string(row->number().value()) + " D" + row->debit()->toString() + " K" +
              row->credit()->toString() + " " +
              (row->account() == nullptr ? "-" : std::to_string(*row->account()->number())) +
              (row->tag() == nullptr ? "" : " tagged") + "; ";
    return text;
  }

  Account* cost_ = account(4010, AccountType::Cost, "Varor");
  Account* inputVat_ = account(2640, AccountType::DebtAndEquity, "Ingående moms");
  Account* payable_ = account(2440, AccountType::DebtAndEquity, "Leverantörsskulder");
};

TEST_F(SupplierInvoiceTest, TakesItsDefaultsFromTheBillRegisteredLast) {
  context().insert<Book>()->setCurrency("NOK");
  SupplierInvoice* first = bill();
  first->setCurrency("USD");
  EXPECT_EQ(first->addedDate(), std::nullopt);
  world.runLoop->advance(kDelay - 1);
  EXPECT_EQ(first->currency(), "USD");
  world.runLoop->advance(1);
  EXPECT_EQ(first->currency(), "NOK") << "the book's";
  EXPECT_EQ(first->creditPeriod(), 30);
  EXPECT_EQ(first->addedDate(), world.clock->now());

  first->setCurrency("EUR");
  first->setCreditPeriod(10);
  SupplierInvoice* second = bill();
  second->setCreditPeriod(60);
  SupplierInvoice* registered = bill();
  registered->setAddedDate(cetDate(2008, 1, 1));
  registered->setCurrency("DKK");
  world.runLoop->advance(kDelay);
  EXPECT_EQ(second->currency(), "EUR") << "not of the bill that was added long ago";
  EXPECT_EQ(second->creditPeriod(), 10);
  EXPECT_EQ(registered->currency(), "DKK");
  EXPECT_EQ(registered->addedDate(), cetDate(2008, 1, 1));
}

TEST_F(SupplierInvoiceTest, ACopyHasDataAndLinesButNoHistory) {
  const char* const copied[] = {"city",     "company",  "country", "county",      "email",  "fax",
                                "homepage", "number",   "name",    "paymentInfo", "street", "phone",
                                "vatno",    "reserved", "zipcode", "currency"};
  SupplierInvoice* original = bill();
  for (const char* key : copied) original->setValueForKey(std::string("the ") + key, key);
  original->setCreditPeriod(10);
  original->setCreditAccount(payable_);
  original->setTag(tag(3));
  for (const char* key : {"date", "dueDate", "paidDate", "addedDate"})
    original->setValueForKey(cetDate(2009, 1, 1), key);
  original->setLocalAmount(5);
  entry(cetDate(2009, 1, 1))->setSupplierInvoice(original);
  line(original, 100, 25, cost_, inputVat_)->setName("Planks");
  line(original, -7, 0, cost_);

  SupplierInvoice* copy = original->duplicate();
  for (const char* key : copied)
    EXPECT_EQ(copy->valueForKey(key), Value(std::string("the ") + key)) << key;
  EXPECT_EQ(copy->creditPeriod(), 10);
  EXPECT_EQ(copy->creditAccount(), payable_);
  EXPECT_EQ(copy->tag(), original->tag());
  for (const char* key : {"date", "dueDate", "paidDate", "addedDate", "localAmount"})
    EXPECT_EQ(copy->valueForKey(key), Value()) << key;
  EXPECT_TRUE(copy->entries().empty());
  ASSERT_EQ(copy->lines().count(), 2U);
  EXPECT_EQ(original->lines().count(), 2U);
  const SupplierInvoiceLine* first = copy->lines().first();
  EXPECT_EQ(first->name(), "Planks");
  EXPECT_EQ(first->vatAccountName(), "Ingående moms");
  EXPECT_EQ(copy->amountInclVAT(), dec("118"));

  original->setCurrency("EUR");
  world.runLoop->advance(kDelay);
  EXPECT_EQ(copy->currency(), "EUR") << "defaults run on a copy, too";
  EXPECT_EQ(copy->name(), "the name");
}

TEST_F(SupplierInvoiceTest, ThePictureShowsPaidBeforeOverdueBeforeOpen) {
  auto pictures = std::make_shared<MemoryResources>();
  for (const char* number : {"1", "2", "3"})
    pictures->add(std::string("images/status") + number, "png", number);
  world.environment.setResources(pictures);
  open();
  const Date now = world.clock->now();
  const Date before = cetDate(2009, 1, 1);
  const std::tuple<std::optional<Date>, std::optional<Date>, char> cases[] = {
      {std::nullopt, std::nullopt, '1'}, {now, std::nullopt, '1'},
      {before, std::nullopt, '2'},       {before, before, '3'},
      {std::nullopt, before, '3'},
  };
  for (const auto& [due, paid, picture] : cases) {
    SupplierInvoice* made = bill();
    made->setDueDate(due);
    made->setPaidDate(paid);
    EXPECT_EQ(made->valueForKey("indicator"), Value(Bytes{static_cast<std::uint8_t>(picture)}));
    EXPECT_FALSE(made->indicator()) << "no picture in those bytes";
  }
  world.environment.setResources(std::make_shared<MemoryResources>());
  open();
  EXPECT_FALSE(bill()->indicator());
}

TEST_F(SupplierInvoiceTest, AFiledEntryClosesIt) {
  SupplierInvoice* made = bill();
  EXPECT_EQ(made->valueForKey("amountInclVAT"), Value(0)) << "without lines";
  EXPECT_TRUE(made->allowEditAndRemove());
  Entry* booked = entry(cetDate(2009, 2, 1));
  booked->setSupplierInvoice(made);
  entry(cetDate(2009, 2, 2))->setSupplierInvoice(made);
  EXPECT_TRUE(made->allowEditAndRemove());
  booked->setFiscalYear(year(2009));
  EXPECT_EQ(made->valueForKey("allowEditAndRemove"), Value(0));
}

TEST_F(SupplierInvoiceTest, LinesThatCannotBeBookedAreRemoved) {
  SupplierInvoice* made = bill();
  const SupplierInvoiceLine* kept[] = {
      line(made, 100, 25, cost_, inputVat_),
      line(made, -100, std::nullopt, cost_),
      line(made, dec("0.01"), 0, cost_),
  };
  line(made, 0, 25, cost_, inputVat_);
  line(made, std::nullopt, 0, cost_);
  line(made, 100, 0, nullptr, inputVat_);
  line(made, 100, 25, cost_);
  made->removeEmptyLines();
  EXPECT_THAT(context().fetch<SupplierInvoiceLine>(), testing::ElementsAreArray(kept));

  SupplierInvoiceLine* loose = line(nullptr, 5);
  SupplierInvoiceLine::removeEmptyLinesInContext(context());
  EXPECT_TRUE(loose->isDeleted());
  EXPECT_EQ(made->lines().count(), 3U);
}

TEST_F(SupplierInvoiceTest, ANewLineHasTheRateOfTheCountryAndNoAmount) {
  world.useLocale("sv_SE");
  open();
  auto* made = context().insert<SupplierInvoiceLine>();
  EXPECT_EQ(made->vat(), Decimal(25));
  EXPECT_EQ(made->amount(), Decimal());
  EXPECT_TRUE(made->setValidated("amount", Value()));
  EXPECT_EQ(made->amount(), Decimal());
}

TEST_F(SupplierInvoiceTest, AddsPurchaseRowsAfterThoseThereAre) {
  struct Case {
    Decimal amount;
    std::optional<Decimal> vat;
    const char* rows;
  };
  const Case cases[] = {
      {1000, 25, "5 D250 K0 2640; 4 D1000 K0 4010 tagged; "},
      {-1000, 25, "5 D0 K250 2640; 4 D0 K1000 4010 tagged; "},
      {dec("0.01"), dec("12.5"), "5 D0.00125 K0 2640; 4 D0.01 K0 4010 tagged; "},
      {1000, -25, "5 D0 K250 2640; 4 D1000 K0 4010 tagged; "},
      {1000, 0, "4 D1000 K0 4010 tagged; "},
      {1000, std::nullopt, "4 D1000 K0 4010 tagged; "},
      {0, 25, "5 D0 K0 2640; 4 D0 K0 4010 tagged; "},
  };
  SupplierInvoice* made = bill();
  made->setTag(tag(9));
  for (const Case& c : cases) {
    Entry* purchase = entry(cetDate(2009, 2, 1));
    for (int present = 0; present < 3; ++present) row(purchase, payable_, -1);
    const auto rows =
        line(made, c.amount, c.vat, cost_, inputVat_)->addPurchaseRowsToEntry(*purchase);
    EXPECT_EQ(written(rows), c.rows);
    EXPECT_EQ(purchase->rows().count(), 3 + rows.size());
    for (const Row* each : rows) EXPECT_EQ(each->status(), 0);
  }
  Entry* purchase = entry(cetDate(2009, 2, 1));
  EXPECT_EQ(written(line(nullptr, 5, 25)->addPurchaseRowsToEntry(*purchase)),
            "2 D1.25 K0 -; 1 D5 K0 -; ");
}

TEST_F(SupplierInvoiceTest, AnUnknownAccountNameKeepsTheAccountAndAllIsAnnounced) {
  SupplierInvoice* made = bill();
  SupplierInvoiceLine* of = line(made, 1, 25, cost_, inputVat_);
  Watch watch(context());
  watch.add(*made, {"validity"});
  const std::tuple<const char*, Value, Account*, Account*> cases[] = {
      {"accountName", "no such name", cost_, inputVat_},
      {"vatAccountName", "no such name", cost_, inputVat_},
      {"accountName", "leverantörs*", payable_, inputVat_},
      {"vatAccountName", "VAROR", payable_, cost_},
      {"accountName", nullptr, nullptr, cost_},
      {"vatAccountName", nullptr, nullptr, nullptr},
      {"account", cost_, cost_, nullptr},
      {"vatAccount", cost_, cost_, cost_},
      {"amount", nullptr, cost_, cost_},
  };
  for (const auto& [key, value, cost, vat] : cases) {
    of->setValueForKey(value, key);
    EXPECT_EQ(of->account(), cost) << key;
    EXPECT_EQ(of->vatAccount(), vat) << key;
    EXPECT_EQ(watch.counts(), (Counts{{"validity", 1}})) << key;
  }
  line(nullptr, 3)->setAccountName("Varor");  // of no bill: nobody to tell
}

}  // namespace
}  // namespace bokfolio::test
