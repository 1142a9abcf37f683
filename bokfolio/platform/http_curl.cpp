#include <curl/curl.h>

#include <algorithm>
#include <chrono>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "bokfolio/platform/http.hpp"
#include "bokfolio/platform/platform_error.hpp"
#include "bokfolio/version.hpp"

namespace bokfolio {

namespace {

struct CurlDeleter {
  void operator()(CURL* handle) const noexcept { curl_easy_cleanup(handle); }
  void operator()(CURLU* address) const noexcept { curl_url_cleanup(address); }
  void operator()(char* text) const noexcept { curl_free(text); }
};
using Transfer = std::unique_ptr<CURL, CurlDeleter>;
using Address = std::unique_ptr<CURLU, CurlDeleter>;

struct Received {
  std::string body;
  std::size_t maximum = 0;
};

// Taking less than what was offered ends the transfer with CURLE_WRITE_ERROR.
std::size_t receive(const char* data, std::size_t /*one*/, std::size_t count, void* user) noexcept {
  auto& received = *static_cast<Received*>(user);
  if (count > received.maximum - received.body.size()) return 0;
  try {
    received.body.append(data, count);
  } catch (...) {
    return 0;
  }
  return count;
}

// The schemes as the library below wants them; "" when none is left.
std::string allowedSchemes(const HttpRequest& request) {
  std::string list;
  for (const std::string& scheme : request.schemes) {
    if (scheme != "http" && scheme != "https") continue;
    if (!list.empty()) list += ',';
    list += scheme;
  }
  return list;
}

std::string part(const Address& address, CURLUPart which) {
  char* text = nullptr;
  if (curl_url_get(address.get(), which, &text, CURLU_DEFAULT_PORT) != CURLUE_OK) return {};
  return std::unique_ptr<char, CurlDeleter>(text).get();
}

// nullptr when the text is no absolute address of an allowed scheme.
Address parseAddress(const std::string& url, const HttpRequest& request) {
  const auto isPlain = [](char letter) { return letter > ' ' && letter != '\x7F'; };
  Address address(curl_url());
  if (!address || !std::all_of(url.begin(), url.end(), isPlain) ||
      curl_url_set(address.get(), CURLUPART_URL, url.c_str(), 0) != CURLUE_OK) {
    return nullptr;
  }
  const std::string scheme = part(address, CURLUPART_SCHEME);
  const bool allowed =
      (scheme == "http" || scheme == "https") &&
      std::find(request.schemes.begin(), request.schemes.end(), scheme) != request.schemes.end();
  return allowed ? std::move(address) : nullptr;
}

// Whether a redirect stays with the server that was asked: on its host and port, or from http to
// the usual port of https there.
bool staysWith(const Address& from, const Address& to) {
  const std::string oldHost = part(from, CURLUPART_HOST);
  const std::string newHost = part(to, CURLUPART_HOST);
  if (curl_strequal(oldHost.c_str(), newHost.c_str()) == 0) return false;
  const std::string scheme = part(to, CURLUPART_SCHEME);
  const std::string port = part(to, CURLUPART_PORT);
  if (part(from, CURLUPART_SCHEME) == scheme) return part(from, CURLUPART_PORT) == port;
  return scheme == "https" && port == "443";
}

long milliseconds(std::chrono::milliseconds duration) {
  constexpr std::chrono::milliseconds::rep kLongest = 24L * 60 * 60 * 1000;
  return static_cast<long>(
      std::clamp<std::chrono::milliseconds::rep>(duration.count(), 1, kLongest));
}

// Every option must be taken: a limit that is silently missing is worse than no download.
bool prepare(const Transfer& transfer, const HttpRequest& request, Received& received) {
  const std::string schemes = allowedSchemes(request);
  const std::string agent = "BokfolioSDK/" + std::string(kVersion);
  bool taken = true;
  const auto option = [&](CURLoption name, auto value) {
    taken = curl_easy_setopt(transfer.get(), name, value) == CURLE_OK && taken;
  };
  option(CURLOPT_PROTOCOLS_STR, schemes.c_str());
  // Redirects are looked at here, one by one: the library below would follow them to any host.
  option(CURLOPT_FOLLOWLOCATION, 0L);
  option(CURLOPT_CONNECTTIMEOUT_MS, milliseconds(request.connectTimeout));
  option(CURLOPT_NOSIGNAL, 1L);
  option(CURLOPT_FAILONERROR, 1L);
  option(CURLOPT_SSL_VERIFYPEER, 1L);
  option(CURLOPT_SSL_VERIFYHOST, 2L);
  option(CURLOPT_SSLVERSION, long{CURL_SSLVERSION_TLSv1_2});
  option(CURLOPT_USERAGENT, agent.c_str());
  option(CURLOPT_ACCEPT_ENCODING, "");
  option(CURLOPT_WRITEFUNCTION, &receive);
  option(CURLOPT_WRITEDATA, static_cast<void*>(&received));
  return taken;
}

long statusOf(const Transfer& transfer) {
  long status = 0;
  curl_easy_getinfo(transfer.get(), CURLINFO_RESPONSE_CODE, &status);
  return status;
}

bool fail(CURLcode code, long status, const std::string& host, ErrorOut error) {
  using Code = PlatformErrorCode;
  switch (code) {
    case CURLE_OK:
    case CURLE_HTTP_RETURNED_ERROR:
      return failPlatform(
          error, Code::HttpStatus,
          "The server " + host + " answered with status " + std::to_string(status) + ".");
    case CURLE_COULDNT_RESOLVE_HOST:
      return failPlatform(error, Code::HttpUnreachable, "The server " + host + " was not found.");
    case CURLE_COULDNT_RESOLVE_PROXY:
      return failPlatform(error, Code::HttpUnreachable,
                          "The proxy on the way to " + host + " was not found.");
    case CURLE_COULDNT_CONNECT:
      return failPlatform(error, Code::HttpUnreachable,
                          "The server " + host + " takes no connection.");
    case CURLE_SSL_CONNECT_ERROR:
      return failPlatform(error, Code::HttpUnreachable,
                          "No secure connection with the server " + host + " could be made.");
    case CURLE_PEER_FAILED_VERIFICATION:
    case CURLE_SSL_CACERT_BADFILE:
    case CURLE_SSL_ISSUER_ERROR:
      return failPlatform(error, Code::HttpNotTrusted,
                          "The certificate of the server " + host + " cannot be verified.");
    case CURLE_OPERATION_TIMEDOUT:
      return failPlatform(error, Code::HttpTimedOut,
                          "The download from " + host + " was not finished in time.");
    case CURLE_WRITE_ERROR:
      return failPlatform(error, Code::HttpTooLarge,
                          "The answer of the server " + host + " is too long.");
    default:
      return failPlatform(error, Code::HttpInterrupted,
                          "The download from " + host + " broke off (" +
                              std::string(curl_easy_strerror(code)) + ").");
  }
}

// One download, with what it was asked for and what came of it.
class Download {
 public:
  Download(const HttpRequest& request, bool throughProxy)
      : request_(request),
        end_(std::chrono::steady_clock::now() +
             std::chrono::milliseconds(milliseconds(request.timeout))),
        received_{"", request.maximumBytes},
        transfer_(curl_easy_init()),
        prepared_(
            transfer_ != nullptr && prepare(transfer_, request_, received_) &&
            (throughProxy || curl_easy_setopt(transfer_.get(), CURLOPT_PROXY, "") == CURLE_OK)) {}

  std::optional<std::string> run(Address address, ErrorOut error) {
    const std::string host = part(address, CURLUPART_HOST);
    for (int redirects = 0;; ++redirects) {
      const CURLcode result = ask(address);
      const long status = prepared_ ? statusOf(transfer_) : 0;
      if (result == CURLE_OK && status == 200) return std::move(received_.body);
      const std::string next = result == CURLE_OK ? redirect() : "";
      if (next.empty()) {
        fail(result, status, host, error);
        return std::nullopt;
      }
      if (redirects == HttpClient::kMaximumRedirects) {
        failPlatform(error, PlatformErrorCode::HttpRedirects,
                     "The server " + host + " redirects too often.");
        return std::nullopt;
      }
      Address following = parseAddress(next, request_);
      if (following == nullptr || !staysWith(address, following)) {
        failPlatform(error, PlatformErrorCode::HttpRefused,
                     "The server " + host + " redirects to an address that is not allowed.");
        return std::nullopt;
      }
      address = std::move(following);
    }
  }

 private:
  CURLcode ask(const Address& address) {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
        end_ - std::chrono::steady_clock::now());
    received_.body.clear();
    if (!prepared_ || curl_easy_setopt(transfer_.get(), CURLOPT_CURLU, address.get()) != CURLE_OK ||
        curl_easy_setopt(transfer_.get(), CURLOPT_TIMEOUT_MS, milliseconds(left)) != CURLE_OK) {
      return CURLE_FAILED_INIT;
    }
    return curl_easy_perform(transfer_.get());
  }

  // Where the answer leads on; "" when it does not.
  std::string redirect() const {
    char* url = nullptr;
    curl_easy_getinfo(transfer_.get(), CURLINFO_REDIRECT_URL, &url);
    return url != nullptr ? url : "";
  }

  const HttpRequest& request_;
  std::chrono::steady_clock::time_point end_;
  Received received_;
  Transfer transfer_;
  bool prepared_;
};

}  // namespace

std::optional<std::string> CurlHttpClient::get(const HttpRequest& request, ErrorOut error) const {
  static const bool ready = curl_global_init(CURL_GLOBAL_DEFAULT) == CURLE_OK;
  Address address = ready ? parseAddress(request.url, request) : nullptr;
  if (address == nullptr) {
    failPlatform(error, PlatformErrorCode::HttpRefused,
                 "The address of the download is not valid or its scheme is not allowed.");
    return std::nullopt;
  }
  return Download(request, proxy_ != Proxy::None).run(std::move(address), error);
}

}  // namespace bokfolio
