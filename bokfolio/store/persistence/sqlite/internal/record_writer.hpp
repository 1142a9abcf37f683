// RecordWriter: the way of change sets into the file. It keeps prepared statements for as long as
// the document is open, one for each set of columns that is updated together.
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <vector>

#include "bokfolio/store/persistence/change_set.hpp"
#include "bokfolio/store/persistence/internal/sql/statements.hpp"
#include "bokfolio/store/persistence/sqlite/internal/connection.hpp"
#include "bokfolio/store/persistence/sqlite/internal/saved_state.hpp"
#include "bokfolio/store/persistence/sqlite/internal/sum_lines.hpp"

namespace bokfolio::internal {

class RecordWriter {
 public:
  // `tables` by entity ordinal; all must outlive the writer.
  RecordWriter(Connection& connection, const std::vector<SqlTable>& tables, SavedState& state,
               SumLines& sums);

  // Everything in one transaction, on the disk when it returns. Throws Failure, and then nothing is
  // written.
  void write(const ChangeSet& changes);

 private:
  using DecimalText = std::array<char, Decimal::kMaxTextLength>;

  struct TableWriter {
    std::optional<Statement> insert;
    std::optional<Statement> remove;
    std::map<std::vector<std::uint16_t>, Statement> updates;  // by ordinals
    std::vector<DecimalText> decimals;                        // by column, while a statement runs
    RecordId nextId = 0;                                      // what this change set calls for
  };

  void apply(const RecordChange& change);
  void insert(const RecordChange& change);
  void update(const RecordChange& change);
  void remove(const RecordChange& change);
  Statement& updateOf(std::size_t entity, const std::vector<std::uint16_t>& ordinals);
  void bind(Statement& statement, int position, std::size_t entity, std::size_t column,
            const SlotView& values);
  void expectOneChange(const RecordChange& change);
  void writeNextIds();
  void commit(Transaction& transaction);

  Connection& connection_;
  const std::vector<SqlTable>& tables_;
  SavedState& state_;
  SumLines& sums_;
  std::vector<TableWriter> writers_;
  Statement raiseNextId_;
};

}  // namespace bokfolio::internal
