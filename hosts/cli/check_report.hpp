// The answer of `check`, which `check --repair` gives, too, about what it has made.
#pragma once

#include "session.hpp"

namespace bokfolio::cli {

// Checks the session's document, prints what it finds and sets the exit status. `answer` is what
// the JSON begins with; `lost` says that something is lost, which makes the document unsound, too.
void reportCheck(Host& host, const Session& session, Json answer = Json::object(),
                 bool lost = false);
// Adds up anew what the document keeps of balances.
void rebuildSums(const Session& session);

}  // namespace bokfolio::cli
