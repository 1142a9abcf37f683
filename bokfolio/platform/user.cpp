#include "bokfolio/platform/user.hpp"

#include <pwd.h>
#include <unistd.h>

#include <cerrno>
#include <utility>
#include <vector>

#include "bokfolio/platform/internal/plain_text.hpp"

namespace bokfolio {

namespace {

// The first field of the account's comment; "&" stands for the capitalised login name.
std::string nameFromComment(std::string_view comment, std::string_view login) {
  std::string name;
  for (const char c : comment.substr(0, comment.find(','))) {
    if (c != '&') {
      name += c;
    } else if (!login.empty()) {
      const char first = login.front();
      name += first >= 'a' && first <= 'z' ? static_cast<char>(first - 'a' + 'A') : first;
      name += login.substr(1);
    }
  }
  return std::string(trimmed(name));
}

}  // namespace

User::~User() = default;

std::string SystemUser::fullName() const {
  passwd record{};
  passwd* found = nullptr;
  std::vector<char> buffer(1024);
  constexpr std::size_t kLargestRecord = std::size_t{1} << 20;
  int result = getpwuid_r(getuid(), &record, buffer.data(), buffer.size(), &found);
  while (result == ERANGE && buffer.size() < kLargestRecord) {
    buffer.resize(buffer.size() * 2);
    result = getpwuid_r(getuid(), &record, buffer.data(), buffer.size(), &found);
  }
  if (result != 0 || found == nullptr) return "";
  const std::string login = record.pw_name != nullptr ? record.pw_name : "";
  const std::string name =
      nameFromComment(record.pw_gecos != nullptr ? record.pw_gecos : "", login);
  if (!name.empty() && isUtf8(name)) return name;
  return isUtf8(login) ? login : "";
}

ScriptedUser::ScriptedUser(std::string fullName) : fullName_(std::move(fullName)) {}

void ScriptedUser::setFullName(std::string fullName) { fullName_ = std::move(fullName); }

std::string ScriptedUser::fullName() const { return fullName_; }

}  // namespace bokfolio
