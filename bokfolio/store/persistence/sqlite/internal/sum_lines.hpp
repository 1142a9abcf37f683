// SumLines: the kept sums of all entities in the file, one table for each entity that declares some
// and a note that says for which layout its lines are. Lines without the note of the layout mean
// nothing; they are replaced as a whole before they count.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "bokfolio/store/persistence/internal/sql/table.hpp"
#include "bokfolio/store/persistence/persistence.hpp"
#include "bokfolio/store/persistence/sqlite/internal/saved_state.hpp"

namespace bokfolio::internal {

// "bokfolio_sum_Row": no entity can have such a name.
std::string sumTableOf(const SqlTable& table);
// Makes the table when there is none.
void addSumTable(Connection& connection, const SqlTable& table);
bool hasSumTable(const Connection& connection, const SqlTable& table);
// The statement that answers a question; it binds the period, and the owner, or the whole key.
std::string findSums(const SqlTable& table, SumLineQuestion::Kind kind);
// Notes that the table has all lines of the layout.
void noteSums(Connection& connection, const SqlTable& table);

class SumLines {
 public:
  // `tables` by entity ordinal; all must outlive this.
  SumLines(Connection& connection, const std::vector<SqlTable>& tables, SavedState& state);

  bool kept(const Entity& entity) const { return sums_[entity.ordinal()].kept; }
  // Failed when they are not kept.
  void read(const Entity& entity, const SumLineQuestion& question, SumLineSink& sink);

  // Inside the transaction of a save: the save's lines. Sums that this model does not keep are no
  // longer up to date after it and lose their note.
  void write(const std::vector<ChangeSet::Sums>& sums);
  // After that transaction: kept() knows what was written.
  void endWriting();

  // Damaged at the first line that cannot be, or is about what does not exist.
  void verify();

 private:
  struct EntitySums {
    bool kept = false;
    bool brought = false;  // by the save that is running
    std::optional<Statement> totals;
    std::optional<Statement> instants;
    std::optional<Statement> one;
    std::optional<Statement> put;
    std::optional<Statement> drop;
  };

  template <class Text>
  Statement& prepared(std::optional<Statement>& statement, Text text);
  Statement& asking(const Entity& entity, const SumLineQuestion& question);
  void write(const ChangeSet::Sums& sums);
  void put(const Entity& entity, const SumLine& line);
  void verify(const SqlTable& table);

  Connection& connection_;
  const std::vector<SqlTable>& tables_;
  SavedState& state_;
  std::vector<EntitySums> sums_;
  std::vector<std::string> strangers_;  // notes of sums that this model does not keep
};

}  // namespace bokfolio::internal
