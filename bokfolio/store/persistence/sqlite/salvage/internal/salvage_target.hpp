// SalvageTarget: the new document while it is being filled, in a file that is not in its place yet.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "bokfolio/store/persistence/sqlite/internal/connection.hpp"
#include "bokfolio/store/persistence/sqlite/salvage.hpp"
#include "bokfolio/store/persistence/sqlite/salvage/internal/salvage_plan.hpp"
#include "bokfolio/store/persistence/sqlite/salvage/internal/stored_record.hpp"

namespace bokfolio::internal {

class SalvageTarget {
 public:
  // An empty file becomes a document with the tables of the plan.
  SalvageTarget(const std::string& path, const SalvagePlan& plan, const std::string& application);

  // Values by column of the planned table. False when there is such a record already.
  bool insert(std::size_t table, std::int64_t id, std::int64_t version,
              const std::vector<StoredValue>& values);
  void note(std::string_view name, std::string_view value);
  void setNextId(std::size_t table, std::int64_t id);
  // Makes references to what is not there nil, and tells which.
  void dropBrokenReferences(std::vector<SalvageReport::Reference>& dropped);
  // Two to-ones that are each other's inverse say the same from both sides. A side that is nil
  // learns it from the other, and what contradicts becomes nil; the report says which.
  void joinPairs(SalvageReport& report);
  // Ends the work and verifies it.
  void finish();

 private:
  void dropBroken(const SqlTable& table, const SqlColumn& column,
                  std::vector<SalvageReport::Reference>& dropped);
  void restoreInverse(const SqlTable& table, const SqlColumn& column, SalvageReport& report);
  void dropOneSided(const SqlTable& table, const SqlColumn& column, SalvageReport& report);
  void setReference(const std::string& table, const std::string& column, std::int64_t id,
                    std::int64_t target);

  Connection connection_;
  std::vector<SqlTable> tables_;
  std::vector<Statement> inserts_;  // by table
  std::optional<Transaction> transaction_;
};

}  // namespace bokfolio::internal
