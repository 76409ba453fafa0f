// atdctl doctor on a phone's folder with a daemon that says what a test wants.
#include <sys/stat.h>

#include <atomic>

#include "client/doctor.h"
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
      {"/sys/power/autosleep", 0, 0660, "fail      nodes       /sys/power/autosleep: No such file or directory; "},
      {"/dev/input/event0", 0, 0660, "fail      nodes       /dev/input/event%d: No such file"},
      {"/dev/block/mmcblk0p1", 0, 0660, "not seen  nodes       1 that not every phone has, such as /dev/block/mmcb"},
      {"/system/bin", 0, 0660, "not seen  nodes       the phone's files"},
      {"/dev/socket/atd", 0, 0660, "fail      socket      /"},
      {"", 4010, 0660, "fail      items       get_serial_number (4010): FAIL, "},
      {"", 4401, 0660, "fail      modem       read_pesn (4401): FAIL, "},
      {"", 0, 0666, "fail      socket      /"}};
  std::atomic<int> fails = 0;
  FakeDaemon phone([&](const std::string& line) { return answer(line == request_line(fails, ""), "1"); }, "", '\0',
                   "dev/socket");
  std::filesystem::create_directories(phone.root() + "/system/bin");
  for (const PortingNode& node : porting_nodes()) {
    std::string path = phone.root() + node.path;
    for (size_t at; (at = path.find('%')) != path.npos;) path.replace(at, 2, "0");
    std::filesystem::create_directories(std::filesystem::path(path).parent_path());
    std::ofstream(path) << "";
  }
  for (const auto& row : kRows) {
    fails = row.fails;
    chmod(phone.socket().c_str(), row.mode);
    const std::string broken = phone.root() + row.broken, away = phone.root() + "/away";
    if (*row.broken != '\0') rename(broken.c_str(), away.c_str());
    const std::string find = "find " + phone.root() + " ! -name atd.lock | sort", files = output_of(find);
    const Outcome outcome = atdctl(phone, {"doctor"});
    EXPECT_EQ(has(row.line, "fail "), outcome.status) << outcome.out;
    EXPECT_TRUE(has("\n" + outcome.out, std::string("\n") + row.line)) << row.line << "\n" << outcome.out;
    EXPECT_EQ(files, output_of(find));
    atdctl(phone, {"doctor", "--json"});  // as documented
    if (*row.broken != '\0') rename(away.c_str(), broken.c_str());
  }
}

}  // namespace
}  // namespace atd::client
