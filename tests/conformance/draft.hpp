// Change sets and saved contents as plain values, for trying engines without a context.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "bokfolio/store/internal/slots.hpp"
#include "bokfolio/store/persistence/persistence.hpp"

namespace bokfolio::test {

struct Blob {
  std::string bytes;
  friend bool operator==(const Blob&, const Blob&) = default;
};

struct Reference {
  RecordId id;
  friend bool operator==(const Reference&, const Reference&) = default;
};

using Cell = std::variant<std::int64_t, double, Decimal, std::string, Date, Blob, Reference>;
// By property name; nil is absent.
using Cells = std::map<std::string, Cell>;

struct Saved {
  std::uint32_t version;
  Cells cells;
  friend bool operator==(const Saved&, const Saved&) = default;
};

// As an engine gave them.
using Answer = std::vector<std::pair<RecordId, Saved>>;

// By entity and id.
using Content = std::map<std::string, std::map<RecordId, Saved>>;

// Two entities with every kind of property; `extended` has what a plug-in might add: properties
// of Paper, and an entity that refers to Paper.
std::shared_ptr<const Schema> paperSchema(bool extended = false);

// Properties by name; "id" is the record's id.
struct Question : SavedQuestion {
  explicit Question(const Entity& about) { entity = &about; }

  Question& inRange(const std::string& name, std::int64_t low, std::int64_t high);
  Question& is(const std::string& name, std::int64_t value) { return inRange(name, value, value); }
  Question& isNil(const std::string& name, bool nil = true);
  Question& isText(const std::string& name, std::string text);
  Question& by(const std::string& name, bool up = true);
  Question& atMost(std::size_t most, std::size_t skipped = 0);

 private:
  std::uint16_t ordinalOf(const std::string& name) const;
};

// Lines with a holder, a mark and a sheet that has a period and an instant. What is kept of them:
// no sums, what comes in less what goes out, or the same without the lines in another state.
enum class Keeping : std::uint8_t { Nothing, Sums, OtherSums };
std::shared_ptr<const Schema> sumSchema(Keeping keeping, bool lines = true);

class Draft {
 public:
  explicit Draft(std::shared_ptr<const Schema> schema) : schema_(std::move(schema)) {}
  Draft(const Draft&) = delete;
  Draft& operator=(const Draft&) = delete;
  ~Draft();

  Draft& insert(const std::string& entity, RecordId id, const Cells& cells);
  // Cells that `changed` does not name must not reach the document.
  Draft& update(const std::string& entity, RecordId id, std::uint32_t version, const Cells& cells,
                const std::vector<std::string>& changed);
  Draft& remove(const std::string& entity, RecordId id, std::uint32_t version);
  Draft& nextId(const std::string& entity, RecordId id);
  Draft& sums(const std::string& entity, std::vector<SumLine> lines, bool replacesAll = false);

  const ChangeSet& changes() const { return changes_; }

 private:
  SlotView block(const Entity& entity, const Cells& cells);

  std::shared_ptr<const Schema> schema_;
  ChangeSet changes_;
  std::vector<std::pair<const Entity*, std::unique_ptr<std::uint64_t[]>>> blocks_;
  std::vector<std::unique_ptr<Record>> records_;
};

// Everything that the engine holds of the schema. Fails the test when an engine reports an error,
// or gives ids that do not ascend.
Content contentOf(Persistence& engine, const Schema& schema);
// Loads an entity; nullopt when it succeeded.
std::optional<PersistenceError> loading(Persistence& engine, const Entity& entity);
// Asks a question; nullopt when it succeeded.
std::optional<PersistenceError> finding(Persistence& engine, const SavedQuestion& question,
                                        Answer& answer);
std::vector<RecordId> idsOf(Persistence& engine, const SavedQuestion& question);
std::size_t countOf(Persistence& engine, const SavedQuestion& question);
// The lines of kept sums that are asked for; nullopt when that fails.
using Lines = std::vector<SumLine>;
std::optional<Lines> linesOf(Persistence& engine, const Entity& entity,
                             const SumLineQuestion& question);
bool keepsSums(Persistence& engine, const Entity& entity);
RecordId nextIdOf(Persistence& engine, const Schema& schema, const std::string& entity);
// nullopt when it succeeded.
std::optional<PersistenceError> commit(Persistence& engine, const Draft& draft);
// Code of an error of the engines; 0 of any other.
PersistenceError codeOf(const std::optional<Error>& error);

}  // namespace bokfolio::test
