#include "tests/conformance/draft.hpp"

#include <gtest/gtest.h>

namespace bokfolio::test {

namespace {

PropertyDescription property(std::string name, PropertyKind kind, std::string target = "",
                             std::string inverse = "") {
  PropertyDescription description;
  description.name = std::move(name);
  description.kind = kind;
  description.target = std::move(target);
  description.inverse = std::move(inverse);
  return description;
}

class ContentSink final : public RecordSink {
 public:
  ContentSink(const Entity& entity, std::map<RecordId, Saved>& records)
      : entity_(entity), records_(records) {}

  void begin(RecordId id, std::uint32_t version) override {
    EXPECT_TRUE(records_.empty() || id > records_.rbegin()->first);
    current_ = &records_[id];
    current_->version = version;
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
  void end() override { current_ = nullptr; }

 private:
  void put(std::uint16_t ordinal, Cell value) {
    current_->cells.emplace(entity_.property(ordinal).name(), std::move(value));
  }

  const Entity& entity_;
  std::map<RecordId, Saved>& records_;
  Saved* current_ = nullptr;
};

}  // namespace

std::shared_ptr<const Schema> paperSchema(bool extended) {
  EntityDescription folder;
  folder.name = "Folder";
  folder.properties = {property("name", PropertyKind::String),
                       property("papers", PropertyKind::ToMany, "Paper", "folder")};
  EntityDescription paper;
  paper.name = "Paper";
  PropertyDescription mood = property("mood", PropertyKind::Double);
  mood.transient = true;
  paper.properties = {mood,
                      property("count", PropertyKind::Integer),
                      property("weight", PropertyKind::Double),
                      property("amount", PropertyKind::Decimal),
                      property("order by", PropertyKind::String),
                      property("date", PropertyKind::Date),
                      property("scan", PropertyKind::Binary),
                      property("folder", PropertyKind::ToOne, "Folder", "papers"),
                      property("next", PropertyKind::ToOne, "Paper")};
  EntityDescription stamp;
  stamp.name = "Stamp";
  stamp.properties = {property("paper", PropertyKind::ToOne, "Paper")};
  if (!extended) return std::make_shared<Schema>(std::vector{folder, paper});
  paper.properties.push_back(property("colour", PropertyKind::String));
  paper.properties.push_back(property("price", PropertyKind::Decimal));
  paper.properties.push_back(property("cover", PropertyKind::ToOne, "Paper"));
  return std::make_shared<Schema>(std::vector{stamp, paper, folder});
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

Content contentOf(Persistence& engine, const Schema& schema) {
  Content content;
  for (const Entity& entity : schema.entities()) {
    ContentSink sink(entity, content[entity.name()]);
    std::optional<Error> error;
    EXPECT_TRUE(engine.load(entity, sink, &error)) << error->localizedDescription();
  }
  return content;
}

std::optional<PersistenceError> loading(Persistence& engine, const Entity& entity) {
  std::map<RecordId, Saved> records;
  ContentSink sink(entity, records);
  std::optional<Error> error;
  if (engine.load(entity, sink, &error)) return std::nullopt;
  return codeOf(error);
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
