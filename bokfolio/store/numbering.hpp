// Numbering: which records may have the highest number, where numbers are kept as text.
#pragma once

#include <string_view>
#include <vector>

#include "bokfolio/export.hpp"

namespace bokfolio {

class Context;
class Record;

// Of the records with a text under the key: those whose text is no plain number, and, of the
// others, those with the greatest value. Every order that puts plain numbers by their value has its
// highest record among these. A plain number is digits only, at most 18 of them after leading
// zeros.
//
// Ascending id; empty when the engine reports an error. Cost: one look-up in the key's index, plus
// the records whose text is no plain number. Throws UndefinedKeyError for an unknown entity and for
// a key without an index of its own.
BOKFOLIO_EXPORT std::vector<Record*> highestNumbered(Context& context, std::string_view entityName,
                                                     std::string_view key);

}  // namespace bokfolio
