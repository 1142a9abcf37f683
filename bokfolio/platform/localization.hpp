// Localisation: user-visible texts by key, in tables, one set of tables a language, and the filling
// of texts that are formats. Keys are English sentences or snake-case names; which ones there are
// is known by the code that asks and by the shipped tables, not here.
//
// A table is the resource "localization/<language>/<table>.texts", UTF-8, at most 1 MiB:
//   # a comment
//   "key" = "text"
// one pair a line, with \" \\ \n \t as escapes. The table without a name is "default". A faulty
// line is skipped and reported by problems(); the other lines count.
#pragma once

#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "bokfolio/export.hpp"
#include "bokfolio/platform/locale.hpp"
#include "bokfolio/platform/resources.hpp"

namespace bokfolio {

class BOKFOLIO_EXPORT Localizer {
 public:
  virtual ~Localizer();
  // The text under a key, or the key itself when the table, or the key in it, is missing.
  virtual std::string text(std::string_view key, std::string_view table = "") const = 0;
};

// Texts from resources. Looks in the locale's full name, then its language, then English
// ("sv_SE", "sv", "en"), key by key. Tables are read on first use and kept; safe from any thread.
class BOKFOLIO_EXPORT CatalogLocalizer final : public Localizer {
 public:
  CatalogLocalizer(std::shared_ptr<const Resources> resources, const Locale& locale);
  ~CatalogLocalizer() override;

  std::string text(std::string_view key, std::string_view table = "") const override;
  // The faults of the tables read so far, each with its table and line.
  std::vector<std::string> problems() const;

 private:
  struct Catalog;
  std::unique_ptr<Catalog> catalog_;
};

// Fills a format: "%@" takes the next argument, "%1$@" the first, "%%" is a percent sign. A missing
// argument gives nothing; any other use of "%" stays as it is written. Arguments are never read as
// formats.
BOKFOLIO_EXPORT std::string fillFormat(std::string_view format,
                                       std::span<const std::string> arguments);

}  // namespace bokfolio
