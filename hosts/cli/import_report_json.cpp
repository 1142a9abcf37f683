#include "bokfolio/platform/date_text.hpp"
#include "import_report.hpp"
#include "lookup.hpp"

namespace bokfolio::cli {

namespace {

const char* wordOf(SieSkipReason reason) {
  switch (reason) {
    case SieSkipReason::Unbalanced:
      return "unbalanced";
    case SieSkipReason::NoRows:
      return "noRows";
    case SieSkipReason::OnlyZeroRows:
      return "onlyZeroRows";
    case SieSkipReason::NoYear:
      return "noYear";
    case SieSkipReason::SeveralYears:
      return "severalYears";
  }
  return "";
}

const char* wordOf(SieOpeningNote note) {
  switch (note) {
    case SieOpeningNote::OnResultAccount:
      return "onResultAccount";
    case SieOpeningNote::NoYear:
      return "noYear";
    case SieOpeningNote::Replaced:
      return "replaced";
  }
  return "";
}

const char* wordOf(SieKeptField field) {
  switch (field) {
    case SieKeptField::AccountName:
      return "accountName";
    case SieKeptField::AccountType:
      return "accountType";
    case SieKeptField::AccountTaxCode:
      return "accountTaxCode";
    case SieKeptField::TagName:
      return "tagName";
  }
  return "";
}

const char* wordOf(SieComparability comparability) {
  switch (comparability) {
    case SieComparability::Compared:
      return "compared";
    case SieComparability::NoVouchers:
      return "noVouchers";
    case SieComparability::NoYear:
      return "noYear";
  }
  return "";
}

template <class Range, class ToJson>
Json listOf(const Range& range, ToJson&& toItem) {
  Json list = Json::array();
  for (const auto& item : range) list.push_back(toItem(item));
  return list;
}

Json made(const SieImportReport& report) {
  Json json;
  json["years"] = listOf(report.years, [](const SieImportedYear& year) {
    return Json{{"name", year.name},
                {"first", isoDay(year.first)},
                {"last", isoDay(year.last)},
                {"made", year.made}};
  });
  json["accounts"] = {{"made", report.accountsMade}, {"there", report.accountsThere}};
  json["openingBalances"] = report.openingBalancesSet;
  json["tagDimension"] = report.tagDimension;
  json["tags"] = listOf(report.tags, [](const SieImportedTag& tag) {
    return Json{
        {"number", tag.number}, {"name", tag.name}, {"object", tag.object}, {"made", tag.made}};
  });
  json["entries"] = report.entriesFiled;
  json["rows"] = {{"made", report.rowsMade},
                  {"added", report.rowsAdded},
                  {"struck", report.rowsStruck},
                  {"tagged", report.rowsTagged}};
  return json;
}

Json leftOut(const SieImportReport& report) {
  Json json;
  json["vouchers"] = listOf(report.skippedVouchers, [](const SieSkippedVoucher& voucher) {
    return Json{{"line", voucher.line},         {"reason", wordOf(voucher.reason)},
                {"series", voucher.series},     {"number", voucher.number},
                {"date", isoDay(voucher.date)}, {"text", voucher.text},
                {"rows", voucher.rows},         {"difference", toJson(voucher.difference)}};
  });
  json["zeroRows"] = listOf(report.zeroRows, [](const SieZeroRow& row) {
    return Json{{"line", row.line}, {"account", row.account}};
  });
  return json;
}

Json remarks(const SieImportReport& report) {
  Json json;
  json["undeclaredAccounts"] = listOf(report.undeclaredAccounts, [](const auto& account) {
    return Json{
        {"line", account.line}, {"number", account.number}, {"type", typeWord(account.type)}};
  });
  json["keptValues"] = listOf(report.keptValues, [](const SieKeptValue& value) {
    return Json{{"line", value.line},
                {"field", wordOf(value.field)},
                {"number", value.number},
                {"kept", value.kept},
                {"inFile", value.inFile}};
  });
  json["openingBalances"] = listOf(report.openingRemarks, [](const SieOpeningRemark& remark) {
    return Json{{"line", remark.line},
                {"note", wordOf(remark.note)},
                {"year", remark.year},
                {"account", remark.account},
                {"amount", toJson(remark.amount)},
                {"former", toJson(remark.former)}};
  });
  return json;
}

Json withoutField(const SieFile& file, const SieWithoutField& counts) {
  Json json;
  json["series"] = listOf(counts.series, [](const SieSeriesCount& series) {
    return Json{{"series", series.series}, {"vouchers", series.vouchers}};
  });
  json["dimensions"] = listOf(counts.dimensions, [](const SieUnkeptDimension& dimension) {
    return Json{{"number", dimension.number},
                {"name", dimension.name},
                {"objects", dimension.objects},
                {"rowMarks", dimension.rowMarks}};
  });
  json["furtherObjects"] = counts.furtherObjects;
  json["rowTexts"] = counts.rowTexts;
  json["rowQuantities"] = counts.rowQuantities;
  json["rowDates"] = counts.rowDates;
  json["rowSignatures"] = counts.rowSignatures;
  json["voucherSignatures"] = counts.voucherSignatures;
  json["registrationDays"] = counts.registrationDays;
  json["balanceQuantities"] = counts.balanceQuantities;
  json["accountUnits"] = counts.accountUnits;
  json["periodBalances"] = file.notKept.periodBalances;
  json["periodBudgets"] = file.notKept.periodBudgets;
  json["objectBalances"] = file.notKept.objectOpeningBalances + file.notKept.objectClosingBalances;
  json["unknownLabels"] = listOf(file.notKept.unknownLabels, [](const SieUnknownLabel& label) {
    return Json{{"label", std::string(label.label)},
                {"count", label.count},
                {"firstLine", label.firstLine}};
  });
  return json;
}

Json comparison(const SieImportReport& report) {
  Json json;
  json["years"] = listOf(report.comparisons, [](const SieYearComparison& year) {
    return Json{{"year", year.year},
                {"comparability", wordOf(year.comparability)},
                {"closings", year.closings},
                {"results", year.results},
                {"differing", year.differing}};
  });
  json["differences"] = listOf(report.differences, [](const SieBalanceDifference& difference) {
    return Json{{"line", difference.line},
                {"statement", difference.statement == SieStatement::Closing ? "UB" : "RES"},
                {"year", difference.year},
                {"account", difference.account},
                {"stated", toJson(difference.stated)},
                {"computed", toJson(difference.computed)}};
  });
  return json;
}

}  // namespace

Json importJson(const std::string& path, const SieFile& file, const SieImportReport& report) {
  Json json;
  json["file"] = path;
  json["type"] = report.type;
  json["charset"] = std::string(sieCharsetName(file.charset));
  json["alreadyImported"] = report.alreadyImported;
  json["currency"] = report.fileCurrency;
  json["imported"] = made(report);
  json["leftOut"] = leftOut(report);
  json["remarks"] = remarks(report);
  json["readerRemarks"] = listOf(file.remarks, [](const SieRemark& remark) {
    return Json{{"line", remark.line}, {"kind", static_cast<int>(remark.kind)}};
  });
  json["notKept"] = withoutField(file, report.withoutField);
  json["comparison"] = comparison(report);
  return json;
}

}  // namespace bokfolio::cli
