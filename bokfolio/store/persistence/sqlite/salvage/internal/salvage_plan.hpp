// SalvagePlan: which tables a damaged document has and how their records become those of the new
// one. The model's tables come first, as the model has them, with what the file has beside; those
// of plug-ins that are away follow.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "bokfolio/store/persistence/internal/sql/table.hpp"
#include "bokfolio/store/persistence/sqlite/salvage/internal/damaged_schema.hpp"

namespace bokfolio::internal {

struct PlannedTable {
  // Where a value of a stored record goes.
  static constexpr std::size_t kId = static_cast<std::size_t>(-1);
  static constexpr std::size_t kVersion = static_cast<std::size_t>(-2);

  SqlTable table;  // of the new document
  std::vector<std::size_t>
      places;              // by column of the file: in `table.columns`, or one of the above
  std::uint32_t root = 0;  // in the file; 0: none, or not known
  bool isLost = false;     // the file had it, and does not say any more where
};

struct SalvagePlan {
  std::vector<PlannedTable> tables;
  std::vector<std::string> remarks;

  // Throws Failure (Refused) when the file holds a column as another kind than the model.
  SalvagePlan(const DamagedSchema& schema, const std::vector<SqlTable>& model);

 private:
  void addModelTable(const DamagedSchema& schema, const SqlTable& table);
  void addOther(const SchemaLine& line);
  bool isPlanned(const std::string& name) const;
  void forgetMissingTargets();
};

}  // namespace bokfolio::internal
