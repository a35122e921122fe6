// SPDX-License-Identifier: Apache-2.0
#include "orliq/web/WebServer.h"

#include <gmock/gmock.h>

#include <deque>
#include <map>
#include <mutex>
#include <vector>

#include "orliq/terminal/ExitCode.h"
#include "support/Threads.h"
#include "support/WebClient.h"

namespace orliq::cli {
namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

constexpr int kText = 0x81;  // the first byte of a whole text frame

/// Sends each client the messages in order, and keeps what they say.
class Handler : public WebHandler {
 public:
  void Join(Client client) override {
    const std::lock_guard lock(mutex);
    ++joined[client];
  }
  void Leave(Client client) override {
    const std::lock_guard lock(mutex);
    --joined[client];
  }
  bool Take(Client client, std::string_view text) override {
    const std::lock_guard lock(mutex);
    said[client].emplace_back(text);
    return text != "go";
  }
  std::unique_ptr<WebMessage> Next(Client /*client*/) override {
    const std::lock_guard lock(mutex);
    if (messages.empty()) return nullptr;
    auto message = std::make_unique<WebMessage>(messages.front());
    messages.pop_front();
    return message;
  }

  std::size_t Open() {
    const std::lock_guard lock(mutex);
    std::size_t open = 0;
    for (const auto& [client, count] : joined) open += static_cast<std::size_t>(count);
    return open;
  }

  std::mutex mutex;
  std::map<Client, int> joined;
  std::map<Client, std::vector<std::string>> said;
  std::deque<WebMessage> messages;
};

class Web : public testing::Test {
 protected:
  static WebSettings Settings(const std::string& token = "") {
    static const std::string large(300000, 'p');
    WebSettings settings;
    settings.rules.token = token;
    settings.stream = "test.1";
    settings.files = {{"/", "text/html", large, "default-src 'self'"},
                      {"/note", "text/plain", "n"}};
    return settings;
  }

  std::string Ask(const std::string& line,
                  const std::string& headers = "Host: localhost\r\n") const {
    return test::WebClient(server_.Port()).Ask(line, headers);
  }

  Handler handler_;
  WebServer server_{Settings(), handler_};
};

TEST_F(Web, ServesItsFilesWholeAndNothingElse) {
  const std::string page = Ask("GET /");
  EXPECT_THAT(page, StartsWith("HTTP/1.1 200"));
  EXPECT_THAT(page,
              HasSubstr("content-security-policy: default-src 'self'; frame-ancestors 'none'\r\n"));
  EXPECT_EQ(page.size() - page.find("\r\n\r\n") - 4, 300000U);
  EXPECT_THAT(Ask("GET /note"),
              HasSubstr("content-security-policy: default-src 'none'; frame-ancestors 'none'\r\n"));
  EXPECT_THAT(Ask("GET /note?x=1"), StartsWith("HTTP/1.1 200"));
  EXPECT_THAT(Ask("GET /../etc/passwd"), StartsWith("HTTP/1.1 404"));
  EXPECT_THAT(Ask("POST /"), StartsWith("HTTP/1.1 405"));
  EXPECT_THAT(Ask("GET /", ""), StartsWith("HTTP/1.1 403")) << "no Host";
  EXPECT_THAT(Ask("GET /", "Host: evil.example\r\n"), StartsWith("HTTP/1.1 403"));
}

TEST_F(Web, OpensAStreamForItsOwnPageOnly) {
  const struct {
    std::string headers, path, protocol, answer;
  } rows[] = {{"Host: localhost:1\r\nOrigin: http://localhost:1\r\n", "/stream", "test.1", "101"},
              {"Host: localhost:1\r\nOrigin: http://localhost:2\r\n", "/stream", "test.1", "403"},
              {"Host: evil.example\r\nOrigin: http://evil.example\r\n", "/stream", "test.1", "403"},
              {"Host: localhost\r\n", "/", "test.1", "400"},
              {"Host: localhost\r\n", "/stream", "test.2", "400"}};
  for (const auto& row : rows) {
    test::WebClient client(server_.Port());
    EXPECT_EQ(client.Upgrade(row.headers, row.path, row.protocol), row.answer) << row.headers;
  }
  EXPECT_THAT(test::WebClient(server_.Port())
                  .Ask("GET /stream",
                       "Host: localhost\r\nUpgrade: h2c\r\n"
                       "Sec-WebSocket-Protocol: test.1\r\n"),
              StartsWith("HTTP/1.0 400"))
      << "to HTTP/2";
  WebServer guarded(Settings("secret"), handler_);
  EXPECT_THAT(test::WebClient(guarded.Port()).Ask("GET /"), StartsWith("HTTP/1.1 403"));
  EXPECT_THAT(test::WebClient(guarded.Port()).Ask("GET /?token=secret"),
              StartsWith("HTTP/1.1 200"));
  EXPECT_EQ(test::WebClient(guarded.Port()).Upgrade("Host: localhost\r\n", "/stream?token=secreT"),
            "403");
}

/// Beside the first one in the same process, for other clients: without a page, open to all of them.
TEST_F(Web, ServesAnotherProtocolElsewhere) {
  class : public Handler {
    bool TakeBytes(Client client, std::string_view bytes) override {
      return Take(client, "bytes " + std::string(bytes));
    }
  } handler;
  WebSettings settings;
  settings.rules = {"", true, false, {"*"}};
  settings.stream = "other.2";
  settings.path = "/";
  settings.longest = 5000;
  WebServer other(settings, handler);
  EXPECT_THAT(test::WebClient(other.Port()).Ask("GET /"), StartsWith("HTTP/1.1 404"));
  const std::string stranger = "Host: robot.example\r\nOrigin: https://elsewhere.example\r\n";
  for (const char* const offer : {"test.1", "other", "(page)", "other.2x,\tx other.2", ","}) {
    EXPECT_NE(test::WebClient(other.Port()).Upgrade(stranger, "/", offer), "101") << offer;
  }
  test::WebClient client(other.Port());
  ASSERT_EQ(client.Upgrade(stranger, "/", "http, test.1 ,\t other.2 , more"), "101");
  EXPECT_THAT(client.Hear("\r\n\r\n"), HasSubstr("Sec-WebSocket-Protocol: other.2\r\n"));
  const std::string longest(settings.longest, 'x');
  client.Say(test::WebClient::Frame(0x82, longest) + test::WebClient::Frame(0x02, "in ") +
             test::WebClient::Frame(0x80, "pieces") + test::WebClient::Frame(kText, "a text"));
  EXPECT_TRUE(test::Eventually([&] {
    const std::lock_guard lock(handler.mutex);
    return handler.said[1] ==
           std::vector<std::string>{"bytes " + longest, "bytes in pieces", "a text"};
  }));
  {
    const std::lock_guard lock(handler.mutex);
    handler.messages = {{true, "answer", nullptr}};
  }
  other.Wake();
  EXPECT_THAT(client.Hear("answer"), EndsWith("\x82\x06"
                                              "answer"));
}

/// A message is more than one write, and begins with what only this client gets.
TEST_F(Web, SendsAMessageWholeWhenItIsWoken) {
  test::WebClient client(server_.Port());
  ASSERT_EQ(client.Upgrade(), "101");
  ASSERT_TRUE(test::Eventually([&] { return handler_.Open() == 1; }));
  std::string body;
  for (int i = 0; i < 100000; ++i) body += std::to_string(i) + ' ';
  {
    const std::lock_guard lock(handler_.mutex);
    handler_.messages = {{true, "head:", std::make_shared<const std::string>(body)},
                         {false, "the end", nullptr}};
  }
  server_.Wake();
  const auto large = client.Next();
  const auto end = client.Next();
  EXPECT_TRUE(large.kind == 2 && large.payload == "head:" + body) << large.payload.size();
  EXPECT_TRUE(end.kind == 1 && end.payload == "the end") << end.payload;
}

TEST_F(Web, TakesTextsAndEndsTheConnectionOfWhoSaysAnythingElse) {
  const std::string longest(WebSettings().longest, 'x');
  const std::string half = longest.substr(0, 600);
  const std::pair<const char*, std::string> bad[] = {
      {"too long", test::WebClient::Frame(kText, longest + 'x')},
      {"too long in pieces",
       test::WebClient::Frame(0x01, half) + test::WebClient::Frame(0x80, half)},
      {"binary", test::WebClient::Frame(0x82, "x")},
      {"no such frame", test::WebClient::Frame(0x85, "x")},
      {"reserved bits", test::WebClient::Frame(0xF1, "x")},
      {"refused by the handler", test::WebClient::Frame(kText, "go")}};
  test::WebClient good(server_.Port());
  ASSERT_EQ(good.Upgrade(), "101");
  for (const auto& [name, bytes] : bad) {
    test::WebClient client(server_.Port());
    ASSERT_EQ(client.Upgrade(), "101") << name;
    client.Say(bytes);
    const bool farewell = client.Hear("\x88").find('\x88') != std::string::npos;
    EXPECT_TRUE(farewell || client.Closed()) << name;
    if (name != std::string("refused by the handler")) continue;
    {
      const std::lock_guard lock(handler_.mutex);
      handler_.messages.assign(8, {false, "more", nullptr});  // for the good one
    }
    server_.Wake();
    EXPECT_THAT(good.Hear("more"), HasSubstr("more"));
    client.Say(test::WebClient::Frame(0x88, "\x03\xF0"));
    EXPECT_THAT(client.Hear(), EndsWith("\x88\x02\x03\xF0")) << "and nothing behind it";
  }
  EXPECT_TRUE(test::Eventually([&] { return handler_.Open() == 1; }));
  good.Say(test::WebClient::Frame(kText, longest) + test::WebClient::Frame(0x01, "in ") +
           test::WebClient::Frame(0x80, "pieces"));
  EXPECT_TRUE(test::Eventually([&] {
    const std::lock_guard lock(handler_.mutex);
    return handler_.said[1] == std::vector<std::string>{longest, "in pieces"};
  }));
}

TEST_F(Web, HasRoomForSomeAndNotForAll) {
  std::deque<test::WebClient> clients;
  for (std::size_t i = 0; i < WebServer::kClients; ++i) {
    EXPECT_EQ(clients.emplace_back(server_.Port()).Upgrade(), "101");
  }
  EXPECT_EQ(test::WebClient(server_.Port()).Upgrade(), "503");
  clients.pop_back();
  EXPECT_TRUE(test::Eventually([&] { return test::WebClient(server_.Port()).Upgrade() == "101"; }));
  for (std::size_t i = clients.size(); i < WebServer::kConnections + 8; ++i) {
    clients.emplace_back(server_.Port()).Say("GET / HT");
  }
  EXPECT_EQ(clients.back().Hear(), "");
  test::WebClient& among_them = clients[WebServer::kClients];
  among_them.Say("TP/1.1\r\nHost: localhost\r\n\r\n");
  EXPECT_THAT(among_them.Hear(), StartsWith("HTTP/1.1 200")) << "the last one was closed at once";
  clients.clear();
  EXPECT_TRUE(test::Eventually([&] { return Ask("GET /").size() > 300000; }));
}

TEST_F(Web, EndsWithAFarewellAndTellsOfAPortThatIsTaken) {
  auto settings = Settings();
  settings.port = server_.Port();
  EXPECT_THROW(WebServer(settings, handler_), Failure);
  settings.port = 0;
  auto other = std::make_unique<WebServer>(settings, handler_);
  test::WebClient stalled(other->Port());
  ASSERT_EQ(stalled.Upgrade(), "101");
  ASSERT_TRUE(test::Eventually([&] { return handler_.Open() == 1; }));
  {
    const std::lock_guard lock(handler_.mutex);  // more than the system takes for a page
    const WebMessage large = {true, "",
                              std::make_shared<const std::string>(std::size_t{1} << 26U, 'x')};
    handler_.messages = {large};
  }
  other->Wake();
  ASSERT_TRUE(test::Eventually([&] {
    const std::lock_guard lock(handler_.mutex);
    return handler_.messages.empty();
  }));
  test::MustEnd("a server with a page that takes nothing", [&] { other.reset(); });
  EXPECT_EQ(handler_.Open(), 0U);
  other = std::make_unique<WebServer>(settings, handler_);
  test::WebClient client(other->Port());
  ASSERT_EQ(client.Upgrade(), "101");
  other.reset();
  EXPECT_THAT(client.Hear(), EndsWith("\x88\x02\x03\xE9")) << "1001, going away";
}

TEST(WebAccess, WelcomesNamesThatNobodyElseCanHave) {
  const struct {
    const char *host, *origin, *token;
    bool welcome;
  } rows[] = {{"127.0.0.1:8787", "", "t", true},
              {"LOCALHOST", "", "t", true},
              {"[::1]:80", "http://[::1]:80", "t", true},
              {"192.168.1.5:8787", "http://192.168.1.5:8787", "t", true},
              {"localhost:8787", "https://localhost:8787", "t", false},
              {"localhost:8787", "null", "t", false},
              {"localhost.evil.example", "", "t", false},
              {"127.0.0.1.evil.example", "", "t", false},
              {"", "", "t", false},
              {"[::1", "", "t", false},
              {"127.0.0.1", "", "", false},
              {"127.0.0.1", "", "tt", false}};
  for (const auto& row : rows) {
    EXPECT_EQ(WebAccess({"t"}).WhyRefused({row.host, row.origin, row.token}).empty(), row.welcome)
        << row.host << ' ' << row.origin << ' ' << row.token;
  }
  EXPECT_TRUE(WebAccess({}).WhyRefused({"127.0.0.1", "", "any"}).empty());
}

TEST(WebAccess, WelcomesPagesOfThisMachineAndThoseThatAreNamed) {
  const WebRules local = {"", false, true};
  const WebRules named = {"", true, true, {"https://app.example", "null"}};
  const WebRules all = {"", true, false, {"*"}};
  const struct {
    const WebRules& rules;
    const char *host, *origin;
    bool welcome;
  } rows[] = {{local, "localhost:1", "", true},
              {local, "localhost:1", "file://", true},
              {local, "localhost:1", "http://localhost:8080", true},
              {local, "localhost:1", "https://127.0.0.2", true},
              {local, "localhost:1", "http://[::1]:80", true},
              {local, "localhost:1", "http://192.168.1.5", false},
              {local, "localhost:1", "http://localhost.evil.example", false},
              {local, "localhost:1", "http://127.0.0.1.evil.example", false},
              {local, "localhost:1", "ftp://localhost", false},
              {local, "localhost:1", "localhost", false},
              {local, "localhost:1", "file://evil.example", false},
              {local, "localhost:1", "null", false},
              {local, "evil.example:1", "", false},
              {local, "evil.example:1", "http://localhost", false},
              {named, "robot.example:1", "", true},
              {named, "robot.example:1", "https://app.example", true},
              {named, "robot.example:1", "null", true},
              {named, "robot.example:1", "https://app.example:444", false},
              {named, "robot.example:1", "http://app.example", false},
              {named, "robot.example:1", "http://robot.example:1", false},
              {all, "robot.example:1", "https://any.example", true}};
  for (const auto& row : rows) {
    EXPECT_EQ(WebAccess(row.rules).WhyRefused({row.host, row.origin, ""}).empty(), row.welcome)
        << row.host << ' ' << row.origin;
  }
}

TEST(WebAccess, TellsWhichAddressesAreOfThisMachineOnly) {
  EXPECT_NE(MakeToken(), MakeToken());
  EXPECT_EQ(MakeToken().size(), 32U);
  EXPECT_TRUE(IsLoopback("127.1.2.3"));
  EXPECT_FALSE(IsLoopback("128.0.0.1") || IsLoopback("0.0.0.0") || IsLoopback("localhost"));
}

}  // namespace
}  // namespace orliq::cli
