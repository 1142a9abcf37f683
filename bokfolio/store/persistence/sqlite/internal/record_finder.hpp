// RecordFinder: the store's questions about records, put to the file. It keeps the statements it
// prepared, one for each form of question.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "bokfolio/store/persistence/internal/sql/questions.hpp"
#include "bokfolio/store/persistence/persistence.hpp"
#include "bokfolio/store/persistence/sqlite/internal/saved_state.hpp"

namespace bokfolio::internal {

class RecordFinder {
 public:
  // `tables` by entity ordinal, without a name where the file has none; all must outlive the
  // finder.
  RecordFinder(Connection& connection, const std::vector<SqlTable>& tables, SavedState& state);

  void find(const SavedQuestion& question, RecordSink& sink);
  std::size_t count(const SavedQuestion& question);

 private:
  using Statements = std::unordered_map<std::string, Statement>;

  struct TableFinder {
    Statements finding;
    Statements counting;
  };

  // The question without what the file has no columns for, which reads as nil, and with one stretch
  // for each property; nullptr when nothing can satisfy it. `fitted` has room for a question that
  // must be changed.
  const SavedQuestion* fit(const SavedQuestion& question,
                           std::optional<SavedQuestion>& fitted) const;
  template <class Text>
  Statement& prepared(Statements& statements, std::string form, Text text);

  Connection& connection_;
  const std::vector<SqlTable>& tables_;
  SavedState& state_;
  std::vector<TableFinder> finders_;
};

}  // namespace bokfolio::internal
