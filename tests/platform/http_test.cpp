#include "bokfolio/platform/http.hpp"

#include <gtest/gtest.h>
#include <openssl/evp.h>
#include <openssl/x509.h>

#include <cstdlib>
#include <future>
#include <string>
#include <vector>

#include "bokfolio/platform/platform_error.hpp"
#include "tests/world/local_server.hpp"

namespace bokfolio {
namespace {

using Code = PlatformErrorCode;
using httplib::Request;
using httplib::Response;

const CurlHttpClient kDirect(CurlHttpClient::Proxy::None);

// Why the download fails, "" when it does not; the code must be the expected one.
std::string failure(const HttpRequest& request, Code code, const HttpClient& client = kDirect) {
  std::optional<Error> error;
  const auto body = client.get(request, &error);
  EXPECT_NE(body.has_value(), error.has_value());
  if (!error) return "";
  EXPECT_EQ(client.get(request), std::nullopt);
  EXPECT_EQ(error->domain(), kPlatformErrorDomain);
  EXPECT_EQ(error->code(), static_cast<int>(code)) << error->localizedDescription();
  return error->localizedDescription();
}

std::string thousandBytes() {
  std::string text(1000, 'c');
  text[1] = '\0';
  return text;
}

void addHandlers(httplib::Server& server) {
  server.Get("/text", [](const Request&, Response& response) {
    response.set_content(thousandBytes(), "text/plain");  // goes compressed to a few bytes
  });
  server.Get("/status/(\\d+)", [](const Request& request, Response& response) {
    response.status = std::stoi(request.matches[1]);
  });
  server.Get("/cut", [](const Request&, Response& response) {
    response.set_content_provider(1000, "text/plain",
                                  [](std::size_t offset, std::size_t, httplib::DataSink& sink) {
                                    return offset == 0 && sink.write("begun", 5);
                                  });
  });
  server.Get("/endless", [](const Request&, Response& response) {
    response.set_chunked_content_provider("image/x", [](std::size_t, httplib::DataSink& sink) {
      return sink.write(thousandBytes().data(), 1000);
    });
  });
  server.Get("/redirects/(\\d+)", [](const Request& request, Response& response) {
    const int left = std::stoi(request.matches[1]);
    response.set_redirect(left == 0 ? "/text" : "/redirects/" + std::to_string(left - 1));
  });
  server.Get("/to", [](const Request& request, Response& response) {
    response.set_redirect(request.get_param_value("where"));
  });
}

struct Http : testing::Test {
  HttpRequest request(const std::string& path) const {
    HttpRequest made;
    made.url = "http://" + server.host() + path;
    made.schemes = {"http"};
    return made;
  }
  test::LocalServer server{addHandlers};
};

TEST_F(Http, AnswersTheWholeBodyOfStatus200Only) {
  EXPECT_EQ(kDirect.get(request("/text")), thousandBytes());
  for (const std::string status : {"204", "206", "304", "404", "500"}) {
    EXPECT_EQ(failure(request("/status/" + status), Code::HttpStatus),
              "The server 127.0.0.1 answered with status " + status + ".");
  }
  EXPECT_TRUE(failure(request("/cut"), Code::HttpInterrupted)
                  .starts_with("The download from 127.0.0.1 broke off ("));
}

TEST_F(Http, CountsBytesAsTheyArriveAndAfterDecompression) {
  HttpRequest text = request("/text");
  text.maximumBytes = 1000;
  EXPECT_TRUE(kDirect.get(text));
  text.maximumBytes = 999;
  const std::string tooLong = "The answer of the server 127.0.0.1 is too long.";
  EXPECT_EQ(failure(text, Code::HttpTooLarge), tooLong);
  EXPECT_EQ(failure(request("/endless"), Code::HttpTooLarge), tooLong);
}

TEST_F(Http, FollowsThreeRedirectsOnTheSameServer) {
  EXPECT_TRUE(kDirect.get(request("/redirects/2")));
  for (const char* path : {"/redirects/3", "/redirects/2000000000"}) {
    EXPECT_EQ(failure(request(path), Code::HttpRedirects),
              "The server 127.0.0.1 redirects too often.");
  }
  EXPECT_TRUE(kDirect.get(request("/to?where=http://" + server.host() + "/text")));
  // Another host, though it is the same machine; another port of this one; another scheme.
  const std::string port = server.host().substr(server.host().find(':'));
  const test::LocalServer other(addHandlers);
  for (const std::string& where :
       std::vector<std::string>{"http://localhost" + port + "/text", "//localhost" + port + "/text",
                                "http://" + other.host() + "/text", "http://127.0.0.1/text",
                                "file:///etc/passwd", "https://127.0.0.1/", "ftp://127.0.0.1/"}) {
    EXPECT_EQ(failure(request("/to?where=" + where), Code::HttpRefused),
              "The server 127.0.0.1 redirects to an address that is not allowed.")
        << where;
  }
}

TEST_F(Http, RefusesAddressesBeforeAnythingIsAsked) {
  const std::string host = server.host();
  HttpRequest made;
  made.schemes = {"http", "file", "ftp"};
  for (const std::string& url : std::vector<std::string>{
           "", host + "/text", "file:///etc/passwd", "https://" + host, "ftp://" + host, "http://",
           "http://" + host + "/te xt", "http://" + host + "/text\r\nX: y"}) {
    made.url = url;
    EXPECT_EQ(failure(made, Code::HttpRefused),
              "The address of the download is not valid or its scheme is not allowed.")
        << url;
  }
  made = request("/text");
  made.schemes = HttpRequest().schemes;
  EXPECT_NE(failure(made, Code::HttpRefused), "");
}

TEST_F(Http, UsesTheProxyOfTheEnvironmentUnlessToldNotTo) {
  for (const char* name : {"no_proxy", "NO_PROXY"}) setenv(name, "", 1);
  setenv("http_proxy", "http://127.0.0.1:1", 1);
  EXPECT_NE(failure(request("/text"), Code::HttpUnreachable, CurlHttpClient()), "");
  EXPECT_TRUE(kDirect.get(request("/text")));
  for (const char* name : {"no_proxy", "NO_PROXY", "http_proxy"}) unsetenv(name);
}

TEST_F(Http, SaysThatNobodyIsThere) {
  server.stop();
  EXPECT_EQ(failure(request("/"), Code::HttpUnreachable),
            "The server 127.0.0.1 takes no connection.");
}

TEST(HttpTimes, GivesUpOnAServerThatDoesNotAnswer) {
  std::promise<void> over;
  const std::shared_future<void> end = over.get_future().share();
  test::LocalServer server([end](httplib::Server& made) {
    made.Get("/", [end](const Request&, Response&) { end.wait(); });
  });
  HttpRequest request{"http://" + server.host()};
  request.schemes = {"http"};
  for (const int milliseconds : {50, 0}) {
    request.timeout = std::chrono::milliseconds(milliseconds);
    EXPECT_EQ(failure(request, Code::HttpTimedOut),
              "The download from 127.0.0.1 was not finished in time.");
  }
  over.set_value();
}

TEST(HttpTrust, RefusesACertificateThatNobodyVouchesFor) {
  const std::unique_ptr<EVP_PKEY, decltype(&EVP_PKEY_free)> key(EVP_EC_gen("P-256"), EVP_PKEY_free);
  const std::unique_ptr<X509, decltype(&X509_free)> certificate(X509_new(), X509_free);
  X509_gmtime_adj(X509_getm_notBefore(certificate.get()), -3600);
  X509_gmtime_adj(X509_getm_notAfter(certificate.get()), 3600);
  X509_set_pubkey(certificate.get(), key.get());
  ASSERT_NE(X509_sign(certificate.get(), key.get(), EVP_sha256()), 0);
  test::LocalServer server(addHandlers,
                           std::make_unique<httplib::SSLServer>(certificate.get(), key.get()));
  EXPECT_EQ(failure(HttpRequest{"https://" + server.host() + "/text"}, Code::HttpNotTrusted),
            "The certificate of the server 127.0.0.1 cannot be verified.");
}

}  // namespace
}  // namespace bokfolio
