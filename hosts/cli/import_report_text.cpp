#include <utility>

#include "bokfolio/platform/date_text.hpp"
#include "import_report.hpp"
#include "lookup.hpp"

namespace bokfolio::cli {

namespace {

// Of a list that could be as long as the file, so many stand in the text; JSON has all.
constexpr std::size_t kShown = 20;

std::string counted(std::size_t count, const std::string& one, const std::string& many) {
  return std::to_string(count) + " " + (count == 1 ? one : many);
}

// Adds "3 things" to a list in a sentence when there are any.
void mention(std::string& list, std::size_t count, const std::string& one,
             const std::string& many) {
  if (count == 0) return;
  list += (list.empty() ? "" : ", ") + counted(count, one, many);
}

class Writer {
 public:
  Writer(Host& host, std::string path) : host_(host), path_(std::move(path)) {}

  void at(std::uint32_t line, const std::string& text) {
    const std::string place = line == 0 ? "" : ":" + std::to_string(line);
    host_.printLine("  " + path_ + place + ": " + text);
  }
  // A heading, then each item of a list by `show`, up to the limit.
  template <class List, class Show>
  void list(const std::string& heading, const List& items, Show&& show) {
    if (items.empty()) return;
    host_.printLine(heading + ":");
    std::size_t shown = 0;
    for (const auto& item : items) {
      if (shown++ == kShown) break;
      show(item);
    }
    if (items.size() > kShown) {
      host_.printLine("  ... and " + std::to_string(items.size() - kShown) +
                      " more; --json lists all");
    }
  }
  std::string amount(const Decimal& amount) { return host_.amount(amount); }

 private:
  Host& host_;
  std::string path_;
};

std::string yearsText(const SieImportReport& report) {
  std::string text;
  for (const SieImportedYear& year : report.years) {
    text += (text.empty() ? "" : ", ") + year.name + (year.made ? " (made)" : "");
  }
  return text;
}

std::string tagsText(const SieImportReport& report) {
  std::string text;
  for (const SieImportedTag& tag : report.tags) {
    text += (text.empty() ? "" : ", ") + std::to_string(tag.number) + " " + tag.name;
  }
  return text;
}

std::string rowsText(const SieImportReport& report) {
  std::string text = std::to_string(report.rowsMade + report.rowsStruck);
  std::string parts;
  mention(parts, report.rowsTagged, "with a tag", "with a tag");
  mention(parts, report.rowsAdded, "added later", "added later");
  mention(parts, report.rowsStruck, "struck", "struck");
  return parts.empty() ? text : text + " (" + parts + ")";
}

void printDone(Host& host, const SieImportReport& report) {
  Table table({{""}, {""}});
  const auto line = [&](const char* what, const std::string& value) {
    if (!value.empty()) table.addRow({std::string("  ") + what, value});
  };
  line("Fiscal years", yearsText(report));
  line("Accounts", std::to_string(report.accountsMade) + " made, " +
                       std::to_string(report.accountsThere) + " there already");
  line("Opening balances", std::to_string(report.openingBalancesSet));
  line("Tags", tagsText(report));
  line("Entries filed", std::to_string(report.entriesFiled));
  line("Rows", rowsText(report));
  host.print(table);
}

std::string whySkipped(Writer& writer, const SieSkippedVoucher& voucher) {
  switch (voucher.reason) {
    case SieSkipReason::Unbalanced:
      return "off balance by " + writer.amount(voucher.difference);
    case SieSkipReason::NoRows:
      return "it has no rows";
    case SieSkipReason::OnlyZeroRows:
      return "all its rows are zero";
    case SieSkipReason::NoYear:
      return "no fiscal year holds " + isoDay(voucher.date);
    case SieSkipReason::SeveralYears:
      return "several fiscal years hold " + isoDay(voucher.date);
  }
  return "";
}

void printLeftOut(Writer& writer, const SieImportReport& report) {
  writer.list("Left out", report.skippedVouchers, [&](const SieSkippedVoucher& voucher) {
    writer.at(voucher.line, "voucher " + voucher.series + " " + voucher.number + " " +
                                voucher.text + ": " + whySkipped(writer, voucher));
  });
  writer.list("Left out, because zero", report.zeroRows, [&](const SieZeroRow& row) {
    writer.at(row.line, "row on account " + std::to_string(row.account));
  });
}

const char* fieldText(SieKeptField field) {
  switch (field) {
    case SieKeptField::AccountName:
      return "name of account ";
    case SieKeptField::AccountType:
      return "type of account ";
    case SieKeptField::AccountTaxCode:
      return "tax code of account ";
    case SieKeptField::TagName:
      return "name of tag ";
  }
  return "";
}

std::string openingText(Writer& writer, const SieOpeningRemark& remark) {
  const std::string subject = "account " + std::to_string(remark.account) + ": ";
  switch (remark.note) {
    case SieOpeningNote::OnResultAccount:
      return subject + "not stored, income and costs begin at zero";
    case SieOpeningNote::NoYear:
      return subject + "not stored, the file does not say which days year " +
             std::to_string(remark.year) + " has";
    case SieOpeningNote::Replaced:
      return subject + writer.amount(remark.amount) + " replaces " +
             writer.amount(remark.former.value_or(Decimal()));
  }
  return "";
}

void printRemarks(Writer& writer, const SieImportReport& report) {
  writer.list("Used without being declared", report.undeclaredAccounts,
              [&](const SieUndeclaredAccount& account) {
                writer.at(account.line, "account " + std::to_string(account.number) + ", made as " +
                                            std::string(typeWord(account.type)));
              });
  writer.list("The document keeps its own", report.keptValues, [&](const SieKeptValue& value) {
    writer.at(value.line, fieldText(value.field) + std::to_string(value.number) + ": \"" +
                              value.kept + "\", in the file \"" + value.inFile + "\"");
  });
  writer.list("Opening balances", report.openingRemarks, [&](const SieOpeningRemark& remark) {
    writer.at(remark.line, openingText(writer, remark));
  });
}

const char* remarkText(SieRemarkKind kind) {
  switch (kind) {
    case SieRemarkKind::ExtraFields:
      return "more fields than the record has";
    case SieRemarkKind::UnreadableOptional:
      return "a date or quantity that makes no sense was left out";
    case SieRemarkKind::UnknownAccountType:
      return "an unknown type of account was left out";
    case SieRemarkKind::RepeatedAccount:
      return "the account has another name above, which stands";
    case SieRemarkKind::FurtherTaxCode:
      return "the account has another tax code above, which stands";
    case SieRemarkKind::AddedRowAlone:
      return "an added row without the plain one that repeats it; it counts";
  }
  return "";
}

// What has no place in a document, in one sentence.
std::string notKeptText(const SieFile& file, const SieWithoutField& counts) {
  std::string text;
  std::size_t marks = counts.furtherObjects;
  for (const SieUnkeptDimension& dimension : counts.dimensions) marks += dimension.rowMarks;
  mention(text, marks, "mark of a further dimension", "marks of further dimensions");
  mention(text, counts.rowTexts, "row text", "row texts");
  mention(text, counts.rowQuantities + counts.balanceQuantities, "quantity", "quantities");
  mention(text, counts.rowDates, "row date", "row dates");
  mention(text, counts.rowSignatures + counts.voucherSignatures, "signature", "signatures");
  mention(text, counts.registrationDays, "day of registration", "days of registration");
  mention(text, counts.accountUnits, "unit", "units");
  mention(text, file.notKept.periodBalances, "period balance", "period balances");
  mention(text, file.notKept.periodBudgets, "budget", "budgets");
  mention(text, file.notKept.objectOpeningBalances + file.notKept.objectClosingBalances,
          "balance of an object", "balances of objects");
  for (const SieUnknownLabel& label : file.notKept.unknownLabels) {
    const std::string name(label.label);
    mention(text, label.count, name.empty() ? "other label" : name,
            name.empty() ? "other labels" : name);
  }
  return text;
}

void printComparison(Host& host, Writer& writer, const SieImportReport& report) {
  for (const SieYearComparison& year : report.comparisons) {
    const std::string stated = counted(year.closings, "closing balance", "closing balances") +
                               " and " + counted(year.results, "result", "results") + " of year " +
                               std::to_string(year.year);
    if (year.comparability == SieComparability::NoVouchers) {
      host.printLine("Not comparable, because the file has no vouchers of it: " + stated);
    } else if (year.comparability == SieComparability::NoYear) {
      host.printLine("Not comparable, because the file does not say its days: " + stated);
    } else if (year.differing == 0) {
      host.printLine("Compared with the file's own: " + stated + "; all agree");
    } else {
      host.printLine("Compared with the file's own: " + stated + "; " +
                     std::to_string(year.differing) +
                     (year.differing == 1 ? " differs" : " differ"));
    }
  }
  writer.list("Differences", report.differences, [&](const SieBalanceDifference& difference) {
    writer.at(difference.line,
              "account " + std::to_string(difference.account) + ": the file says " +
                  (difference.stated ? writer.amount(*difference.stated) : "nothing") +
                  ", its vouchers come to " + writer.amount(difference.computed));
  });
}

}  // namespace

void printImport(Host& host, const std::string& path, const SieFile& file,
                 const SieImportReport& report) {
  Writer writer(host, path);
  host.printLine("Imported " + path + ": SIE type " + std::to_string(report.type) + ", " +
                 std::string(sieCharsetName(file.charset)));
  printDone(host, report);
  printLeftOut(writer, report);
  printRemarks(writer, report);
  writer.list("Read with a remark", file.remarks,
              [&](const SieRemark& remark) { writer.at(remark.line, remarkText(remark.kind)); });
  const std::string notKept = notKeptText(file, report.withoutField);
  if (!notKept.empty()) host.printLine("Not kept, for want of a place: " + notKept);
  printComparison(host, writer, report);
}

}  // namespace bokfolio::cli
