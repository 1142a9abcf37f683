#include "tests/faults/table.hpp"

#include <algorithm>
#include <cctype>
#include <cstdio>

#include "tests/faults/firm.hpp"

namespace bokfolio::faults {

namespace {

constexpr const char* kHeads[] = {"fault",    "tried", "old state", "new state",     "refused",
                                  "not seen", "lost",  "way out",   "in these words"};
constexpr std::size_t kSentences = 3;

std::string joined(const std::vector<std::string>& cells, bool markdown) {
  std::string text = markdown ? "| " : "";
  for (const std::string& cell : cells) text += cell + (&cell == &cells.back() ? "" : " | ");
  return text + (markdown ? " |\n" : "\n");
}

}  // namespace

Table::Line& Table::line(const std::string& fault) {
  const auto found = std::find_if(lines_.begin(), lines_.end(),
                                  [&](const Line& each) { return each.fault == fault; });
  if (found != lines_.end()) return *found;
  Line& made = lines_.emplace_back();
  made.fault = fault;
  return made;
}

void Table::count(const std::string& fault, Ending ending, const std::string& words) {
  Line& counted = line(fault);
  ++counted.endings[static_cast<std::size_t>(ending)];
  if (!words.empty()) ++counted.words[words];
}

void Table::countWayOut(const std::string& fault, std::optional<double> share) {
  Line& counted = line(fault);
  ++counted.tried;
  if (share) ++counted.salvaged;
  counted.kept += share.value_or(0);
}

void Table::remark(const std::string& fault, const std::string& text) { line(fault).remark = text; }

std::size_t Table::counted(const std::string& fault, Ending ending) const {
  for (const Line& each : lines_)
    if (each.fault == fault) return each.endings[static_cast<std::size_t>(ending)];
  return 0;
}

std::size_t Table::waysOut(const std::string& fault) const {
  for (const Line& each : lines_)
    if (each.fault == fault) return each.salvaged;
  return 0;
}

// How many documents were salvaged, and how much of their records on the average.
std::string Table::wayOutOf(const Line& line) {
  if (line.tried == 0) return "";
  std::string text = std::to_string(line.salvaged) + " of " + std::to_string(line.tried);
  if (line.salvaged == 0) return text;
  char share[32];
  std::snprintf(share, sizeof share, ", %.1f %%",
                100 * line.kept / static_cast<double>(line.salvaged));
  return text + share;
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
  std::string all = joined({std::begin(kHeads), std::end(kHeads)}, markdown);
  if (markdown) all += "|---|---:|---:|---:|---:|---:|---:|---:|---|\n";
  for (const Line& each : lines_) {
    const auto& ends = each.endings;
    std::vector<std::string> cells{each.fault,
                                   std::to_string(ends[0] + ends[1] + ends[2] + ends[3])};
    for (const std::size_t number : ends) cells.push_back(std::to_string(number));
    cells.insert(cells.end(), {"0", wayOutOf(each), wordsOf(each)});
    all += joined(cells, markdown);
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
