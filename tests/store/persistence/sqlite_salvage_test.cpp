#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <random>
#include <set>
#include <sstream>

#include "bokfolio/store/persistence/sqlite/salvage.hpp"
#include "tests/store/persistence/sqlite_fixture.hpp"

namespace bokfolio::test {

namespace {

using enum PersistenceError;
constexpr PersistenceError kNone{};
constexpr std::size_t kPage = 4096;

std::string bytesOf(const std::string& path) {
  std::ifstream stream(path, std::ios::binary);
  std::ostringstream bytes;
  bytes << stream.rdbuf();
  return bytes.str();
}

void write(const std::string& path, const std::string& bytes) {
  std::ofstream(path, std::ios::binary) << bytes;
}

std::set<RecordId> idsIn(const Content& content, const std::string& entity) {
  std::set<RecordId> ids;
  for (const auto& [id, saved] : content.at(entity)) ids.insert(id);
  return ids;
}

class SqliteSalvage : public SqliteFile {
 protected:
  // Folders and papers on many pages, free pages, and records longer than a page.
  void createSample() {
    const auto made = opened(OpenMode::Create);
    Draft draft(schema);
    for (RecordId id = 1; id <= 40; ++id)
      draft.insert("Folder", id, {{"name", "Folder " + std::to_string(id)}});
    for (RecordId id = 1; id <= 300; ++id) {
      const std::string text = "Paper " + std::to_string(id) + std::string(id % 120, 'x');
      Cells cells = {{"count", static_cast<std::int64_t>(id) * 7},
                     {"weight", id % 2 == 0 ? 2.0 : 0.25},
                     {"amount", Decimal(static_cast<int>(id))},
                     {"order by", text},
                     {"date", Date::fromSeconds(1'700'000'000)},
                     {"folder", Reference{id % 40 + 1}}};
      if (id % 50 == 0) cells["scan"] = Blob{std::string(10'000 + id, 'b')};
      if (id > 1) cells["next"] = Reference{id - 1};
      draft.insert("Paper", id, cells);
    }
    ASSERT_EQ(commit(*made, draft), std::nullopt);
    Draft later(schema);
    for (RecordId id = 101; id <= 140; ++id) later.remove("Paper", id, 1);
    later.update("Paper", 141, 1, {}, {"next"});
    ASSERT_EQ(commit(*made, later), std::nullopt);
    sound = contentOf(*made, *schema);
  }

  std::string target() const { return folder / "new"; }

  PersistenceError salvage() {
    std::filesystem::remove(target());
    const std::string before = bytesOf(path);
    std::optional<Error> error;
    const bool done = salvageSqliteDocument(*schema, path, target(), {"1.3"}, report, &error);
    EXPECT_EQ(bytesOf(path), before);
    EXPECT_EQ(std::filesystem::exists(target()), done);
    return done ? kNone : codeOf(error);
  }

  Content salvaged() const {
    const auto document = engineAt(target(), OpenMode::ReadWrite);
    std::optional<Error> error;
    EXPECT_TRUE(document->open(*schema, &error) && document->verify(&error))
        << error->localizedDescription();
    return contentOf(*document, *schema);
  }

  const SalvageReport::Table& told(const std::string& table) const {
    return *std::find_if(report.tables.begin(), report.tables.end(),
                         [&](const auto& each) { return each.name == table; });
  }

  std::set<RecordId> toldLost(const std::string& table) const {
    std::set<RecordId> ids;
    for (const auto& lost : told(table).lost) ids.insert(lost.id);
    return ids;
  }

  // Columns that are nil now, as told.
  std::vector<std::string> droppedFrom(const std::string& entity, RecordId id) const {
    std::vector<std::string> columns;
    for (const auto& each : report.references)
      if (each.table == entity && each.record == id) columns.push_back(each.column);
    for (const auto& each : report.values)
      if (each.table == entity && each.record == id) columns.push_back(each.column);
    return columns;
  }

  // What is missing is told, what is there is as it was but for references that are told.
  void expectOnlyLoss(const Content& after) const {
    for (const std::string entity : {"Folder", "Paper"}) {
      std::set<RecordId> missing = idsIn(sound, entity);
      for (const auto& [id, saved] : after.at(entity)) {
        missing.erase(id);
        Saved expected = sound.at(entity).at(id);
        for (const std::string& column : droppedFrom(entity, id))
          EXPECT_EQ(expected.cells.erase(column), 1U);
        EXPECT_EQ(saved, expected) << entity << " " << id;
      }
      EXPECT_EQ(toldLost(entity), missing) << entity;
      EXPECT_EQ(told(entity).read, after.at(entity).size());
    }
  }

  std::size_t lost() const { return toldLost("Folder").size() + toldLost("Paper").size(); }

  Content sound;
  SalvageReport report;
};

TEST_F(SqliteSalvage, ASoundDocumentLosesNothing) {
  createSample();
  ASSERT_EQ(::chmod(path.c_str(), 0640), 0);
  ASSERT_EQ(salvage(), kNone);
  EXPECT_EQ(salvaged(), sound);
  EXPECT_TRUE(report.lossless());
  EXPECT_EQ(report.remarks, std::vector<std::string>());
  EXPECT_EQ(std::filesystem::status(target()).permissions(),
            std::filesystem::status(path).permissions());
}

// Each page in turn is spoilt: no more is lost than the records that stood on it.
TEST_F(SqliteSalvage, ASpoiltPageCostsItsRecordsAndNoOthers) {
  createSample();
  const std::string good = bytesOf(path);
  std::size_t spoilt = 0;
  for (std::size_t page = 2; page <= good.size() / kPage; ++page) {
    SCOPED_TRACE(page);
    const auto ofPage = [&](const std::string& what) {
      const std::string number = raw("SELECT " + what + " AND pageno=" + std::to_string(page));
      return number.empty() ? 0 : std::stoul(number);
    };
    const std::size_t records =
        ofPage("ncell FROM dbstat WHERE pagetype='leaf' AND name IN ('Paper', 'Folder')");
    const std::size_t links = ofPage("count(*) FROM dbstat WHERE pagetype='overflow'");
    std::string bytes = good;
    for (std::size_t i = (page - 1) * kPage; i < page * kPage; ++i)
      bytes[i] = static_cast<char>(~bytes[i]);
    write(path, bytes);
    ASSERT_EQ(salvage(), kNone);
    expectOnlyLoss(salvaged());
    EXPECT_EQ(lost(), records);
    EXPECT_EQ(report.values.size(), links * 3);  // the scan and what stands behind it
    spoilt += records + links;
    write(path, good);
  }
  EXPECT_EQ(spoilt, 260U + 40U + 6 * 2);
}

}  // namespace

}  // namespace bokfolio::test
