#include "tests/faults/table.hpp"

#include <algorithm>
#include <cctype>

#include "tests/faults/firm.hpp"

namespace bokfolio::faults {

namespace {

constexpr const char* kHeads[] = {"fault",   "tried",    "old state", "new state",
                                  "refused", "not seen", "lost",      "in these words"};
constexpr std::size_t kSentences = 3;

std::string joined(const std::vector<std::string>& cells, bool markdown,
                   const std::vector<std::size_t>& widths) {
  std::string text = markdown ? "|" : "";
  for (std::size_t i = 0; i < cells.size(); ++i) {
    text += (markdown ? " " : "") + cells[i];
    if (!markdown && i + 1 < cells.size()) text.append(widths[i] - cells[i].size() + 2, ' ');
    if (markdown) text += " |";
  }
  return text + '\n';
}

}  // namespace

Table::Line& Table::line(const std::string& fault) {
  const auto found = std::find_if(lines_.begin(), lines_.end(),
                                  [&](const Line& each) { return each.fault == fault; });
  if (found != lines_.end()) return *found;
  lines_.push_back({fault, {}, {}, ""});
  return lines_.back();
}

void Table::count(const std::string& fault, Ending ending, const std::string& words) {
  Line& counted = line(fault);
  ++counted.endings[static_cast<std::size_t>(ending)];
  if (!words.empty()) ++counted.words[words];
}

void Table::remark(const std::string& fault, const std::string& text) { line(fault).remark = text; }

std::size_t Table::counted(const std::string& fault, Ending ending) const {
  for (const Line& each : lines_)
    if (each.fault == fault) return each.endings[static_cast<std::size_t>(ending)];
  return 0;
}

// The most frequent sentences.
std::string Table::wordsOf(const Line& line) {
  std::vector<std::pair<std::size_t, std::string>> order;
  for (const auto& [words, times] : line.words) order.emplace_back(times, words);
  std::sort(order.begin(), order.end(), [](const auto& a, const auto& b) {
    return a.first != b.first ? a.first > b.first : a.second < b.second;
  });
  std::string text = line.remark;
  for (std::size_t i = 0; i < std::min(order.size(), kSentences); ++i)
    text += (text.empty() ? "" : " / ") + order[i].second;
  if (order.size() > kSentences)
    text += " / and " + std::to_string(order.size() - kSentences) + " more";
  return text;
}

// Lost is nothing: the first loss ends the run.
std::string Table::text(bool markdown) const {
  std::vector<std::vector<std::string>> rows{{std::begin(kHeads), std::end(kHeads)}};
  for (const Line& each : lines_) {
    const auto at = [&](Ending ending) { return each.endings[static_cast<std::size_t>(ending)]; };
    std::vector<std::string> cells{each.fault};
    for (const std::size_t number :
         {at(Ending::Old) + at(Ending::New) + at(Ending::Refused) + at(Ending::Unseen),
          at(Ending::Old), at(Ending::New), at(Ending::Refused), at(Ending::Unseen),
          std::size_t{0}})
      cells.push_back(std::to_string(number));
    cells.push_back(wordsOf(each));
    rows.push_back(std::move(cells));
  }
  std::vector<std::size_t> widths(std::size(kHeads));
  for (const auto& row : rows)
    for (std::size_t i = 0; i < row.size(); ++i) widths[i] = std::max(widths[i], row[i].size());
  std::string all;
  for (const auto& row : rows) {
    all += joined(row, markdown, widths);
    if (markdown && &row == &rows.front()) all += "|---|---:|---:|---:|---:|---:|---:|---|\n";
  }
  return all;
}

std::string wordsOf(const std::optional<Error>& error) {
  expect(error.has_value(), "something failed without an error");
  expect(!error->domain().empty() && error->code() != 0, "an error lacks its domain or code");
  const std::string& sentence = error->localizedDescription();
  expect(!sentence.empty(), "an error lacks its sentence");
  return generalised(sentence);
}

std::string generalised(const std::string& sentence) {
  std::string text;
  for (std::size_t at = 0; at < sentence.size(); ++at) {
    const bool path = sentence[at] == '"' && sentence[at + 1] == '/';
    if (path) {
      const std::size_t end = sentence.find('"', at + 1);
      text += "\"…\"";
      at = end == std::string::npos ? sentence.size() : end;
    } else if (std::isdigit(static_cast<unsigned char>(sentence[at])) != 0) {
      if (!text.ends_with('#')) text += '#';
    } else {
      text += sentence[at] == '|' || sentence[at] == '\n' ? ' ' : sentence[at];
    }
  }
  return text;
}

}  // namespace bokfolio::faults
