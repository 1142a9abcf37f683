// Session: one document, opened for a command. It finds which document is meant, opens it, and lets
// a command change it as a whole or not at all.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "bokfolio/store/context.hpp"
#include "failure.hpp"
#include "host.hpp"

namespace bokfolio::cli {

class Session {
 public:
  // Opens the document that the options name, or else the only *.bokfolio in the working folder.
  // Reading goes on while another program has the document open; writing needs it alone.
  static Session reading(Host& host);
  static Session writing(Host& host);
  // Makes a new document at the path.
  static Session creating(Host& host, const std::string& path);

  Context& context() const { return *context_; }
  Host& host() const { return *host_; }
  const Environment& environment() const { return context_->environment(); }
  const std::string& path() const { return path_; }

  // The path of the document that is meant, whether it can be opened or not.
  static std::string documentMeant(Host& host);

  // Runs work that only reads; its failures name the document when they name nothing else.
  void read(const std::function<void()>& work) const;
  // Runs the work and saves. Whatever fails on the way, the document stays as it was.
  void change(const std::function<void()>& work);

 private:
  Session(Host& host, std::string path, std::unique_ptr<Context> context);
  void save();

  Host* host_;
  std::string path_;
  std::unique_ptr<Context> context_;
};

// An engine's error about the document, as the line that users read.
Failure documentFailure(std::optional<Error> error, const std::string& path);

}  // namespace bokfolio::cli
