// Table: rows of cells written in aligned columns, two blanks between them. A renderer and nothing
// else: cells come as the text to show.
#pragma once

#include <cstddef>
#include <ostream>
#include <string>
#include <vector>

namespace bokfolio::cli {

class Table {
 public:
  enum class Align { Left, Right };
  struct Column {
    std::string heading;
    Align align = Align::Left;
    // For tables that are written piece by piece and must stand under one another.
    std::size_t minimumWidth = 0;
  };

  explicit Table(std::vector<Column> columns);

  // As many cells as there are columns; missing ones are empty.
  void addRow(std::vector<std::string> cells);
  // A line across all columns.
  void addRule();
  // A line of text on its own, which widens no column.
  void addHeading(std::string text);

  bool empty() const { return lines_.empty(); }
  // Headings (unless all are empty), a rule, the rows. Trailing blanks are left out.
  void write(std::ostream& out) const;

 private:
  struct Line {
    enum class Kind { Cells, Rule, Heading } kind = Kind::Cells;
    std::vector<std::string> cells;
  };
  std::vector<std::size_t> widths() const;
  void writeCells(std::ostream& out, const std::vector<std::string>& cells,
                  const std::vector<std::size_t>& widths) const;

  std::vector<Column> columns_;
  std::vector<Line> lines_;
};

}  // namespace bokfolio::cli
