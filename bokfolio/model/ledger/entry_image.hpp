// EntryImage: the picture of a receipt or bill attached to an entry, as the bytes that are stored.
// A record of its own, so that entries stay small; decoding and choosing the bytes is the entry's
// business (Entry::image, Entry::setImage).
#pragma once

#include <optional>
#include <string_view>

#include "bokfolio/export.hpp"
#include "bokfolio/platform/bytes.hpp"
#include "bokfolio/store/entity_table.hpp"
#include "bokfolio/store/record.hpp"

namespace bokfolio {

class Entry;

class BOKFOLIO_EXPORT EntryImage : public Record {
 public:
  static constexpr std::string_view kEntityName = "EntryImage";
  struct Slots {
    static constexpr Slot<Bytes> image{0};
    static constexpr ToOneSlot<Entry> entry{1};
  };
  static EntityDescription table();

  using Record::Record;

  // A PDF document or a TIFF picture.
  std::optional<Bytes> image() const { return get(Slots::image); }
  void setImage(const std::optional<Bytes>& image) { set(Slots::image, image); }
  Entry* entry() const;
  void setEntry(Entry* entry);
};

}  // namespace bokfolio
