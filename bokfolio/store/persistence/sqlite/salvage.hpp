// The way out of a damaged document: what can be made again from the records is made again in its
// place, and what cannot be mended is read as far as it goes into a new document.
//
// Salvaging opens the damaged file for reading only and does not change a byte of it. It reads the
// file's pages itself, so that of a damaged page no more is lost than what stood on it, and it runs
// nothing of what the file says. What stood on a page that is not as its seal says is kept where it
// can be read, and listed to be looked at.
//
// Both want the document to themselves: InUse while somebody has it open for writing.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "bokfolio/export.hpp"
#include "bokfolio/platform/error.hpp"
#include "bokfolio/store/record.hpp"
#include "bokfolio/store/schema.hpp"

namespace bokfolio {

struct SalvageOptions {
  // Of the program, noted in the new document when the damaged one does not tell who made it.
  std::string applicationVersion;
};

// Names are those of the file: entities, and columns, which are properties. Ids ascend.
struct SalvageReport {
  struct LostRecord {
    RecordId id = 0;
    // What an index still tells of it, by column, written as docs/file-format.md says; to-ones are
    // ids.
    std::map<std::string, std::string> known;
  };
  struct Table {
    std::string name;
    std::size_t read = 0;
    std::vector<LostRecord> lost;
    // False: more records may be lost than are named, since no index of the table is whole.
    bool lostIsAll = true;
    // Records that were kept, but from a page that is damaged or that only an index vouches for:
    // what they say should be looked at. One byte that is wrong makes all of its page doubtful.
    std::vector<RecordId> doubtful;
  };
  // A value that could not be read and is nil now.
  struct Value {
    std::string table;
    RecordId record = 0;
    std::string column;
    std::string reason;  // "is no decimal number (12.x)"
  };
  // A reference to a record that is not there any more, or that does not refer back as it must; it
  // is nil now.
  struct Reference {
    std::string table;
    RecordId record = 0;
    std::string column;
    std::string target;
    RecordId targetId = 0;
  };

  std::vector<Table> tables;
  std::vector<Value> values;
  std::vector<Reference> references;
  // A save broke off and cannot be taken back: records may be of before it or of after it.
  bool torn = false;
  // Sentences: what was wrong with the file itself, and what could not be known.
  std::vector<std::string> remarks;

  // Whether the new document has all that the damaged one had, as far as can be told.
  bool lossless() const {
    for (const Table& table : tables)
      if (!table.lost.empty() || !table.lostIsAll || !table.doubtful.empty()) return false;
    return values.empty() && references.empty() && !torn;
  }
};

// Writes a new document at `to`, where nothing may be yet, with all that can be read of the one at
// `from`; it appears complete and verified, or not at all, with the permissions of the old one.
// Tables and columns that the schema lacks are kept, too. Kept sums are not copied: the new
// document's first save computes them. The report is replaced; after an error it says how far
// things went. Errors: NotFound, NewerFormat, InUse; NotADocument when nothing says that this was a
// document of ours; Damaged when no table can be found in it; AlreadyExists, ReadOnly, Full for
// `to`; Refused as for opening. Cost: everything is read twice, and 64 MB beside what the report
// takes.
BOKFOLIO_EXPORT bool salvageSqliteDocument(const Schema& schema, const std::string& from,
                                           const std::string& to, const SalvageOptions& options,
                                           SalvageReport& report, ErrorOut error = nullptr);

// Makes all indexes anew in place and verifies everything but the kept sums, in one transaction: it
// ends only when the file is sound then. Before that the file as it was is copied to `copy`, where
// nothing may be yet; no copy is left when nothing was done. Damaged when that does not mend it, as
// when a page is not as its seal says, and the errors of opening for writing and of `copy`. A
// document of an older format stays one.
BOKFOLIO_EXPORT bool rebuildSqliteIndexes(const Schema& schema, const std::string& path,
                                          const std::string& copy, ErrorOut error = nullptr);

}  // namespace bokfolio
