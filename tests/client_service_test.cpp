// atdctl in the platform's place, and recordings of the socket and their replay, against the library on a phone.
#include <gtest/gtest.h>
#include <pthread.h>
#include <signal.h>
#include <sysutils/SocketListener.h>

#include <atomic>
#include <fstream>
#include <thread>

#include "atd.h"
#include "client/comparable.h"
#include "client/recording.h"
#include "tests/client_daemon.h"
#include "tests/phone.h"
#include "transport/at_socket.h"

namespace atd::client {
namespace {

using namespace std::string_literals;

bool has(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

class ServicePhone : public Phone {
 protected:
  ServicePhone() { start(); }
  ~ServicePhone() override { stop(); }

  void start() {
    init_socket();
    watcher_ = std::make_unique<Peer>(socket());
    EXPECT_EQ("500 Command not recognized", (watcher_->line("ready?"), watcher_->next()));
  }
  void stop() {
    if (g_AtSocket) stop_socket();
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
};

struct Reply {
  int error;
  std::string data;
  int status;
  bool operator==(const Reply&) const = default;
};

void PrintTo(const Reply& reply, std::ostream* out) {
  *out << reply.error << " '" << visible(reply.data) << "' " << reply.status;
}

Reply ask(int opcode, const std::string& payload) {
  char data[MAX_RZCMD_REQ_SIZE];
  int length = 0, status = 0;
  int error = request_to_system(opcode, payload.data(), static_cast<int>(payload.size()), data, &length, &status);
  return {error, length < 0 ? "(none)" : std::string(data, static_cast<size_t>(length)), status};
}

TEST_F(ServicePhone, ServeAnswersRequestsFromItsFile) {
  const std::string answers = file("answers",
                                   "# comment\n\n"
                                   "1013 \"one\"    \"first\" status=7   # comment\n"
                                   "1013 \"one\"    \"never\"\r\n"
                                   " 1013\t\"be\"*   hex:00ff01 delay=1\n"
                                   "1013 hex:00    fail\n"
                                   "1013 hex:01*   fail result=9\n"
                                   "1013 \"\\x41\\n\\\"\\\\\" \"\\x00\\r\\t\"\n"
                                   "1011 *         \"\" result=1 status=-1\n"
                                   "4414 *         \"" +
                                       std::string(2048, 'x') + "\"");
  const struct {
    int opcode;
    std::string payload;
    Reply reply;
  } kRows[] = {
      {1013, "one", {0, "first", 7}},
      {1013, "better", {0, "\0\xff\1"s, 0}},
      {1013, "\0"s, {1, "(none)", 0}},
      {1013, "\1\2"s, {9, "(none)", 0}},
      {1013, "A\n\"\\", {0, "\0\r\t"s, 0}},
      {1011, "", {0, "", -1}},
      {4414, std::string(2048, 'y'), {0, std::string(2048, 'x'), 0}},
      {2000, "", {0, "", 0}},
  };
  std::vector<Reply> replies;
  Outcome outcome = beside({"serve", "--answers", answers, "--count", std::to_string(std::size(kRows))}, [&](auto&) {
    for (const auto& row : kRows) replies.push_back(ask(row.opcode, row.payload));
  });
  for (size_t i = 0; i < replies.size(); ++i) EXPECT_EQ(kRows[i].reply, replies[i]) << "row " << i;
  EXPECT_EQ(0, outcome.status) << outcome.err;
  for (const char* shown :
       {"  ready\n", "  request 1013, 3 bytes: \"one\"\n", "  answer OK, status 7, 5 bytes: \"first\"\n",
        "  request 1013, 2 bytes: 0102\n0000  01 02", "  answer 9\n"}) {
    EXPECT_TRUE(has(outcome.out, shown)) << shown << " in " << outcome.out.substr(0, 3000);
  }
}

TEST_F(ServicePhone, ServeLeavesARequestToItsTimeOut) {
  const std::string answers = file("answers", "1013 * none\n");
  Reply silent, next;
  Outcome outcome = beside({"serve", "--answers", answers, "--count", "3", "--json"}, [&](auto&) {
    std::thread asking([&] { silent = ask(1013, ""); });
    device().clock.await_waiters();
    device().clock.advance(10'000'000);
    asking.join();
    next = ask(1014, "");
    watcher_->line("atcommand adc AT+CSQ");
  });
  EXPECT_EQ((Reply{1, "(none)", 0}), silent);
  EXPECT_EQ((Reply{0, "", 0}), next);
  EXPECT_EQ(1, logged(ANDROID_LOG_ERROR, "sendRequest: socket timed out!!"));
  EXPECT_EQ(0, outcome.status) << outcome.err;
  EXPECT_TRUE(has(outcome.out, R"("opcode":1013,"name":null,"data_len":0,"text":null,"byte":null,"hex":null},)"
                               R"("answer":null})"))
      << outcome.out;
  EXPECT_TRUE(has(outcome.out, R"("answer":{"result":0,"result_name":"OK","result_status":0,)")) << outcome.out;
  EXPECT_TRUE(has(outcome.out, R"("seq":3,"code":605,"text":"AT+CSQ","hex":null,"decoded":null,"answer":null})"))
      << outcome.out;
}

TEST_F(ServicePhone, ServeEndsWithTheDaemonOrASignal) {
  EXPECT_EQ(0, beside({"serve"}, [](std::thread& running) { pthread_kill(running.native_handle(), SIGINT); }).status);
  EXPECT_EQ("200 AT Command Start", watcher_->next());
  EXPECT_EQ(0, beside({"serve"}, [](auto&) { stop_socket(); }).status);
  FakeDaemon dies([](const std::string&) { return "601 up\0BYE"s; });
  EXPECT_EQ(69, atdctl(dies, {"serve"}).status);
  FakeDaemon ends([](const std::string&) {
    return "601 up\0"
           "602 end\0"s;
  });
  EXPECT_EQ(69, atdctl(ends, {"serve", "--count", "1"}).status);
  FakeDaemon mute([](const std::string&) { return ""; });
  EXPECT_EQ(75, atdctl(mute, {"serve", "--timeout", "0"}).status);
}

TEST(Client, ServeNamesARowThatMakesNoSense) {
  const std::pair<std::string, const char*> kRows[] = {
      {"999 * \"\"", "write a number from 1000 to 4414"},
      {"4415 * \"\"", "'4415' is not an opcode"},
      {"1013 abc fail", "no payload"},
      {"1013 *", "no answer"},
      {"1013 * \"" + std::string(2049, 'x') + "\"", "an answer of 2049 bytes: write at most 2048"},
      {"1013 * fail result=", "'result=' after the answer"},
      {"1013 * fail wait=1", "delay=MILLISECONDS or nothing"},
      {"1013 * none delay=1", "write nothing after none"}};
  FakeDaemon daemon([](const std::string&) { return ""; });
  for (const auto& row : kRows) {
    Outcome outcome = atdctl(daemon, {"serve", "--answers", "-"}, "# one\n1013 * none\n" + row.first + "\n");
    EXPECT_EQ(64, outcome.status) << row.first;
    EXPECT_TRUE(outcome.err.starts_with("atdctl: -:3: ") && has(outcome.err, row.second)) << outcome.err;
  }
  EXPECT_EQ(64, atdctl(daemon, {"serve", "--answers", "/tmp/nowhere"}).status);
  EXPECT_TRUE(daemon.lines().empty());
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

Strings events_of(const std::string& recording) {
  std::vector<Event> events;
  Strings texts;
  EXPECT_EQ("", read_recording(recording, &events).text);
  for (const Event& event : events) texts.push_back(event_text(event));
  return texts;
}

class RecordedPhone : public ServicePhone {
 protected:
  // Serves the socket again and records it in the file.
  void restart(const std::string& recording) {
    stop();
    std::string error;
    device().sockets.record = recording.empty() ? nullptr : sim::SocketRecord::open(recording, device().clock, &error);
    EXPECT_EQ("", error);
    start();
  }

  Outcome replay(const std::string& recording, Strings options = {}) {
    options.insert(options.begin(), {"replay", recording});
    return atdctl(socket(), options);
  }

  // A recording from its lines, without their times.
  std::string recording(const Strings& lines) {
    std::string text;
    for (const std::string& line : lines) text += R"({"time":"2026-01-31T13:05:00.000001Z",)" + line + "}\n";
    return file("handmade", text);
  }
};

TEST_F(RecordedPhone, RecordsBothDirections) {
  const std::string recording = root_ + "/recording";
  restart(recording);
  {
    Peer other(socket());
    other.line("\xff\"");
    other.next();
  }
  watcher_->send("atcommand initialize\0x\0rest"s);
  watcher_->next(3);
  watcher_->line("");  // its answer shows that the daemon has seen the end of the other
  watcher_->next();
  restart(recording);
  stop();
  const Strings events = events_of(recording);
  const Strings kFirst = {"1 connect", "1 in ready?\0"s, "1 out 500 Command not recognized",
                          "2 connect", "2 in \xff\"\0"s, "2 out 500 Unclosed quotes error"};
  ASSERT_GT(events.size(), 16u) << testing::PrintToString(events);
  EXPECT_EQ(kFirst, Strings(events.begin(), events.begin() + 6));
  const Strings kLater = {"1 in atcommand initialize\0x\0rest"s, "0 out 601 AT Command Start",
                          "0 out 200 AT Command Start", "1 out 500 Command not recognized"};
  EXPECT_NE(events.end(), std::search(events.begin(), events.end(), kLater.begin(), kLater.end()));
  const Strings kEnd = {"0 out 602 At Command End",
                        "0 out 200 AT Command End",
                        "1 disconnect",
                        "1 connect",
                        "1 in ready?\0"s,
                        "1 out 500 Command not recognized",
                        "0 out 602 At Command End",
                        "0 out 200 AT Command End",
                        "1 disconnect"};
  EXPECT_EQ(kEnd, Strings(events.end() - kEnd.size(), events.end()));
  EXPECT_EQ(1, std::count(events.begin(), events.end(), "2 disconnect"));
}

TEST_F(RecordedPhone, RecordSaysWhatItMissed) {
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
  stop();
  std::string error;
  device().sockets.record = sim::SocketRecord::open(root_ + "/recording", device().clock, &error);
  Late listener("atd", true), other("other", true);
  ASSERT_EQ(0, listener.startListener());
  ASSERT_EQ(0, other.startListener());
  for (Late* late : {&listener, &other}) {
    Peer peer(device().path(late == &listener ? "/dev/socket/atd" : "/dev/socket/other"));
    late->peer = &peer;
    peer.send("now");
    EXPECT_EQ("taken", peer.next());
    late->stopListener();
  }
  EXPECT_EQ(nullptr, sim::SocketRecord::open(root_ + "/none/recording", device().clock, &error));
  EXPECT_TRUE(has(error, "/none/recording: No such file")) << error;
  int pair[2], off = -1;
  ASSERT_EQ(0, socketpair(AF_UNIX, SOCK_STREAM, 0, pair));
  const bool tells = setsockopt(pair[0], SOL_SOCKET, SO_PEEK_OFF, &off, sizeof off) == 0;
  close(pair[0]), close(pair[1]);
  if (!tells) GTEST_SKIP() << "nothing here tells what a read took; this may be an emulator";
  EXPECT_EQ((Strings{"1 connect", "1 in now", "1 out 0 taken", "1 missed 4", "1 disconnect"}),
            events_of(root_ + "/recording"));
}

TEST_F(RecordedPhone, AReplayFindsTheFirstDifference) {
  const std::string recording = root_ + "/recording";
  const std::string answers = file("answers", "1013 * \"yes\"\n");
  device().items.set_text(9, 12, "A 2026-01-31");
  restart(recording);
  beside({"serve", "--answers", answers, "--count", "1"}, [](auto&) { ask(1013, "at 13:05:00"); });
  EXPECT_EQ(2, atdctl(socket(), {"batch"}, "4010\n4403\n4010").status);
  EXPECT_EQ(0, atdctl(socket(), {"send", "AT+CSQ"}).status);
  restart("");

  // The daemon sent that request on its own, so a replay waits for it until the time-out.
  Outcome outcome = replay(recording, {"--timeout", "0.2"});
  EXPECT_EQ(75, outcome.status) << outcome.err;
  EXPECT_TRUE(has(outcome.out, "expected: 605 request 1013: \"at 13:05:00\"\n  got:      nothing within 0.2 s"))
      << outcome.out;
  auto asking = [&](const std::string& item, const Strings& options = {}) {
    device().items.set_text(9, 12, item);
    Strings arguments = {"replay", recording};
    arguments.insert(arguments.end(), options.begin(), options.end());
    watcher_ = std::make_unique<Peer>(socket());
    EXPECT_EQ("500 Command not recognized", (watcher_->line("ready?"), watcher_->next()));
    return beside(arguments, [](auto&) { ask(1013, "at 13:06:01"); });
  };
  outcome = asking("A 2027-12-24");
  EXPECT_EQ(0, outcome.status) << outcome.out;
  EXPECT_TRUE(has(outcome.out, " messages, no difference\n")) << outcome.out;
  outcome = asking("B 2026-01-31");
  EXPECT_EQ(1, outcome.status);
  Strings events = events_of(recording);
  const std::string asked = "3 in " + request_line(4010, "") + '\0';
  const size_t line = std::find(events.begin(), events.end(), asked) - events.begin() + 1;
  EXPECT_EQ(recording + ":" + std::to_string(line + 1) + ": the first difference\n" + "  line " + std::to_string(line) +
                ", client 3: request get_serial_number (4010)\n" +
                "  expected: 210 OK: \"A 2026-01-31\"\n  got:      210 OK: \"B 2026-01-31\"\n",
            outcome.out);
  EXPECT_EQ(0, asking("B 2026-01-31", {"--mask", "x+", "--mask", "^[AB]"}).status);
}

TEST_F(RecordedPhone, AReplayPlaysLineByLine) {
  const std::string in = R"("dir":"in","client":)", out = R"("dir":"out","client":)";
  const std::string connect = in + R"(1,"event":"connect")", start = in + R"(1,"bytes":"atcommand initialize\u0000")";
  const std::string ready = out + R"(null,"code":601,"text":"AT Command Start")",
                    copy = out + R"(null,"code":200,"text":"AT Command Start")",
                    refused = R"(,"code":500,"text":"Command not recognized")";
  const struct {
    Strings lines;
    int status;
    const char* shown;
  } kRows[] = {
      {{connect, start, ready, copy, in + R"(1,"event":"disconnect")"}, 0, "2 messages, no difference\n"},
      {{start, ready, copy, in + R"(2,"bytes":{"hex":"7800"})", out + "2" + refused}, 0, "3 messages, no difference\n"},
      // What is not a whole line is dropped, but only if nothing comes with it.
      {{in + R"(1,"bytes":"atcommand initialize")", in + R"(1,"bytes":"x\u0000")", out + "1" + refused},
       0,
       "1 message, "},
      {{start, ready},
       1,
       ":2: the first difference\n  line 1, client 1: atcommand initialize\n"
       "  expected: nothing more\n  got:      200 AT Command Start\n"},
      {{in + R"(1,"bytes":"x\u0000")", in + R"(1,"event":"disconnect")"},
       1,
       ":2: the first difference\n  line 1, client 1: x\n  expected: nothing more\n  got:      500 Command not"},
      {{start, copy, ready}, 1, "  expected: 200 AT Command Start\n  got:      601 AT Command Start\n"},
      // Neither the end of the recorded daemon nor what it said before any input is expected.
      {{connect, ready, start, ready, copy, out + R"(null,"code":602,"text":"At Command End")",
        out + R"(null,"code":200,"text":"AT Command End")", in + R"(1,"event":"disconnect")"},
       0,
       "2 messages, "},
      // When the second client speaks, both have heard the messages before.
      {{connect, in + R"(2,"event":"connect")", start, ready, copy, in + R"(1,"event":"disconnect")",
        in + R"(2,"bytes":"atcommand initialize\u0000")", ready, copy},
       0,
       "4 messages, "},
      {{in + R"(1,"event":"missed","count":3)", start, ready, copy}, 64, "2 messages, "},
  };
  for (const auto& row : kRows) {
    Outcome outcome = replay(recording(row.lines), {"--realtime"});
    EXPECT_EQ(row.status, outcome.status) << outcome.err;
    EXPECT_TRUE(has(outcome.out, row.shown)) << outcome.out << row.shown;
  }
  // The replay waits for a restart in the middle, and for the daemon after that.
  const std::string restarted =
      recording({start, ready, copy, out + R"(null,"code":602,"text":"At Command End")",
                 in + R"(1,"event":"disconnect")", in + R"(1,"bytes":"x\u0000")", out + "1" + refused});
  EXPECT_EQ(75, replay(restarted, {"--timeout", "0.2"}).status);
  restart("");
  Outcome outcome = beside({"replay", restarted}, [](auto&) { stop_socket(), init_socket(); });
  EXPECT_EQ("3 messages, no difference\n", outcome.out) << outcome.err;
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
}

TEST(Client, ReplayRefusesWhatIsNotARecording) {
  const std::string time = R"({"time":"2026-01-31T13:05:00.000001Z",)";
  const std::string good = time + R"("dir":"in","client":1,"bytes":"x"})"
                                  "\n";
  const std::pair<std::string, const char*> kRows[] = {
      {"", "- has nothing that a client sent"},
      {time + R"("dir":"out","client":null,"code":1,"text":"x"})", "- has nothing that a client sent"},
      {good + "{",
       "-:2: not a line of a recording, which is a JSON object; the line has no end, so the file may be cut"},
      {good + "[]", "-:2: not a line"},
      {R"({"time":1})", "\"time\" is not written as"},
      {R"({"time":"2026-01-31"})", "\"time\" is not written as"},
      {time + R"("dir":"on"})", "neither \"in\" nor \"out\""},
      {time + R"("dir":"in"})", "\"client\" is no"},
      {time + R"("dir":"in","client":0,"bytes":""})", "\"client\" is no"},
      {time + R"("dir":"in","client":1})", "neither \"bytes\" nor"},
      {time + R"("dir":"in","client":1,"bytes":7})", "\"bytes\" is neither"},
      {time + R"("dir":"in","client":1,"bytes":{"hex":"012"}})", "\"bytes\" is neither"},
      {time + R"("dir":"in","client":1,"event":"sleep"})", "connect, disconnect or missed"},
      {time + R"("dir":"in","client":1,"event":"missed"})", "\"count\" is not a number"},
      {time + R"("dir":"out","code":"x"})", "\"code\" is not a number"},
      {time + R"("dir":"out","code":1})", "\"text\" is neither"}};
  FakeDaemon daemon([](const std::string&) { return ""; });
  for (const auto& row : kRows) {
    Outcome outcome = atdctl(daemon, {"replay", "-"}, row.first);
    EXPECT_EQ(64, outcome.status) << row.first;
    EXPECT_TRUE(has(outcome.err, row.second)) << outcome.err;
  }
  Outcome outcome = atdctl(daemon, {"replay", "-", "--mask", "(a"}, good);
  EXPECT_TRUE(has(outcome.err, "\"(a\" is not an extended regular expression: ")) << outcome.err;
}

TEST(Client, ComparesRecordsDecodedAndMasked) {
  auto record = [](const std::string& data) { return answer(0, data).substr(4, answer(0, data).size() - 5); };
  const struct {
    int code;
    std::string a, b;
    bool same;
  } kRows[] = {
      {210, record("13:05:00.1 x"), record("1:06:01 x"), true},
      {210, record("x\0"s), record("x"), false},
      {210, record("2026-01-31T13:05:00Z"), record("2027/02/01T13:05:01.5Z"), true},
      {210, record("00:11:22:33:44:55"), record("00:11:22:33:44:56"), false},
      {210, record("1.2.3"), record("1.2.4"), false},
      {605, request_line(5, "at 13:05:00").substr(11), request_line(5, "at 13:05:01").substr(11), true},
      {605, request_line(5, "").substr(11), request_line(6, "").substr(11), false},
      {605, "AT 13:05:00 13:05:01", "AT 10:00:00 10:00:00", true},
      {605, "AT\\n", "AT\n", false},
      {601, "id 17, id 18", "id 8, id 999", true},
      {601, "\0id 1"s, "\0id 2"s, true},
      {601, std::string(16381, 'w'), std::string(16381, 'w') + 'w', true},
      {601, "ID 17", "ID 18", false},
  };
  Masks masks;
  EXPECT_FALSE(masks.add("id [0-9]+"));
  EXPECT_FALSE(masks.add("(w|z)*"));
  for (const auto& row : kRows) {
    Comparable a = masks.apply({row.code, row.a, ""}), b = masks.apply({row.code, row.b, ""});
    EXPECT_EQ(row.same, a.key == b.key) << a.shown.substr(0, 100) << "\n" << b.shown.substr(0, 100);
  }
}

TEST(Client, MonitorRecords) {
  const std::string recording = testing::TempDir() + "atdctl-recording-" + std::to_string(getpid());
  std::filesystem::remove(recording);
  FakeDaemon daemon([](const std::string&) { return ""; }, "605 AT\xff\0no code\0"s + "602 end\0BYE"s);
  for (int round = 1; round <= 2; ++round) {
    Outcome outcome = atdctl(daemon, {"monitor", "--quiet", "--record", recording});
    EXPECT_EQ(0, outcome.status) << outcome.err;
    EXPECT_EQ("", outcome.out);
  }
  const Strings once = {"0 out 605 AT\xff", "0 out 0 no code", "0 out 602 end"};
  Strings twice = once;
  twice.insert(twice.end(), once.begin(), once.end());
  EXPECT_EQ(twice, events_of(recording));
  std::filesystem::remove(recording);
  EXPECT_EQ(64, atdctl(daemon, {"monitor", "--quiet"}).status);
  EXPECT_EQ(64, atdctl(daemon, {"monitor", "--record", "/tmp/nowhere/x"}).status);
  EXPECT_EQ(74, atdctl(daemon, {"monitor", "--record", "/proc/self/root/dev/full"}).status);
}

}  // namespace
}  // namespace atd::client
