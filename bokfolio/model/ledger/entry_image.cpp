#include "bokfolio/model/ledger/entry_image.hpp"

#include "bokfolio/model/ledger/entry.hpp"

namespace bokfolio {

EntityDescription EntryImage::table() {
  EntityTable<EntryImage> table{std::string(kEntityName)};
  table.attribute(Slots::image, "image");
  table.toOne(Slots::entry, "entry", "Entry", "entryImage");
  table.byLookup();
  return table.description();
}

Entry* EntryImage::entry() const { return get(Slots::entry); }

void EntryImage::setEntry(Entry* entry) { set(Slots::entry, entry); }

}  // namespace bokfolio
