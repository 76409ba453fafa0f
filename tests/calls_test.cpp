// Every function of the library, called by name as a person calls it, and what it did.
#include <fcntl.h>
#include <pty.h>

#include <algorithm>
#include <future>
#include <set>
#include <thread>

#include "atd.h"
#include "daemon/call_command.h"
#include "daemon/calls.h"
#include "simulator/control.h"
#include "tests/call_stories.h"
#include "tests/client_daemon.h"
#include "text/file.h"

namespace atd {
namespace {

using Words = std::vector<std::string>;

bool g_phone_ends;

class CallsTest : public Phone {
 protected:
  CallsTest() : started_in_(open(".", O_RDONLY | O_CLOEXEC)) {
    EXPECT_EQ(0, chdir(root_.c_str()));  // as the daemon does
    device().host.call = [](const Words& given) -> sim::HostAnswer {
      const CallAnswer answer = run(read_call(given), {"atdctl phone log", true, nullptr, [] { return g_phone_ends; }});
      return {answer.text, answer.json, answer.status, answer.error};
    };
  }

  ~CallsTest() override {
    EXPECT_EQ(0, fchdir(started_in_));
    close(started_in_);
    if (platform_.joinable()) {
      stop_socket();
      platform_.join();
    }
  }

  void serve() {
    init_socket();
    auto service = std::make_shared<Peer>(device().path("/dev/socket/atd"));
    service->line("x");
    service->next();
    platform_ = std::thread([service] {
      for (std::string text; (text = service->next()) != "(closed)";) {
        if (text.starts_with("605 ")) service->line(response_line({.data = "yes"}));
      }
    });
  }

  ControlReply tell(const Words& words, bool json = false) {
    ControlReply told;
    sim::run_verb(device(), {words, json, ""}, [&](const ControlReply& reply) {
      told = {told.out + reply.out, reply.last, reply.status, reply.error};
      return true;
    });
    return told;
  }

  static Words words_of(const std::string& text) {
    Words all = words(text);
    for (std::string& word : all) std::replace(word.begin(), word.end(), '~', ' ');
    return all;
  }

  void play(const CallStep& step) {
    const bool verb = step.words[0] == ':';
    Words given = words_of(verb ? step.words + 1 : step.words);
    if (!verb) given.insert(given.begin(), {"call", "--yes"});
    const ControlReply told = tell(given);
    EXPECT_EQ(step.status, told.status) << told.error;
    std::string out = told.out + told.error;
    std::replace(out.begin(), out.end(), '\n', ';');
    if (step.says[0] == '*') EXPECT_TRUE(has(out, step.says + 1)) << out;
    else EXPECT_EQ(step.says + std::string(*step.says ? ";" : ""), out);
    look(step.effect);
  }

  void look(const std::string& effect) {
    if (effect.empty()) return;
    device().threads.await_none();
    const size_t at = effect.find(" = ");
    const std::string where = effect.substr(0, at), what = effect.substr(at + 3);
    if (where == "log") {
      EXPECT_GT(logged(what) + errors(what), 0) << what;
    } else if (where[0] == '/') {
      const std::string text = content(root_ + where);
      EXPECT_TRUE(std::filesystem::exists(root_ + where) && text.starts_with(what)) << where << ": " << text;
    } else {
      const ControlReply told = tell(words_of(where));
      EXPECT_TRUE(has(told.out, what)) << where << ": " << told.out << told.error;
    }
  }

  int started_in_;
  std::thread platform_;
};

class Stories : public CallsTest, public testing::WithParamInterface<size_t> {};

TEST_P(Stories, EachCallDoesWhatItSays) {
  const CallStory& story = call_stories()[GetParam()];
  if (story.platform) serve();
  for (const CallStep& step : story.steps) {
    SCOPED_TRACE(std::string(story.name) + ": " + step.words);
    play(step);
  }
  device().threads.await_none();
}

INSTANTIATE_TEST_SUITE_P(All, Stories, testing::Range(size_t{0}, call_stories().size()));

TEST_F(CallsTest, EveryFunctionHasBeenCalled) {
  std::set<std::string> called, named;
  for (const CallStory& story : call_stories()) {
    for (const CallStep& step : story.steps) called.insert(words(step.words)[0]);
  }
  for (const Call& call : calls()) {
    EXPECT_TRUE(called.count(call.name)) << call.name << " is called by no story";
    EXPECT_TRUE(named.insert(call.name).second) << call.name << " stands twice";
  }
}

TEST_F(CallsTest, WhatDestroysIsRefused) {
  const ControlReply told = tell({"call", "device_write", "/dev/block/bootdevice/by-name/misc", "0", "x"});
  EXPECT_EQ(64, told.status);
  EXPECT_TRUE(told.error.ends_with("add --yes")) << told.error;
  EXPECT_EQ("", told.out);
}

TEST(CallsOffline, TheEffects) {
  std::string destroying, in_daemon;
  for (const Call& call : calls()) {
    if (call.effects & kDestroys) destroying += call.name + std::string(" ");
    if (call.effects & kInDaemon) in_daemon += call.name + std::string(" ");
  }
  EXPECT_EQ(
      "request_to_system set_factory_status set_pid set_lcd_cal_data set_imei_ftm_item set_meid_ftm_item "
      "bt_addr_write handle_testmode_bt_write_request write_tav_impl write_tav_bcpl write_tav_idde "
      "write_tav_otpe write_tav_fusg write_tav_cdbe write_tav_bcpe write_tav_pid2 write_tav_btad write_tav_pid "
      "write_tav_imei read_tav_imei write_pid send_modem_data tav_diag_nvwrite get_tav_data_from_modem efs_write "
      "efs_unlink mmc_mmcformat factory_format mmc_mmcfactoryformat system_restart system_poweroff system_dload "
      "system_aat restart poweroff restart_with_reason power_off_with_cable wait_for_cable_disconnect "
      "retry_power_off_with_cable system_set_env_property set_operator_clear pattern_clear "
      "set_tav_test_script_cal_data tav_vco_self_tunning_write tav_reset_modem write_sysfs write_eri_sysfs "
      "set_fuelguage_reset handle_atcmd_btad_assign resetTestResult set_devicetest_result_init "
      "aat_subdivided_result_write aat_subdivided_result_write_to_integrated_result save_file "
      "device_write copy_log logsave_makezip logsave_erase Delete_Folder erase_crash_count copy_file copy_dir "
      "clear_dest mts_log_erase saveScreenToFile FileToZip FolderToZip FolderFromZip sfactoryreset frst_run "
      "frst_modem_data_clear frst_factory_item_clear factory_reset_callduration_erase hidden_factoryreset "
      "hidden_factoryreset_sdcard factoryreset_crst hidden_factoryreset_sdcard_power_off erase_external_sdcard "
      "factory_delete erase_partition xboot_data_init tav_reset_production ",
      destroying);
  EXPECT_EQ(
      "ckpd_mapping qem_get_status system_set_lcd_brightness system_set_lcd_brightness_loop system_osupgrade_notify "
      "modem_flight_status flight_set_mode_to_modem modem_flight_mode_get_status get_flight_status cable do_tsens "
      "set_diag_tty_block diag_tty_blocked handle_testmode_btle_test_enable handle_testmode_btle_test_disable "
      "handle_testmode_btle_tx_test_start handle_testmode_btle_tx_test_end handle_testmode_btle_rx_test_start "
      "handle_testmode_btle_rx_test_end get_file_command get_file_data find_file hiddenmenu_frst ",
      in_daemon);
}

TEST_F(CallsTest, ALongTextFitsItsAnswer) {
  const ControlReply most = tell({"call", "bt_resp", "1", std::string(65535, 'x')});
  EXPECT_EQ("told " + std::string(65535, 'x') + "\nresult 1\n", most.out);
  const ControlReply told = tell({"call", "bt_resp", "1", std::string(100000, 'x')});
  EXPECT_EQ("64 TEXT has 100000 bytes; there is room for 65535 bytes", std::to_string(told.status) + " " + told.error);
}

TEST(CallsOffline, EveryHelpFits80Columns) {
  std::string text = explain({}).text;
  for (const Call& call : calls()) text += explain({&call, {}, true}).text;
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) EXPECT_LE(line.size(), 80u) << line;
}

TEST_F(CallsTest, TheAnswerAsJson) {
  const std::pair<Words, std::string> rows[] = {
      {{"get_qem"}, R"({"name":"get_qem","arguments":[],"result":0,"out":{},"status":0,"error":null})"},
      {{"bt_resp", "1", "a\"\\\n\xc3\xa9"},
       R"({"name":"bt_resp","arguments":["1","a\"\\\né"],"result":1,"out":{"told":"a\"\\\né"},"status":0,"error":null})"},
      {{"bt_resp", "1", "hex:ff"},
       R"({"name":"bt_resp","arguments":["1","hex:ff"],"result":1,"out":{"told":{"hex":"ff"}},"status":0,"error":null})"},
      {{"bt_addr_ascii_to_hexa", "414141414141"},
       R"({"name":"bt_addr_ascii_to_hexa","arguments":["414141414141"],"result":0,"out":{"address":{"hex":"414141414141"}},)"
       R"("status":0,"error":null})"},
      {{"zone_test"},
       R"({"name":"zone_test","arguments":[],"result":0,"out":{"test":{"isPass":1,"result":0}},"status":0,"error":null})"},
      {{"show_current_time"},
       R"({"name":"show_current_time","arguments":[],"result":null,"out":{},"status":0,"error":null})"},
      {{"is_empty_dir", "/x"},
       R"({"name":"is_empty_dir","arguments":["/x"],"result":-1,"out":{},"status":1,"error":"is_empty_dir says no (-1); )"
       R"(the log may say why: atdctl phone log"})"},
      {{"bt_resp", "\xff", "x"},
       R"({"name":"bt_resp","status":64,"error":"RESULT: \"hex:ff\" is no number from -2147483648 to 2147483647, or 0x )"
       R"(and hex"})"},
      {{"poweroff"},
       R"({"name":"poweroff","status":64,"error":"poweroff destroys data or ends the phone's run; if that is meant, )"
       R"(add --yes"})"},
  };
  for (auto [given, json] : rows) {
    SCOPED_TRACE(given[0]);
    given.insert(given.begin(), "call");
    const ControlReply told = tell(given, true);
    EXPECT_EQ(json + "\n", told.out);
    EXPECT_EQ("", told.error);
    EXPECT_EQ("", client::not_as_documented({"phone", "call"}, told.out));
  }
}

TEST_F(CallsTest, ALongCallTellsHowFarItIs) {
  for (const char* name : {"a", "b"}) put(std::string("/data/") + name, std::string(3 << 20, 'x'));
  device().host.read_so_far = [] { return sim::HostReading{read_so_far().files, read_so_far().bytes}; };
  std::promise<void> heard;
  device().host.call = [&](const Words&) {
    std::string bytes(3 << 20, '\0');
    for (const char* name : {"/data/a", "/data/b"}) {
      const int fd = open_file(name);
      EXPECT_EQ(bytes.size(), read_up_to(fd, bytes.data(), bytes.size()));
      close(fd);
    }
    heard.get_future().wait();
    return sim::HostAnswer{"done\n", "{}", 0, ""};
  };
  std::string progress, out;
  sim::run_verb(device(), {{"call", "x"}, false, "", true}, [&](const ControlReply& reply) {
    if (progress.empty() && !reply.progress.empty()) heard.set_value();
    progress += reply.progress;
    out += reply.out;
    return true;
  });
  EXPECT_TRUE(progress.starts_with("2 files, 6 MiB read")) << progress;
  EXPECT_EQ("done\n", out);
}

TEST_F(CallsTest, WhatIsNotThereIsExplained) {
  const std::tuple<const char*, int, const char*> rows[] = {
      {"get_touch_versio", 64, "nearest: get_touch_version"},
      {"init_socket", 64, "init_socket is not called by name: the daemon serves its socket already"},
      {"lock", 64, "a host's own threads use it"},
      {"get_qem 1", 64, "write: call get_qem"},
      {"bt_resp 1 hex:4100", 64, "TEXT: \"hex:4100\" is a text with a NUL in it"},
      {"set_qem 2147483648", 64, "is no number"},
      {"set_qem 1.", 64, "is no number"},
      {"set_qem +1", 64, "is no number"},
      {"", 0, "!mmc_mmcformat "},
      {"mmc_mmcformat --help", 0, "Usage: call mmc_mmcformat --yes\nFormats the SD card.\n\n  outcome       a text\n"},
      {"set_pid --help", 0, "PID           at most 30 bytes: a text, hex:00ff or text:..."},
      {"set_qem -- --yes", 64, "VALUE: \"--yes\" is no number"},
  };
  EXPECT_TRUE(has(tell({"call", "set_qem", std::string("1\0x", 3)}).error, "is no number"));
  for (const auto& [given, status, says] : rows) {
    const ControlReply told = tell(words_of("call " + std::string(given)));
    EXPECT_EQ(status, told.status) << given;
    EXPECT_TRUE(has(told.out + told.error, says)) << given << ": " << told.out << told.error;
  }
}

TEST_F(CallsTest, AListEndsBeforeAPathThatHasNoRoom) {
  const std::string name(200, 'n');
  for (int i = 1000; i < 1400; ++i) put("/data/many/" + name + std::to_string(i), "");
  const std::string out = tell({"call", "get_file_list", "/data/many"}).out;
  EXPECT_TRUE(out.size() > 65000 && out.ends_with("\nresult 400\n")) << out.size();
  EXPECT_EQ(std::string("/data/many/" + name + "1302\nresult 400\n"), out.substr(out.rfind("/data/")));
}

TEST_F(CallsTest, CallsThatMayNotRunBesideEachOtherTakeTurns) {
  device().clock.hold_sleeps();
  std::promise<void> begins;
  const auto call = [&](const Words& given) { return tell(given).out; };
  auto first = std::async(std::launch::async, call, Words{"call", "enter_bt_test_mode", "2"});
  device().clock.await_waiters();
  auto second = std::async(std::launch::async, [&] { return begins.set_value(), call({"call", "touch_atoi", "12"}); });
  begins.get_future().wait();
  EXPECT_EQ("result 0\n", call({"call", "get_qem"})) << "another room's";
  EXPECT_EQ(std::future_status::timeout, second.wait_for(std::chrono::milliseconds(50)));
  while (first.wait_for(std::chrono::milliseconds(1)) == std::future_status::timeout) device().clock.advance(1000000);
  EXPECT_EQ("result 0\nresult 12\n", first.get() + second.get());
  g_phone_ends = true;
  EXPECT_TRUE(has(tell({"call", "touch_atoi", "12"}).error, "going away; touch_atoi was not called"));
  g_phone_ends = false;
}

TEST_F(CallsTest, ACommandOnAPhoneEndsAfterItsRestart) {
  device().clock.hold_sleeps();
  auto ended = std::async(std::launch::async, [] {
    testing::internal::CaptureStdout();
    const char* const given[] = {"system_restart", "--yes"};
    return call_command(2, given) == 0 && testing::internal::GetCapturedStdout() == "result 0\n";
  });
  device().clock.await_waiters();
  EXPECT_EQ(std::future_status::timeout, ended.wait_for(std::chrono::milliseconds(50)));
  device().clock.advance(1000000);
  EXPECT_TRUE(ended.get());
  EXPECT_TRUE(has(tell({"power", "history"}).out, "refused reboot"));
}

TEST(CallsOffline, TheTableIsInTheClient) {
  const auto told = [](const client::Strings& words) { return client::atdctl("", words).out; };
  EXPECT_TRUE(has(told({"phone", "call"}), "!erase_partition "));
  EXPECT_TRUE(has(told({"phone", "call", "get_tsens_temp", "--help"}), "\n  NUMBER        a number from -2147483648"));
  EXPECT_TRUE(has(told({"completion", "bash"}), "\nget_tsens_temp\tTells the degrees of the thermal zone"));
  EXPECT_TRUE(has(told({"manual"}), ".TP\n\\fBpoweroff\\fR\nSwitches the phone off"));
  const client::Outcome wrong = client::atdctl("", {"phone", "call", "get_qme", "--json"});
  EXPECT_EQ(64, wrong.status);
  EXPECT_TRUE(has(wrong.out, R"({"status":64,"error":"no function is named \"get_qme\"; nearest: get_qem)"))
      << wrong.out;
  EXPECT_TRUE(has(told({"phone", "call", "\xff", "--json"}), R"("error":"no function is named \"hex:ff\")"));
}

TEST(CallsOffline, APersonOnATerminalIsAsked) {
  int terminal, other_end;
  ASSERT_EQ(0, openpty(&terminal, &other_end, nullptr, nullptr, nullptr));
  const int before[] = {dup(STDIN_FILENO), dup(STDERR_FILENO)};
  dup2(other_end, STDIN_FILENO);
  dup2(other_end, STDERR_FILENO);
  std::string outcomes;
  for (const char* typed : {"n\n", "y\n", "\n"}) {
    EXPECT_GT(write(terminal, typed, strlen(typed)), 0);
    CallRequest request = read_call({"poweroff"});
    outcomes += confirm(&request) ? 'c' : '-';
    outcomes += request.yes ? 'y' : '-';
  }
  CallRequest harmless = read_call({"get_qem"});
  EXPECT_TRUE(confirm(&harmless) && !harmless.yes);
  char asked[200] = "";
  EXPECT_GT(read(terminal, asked, sizeof asked - 1), 0);
  Words sent;
  client::Outcome declined;
  {
    client::FakeServer phone("sim", "control", [&](int fd) {
      std::string line;
      for (char c; read(fd, &c, 1) == 1 && c != '\n';) line += c;
      ControlRequest request;
      EXPECT_TRUE(from_line(line, &request)) << line;
      sent = request.words;
      client::FakeServer::say(fd, to_line(ControlReply{.progress = "12 files"}) + "BYE");
    });
    auto to_terminal = [&] { dup2(other_end, STDIN_FILENO), dup2(other_end, STDERR_FILENO); };
    EXPECT_GT(write(terminal, "y\nn\n", 4), 0);
    client::atdctl("", {"phone", "--device", phone.root(), "call", "set_pid", "--", "--yes"}, "", to_terminal);
    declined = client::atdctl("", words("phone --json call poweroff"), "", to_terminal);
  }
  std::string shown;
  for (char c; !has(shown, "went away") && read(terminal, &c, 1) == 1;) shown += c;
  EXPECT_TRUE(has(shown, "\r12 files\x1b[K\r\x1b[Katdctl: the phone in")) << shown;
  EXPECT_EQ("{\"name\":\"poweroff\",\"status\":64,\"error\":\"not done: it was not confirmed\"}\n", declined.out);
  EXPECT_EQ((Words{"call", "--yes", "set_pid", "--", "--yes"}), sent);
  dup2(before[0], STDIN_FILENO);
  dup2(before[1], STDERR_FILENO);
  for (int fd : {terminal, other_end, before[0], before[1]}) close(fd);
  EXPECT_EQ("--cy--", outcomes);
  EXPECT_TRUE(has(asked, "poweroff destroys data or ends the phone's run; go on? [y/N] ")) << asked;
}

TEST_F(CallsTest, TheDaemonsOwnCommand) {
  const auto call = [](std::vector<const char*> given) {
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    const int status = call_command(static_cast<int>(given.size()), given.data());
    return std::to_string(status) + "|" + testing::internal::GetCapturedStdout() + "|" +
           testing::internal::GetCapturedStderr();
  };
  EXPECT_EQ("0|volts 4.20\nresult 0\n||", call({"get_battery_voltage"}) + "|");
  EXPECT_EQ("0|result 0\n|", call({"efs_write", "/nv/item", "a", "--yes"})) << "the modem interface is open";
  EXPECT_EQ(
      "1|answer\nresult 1\n|atd: pattern_clear says no (1); what asks the platform fails outside the daemon's own "
      "process; the log may say why: logcat -d -b all\n",
      call({"pattern_clear", "x", "--yes"}));
  EXPECT_EQ("64||atd: get_flight_status works in the daemon's process alone, and this is another one\n",
            call({"get_flight_status"}));
  EXPECT_TRUE(has(call({"get_flight_status", "--help"}), "in the daemon's process alone;"));
  EXPECT_TRUE(has(call({"--json", "poweroff"}), R"(64|{"name":"poweroff","status":64,)"));
  set_qem(1);
  qem_get_status = 0;
  tell({"property", "sys.cmd_block", "1"});
  device().modem.set_answer(28, "1");
  EXPECT_EQ("0|result 1\n|", call({"get_low_batt_port_block_check"})) << "the QEM flag has been read";
  EXPECT_TRUE(has(call({}), "get_battery_voltage"));
}

}  // namespace
}  // namespace atd
