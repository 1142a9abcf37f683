#include "bokfolio/store/sort_descriptor.hpp"

#include <algorithm>
#include <map>
#include <numeric>

#include "bokfolio/store/context.hpp"
#include "bokfolio/store/internal/prefetch.hpp"
#include "bokfolio/store/internal/sorting.hpp"
#include "bokfolio/store/record.hpp"

namespace bokfolio {

namespace internal {

namespace {

// What a key holds, for ordering. Integers and dates, which most lists are ordered by, are compared
// as they are, everything else as a Value.
struct Cell {
  enum class Kind : std::uint8_t { Nil, Whole, Other };
  Kind kind = Kind::Nil;
  std::int64_t whole = 0;  // Other: its place among the values
};

// The keys of some records, each read once.
class KeyTable {
 public:
  KeyTable(const std::vector<Record*>& records, const std::vector<SortDescriptor>& order,
           KeyReading reading)
      : order_(order), reading_(reading) {
    const Entity* first = records.empty() ? nullptr : &records.front()->entity();
    oneEntity_ = std::all_of(records.begin(), records.end(),
                             [&](const Record* each) { return &each->entity() == first; });
    cells_.reserve(records.size() * order.size());
    forEachRecord(records, [&](const Record* record) {
      for (const BoundPath& path : pathsOf(record->entity())) read(path, *record);
      return true;
    });
  }

  bool comesBefore(std::size_t a, std::size_t b, const Record& recordA,
                   const Record& recordB) const {
    for (std::size_t each = 0; each < order_.size(); ++each) {
      const auto compared =
          compare(cells_[a * order_.size() + each], cells_[b * order_.size() + each]);
      if (compared != 0) return order_[each].ascending() ? compared < 0 : compared > 0;
    }
    return ById{}(&recordA, &recordB);
  }

 private:
  const std::vector<BoundPath>& pathsOf(const Entity& entity) {
    auto bound = paths_.find(&entity);
    if (bound != paths_.end()) return bound->second;
    std::vector<BoundPath> paths;
    paths.reserve(order_.size());
    for (const SortDescriptor& each : order_) paths.emplace_back(entity, each.key(), reading_);
    return paths_.emplace(&entity, std::move(paths)).first->second;
  }

  void read(const BoundPath& path, const Record& record) {
    StoreParts& store = record.managedObjectContext().parts();
    const PropertyKind kind = path.isSlot() ? path.last().kind() : PropertyKind::Binary;
    if (!oneEntity_ || (kind != PropertyKind::Integer && kind != PropertyKind::Date)) {
      cells_.push_back({Cell::Kind::Other, static_cast<std::int64_t>(values_.size())});
      values_.push_back(path.read(store, record));
      return;
    }
    Cell& cell = cells_.emplace_back();
    const Record* at = path.follow(store, record);
    const std::uint16_t ordinal = path.last().ordinal();
    if (at == nullptr || store.slots(*at).isNil(ordinal)) return;
    const SlotView slots = store.slots(*at);
    cell.kind = Cell::Kind::Whole;
    cell.whole =
        kind == PropertyKind::Integer ? slots.integer(ordinal) : slots.date(ordinal).microseconds();
  }

  std::strong_ordering compare(const Cell& a, const Cell& b) const {
    if (a.kind == Cell::Kind::Other)
      return Value::order(values_[static_cast<std::size_t>(a.whole)],
                          values_[static_cast<std::size_t>(b.whole)]);
    if (a.kind != b.kind) return a.kind <=> b.kind;
    return a.whole <=> b.whole;
  }

  const std::vector<SortDescriptor>& order_;
  KeyReading reading_;
  bool oneEntity_ = true;
  std::map<const Entity*, std::vector<BoundPath>> paths_;
  std::vector<Cell> cells_;
  std::vector<Value> values_;
};

}  // namespace

bool ById::operator()(const Record* a, const Record* b) const {
  if (a->id() != b->id()) return a->id() < b->id();
  return a->entity().ordinal() < b->entity().ordinal();
}

void sortRecords(std::vector<Record*>& records, const std::vector<SortDescriptor>& order,
                 KeyReading reading) {
  const KeyTable keys(records, order, reading);
  std::vector<std::size_t> places(records.size());
  std::iota(places.begin(), places.end(), std::size_t{0});
  std::stable_sort(places.begin(), places.end(), [&](std::size_t a, std::size_t b) {
    return keys.comesBefore(a, b, *records[a], *records[b]);
  });
  std::vector<Record*> sorted;
  sorted.reserve(records.size());
  for (const std::size_t place : places) sorted.push_back(records[place]);
  records = std::move(sorted);
}

}  // namespace internal

namespace {

// Merges two runs of `from` into `to`; the left run goes first where the comparison does not say
// that the right one's record comes before.
void mergeRuns(const std::vector<Record*>& from, std::vector<Record*>& to, std::size_t begin,
               std::size_t middle, std::size_t end, const RecordComparison& compare) {
  std::size_t left = begin;
  std::size_t right = middle;
  for (std::size_t at = begin; at < end; ++at) {
    const bool takesLeft =
        right == end || (left < middle && compare(*from[left], *from[right]) <= 0);
    to[at] = takesLeft ? from[left++] : from[right++];
  }
}

}  // namespace

void sortRecords(std::vector<Record*>& records, const std::vector<SortDescriptor>& order) {
  internal::sortRecords(records, order, internal::KeyReading::ThroughAccessors);
}

void sortRecordsBy(std::vector<Record*>& records, const RecordComparison& compare) {
  std::vector<Record*> from = records;
  std::vector<Record*> to(records.size());
  for (std::size_t width = 1; width < records.size(); width *= 2) {
    for (std::size_t begin = 0; begin < records.size(); begin += 2 * width) {
      const std::size_t middle = std::min(begin + width, records.size());
      const std::size_t end = std::min(begin + 2 * width, records.size());
      mergeRuns(from, to, begin, middle, end, compare);
    }
    from.swap(to);
  }
  records = std::move(from);
}

}  // namespace bokfolio
