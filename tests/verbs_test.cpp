// What a person can do to the simulated phone: every verb, and the control socket that takes the verbs.
#include <thread>

#include <tuple>

#include "atd.h"
#include "client/input.h"
#include "desk/control.h"
#include "desk/verb.h"
#include "simulator/control.h"
#include "tests/phone.h"

using namespace std::string_literals;

namespace atd {
namespace {

using Words = std::vector<std::string>;

// A line of the daemon's own.
void slog(const std::string& text) {
  __android_log_buf_print(LOG_ID_SYSTEM, ANDROID_LOG_INFO, "Atd", "%s", text.c_str());
}

class VerbTest : public Phone {
 protected:
  // The last reply, with the output of all.
  ControlReply tell(const Words& words, const std::string& input = "") {
    ControlReply told;
    sim::run_verb(device(), {words, false, input}, [&](const ControlReply& reply) {
      EXPECT_FALSE(told.last) << "a reply after the last";
      told = {told.out + reply.out, reply.last, reply.status, reply.error};
      return true;
    });
    EXPECT_TRUE(told.last);
    return told;
  }

  // Tells each row in turn; its output or error contains the text.
  struct Row {
    Words words;
    int status;
    std::string text;
  };
  void tell_all(const std::vector<Row>& rows) {
    for (const Row& row : rows) {
      SCOPED_TRACE(testing::PrintToString(row.words));
      const ControlReply told = tell(row.words);
      EXPECT_EQ(row.status, told.status);
      EXPECT_TRUE(has(told.out + told.error, row.text)) << told.out << told.error;
      EXPECT_EQ(row.status == 0, told.error.empty()) << told.error;
    }
  }
};

TEST_F(VerbTest, AVerbIsFoundOrItsNearestIsNamed) {
  tell_all({{{}, 64, "there is no verb \"\""},
            {{"item"}, 64, "after \"item\" write one of: list, get, set, export, import"},
            {{"item", "list", "9"}, 64, "write item list without arguments"},
            {{"item", "set", "9"}, 64, "write item set INDEX|NAME VALUE"},
            {{"battery", "levl", "3"}, 64, "there is no verb \"battery levl\"; nearest: battery level"}});
}

TEST_F(VerbTest, AnExportLeavesNothingOutUnasked) {
  put("/sim/stray");
  tell_all({{{"export", "-"}, 1, "--leave-out leaves it out: /sim/stray: nothing"},
            {{"export", "-", "--all"}, 64, "write --leave-out"},
            {{"export", "--leave-out", "-"}, 0, "# left out: \"/sim/stray: nothing"},
            {{"export", "-", "--leave-out"}, 0, "# left out: \"/sim/stray: nothing"}});
}

TEST_F(VerbTest, AListCutsNoIdentityInTwo) {
  tell_all({{{"item", "set", "SAAT result", std::string(27, 'a') + ",490154203237518"}, 0, ""},
            {{"item", "list"}, 0, "  " + std::string(27, 'a') + ",...\n"s}});
}

TEST_F(VerbTest, ItemsAreTypedByTheirEncoding) {
  const std::tuple<const char*, const char*, std::string, const char*> rows[] = {
      {"9", "AB12", "AB12\0\0\0\0\0\0\0\0"s, "AB12"},
      {"factory serial number", "0123456789AB", "0123456789AB", "0123456789AB"},
      {"9", "0123456789ABC", "", ""},
      {"9", "hex:ff0000000000000000000000", "\xff\0\0\0\0\0\0\0\0\0\0\0"s, "hex:ff0000000000000000000000"},
      {"10", "255", "\xff", "255"},
      {"10", "256", "", ""},
      {"10", "x", "", ""},
      {"49", "7", "7", "7"},
      {"6", "0a1B2c3D4e5F", "\x0a\x1b\x2c\x3d\x4e\x5f", "hex:0a1b2c3d4e5f"},
      {"6", "0a1B2c3D4e", "", ""}};
  for (const auto& [item, value, bytes, shown] : rows) {
    const ControlReply told = tell({"item", "set", item, value});
    EXPECT_EQ(bytes.empty() ? 64 : 0, told.status) << item << value << told.error;
    if (bytes.empty()) continue;
    const unsigned index = *item == 'f' ? 9 : static_cast<unsigned>(atoi(item));
    EXPECT_EQ(bytes, device().items.get(index, static_cast<int>(bytes.size()))) << item << value;
    EXPECT_EQ(shown + "\n"s, tell({"item", "get", item}).out) << item << value;
  }
  tell_all({{{"item", "get", "11111"}, 64, "no item has the index 11111"},
            {{"item", "get", "IMIE"}, 64, "nearest: IMEI"},
            {{"item", "get", "factory", "serial", "number"}, 0, "hex:ff"},
            {{"item", "get", "10", "factory", "serial", "number", "10"}, 0, "255\nhex:ff0000000000000000000000\n255\n"},
            {{"item", "get", "10", "IMIE"}, 64, "nearest: IMEI"},
            {{"item", "gte", "10"}, 64, "there is no verb \"item gte\"; nearest: item get; "},
            {{"item", "list"}, 0, "charger skip"}});
}

TEST_F(VerbTest, ItemsTravelToAnotherPhoneOrNotAtAll) {
  const std::pair<unsigned, std::string> items[] = {
      {13, "490154203237518\0\0\0\0\0"s}, {6, "\1\2\3\4\5\6"}, {79, std::string(2047, '1') + '\0'}, {10, "\1"}};
  for (const auto& [index, bytes] : items) device().items.set(index, bytes);
  const std::string exported = tell({"item", "export"}).out;
  for (const auto& [index, bytes] : items) device().items.set(index, std::string(bytes.size(), '\0'));
  EXPECT_EQ("4 items\n", tell({"item", "import", "-"}, exported).out);
  for (const auto& [index, bytes] : items) EXPECT_EQ(bytes, device().items.get(index, static_cast<int>(bytes.size())));

  // One that is wrong keeps every item as it is.
  device().items.set(10, "\2");
  for (const char* bad : {"", "{}", "[1]", R"([{"index":10,"value":1},{"index":10,"value":"x"}])",
                          R"([{"index":10,"value":1},{"index":11111,"value":1}])",
                          R"([{"index":10,"value":1},{"index":6,"value":{"hex":"01"}}])"}) {
    EXPECT_EQ(64, tell({"item", "import", "-"}, bad).status) << bad;
    EXPECT_EQ("\2", device().items.get(10, 1)) << bad;
  }
}

TEST_F(VerbTest, FaultsHitTheCallsThatAreMeant) {
  tell_all({{{"fault", "set", "set_ftm_item", "IMEI"}, 0, ""}, {{"fault", "list"}, 0, "set_ftm_item 13: fails\n"}});
  EXPECT_EQ(-1, set_imei_ftm_item(std::string(20, '1').c_str()));
  EXPECT_EQ(0, set_pid(std::string(30, '1').c_str()));
  EXPECT_EQ(1, device().logs.count(LOG_ID_MAIN, ANDROID_LOG_ERROR, "ftm", "item 13 cannot be written: a fault is set"));
  tell_all({{{"fault", "clear", "set_ftm_item", "IMEI"}, 0, ""}, {{"fault", "list"}, 0, "no faults are set"}});
  EXPECT_EQ(0, set_imei_ftm_item(std::string(20, '1').c_str()));

  std::string results;
  for (const char* fault : {"fault set set_ftm_item nth=3", "fault set set_ftm_item nth=2 times=2"}) {
    tell_all({{words(fault), 0, ""}});
    for (int i = 0; i < 5; ++i) results += set_wine_ime(1) == 0 ? '+' : '-';
  }
  EXPECT_EQ("++-+++--++", results);

  // The next answer of the modem is late, and comes.
  init_modem_interface(0);
  tell_all({{{"fault", "set", "request_to_modem_via_dmi", "117", "late=5000", "times=1"}, 0, ""},
            {{"status"}, 0, "request_to_modem_via_dmi 117: 5000 ms late once"}});
  const uint64_t slept = device().clock.slept();
  for (const auto& [opcode, late] : {std::pair{102, 0}, {117, 5000000}, {117, 5000000}}) {
    EXPECT_EQ(0, request_to_system(opcode, nullptr, 0, nullptr, nullptr, nullptr));
    EXPECT_EQ(slept + static_cast<unsigned>(late), device().clock.slept());
  }
  tell_all({{{"fault", "list"}, 0, "no faults are set"},
            {{"fault", "set", "set_item"}, 64, "nearest: set_ftm_item"},
            {{"fault", "set", "set_ftm_item", "banana"}, 64, "no item is named \"banana\"; nearest: "},
            {{"fault", "set", "set_ftm_item", "13", "14"}, 64, "\"14\" after the call"},
            {{"fault", "set", "set_ftm_item", "nth=0"}, 64, "\"nth=0\" after the call"},
            {{"fault", "set", "any"}, 0, ""}});
  EXPECT_EQ(-1, get_wine_ime());
  tell_all({{{"fault", "clear"}, 0, ""}});
  EXPECT_EQ(1, get_wine_ime());
}

TEST_F(VerbTest, TheModemThePropertiesAndTheClock) {
  init_modem_interface(0);
  tell_all({{{"modem", "row", "102 * \"by hand\""}, 0, ""},
            {{"modem", "row", "102", "*", "\"before it\" status=3"}, 0, ""},
            {{"modem", "row", "1000 * \"x\""}, 64, "not an opcode of the modem"},
            {{"modem", "fail", "0"}, 64, "which request is a number from 1 to"},
            {{"property", "ro.model.name", "OTHER"}, 0, ""},
            {{"property", "ro.model.name"}, 0, "OTHER\n"},
            {{"property", "persist.sys.lang", "en"}, 0, ""},
            {{"property"}, 0, "[persist.sys.lang]: [en]\n[ril.modembsp.bootup]: [1]\n[ro.bootmode]: [normal]\n"},
            {{"property", "../x", "1"}, 64, "cannot set \"../x\""},
            {{"property", "x", std::string(92, 'v')}, 64, "at most 91 bytes"},
            {{"usb", "disconnect"}, 0, ""},
            {{"usb"}, 0, "sys.usb.state  mtp,adb\nlock           0\nport           DISCONNECTED\n"},
            {{"usb", "delay", "-1"}, 64, "the delay is \"never\" or milliseconds from 0"},
            {{"clock", "advance", "0"}, 64, "the time is a number from 1"}});
  char out[2048];
  int length = 0, status = 0;
  EXPECT_EQ(0, request_to_system(102, nullptr, 0, out, &length, &status));
  EXPECT_EQ("before it", std::string(out, static_cast<size_t>(length)));
  EXPECT_EQ(3, status);
  // What a verb does to the next two requests: how late they are, and how often the modem is connected anew.
  const std::tuple<const char*, unsigned, int> rows[] = {
      {"modem delay 250", 500000, 0}, {"modem delay 0", 0, 0}, {"modem lose", 0, 1}, {"modem fail 2", 0, 1}};
  for (const auto& [verb, late, connected] : rows) {
    tell_all({{words(verb), 0, ""}});
    const uint64_t slept = device().clock.slept();
    const int before = logged("[DMI] request_to_modem : init dmi again.");
    for (int i = 0; i < 2; ++i) EXPECT_EQ(0, request_to_system(102, nullptr, 0, out, &length, &status)) << verb;
    EXPECT_EQ(slept + late, device().clock.slept()) << verb;
    EXPECT_EQ(before + connected, logged("[DMI] request_to_modem : init dmi again.")) << verb;
  }

  struct timespec before = {}, after = {};
  device().clock.get(CLOCK_REALTIME, &before);
  tell_all({{{"clock", "advance", "3600"}, 0, ""}});
  device().clock.get(CLOCK_REALTIME, &after);
  EXPECT_EQ(before.tv_sec + 3600, after.tv_sec);
}

TEST_F(VerbTest, KeysTouchesAndRequestsGoThroughTheDaemon) {
  tell_all({{{"key", "KEY_POWER"}, 1, "does not do this"}, {{"stop"}, 1, "cannot be stopped from here"}});
  bool stopped = false;
  device().host = {"test",          [&] { stopped = true; }, request_to_system,
                   ckpd_send_event, send_key_native,         ctsa_send_event};
  init_modem_interface(0);
  tell_all({{{"key", "KEY_POWER", "press"}, 0, "code 116 (KEY_POWER), value 1\n"},
            {{"key", "116", "release"}, 0, "code 116 (KEY_POWER), value 0\n"},
            {{"key", "KEY_POWER", "hold"}, 64, "write press, release, or nothing"},
            {{"key", "700"}, 1, "no input device has the key"},
            {{"touch", "2", "10", "20"}, 0, "(ABS_MT_POSITION_Y), value 20\n"},
            {{"touch", "6", "10", "20"}, 64, "the mode is a number from 0 to 5"},
            {{"events", "0"}, 0, "value 1\n-------------- SYN_REPORT ------------\ntype 1 (EV_KEY), code 116"},
            {{"request", "157"}, 0, "A0000000000000\n"},
            {{"request", "990"}, 1, "error 2"},
            {{"keypad", "256"}, 64, "the character code is a number from 0 to 255"}});
  EXPECT_FALSE(stopped);
  tell_all({{{"stop"}, 0, ""}});
  EXPECT_TRUE(stopped);
}

TEST_F(VerbTest, RebootAndPowerOffComeAfterTheLastReply) {
  Words ended;
  device().power.allow([&](const std::string& what) { ended.push_back(what); });
  for (const Words& words : {Words{"reboot"}, {"reboot", "dload"}, {"power-off"}, {"power-off", "now"}}) {
    const size_t before = ended.size();
    sim::run_verb(device(), {words, false, ""}, [&](const ControlReply&) {
      EXPECT_EQ(before, ended.size());
      return true;
    });
  }
  EXPECT_EQ((Words{"reboot", "reboot dload", "power-off"}), ended);
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
    EXPECT_TRUE(control_) << error;
    if (control_) control_->start();
  }

  // A caller that reads replies one by one.
  class Caller : public Peer {
   public:
    explicit Caller(const std::string& root) : Peer(root + "/sim/control") {}
    void say(const Words& words, bool json = false) { send(to_line(ControlRequest{words, json, ""})); }
    // The next reply that says something; "(closed)" as its output at the end.
    ControlReply next() {
      ControlReply reply;
      for (std::string line; lines_.take(&line);) {
        EXPECT_TRUE(from_line(line, &reply));
        if (reply.last || !reply.out.empty()) return reply;
      }
      return {.out = "(closed)", .last = false, .status = 0, .error = ""};
    }

   private:
    client::InputLines lines_{fd_};
  };

  std::unique_ptr<sim::Control> control_;
};

TEST_F(ControlTest, AnswersOrRefusesWhateverComes) {
  EXPECT_EQ(std::filesystem::perms(0600), std::filesystem::status(root_ + "/sim/control").permissions());
  for (const std::string& garbage : {""s, "{}"s, "[1]"s, "\xff\0{"s, R"({"words":[1]})"s, R"({"words":"x"})"s,
                                     R"({"words":["x"],"input":{"hex":"0"}})"s}) {
    Caller caller(root_);
    caller.send(garbage + "\n");
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
  Caller program(root_);
  program.say({"property", "x"}, true);
  EXPECT_TRUE(has(program.next().out, R"("value":{"hex":"feff"})"));
}

TEST_F(ControlTest, FollowsTheLogUntilItHangsUp) {
  init_factory_item(0);
  slog("system one");
  Caller all(root_), errors(root_), main(root_);
  all.say({"log", "-f"});
  EXPECT_TRUE(has(all.next().out, "I Atd: system one\n"));
  errors.say({"log", "--level", "error", "--follow"}, true);
  main.say({"log", "--buffer", "main"});
  EXPECT_TRUE(main.next().last);  // nothing there
  // The error comes last. When the caller that asks for errors has it, it has not been sent the line before.
  slog("system two");
  __android_log_buf_print(LOG_ID_SYSTEM, ANDROID_LOG_ERROR, "Atd", "broken");
  EXPECT_TRUE(has(all.next().out, "I Atd: system two\n"));
  EXPECT_TRUE(has(all.next().out, "E Atd: broken\n"));
  const std::string heard = errors.next().out;
  EXPECT_TRUE(has(heard, R"({"buffer":"system","line":")")) << heard;
  EXPECT_TRUE(has(heard, "E Atd: broken\"}\n")) << heard;
  tell_all({{{"log", "--level", "loud"}, 64, "\"loud\" is not a level"},
            {{"log", "--buffer", "radar"}, 64, "\"radar\" is not a buffer"},
            {{"log", "-x"}, 64, "\"-x\" is not an option of log"}});
  remove_all(std::filesystem::path(root_ + "/data/logger"));
  tell_all({{{"logs", "fill"}, 0, ""}});
  EXPECT_EQ(1, device().items.get(230, 16)[8]);
  EXPECT_NE("", content(root_ + "/data/logger/crash_info/crash_log0.txt"));
  control_->hang_up();
  for (Caller* caller : {&all, &errors}) {
    for (ControlReply reply; !reply.last && reply.out != "(closed)";) reply = caller->next();
  }
}

TEST_F(ControlTest, ACallThatTheEndOvertakesKeepsItsAnswer) {
  device().host.call = [&](const std::vector<std::string>&) -> sim::HostAnswer {
    control_->hang_up();
    return {"told 1\nresult 1\n", R"({"result":1})", 1, "it says no"};
  };
  Caller caller(root_);
  caller.say({"call", "x"});
  const ControlReply reply = caller.next();
  EXPECT_EQ("told 1\nresult 1\n1it says no", reply.out + std::to_string(reply.status) + reply.error);
}

TEST_F(ControlTest, EndsWithCallersThatDoNotRead) {
  Caller silent(root_), deaf(root_);
  deaf.say({"log", "-f"});
  for (int i = 0; i < 2000; ++i) slog(std::string(1000, 'x'));
  control_.reset();  // does not hang
  EXPECT_FALSE(std::filesystem::exists(root_ + "/sim/control"));
}

// The desktop's clock runs, and the phone's is put ahead of it.
TEST(ClockTest, AdvanceEndsWhatWaitsOnARunningClock) {
  sim::Clock clock;
  struct timespec before = {}, deadline = {};
  clock.get(CLOCK_REALTIME, &before);
  deadline.tv_sec = before.tv_sec + 1000;
  pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
  pthread_cond_t condition = PTHREAD_COND_INITIALIZER;
  int result = 0;
  std::thread waiter([&] {
    pthread_mutex_lock(&mutex);
    result = clock.timed_wait(&condition, &mutex, CLOCK_REALTIME, &deadline);
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
}

TEST_F(VerbTest, TheSensorTheScreenAndPrograms) {
  tell_all({{{"call"}, 1, "the program that runs this phone has no calls"},
            {{"bluetooth", "answer", "do_ble_enable", "-2"}, 0, ""},
            {{"bluetooth", "answer", "do_ble", "1"}, 64, "no function is named \"do_ble\""},
            {{"bluetooth"}, 0, "do_ble_enable answers -2\n"},
            {{"fingerprint", "set", "zone", "0", "-3"}, 0, ""},
            {{"fingerprint"}, 0, "zone          0     -3\n"},
            {{"fingerprint", "set", "thumb", "0", "0"}, 64, "no test is named \"thumb\""},
            {{"display", "size", "20x10", "format", "24"}, 0, "size    20x10\n"},
            {{"display", "depth", "24"}, 64, "no setting \"depth 24\"; write size WIDTHxHEIGHT"},
            {{"display", "size"}, 64, "no setting \"size \""},
            {{"display", "picture", "raw"}, 0, root_ + "/sim/screen.raw\n"},
            {{"program", "exit", "nothing"}, 64, "the phone has no program \"nothing\""},
            {{"program", "exit", "pm", "256"}, 64, "the exit status is a number"},
            {{"program", "exit", "pm", "7"}, 0, ""}});
  EXPECT_EQ(7 << 8, device().shell.system("pm install -r /x"));
  tell_all({{{"program", "exit", "pm"}, 0, ""}, {{"program", "history"}, 0, "pm install -r /x\n"}});
  EXPECT_EQ(1 << 8, device().shell.system("pm install -r /x")) << "there is no such package";
}

}  // namespace
}  // namespace atd
