#include "bokfolio/interchange/sie/sie_reader.hpp"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "bokfolio/interchange/sie/internal/checksum.hpp"

namespace bokfolio {
namespace {

constexpr std::string_view kSample = R"sie(#FLAGGA 1
#PROGRAM "The \"Books\"" 1.2
#FORMAT PC8
#GEN 20110304 AB
#SIETYP 4E
#FNAMN "Båtbyggarna AB"
#ADRESS "A" "B" "C" "D"
#RAR 0 20110101 20111231
#RAR -1 20100101 20101231
#KONTO 1910 Kassa
#KTYP 1910 T
#SRU 1910 7281
#SRU 1910 7282
#KONTO 3010 "Försäljning"
#KTYP 3010 I
#KTYP 2440 S
#KTYP 4010 K
#KTYP 9999 Z
#ENHET 4010 st
#KONTO 1910 Kassan
#DIM 1 Avdelning
#UNDERDIM 21 Grupp 1
#OBJEKT 1 "Nord" "Norra \"salen\""
#IB 0 1910 100.50
#IB -1 1910 50 3
#UB 0 1910 200.50 x
#RES 0 3010 -100.00
#PSALDO 0 201101 1910 {} 5
#PBUDGET 0 201101 1910 {} 5
#OIB 0 1910 {1 "Nord"} 5
#OUB 0 1910 {1 "Nord"} 5
#NYTT 1 2
{
#TRANS in something unknown
{
}
}
#VER A 7 20110105 "Sale" 20110106 CD extra
{
   #TRANS 1910 {1 "Nord" 21 "" 6 "15"} 60 20110104 "note" 2 EF
   #NYTT 3
   #BTRANS 1910 {} 999
   #RTRANS 1910 {} 40.00
   #RTRANS 1910 {} 40
   #RTRANS 3010 {1 "Nord"} -50
   #TRANS 1910 {} 40.0 "" "said again"
   #TRANS 1910 {} 40
   #TRANS 3010 {} -50 bad
   #TRANS 3010 {""} -40
}
#VER "" "" 20111231 {
}
#VER B 1 20110601
)sie";

std::optional<SieFile> read(std::string_view text, const SieReadOptions& options = {}) {
  std::optional<Error> error;
  auto file = readSie(text, options, &error);
  EXPECT_TRUE(file) << error->localizedDescription();
  return file;
}

TEST(SieReader, ReadsCompanyAccountsAndBalances) {
  const auto file = read(kSample);
  ASSERT_TRUE(file);
  EXPECT_EQ(file->header.type, 4);
  EXPECT_TRUE(file->header.alreadyImported);
  EXPECT_EQ(file->header.program, "The \"Books\"");
  EXPECT_EQ(file->header.programVersion, "1.2");
  EXPECT_EQ(file->header.generated, (CivilDate{2011, 3, 4}));
  EXPECT_EQ(file->header.generatedBy, "AB");
  EXPECT_EQ(file->header.companyName, "Båtbyggarna AB");
  EXPECT_EQ(file->header.telephone, "D");
  ASSERT_NE(file->year(-1), nullptr);
  EXPECT_EQ(file->year(-1)->last, (CivilDate{2010, 12, 31}));
  EXPECT_EQ(file->year(1), nullptr);

  ASSERT_EQ(file->accounts.size(), 4U);
  const SieAccount& cash = file->accounts[0];
  EXPECT_EQ(cash.name, "Kassa");
  EXPECT_EQ(cash.type, SieAccountType::Asset);
  EXPECT_EQ(cash.taxCode, "7281");
  EXPECT_EQ(cash.line, 10U);
  EXPECT_EQ(file->accounts[1].type, SieAccountType::Income);
  EXPECT_EQ(file->accounts[2].type, SieAccountType::Debt);
  EXPECT_FALSE(file->accounts[2].declared);
  EXPECT_EQ(file->accounts[3].type, SieAccountType::Cost);
  EXPECT_EQ(file->accounts[3].unit, "st");

  ASSERT_EQ(file->openingBalances.size(), 2U);
  EXPECT_EQ(file->openingBalances[1].year, -1);
  EXPECT_EQ(file->openingBalances[1].quantity, Decimal(3));
  EXPECT_EQ(file->closingBalances[0].amount, *Decimal::parse("200.5"));
  EXPECT_FALSE(file->closingBalances[0].quantity);
  EXPECT_EQ(file->results[0].amount, Decimal(-100));
  EXPECT_EQ(file->dimensions[1].parent, 1);
  EXPECT_EQ(file->objects[0].name, "Norra \"salen\"");
}

TEST(SieReader, ReadsVouchersAndCountsAddedRowsOnce) {
  const auto file = read(kSample);
  ASSERT_TRUE(file);
  ASSERT_EQ(file->vouchers.size(), 3U);
  const SieVoucher& sale = file->vouchers[0];
  EXPECT_EQ(sale.series, "A");
  EXPECT_EQ(sale.number, "7");
  EXPECT_EQ(sale.date, (CivilDate{2011, 1, 5}));
  EXPECT_EQ(sale.registered, (CivilDate{2011, 1, 6}));
  EXPECT_EQ(sale.sign, "CD");
  EXPECT_EQ(sale.line, 38U);

  const auto rows = file->rowsOf(sale);
  const struct {
    int account;
    int amount;
    SieRowKind kind;
    std::uint32_t line;
  } expected[] = {{1910, 60, SieRowKind::Ordinary, 40}, {1910, 999, SieRowKind::Removed, 42},
                  {1910, 40, SieRowKind::Added, 46},    {1910, 40, SieRowKind::Added, 47},
                  {3010, -50, SieRowKind::Added, 45},   {3010, -50, SieRowKind::Ordinary, 48},
                  {3010, -40, SieRowKind::Ordinary, 49}};
  ASSERT_EQ(rows.size(), std::size(expected));
  for (std::size_t i = 0; i < rows.size(); ++i) {
    EXPECT_EQ(rows[i].account, expected[i].account) << i;
    EXPECT_EQ(rows[i].amount, Decimal(expected[i].amount)) << i;
    EXPECT_EQ(rows[i].kind, expected[i].kind) << i;
    EXPECT_EQ(rows[i].line, expected[i].line) << i;
  }
  EXPECT_EQ(rows[0].date, (CivilDate{2011, 1, 4}));
  EXPECT_EQ(rows[0].text, "note");
  EXPECT_EQ(rows[0].quantity, Decimal(2));
  EXPECT_EQ(rows[0].sign, "EF");
  EXPECT_EQ(rows[2].text, "said again");
  const auto objects = file->objectsOf(rows[0]);
  ASSERT_EQ(objects.size(), 2U);
  EXPECT_EQ(objects[1], (SieObjectRef{6, "15"}));
  EXPECT_EQ(file->objectsOf(rows[4]).size(), 1U);
  EXPECT_TRUE(file->difference(sale).isZero());
  EXPECT_TRUE(file->rowsOf(file->vouchers[1]).empty());
  EXPECT_TRUE(file->rowsOf(file->vouchers[2]).empty());
}

TEST(SieReader, CountsWhatItDoesNotKeep) {
  SieReadOptions options;
  options.maxRemarks = 2;
  options.maxUnknownLabels = 1;
  std::string text(kSample);
  text.append("#NYARE\n#NYAST\n");
  auto file = read(text, options);
  ASSERT_TRUE(file);
  const SieFile copy = *file;
  file.reset();
  EXPECT_EQ(copy.notKept.periodBalances, 1U);
  EXPECT_EQ(copy.notKept.periodBudgets, 1U);
  EXPECT_EQ(copy.notKept.objectOpeningBalances, 1U);
  EXPECT_EQ(copy.notKept.objectClosingBalances, 1U);
  ASSERT_EQ(copy.notKept.unknownLabels.size(), 2U);
  EXPECT_EQ(copy.notKept.unknownLabels[0].label, "#NYTT");
  EXPECT_EQ(copy.notKept.unknownLabels[0].count, 2U);
  EXPECT_EQ(copy.notKept.unknownLabels[0].linesInBraces, 1U);
  EXPECT_EQ(copy.notKept.unknownLabels[0].firstLine, 32U);
  EXPECT_EQ(copy.notKept.unknownLabels[1].label, "");
  EXPECT_EQ(copy.notKept.unknownLabels[1].count, 2U);
  EXPECT_EQ(copy.count(SieRemarkKind::FurtherTaxCode), 1U);
  EXPECT_EQ(copy.count(SieRemarkKind::UnknownAccountType), 1U);
  EXPECT_EQ(copy.count(SieRemarkKind::RepeatedAccount), 1U);
  EXPECT_EQ(copy.count(SieRemarkKind::UnreadableOptional), 2U);
  EXPECT_EQ(copy.count(SieRemarkKind::ExtraFields), 1U);
  EXPECT_EQ(copy.count(SieRemarkKind::AddedRowAlone), 1U);
  ASSERT_EQ(copy.remarks.size(), 2U);
  EXPECT_EQ(copy.remarks[0].line, 13U);
}

TEST(SieReader, WithoutTypeTheVouchersDecide) {
  EXPECT_EQ(read("#FLAGGA 0\n")->header.type, 1);
  EXPECT_EQ(read("#FLAGGA 0\n#VER A 1 20110101\n{\n}\n")->header.type, 4);
}

TEST(SieReader, RefusesWhatBreaksTheFormat) {
  using Code = InterchangeErrorCode;
  using namespace std::string_view_literals;
  const struct {
    std::string_view text;
    Code code;
    const char* line;
    const char* found = "";
  } cases[] = {
      {"", Code::NotThisFormat, ""},
      {" \r\n\t", Code::NotThisFormat, ""},
      {"#OTHER 1\n", Code::NotThisFormat, ""},
      {"\xFF\xFE#\0F\0"sv, Code::NotThisFormat, ""},
      {"<?xml version=\"1.0\"?>", Code::NotThisFormat, ""},
      {"date;account\n", Code::NotThisFormat, "1", "date;account"},
      {"#FLAGGA 0\n\nlost text\n", Code::MalformedLine, "3", "lost text"},
      {"#SIETYP 5\n", Code::UnsupportedType, "1", "5"},
      {"#FNAMN \"A\r#KONTO 1 B\r", Code::MalformedField, "1", "#FNAMN \"A"},
      {"#FNAMN \"The \"Bar\" AB\"\n", Code::MalformedField, "1", "#FNAMN \"The \"Bar\" AB\""},
      {"#KONTO 1910 {a\n", Code::MalformedField, "1", "#KONTO 1910 {a"},
      {"#IB 0 1910\n", Code::MissingField, "1", "#IB"},
      {"#KONTO 10A0 x\n", Code::MalformedNumber, "1", "10A0"},
      {"#KONTO 0 x\n", Code::MalformedNumber, "1", "0"},
      {"#IB 1000 1910 5\n", Code::MalformedNumber, "1", "1000"},
      {"#UB 0 1910 1,5\n", Code::MalformedAmount, "1", "1,5"},
      {"#RAR 0 20110101 20110231\n", Code::MalformedDate, "1", "20110231"},
      {"#RAR 0 20110102 20110101\n", Code::MalformedDate, "1", "20110101"},
      {"#RAR 0 20110101 20111231\n#RAR 0 20110101 20111130\n", Code::ConflictingRecords, "2", "0"},
      {"#VER A 1 \"\" text\n", Code::MalformedDate, "1"},
      {"#VER A 1 20110101\n{\n#TRANS 1910 {} \"\"\n}\n", Code::MalformedAmount, "3"},
      {"#VER A 1 20110101\n{\n#TRANS 1910 {1} 5\n}\n", Code::MalformedField, "3"},
      {"#VER A 1 20110101\n{\n#TRANS {} 1910 5\n}\n", Code::MalformedField, "3"},
      {"#VER A 1 20110101\n{\n#TRANS 1910 {x 1} 5\n}\n", Code::MalformedNumber, "3", "x"},
      {"#VER A 1 20110101\n#TRANS 1910 {} 5\n", Code::MisplacedRecord, "2", "#TRANS"},
      {"#VER A 1 20110101\n{\n#KONTO 1910\n}\n", Code::MisplacedRecord, "3", "#KONTO"},
      {"#FLAGGA 0\n{\n}\n", Code::MisplacedRecord, "2", "{"},
      {"#VER A 1 20110101\n#NYTT\n{\n}\n}\n", Code::MisplacedRecord, "5", "}"},
      {"#VER A 1 20110101\n{\n#VER A 2 20110101\n{\n}\n", Code::UnclosedVoucher, "3", "#VER"},
      {"\n#VER A 1 20110101\n{\n#TRANS 1910 {} 5\n", Code::UnclosedVoucher, "2"},
      {"#FLAGGA 0\n#NYTT\n{\n", Code::UnclosedVoucher, "2"},
      {"#KSUMMA\n#FLAGGA 0\n#KSUMMA 17\n", Code::ChecksumMismatch, "3", "17"},
      {"#FLAGGA 0\n#KSUMMA\n#FNAMN x\n", Code::ChecksumMissing, "2"},
  };
  for (const auto& [text, code, line, found] : cases) {
    SCOPED_TRACE(text);
    std::optional<Error> error;
    EXPECT_FALSE(readSie(text, &error));
    ASSERT_TRUE(error);
    EXPECT_EQ(error->domain(), kInterchangeErrorDomain);
    EXPECT_EQ(error->code(), static_cast<int>(code)) << error->localizedDescription();
    EXPECT_EQ(error->text(kLineErrorKey), line) << error->localizedDescription();
    EXPECT_EQ(error->text(kFoundTextErrorKey), found);
    EXPECT_FALSE(readSie(text));
  }
}

TEST(SieReader, HoldsItsLimits) {
  const std::string text =
      "#FLAGGA 0\n#KONTO 1 a\n#VER A 1 20110101\n{\n#TRANS 1 {} 0\n#TRANS 1 {} 0\n}\n";
  SieReadOptions options;
  options.maxBytes = text.size();
  options.maxLineLength = 17;
  options.maxRecords = 4;
  EXPECT_TRUE(readSie(text, options));
  for (const auto limit :
       {&SieReadOptions::maxBytes, &SieReadOptions::maxLineLength, &SieReadOptions::maxRecords}) {
    SieReadOptions tighter = options;
    --(tighter.*limit);
    std::optional<Error> error;
    EXPECT_FALSE(readSie(text, tighter, &error));
    ASSERT_TRUE(error);
    EXPECT_EQ(error->code(), static_cast<int>(InterchangeErrorCode::TooLarge));
  }
}

TEST(SieReader, ReadsAFileWithAWrongChecksumWhenTold) {
  SieReadOptions options;
  options.acceptWrongChecksum = true;
  EXPECT_EQ(read("#KSUMMA\n#FLAGGA 0\n#KSUMMA 1", options)->checksum, SieChecksum::Wrong);
  EXPECT_EQ(read("#KSUMMA\n#FLAGGA 0\n", options)->checksum, SieChecksum::Missing);
  const std::uint32_t right = sie_internal::crc32("#FNAMN\x86");
  const std::string text = "#KSUMMA\n#FNAMN \"\x86\"\n#KSUMMA " + std::to_string(right) + "\r\n";
  EXPECT_EQ(read(text)->checksum, SieChecksum::Verified);
}

}  // namespace
}  // namespace bokfolio
