#include "tests/conformance/draft.hpp"

#include <gtest/gtest.h>

#include "tests/store/describe.hpp"

namespace bokfolio::test {

namespace {

class AnswerSink final : public RecordSink {
 public:
  AnswerSink(const Entity& entity, Answer& records) : entity_(entity), records_(records) {}

  void begin(RecordId id, std::uint32_t version) override {
    EXPECT_FALSE(open_);
    open_ = true;
    records_.push_back({id, {version, {}}});
  }
  void integer(std::uint16_t ordinal, std::int64_t value) override { put(ordinal, value); }
  void real(std::uint16_t ordinal, double value) override { put(ordinal, value); }
  void decimal(std::uint16_t ordinal, const Decimal& value) override { put(ordinal, value); }
  void text(std::uint16_t ordinal, std::string_view value) override {
    put(ordinal, std::string(value));
  }
  void date(std::uint16_t ordinal, Date value) override { put(ordinal, value); }
  void blob(std::uint16_t ordinal, std::string_view value) override {
    put(ordinal, Blob{std::string(value)});
  }
  void reference(std::uint16_t ordinal, RecordId value) override { put(ordinal, Reference{value}); }
  void end() override { open_ = false; }

 private:
  void put(std::uint16_t ordinal, Cell value) {
    EXPECT_TRUE(open_);
    auto& cells = records_.back().second.cells;
    EXPECT_TRUE(cells.emplace(entity_.property(ordinal).name(), std::move(value)).second);
  }

  const Entity& entity_;
  Answer& records_;
  bool open_ = false;
};

}  // namespace

std::shared_ptr<const Schema> paperSchema(bool extended) {
  EntityDescription folder;
  folder.name = "Folder";
  folder.properties = {attribute("name", PropertyKind::String),
                       relation("papers", PropertyKind::ToMany, "Paper", "folder")};
  EntityDescription paper;
  paper.name = "Paper";
  PropertyDescription mood = attribute("mood", PropertyKind::Double);
  mood.transient = true;
  paper.properties = {mood,
                      attribute("count", PropertyKind::Integer),
                      attribute("weight", PropertyKind::Double),
                      attribute("amount", PropertyKind::Decimal),
                      attribute("order by", PropertyKind::String),
                      attribute("date", PropertyKind::Date),
                      attribute("scan", PropertyKind::Binary),
                      relation("folder", PropertyKind::ToOne, "Folder", "papers"),
                      relation("next", PropertyKind::ToOne, "Paper")};
  paper.indexes = {{{"folder", "count"}}, {{"date"}}, {{"order by"}}};
  EntityDescription stamp;
  stamp.name = "Stamp";
  stamp.properties = {relation("paper", PropertyKind::ToOne, "Paper")};
  if (!extended) return std::make_shared<Schema>(std::vector{folder, paper});
  paper.properties.push_back(attribute("colour", PropertyKind::String));
  paper.properties.push_back(attribute("price", PropertyKind::Decimal));
  paper.properties.push_back(relation("cover", PropertyKind::ToOne, "Paper"));
  return std::make_shared<Schema>(std::vector{stamp, paper, folder});
}

std::shared_ptr<const Schema> sumSchema(Keeping keeping, bool lines) {
  std::vector<EntityDescription> entities(lines ? 5 : 4);
  const std::vector<std::string> names = {"Period", "Holder", "Mark", "Sheet", "Line"};
  for (std::size_t i = 0; i < entities.size(); ++i) entities[i].name = names[i];
  entities[3].properties = {relation("period", PropertyKind::ToOne, "Period"),
                            attribute("instant", PropertyKind::Date)};
  if (!lines) return std::make_shared<Schema>(entities);
  entities[4].properties = {attribute("in", PropertyKind::Decimal),
                            attribute("out", PropertyKind::Decimal),
                            attribute("state", PropertyKind::Integer),
                            relation("holder", PropertyKind::ToOne, "Holder"),
                            relation("mark", PropertyKind::ToOne, "Mark"),
                            relation("sheet", PropertyKind::ToOne, "Sheet")};
  if (keeping != Keeping::Nothing) {
    const std::int64_t unless = keeping == Keeping::Sums ? 1 : 2;
    entities[4].keptSum = KeptSumDescription{"in",   "out",   "state",  unless,   "holder",
                                             "mark", "sheet", "period", "instant"};
  }
  return std::make_shared<Schema>(entities);
}

Draft::~Draft() {
  for (auto& [entity, slots] : blocks_) {
    internal::releaseSlots(*entity, reinterpret_cast<std::byte*>(slots.get()));
  }
}

SlotView Draft::block(const Entity& entity, const Cells& cells) {
  blocks_.emplace_back(&entity, std::make_unique<std::uint64_t[]>(entity.slotBytes() / 8 + 1));
  auto* slots = reinterpret_cast<std::byte*>(blocks_.back().second.get());
  internal::SlotWriter writer(entity, slots);
  for (const auto& [name, cell] : cells) {
    const Property* described = entity.property(name);
    const std::uint16_t ordinal = described->ordinal();
    if (const auto* integer = std::get_if<std::int64_t>(&cell)) {
      writer.setInteger(ordinal, *integer);
    } else if (const auto* real = std::get_if<double>(&cell)) {
      writer.setReal(ordinal, *real);
    } else if (const auto* decimal = std::get_if<Decimal>(&cell)) {
      writer.setDecimal(ordinal, *decimal);
    } else if (const auto* text = std::get_if<std::string>(&cell)) {
      writer.setText(ordinal, *text);
    } else if (const auto* date = std::get_if<Date>(&cell)) {
      writer.setDate(ordinal, *date);
    } else if (const auto* blob = std::get_if<Blob>(&cell)) {
      writer.setText(ordinal, blob->bytes);
    } else {
      const RecordInit init{nullptr, &described->target(), std::get<Reference>(cell).id};
      records_.push_back(std::make_unique<Record>(init));
      writer.setReference(ordinal, records_.back().get());
    }
  }
  return {entity, slots};
}

Draft& Draft::insert(const std::string& entity, RecordId id, const Cells& cells) {
  const SlotView slots = block(schema_->entity(entity), cells);
  changes_.changes.push_back({RecordChange::Kind::Insert, id, 0, slots, {}});
  return *this;
}

Draft& Draft::update(const std::string& entity, RecordId id, std::uint32_t version,
                     const Cells& cells, const std::vector<std::string>& changed) {
  const Entity& described = schema_->entity(entity);
  RecordChange change{RecordChange::Kind::Update, id, version, block(described, cells), {}};
  for (const std::string& name : changed) {
    change.changed.push_back(described.property(name)->ordinal());
  }
  changes_.changes.push_back(std::move(change));
  return *this;
}

Draft& Draft::remove(const std::string& entity, RecordId id, std::uint32_t version) {
  const SlotView slots = block(schema_->entity(entity), {});
  changes_.changes.push_back({RecordChange::Kind::Delete, id, version, slots, {}});
  return *this;
}

Draft& Draft::nextId(const std::string& entity, RecordId id) {
  changes_.nextIds.emplace_back(&schema_->entity(entity), id);
  return *this;
}

Draft& Draft::sums(const std::string& entity, std::vector<SumLine> lines, bool replacesAll) {
  changes_.sums.push_back({&schema_->entity(entity), replacesAll, std::move(lines)});
  return *this;
}

Content contentOf(Persistence& engine, const Schema& schema) {
  Content content;
  for (const Entity& entity : schema.entities()) {
    Answer records;
    AnswerSink sink(entity, records);
    std::optional<Error> error;
    EXPECT_TRUE(engine.load(entity, sink, &error)) << error->localizedDescription();
    auto& saved = content[entity.name()];
    for (auto& [id, record] : records) {
      EXPECT_TRUE(saved.empty() || id > saved.rbegin()->first);
      saved.emplace(id, std::move(record));
    }
  }
  return content;
}

std::optional<PersistenceError> loading(Persistence& engine, const Entity& entity) {
  Answer records;
  AnswerSink sink(entity, records);
  std::optional<Error> error;
  if (engine.load(entity, sink, &error)) return std::nullopt;
  return codeOf(error);
}

std::optional<PersistenceError> finding(Persistence& engine, const SavedQuestion& question,
                                        Answer& answer) {
  answer.clear();
  AnswerSink sink(*question.entity, answer);
  std::optional<Error> error;
  if (engine.find(question, sink, &error)) return std::nullopt;
  return codeOf(error);
}

std::vector<RecordId> idsOf(Persistence& engine, const SavedQuestion& question) {
  Answer answer;
  EXPECT_EQ(finding(engine, question, answer), std::nullopt);
  std::vector<RecordId> ids;
  for (const auto& [id, record] : answer) ids.push_back(id);
  return ids;
}

std::size_t countOf(Persistence& engine, const SavedQuestion& question) {
  std::size_t count = 0;
  std::optional<Error> error;
  EXPECT_TRUE(engine.count(question, count, &error)) << error->localizedDescription();
  return count;
}

std::optional<Lines> linesOf(Persistence& engine, const Entity& entity,
                             const SumLineQuestion& question) {
  struct Sink final : SumLineSink {
    void line(const SumLine& line) override { lines.push_back(line); }
    Lines lines;
  } sink;
  std::optional<Error> error;
  if (engine.sums(entity, question, sink, &error)) return sink.lines;
  EXPECT_EQ(codeOf(error), PersistenceError::Failed);
  return std::nullopt;
}

bool keepsSums(Persistence& engine, const Entity& entity) {
  bool kept = false;
  std::optional<Error> error;
  EXPECT_TRUE(engine.keepsSums(entity, kept, &error)) << error->localizedDescription();
  return kept;
}

Question& Question::inRange(const std::string& name, std::int64_t low, std::int64_t high) {
  SavedCondition condition;
  condition.ordinal = ordinalOf(name);
  condition.low = low;
  condition.high = high;
  conditions.push_back(condition);
  return *this;
}

Question& Question::isNil(const std::string& name, bool nil) {
  SavedCondition condition;
  condition.ordinal = ordinalOf(name);
  condition.kind = nil ? SavedCondition::Kind::IsNil : SavedCondition::Kind::IsNotNil;
  conditions.push_back(condition);
  return *this;
}

Question& Question::isText(const std::string& name, std::string text) {
  SavedCondition condition;
  condition.ordinal = ordinalOf(name);
  condition.kind = SavedCondition::Kind::IsText;
  condition.text = std::move(text);
  conditions.push_back(condition);
  return *this;
}

Question& Question::by(const std::string& name, bool up) {
  order = ordinalOf(name);
  ascending = up;
  return *this;
}

Question& Question::atMost(std::size_t most, std::size_t skipped) {
  limit = most;
  skip = skipped;
  return *this;
}

std::uint16_t Question::ordinalOf(const std::string& name) const {
  return name == "id" ? kIdOrdinal : entity->property(name)->ordinal();
}

RecordId nextIdOf(Persistence& engine, const Schema& schema, const std::string& entity) {
  RecordId id = 0;
  EXPECT_TRUE(engine.nextId(schema.entity(entity), id, nullptr));
  return id;
}

std::optional<PersistenceError> commit(Persistence& engine, const Draft& draft) {
  std::optional<Error> error;
  if (engine.commit(draft.changes(), &error)) return std::nullopt;
  return codeOf(error);
}

PersistenceError codeOf(const std::optional<Error>& error) {
  if (!error || error->domain() != kPersistenceErrorDomain) return PersistenceError{};
  EXPECT_FALSE(error->localizedDescription().empty());
  return static_cast<PersistenceError>(error->code());
}

}  // namespace bokfolio::test
