#include "bokfolio/platform/http.hpp"

#include <algorithm>
#include <utility>

#include "bokfolio/platform/platform_error.hpp"

namespace bokfolio {

HttpClient::~HttpClient() = default;

void ScriptedHttpClient::answerNext(std::string body) {
  answers_.push_back({std::move(body), std::nullopt});
}

void ScriptedHttpClient::failNext(Error error) { answers_.push_back({"", std::move(error)}); }

std::optional<std::string> ScriptedHttpClient::get(const HttpRequest& request,
                                                   ErrorOut error) const {
  const std::size_t turn = requests_.size();
  requests_.push_back(request);
  if (answers_.empty()) {
    failPlatform(error, PlatformErrorCode::HttpUnreachable, "There is no network.");
    return std::nullopt;
  }
  const Answer& answer = answers_[std::min(turn, answers_.size() - 1)];
  if (!answer.failure) return answer.body;
  if (error != nullptr) *error = answer.failure;
  return std::nullopt;
}

}  // namespace bokfolio
