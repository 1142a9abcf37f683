// Entry: one journal entry, a dated and named set of rows whose debits and credits balance. Filing
// gives it its fiscal year and the next number within that year, and commits its rows.
//
// The new entry is the one under composition: its number is kNewEntryNumber, which is also what a
// freshly inserted entry has, and neither its rows nor its date are checked when a document is
// saved. There is at most one. An entry without a number is finished but not filed yet; the next
// filing of a numbered entry dated after it files it too.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "bokfolio/export.hpp"
#include "bokfolio/platform/date.hpp"
#include "bokfolio/platform/image.hpp"
#include "bokfolio/store/entity_table.hpp"
#include "bokfolio/store/predicate.hpp"
#include "bokfolio/store/record.hpp"

namespace bokfolio {

class EntryImage;
class FiscalYear;
class Row;
class SupplierInvoice;
class XmlElement;

class BOKFOLIO_EXPORT Entry : public Record {
 public:
  static constexpr std::string_view kEntityName = "Entry";
  static constexpr std::int64_t kNewEntryNumber = 2'147'483'647;
  struct Slots {
    static constexpr Slot<std::string> name{0};
    static constexpr Slot<std::int64_t> number{1};
    static constexpr Slot<std::string> comments{2};
    static constexpr Slot<Date> date{3};
    static constexpr Slot<std::int64_t> type{4};
    static constexpr ToOneSlot<FiscalYear> fiscalYear{5};
    static constexpr ToManySlot<Row> rows{6};
    static constexpr ToOneSlot<EntryImage> entryImage{7};
    static constexpr ToOneSlot<SupplierInvoice> supplierInvoice{8};
  };
  static EntityDescription table();

  using Record::Record;

  // "number == 2147483647".
  static Predicate onlyNewEntries();
  // The new entry, or nullptr. Of several the oldest is kept and the others are deleted.
  static Entry* findTheNewInContext(Context& context);
  // Strips the new entry of the rows that are empty or do not pass their validation: for a host,
  // before it saves.
  static void removeBadRowsInNewEntryInContext(Context& context);

  // Dated as the latest filed entry, or now when there is none.
  void awakeFromInsert() override;

  std::optional<std::string> name() const { return get(Slots::name); }
  void setName(const std::optional<std::string>& name) { set(Slots::name, name); }
  // Within the fiscal year; kNewEntryNumber for the new entry, nil for one that is not filed yet.
  std::optional<std::int64_t> number() const { return get(Slots::number); }
  void setNumber(std::optional<std::int64_t> number) { set(Slots::number, number); }
  std::optional<std::string> comments() const { return get(Slots::comments); }
  void setComments(const std::optional<std::string>& comments) { set(Slots::comments, comments); }
  // The accounting date.
  std::optional<Date> date() const { return get(Slots::date); }
  void setDate(std::optional<Date> date) { set(Slots::date, date); }
  // Kept for the host; no rule reads it.
  std::optional<std::int64_t> type() const { return get(Slots::type); }
  void setType(std::optional<std::int64_t> type) { set(Slots::type, type); }
  // nullptr until the entry is filed.
  FiscalYear* fiscalYear() const;
  void setFiscalYear(FiscalYear* year);
  RecordSetOf<Row> rows() const;
  EntryImage* entryImage() const;
  void setEntryImage(EntryImage* image);
  // The bill for which the entry was made.
  SupplierInvoice* supplierInvoice() const;
  void setSupplierInvoice(SupplierInvoice* invoice);

  // -1, 0 or 1: by number when this entry has one, else by date, nil first. Whether the other has a
  // number plays no part, so this is no strict order.
  int compare(const Entry& other) const;
  // By calendar day, then by name; an entry without a name comes first on its day, whatever the
  // other's, so this is no strict order either: sort with sortRecordsBy.
  int compareDateAndName(const Entry& other) const;
  // This very entry, which serves as a key as it is.
  Entry* copyWithZone() { return this; }

  bool isNew() const;
  // The localised "NEW" for the new entry, else the number's digits; nil without a number.
  std::optional<std::string> numberAsString() const;
  // "Entry #12" (localised) for an entry with a number, else the name, else the localised
  // "Untitled entry name".
  std::string description() const override;
  // The first instant of the date's calendar day; the date as "yyyy-MM-dd". nil without a date.
  std::optional<Date> day() const;
  std::optional<std::string> dateString() const;
  // The single pair "name" and the entry's name; nil for an entry without a name.
  std::optional<std::map<std::string, std::string>> contents() const;

  // The attached picture, decoded; nil when there is none or its bytes cannot be read.
  std::optional<Image> image() const;
  // The same as stored.
  std::optional<Bytes> imageBytes() const;
  // Attaches a picture: its first PDF, or else the picture as TIFF. nil empties what is attached.
  // false, and nothing changed, for a picture of which no bytes can be stored (the image's error).
  bool setImage(const std::optional<Image>& image, ErrorOut error = nullptr);

  // Replaces the rows by copies of another entry's, in the order of their numbers. Removed rows are
  // not copied, and copies carry no note of change.
  void copyRowsFromOtherEntry(const Entry& other);
  // Replaces the rows, and the name, note and date that the element has, by what its direct
  // children say: `name`, `note`, `date` (the first of each counts) and any number of `row`, each
  // with `account` (a number), `amount` (debit-positive, "." before the decimals) and perhaps `tag`
  // (a number). Attributes and deeper levels say nothing.
  //
  // Dates are an ISO day (2009-03-31) or the locale's short form, blanks around them apart, and
  // mean noon of that day in the environment's zone, which is never at a boundary of a fiscal year;
  // any other text makes the date nil. A number is read as far as its digits go, and a text without
  // digits is 0, as amount and as number. A row without account or amount, or on an account that
  // does not exist, is passed over; a tag that does not exist leaves the row without one. A
  // positive amount is a debit, any other a credit.
  //
  // The new rows belong to no entry yet: the answer has them in the element's order, and the caller
  // attaches them (Row::setEntry). The former rows are gone in any case.
  std::vector<Row*> defineRowsFromXml(const XmlElement& element);
  // Deletes the rows for which Row::isEmpty holds. The others keep their numbers.
  void removeEmptyRows();

  // Validates the entry as if it were no longer new, then each row, up to the first failure, which
  // is what the error tells. The number is the same afterwards.
  bool checkValidation(ErrorOut error = nullptr);
  // Ends an edit of a filed entry: removes empty rows, validates, commits the editable rows and
  // notes who changed them. false, with checkValidation's error: empty rows are gone already.
  bool editFinished(ErrorOut error = nullptr);
  // Files the entry: removes empty rows, validates, finds the fiscal year, files the unnumbered
  // entries dated before this one (when this one has a number), takes the next number and commits
  // every row. An entry that has its year already only commits its rows, noting the change of
  // editable ones. Answers the entries filed, this one last; nil with an error: checkValidation's,
  // or code 2 (no fiscal year) or 3 (several) of the library's domain. A failure leaves what was
  // filed before it. Cost: index look-ups, whatever the size of the book, beside the entries filed.
  std::optional<std::vector<Entry*>> fileMe(ErrorOut error = nullptr);

  // The amounts by which a host may look for a matching bank line: net and twice the net of each
  // row that is not removed, as the locale writes plain decimals, each text once.
  std::vector<std::string> matchingAmounts() const;

  // Hooks; the new entry passes both. Rows: at least one, and debits equal credits over those not
  // removed. Date: strictly inside the fiscal year, if there is one. Errors: the library's domain,
  // code 1, with this entry's description under kEntryDescriptionKey.
  bool validateRows(Value& proposed, ErrorOut error = nullptr);
  bool validateDate(std::optional<Date>& proposed, ErrorOut error = nullptr);

 private:
  bool validateWithRows(ErrorOut error);
  bool refuse(ErrorOut error, std::string_view textKey) const;
  FiscalYear* fiscalYearForFiling(ErrorOut error) const;
  bool fileEarlierEntries(std::vector<Entry*>& filed, ErrorOut error);
  void commitRows(bool noteChanges);
};

}  // namespace bokfolio
