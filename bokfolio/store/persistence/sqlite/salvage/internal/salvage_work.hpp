// SalvageWork: one salvage from the damaged file to the new one, step by step. docs/architecture.md
// says why in this order.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "bokfolio/store/persistence/sqlite/salvage.hpp"
#include "bokfolio/store/persistence/sqlite/salvage/internal/known_ids.hpp"
#include "bokfolio/store/persistence/sqlite/salvage/internal/salvage_target.hpp"
#include "bokfolio/store/persistence/sqlite/salvage/internal/salvaged_value.hpp"

namespace bokfolio::internal {

class SalvageWork {
 public:
  // Throws Failure when the file is no document, or one that cannot be read at all. All must
  // outlive the work.
  SalvageWork(const PageFile& file, const std::vector<SqlTable>& model, std::string path,
              SalvageReport& report);

  // Fills the file at `target`, which is empty, and verifies it.
  void run(const std::string& target, const std::string& application);

 private:
  struct Source {
    KnownIds known;
    PageClaims::Owner owner = 0;
    bool whole = true;
    std::vector<std::int64_t> ids;    // read from the table; ascending
    std::vector<std::int64_t> found;  // read from leaves without parent
    std::int64_t nextId = 1;          // as the document said
  };
  // Of a leaf whose parent is damaged.
  struct LostRecord {
    std::int64_t id;
    std::string bytes;
    std::uint64_t size;
  };
  struct LostLeaf {
    std::vector<LostRecord> records;
    bool damaged = false;
  };

  void checkDocument();
  void readFreePages();
  void copyNotes(SalvageTarget& target);
  void readNextIds();
  void copyTable(std::size_t table, SalvageTarget& target);
  void copyLostLeaves(SalvageTarget& target);
  void copyLostLeaf(const LostLeaf& leaf, SalvageTarget& target);
  bool take(std::size_t table, const TreeRecord& record, SalvageTarget& target);
  // Takes `stored_` apart by the plan; answers the version.
  std::int64_t fitRecord(std::size_t table, std::int64_t id,
                         std::vector<SalvageReport::Value>& dropped);
  // How many of a leaf's records can be this table's.
  bool mayBelong(const LostLeaf& leaf, std::size_t table);
  bool fits(const LostRecord& record, const PlannedTable& planned);
  void tellLost(std::size_t table);
  void setNextIds(SalvageTarget& target);
  void addMissingTargets();
  std::size_t tableNamed(const std::string& name) const;

  const PageFile& file_;
  std::string path_;
  SalvageReport& report_;
  PageClaims claims_;
  TreeReader reader_;
  DamagedSchema schema_;
  SalvagePlan plan_;
  std::vector<Source> sources_;  // by table of the plan
  bool freeWhole_ = true;
  bool inLostLeaves_ = false;
  // While one record is read.
  std::vector<StoredValue> stored_;
  std::vector<StoredValue> values_;
  std::vector<DecimalText> decimals_;
};

}  // namespace bokfolio::internal
