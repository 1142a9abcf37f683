// Importer of SIE files: takes what the reader found into the ledger. Accounts, fiscal years,
// opening balances, tags, and vouchers as filed entries; what has no place in the ledger is counted
// in the report, never dropped in silence. It knows the ledger's public face only.
#pragma once

#include <cstddef>
#include <functional>
#include <optional>

#include "bokfolio/export.hpp"
#include "bokfolio/interchange/interchange_error.hpp"
#include "bokfolio/interchange/sie/sie_file.hpp"
#include "bokfolio/interchange/sie/sie_import_report.hpp"
#include "bokfolio/platform/error.hpp"

namespace bokfolio {

class Context;

struct SieImportOptions {
  // The dimension whose objects become tags; 0 for none. nil chooses the one that most rows use, of
  // equals the first of 1 (cost centre), 6 (project), and then the lowest number. Where no row uses
  // any it is the first, in the same order, that has objects.
  std::optional<int> tagDimension;
  // Told how many of the file's rows are done, at the start, every few thousand rows, and at the
  // end. It must not change the document.
  std::function<void(std::size_t rowsDone, std::size_t rowsInAll)> progress;
};

// Imports a file into a document. nullopt with an error when it cannot be done; the caller then
// rolls the context back. It never saves and never rolls back itself. Errors: the interchange
// domain's ConflictingYear, ConflictingRecords and UnreadableDocument, all found before anything is
// changed; what the ledger says when it refuses an entry, with the line under kLineErrorKey.
//
// A host that imports a big file switches undo off first (Context::setUndoEnabled), which saves
// time and room. Cost: linear in the rows, some microseconds each.
//
// - Accounts are found by number. One that the document has keeps its name, type and tax code; only
//   what is nil is filled in. A type that #KTYP does not give follows the first digit of the
//   number: 1 asset, 2 debt and equity, 3 income, anything else cost (8 too, although interest and
//   dividends received stand among its accounts). An account that is used without being declared is
//   made without a name.
// - Years. Each #RAR is a fiscal year with exactly its days, found by its bounds or made, and named
//   2009 or 2009/2010 after the years in which it begins and ends. One that overlaps a year of the
//   document with other bounds is ConflictingYear. In a file without #RAR each voucher belongs to
//   the document's year that holds its day or else to its calendar year; year 0 is then the year
//   that all imported vouchers share, and no year when they share none.
// - Opening balances that are not zero become starting balances, replacing what the document had.
// - Tags. An object whose number consists of at most nine digits is the tag with that number
//   ("0012" is 12); any other, and one whose value another object has, takes the next free number
//   and a name that starts with the object's own number ("Syd Södra verkstaden"), by which the next
//   import finds it again.
// - Vouchers are filed in the order of the file, dated noon CET of their day, and numbered on from
//   the highest number of their year. A voucher that does not balance, that has no rows, or whose
//   day is in no year is left out as a whole and listed. Rows of zero are left out and listed.
//   Entries that wait in the document for their number keep waiting, and the new entry is left as
//   it is.
// - #BTRANS rows are removed rows, struck by the environment's user at the environment's time: the
//   file does not say when it was done.
// - The company's particulars in the file are not taken over.
BOKFOLIO_EXPORT std::optional<SieImportReport> importSie(Context& context, const SieFile& file,
                                                         const SieImportOptions& options = {},
                                                         ErrorOut error = nullptr);

}  // namespace bokfolio
