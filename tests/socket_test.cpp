// The daemon's socket as its clients see it: framing, splitting, commands, the broker.
#include <atomic>
#include <thread>

#include <tuple>

#include "atd.h"
#include "tests/phone.h"
#include "transport/at_socket.h"

using namespace std::string_literals;

namespace atd {
namespace {

// The n-th strdup from now on fails.
std::atomic<int> g_strdups{-1};
void fail_strdup_after(int passes) { g_strdups = passes; }

class ServedPhone : public Phone {
 protected:
  ServedPhone() {
    init_socket();
    service_ = std::make_unique<Peer>(socket());
    EXPECT_EQ("500 Command not recognized", (service_->line("ready?"), service_->next()));
  }
  ~ServedPhone() override {
    if (g_AtSocket) stop_socket();
  }

  std::string socket() { return device().path("/dev/socket/atd"); }

  rzcmd_response ask(const std::string& text) {
    service_->line("atsrequest " + text);
    return response_of(service_->next());
  }

  std::unique_ptr<Peer> service_;
};

TEST_F(ServedPhone, SplitsALineAtItsFirstUnquotedSpace) {
  // What reaches "atcommand" as its one argument shows in the log.
  const std::tuple<std::string, std::string> rows[] = {
      {"atcommand AT+CMD=1 2", "AT+CMD=1 2"},
      {"atcommand  two blanks ", " two blanks "},
      {"atcommand \"a b\"c", "a bc"},
      {"atcommand a\\\"b\\\\c", "a\"b\\c"},
      {"atcommand ends in a lone backslash\\", "ends in a lone backslash"},
      {"\"atcommand\" quoted word", "quoted word"},
      {"atcommand " + std::string(16382 - 11, 'x'), std::string(16382 - 11, 'x')},
  };
  for (const auto& [line, argument] : rows) {
    service_->line(line);
    service_->line("next");
    EXPECT_EQ("500 Command not recognized", service_->next());
    // A log entry carries 4068 bytes.
    EXPECT_EQ(1, logged(("Command[1] = " + argument).substr(0, 4068))) << line.substr(0, 60);
  }
}

TEST_F(ServedPhone, RefusesAMalformedLineAndGoesOn) {
  const std::pair<const char*, std::vector<const char*>> rows[] = {
      {"500 Command not recognized", {"", "atcommands x", "ATCOMMAND x", "a\"b c\"", "\"atcommand x\"", " atcommand"}},
      {"500 Unclosed quotes error", {"atcommand \"x"}},
      {"500 Unsupported escape sequence", {"atcommand \\n", "atcommand\\ x", "at\"command \\x"}},
  };
  Peer other(socket());
  for (const auto& [answer, lines] : rows) {
    for (const char* line : lines) EXPECT_EQ(answer, (service_->line(line), service_->next())) << line;
  }
  other.line("only the sender hears of it");
  EXPECT_EQ("500 Command not recognized", other.next());
}

TEST_F(ServedPhone, CutsEveryReadAtItsNuls) {
  service_->send(std::string("one\0two\0lost", 12));
  EXPECT_EQ("500 Command not recognized", service_->next());
  EXPECT_EQ("500 Command not recognized", service_->next());
  service_->send(" tail\0x\0"s);
  EXPECT_EQ((std::vector<std::string>(2, "500 Command not recognized")), service_->next(2));
  // A read ends just before the NUL of a line of 16382 bytes: the line is dropped, and its NUL ends an empty one.
  const std::string late(16382 - 10, 'y');
  service_->line("atcommand " + late);
  EXPECT_EQ("500 Command not recognized", service_->next());
  EXPECT_EQ(0, logged(("Command[1] = " + late).substr(0, 4068)));
  // NULs in a row are empty lines. A command without an argument gets an empty one. The lines after these are run.
  service_->send(std::string(3, '\0'));
  EXPECT_EQ((std::vector<std::string>(3, "500 Command not recognized")), service_->next(3));
  service_->send("atcommand\0"s);
  service_->line("atresponse");
  EXPECT_EQ((std::vector<std::string>{"610 Response OK", "200 Response OK"}), service_->next(2));
  EXPECT_EQ(0, ask("").result);
  service_->line("atsrequest");
  EXPECT_EQ("210 AAAAAAAAAAAAAAAA", service_->next());
}

TEST_F(ServedPhone, RelaysWhatTheServiceSends) {
  Peer other(socket());
  other.line("x");
  other.next();
  const std::tuple<std::string, std::vector<std::string>> rows[] = {
      {"atcommand initialize", {"601 AT Command Start", "200 AT Command Start"}},
      {"atcommand adc AT+CIMI", {"605 AT+CIMI", "200 AT+CIMI"}},
      {"atcommand adcxAT", {"605 AT", "200 AT"}},  // one separator, whatever it is
      {"atcommand adc \t\x80\xc3\xa4 AT \xc3\xa4", {"605 AT \xc3\xa4", "200 AT \xc3\xa4"}},
      {"atcommand adc", {}},
      {"atcommand adcA", {}},
      {"atcommand adc \x01 \xff", {}},
      {"atcommand initialize ", {}},
      {"atresponse QUJD", {"610 Response OK", "200 Response OK"}},
  };
  for (const auto& [line, broadcasts] : rows) {
    service_->line(line);
    service_->line("end");
    EXPECT_EQ(broadcasts, service_->next(static_cast<int>(broadcasts.size()))) << line;
    EXPECT_EQ("500 Command not recognized", service_->next()) << line;
    EXPECT_EQ(broadcasts, other.next(static_cast<int>(broadcasts.size()))) << line;
  }
  EXPECT_EQ(6, logged("adc test!"));
}

TEST_F(ServedPhone, AnswersServiceRequests) {
  device().items.set_text(9, 12, "123456789012");
  rzcmd_response rsp = ask(request_text(4010));
  EXPECT_EQ(0, rsp.result);
  EXPECT_EQ("123456789012", data_of(rsp));

  const std::tuple<const char*, std::string, int> rows[] = {
      {"unknown opcode", request_text(77), 0},
      {"negative opcode", request_text(-1), 0},
      {"not supported", request_text(4403), 2},
      {"garbage", "*** ~~~", 0},
      {"shorter than a header", encoded("\x33\x11", 2), 2},  // 4403 in two bytes
      {"negative length", request_text(3201, "\x07", -1000), 0},
      {"length beyond the record", request_text(3201, "\x07", 1 << 30), 0},
      {"payload without NUL", request_text(4065, std::string(2048, 'A')), 1},
      {"payload beyond the record", encoded(std::string(4000, 'A').data(), 4000), 0},
  };
  for (const auto& [what, text, result] : rows) {
    EXPECT_EQ(result, ask(text).result) << what;
  }
  EXPECT_EQ("123456789012", data_of(ask(request_text(4010))));
}

// What comes while a request waits goes out after its answer, in its order, and does not keep the answer from coming.
TEST_F(ServedPhone, OtherCommandsBesideAPlatformRequest) {
  const std::vector<std::string> lines = {"atcommand initialize", "atcommand adc AT", "atcommand initialize"};
  const std::vector<std::string> said = {"601 AT Command Start", "200 AT Command Start", "605 AT", "200 AT",
                                         "601 AT Command Start", "200 AT Command Start"};
  for (bool ends : {false, true}) {
    int result = -2;
    std::thread asking([&] { result = request_to_system(1013, nullptr, 0, nullptr, nullptr, nullptr); });
    service_->next(2);
    for (const std::string& line : lines) service_->line(line);
    EXPECT_EQ(2, ask(request_text(4403)).result);
    if (!ends) service_->line("atresponse AAAAAAAAAAAAAAAA"), service_->next(2);
    else stop_socket();
    EXPECT_EQ(said, service_->next(6));
    asking.join();
    EXPECT_EQ(ends ? 1 : 0, result);
  }
  EXPECT_EQ("602 At Command End", service_->next());
}

TEST_F(ServedPhone, ALineThatFindsNoMemoryIsRefused) {
  for (int passes : {0, 1}) {
    fail_strdup_after(passes);
    service_->line("atcommand initialize");
    EXPECT_EQ("500 Out of memory", service_->next());
  }
  service_->line("atcommand initialize");
  EXPECT_EQ("601 AT Command Start", service_->next());
}

TEST_F(ServedPhone, AShortAnswerStandsAsItIsAndAnImpossibleOneIsNone) {
  const rzcmd_response whole = {0, 4, 9, "text"}, claims = {0, 100, 7, "short"};
  const rzcmd_response negative = {0, -1, 0, ""}, too_long = {0, 2049, 0, ""};
  const int32_t five = 5;
  struct {
    const char* what;
    std::string text;
    int result, length, status;
    std::string data;
    int opcode = 1013;
  } const rows[] = {
      {"an answer", encoded(&whole, 16), 0, 4, 9, "text"},
      {"more claimed than came", encoded(&claims, 17), 0, 100, 7, "short" + std::string(95, '\0')},
      {"nothing, after a longer answer", "", 0, 0, 0, ""},
      {"no digits", "!!!!", 0, 0, 0, ""},
      {"an error alone", encoded(&five, 4), 5, -1, -5, ""},
      {"an error to 1011", encoded(&five, 4), 0, 0, 0, "", 1011},
      {"an error to 1012", encoded(&five, 4), 0, 0, 0, "", 1012},
      {"a negative length", encoded(&negative, 12), 1, -1, -5, ""},
      {"a length beyond the record", encoded(&too_long, 12), 1, -1, -5, ""},
  };
  for (const auto& row : rows) {
    int result = -5, length = -5, status = -5;
    char out[2048];
    std::thread asking([&] { result = request_to_system(row.opcode, "abc", 3, out, &length, &status); });
    const std::string asked = request_text(row.opcode, "abc");
    EXPECT_EQ((std::vector<std::string>{"605 " + asked, "200 " + asked}), service_->next(2));
    service_->line("atresponse " + row.text);
    EXPECT_EQ((std::vector<std::string>{"610 Response OK", "200 Response OK"}), service_->next(2));
    asking.join();
    EXPECT_EQ(row.result, result) << row.what;
    EXPECT_EQ(row.length, length) << row.what;
    EXPECT_EQ(row.status, status) << row.what;
    if (result == 0) EXPECT_EQ(row.data, std::string(out, static_cast<size_t>(length))) << row.what;
  }
  // A request's length reaches its handler as it was sent; what did not come is zero.
  init_modem_interface(0);
  const std::string imei = "490154203237518";
  EXPECT_EQ(0, ask(request_text(4293, imei, 2000)).result);
  EXPECT_EQ((sim::ModemRequest{116, imei + std::string(2000 - imei.size(), '\0')}), device().modem.requests().back());
}

TEST_F(ServedPhone, AnAnswerWithoutAnEndIsCut) {
  char out[4096 + 8];
  memset(out, '#', sizeof out);
  std::thread asking([&] { EXPECT_EQ(0, g_AtSocket->sendRequest("x", out, 10)); });
  service_->next(2);
  service_->line("atresponse " + std::string(5000, 'A'));
  service_->next(2);
  asking.join();
  EXPECT_EQ(std::string(4095, 'A') + "\0########"s, std::string(out, sizeof out));
}

TEST_F(ServedPhone, RequestsToThePlatformTakeTurnsAndGetTheirOwnAnswers) {
  std::atomic<int> wrong{0};
  std::vector<std::thread> askers;
  for (char name : {'a', 'b', 'c', 'd'}) {
    askers.emplace_back([&wrong, name] {
      for (int i = 0; i < 25; ++i) {
        char out[2048];
        int length = 0;
        if (request_to_system(1013, &name, 1, out, &length, nullptr) != 0 || length != 1 || *out != name) ++wrong;
      }
    });
  }
  std::string text;
  for (int answered = 0; answered < 100 && (text = service_->next())[0] != '(';) {
    Request request;
    if (!text.starts_with("605 ") || !decode_request(text.substr(4), &request)) continue;
    service_->line(response_line({.data = request.payload}));
    ++answered;
  }
  if (text[0] == '(') stop_socket();  // ends those that wait in vain
  for (std::thread& asker : askers) asker.join();
  EXPECT_EQ(0, wrong);
}

// Requests of a host's threads begin and wait at every moment of an end.
TEST_F(ServedPhone, StoppingBesideRequestsNeverUsesABrokerThatIsGone) {
  std::atomic<bool> done{false};
  std::atomic<int> ended{0};
  std::vector<std::thread> askers;
  for (int i = 0; i < 4; ++i) {
    askers.emplace_back([&] {
      while (!done) {
        EXPECT_EQ(1, request_to_system(1013, "x", 1, nullptr, nullptr, nullptr));
        ++ended;
      }
    });
  }
  for (int round = 0; round < 15; ++round) {
    const int before = ended;
    device().clock.await_waiters();
    std::vector<std::string> said;
    Peer other(socket());
    other.line("x");
    while (other.next() != "500 Command not recognized") {
    }
    stop_socket();
    do said.push_back(other.next());
    while (said.back() != "(closed)" && said.back() != "(nothing)");
    // Nothing is asked of the platform after the farewell.
    const auto farewell = std::find(said.begin(), said.end(), "602 At Command End");
    EXPECT_EQ((std::vector<std::string>{"602 At Command End", "200 AT Command End", "(closed)"}),
              std::vector<std::string>(farewell, said.end()));
    while (ended < before + 4) std::this_thread::yield();
    init_socket();
  }
  done = true;
  stop_socket();
  for (std::thread& asker : askers) asker.join();
}

TEST_F(ServedPhone, APlatformRequestTimesOutAfterTenSeconds) {
  rzcmd_request req = {1013, 0, ""};
  rzcmd_response rsp = {};
  // An answer that nobody waits for is lost, and so is one that comes too late.
  service_->line("atresponse QUJD");
  service_->next(2);
  for (int round = 1; round <= 2; ++round) {
    int result = 1;
    std::thread asking([&] { result = request_to_android(&req, &rsp); });
    service_->next(2);
    device().clock.await_waiters();
    device().clock.advance(9'999'000);
    device().clock.await_waiters();
    EXPECT_EQ(round - 1, logged(ANDROID_LOG_ERROR, "sendRequest: socket timed out!!"));
    device().clock.advance(1'000);
    asking.join();
    EXPECT_EQ(-1, result);
    EXPECT_EQ(round, logged(ANDROID_LOG_ERROR, "sendRequest: socket timed out!!"));
    const rzcmd_response nothing = {};
    EXPECT_EQ(0, memcmp(&nothing, &rsp, sizeof rsp));
    service_->line("atresponse QUJD");
    service_->next(2);
  }
}

TEST_F(ServedPhone, StoppingEndsARequestThatWaitsAndTellsTheClients) {
  Peer other(socket());
  other.line("x");
  other.next();
  rzcmd_request req = {1013, 0, ""};
  rzcmd_response rsp = {};
  int result = 0;
  std::thread asking([&] { result = request_to_android(&req, &rsp); });
  device().clock.await_waiters();
  for (Peer* peer : {service_.get(), &other}) peer->next(2);
  stop_socket();
  asking.join();
  EXPECT_EQ(-1, result);
  EXPECT_EQ(0, logged(ANDROID_LOG_ERROR, "sendRequest: socket timed out!!"));
  const std::vector<std::string> end = {"602 At Command End", "200 AT Command End", "(closed)"};
  for (Peer* peer : {service_.get(), &other}) EXPECT_EQ(end, peer->next(3));
  EXPECT_EQ(nullptr, g_AtSocket);
  EXPECT_EQ(nullptr, g_CommandListener);
  EXPECT_EQ(1, logged("stop_socket"));
}

using SilentPhone = Phone;

TEST_F(SilentPhone, Wrappers) {
  auto errors = [&](const char* line) {
    return device().logs.count(LOG_ID_MAIN, ANDROID_LOG_ERROR, "BrcmNfcJni", line);
  };
  Mutex mutex;
  EXPECT_TRUE(mutex.tryLock());
  EXPECT_FALSE(mutex.tryLock());
  EXPECT_EQ(0, errors("Mutex::tryLock: error=0x10"));
  mutex.unlock();
  CondVar condition;
  bool woken = true;
  auto wait = [&] {
    mutex.lock();
    woken = condition.wait(mutex, 1500);
    mutex.unlock();
  };
  std::thread waiting(wait);
  device().clock.await_waiters();
  device().clock.advance(1'500'000);
  waiting.join();
  EXPECT_FALSE(woken);
  EXPECT_EQ(0, errors("CondVar::wait: fail timed wait; error=0x6E"));

  std::thread signalled(wait);
  device().clock.await_waiters();
  device().clock.advance(1'499'000);
  mutex.lock();  // held by the waiter until it waits
  condition.notifyOne();
  mutex.unlock();
  signalled.join();
  EXPECT_TRUE(woken);

  device().faults.fail("clock_gettime", 1);
  mutex.lock();
  EXPECT_FALSE(condition.wait(mutex, 10));
  mutex.unlock();
  EXPECT_EQ(1, errors("CondVar::wait: fail get time; errno=0x16"));
}

}  // namespace
}  // namespace atd

extern "C" char* __real_strdup(const char* text);
extern "C" char* __wrap_strdup(const char* text) {
  return atd::g_strdups >= 0 && atd::g_strdups-- == 0 ? nullptr : __real_strdup(text);
}
