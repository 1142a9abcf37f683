// Short lives of simulated firms, the cases that once went wrong, and whether the simulator would
// notice if something did.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>

#include "bokfolio/model/invoicing/invoice.hpp"
#include "bokfolio/model/ledger/starting_balance.hpp"
#include "bokfolio/model/ledger/tag.hpp"
#include "tests/simulation/replay.hpp"
#include "tests/simulation/work.hpp"

namespace bokfolio::simulation {
namespace {

class SimulatedFirm : public testing::TestWithParam<std::uint64_t> {};

TEST_P(SimulatedFirm, AgreesWithThePlainBook) {
  const Script script = generate(GetParam(), 500);
  const auto failure = liveApart(script);
  if (failure) ADD_FAILURE() << report(GetParam(), script, *failure);
}

INSTANTIATE_TEST_SUITE_P(Seeds, SimulatedFirm, testing::Range<std::uint64_t>(1, 21));

TEST(SimulationCases, Agree) {
  std::size_t cases = 0;
  const std::filesystem::path folder = BOKFOLIO_SOURCE_DIR "/tests/simulation/cases";
  for (const auto& file : std::filesystem::directory_iterator(folder)) {
    SCOPED_TRACE(file.path().filename().string());
    std::ifstream text(file.path());
    const auto failure = liveApart(parseScript({std::istreambuf_iterator<char>(text), {}}));
    EXPECT_FALSE(failure) << failure->reason;
    ++cases;
  }
  EXPECT_GT(cases, 0U);
}

TEST(Simulation, ScriptsAreTheSameAfterReading) {
  const Script script = generate(7, 300);
  EXPECT_EQ(parseScript(textOf(script)).steps, script.steps);
  EXPECT_THROW(parseScript("document memory\nfly\n"), Disagreement);
  EXPECT_THROW(parseScript("pay fish=1\n"), Disagreement);
}

TEST(Simulation, ShrinkingKeepsOnlyWhatFails) {
  const Script wanted = parseScript("undo\npay share=10\nsave reopened=1\n");
  Script script = generate(3, 200);
  script.steps.insert(script.steps.begin() + 40, wanted.steps[0]);
  script.steps.insert(script.steps.begin() + 90, {wanted.steps[1].operation, {7, 33, 1}});
  script.steps.insert(script.steps.begin() + 160, {wanted.steps[2].operation, {1}});
  const auto fails = [&](const Script& candidate) {
    std::size_t found = 0;
    for (const Step& step : candidate.steps)
      if (found < 3 && step.operation == wanted.steps[found].operation &&
          step[1] >= wanted.steps[found][1] && step[0] >= (found == 2 ? 1U : 0U))
        ++found;
    return found == 3;
  };
  EXPECT_EQ(shrink(script, fails).steps, wanted.steps);
}

// Something is changed behind the plain book's back.
struct Meddling {
  const char* what;
  void (*with)(Desk& desk, const PlainFirm& plain);
};

template <class T>
T* anyOf(Desk& desk, const char* condition) {
  T* found = desk.context().fetchFirst<T>(Predicate(condition));
  EXPECT_NE(found, nullptr) << condition;
  return found;
}

class NoticedMeddling : public testing::TestWithParam<Meddling> {};

TEST_P(NoticedMeddling, DoesNotPass) {
  Life life(false);
  const Script script = parseScript(
      "tag\naccount type=2\nyear which=1\ncompose account=3 amount=700 day=802 tag=1\nfile\n"
      "opening account=1 amount=40000\narticle price=10 accounts=1\ninvoice quantity=2 kind=4\n"
      "send\npay share=50\nfile\ntaginvoice\nbill amount=500\n");
  for (const Step& step : script.steps) life.take(step);
  auditLedger(life.desk(), life.plain());
  auditInvoicing(life.desk(), life.plain());
  GetParam().with(life.desk(), life.plain());
  EXPECT_THROW(life.finish(), Disagreement) << GetParam().what;
}

INSTANTIATE_TEST_SUITE_P(
    Faults, NoticedMeddling,
    testing::Values(Meddling{"an amount",
                             [](Desk& desk, const PlainFirm&) {
                               anyOf<Row>(desk, "debit > 0")->setDebit(Decimal(1));
                             }},
                    Meddling{"a lost row",
                             [](Desk& desk, const PlainFirm&) {
                               desk.context().deleteObject(anyOf<Row>(desk, "debit > 0"));
                             }},
                    Meddling{"the date of an entry",
                             [](Desk& desk, const PlainFirm&) {
                               auto* entry = anyOf<Entry>(desk, "fiscalYear != nil");
                               entry->setDate(entry->date()->addingSeconds(1));
                             }},
                    Meddling{"a gap in the numbers",
                             [](Desk& desk, const PlainFirm&) {
                               anyOf<Entry>(desk, "number == 1")->setNumber(9);
                             }},
                    Meddling{"the tag of a row",
                             [](Desk& desk, const PlainFirm&) {
                               anyOf<Row>(desk, "tag != nil")->setTag(nullptr);
                             }},
                    Meddling{"the type of an account",
                             [](Desk& desk, const PlainFirm& plain) {
                               desk.get<Account>(plain.roles[kSales])->setType(AccountType::Cost);
                             }},
                    Meddling{
                        "an opening",
                        [](Desk& desk, const PlainFirm&) {
                          anyOf<StartingBalance>(desk, "balance != nil")->setBalance(Decimal(3));
                        }},
                    Meddling{"what was paid",
                             [](Desk& desk, const PlainFirm&) {
                               anyOf<Invoice>(desk, "paidAmount != nil")->setPaidAmount(Decimal(2));
                             }},
                    Meddling{"an invoice's status",
                             [](Desk& desk, const PlainFirm&) {
                               anyOf<Invoice>(desk, "status == 7")->setStatus(InvoiceStatus::Paid);
                             }},
                    Meddling{"a year more", [](Desk& desk, const PlainFirm&) {
                               desk.context().insert<FiscalYear>();
                             }}));

TEST(Simulation, RefusesToPassWhatUndoOrRollbackLost) {
  for (const char* way : {"undo", "rollback", "abandon"}) {
    Life life(false);
    for (const Step& step : parseScript("save\ndump\naccount type=1\n").steps) life.take(step);
    life.take(parseScript(way).steps[0]);
    life.take(parseScript("dump").steps[0]);
    life.desk().get<Account>(life.plain().roles[kBank])->setName("Another");
    EXPECT_THROW(life.take(parseScript("dump").steps[0]), Disagreement) << way;
  }
}

}  // namespace
}  // namespace bokfolio::simulation
