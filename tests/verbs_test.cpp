// What a person can do to the simulated phone: every verb, and the control socket that takes the verbs.
#include <sys/stat.h>

#include <atomic>
#include <fstream>
#include <set>
#include <thread>

#include <tuple>

#include "atd.h"
#include "desk/control.h"
#include "desk/verb.h"
#include "simulator/control.h"
#include "tests/phone.h"

using namespace std::string_literals;

namespace atd {
namespace {

// A line of the daemon's own.
void slog(const std::string& text) {
  __android_log_buf_print(LOG_ID_SYSTEM, ANDROID_LOG_INFO, "Atd", "%s", text.c_str());
}

struct Told {
  int status = -1;
  std::string out, error;
};

class VerbTest : public Phone {
 protected:
  Told tell(const std::vector<std::string>& words, const std::string& input = "", bool json = false) {
    Told told;
    ControlRequest request;
    request.words = words;
    request.json = json;
    request.input = input;
    sim::run_verb(device(), request, [&](const ControlReply& reply) {
      EXPECT_EQ(-1, told.status) << "a reply after the last";
      told.out += reply.out;
      if (reply.last) told.status = reply.status, told.error = reply.error;
      return true;
    });
    return told;
  }

  // Tells each row in turn; its answer contains the text.
  struct Row {
    std::vector<std::string> words;
    int status;
    std::string text;  // in the output or the error
  };
  void tell_all(const std::vector<Row>& rows) {
    for (const Row& row : rows) {
      std::string words;
      for (const std::string& word : row.words) words += word + " ";
      const Told told = tell(row.words);
      EXPECT_EQ(row.status, told.status) << words << told.error;
      EXPECT_NE(std::string::npos, (told.out + told.error).find(row.text)) << words << told.out << told.error;
      EXPECT_EQ(row.status == 0, told.error.empty()) << words << told.error;
    }
  }
};

TEST_F(VerbTest, TheTableIsWholeAndFindsItsRows) {
  std::set<std::string> names;
  for (const Verb& verb : phone_verbs()) {
    EXPECT_TRUE(names.insert(verb.name).second) << verb.name;
    EXPECT_TRUE(std::string(verb.summary).ends_with(".")) << verb.name;
    EXPECT_NE(nullptr, verb.run) << verb.name;
  }
  tell_all({
      {{}, 64, "there is no verb \"\""},
      {{"statsu"}, 64, "nearest: status"},
      {{"item"}, 64, "after \"item\" write one of: list, get, set, export, import"},
      {{"item", "lst"}, 64, "after \"item\" write one of: list"},
      {{"item", "list", "9"}, 64, "write item list without arguments"},
      {{"item", "set", "9"}, 64, "write item set INDEX|NAME VALUE"},
      {{"property", "a", "b", "c"}, 64, "write property [NAME [VALUE]]"},
      {{"clock"}, 0, ":"},
  });
}

TEST_F(VerbTest, ItemsAreTypedByTheirEncoding) {
  const std::tuple<const char*, const char*, std::string, const char*> rows[] = {
      {"9", "AB12", "AB12\0\0\0\0\0\0\0\0"s, "AB12"},
      {"factory serial number", "0123456789AB", "0123456789AB", "0123456789AB"},
      {"9", "0123456789ABC", "", ""},
      {"9", "", std::string(12, '\0'), ""},
      {"9", "hex:ff0000000000000000000000", "\xff\0\0\0\0\0\0\0\0\0\0\0"s, "hex:ff0000000000000000000000"},
      {"10", "255", "\xff", "255"},
      {"10", "256", "", ""},
      {"10", "x", "", ""},
      {"49", "7", "7", "7"},
      {"6", "0a1B2c3D4e5F", "\x0a\x1b\x2c\x3d\x4e\x5f", "hex:0a1b2c3d4e5f"},
      {"6", "0a1B2c3D4e", "", ""},
      {"6", "0a1B2c3D4e5G", "", ""},
  };
  for (const auto& [item, value, bytes, shown] : rows) {
    const Told told = tell({"item", "set", item, value});
    EXPECT_EQ(bytes.empty() ? 64 : 0, told.status) << item << value << told.error;
    if (bytes.empty()) continue;
    const unsigned index = *item == 'f' ? 9 : static_cast<unsigned>(atoi(item));
    EXPECT_EQ(bytes, device().items.get(index, static_cast<int>(bytes.size()))) << item << value;
    EXPECT_EQ(shown + "\n"s, tell({"item", "get", item}).out) << item << value;
  }
  tell_all({
      {{"item", "get", "11111"}, 64, "no item has the index 11111"},
      {{"item", "get", "IMIE"}, 64, "nearest: IMEI"},
      {{"item", "get", "factory", "serial", "number"}, 0, "hex:ff"},
      {{"item", "list"}, 0, "charger skip"},
  });
}

TEST_F(VerbTest, ItemsTravelToAnotherPhoneOrNotAtAll) {
  device().items.set_text(13, 20, "490154203237518");
  device().items.set(6, "\1\2\3\4\5\6");
  device().items.set(79, std::string(2047, '1') + '\0');
  device().items.set(10, "\1");
  const std::string exported = tell({"item", "export"}).out;
  for (unsigned index : {13u, 6u, 79u, 10u}) device().items.set(index, std::string(index == 13 ? 20 : 6, '\0'));
  device().items.set(79, std::string(2048, '\0'));
  const Told told = tell({"item", "import", "-"}, exported);
  EXPECT_EQ(0, told.status) << told.error;
  EXPECT_EQ("4 items\n", told.out);
  EXPECT_EQ("490154203237518\0\0\0\0\0"s, device().items.get(13, 20));
  EXPECT_EQ("\1\2\3\4\5\6", device().items.get(6, 6));
  EXPECT_EQ(std::string(2047, '1') + '\0', device().items.get(79, 2048));

  // One that is wrong keeps every item as it is.
  device().items.set(10, "\2");
  const std::string bad[] = {"",
                             "{}",
                             "[1]",
                             R"([{"index":10,"value":1},{"index":10,"value":"x"}])",
                             R"([{"index":10,"value":1},{"index":11111,"value":1}])",
                             R"([{"index":10,"value":1},{"index":6,"value":{"hex":"01"}}])"};
  for (const std::string& text : bad) {
    EXPECT_EQ(64, tell({"item", "import", "-"}, text).status) << text;
    EXPECT_EQ("\2", device().items.get(10, 1)) << text;
  }
}

TEST_F(VerbTest, FaultsHitTheCallsThatAreMeant) {
  tell_all({{{"fault", "set", "set_ftm_item", "13"}, 0, ""}, {{"fault", "list"}, 0, "set_ftm_item 13: fails\n"}});
  EXPECT_EQ(-1, set_imei_ftm_item(std::string(20, '1').c_str()));
  EXPECT_EQ(0, set_pid(std::string(30, '1').c_str()));
  EXPECT_EQ(1, device().logs.count(LOG_ID_MAIN, ANDROID_LOG_ERROR, "ftm", "item 13 cannot be written: a fault is set"));
  tell_all({{{"fault", "clear", "set_ftm_item", "13"}, 0, ""}, {{"fault", "list"}, 0, "no faults are set"}});
  EXPECT_EQ(0, set_imei_ftm_item(std::string(20, '1').c_str()));

  // The third write from now on, and no other one.
  tell_all({{{"fault", "set", "set_ftm_item", "nth=3"}, 0, ""}});
  std::string results;
  for (int i = 0; i < 5; ++i) results += set_wine_ime(1) == 0 ? '+' : '-';
  EXPECT_EQ("++-++", results);
  tell_all({{{"fault", "set", "set_ftm_item", "nth=2", "times=2"}, 0, ""}});
  for (int i = 0; i < 5; ++i) results += set_wine_ime(1) == 0 ? '+' : '-';
  EXPECT_EQ("++-+++--++", results);

  // The next answer of the modem is late, and comes.
  init_modem_interface(0);
  tell_all({{{"fault", "set", "request_to_modem_via_dmi", "117", "late=5000", "times=1"}, 0, ""},
            {{"status"}, 0, "request_to_modem_via_dmi 117: 5000 ms late once"}});
  const uint64_t slept = device().clock.slept();
  EXPECT_EQ(0, request_to_system(102, nullptr, 0, nullptr, nullptr, nullptr));
  EXPECT_EQ(slept, device().clock.slept());
  EXPECT_EQ(0, request_to_system(117, nullptr, 0, nullptr, nullptr, nullptr));
  EXPECT_EQ(0, request_to_system(117, nullptr, 0, nullptr, nullptr, nullptr));
  EXPECT_EQ(slept + 5000000, device().clock.slept());
  tell_all({
      {{"fault", "list"}, 0, "no faults are set"},
      {{"fault", "set", "set_item"}, 64, "nearest: set_ftm_item"},
      {{"fault", "set", "set_ftm_item", "13", "14"}, 64, "\"14\" after the call"},
      {{"fault", "set", "set_ftm_item", "late=x"}, 64, "\"late=x\" after the call"},
      {{"fault", "set", "set_ftm_item", "nth=0"}, 64, "\"nth=0\" after the call"},
      {{"fault", "set", "any"}, 0, ""},
  });
  EXPECT_EQ(-1, get_wine_ime());
  tell_all({{{"fault", "clear"}, 0, ""}});
  EXPECT_EQ(1, get_wine_ime());
}

TEST_F(VerbTest, TheModemThePropertiesAndTheClock) {
  init_modem_interface(0);
  tell_all({
      {{"modem", "row", "102 * \"by hand\""}, 0, ""},
      {{"modem", "row", "102", "*", "\"before it\" status=3"}, 0, ""},
      {{"modem", "row", "1000 * \"x\""}, 64, "not an opcode of the modem"},
      {{"modem", "fail", "0"}, 64, "which request is a number from 1 to"},
      {{"modem", "delay", "-1"}, 64, "the delay is a number from 0 to"},
      {{"property", "ro.model.name", "OTHER"}, 0, ""},
      {{"property", "ro.model.name"}, 0, "OTHER\n"},
      {{"property", "persist.sys.lang", "en"}, 0, ""},
      {{"property"}, 0, "[persist.sys.lang]: [en]\n[ro.bootmode]: [normal]\n"},
      {{"property", "../x", "1"}, 64, "cannot set \"../x\""},
      {{"property", "x", std::string(92, 'v')}, 64, "at most 91 bytes"},
      {{"clock", "advance", "0"}, 64, "the time is a number from 1"},
      {{"clock", "advance", "1.5"}, 64, "not \"1.5\""},
  });
  char out[2048];
  int length = 0, status = 0;
  EXPECT_EQ(0, request_to_system(102, nullptr, 0, out, &length, &status));
  EXPECT_EQ("before it", std::string(out, static_cast<size_t>(length)));
  EXPECT_EQ(3, status);
  tell_all({{{"modem", "delay", "250"}, 0, ""}});
  const uint64_t slept = device().clock.slept();
  EXPECT_EQ(0, request_to_system(102, nullptr, 0, out, &length, &status));
  EXPECT_EQ(slept + 250000, device().clock.slept());
  tell_all({{{"modem", "delay", "0"}, 0, ""}, {{"modem", "lose"}, 0, ""}});
  EXPECT_EQ(0, request_to_system(102, nullptr, 0, out, &length, &status));
  EXPECT_EQ(1, logged("[DMI] request_to_modem : init dmi again."));
  tell_all({{{"modem", "fail", "2"}, 0, ""}});
  EXPECT_EQ(0, request_to_system(102, nullptr, 0, out, &length, &status));
  EXPECT_EQ(0, request_to_system(102, nullptr, 0, out, &length, &status));
  EXPECT_EQ(2, logged("[DMI] request_to_modem : init dmi again."));

  struct timespec before = {}, after = {};
  device().clock.get(CLOCK_REALTIME, &before);
  tell_all({{{"clock", "advance", "3600"}, 0, ""}});
  device().clock.get(CLOCK_REALTIME, &after);
  EXPECT_EQ(before.tv_sec + 3600, after.tv_sec);
}

TEST_F(VerbTest, KeysTouchesAndRequestsGoThroughTheDaemon) {
  tell_all({{{"key", "KEY_POWER"}, 1, "the program that runs this phone does not do this"},
            {{"stop"}, 1, "cannot be stopped from here"}});
  bool stopped = false;
  device().host = {.program = "test",
                   .stop = [&] { stopped = true; },
                   .request_to_system = request_to_system,
                   .ckpd_send_event = ckpd_send_event,
                   .send_key_native = send_key_native,
                   .ctsa_send_event = ctsa_send_event};
  init_modem_interface(0);
  tell_all({
      {{"key", "KEY_POWER", "press"}, 0, "code 116 (KEY_POWER), value 1\n"},
      {{"key", "116", "release"}, 0, "code 116 (KEY_POWER), value 0\n"},
      {{"key", "KEY_POWR"}, 64, "not \"KEY_POWR\""},
      {{"key", "KEY_POWER", "hold"}, 64, "write press, release, or nothing"},
      {{"key", "700"}, 1, "no input device has the key"},
      {{"touch", "2", "10", "20"}, 0, "(ABS_MT_POSITION_Y), value 20\n"},
      {{"touch", "6", "10", "20"}, 64, "the mode is a number from 0 to 5"},
      {{"touch", "2", "10", "-1"}, 64, "y is a number from 0"},
      {{"events", "0"}, 0, "value 1\n-------------- SYN_REPORT ------------\ntype 1 (EV_KEY), code 116"},
      {{"events", "2"}, 0, ""},
      {{"request", "157"}, 0, "A0000000000000\n"},
      {{"request", "990"}, 1, "error 2"},
      {{"request", "x"}, 64, "the opcode is a number"},
      {{"keypad", "256"}, 64, "the character code is a number from 0 to 255"},
      {{"stop", "now"}, 64, "write stop without arguments"},
  });
  EXPECT_FALSE(stopped);
  tell_all({{{"stop"}, 0, ""}});
  EXPECT_TRUE(stopped);
}

TEST_F(VerbTest, RebootAndPowerOffComeAfterTheLastReply) {
  std::vector<std::string> ended;
  device().power.allow([&](const std::string& what) { ended.push_back(what); });
  ControlRequest request;
  for (const std::vector<std::string>& words :
       {std::vector<std::string>{"reboot"}, {"reboot", "dload"}, {"power-off"}, {"power-off", "now"}}) {
    request.words = words;
    const size_t before = ended.size();
    sim::run_verb(device(), request, [&](const ControlReply&) {
      EXPECT_EQ(before, ended.size());
      return true;
    });
  }
  EXPECT_EQ((std::vector<std::string>{"reboot", "reboot dload", "power-off"}), ended);
  const int boots = device().boots();
  device().reboot();
  EXPECT_EQ(boots + 1, device().boots());
  device().power.shut();
  const size_t asked = device().power.history().size();
  EXPECT_FALSE(device().power.request("reboot"));
  EXPECT_EQ(asked, device().power.history().size());
}

class ControlTest : public VerbTest {
 protected:
  ControlTest() {
    std::string error;
    control_ = sim::Control::bind(device(), &error);
    if (!control_) ADD_FAILURE() << error;
    else control_->start();
  }
  ~ControlTest() override { control_.reset(); }

  // A caller that reads replies one by one.
  class Caller {
   public:
    explicit Caller(const std::string& root) : fd_(connect_to(root + "/sim/control")) { EXPECT_GE(fd_, 0); }
    ~Caller() { close(fd_); }
    void send(const std::string& bytes) {
      EXPECT_EQ(ssize_t(bytes.size()), ::send(fd_, bytes.data(), bytes.size(), 0));
    }
    void say(const std::vector<std::string>& words, bool json = false) {
      ControlRequest request;
      request.words = words;
      request.json = json;
      send(to_line(request));
    }
    // The next reply that says something; "(closed)" as its output at the end.
    ControlReply next() {
      for (;;) {
        const size_t end = pending_.find('\n');
        if (end != std::string::npos) {
          ControlReply reply;
          EXPECT_TRUE(from_line(pending_.substr(0, end), &reply));
          pending_.erase(0, end + 1);
          if (reply.last || !reply.out.empty()) return reply;
          continue;
        }
        struct pollfd ready = {fd_, POLLIN, 0};
        char bytes[4096];
        const ssize_t size = poll(&ready, 1, 10000) == 1 ? recv(fd_, bytes, sizeof bytes, 0) : 0;
        if (size <= 0) return {.out = "(closed)", .last = false, .status = 0, .error = ""};
        pending_.append(bytes, static_cast<size_t>(size));
      }
    }

   private:
    int fd_;
    std::string pending_;
  };

  std::unique_ptr<sim::Control> control_;
};

TEST_F(ControlTest, OnlyItsOwnerMayUseIt) {
  struct stat file;
  ASSERT_EQ(0, stat((root_ + "/sim/control").c_str(), &file));
  EXPECT_EQ(0600u, file.st_mode & 07777);
  control_.reset();
  EXPECT_NE(0, stat((root_ + "/sim/control").c_str(), &file));
}

TEST_F(ControlTest, AnswersOrRefusesWhateverComes) {
  for (const std::string& garbage : {"\n"s, "{}\n"s, "[1]\n"s, "\xff\0{\n"s,
                                     R"({"words":[1]})"
                                     "\n"s,
                                     R"({"words":"x"})"
                                     "\n"s,
                                     R"({"words":["x"],"input":{"hex":"0"}})"
                                     "\n"s}) {
    Caller caller(root_);
    caller.send(garbage);
    const ControlReply reply = caller.next();
    EXPECT_EQ(64, reply.status) << garbage;
    EXPECT_EQ("this is not a request of the control socket", reply.error) << garbage;
  }
  Caller(root_).send("{\"words\":[\"sta");  // gone in the middle
  Caller slow(root_);
  const std::string line = to_line(ControlRequest{{"property", "x", "\xfe\xff"s}, false, ""});
  for (char c : line) slow.send(std::string(1, c));
  EXPECT_EQ(0, slow.next().status);
  EXPECT_EQ("(closed)", slow.next().out);
  EXPECT_EQ("\xfe\xff", device().properties.get("x"));
  Caller caller(root_);
  caller.say({"property", "x"});
  EXPECT_EQ("\xfe\xff\n", caller.next().out);
}

TEST_F(ControlTest, FollowsTheLogUntilItHangsUp) {
  init_factory_item(0);
  slog("system one");
  Caller all(root_), errors(root_), main(root_);
  all.say({"log", "-f"});
  EXPECT_NE(std::string::npos, all.next().out.find("I Atd: system one\n"));
  errors.say({"log", "--level", "error", "--follow"}, true);
  main.say({"log", "--buffer", "main"});
  EXPECT_TRUE(main.next().last);  // nothing there
  // The error comes last. When the caller that asks for errors has it, it has not been sent the line before.
  slog("system two");
  __android_log_buf_print(LOG_ID_SYSTEM, ANDROID_LOG_ERROR, "Atd", "broken");
  EXPECT_NE(std::string::npos, all.next().out.find("I Atd: system two\n"));
  EXPECT_NE(std::string::npos, all.next().out.find("E Atd: broken\n"));
  const std::string heard = errors.next().out;
  EXPECT_NE(std::string::npos, heard.find(R"({"buffer":"system","line":")")) << heard;
  EXPECT_NE(std::string::npos, heard.find("E Atd: broken\"}\n")) << heard;
  for (const auto& [words, error] : std::vector<std::pair<std::vector<std::string>, std::string>>{
           {{"log", "--level", "loud"}, "\"loud\" is not a level"},
           {{"log", "--buffer", "radar"}, "\"radar\" is not a buffer"},
           {{"log", "-x"}, "\"-x\" is not an option of log"},
           {{"log-level", "loud"}, "\"loud\" is not a level"}}) {
    const Told told = tell(words);
    EXPECT_EQ(64, told.status);
    EXPECT_NE(std::string::npos, told.error.find(error)) << told.error;
  }
  control_->hang_up();
  for (Caller* caller : {&all, &errors}) {
    ControlReply reply;
    do reply = caller->next();
    while (!reply.last && reply.out != "(closed)");
  }
}

TEST_F(ControlTest, EndsWithCallersThatDoNotRead) {
  Caller silent(root_), deaf(root_);
  deaf.say({"log", "-f"});
  for (int i = 0; i < 2000; ++i) slog(std::string(1000, 'x'));
  control_.reset();  // does not hang
}

// The desktop's clock runs, and the phone's is put ahead of it.
TEST(ClockTest, AdvanceEndsWhatWaitsOnARunningClock) {
  sim::Clock clock;
  struct timespec before = {}, deadline = {};
  clock.get(CLOCK_REALTIME, &before);
  clock.get(CLOCK_MONOTONIC, &deadline);
  deadline.tv_sec += 1000;
  pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
  pthread_condattr_t attributes;
  pthread_condattr_init(&attributes);
  pthread_condattr_setclock(&attributes, CLOCK_MONOTONIC);
  pthread_cond_t condition;
  pthread_cond_init(&condition, &attributes);
  int result = 0;
  std::thread waiter([&] {
    pthread_mutex_lock(&mutex);
    result = clock.timed_wait(&condition, &mutex, CLOCK_MONOTONIC, &deadline);
    pthread_mutex_unlock(&mutex);
  });
  std::thread sleeper([&] { clock.sleep(1000000000); });
  clock.await_waiters(2);
  clock.advance(1001000000);
  waiter.join();
  sleeper.join();
  EXPECT_EQ(ETIMEDOUT, result);
  struct timespec after = {};
  clock.get(CLOCK_REALTIME, &after);
  EXPECT_GE(after.tv_sec - before.tv_sec, 1000);
  EXPECT_LE(after.tv_sec - before.tv_sec, 1060);
  pthread_cond_destroy(&condition);
}

}  // namespace
}  // namespace atd
