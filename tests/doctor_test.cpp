// atdctl doctor on a phone's folder with a daemon that says what a test wants.
#include <sys/stat.h>

#include <atomic>

#include "atd.h"
#include "client/doctor.h"
#include "desk/control.h"
#include "tests/client_daemon.h"

namespace atd::client {
namespace {

TEST(Doctor, FindsWhatIsBrokenAndChangesNothing) {
  const struct {
    const char* broken;  // a file that is missing
    int fails;           // an opcode that is answered with 1
    mode_t mode;         // of the socket
    const char* line;
  } kRows[] = {
      {"", 0, 0660, "ok        nodes       "},
      {"", 0, 0660, "not seen  platform    no other client is connected; "},
      {"/dev/input/event0", 0, 0660, "fail      nodes       /dev/input/event%d: No such file"},
      {"/dev/block/bootdevice/by-name/misc", 0, 0660, "fail      nodes       /dev/block/bootdevice/by-name/misc: No"},
      {"/dev/sg3", 0, 0660, "not seen  nodes       1 that not every phone has, such as /dev/sg3"},
      {"/system/bin", 0, 0660, "not seen  nodes       the phone's files"},
      {"/dev/socket/atd", 0, 0660, "fail      socket      /"},
      {"", 4010, 0660, "fail      items       get_serial_number (4010): FAIL, "},
      {"", 4401, 0660, "fail      modem       read_pesn (4401): FAIL, "},
      {"", 0, 0666, "fail      socket      /"}};
  std::atomic<int> fails = 0;
  FakeDaemon phone([&](const std::string& line) { return answer(line == request_line(fails, ""), "1"); }, "", '\0',
                   "a phone/dev/socket");
  const std::string root = phone.root() + "/a phone";
  std::filesystem::create_directories(root + "/system/bin");
  for (const PortingNode& node : porting_nodes()) {
    std::string path = root + node.path;
    for (size_t at; (at = path.find('%')) != path.npos;) path.replace(at, 2, "0");
    std::filesystem::create_directories(std::filesystem::path(path).parent_path());
    std::ofstream(path) << "";
  }
  for (const auto& row : kRows) {
    fails = row.fails;
    chmod(phone.socket().c_str(), row.mode);
    const std::string broken = root + row.broken, away = root + "/away";
    if (*row.broken != '\0') rename(broken.c_str(), away.c_str());
    const std::string find = "find '" + root + "' ! -name atd.lock | sort", files = output_of(find);
    const Outcome outcome = atdctl(phone, {"doctor"});
    EXPECT_EQ(has(row.line, "fail "), outcome.status) << outcome.out;
    EXPECT_TRUE(has("\n" + outcome.out, std::string("\n") + row.line)) << row.line << "\n" << outcome.out;
    EXPECT_EQ(files, output_of(find));
    if (&row == kRows || row.fails != 0) atdctl(phone, {"doctor", "--json"});  // as documented
    if (*row.broken != '\0') rename(away.c_str(), broken.c_str());
  }
  // What the simulated phone says of its daemon.
  std::atomic<const char*> told = "";
  FakeServer control("sim", "control", [&](int fd) {
    char request[4096];
    EXPECT_GT(read(fd, request, sizeof request), 0);
    FakeServer::say(fd, to_line(ControlReply{told.load(), true, 0, ""}));
  });
  std::filesystem::create_directory_symlink(control.root() + "/sim", root + "/sim");
  const char* const kTold[][2] = {{R"({"daemon":"atd 0.1.0"})", "fail      build       atdctl "},
                                  {"{\"daemon\":\"atd " ATD_VERSION "\"}", "ok        build       atdctl "},
                                  {R"({"daemon":7})", "not seen  build       atdctl "},
                                  {"[]", "not seen  build       atdctl "}};
  for (const auto& [text, line] : kTold) {
    told = text;
    EXPECT_TRUE(has(atdctl(phone, {"doctor"}).out, line)) << text;
  }
  // Its advice names the folder.
  const Strings strange = {"--device", "/tmp/\xff \x1b", "doctor"};
  EXPECT_TRUE(has(atdctl("", strange).out, "atd --device '/tmp/\\xff \\x1b' --background\n"));
  EXPECT_EQ(1, atdctl("", {"--json", strange[0], strange[1], strange[2]}).status);
  if (geteuid() == 0) return;  // nothing is closed to root
  chmod((root + "/sys/power/autosleep").c_str(), 0);
  EXPECT_TRUE(has(atdctl(phone, {"doctor"}).out, "fail      nodes       /sys/power/autosleep: Permission denied; "));
}

}  // namespace
}  // namespace atd::client
