#include "bokfolio/model/invoicing/invoice.hpp"

#include <gmock/gmock.h>

#include <limits>

#include "bokfolio/store/store_error.hpp"
#include "tests/model/invoicing/invoice_world.hpp"

namespace bokfolio::test {
namespace {

using testing::ElementsAre;
using Text = std::optional<std::string>;

constexpr std::int64_t kDay = std::int64_t{86'400} * 1'000'000;

class InvoiceTest : public InvoiceWorld {
 protected:
  Invoice* sent(Date date, std::int64_t days) {
    Invoice* made = invoice();
    made->setDate(date);
    book->setDays(days);
    made->setStatus(InvoiceStatus::Sent);
    made->setDays(days);
    return made;
  }
};

TEST_F(InvoiceTest, EachStatusSaysWhatItAllows) {
  struct Case {
    std::optional<std::int64_t> status;
    const char* flags;  // sent, paid, can be paid, loss or return
    const char* text;   // "" for none
  };
  const Case cases[] = {
      {std::nullopt, "....", ""},
      {-1, "....", ""},
      {0, "....", "Not sent"},
      {1, "s.c.", "Sent"},
      {2, "s.c.", "Overdue"},
      {3, "sp..", "Paid"},
      {4, "s.c.", "Reminder sent"},
      {5, "s.c.", "Second reminder sent"},
      {6, "s..l", "Customer loss"},
      {7, "s.c.", "Partially paid"},
      {8, "s..l", "Returned"},
      {9, "s...", ""},
      {std::int64_t{1} << 32, "s...", ""},
  };
  std::set<Bytes> pictures;
  Invoice* made = invoice();
  for (const Case& each : cases) {
    made->setRawStatus(each.status);
    std::string flags = "....";
    if (made->isSent()) flags[0] = 's';
    if (made->isPaid()) flags[1] = 'p';
    if (made->canBePaid()) flags[2] = 'c';
    if (made->isLossOrReturn()) flags[3] = 'l';
    const bool known = each.text[0] != '\0';
    EXPECT_EQ(flags, each.flags) << each.text;
    EXPECT_EQ(made->statusDescription(), known ? Text(each.text) : Text());
    ASSERT_EQ(made->indicator().has_value(), known) << each.text;
    if (known) pictures.insert(made->indicatorBytes().value());
  }
  EXPECT_EQ(pictures.size(), 9U) << "every status has a picture of its own";
}

TEST_F(InvoiceTest, AnInvoiceIsOverdueAfterTheInstantItIsDueAndRemindedTwice) {
  Invoice* made = sent(world.clock->now(), 10);
  world.clock->advance(10 * kDay);
  EXPECT_EQ(made->status(), 1);
  world.clock->advance(1);
  EXPECT_EQ(made->status(), 2);
  EXPECT_EQ(made->rawStatus(), 1);
  EXPECT_EQ(made->valueForKey("statusDescription"), Value("Overdue"));
  EXPECT_TRUE(made->canBePaid());
  EXPECT_NE(made->indicatorBytes(), sent(world.clock->now(), 10)->indicatorBytes());
  for (const std::int64_t expected : {4, 5, 5}) {
    made->reminder();
    EXPECT_EQ(made->status(), expected);
  }
  for (const std::int64_t other : {0, 3, 6, 7, 8}) {
    made->setRawStatus(other);
    made->reminder();
    EXPECT_EQ(made->status(), other);
  }
  made->setStatus(InvoiceStatus::Sent);
  made->setDueDate(std::nullopt);
  EXPECT_EQ(made->status(), 1) << "what is never due is never overdue";
}

TEST_F(InvoiceTest, TheDueDateCountsCalendarDaysAndCorrectsItself) {
  const auto stored = [](const Invoice* of) { return of->get(Invoice::Slots::dueDate); };
  Invoice* made = sent(cetDate(2009, 3, 20, 15, 30), 30);  // summer time begins on the 29th
  EXPECT_EQ(stored(made), cetDate(2009, 4, 19, 15, 30));
  EXPECT_EQ(stored(sent(cetDate(2009, 10, 20, 15, 30), 30)), cetDate(2009, 11, 19, 15, 30));
  ASSERT_TRUE(context().save());
  EXPECT_EQ(made->dueDate(), cetDate(2009, 4, 19, 15, 30));
  EXPECT_FALSE(context().hasChanges()) << "a right date is left alone";

  std::vector<std::optional<Date>> heard;
  auto token =
      context().observe(*made, "dueDate", [&](const Change&) { heard.push_back(made->dueDate()); });
  made->setDate(cetDate(2009, 3, 21, 15, 30));
  context().closeUndoGroup();
  EXPECT_EQ(stored(made), cetDate(2009, 4, 19, 15, 30));
  const Date right = cetDate(2009, 4, 20, 15, 30);
  EXPECT_EQ(made->valueForKey("dueDate"), Value(right));
  EXPECT_EQ(stored(made), right);
  EXPECT_THAT(heard, ElementsAre(right, right));
  ASSERT_TRUE(context().undo());
  EXPECT_EQ(made->date(), cetDate(2009, 3, 20, 15, 30)) << "reading is nothing to undo";
  EXPECT_EQ(made->dueDate(), cetDate(2009, 4, 19, 15, 30));
  token.end();

  made->setStatus(InvoiceStatus::NotSent);
  made->setDays(2);
  EXPECT_EQ(made->days(), 30);
  EXPECT_EQ(made->dueDate(), cetDate(2009, 3, 22, 15, 30)) << "by the days that are stored";
  made->setDate(std::nullopt);
  EXPECT_EQ(made->dueDate(), std::nullopt);
  EXPECT_EQ(stored(made), std::nullopt);
  made->setBook(nullptr);
  made->setDate(right);
  made->setStatus(InvoiceStatus::Sent);
  EXPECT_EQ(stored(made), right) << "no book, no days";
}

TEST_F(InvoiceTest, TermsAreTheBooksUntilTheInvoiceIsSent) {
  for (const char* language : {"sv", "en"}) {
    auto* terms = context().insert<CreditDetails>();
    terms->setLanguage(language);
    terms->setCreditDetails(std::string("Terms in ") + language);
  }
  Invoice* made = invoice();
  made->setDays(5);
  made->setCreditDetails("Stored");
  EXPECT_EQ(made->days(), 30);
  EXPECT_EQ(made->creditDetails(), Text());
  made->setLanguage("en");
  EXPECT_EQ(made->valueForKey("creditDetails"), Value("Terms in en"));
  made->setLanguage("fi");
  EXPECT_EQ(made->creditDetails(), Text());
  made->setStatus(InvoiceStatus::PartiallyPaid);
  book->setDays(60);
  EXPECT_EQ(made->valueForKey("days"), Value(5));
  EXPECT_EQ(made->creditDetails(), Text("Stored"));
}

TEST_F(InvoiceTest, DefaultsComeFromTheLatestInvoiceAMomentAfterInsertion) {
  auto* first = context().insert<Invoice>();
  EXPECT_EQ(first->date(), world.clock->now());
  world.runLoop->advance(9'999);
  EXPECT_EQ(first->number(), std::nullopt);
  world.runLoop->advance(1);
  EXPECT_EQ(first->number(), 1);
  EXPECT_EQ(first->book(), book);
  EXPECT_EQ(first->country(), Text("se"));
  EXPECT_EQ(first->currency(), Text());
  EXPECT_TRUE(first->foreignCurrency()) << "a first invoice has no currency yet";

  Invoice* highest = numbered(41);
  highest->setDeliveryMethod("Post");
  highest->setOurRef("Eva");
  highest->setLanguage("sv");
  numbered(7)->setOurRef("Someone else");
  auto* follower = context().insert<Invoice>();
  auto* withCompany = context().insert<Invoice>();
  withCompany->setCompany("Kund AB");
  withCompany->setCountry("no");
  auto* withNumber = context().insert<Invoice>();
  withNumber->setNumber(5);
  auto* removed = context().insert<Invoice>();
  context().deleteObject(removed);
  passDefaultsDelay();
  EXPECT_EQ(follower->number(), 42);
  EXPECT_EQ(follower->deliveryMethod(), Text("Post"));
  EXPECT_EQ(follower->ourRef(), Text("Eva"));
  EXPECT_EQ(follower->language(), Text("sv"));
  EXPECT_EQ(follower->currency(), Text("SEK"));
  EXPECT_EQ(withCompany->number(), 43);
  EXPECT_EQ(withCompany->ourRef(), Text());
  EXPECT_EQ(withCompany->country(), Text("se")) << "the country is the book's all the same";
  EXPECT_EQ(withNumber->book(), nullptr);
  EXPECT_EQ(withNumber->number(), 5);

  numbered(std::numeric_limits<std::int64_t>::max());
  auto* last = context().insert<Invoice>();
  context().deleteObject(book);
  passDefaultsDelay();
  EXPECT_EQ(last->number(), std::numeric_limits<std::int64_t>::max());
  EXPECT_EQ(last->book(), nullptr);
  EXPECT_EQ(last->country(), Text());
}

TEST_F(InvoiceTest, NamesFollowReferenceAndCompany) {
  const std::tuple<Text, Text, Text, const char*> cases[] = {
      {{}, {}, {}, "No recipient"},          {{}, "Kund AB", "Kund AB", "Kund AB"},
      {"Anna", {}, "Anna", "Anna"},          {"Anna", "Kund AB", "Anna / Kund AB", "Anna/Kund AB"},
      {"Anna", "Anna", "Anna", "Anna/Anna"},
  };
  Invoice* made = invoice();
  for (const auto& [reference, company, recipient, description] : cases) {
    made->setYourRef(reference);
    made->setCompany(company);
    EXPECT_EQ(made->recipient(), recipient);
    EXPECT_EQ(made->description(), description);
    EXPECT_EQ(made->valueForKey("description"), Value(description));
  }
}

TEST_F(InvoiceTest, ReadsItsSimplePropertiesOffItsFields) {
  Invoice* made = invoice();
  EXPECT_FALSE(made->foreignCurrency());
  made->setCurrency("sek");
  EXPECT_TRUE(made->foreignCurrency());
  made->setCurrency(std::nullopt);
  book->setCurrency(std::nullopt);
  EXPECT_TRUE(made->foreignCurrency()) << "none differs from none";

  EXPECT_TRUE(made->isEmpty());
  InvoiceLine* sold = line(made, 1, 100);
  EXPECT_FALSE(made->isEmpty());
  const std::tuple<Text, Text, Text, int, bool> sendable[] = {
      {"Anna", {}, "sv", -1, true}, {{}, "Kund AB", "sv", 1, true}, {{}, {}, "sv", 1, false},
      {"Anna", {}, {}, 1, false},   {"Anna", {}, "sv", 0, false},
  };
  for (const auto& [reference, company, language, price, expected] : sendable) {
    made->setYourRef(reference);
    made->setCompany(company);
    made->setLanguage(language);
    sold->setPrice(price);
    EXPECT_EQ(made->sendable(), expected) << price;
  }

  EXPECT_EQ(made->amountRemaining(), std::nullopt);
  made->setPaidAmount(30);
  EXPECT_EQ(made->amountRemaining(), std::nullopt);
  made->setLocalAmount(100);
  EXPECT_EQ(made->amountRemaining(), Decimal(70));
  made->setPaidAmount(std::nullopt);
  EXPECT_EQ(made->valueForKey("amountRemaining"), Value(100));

  made->setVatno("SE556000000001");
  for (const char* vatno : {"SE556000000001", "DE1"}) {
    made->setVatOK(true);
    made->setValueForKey(vatno, "vatno");
    EXPECT_EQ(made->vatOK(), std::nullopt);
    EXPECT_EQ(made->vatno(), vatno);
  }

  Tag* project = tag(7);
  made->setTag(7);
  EXPECT_EQ(made->tag(), project);
  made->setTag(8);
  EXPECT_EQ(made->tag(), nullptr);
  made->setValueForKey(project, "tag");
  EXPECT_THROW(made->setTag("7"), ValueKindError);
  EXPECT_EQ(made->tag(), project);

  made->setCurrency("SEK");
  made->setValueForKey("10%", "allowanceString");
  Allowance* former = made->allowance();
  EXPECT_EQ(made->allowanceString(), former->description());
  made->setAllowanceString("SEK 5");
  EXPECT_TRUE(former->isDeleted());
  ASSERT_NE(made->allowance(), nullptr);
  EXPECT_EQ(made->allowance()->value(), Decimal(5)) << "the invoice's currency is known";
  made->setAllowanceString(std::nullopt);
  EXPECT_EQ(made->allowance(), nullptr);
  EXPECT_EQ(context().count("Allowance"), 0U);
}

TEST_F(InvoiceTest, ChangesAreAnnouncedAsDeclared) {
  Invoice* made = invoice();
  Watch watch(context());
  watch.add(*made,
            {"status", "isPaid", "isSent", "canBePaid", "isLossOrReturn", "indicator", "rawStatus",
             "statusDescription", "isEmpty", "totalAmount", "foreignCurrency", "amountRemaining",
             "allowanceString", "vatOK", "description", "hasDeliveryAddress", "sendable"});
  const Counts byStatus = {{"isPaid", 1},         {"isSent", 1},    {"canBePaid", 1},
                           {"isLossOrReturn", 1}, {"indicator", 1}, {"status", 1}};
  const auto expect = [&](const Counts& wanted) { EXPECT_EQ(watch.counts(), wanted); };
  made->setStatus(InvoiceStatus::Paid);
  expect(byStatus);
  made->setDays(3);
  expect(byStatus);
  line(made, 1, 2);
  expect({{"isEmpty", 1}, {"totalAmount", 1}, {"sendable", 1}});
  made->setRounding(true);
  expect({{"totalAmount", 1}, {"sendable", 1}});
  made->setAllowance(rebate("5%"));
  expect({{"totalAmount", 1}, {"sendable", 1}, {"allowanceString", 1}});
  book->setCurrency("EUR");
  expect({{"foreignCurrency", 1}});
  made->setLocalAmount(1);
  expect({{"amountRemaining", 1}});
  made->setCompany("Kund AB");
  expect({{"description", 1}, {"sendable", 1}});
  made->setVatOK(true);
  watch.counts();
  made->setVatno("X");
  expect({{"vatOK", 2}});  // cleared, and dependent on the number
  made->createDeliveryAddress();
  expect({{"hasDeliveryAddress", 1}});
  made->setValueForKey(0, "hasDeliveryAddress");
  expect({});
  EXPECT_TRUE(made->hasDeliveryAddress());
}

TEST_F(InvoiceTest, ACopyIsUnsentAndSharesNothingThatBelongsToOne) {
  Invoice* made = numbered(12);
  const char* copied[] = {"city",      "company",  "country", "county",  "currency",
                          "attention", "language", "note",    "ourRef",  "purchaseOrderNo",
                          "street",    "vatno",    "yourRef", "zipcode", "deliveryMethod"};
  for (const char* key : copied) made->setValueForKey(std::string("Own ") + key, key);
  for (const char* key : {"rounding", "vatfree", "vatOK", "days", "paidAmount", "localAmount",
                          "exchangeRate", "bookOnce"})
    made->setValueForKey(1, key);
  for (const char* key : {"date", "paidDate"}) made->setValueForKey(cetDate(2008, 1, 1), key);
  made->setTag(tag(7));
  made->setStatus(InvoiceStatus::Sent);
  line(made, 2, 10)->setNumber(2);
  line(made, 3, 20)->setNumber(1);
  made->setAllowance(rebate("10%"));
  made->createDeliveryAddress();
  made->deliveryAddress()->setName("Lager");

  const Invoice* copy = made->duplicate();
  for (const char* key : copied)
    EXPECT_EQ(copy->valueForKey(key), Value(std::string("Own ") + key));
  for (const char* key : {"number", "vatOK", "paidAmount", "localAmount", "exchangeRate",
                          "bookOnce", "paidDate", "dueDate", "creditDetails"})
    EXPECT_TRUE(copy->valueForKey(key).isNil()) << key;
  EXPECT_EQ(copy->get(Invoice::Slots::days), std::nullopt);
  EXPECT_EQ(copy->date(), world.clock->now());
  EXPECT_EQ(copy->rawStatus(), 0);
  EXPECT_EQ(copy->book(), book);
  EXPECT_EQ(copy->tag(), made->tag());
  EXPECT_TRUE(copy->vatfree() && copy->rounding());
  EXPECT_EQ(copy->totalAmount(), made->totalAmount());
  EXPECT_NE(copy->allowance(), made->allowance());
  const auto lines = copy->sortedInvoiceLines();
  ASSERT_EQ(lines.size(), 2U);
  EXPECT_EQ(lines[0]->price(), Decimal(20));
  EXPECT_NE(lines[0], made->sortedInvoiceLines()[0]);
  EXPECT_NE(copy->deliveryAddress(), made->deliveryAddress());
  EXPECT_EQ(copy->deliveryAddress()->name(), Text("Lager"));
  EXPECT_EQ(copy->deliveryAddress()->company(), Text("Own company"));
  passDefaultsDelay();
  EXPECT_EQ(copy->number(), 13);
  EXPECT_EQ(copy->ourRef(), Text("Own ourRef"));
}

TEST_F(InvoiceTest, HousekeepingKeepsWhatCarriesSomething) {
  Invoice* made = invoice();
  made->setYourRef("Anna");
  made->setStreet("Storgatan 1");
  made->createDeliveryAddress();
  const DeliveryAddress* former = made->deliveryAddress();
  EXPECT_EQ(former->name(), Text("Anna"));
  EXPECT_EQ(former->street(), Text("Storgatan 1"));
  made->createDeliveryAddress();
  EXPECT_NE(made->deliveryAddress(), former);
  EXPECT_FALSE(former->isDeleted());

  InvoiceLine* sold = line(made, 1, 1);
  InvoiceLine* text = line(made, 1, 1, std::nullopt);
  text->setComment("");
  InvoiceLine* figures = line(made, 1, 1, std::nullopt);
  made->removeEmptyLines();
  EXPECT_THAT(made->sortedInvoiceLines(), ElementsAre(sold, text));
  EXPECT_TRUE(figures->isDeleted());
}

}  // namespace
}  // namespace bokfolio::test
