// User: who is at the machine. The name goes into change records.
#pragma once

#include <string>

#include "bokfolio/export.hpp"

namespace bokfolio {

class BOKFOLIO_EXPORT User {
 public:
  virtual ~User();
  // The full name in UTF-8; "" when nothing is known.
  virtual std::string fullName() const = 0;
};

// The account that runs the process: its full name, or else its login name.
class BOKFOLIO_EXPORT SystemUser final : public User {
 public:
  std::string fullName() const override;
};

class BOKFOLIO_EXPORT ScriptedUser final : public User {
 public:
  explicit ScriptedUser(std::string fullName);
  void setFullName(std::string fullName);
  std::string fullName() const override;

 private:
  std::string fullName_;
};

}  // namespace bokfolio
