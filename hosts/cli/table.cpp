#include "table.hpp"

#include <algorithm>
#include <utility>

#include "text_width.hpp"

namespace bokfolio::cli {

Table::Table(std::vector<Column> columns) : columns_(std::move(columns)) {}

void Table::addRow(std::vector<std::string> cells) {
  cells.resize(columns_.size());
  for (std::string& cell : cells) cell = printable(cell);
  lines_.push_back({Line::Kind::Cells, std::move(cells)});
}

void Table::addRule() { lines_.push_back({Line::Kind::Rule, {}}); }

void Table::addHeading(std::string text) {
  lines_.push_back({Line::Kind::Heading, {printable(text)}});
}

std::vector<std::size_t> Table::widths() const {
  std::vector<std::size_t> widths;
  for (const Column& column : columns_) {
    widths.push_back(std::max(column.minimumWidth, displayWidth(column.heading)));
  }
  for (const Line& line : lines_) {
    if (line.kind != Line::Kind::Cells) continue;
    for (std::size_t at = 0; at < widths.size(); ++at) {
      widths[at] = std::max(widths[at], displayWidth(line.cells[at]));
    }
  }
  return widths;
}

void Table::writeCells(std::ostream& out, const std::vector<std::string>& cells,
                       const std::vector<std::size_t>& widths) const {
  std::string line;
  std::size_t owed = 0;  // blanks, written only when something follows
  for (std::size_t at = 0; at < cells.size(); ++at) {
    const std::size_t missing = widths[at] - displayWidth(cells[at]);
    const bool right = columns_[at].align == Align::Right;
    if (right) owed += missing;
    if (!cells[at].empty()) {
      line.append(owed, ' ').append(cells[at]);
      owed = 0;
    } else {
      owed += widths[at] - missing;
    }
    if (!right) owed += missing;
    owed += 2;
  }
  out << line << '\n';
}

void Table::write(std::ostream& out) const {
  const std::vector<std::size_t> wide = widths();
  std::size_t total = wide.empty() ? 0 : 2 * (wide.size() - 1);
  for (const std::size_t width : wide) total += width;
  std::string rule;
  for (std::size_t at = 0; at < total; ++at) rule += "\xE2\x94\x80";

  std::vector<std::string> headings;
  for (const Column& column : columns_) headings.push_back(column.heading);
  if (std::any_of(headings.begin(), headings.end(), [](const auto& h) { return !h.empty(); })) {
    writeCells(out, headings, wide);
    out << rule << '\n';
  }
  for (const Line& line : lines_) {
    if (line.kind == Line::Kind::Cells) writeCells(out, line.cells, wide);
    if (line.kind == Line::Kind::Rule) out << rule << '\n';
    if (line.kind == Line::Kind::Heading) out << line.cells.front() << '\n';
  }
}

}  // namespace bokfolio::cli
