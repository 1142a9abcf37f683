#include "bokfolio/store/sort_descriptor.hpp"

#include <algorithm>
#include <map>

#include "bokfolio/store/context.hpp"
#include "bokfolio/store/internal/sorting.hpp"
#include "bokfolio/store/record.hpp"

namespace bokfolio {

namespace internal {

namespace {

// Reads one key of records of any entity.
class KeyReader {
 public:
  KeyReader(std::string_view path, KeyReading reading) : path_(path), reading_(reading) {}

  Value read(const Record& record) {
    const Entity& entity = record.entity();
    auto bound = bound_.find(&entity);
    if (bound == bound_.end())
      bound = bound_.emplace(&entity, BoundPath(entity, path_, reading_)).first;
    return bound->second.read(record.managedObjectContext().parts(), record);
  }

 private:
  std::string_view path_;
  KeyReading reading_;
  std::map<const Entity*, BoundPath> bound_;
};

struct Line {
  Record* record;
  const Value* keys;
};

bool comesBefore(const Line& a, const Line& b, const std::vector<SortDescriptor>& order) {
  for (std::size_t each = 0; each < order.size(); ++each) {
    const auto compared = Value::order(a.keys[each], b.keys[each]);
    if (compared != 0) return order[each].ascending() ? compared < 0 : compared > 0;
  }
  return ById{}(a.record, b.record);
}

}  // namespace

bool ById::operator()(const Record* a, const Record* b) const {
  if (a->id() != b->id()) return a->id() < b->id();
  return a->entity().ordinal() < b->entity().ordinal();
}

void sortRecords(std::vector<Record*>& records, const std::vector<SortDescriptor>& order,
                 KeyReading reading) {
  std::vector<KeyReader> readers;
  for (const SortDescriptor& each : order) readers.emplace_back(each.key(), reading);
  std::vector<Value> keys;
  keys.reserve(records.size() * order.size());
  for (const Record* record : records)
    for (KeyReader& reader : readers) keys.push_back(reader.read(*record));
  std::vector<Line> lines;
  lines.reserve(records.size());
  for (std::size_t each = 0; each < records.size(); ++each)
    lines.push_back({records[each], keys.data() + each * order.size()});
  std::stable_sort(lines.begin(), lines.end(),
                   [&](const Line& a, const Line& b) { return comesBefore(a, b, order); });
  std::transform(lines.begin(), lines.end(), records.begin(),
                 [](const Line& line) { return line.record; });
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
