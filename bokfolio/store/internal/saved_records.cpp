#include "bokfolio/store/internal/saved_records.hpp"

#include <algorithm>
#include <optional>
#include <utility>

#include "bokfolio/store/internal/store_parts.hpp"
#include "bokfolio/store/store_error.hpp"

namespace bokfolio::internal {

namespace {

// Longer answers are not asked for again and again.
constexpr std::size_t kRemembered = 64;
constexpr std::size_t kAnswers = 1024;

// Makes records of what the engine reports. A record that is in memory already keeps its values:
// they are newer, or the same.
class LoadingSink final : public RecordSink {
 public:
  // `met` gets every record reported.
  LoadingSink(StoreParts& store, EntityRecords& records, std::vector<Record*>* met)
      : store_(store), records_(records), met_(met) {}
  LoadingSink(const LoadingSink&) = delete;
  LoadingSink& operator=(const LoadingSink&) = delete;
  ~LoadingSink() override { drop(); }

  std::size_t count() const { return count_; }

  void begin(RecordId id, std::uint32_t version) override {
    drop();
    Record* record = store_.place(*records_.entity, id);
    ++count_;
    if (met_ != nullptr) met_->push_back(record);
    if (record == nullptr || RecordAccess::slots(*record) != nullptr || record->isGone()) return;
    record_ = record;
    version_ = version;
    slots_ = records_.pool.allocate();
    writer_.emplace(*records_.entity, slots_);
  }
  void integer(std::uint16_t ordinal, std::int64_t value) override {
    if (writer_) writer_->setInteger(ordinal, value);
  }
  void real(std::uint16_t ordinal, double value) override {
    if (writer_) writer_->setReal(ordinal, value);
  }
  void decimal(std::uint16_t ordinal, const Decimal& value) override {
    if (writer_) writer_->setDecimal(ordinal, value);
  }
  void text(std::uint16_t ordinal, std::string_view value) override {
    if (writer_) writer_->setText(ordinal, value);
  }
  void date(std::uint16_t ordinal, Date value) override {
    if (writer_) writer_->setDate(ordinal, value);
  }
  void blob(std::uint16_t ordinal, std::string_view value) override { text(ordinal, value); }
  void reference(std::uint16_t ordinal, RecordId value) override {
    if (!writer_) return;
    const Entity& target = records_.entity->property(ordinal).target();
    writer_->setReference(ordinal, store_.place(target, value));
  }
  // Only a record that was read to its end has its values.
  void end() override {
    if (!writer_) return;
    RecordAccess::version(*record_) = version_;
    RecordAccess::slots(*record_) = slots_;
    writer_.reset();
  }

 private:
  void drop() {
    if (!writer_) return;
    releaseSlots(*records_.entity, slots_);
    records_.pool.free(slots_);
    writer_.reset();
  }

  StoreParts& store_;
  EntityRecords& records_;
  std::vector<Record*>* met_;
  std::size_t count_ = 0;
  std::optional<SlotWriter> writer_;  // while a record is being read
  Record* record_ = nullptr;
  std::byte* slots_ = nullptr;
  std::uint32_t version_ = 0;
};

[[noreturn]] void fail(const Entity& entity, const std::optional<Error>& error) {
  throw LoadError("the records of " + entity.name() + " cannot be read: " +
                  (error ? error->localizedDescription() : std::string("unknown failure")));
}

template <class T>
void append(std::string& key, const T& value) {
  key.append(reinterpret_cast<const char*>(&value), sizeof value);
}

SavedCondition idBetween(RecordId low, RecordId high) {
  SavedCondition condition;
  condition.low = static_cast<std::int64_t>(low);
  condition.high = static_cast<std::int64_t>(high);
  return condition;
}

}  // namespace

std::size_t SavedRecords::load(const Entity& entity) {
  LoadingSink sink(*store_, store_->of(entity), nullptr);
  std::optional<Error> error;
  if (!store_->persistence->load(entity, sink, &error)) fail(entity, error);
  return sink.count();
}

void SavedRecords::fault(const Record& record) {
  auto& ahead = store_->of(record.entity()).readAhead;
  ahead.reach(record.id());
  SavedQuestion question;
  question.entity = &record.entity();
  question.conditions = {idBetween(record.id(), ahead.next - 1)};
  read(question);
}

std::vector<Record*> SavedRecords::read(const SavedQuestion& question) {
  std::vector<Record*> records;
  LoadingSink sink(*store_, store_->of(*question.entity), &records);
  std::optional<Error> error;
  if (!store_->persistence->find(question, sink, &error)) fail(*question.entity, error);
  return records;
}

void SavedRecords::writeKey(char purpose, const SavedQuestion& question) {
  key_.assign(1, purpose);
  append(key_, question.entity->ordinal());
  append(key_, question.order);
  append(key_, question.ascending);
  append(key_, question.limit);
  append(key_, question.skip);
  for (const SavedCondition& condition : question.conditions) {
    append(key_, condition.ordinal);
    append(key_, condition.kind);
    append(key_, condition.low);
    append(key_, condition.high);
    append(key_, condition.text.size());
    key_ += condition.text;
  }
}

void SavedRecords::remember(Answer answer) {
  if (answer.records.size() > kRemembered) return;
  if (answers_.size() >= kAnswers) answers_.clear();
  answers_.insert_or_assign(key_, std::move(answer));
}

std::vector<Record*> SavedRecords::find(const SavedQuestion& question) {
  writeKey('f', question);
  const auto known = answers_.find(key_);
  if (known != answers_.end()) return known->second.records;
  std::vector<Record*> records = read(question);
  remember({records, 0});
  return records;
}

std::size_t SavedRecords::count(const SavedQuestion& question) {
  writeKey('c', question);
  const auto known = answers_.find(key_);
  if (known != answers_.end()) return known->second.count;
  std::size_t count = 0;
  std::optional<Error> error;
  if (!store_->persistence->count(question, count, &error)) fail(*question.entity, error);
  remember({{}, count});
  return count;
}

void SavedRecords::forget() { answers_.clear(); }

}  // namespace bokfolio::internal
