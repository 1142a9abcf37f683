#include "bokfolio/interchange/sie/sie_text.hpp"

#include <algorithm>

namespace bokfolio {
namespace {

bool isBlank(char c) { return c == ' ' || c == '\t'; }
bool isBrace(char c) { return c == '{' || c == '}'; }
bool endsField(char c) { return isBlank(c) || isBrace(c); }

}  // namespace

SieLines::SieLines(std::string_view text) noexcept
    : text_(text),
      newline_(std::min(text.find('\n'), text.size())),
      return_(std::min(text.find('\r'), text.size())) {}

bool SieLines::next() noexcept {
  if (at_ == text_.size()) return false;
  // Each end is searched for again only when it has been passed: linear also when one never occurs.
  if (newline_ < at_) newline_ = std::min(text_.find('\n', at_), text_.size());
  if (return_ < at_) return_ = std::min(text_.find('\r', at_), text_.size());
  const std::size_t end = std::min(newline_, return_);
  line_ = text_.substr(at_, end - at_);
  const bool twoBytes = end == return_ && newline_ == return_ + 1;
  at_ = std::min(end + (twoBytes ? 2 : 1), text_.size());
  ++number_;
  return true;
}

std::size_t unescapeSieField(char* text, std::size_t length) noexcept {
  std::size_t kept = 0;
  for (std::size_t at = 0; at < length; ++at) {
    if (text[at] == '\\' && at + 1 < length && text[at + 1] == '"') ++at;
    text[kept++] = text[at];
  }
  return kept;
}

SieField SieFields::operator[](std::size_t index) const noexcept {
  if (index >= listStart_) index += listSize_;
  return index < fields_.size() ? fields_[index] : SieField{};
}

SieFieldFault SieFields::split(std::string_view line) {
  fields_.clear();
  listStart_ = listSize_ = 0;
  hasList_ = inList_ = anyEscaped_ = false;
  for (std::size_t at = 0; at < line.size();) {
    if (isBlank(line[at])) {
      ++at;
    } else if (const SieFieldFault fault = take(line, at); fault != SieFieldFault::None) {
      return fault;
    }
  }
  return inList_ ? SieFieldFault::UnclosedBrace : SieFieldFault::None;
}

SieFieldFault SieFields::take(std::string_view line, std::size_t& at) {
  const char first = line[at];
  if (isBrace(first)) return takeBrace(line[at++]);
  return first == '"' ? takeQuoted(line, at) : takePlain(line, at);
}

SieFieldFault SieFields::takeQuoted(std::string_view line, std::size_t& at) {
  const std::size_t start = at + 1;
  SieField field;
  std::size_t end = line.find('"', start);
  while (end != std::string_view::npos && end > start && line[end - 1] == '\\') {
    const std::size_t following = line.find('"', end + 1);
    if (following == std::string_view::npos) break;
    field.escaped = true;
    end = following;
  }
  if (end == std::string_view::npos) return SieFieldFault::UnclosedQuote;
  at = end + 1;
  if (at < line.size() && !endsField(line[at])) return SieFieldFault::StrayQuote;
  field.text = line.substr(start, end - start);
  return add(field);
}

SieFieldFault SieFields::takePlain(std::string_view line, std::size_t& at) {
  const std::size_t start = at;
  SieField field;
  for (; at < line.size() && !endsField(line[at]); ++at) {
    if (line[at] == '"' && at > start && line[at - 1] == '\\') field.escaped = true;
  }
  field.text = line.substr(start, at - start);
  return add(field);
}

SieFieldFault SieFields::takeBrace(char brace) {
  if (brace == '}') {
    if (!inList_) return SieFieldFault::StrayBrace;
    inList_ = false;
    return SieFieldFault::None;
  }
  if (hasList_) return SieFieldFault::StrayBrace;
  hasList_ = inList_ = true;
  listStart_ = fields_.size();
  return SieFieldFault::None;
}

SieFieldFault SieFields::add(SieField field) {
  if (fields_.size() == kMaxFields) return SieFieldFault::TooManyFields;
  fields_.push_back(field);
  anyEscaped_ = anyEscaped_ || field.escaped;
  if (inList_) ++listSize_;
  return SieFieldFault::None;
}

}  // namespace bokfolio
