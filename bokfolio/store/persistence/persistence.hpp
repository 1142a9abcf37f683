// Persistence: where saved records live. The store speaks of records and of one atomic change set;
// files, statements and transactions are an engine's own business. There are three engines: SQLite
// (a document is one file), memory, and a wrapper that fails on demand.
//
// One engine serves one context, on its thread. Every failure is answered with false and an Error
// in kPersistenceErrorDomain (wanted or not); after a failed commit the saved state is the old one.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "bokfolio/export.hpp"
#include "bokfolio/platform/error.hpp"
#include "bokfolio/store/persistence/change_set.hpp"
#include "bokfolio/store/persistence/saved_question.hpp"
#include "bokfolio/store/schema.hpp"

namespace bokfolio {

inline constexpr std::string_view kPersistenceErrorDomain = "BokfolioPersistenceErrorDomain";

enum class PersistenceError : int {
  NotFound = 1,      // no document there
  NotADocument = 2,  // a file, but none of ours, or damaged beyond reading
  NewerFormat = 3,   // written by a later version of the library
  InUse = 4,         // another writer holds the document
  ReadOnly = 5,      // the document or its folder cannot be written
  Full = 6,          // no room on the disk
  Damaged = 7,       // the engine found the content inconsistent
  Stale = 8,         // a record, or the document itself, was changed by somebody else
  Refused = 9,       // the engine's own constraints refused the change set
  Failed = 10,       // anything else; the description has the engine's words
  AlreadyExists = 11,
};

// Receives saved records one by one. For each record: begin, then each value that is not nil in any
// order, then end. Texts and blobs are only valid during the call.
class RecordSink {
 public:
  virtual ~RecordSink() = default;
  virtual void begin(RecordId id, std::uint32_t version) = 0;
  virtual void integer(std::uint16_t ordinal, std::int64_t value) = 0;
  virtual void real(std::uint16_t ordinal, double value) = 0;
  virtual void decimal(std::uint16_t ordinal, const Decimal& value) = 0;
  virtual void text(std::uint16_t ordinal, std::string_view value) = 0;
  virtual void date(std::uint16_t ordinal, Date value) = 0;
  virtual void blob(std::uint16_t ordinal, std::string_view value) = 0;
  virtual void reference(std::uint16_t ordinal, RecordId value) = 0;
  virtual void end() = 0;
};

class SumLineSink {
 public:
  virtual ~SumLineSink() = default;
  virtual void line(const SumLine& line) = 0;
};

class BOKFOLIO_EXPORT Persistence {
 public:
  virtual ~Persistence() = default;

  // Opens or creates what the engine was made for and fits it to the schema: entities and
  // attributes that are new to it are added, those it has and the schema lacks are kept untouched.
  virtual bool open(const Schema& schema, ErrorOut error) = 0;
  // Every saved record of the entity, in ascending id. The sink must not call the engine.
  virtual bool load(const Entity& entity, RecordSink& sink, ErrorOut error) = 0;
  // The saved records that satisfy the question, in its order. The cost is that of the answer where
  // an index of the entity, a to-one or the id serves the conditions and the order, else that of
  // the entity. The sink must not call the engine.
  virtual bool find(const SavedQuestion& question, RecordSink& sink, ErrorOut error) = 0;
  // How many there are, at most the question's limit; its order and what it skips do not count.
  virtual bool count(const SavedQuestion& question, std::size_t& count, ErrorOut error) = 0;
  // Whether the document holds the sums that the entity's table declares. It does from its first
  // record on, unless an older library or another model wrote it; then a change set must bring all
  // lines (ChangeSet::Sums::replacesAll) before any can be asked for.
  virtual bool keepsSums(const Entity& entity, bool& kept, ErrorOut error) = 0;
  // The saved lines that are asked for, by owner, mark and instant.
  virtual bool sums(const Entity& entity, const SumLineQuestion& question, SumLineSink& sink,
                    ErrorOut error) = 0;
  // The id that the next inserted record of the entity gets: never one that was used before.
  virtual bool nextId(const Entity& entity, RecordId& id, ErrorOut error) = 0;
  // Writes everything or nothing, durably before it answers true.
  virtual bool commit(const ChangeSet& changes, ErrorOut error) = 0;
  // A complete copy of the saved state at a path that must not exist yet.
  virtual bool backup(const std::string& path, ErrorOut error) = 0;
  // Reads the whole saved state and answers false at the first inconsistency.
  virtual bool verify(ErrorOut error) = 0;
};

}  // namespace bokfolio
