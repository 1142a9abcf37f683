#include "bokfolio/platform/error.hpp"

#include <utility>

namespace bokfolio {

Error::Error(std::string_view domain, int code, std::string localizedDescription)
    : domain_(domain), code_(code) {
  with(kLocalizedDescriptionKey, std::move(localizedDescription));
}

Error& Error::with(std::string_view key, Info info) {
  userInfo_.insert_or_assign(std::string(key), std::move(info));
  return *this;
}

const std::string& Error::text(std::string_view key) const {
  static const std::string kEmpty;
  const auto found = userInfo_.find(key);
  if (found == userInfo_.end()) return kEmpty;
  const auto* text = std::get_if<std::string>(&found->second);
  return text != nullptr ? *text : kEmpty;
}

const std::vector<Error>& Error::detailedErrors() const {
  static const std::vector<Error> kNone;
  const auto found = userInfo_.find(kDetailedErrorsKey);
  if (found == userInfo_.end()) return kNone;
  const auto* list = std::get_if<std::vector<Error>>(&found->second);
  return list != nullptr ? *list : kNone;
}

}  // namespace bokfolio
