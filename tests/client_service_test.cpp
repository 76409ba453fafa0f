// atdctl in the platform's place, and recordings of the socket and their replay, against the library on a phone.
#include <signal.h>
#include <sysutils/SocketListener.h>

#include <atomic>
#include <algorithm>
#include <fstream>
#include <map>
#include <tuple>

#include "atd.h"
#include "client/comparable.h"
#include "client/recording.h"
#include "tests/client_daemon.h"
#include "transport/at_socket.h"

namespace atd::client {
namespace {

using namespace std::string_literals;

class ServicePhone : public Phone {
 protected:
  ServicePhone() { start(); }
  ~ServicePhone() override { stop(); }

  void start() {
    init_socket();
    watch();
  }
  void stop() {
    if (g_AtSocket) stop_socket();
  }
  void watch() {
    watcher_ = std::make_unique<Peer>(socket());
    EXPECT_EQ("500 Command not recognized", (watcher_->line("ready?"), watcher_->next()));
  }
  // What the socket says from its next start on is recorded in the file, "" for none.
  void record(const std::string& recording) {
    stop();
    std::string error;
    device().sockets.record = recording.empty() ? nullptr : sim::SocketRecord::open(recording, device().clock, &error);
    EXPECT_EQ("", error);
  }

  std::string socket() { return device().path("/dev/socket/atd"); }

  std::string file(const std::string& name, const std::string& content) {
    std::ofstream(root_ + "/" + name) << content;
    return root_ + "/" + name;
  }

  // Runs atdctl, and `meanwhile` beside it once the daemon has said 601, until both have ended.
  Outcome beside(const Strings& arguments, const std::function<void(std::thread&)>& meanwhile) {
    Outcome outcome;
    std::thread running([&] { outcome = atdctl(socket(), arguments); });
    std::string ready = watcher_->next();
    meanwhile(running);
    running.join();
    EXPECT_EQ("601 AT Command Start", ready);
    return outcome;
  }

  std::unique_ptr<Peer> watcher_;
  const std::string recording_ = root_ + "/recording";
};

// Asks the platform; the error, the data and the status of its answer.
std::string ask(int opcode, const std::string& payload) {
  char data[MAX_RZCMD_REQ_SIZE];
  int length = 0, status = 0;
  int error = request_to_system(opcode, payload.data(), static_cast<int>(payload.size()), data, &length, &status);
  const std::string text = length < 0 ? "(none)" : std::string(data, static_cast<size_t>(length));
  return std::to_string(error) + " '" + text + "' " + std::to_string(status);
}

TEST_F(ServicePhone, ServeAnswersRequestsFromItsFile) {
  const std::string long_row = "4414 * \"" + std::string(2048, 'x') + "\"";
  const std::string answers = file("answers", R"(# comment

1013 "one"    "first" status=7   # comment
1013 "one"    "never"
 1013	"be"*   hex:00ff01 delay=1
1013 hex:00    fail
1013 hex:01*   fail result=9
1013 "\x41\n\"\\" "\x00\r\t"
1011 *         "" result=1 status=-1
)" + long_row);
  const struct {
    int opcode;
    std::string payload, reply;
  } kRows[] = {{1013, "one", "0 'first' 7"},
               {1013, "better", "0 '\0\xff\1' 0"s},
               {1013, "\0"s, "1 '(none)' 0"},
               {1013, "\1\2", "9 '(none)' 0"},
               {1013, "A\n\"\\", "0 '\0\r\t' 0"s},
               {1011, "", "0 '' -1"},
               {4414, std::string(2048, 'y'), "0 '" + std::string(2048, 'x') + "' 0"},
               {2000, "", "0 '' 0"}};
  Outcome outcome = beside({"serve", "--answers", answers, "--count", std::to_string(std::size(kRows))}, [&](auto&) {
    for (const auto& row : kRows) EXPECT_EQ(row.reply, ask(row.opcode, row.payload));
  });
  EXPECT_EQ(0, outcome.status) << outcome.err;
  for (const char* shown : {"  ready\n", "  answer OK, status 7, 5 bytes: \"first\"\n",
                            "  request 1013, 2 bytes: 0102\n0000  01 02", "  answer 9\n"}) {
    EXPECT_TRUE(has(outcome.out, shown)) << shown << " in " << outcome.out.substr(0, 3000);
  }
}

TEST_F(ServicePhone, ServeLeavesARequestToItsTimeOut) {
  const std::string answers = file("answers", "1013 * none\n");
  std::string silent, next;
  Outcome outcome = beside({"serve", "--answers", answers, "--count", "3", "--json"}, [&](auto&) {
    std::thread asking([&] { silent = ask(1013, ""); });
    device().clock.await_waiters();
    device().clock.advance(10'000'000);
    asking.join();
    next = ask(1014, "");
    watcher_->line("atcommand adc AT+CSQ");
  });
  EXPECT_EQ("1 '(none)' 0", silent);
  EXPECT_EQ("0 '' 0", next);
  EXPECT_EQ(1, logged(ANDROID_LOG_ERROR, "sendRequest: socket timed out!!"));
  EXPECT_EQ(0, outcome.status) << outcome.err;
  EXPECT_TRUE(has(outcome.out, R"("byte":null,"hex":null},"answer":null})")) << outcome.out;
  EXPECT_TRUE(has(outcome.out, R"("answer":{"result":0,"result_name":"OK","result_status":0,)")) << outcome.out;
  EXPECT_TRUE(has(outcome.out, R"("seq":3,"code":605,"text":"AT+CSQ","hex":null,"decoded":null,"answer":null})"));
}

TEST_F(ServicePhone, ServeEndsWithTheDaemonOrASignal) {
  EXPECT_EQ(0, beside({"serve"}, [](std::thread& running) { pthread_kill(running.native_handle(), SIGINT); }).status);
  EXPECT_EQ("200 AT Command Start", watcher_->next());
  EXPECT_EQ(0, beside({"serve"}, [](auto&) { stop_socket(); }).status);
  FakeDaemon dies([](const std::string&) { return "601 up\0BYE"s; });
  EXPECT_EQ(69, atdctl(dies, {"serve"}).status);
  FakeDaemon ends([](const std::string&) { return "601 up\0"s + "602 end\0"s; });
  EXPECT_EQ(69, atdctl(ends, {"serve", "--count", "1"}).status);
  FakeDaemon mute([](const std::string&) { return ""; });
  EXPECT_EQ(75, atdctl(mute, {"serve", "--timeout", "0"}).status);
}

TEST_F(ServicePhone, HearsThePlatform) {
  stop();
  init_socket();
  const Outcome alone = atdctl(socket(), words("wait --platform --timeout 0.15"));
  EXPECT_EQ(75, alone.status);
  EXPECT_TRUE(has(alone.err, "no sign of a platform within 0.15 s from the daemon at ")) << alone.err;
  const Outcome unheard = atdctl(socket(), words("send AT"));
  EXPECT_EQ(75, unheard.status);
  EXPECT_TRUE(has(unheard.err, "it is sent on, but nobody else is connected to the daemon at ")) << unheard.err;
  watch();
  EXPECT_EQ(0, atdctl(socket(), words("wait --platform")).status);
  EXPECT_EQ("605 AT\n", atdctl(socket(), {"send", "AT"}).out);
}

// The line of an event as a recording shows it, without its time.
std::string event_text(const Event& event) {
  constexpr const char* kKinds[] = {"connect", "disconnect", "in", "missed", "out"};
  std::string text = std::to_string(event.client) + " " + kKinds[static_cast<int>(event.kind)];
  if (event.kind == Event::Kind::missed) text += " " + std::to_string(event.count);
  if (event.kind == Event::Kind::input) text += " " + event.bytes;
  if (event.kind == Event::Kind::message) text += " " + std::to_string(event.message.code) + " " + event.message.text;
  return text;
}

// The events of a recording, a line each, with NUL shown as "~".
std::string events_of(const std::string& recording) {
  std::vector<Event> events;
  std::string text;
  EXPECT_EQ("", read_recording(recording, &events).text);
  for (const Event& event : events) text += event_text(event) + "\n";
  std::replace(text.begin(), text.end(), '\0', '~');
  return text;
}

TEST_F(ServicePhone, RecordsBothDirections) {
  record(recording_), start();
  {
    Peer other(socket());
    other.line("\xff\"");
    other.next();
  }
  watcher_->send("atcommand initialize\0x\0rest"s);
  watcher_->next(3);
  watcher_->line("");  // its answer shows that the daemon has seen the end of the other
  watcher_->next();
  record(recording_), start(), stop();
  const std::string events = events_of(recording_), ready = "1 in ready?~\n1 out 500 Command not recognized\n",
                    end = "0 out 602 At Command End\n0 out 200 AT Command End\n1 disconnect\n";
  EXPECT_TRUE(events.starts_with("1 connect\n" + ready + "2 connect\n2 in \xff\"~\n2 out 500 Unclosed quotes error\n"));
  EXPECT_TRUE(has(events,
                  "1 in atcommand initialize~x~rest\n0 out 601 AT Command Start\n0 out 200 AT Command Start\n"
                  "1 out 500 Command not recognized\n"))
      << events;
  EXPECT_TRUE(events.ends_with(end + "1 connect\n" + ready + end)) << events;
  EXPECT_TRUE(has(events, "\n2 disconnect\n")) << events;
}

TEST_F(ServicePhone, RecordSaysWhatItMissed) {
  struct Late : SocketListener {
    using SocketListener::SocketListener;
    ~Late() override { stopListener(); }
    bool onDataAvailable(SocketClient* c) override {
      char bytes[100];
      peer.load()->send("late");
      return read(c->getSocket(), bytes, sizeof bytes) == 7 && c->sendMsg("taken") == 0;
    }
    std::atomic<Peer*> peer = nullptr;
  };
  record(recording_);
  Late listener("atd", true), other("other", true);
  for (Late* late : {&listener, &other}) {
    ASSERT_EQ(0, late->startListener());
    Peer peer(device().path(late == &listener ? "/dev/socket/atd" : "/dev/socket/other"));
    late->peer = &peer;
    peer.send("now");
    EXPECT_EQ("taken", peer.next());
    late->stopListener();
  }
  int pair[2], off = -1;
  ASSERT_EQ(0, socketpair(AF_UNIX, SOCK_STREAM, 0, pair));
  const bool tells = setsockopt(pair[0], SOL_SOCKET, SO_PEEK_OFF, &off, sizeof off) == 0;
  close(pair[0]), close(pair[1]);
  if (!tells) GTEST_SKIP() << "nothing here tells what a read took; this may be an emulator";
  EXPECT_EQ("1 connect\n1 in now\n1 out 0 taken\n1 missed 4\n1 disconnect\n", events_of(recording_));
}

TEST_F(ServicePhone, AReplayFindsTheFirstDifference) {
  device().items.set_text(9, 12, "A 2026-01-31");
  record(recording_), start();
  const std::string answers = file("answers", "1013 * \"yes\"\n");
  beside({"serve", "--answers", answers, "--count", "1"}, [](auto&) { ask(1013, "at 13:05:00"); });
  EXPECT_EQ(2, atdctl(socket(), {"batch"}, "4010\n4403\n4010").status);
  EXPECT_EQ(0, atdctl(socket(), {"send", "AT+CSQ"}).status);
  record(""), start();

  // The daemon sent that request on its own, so a replay waits for it until the time-out.
  Outcome outcome = atdctl(socket(), {"replay", recording_, "--timeout", "0.2"});
  EXPECT_EQ(75, outcome.status) << outcome.err;
  EXPECT_TRUE(has(outcome.out, "expected: 605 request 1013: \"at 13:05:00\"\n  got:      nothing within 0.2 s"))
      << outcome.out;
  const struct {
    const char* item;
    int status;
    std::string mask, shown;
  } kRows[] = {{"A 2027-12-24", 0, "x+", " messages, no difference\n"},
               {"B 2026-01-31", 1, "x+",
                ", client 3: request get_serial_number (4010)\n"
                "  expected: 210 OK: \"A 2026-01-31\"\n  got:      210 OK: \"B 2026-01-31\"\n"},
               {"B 2026-01-31", 0, "^[AB]", " messages, no difference\n"}};
  for (const auto& row : kRows) {
    device().items.set_text(9, 12, row.item);
    watch();
    outcome = beside({"replay", recording_, "--plain", "--mask", "x+", "--mask", row.mask},
                     [](auto&) { ask(1013, "at 13:06:01"); });
    EXPECT_EQ(row.status, outcome.status) << outcome.err;
    EXPECT_TRUE(has(outcome.out, row.shown)) << outcome.out;
  }
  device().items.set_text(9, 12, "SN9876543210");
  watch();
  outcome = beside({"replay", recording_}, [](auto&) { ask(1013, "at 13:06:01"); });
  EXPECT_TRUE(has(outcome.out, "got:      210 OK: \"SN9876…10#")) << outcome.out;
}

TEST_F(ServicePhone, AReplayPlaysLineByLine) {
  const std::map<std::string, const char*> kEvents = {
      {"connect", R"("dir":"in","client":1,"event":"connect")"},
      {"connect2", R"("dir":"in","client":2,"event":"connect")"},
      {"leave", R"("dir":"in","client":1,"event":"disconnect")"},
      {"missed", R"("dir":"in","client":1,"event":"missed","count":3)"},
      {"start", R"("dir":"in","client":1,"bytes":"atcommand initialize\u0000")"},
      {"start2", R"("dir":"in","client":2,"bytes":"atcommand initialize\u0000")"},
      {"answer", R"("dir":"in","client":1,"bytes":"atresponse AAAAAA8AAAAAAAAANDkwMTU0MjAzMjM3NTE4\u0000")"},
      {"half", R"("dir":"in","client":1,"bytes":"atcommand initialize")"},
      {"x", R"("dir":"in","client":1,"bytes":"x\u0000")"},
      {"x2", R"("dir":"in","client":2,"bytes":{"hex":"7800"})"},
      {"ready", R"("dir":"out","client":null,"code":601,"text":"AT Command Start")"},
      {"copy", R"("dir":"out","client":null,"code":200,"text":"AT Command Start")"},
      {"end", R"("dir":"out","client":null,"code":602,"text":"At Command End")"},
      {"endcopy", R"("dir":"out","client":null,"code":200,"text":"AT Command End")"},
      {"refused", R"("dir":"out","client":1,"code":500,"text":"Command not recognized")"},
      {"refused2", R"("dir":"out","client":2,"code":500,"text":"Command not recognized")"}};
  auto handmade = [&](const char* names) {
    std::string text;
    for (const std::string& name : words(names)) {
      text += R"({"time":"2026-01-31T13:05:00.000001Z",)"s + kEvents.at(name) + "}\n";
    }
    return file("handmade", text);
  };
  const std::tuple<const char*, int, const char*> kRows[] = {
      {"connect start ready copy leave", 0, "2 messages, no difference\n"},
      {"start ready copy x2 refused2", 0, "3 messages, no difference\n"},
      // What is not a whole line is dropped, but only if nothing comes with it.
      {"half x refused", 0, "1 message, "},
      {"start ready", 1,
       ":2: the first difference\n  line 1, client 1: atcommand initialize\n"
       "  expected: nothing more\n  got:      200 AT Command Start\n"},
      {"answer leave", 1, "client 1: atresponse OK, 16 bytes: \"490154…18#"},
      {"x leave", 1, "  line 1, client 1: x\n  expected: nothing more\n  got:      500 Command not"},
      {"start copy ready", 1, "  expected: 200 AT Command Start\n  got:      601 AT Command Start\n"},
      // Neither the end of the recorded daemon nor what it said before any input is expected.
      {"connect ready start ready copy end endcopy leave", 0, "2 messages, "},
      // When the second client speaks, both have heard the messages before.
      {"connect connect2 start ready copy leave start2 ready copy", 0, "4 messages, "},
      {"missed start ready copy", 64, "2 messages, "}};
  for (const auto& [names, status, shown] : kRows) {
    Outcome outcome = atdctl(socket(), {"replay", handmade(names), "--realtime"});
    EXPECT_EQ(status, outcome.status) << names << outcome.err;
    EXPECT_TRUE(has(outcome.out, shown)) << outcome.out << shown;
  }
  const std::string json = atdctl(socket(), {"replay", handmade("missed x leave"), "--json"}).out;
  EXPECT_TRUE(has(json, R"({"compared":0,"difference":{"line":3,"input_line":2,"client":1,"input":"x","expected":)"));
  EXPECT_TRUE(has(json, R"(,"got":"500 Command not recognized"},"status":1,"error":")")) << json;
  // The replay waits for a restart in the middle, and for the daemon after that.
  const std::string restarted = handmade("start ready copy end leave x refused");
  EXPECT_EQ(75, atdctl(socket(), {"replay", restarted, "--timeout", "0.2"}).status);
  stop(), start();
  EXPECT_EQ(0, beside({"replay", restarted}, [](auto&) { stop_socket(), init_socket(); }).status);
}

TEST(Client, ReplayNoticesThatTheDaemonDies) {
  int bystander = -1;
  FakeServer server("s", "atd", [&](int fd) {
    char bytes[100];
    EXPECT_GT(read(fd, bytes, sizeof bytes), 0);
    FakeServer::say(fd, "500 no\0"s);
    if (bystander < 0) return void(bystander = dup(fd));
    EXPECT_GT(read(fd, bytes, sizeof bytes), 0);
    close(bystander);
  });
  const char kInput[] = R"({"time":"2026-01-31T13:05:00.000001Z","dir":"in","client":1,"bytes":"x\u0000"})";
  EXPECT_EQ(69, atdctl(server.path(), {"replay", "-"}, kInput).status);
  EXPECT_EQ(69, atdctl(server.root() + "/nobody", {"replay", "-"}, kInput).status);
  EXPECT_FALSE(std::filesystem::exists(server.root() + "/nobody.lock"));
}

TEST(Client, NamesALineThatMakesNoSense) {
  const std::string time = R"({"time":"2026-01-31T13:05:00.000001Z",)", input = R"("dir":"in","client":1)";
  const std::tuple<const char*, std::string, const char*> kRows[] = {
      {"serve --answers -", "999 * \"\"", "write a number from 1000 to 4414"},
      {"serve --answers -", "4415 * \"\"", "'4415' is not an opcode"},
      {"serve --answers -", "1013 abc fail", "no payload"},
      {"serve --answers -", "1013 *", "no answer"},
      {"serve --answers -", "1013 * \"" + std::string(2049, 'x') + "\"", "an answer of 2049 bytes: write at most 2048"},
      {"serve --answers -", "1013 * fail result=", "'result=' after the answer"},
      {"serve --answers -", "1013 * fail wait=1", "delay=MILLISECONDS or nothing"},
      {"serve --answers -", "1013 * none delay=1", "write nothing after none"},
      {"replay -", "{",
       "not a line of a recording, which is a JSON object; the line has no end, so the file may be cut"},
      {"replay -", R"({"time":"2026-01-31"})", "\"time\" is not written as"},
      {"replay -", time + R"("dir":"on"})", "neither \"in\" nor \"out\""},
      {"replay -", time + R"("dir":"in","client":0,"bytes":""})", "\"client\" is no"},
      {"replay -", time + R"("dir":"in","client":4294967297,"bytes":""})", "\"client\" is no"},
      {"replay -", time + input + "}", "neither \"bytes\" nor"},
      {"replay -", time + input + R"(,"bytes":{"hex":"012"}})", "\"bytes\" is neither"},
      {"replay -", time + input + R"(,"event":"sleep"})", "connect, disconnect or missed"},
      {"replay -", time + input + R"(,"event":"missed"})", "\"count\" is not a number"},
      {"replay -", time + R"("dir":"out","code":"x"})", "\"code\" is not a number"},
      {"replay -", time + R"("dir":"out","code":1})", "\"text\" is neither"}};
  FakeDaemon daemon([](const std::string&) { return ""; });
  for (const auto& [command, line, error] : kRows) {
    const bool serves = command[0] == 's';
    const std::string first = serves ? "# an answer\n1013 * none\n" : time + input + ",\"bytes\":\"x\"}\n";
    Outcome outcome = atdctl(daemon, words(command), first + line);
    EXPECT_EQ(64, outcome.status) << line;
    EXPECT_TRUE(outcome.err.starts_with(serves ? "atdctl: -:3: " : "atdctl: -:2: ")) << outcome.err;
    EXPECT_TRUE(has(outcome.err, error)) << outcome.err;
  }
  EXPECT_TRUE(has(atdctl(daemon, {"replay", "-"}).err, "- has nothing that a client sent"));
  EXPECT_TRUE(
      has(atdctl(daemon, {"replay", "-", "--mask", "(a"}).err, "\"(a\" is not an extended regular expression: "));
  EXPECT_EQ(64, atdctl(daemon, {"serve", "--answers", "/tmp/nowhere"}).status);
  EXPECT_TRUE(daemon.lines().empty());
}

TEST(Client, ComparesRecordsDecodedAndMasked) {
  auto record = [](const std::string& data) { return answer(0, data).substr(4, answer(0, data).size() - 5); };
  const struct {
    int code;
    std::string a, b;
    bool same;
  } kRows[] = {{210, record("13:05:00.1 x"), record("1:06:01 x"), true},
               {210, record("x\0"s), record("x"), false},
               {210, record("2026-01-31T13:05:00Z"), record("2027/02/01T13:05:01.5Z"), true},
               {210, record("00:11:22:33:44:55"), record("00:11:22:33:44:56"), false},
               {605, request_line(5, "at 13:05:00").substr(11), request_line(5, "at 13:05:01").substr(11), true},
               {605, request_line(5, "").substr(11), request_line(6, "").substr(11), false},
               {605, "AT 13:05:00 13:05:01", "AT 10:00:00 10:00:00", true},
               {605, "AT\\n", "AT\n", false},
               {601, "id 17, id 18", "id 8, id 999", true},
               {601, "\0id 1"s, "\0id 2"s, true},
               {601, std::string(16381, 'w'), std::string(16381, 'w') + 'w', true}};
  Masks masks;
  EXPECT_FALSE(masks.add("id [0-9]+"));
  EXPECT_FALSE(masks.add("(w|z)*"));
  for (const auto& row : kRows) {
    Comparable a = masks.apply({row.code, row.a, ""}), b = masks.apply({row.code, row.b, ""});
    EXPECT_EQ(row.same, a.key == b.key) << row.a.substr(0, 100) << "\n" << row.b.substr(0, 100);
  }
}

TEST(Client, MonitorRecords) {
  const std::string recording = testing::TempDir() + "atdctl-recording-" + std::to_string(getpid());
  std::filesystem::remove(recording);
  FakeDaemon daemon([](const std::string&) { return ""; }, "605 AT\xff\0no code\0"s + "602 end\0BYE"s);
  for (int round = 1; round <= 2; ++round) {
    EXPECT_EQ("", atdctl(daemon, {"monitor", "--quiet", "--record", recording}).out);
  }
  const std::string once = "0 out 605 AT\xff\n0 out 0 no code\n0 out 602 end\n";
  EXPECT_EQ(once + once, events_of(recording));
  std::filesystem::remove(recording);
  EXPECT_EQ(64, atdctl(daemon, {"monitor", "--quiet"}).status);
  EXPECT_EQ(64, atdctl(daemon, {"monitor", "--record", "/tmp/nowhere/x"}).status);
  EXPECT_EQ(74, atdctl(daemon, {"monitor", "--record", "/proc/self/root/dev/full"}).status);
}

}  // namespace
}  // namespace atd::client
