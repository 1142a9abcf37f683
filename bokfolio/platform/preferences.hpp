// Preferences: the user's own settings, outside every document. The library reads one; a host may
// keep more here. An unset preference is false.
#pragma once

#include <map>
#include <string>
#include <string_view>

#include "bokfolio/export.hpp"
#include "bokfolio/platform/error.hpp"

namespace bokfolio {

// Whether the rows of an entry are ordered and numbered by account instead of by their own number.
inline constexpr std::string_view kSortRowsByAccount = "sortRowsByAccount";

class BOKFOLIO_EXPORT Preferences {
 public:
  virtual ~Preferences();
  virtual bool boolForKey(std::string_view key) const = 0;
  // Answers whether the value was kept for good; when not, it holds for this run and the error
  // (kPlatformErrorDomain, FileNotWritten) says why. A key is one or more characters without "=",
  // "#", blanks or control characters; others are refused the same way and not set.
  virtual bool setBool(std::string_view key, bool value, ErrorOut error = nullptr) = 0;
};

class BOKFOLIO_EXPORT MemoryPreferences final : public Preferences {
 public:
  bool boolForKey(std::string_view key) const override;
  bool setBool(std::string_view key, bool value, ErrorOut error = nullptr) override;

 private:
  std::map<std::string, bool, std::less<>> values_;
};

// A text file of lines "key=true" or "key=false", read once when made; a missing file is an empty
// one, lines of another kind are ignored and kept. Each change writes a new file beside the old one
// and renames it, so that a reader sees the old or the new content. Folders are made as needed.
class BOKFOLIO_EXPORT FilePreferences final : public Preferences {
 public:
  explicit FilePreferences(std::string path);
  // bokfolio/preferences in XDG_CONFIG_HOME, or in ~/.config; "" when there is no home at all, and
  // then nothing is kept for good.
  static std::string standardPath();

  const std::string& path() const noexcept { return path_; }
  bool boolForKey(std::string_view key) const override;
  bool setBool(std::string_view key, bool value, ErrorOut error = nullptr) override;

 private:
  bool write(ErrorOut error) const;

  std::string path_;
  std::map<std::string, bool, std::less<>> values_;
  std::string otherLines_;
};

}  // namespace bokfolio
