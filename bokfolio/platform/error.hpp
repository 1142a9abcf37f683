// Error: the value in which every expected failure of the library travels. It names a domain, a
// code within it and a dictionary of details, so that a host can decide by code and show the
// description. Programming errors are not reported this way; they are exceptions or go to the
// assertion handler.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "bokfolio/export.hpp"

namespace bokfolio {

// Domain of the library's own errors.
inline constexpr std::string_view kBokfolioErrorDomain = "BokfolioErrorDomain";
// Domain of validation errors that belong to the store's family.
inline constexpr std::string_view kStoreErrorDomain = "NSCocoaErrorDomain";

// Keys of the user-info dictionary.
inline constexpr std::string_view kLocalizedDescriptionKey = "NSLocalizedDescriptionKey";
inline constexpr std::string_view kValidationKeyErrorKey = "NSValidationKeyErrorKey";
inline constexpr std::string_view kDetailedErrorsKey = "NSDetailedErrorsKey";
inline constexpr std::string_view kEntryDescriptionKey = "BFEntryDescriptionKey";

class BOKFOLIO_EXPORT Error {
 public:
  // A text, or the list of errors that one error stands for.
  using Info = std::variant<std::string, std::vector<Error>>;

  Error(std::string_view domain, int code, std::string localizedDescription);

  const std::string& domain() const { return domain_; }
  int code() const { return code_; }

  // Adds or replaces one detail and answers this error, so that building one reads as a sentence.
  Error& with(std::string_view key, Info info);

  // The text under a key, or "" when there is none or it is not a text.
  const std::string& text(std::string_view key) const;
  const std::string& localizedDescription() const { return text(kLocalizedDescriptionKey); }
  // The errors under kDetailedErrorsKey; empty when the error stands only for itself.
  const std::vector<Error>& detailedErrors() const;

  const std::map<std::string, Info, std::less<>>& userInfo() const { return userInfo_; }

  friend bool operator==(const Error&, const Error&) = default;

 private:
  std::string domain_;
  int code_;
  std::map<std::string, Info, std::less<>> userInfo_;
};

// The out-parameter of a fallible operation. nullptr means that the caller wants no error, and then
// none is built.
using ErrorOut = std::optional<Error>*;

}  // namespace bokfolio
