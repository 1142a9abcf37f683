#include "bokfolio/interchange/sie/sie_importer.hpp"

#include <gmock/gmock.h>

#include <algorithm>

#include "bokfolio/platform/calendar.hpp"
#include "tests/interchange/sie/import_world.hpp"

namespace bokfolio::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class SieImporter : public ImportWorld {};

constexpr std::string_view kShop = R"sie(#FLAGGA 0
#SIETYP 4
#VALUTA SEK
#RAR 0 20090701 20100630
#RAR -1 20080701 20090630
#KONTO 1910 "Kassa"
#SRU 1910 7281
#KONTO 2440 "Skulder"
#KTYP 2440 S
#KONTO 3010 "Sales"
#KTYP 3010 I
#KONTO 8310 "Interest"
#KTYP 8310 I
#ENHET 3010 st
#DIM 1 "Department"
#DIM 6 "Project"
#OBJEKT 1 "0012" "Shop"
#OBJEKT 1 "Syd" "South"
#OBJEKT 6 "7" "Boat"
#IB 0 1910 1000
#IB 0 2440 -1000.00 5
#IB -1 1910 0
#UB 0 1910 1400.50
#UB 0 2440 -1000
#UB -1 1910 1000
#RES 0 3010 -400
#RES -1 3010 -250
#VER B 7 20090701 "First day" 20090702 AB
{
#TRANS 1910 {1 "0012" 6 "7"} 400.50 20090702 "Till" 2 CD
#BTRANS 3010 {} -500.50 "" "" 1 CD
#RTRANS 3010 {1 "Syd" 1 "0012"} -400
#TRANS 3010 {1 "Syd" 1 "0012"} -400
#TRANS 8310 {} -0.50
#TRANS 1910 {} 0
}
#VER A "" 20100630 "Last day"
{
#TRANS 1910 {} 100
#TRANS 4010 {} -100
}
)sie";

TEST_F(SieImporter, TakesAFileIntoTheLedger) {
  Entry* working = entry(cetDate(2009, 5, 1), "Being composed");
  working->setNumber(Entry::kNewEntryNumber);
  Entry* waiting = entry(cetDate(2009, 8, 1), "Waits for its number");
  const SieImportReport report = import(kShop);

  EXPECT_THAT(journal(),
              ElementsAre("2009/2010 #1 2009-07-01 [B 7] First day: 1910 400.5 t12, "
                          "3010 -500.5 struck by Anna Andersson, 3010 -400 t13, 8310 -0.5",
                          "2009/2010 #2 2010-06-30 [A] Last day: 1910 100, 4010 -100"));
  EXPECT_EQ(*context().fetchFirst<Entry>(Predicate("name == 'First day'"))->date(),
            cetDate(2009, 7, 1, 12));
  const Row* struck = context().fetchFirst<Row>(Predicate("status == 1"));
  EXPECT_EQ(*struck->when(), world.environment.now());
  EXPECT_EQ(working->number(), Entry::kNewEntryNumber);
  EXPECT_EQ(working->name(), "Being composed");
  EXPECT_TRUE(waiting->fiscalYear() == nullptr && !waiting->number());

  EXPECT_EQ(report.accountsMade, 5U);
  ASSERT_EQ(report.undeclaredAccounts.size(), 1U);
  EXPECT_EQ(report.undeclaredAccounts[0].number, 4010);
  EXPECT_EQ(accountNumbered(1910)->name(), "Kassa");
  EXPECT_EQ(accountNumbered(1910)->taxCode(), "7281");
  EXPECT_EQ(accountNumbered(4010)->name(), std::nullopt);
  EXPECT_EQ(report.openingBalancesSet, 2U);
  EXPECT_EQ(report.openingBalancesZero, 1U);
  EXPECT_EQ(report.entriesFiled, 2U);
  EXPECT_EQ(report.rowsMade, 5U);
  EXPECT_EQ(report.rowsAdded, 1U);
  EXPECT_EQ(report.rowsStruck, 1U);
  EXPECT_EQ(report.rowsTagged, 2U);
  EXPECT_EQ(report.vouchersWithoutNumber, 1U);
  ASSERT_EQ(report.zeroRows.size(), 1U);
  EXPECT_EQ(report.zeroRows[0].line, 35U);
  expectSound();
}

TEST_F(SieImporter, ComparesWithWhatTheFileStatesAndCountsWhatHasNoField) {
  const SieImportReport report = import(kShop);
  std::vector<std::string> differences;
  for (const SieBalanceDifference& each : report.differences)
    differences.push_back(std::to_string(each.account) + " " +
                          (each.stated ? each.stated->toString() : "nil") + " " +
                          each.computed.toString() + " line " + std::to_string(each.line));
  EXPECT_THAT(differences, ElementsAre("1910 1400.5 1500.5 line 23", "4010 nil -100 line 0",
                                       "8310 nil -0.5 line 0"));
  ASSERT_EQ(report.comparisons.size(), 2U);
  EXPECT_EQ(report.comparisons[0].differing, 3U);
  EXPECT_EQ(report.comparisons[0].closings, 2U);
  EXPECT_EQ(report.comparisons[1].year, -1);
  EXPECT_EQ(report.comparisons[1].comparability, SieComparability::NoVouchers);

  const SieWithoutField& lost = report.withoutField;
  ASSERT_EQ(lost.series.size(), 2U);
  EXPECT_EQ(lost.series[1].series, "B");
  EXPECT_EQ(lost.series[1].vouchers, 1U);
  ASSERT_EQ(lost.dimensions.size(), 1U);
  EXPECT_EQ(lost.dimensions[0].number, 6);
  EXPECT_EQ(lost.dimensions[0].name, "Project");
  EXPECT_EQ(lost.dimensions[0].rowMarks, 1U);
  EXPECT_EQ(lost.furtherObjects, 1U);
  EXPECT_EQ(lost.rowTexts, 1U);
  EXPECT_EQ(lost.rowQuantities, 2U);
  EXPECT_EQ(lost.rowDates, 1U);
  EXPECT_EQ(lost.rowSignatures, 2U);
  EXPECT_EQ(lost.voucherSignatures, 1U);
  EXPECT_EQ(lost.registrationDays, 1U);
  EXPECT_EQ(lost.balanceQuantities, 1U);
  EXPECT_EQ(lost.accountUnits, 1U);

  std::string summary(kShop);
  summary.replace(summary.find("#SIETYP 4"), 9, "#SIETYP 1");
  summary.resize(summary.find("#VER"));
  const SieImportReport balances = import(summary);
  EXPECT_EQ(balances.comparisons[0].comparability, SieComparability::NoVouchers);
  EXPECT_THAT(balances.differences, IsEmpty());
}

TEST_F(SieImporter, AddsToWhatIsThere) {
  import(kShop);
  accountNumbered(1910)->setName("Till");
  accountNumbered(1910)->setType(AccountType::Equity);
  accountNumbered(2440)->setType(std::nullopt);
  accountNumbered(2440)->setName(std::nullopt);
  accountNumbered(1910)->startingBalances().first()->setValueForKey(Decimal(7), "balance");
  saveAndReopen();
  const SieImportReport again = import(kShop);
  EXPECT_EQ(again.accountsMade, 0U);
  EXPECT_EQ(again.accountsThere, 4U);
  EXPECT_EQ(accountNumbered(1910)->name(), "Till");
  EXPECT_EQ(accountNumbered(1910)->type(), 4);
  EXPECT_EQ(accountNumbered(2440)->type(), 1);
  EXPECT_EQ(accountNumbered(2440)->name(), "Skulder");
  ASSERT_EQ(again.keptValues.size(), 1U);
  EXPECT_EQ(again.keptValues[0].kept + again.keptValues[0].inFile, "TillKassa");
  ASSERT_EQ(again.openingRemarks.size(), 1U);
  EXPECT_EQ(again.openingRemarks[0].note, SieOpeningNote::Replaced);
  EXPECT_EQ(again.openingRemarks[0].former, Decimal(7));
  EXPECT_EQ(context().count("StartingBalance"), 2U);
  EXPECT_EQ(context().count("FiscalYear"), 2U);
  EXPECT_EQ(context().count("Tag"), 2U);
  EXPECT_EQ(yearNamed("2009/2010")->highestEntryNumber(), 4);
  EXPECT_EQ(balance(1910, yearNamed("2009/2010")), dec("2001"));
  expectSound();
}

// Without #KTYP.
TEST_F(SieImporter, TakesTheTypeFromTheFirstDigit) {
  import(
      "#FLAGGA 0\n#KONTO 1 A\n#KONTO 2999 B\n#KONTO 30 C\n#KONTO 45000 D\n#KONTO 8999 E\n"
      "#KONTO 9 F\n");
  std::vector<std::int64_t> types;
  for (const Account* each : context().fetch<Account>()) types.push_back(*each->type());
  EXPECT_THAT(types, ElementsAre(0, 1, 2, 3, 3, 3));
}

TEST_F(SieImporter, LeavesVouchersOutAndSaysWhy) {
  year(2010);
  Entry* before = transfer(cetDate(2010, 2, 1, 12), 5, account(1000), account(2000));
  ASSERT_TRUE(before->fileMe());
  // Overlaps 2010, by hand of somebody else.
  auto* second = context().insert<FiscalYear>();
  second->setStart(cetDate(2010, 12, 1));
  second->setEnd(cetDate(2010, 12, 31));
  second->setName("December");
  const SieImportReport report = import(R"sie(#FLAGGA 0
#RAR 0 20090101 20091231
#VER A 1 20090105 "Öre too much"
{
#TRANS 1000 {} 10.01
#TRANS 2000 {} -10
#BTRANS 2000 {} -0.01
}
#VER A 2 20090105 Empty
{
}
#VER A 3 20090105 Zeros
{
#TRANS 1000 {} 0.00
}
#VER A 4 20081231 "No year"
{
#TRANS 1000 {} 1
#TRANS 2000 {} -1
}
#VER A 5 20101201 "Two years"
{
#TRANS 1000 {} 1
#TRANS 2000 {} -1
}
#VER A 6 20100105 "A year of the document"
{
#TRANS 1000 {} 1
#TRANS 2000 {} -1
}
)sie");
  std::vector<std::string> skipped;
  for (const SieSkippedVoucher& each : report.skippedVouchers)
    skipped.push_back(each.series + each.number + " " +
                      std::to_string(static_cast<int>(each.reason)) + " " +
                      each.difference.toString() + " line " + std::to_string(each.line));
  EXPECT_THAT(skipped, ElementsAre("A1 0 0.01 line 3", "A2 1 0 line 9", "A3 2 0 line 12",
                                   "A4 3 0 line 16", "A5 4 0 line 21"));
  EXPECT_EQ(journal().back(), "2010 #2 2010-01-05 [A 6] A year of the document: 1000 1, 2000 -1");
  EXPECT_EQ(context().count("Entry"), 2U);
  ASSERT_EQ(report.years.size(), 2U);
  EXPECT_EQ(report.years[1].name, "2010");
  EXPECT_FALSE(report.years[1].made || report.years[1].number);
}

TEST_F(SieImporter, MatchesYearsByTheirDays) {
  year(2009);
  const SieImportReport report = import(
      "#FLAGGA 0\n#RAR 0 20090101 20091231\n#RAR -1 20080701 20081231\n#RAR -2 20070701 "
      "20080630\n");
  std::vector<std::string> years;
  for (const SieImportedYear& each : report.years)
    years.push_back(std::to_string(*each.number) + " " + each.name + (each.made ? " made" : ""));
  EXPECT_THAT(years, ElementsAre("0 2009", "-1 2008 made", "-2 2007/2008 made"));
  EXPECT_EQ(*yearNamed("2008")->start(), cetDate(2008, 7, 1));
  EXPECT_EQ(*yearNamed("2008")->end(), cetDate(2008, 12, 31, 23, 59, 58));
  // Read back with the bounds just stored.
  EXPECT_FALSE(import("#FLAGGA 0\n#RAR 0 20080701 20081231\n").years[0].made);
}

TEST_F(SieImporter, RefusesBeforeItChangesAnything) {
  year(2009);
  saveAndReopen();
  const auto before = dump(context());
  constexpr int kConflictingYear = static_cast<int>(InterchangeErrorCode::ConflictingYear);
  constexpr int kConflictingRecords = static_cast<int>(InterchangeErrorCode::ConflictingRecords);
  const std::pair<std::string_view, int> cases[] = {
      {"#FLAGGA 0\n#KONTO 1 A\n#RAR 0 20090701 20100630\n", kConflictingYear},
      {"#FLAGGA 0\n#KONTO 1 A\n#RAR 0 20081201 20090102\n", kConflictingYear},
      {"#FLAGGA 0\n#RAR -1 20100101 20101231\n#RAR 0 20101231 20111230\n", kConflictingRecords},
      {"#FLAGGA 0\n#IB 0 1 5\n#IB 0 1 6\n", kConflictingRecords},
  };
  for (const auto& [text, code] : cases)
    EXPECT_EQ(refusal(text), "3: " + std::to_string(code)) << text;
  EXPECT_EQ(dump(context()), before);
}

TEST_F(SieImporter, TakesTheCalendarYearWhereTheFileStatesNone) {
  const std::string oneYear =
      "#FLAGGA 0\n#KONTO 1 A\n#IB 0 1 50\n#UB 0 1 51\n#VER A 1 20070310 x\n{\n#TRANS 1 {} "
      "1\n#TRANS "
      "2 {} -1\n}\n";
  const SieImportReport one = import(oneYear);
  EXPECT_EQ(balance(1, yearNamed("2007")), Decimal(51));
  EXPECT_EQ(one.openingBalancesSet, 1U);
  EXPECT_TRUE(one.years.at(0).made);
  EXPECT_EQ(one.comparisons[0].comparability, SieComparability::Compared);
  // Year 0 could be either of two.
  const SieImportReport two =
      import(oneYear + "#VER A 2 20080310 x\n{\n#TRANS 1 {} 1\n#TRANS 2 {} -1\n}\n");
  ASSERT_EQ(two.openingRemarks.size(), 1U);
  EXPECT_EQ(two.openingRemarks[0].note, SieOpeningNote::NoYear);
  EXPECT_EQ(two.comparisons[0].comparability, SieComparability::NoYear);
  EXPECT_EQ(two.years.size(), 2U);
  EXPECT_EQ(yearNamed("2008")->highestEntryNumber(), 1);
}

TEST_F(SieImporter, KeepsOpeningBalancesOffResultAccounts) {
  const SieImportReport report = import("#FLAGGA 0\n#RAR 0 20090101 20091231\n#IB 0 3010 -5\n");
  ASSERT_EQ(report.openingRemarks.size(), 1U);
  EXPECT_EQ(report.openingRemarks[0].note, SieOpeningNote::OnResultAccount);
  EXPECT_EQ(report.openingRemarks[0].amount, Decimal(-5));
  EXPECT_EQ(context().count("StartingBalance"), 0U);
}

std::string objects(const std::vector<std::string>& declared, const std::string& inRows) {
  std::string text = "#FLAGGA 0\n#RAR 0 20090101 20091231\n";
  for (const std::string& each : declared) text += "#OBJEKT " + each + "\n";
  return text + "#VER A 1 20090105 x\n{\n#TRANS 1 {" + inRows + "} 1\n#TRANS 2 {} -1\n}\n";
}

TEST_F(SieImporter, ChoosesTheDimensionThatBecomesTags) {
  const struct {
    std::vector<std::string> declared;
    std::string inRows;
    std::optional<int> asked;
    int chosen;
  } cases[] = {
      {{"6 1 A"}, "9 5", {}, 9},       {{"6 1 A", "1 1 B"}, "9 5 6 1", {}, 6},
      {{"8 1 A", "6 1 A"}, "", {}, 6}, {{"8 1 A", "7 1 A", "1 1 B"}, "", {}, 1},
      {{"8 1 A", "7 1 A"}, "", {}, 7}, {{}, "", {}, 0},
      {{"1 1 A"}, "1 1", 0, 0},        {{"1 1 A"}, "1 1", 6, 6},
  };
  for (const auto& each : cases) {
    SieImportOptions options;
    options.tagDimension = each.asked;
    const SieImportReport report = import(objects(each.declared, each.inRows), options);
    EXPECT_EQ(report.tagDimension, each.chosen) << each.inRows;
    EXPECT_EQ(report.rowsTagged, each.inRows.empty() || each.asked ? 0U : 1U) << each.inRows;
  }
}

TEST_F(SieImporter, GivesObjectsWithoutANumberOneThatIsFree) {
  Tag* own = tag(40);
  own->setName("Own");
  const std::string text = objects({R"(1 "Syd" "South")", R"(1 "12" "")", R"(1 "0012" "Twelve")",
                                    R"(1 "40" "Forty")", R"(1 "1234567890" "")"},
                                   R"(1 "Öst")");
  const auto tags = [](const SieImportReport& report) {
    std::vector<std::string> all;
    for (const SieImportedTag& each : report.tags)
      all.push_back(each.object + "=" + std::to_string(each.number) + " " + each.name);
    return all;
  };
  const auto first = tags(import(text));
  EXPECT_THAT(first, ElementsAre("12=12 ", "40=40 Own", "Syd=41 Syd South", "0012=42 0012 Twelve",
                                 "1234567890=43 1234567890", "Öst=44 Öst"));
  const SieImportReport again = import(text);
  EXPECT_EQ(tags(again), first);
  EXPECT_TRUE(std::none_of(again.tags.begin(), again.tags.end(), [](auto& t) { return t.made; }));
  ASSERT_EQ(again.keptValues.size(), 1U);
  EXPECT_EQ(again.keptValues[0].field, SieKeptField::TagName);
}

TEST_F(SieImporter, TellsHowFarItIs) {
  std::string text = "#FLAGGA 0\n#RAR 0 20090101 20091231\n";
  for (int i = 0; i < 3000; ++i)
    text += "#VER A 1 20090105 x\n{\n#TRANS 1 {} 1\n#TRANS 2 {} -1\n}\n";
  std::vector<std::size_t> told;
  SieImportOptions options;
  options.progress = [&](std::size_t done, std::size_t inAll) {
    EXPECT_EQ(inAll, 6000U);
    told.push_back(done);
  };
  import(text, options);
  EXPECT_THAT(told, ElementsAre(0U, 2000U, 4000U, 6000U));
}

// Rows are numbered by account then, also when they are not attached one by one.
TEST_F(SieImporter, HonoursTheOrderOfRowsThatTheUserPrefers) {
  world.preferences->setBool(kSortRowsByAccount, true);
  import(
      "#FLAGGA 0\n#RAR 0 20090101 20091231\n#VER A 1 20090105 x\n{\n#TRANS 3 {} 1\n"
      "#TRANS 2 {} 2\n#TRANS 1 {} -4\n#TRANS 2 {} 1\n}\n");
  world.preferences->setBool(kSortRowsByAccount, false);
  EXPECT_EQ(journal().front(), "2009 #1 2009-01-05 [A 1] x: 1 -4, 2 2, 2 1, 3 1");
}

// A document in which every entry needs comments: the second voucher has none to give.
class SieImporterRefused : public ImportWorld {
 protected:
  SieImporterRefused() : ImportWorld(strictModel()) {}
  static Model strictModel() {
    Model model = standardModel();
    model.entity("Entry")->property("comments")->required = true;
    return model;
  }
};

TEST_F(SieImporterRefused, ARollbackUndoesAnImportThatFailsHalfWay) {
  account(1910)->setName("Till");
  ASSERT_TRUE(context().save());
  const auto before = dump(context());
  std::string text(kShop);
  text.replace(text.find("A \"\""), 4, "\"\" \"\"");
  std::optional<Error> error;
  EXPECT_FALSE(tryImport(read(text), &error));
  ASSERT_TRUE(error);
  EXPECT_EQ(error->domain(), kStoreErrorDomain);
  EXPECT_EQ(error->text(kLineErrorKey), "37");
  EXPECT_EQ(context().count("Entry"), 2U);
  context().rollback();
  EXPECT_EQ(dump(context()), before);
  expectSound();
}

}  // namespace
}  // namespace bokfolio::test
