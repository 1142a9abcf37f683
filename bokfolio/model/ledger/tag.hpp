// Tag: a numbered marker, such as a cost centre or project, that rows and invoices may carry so
// that amounts can be followed by it. It owns nothing and only points.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "bokfolio/export.hpp"
#include "bokfolio/platform/decimal.hpp"
#include "bokfolio/store/entity_table.hpp"
#include "bokfolio/store/record.hpp"

namespace bokfolio {

class Invoice;
class Row;

class BOKFOLIO_EXPORT Tag : public Record {
 public:
  static constexpr std::string_view kEntityName = "Tag";
  struct Slots {
    static constexpr Slot<std::int64_t> number{0};
    static constexpr Slot<std::string> name{1};
    static constexpr ToManySlot<Row> rows{2};
    static constexpr ToManySlot<Invoice> invoices{3};
  };
  static EntityDescription table();

  using Record::Record;

  // Unique by convention only.
  std::optional<std::int64_t> number() const { return get(Slots::number); }
  void setNumber(std::optional<std::int64_t> number) { set(Slots::number, number); }
  std::optional<std::string> name() const { return get(Slots::name); }
  void setName(const std::optional<std::string>& name) { set(Slots::name, name); }
  RecordSetOf<Row> rows() const;
  RecordSetOf<Invoice> invoices() const;

  // The tag with that number, of several the oldest; nullptr when there is none or it is nil.
  static Tag* tagWithNumber(std::optional<std::int64_t> number, Context& context);
  // Deletes the tags that have no number and that neither row nor invoice carries.
  static void removeEmptyTagsInContext(Context& context);

  // Sum of `net` over the tag's rows in the latest fiscal year, starting balances not included; nil
  // when the document has no fiscal year.
  std::optional<Decimal> balance() const;
};

}  // namespace bokfolio
