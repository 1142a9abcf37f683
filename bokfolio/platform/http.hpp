// Http: one small document, fetched at once. It is not a general client: it knows only GET, waits
// until the whole answer is there, and takes nothing but status 200. What a stranger's server may
// cost is bounded in time, bytes and redirects. The caller's thread is blocked meanwhile.
#pragma once

#include <chrono>
#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "bokfolio/export.hpp"
#include "bokfolio/platform/error.hpp"

namespace bokfolio {

struct HttpRequest {
  // Absolute, with its scheme.
  std::string url;
  // For the whole of it, from looking up the name to the last byte, redirects included; and for
  // getting a connection. Neither is ever unlimited: zero and less count as a millisecond.
  std::chrono::milliseconds timeout{10'000};
  std::chrono::milliseconds connectTimeout{5'000};
  // Most bytes of the answer, counted after decompression.
  std::size_t maximumBytes = std::size_t{1} << 20;
  // What the address may use, and its redirects, which are followed on the same host only: "https",
  // "http". Others are refused even when they are named here, and so is the way back from https.
  std::vector<std::string> schemes{"https"};
};

class BOKFOLIO_EXPORT HttpClient {
 public:
  static constexpr int kMaximumRedirects = 3;

  virtual ~HttpClient();
  // The body of the answer. nullopt and an error of kPlatformErrorDomain (its codes that begin with
  // Http) for everything else; the description is one sentence that names the host, or the status.
  virtual std::optional<std::string> get(const HttpRequest& request,
                                         ErrorOut error = nullptr) const = 0;
};

// The real one. Certificates are always verified against those of the system. It may be used from
// several threads.
class BOKFOLIO_EXPORT CurlHttpClient final : public HttpClient {
 public:
  enum class Proxy {
    FromEnvironment,  // what variables such as https_proxy and no_proxy say
    None,
  };
  explicit CurlHttpClient(Proxy proxy = Proxy::FromEnvironment) : proxy_(proxy) {}

  std::optional<std::string> get(const HttpRequest& request,
                                 ErrorOut error = nullptr) const override;

 private:
  Proxy proxy_;
};

// Gives prepared answers in their order, the last one again and again, and keeps what it was asked.
// Without any answer it fails as if there were no network (HttpUnreachable).
class BOKFOLIO_EXPORT ScriptedHttpClient final : public HttpClient {
 public:
  void answerNext(std::string body);
  void failNext(Error error);
  const std::vector<HttpRequest>& requests() const noexcept { return requests_; }

  std::optional<std::string> get(const HttpRequest& request,
                                 ErrorOut error = nullptr) const override;

 private:
  struct Answer {
    std::string body;
    std::optional<Error> failure;
  };
  std::vector<Answer> answers_;
  mutable std::vector<HttpRequest> requests_;
};

}  // namespace bokfolio
