#include <gtest/gtest.h>

#include "tests/faults/scenarios.hpp"

namespace bokfolio::faults {

namespace {

using enum PersistenceError;

class EngineCalls : public testing::TestWithParam<std::size_t> {};

TEST_P(EngineCalls, ThatFailLeaveOldOrNew) {
  Table table;
  const Operation& tried = operations()[GetParam()];
  failEngineCalls(table, Engine::Memory, tried, {Failed});
  failEngineCalls(table, Engine::Sqlite, tried, {InUse});
  EXPECT_GT(table.counted(std::string("call fails: ") + tried.name, Ending::Old), 0U)
      << table.text(false);
}

INSTANTIATE_TEST_SUITE_P(FaultMatrix, EngineCalls, testing::Range<std::size_t>(0, 16));

TEST(FaultMatrix, KilledProcessesLeaveOldOrNew) {
  Table table;
  kill(table, 1, 60);
  EXPECT_GT(table.counted("killed while saving an import", Ending::Old), 2U) << table.text(false);
}

TEST(FaultMatrix, AFullDiskLeavesTheOldState) {
  Table table;
  fillDisk(table, 24);
  EXPECT_GT(table.counted("files limited while saving an import", Ending::Old), 2U)
      << table.text(false);
}

TEST(FaultMatrix, StrangeFilesAreRefusedWithWords) {
  Table table;
  meetStrangeFiles(table);
  EXPECT_EQ(table.counted("a reader after a writer's save", Ending::Refused), 1U);
}

TEST(FaultMatrix, JournalsHealWhatTheyBelongTo) {
  Table table;
  meetJournals(table, 1, 4);
  EXPECT_EQ(table.counted("torn save, its journal beside it", Ending::Old), 4U);
}

TEST(FaultMatrix, DamageIsFoundOrDoesNoHarm) {
  Table table;
  damage(table, 1, 120, 30);
  EXPECT_GT(table.counted("cut short", Ending::Refused), 25U) << table.text(false);
  EXPECT_GT(table.waysOut("cut short"), 8U) << table.text(false);
  EXPECT_EQ(table.waysOut("a byte changed in indexes"),
            table.counted("a byte changed in indexes", Ending::Refused));
}

}  // namespace

}  // namespace bokfolio::faults
