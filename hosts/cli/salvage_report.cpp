#include "salvage_report.hpp"

#include <utility>
#include <vector>

#include "bokfolio/platform/date_text.hpp"
#include "input.hpp"
#include "ledger_output.hpp"
#include "lookup.hpp"

namespace bokfolio::cli {

namespace {

// "3-7, 12"
std::string ranges(const std::vector<RecordId>& ids) {
  std::string text;
  for (std::size_t i = 0; i < ids.size();) {
    std::size_t last = i;
    while (last + 1 < ids.size() && ids[last + 1] == ids[last] + 1) ++last;
    text += (text.empty() ? "" : ", ") + std::to_string(ids[i]);
    if (last > i) text += "-" + std::to_string(ids[last]);
    i = last + 1;
  }
  return text;
}

std::string recordName(const std::string& entity, RecordId id) {
  return entity + " " + std::to_string(id);
}

class Describer {
 public:
  Describer(Host& host, Context& context) : host_(host), context_(context) {}

  // A record as the book calls it, when it is one of the ledger's.
  std::string record(const std::string& entity, RecordId id) {
    Record* found = context_.schema().find(entity) ? context_.find(entity, id) : nullptr;
    if (const auto* row = dynamic_cast<const Row*>(found); row && row->entry() != nullptr) {
      return "row " + std::to_string(placeOf(*row)) + " of " + entryTitle(*row->entry());
    }
    if (const auto* entry = dynamic_cast<const Entry*>(found)) return entryTitle(*entry);
    if (const auto* account = dynamic_cast<const Account*>(found)) {
      return "account " + account->description();
    }
    if (const auto* year = dynamic_cast<const FiscalYear*>(found)) {
      return "year " + year->name().value_or("?");
    }
    if (const auto* tag = dynamic_cast<const Tag*>(found))
      return "tag " + tag->name().value_or("?");
    return recordName(entity, id);
  }

  // What is known of a lost record: "number 12, year 2025".
  std::string known(const std::string& entity, const SalvageReport::LostRecord& lost) {
    std::string text;
    const Entity* described = context_.schema().find(entity);
    for (const auto& [column, value] : lost.known) {
      const Property* property = described != nullptr ? described->property(column) : nullptr;
      text += (text.empty() ? "" : ", ") + column + " " + shown(property, value);
    }
    return text;
  }

 private:
  std::string shown(const Property* property, const std::string& value) {
    const auto number = numberFromText(value);
    if (property == nullptr || !number) return "\"" + value + "\"";
    if (property->isToOne()) {
      return "(" + record(property->target().name(), static_cast<RecordId>(*number)) + ")";
    }
    if (property->kind() == PropertyKind::Date) return host_.day(Date::fromMicroseconds(*number));
    return value;
  }

  Host& host_;
  Context& context_;
};

void printTable(Host& host, Describer& describer, const SalvageReport::Table& table) {
  if (!table.lost.empty()) {
    std::vector<RecordId> plain;
    host.printLine("lost: " + std::to_string(table.lost.size()) + " of " + table.name);
    for (const SalvageReport::LostRecord& lost : table.lost) {
      if (lost.known.empty()) {
        plain.push_back(lost.id);
      } else {
        host.printLine("  " + recordName(table.name, lost.id) + ": " +
                       describer.known(table.name, lost));
      }
    }
    if (!plain.empty()) host.printLine("  " + table.name + " " + ranges(plain));
  }
  if (!table.lostIsAll) {
    host.printLine("lost: more of " + table.name + " may be lost than can be told");
  }
  if (!table.doubtful.empty()) {
    host.printLine("look at: " + table.name + " " + ranges(table.doubtful) +
                   ": read from a damaged page");
  }
}

Json lostJson(const SalvageReport::Table& table) {
  Json lost = Json::array();
  for (const SalvageReport::LostRecord& record : table.lost) {
    Json known = Json::object();
    for (const auto& [column, value] : record.known) known[column] = value;
    lost.push_back({{"id", record.id}, {"known", known}});
  }
  return lost;
}

}  // namespace

Json salvageJson(const SalvageReport& report) {
  Json json = {{"lossless", report.lossless()}, {"torn", report.torn},
               {"tables", Json::array()},       {"values", Json::array()},
               {"references", Json::array()},   {"remarks", report.remarks}};
  for (const SalvageReport::Table& table : report.tables) {
    json["tables"].push_back({{"name", table.name},
                              {"read", table.read},
                              {"lost", lostJson(table)},
                              {"lostIsAll", table.lostIsAll},
                              {"doubtful", table.doubtful}});
  }
  for (const SalvageReport::Value& value : report.values) {
    json["values"].push_back({{"table", value.table},
                              {"id", value.record},
                              {"column", value.column},
                              {"reason", value.reason}});
  }
  for (const SalvageReport::Reference& reference : report.references) {
    json["references"].push_back({{"table", reference.table},
                                  {"id", reference.record},
                                  {"column", reference.column},
                                  {"target", reference.target},
                                  {"targetId", reference.targetId}});
  }
  return json;
}

void printSalvage(Host& host, const Session& session, const SalvageReport& report) {
  Describer describer(host, session.context());
  for (const std::string& remark : report.remarks) host.printLine("file: " + remark);
  for (const SalvageReport::Table& table : report.tables) printTable(host, describer, table);
  for (const SalvageReport::Value& value : report.values) {
    host.printLine("lost: " + value.column + " of " + describer.record(value.table, value.record) +
                   ": " + value.reason);
  }
  for (const SalvageReport::Reference& reference : report.references) {
    host.printLine("lost: " + reference.column + " of " +
                   describer.record(reference.table, reference.record) + ": " +
                   recordName(reference.target, reference.targetId) + " is gone");
  }
}

}  // namespace bokfolio::cli
