// KeptSums: the sums that the store keeps of one entity's records, by owner, period, mark and
// instant (KeptSumDescription). The document has them as lines, one an instant and one in all, and
// they come into memory when they are first asked for: the lines in all of a period together, those
// by instant owner by owner. The journal takes a record out before anything that counts changes,
// and the record is counted again when the sums are next asked, so that a burst of writes costs one
// counting. What has been counted since the last save becomes lines with the next one.
//
// A document whose lines cannot be trusted (Persistence::keepsSums) has its sums built by one walk
// over all records, and gets them whole with the next save.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

#include "bokfolio/platform/date.hpp"
#include "bokfolio/store/internal/exact_sum.hpp"
#include "bokfolio/store/internal/sum_tree.hpp"
#include "bokfolio/store/kept_sum.hpp"
#include "bokfolio/store/persistence/change_set.hpp"
#include "bokfolio/store/record.hpp"
#include "bokfolio/store/schema.hpp"

namespace bokfolio {
struct StoreParts;
}

namespace bokfolio::internal {

class KeptSums {
 public:
  KeptSums(StoreParts& store, const Entity& entity) : store_(&store), entity_(&entity) {}

  // Whether changes of records must be told.
  bool follows() const { return base_ != Base::Unknown; }
  // Reads the lines that it needs. StoreError for a question that is not kept, LoadError.
  ExactSum find(const KeptSumQuestion& question);
  // Whether the document's lines and what came since are those of a scan.
  bool agreesWithScan(const std::vector<Record*>& records);

  // --- For the journal and the loader
  // The document has the lines of all that is saved.
  void useDocument() { base_ = Base::Document; }
  // All of these records, which must have their values and those behind `via` in memory.
  void build(const std::vector<Record*>& records);
  // Takes the record out before something that counts changes; it waits to be counted again.
  void detach(Record& record);
  // A record that is not counted waits to be.
  void await(Record& record);
  // Takes the record out, or forgets that it waits, because it is no longer live.
  void drop(Record& record);
  void attachWaiting();

  // --- For saving
  // The lines that differ from the document's, all of them when it has none. nullopt: none do.
  std::optional<ChangeSet::Sums> changedLines();
  // Document and memory agree: after a save, after a rollback.
  void settle();
  // As if nothing had ever been asked or told. No record may have changed since the last save.
  void forget();
  // The lines went to the document.
  void saved() { base_ = Base::Document; }

 private:
  // Memory: what is known is all there is.
  enum class Base : std::uint8_t { Unknown, Document, Memory };

  // 0 for all owners, or for all marks.
  struct Place {
    RecordId period = 0;
    RecordId owner = 0;
    RecordId mark = 0;
    friend bool operator==(const Place&, const Place&) = default;
  };
  struct HashOfPlace {
    std::size_t operator()(const Place& place) const {
      constexpr std::uint64_t kSpread = 0x9E3779B97F4A7C15U;
      std::uint64_t hash = place.owner * kSpread;
      hash = (hash ^ place.period) * kSpread;
      hash = (hash ^ place.mark) * kSpread;
      return hash ^ (hash >> 32);
    }
  };
  // Where the lines are not in memory, `total` and `instants` hold the changes alone.
  struct Ledger {
    ExactSum total;
    SumTree instants;
    ExactSum change;                                         // of the total since the last save
    std::vector<std::pair<std::int64_t, ExactSum>> changes;  // by instant, in order of counting
    bool isChanged = false;
  };
  using Ledgers = std::unordered_map<Place, Ledger, HashOfPlace>;
  // What one record counts, and where.
  struct Share {
    Place place;
    std::int64_t instant = 0;
    ExactSum amount;
  };

  // nullopt for a record that counts nothing.
  std::optional<Share> shareOf(const Record& record) const;
  void count(Record& record, bool in);
  void add(const Place& place, const ExactSum& amount, const std::int64_t* instant);

  bool knowsTotals(RecordId period) const;
  bool knowsInstants(const Place& place) const;
  void learnTotals(RecordId period);
  void learnInstants(const Place& place);
  void learnEverything();
  void read(const SumLineQuestion& question);
  ExactSum savedSum(const Place& place, std::optional<std::int64_t> instant) const;

  void appendLines(const Place& place, Ledger& ledger, std::vector<SumLine>& lines);
  void appendAll(const Place& place, const Ledger& ledger, std::vector<SumLine>& lines) const;
  bool knowsAtLeast(const Ledgers& other) const;

  StoreParts* store_;
  const Entity* entity_;
  Base base_ = Base::Unknown;
  bool knowsAll_ = false;  // every line is in memory
  Ledgers ledgers_;
  std::unordered_set<RecordId> periods_;               // whose totals are in memory
  std::unordered_set<Place, HashOfPlace> instantsOf_;  // whose instants are, for every mark
  std::vector<std::pair<Place, Ledger*>> changed_;
  std::vector<Record*> waiting_;
};

}  // namespace bokfolio::internal
