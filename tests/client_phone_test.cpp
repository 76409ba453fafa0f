// atdctl phone against a phone that says what a test wants, and what atdctl says about its verbs and opcodes.
#include <signal.h>

#include <algorithm>
#include <fstream>
#include <semaphore>
#include <tuple>

#include "client/commands.h"
#include "desk/verb.h"
#include "tests/client_daemon.h"

namespace atd::client {
namespace {

using namespace std::string_literals;

// A text that is written with ' for ".
std::string json(std::string text) {
  std::replace(text.begin(), text.end(), '\'', '"');
  return text;
}

// Says the same to every request.
struct FakePhone : FakeDaemon {
  explicit FakePhone(const std::string& replies)
      : FakeDaemon([=](const std::string&) { return json(replies); }, "", '\n', "sim", "control") {}
};

constexpr char kNowhere[] = "/tmp/nowhere";
constexpr char kDone[] = "{'status':0}\n";

// Runs atdctl with the phone's folder in ATD_DEVICE and nothing else in the environment.
Outcome atdctl_phone(const std::string& folder, Strings arguments, const std::string& input = "") {
  setenv("ATD_DEVICE", folder.c_str(), 1);
  unsetenv("ATD_SOCKET");
  arguments.insert(arguments.begin(), "phone");
  Outcome outcome = atdctl("", arguments, input);
  unsetenv("ATD_DEVICE");
  return outcome;
}

TEST(ClientPhone, WhatFollowsAVerbBelongsToIt) {
  const std::pair<Strings, const char*> kRows[] = {
      {words("log -f --level error"), "{'words':['log','-f','--level','error'],'json':false}"},
      {words("--json item get 5"), "{'words':['item','get','5'],'json':true}"},
      {words("item --json get 5"), "{'words':['item','get','5'],'json':true}"},
      {words("--timeout 9 clock advance -5"), "{'words':['clock','advance','-5'],'json':false}"},
      {words("request 7 -- --json -- --help"), "{'words':['request','7','--json','--','--help'],'json':false}"},
      {words("item get 5 --timeout 9 6 --plain"), "{'words':['item','get','5','6'],'json':false}"},
      {{"request", "7", "--", "--plain", "", "[a]"}, "{'words':['request','7','--plain','','[a]'],'json':false}"},
      {{"item", "set", "5", "\xff"}, "{'words':['item','set','5',{'hex':'ff'}],'json':false}"},
      {{"item", "import", "-"}, "{'words':['item','import','-'],'json':false,'input':'from\\n- stdin'}"}};
  for (const auto& [arguments, request] : kRows) {
    FakePhone phone(kDone);
    Outcome outcome = atdctl_phone(phone.root(), arguments, "from\n- stdin");
    EXPECT_EQ(0, outcome.status) << request << outcome.err;
    EXPECT_EQ(Strings{json(request)}, phone.lines());
  }
}

TEST(ClientPhone, FindsThePhone) {
  FakePhone phone(kDone);
  const std::string& folder = phone.root();
  const std::string socket = folder + "/dev/socket/atd";
  EXPECT_EQ(0, atdctl_phone(kNowhere, {"status", "--device", folder + "/"}).status);
  EXPECT_EQ(0, atdctl_phone(kNowhere, {"--device=" + folder, "status"}).status);
  EXPECT_EQ(0, atdctl_phone(kNowhere, {"status", "--socket", socket}).status);
  EXPECT_EQ(0, atdctl_phone(folder, {"status"}).status);
  EXPECT_EQ(5u, (setenv("ATD_SOCKET", socket.c_str(), 1), atdctl("", {"phone", "status"}), phone.lines().size()));
  unsetenv("ATD_SOCKET");

  const std::tuple<Strings, const char*, int, std::string> kRows[] = {
      {{"status"}, "", 64, "atdctl: no phone is named: give --device DIR or set ATD_DEVICE\n"},
      {{"status", "--socket", "/tmp/other"}, "/x", 64, "no phone is named"},
      {{"status"}, kNowhere, 69, "in /tmp/nowhere; start it with: atd --device /tmp/nowhere --background\n"},
      {{"status"}, "/dev/null", 69, "no phone runs in /dev/null; start"},
      {{"status"}, "/tmp/no 'where", 69, "start it with: atd --device '/tmp/no '\\''where' --background\n"},
      {{"item", "import", kNowhere}, kNowhere, 64, "atdctl: /tmp/nowhere: No such file or directory\n"},
      {{"statsu"}, kNowhere, 64, "there is no verb \"statsu\"; nearest: status, "},
      {{"item", "set", "5"}, kNowhere, 64, "write item set INDEX|NAME VALUE"}};
  for (const auto& [arguments, device, status, error] : kRows) {
    Outcome outcome = atdctl_phone(device, arguments);
    EXPECT_EQ(status, outcome.status) << error;
    EXPECT_TRUE(has(outcome.err, error)) << outcome.err << error;
  }
  EXPECT_TRUE(has(atdctl("/tmp/nowhere", {"request", "5"}).err,
                  "; start the daemon on the phone: start atd; or a simulated phone: atd --device DIR --background\n"));
  // A phone that was killed leaves the file of its socket.
  const std::string left = folder + "/left";
  std::filesystem::create_directory(left);
  std::filesystem::rename(FakePhone(kDone).root() + "/sim", left + "/sim");
  EXPECT_TRUE(has(atdctl_phone(left, {"status"}).err, "no phone runs in " + left + "; start it"));
  ASSERT_EQ(0, chmod(folder.c_str(), 0));
  auto be_nobody = [] {
    if (getuid() == 0) EXPECT_EQ(0, seteuid(65534));
  };
  for (const Strings& command : {Strings{"request", "5"}, {"phone", "status"}, {"wait", "--timeout", "0"}}) {
    Outcome outcome = atdctl(socket, command, "", be_nobody);
    EXPECT_EQ(77, outcome.status) << outcome.err;
    EXPECT_TRUE(has(outcome.err, "permission denied at " + folder)) << outcome.err;
  }
  chmod(folder.c_str(), 0700);
}

TEST(ClientPhone, ReportsWhatThePhoneSays) {
  const std::tuple<std::string, int, std::string, std::string> kRows[] = {
      {"{'out':'a'}\n{'out':{'hex':'00ff'}}\n{}\n{'out':'b','status':7,'error':'no\\nway'}\n", 7, "a\0\xff"s + "b",
       "atdctl: no\\nway\n"},
      {"{'status':0}\nnever read", 0, "", ""},
      {"{'status':0,'out':'the end'}BYE", 0, "the end", ""},
      {"{'out':'a'}\n{'statusBYE", 69, "a", "went away before it was done"},
      {"BYE", 69, "", "went away before it was done"},
      {"{'status':256}\n", 3, "", ""},
      {"hello\n", 3, "", "the phone's reply makes no sense: hello"},
      {"{'out':7}\n", 3, "", "makes no sense"}};
  for (const auto& [replies, status, out, err] : kRows) {
    FakePhone phone(replies);
    Outcome outcome = atdctl_phone(phone.root(), {"status"});
    EXPECT_EQ(status, outcome.status) << replies;
    EXPECT_EQ(out, outcome.out) << replies;
    EXPECT_TRUE(err.empty() ? outcome.err.empty() : has(outcome.err, err)) << replies << outcome.err;
  }
}

TEST(ClientPhone, WaitsAsLongAsItIsTold) {
  const std::tuple<const char*, const char*, int> kRows[] = {{"", "status --timeout 0.05", 75},
                                                             {"{'status':0}\n", "stop --timeout 0.05", 75},
                                                             {"{'status':7}\n", "stop", 7},
                                                             {"{'status':0}\nBYE", "stop", 0}};
  for (const auto& [replies, command, status] : kRows) {
    FakePhone phone(replies);
    EXPECT_EQ(status, atdctl_phone(phone.root(), words(command)).status) << replies;
  }
}

TEST(ClientPhone, ARequestHasItsBounds) {
  std::counting_semaphore<3> ended(0);
  FakeServer deaf("sim", "control", [&](int) { (void)ended.try_acquire_for(std::chrono::seconds(10)); });
  const std::tuple<const char*, std::string, int, const char*> kRows[] = {
      {"--timeout 0.05", std::string(2 << 20, 'x'), 75, "no room for the request within 0.05 s from the phone"},
      {"--timeout 9", std::string((16 << 20) + 1, 'x'), 64, "input has more than 16777216 bytes"},
      {"--timeout 9", std::string(9 << 20, '\n'), 64, "bytes with its file in it; the phone takes at most 16777216"}};
  for (const auto& [option, input, status, error] : kRows) {
    Outcome outcome = atdctl_phone(deaf.root(), words("item import - "s + option), input);
    ended.release();
    EXPECT_EQ(status, outcome.status) << error;
    EXPECT_TRUE(has(outcome.err, error)) << outcome.err;
  }
}

TEST(ClientPhone, AVerbWithoutOutputSaysInJsonThatItIsDone) {
  FakePhone phone(kDone);
  EXPECT_EQ(json("{'status':0,'error':null}\n"), atdctl_phone(phone.root(), words("item set 5 x --json")).out);
  for (const char* command : {"item set 5 x", "log --json"}) {
    EXPECT_EQ("", atdctl_phone(phone.root(), words(command)).out) << command;
  }
  FakePhone says("{'out':'[]'}\n{'status':0}\n");
  EXPECT_EQ("[]", atdctl_phone(says.root(), words("power history --json")).out);
}

TEST(ClientPhone, MasksLogsAndListsAlone) {
  FakePhone phone("{'out':'IMEI 490154203237518'}\n{'status':0}\n");
  for (const char* command : {"log", "item list", "property", "program history"}) {
    EXPECT_TRUE(atdctl_phone(phone.root(), words(command)).out.starts_with("IMEI 490154…18#")) << command;
    EXPECT_EQ("IMEI 490154203237518", atdctl_phone(phone.root(), words(command + " --plain"s)).out);
  }
  for (const char* command : {"item get 13", "property ro.x"})
    EXPECT_EQ("IMEI 490154203237518", atdctl_phone(phone.root(), words(command)).out);
  FakePhone lists(R"({'out':'[{\"index\":8,\"name\":\"a\",\"encoding\":\"bytes\",\"length\":6,\"value\":)"
                  R"({\"hex\":\"001a2b334455\"}},{\"index\":9,\"name\":\"b\",\"encoding\":\"text\",\"length\":30,)"
                  R"(\"value\":{\"hex\":\"ff343930313534323033323337353138\"}}]'})"
                  "\n{'status':0}\n");
  const std::string list = atdctl_phone(lists.root(), words("item list --json")).out;
  EXPECT_TRUE(has(list, "\"value\":\"001A2B…55#")) << list;
  EXPECT_TRUE(has(list, "{\"hex\":\"ff343930313534e280a6")) << list;
}

TEST(ClientPhone, ASignalEndsAStream) {
  std::binary_semaphore came(0);
  auto one_line = [&](const std::string&) { return came.release(), json("{'out':'line'}\n"); };
  FakeDaemon phone(one_line, "", '\n', "sim", "control");
  Outcome outcome;
  std::thread running([&] {
    // The signal is kept until the client waits for it.
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    outcome = atdctl_phone(phone.root(), {"log", "-f"});
  });
  came.acquire();
  pthread_kill(running.native_handle(), SIGINT);
  running.join();
  EXPECT_EQ(0, outcome.status);
  EXPECT_EQ("", outcome.err);
}

Strings lines_of(const std::string& text) {
  Strings lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  return lines;
}

// Every command, and every verb of the phone.
Strings commands_and_verbs() {
  Strings names;
  const std::string help = atdctl("", {"--help"}).out;
  for (const std::string& line : lines_of(help.substr(help.find("\n  ops ")))) {
    if (line.empty() && names.size() > 0) break;
    if (line.size() > 2 && line[2] != ' ') names.push_back(line.substr(2, line.find(' ', 2) - 2));
  }
  for (const Verb& verb : phone_verbs()) names.push_back("phone "s + verb.name);
  return names;
}

TEST(ClientPhone, HelpNeedsNoPhone) {
  Outcome all = atdctl_phone(kNowhere, {});
  EXPECT_EQ(0, all.status) << all.err;
  EXPECT_EQ(all.out, atdctl_phone(kNowhere, {"--help"}).out);
  EXPECT_TRUE(has(all.out, "\n  item get INDEX|NAME...      Shows the value of each item.\n")) << all.out;
  EXPECT_TRUE(has(all.out, "\n  log [-f] [--level LEVEL] [--buffer NAME]\n                              ")) << all.out;
  const std::string items = atdctl_phone("", {"item", "--help"}).out;
  EXPECT_TRUE(has(items, "  item list ") && has(items, "  item import ") && !has(items, "  log ")) << items;
  const std::string set = atdctl_phone("", {"item", "set", "5", "--help"}).out;
  EXPECT_TRUE(has(set, "  item set INDEX|NAME VALUE  ") && !has(set, "  item get ")) << set;
  EXPECT_EQ("atdctl 0.7.0\n", atdctl("", {"--version"}).out);
  for (const std::string& line : commands_and_verbs()) {
    Strings asked = words(line + " --help"), help = words("help " + line);
    const std::string text = atdctl("", asked).out;
    EXPECT_EQ(text, atdctl("", help).out) << line;
    for (const std::string& row : lines_of(text)) EXPECT_LE(row.size(), 80u) << row;
  }
  EXPECT_EQ(atdctl("", {"--help"}).out, atdctl("", {"help"}).out);
  EXPECT_EQ(items, atdctl("", {"help", "item"}).out);
  EXPECT_TRUE(has(atdctl("", {"help", "montor"}).err, "\"montor\" is not a command; nearest: monitor, "));
  const std::string manual = atdctl("", {"manual"}).out;
  EXPECT_TRUE(has(manual, "\n\\fBitem set\\fR \\fIINDEX|NAME VALUE\\fR\n")) << manual;
  EXPECT_TRUE(has(manual, "\n\\fBget_wine_ime\\fR \\fI(3200)\\fR\nAnswers the wine IME flag, ")) << manual;
  const std::string whole = "  Marks the sniff download data, sets the factory status to 2 and restarts the phone.\n";
  EXPECT_TRUE(has(ops_text(0, false), whole) && has(ops_text(200, false), whole) && !has(ops_text(80, false), whole));
}

// Completes the last word as bash does, on TAB or for a menu.
std::string complete(const std::string& words, bool menu = false) {
  const std::string script = testing::TempDir() + "atdctl-completion-" + std::to_string(getpid());
  std::ofstream(script) << atdctl("", {"completion"}).out;
  const std::string command = "bash -c 'source " + script + "; COMP_WORDS=(atdctl " + words +
                              "); COMP_CWORD=$((${#COMP_WORDS[@]} - 1)) COMP_TYPE=" + (menu ? "37" : "9") +
                              " COLUMNS=60; _atdctl; printf \"%s\\n\" \"${COMPREPLY[@]}\"' 2>&1";
  const std::string out = output_of(command);
  std::filesystem::remove(script);
  return out;
}

TEST(Client, CompletesNamesWithTheirSentences) {
  if (system("bash -c true") != 0) GTEST_SKIP() << "there is no bash";
  EXPECT_EQ("phone\n", complete("ph"));
  EXPECT_TRUE(has(complete("phone item \"\""), "\nimport  -- Writes the items of a file that \"item export\" h…\n"));
  EXPECT_EQ("list\nget\nset\nexport\nimport\n", complete("phone item \"\"", true));
  EXPECT_EQ("set_dload_mode\nset_wine_ime\n", complete("request set_", true).substr(0, 28));
  EXPECT_EQ("/dev/null\n", complete("phone item import /dev/nul"));
  EXPECT_EQ("--level\n", complete("phone log -f --l"));
  EXPECT_EQ("--record=/dev/null\n", complete("monitor --record=/dev/nul"));
  EXPECT_EQ("status\n", complete("--device = /dev phone stat"));
  EXPECT_EQ("\n", complete("--timeout ="));
}

}  // namespace
}  // namespace atd::client
