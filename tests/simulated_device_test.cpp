#include <fcntl.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>

#include <atomic>
#include <fstream>
#include <functional>
#include <tuple>

#include "atd.h"
#include "platform/ftm_item.h"
#include "platform/log.h"
#include "platform/os.h"
#include "platform/properties.h"
#include "tests/phone.h"

namespace {
std::vector<std::string>* g_synced;
}

// Takes the simulated phone's calls as well, and notes the path of what is synced.
extern "C" int fsync(int fd) {
  if (g_synced) g_synced->push_back(std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(fd)));
  return static_cast<int>(syscall(SYS_fsync, fd));
}

using namespace std::string_literals;

namespace atd {
namespace {

using SimulatedDeviceTest = Phone;

std::string efs_content(const char* path) {
  std::string content(1 << 20, '\0');
  const int fd = efs_open(path, O_RDONLY, 0);
  content.resize(static_cast<size_t>(efs_read(fd, content.data(), 1 << 20)));
  efs_close(fd);
  return content;
}

int write_efs(const char* path, const std::string& content) {
  const int fd = efs_open(path, O_WRONLY | O_CREAT | O_TRUNC, 0600);
  efs_write(fd, content.data(), static_cast<int>(content.size()));
  return efs_close(fd);
}

TEST_F(SimulatedDeviceTest, PathsNeverLeaveThePhone) {
  const std::string& root = device().root();
  const std::pair<const char*, const char*> rows[] = {
      {"/", ""},
      {"//data/./x/", "/data/x/"},
      {"/../../etc/passwd", "/etc/passwd"},
      {"/data/..hidden", "/data/..hidden"},
      {"/a/b/../c", "/a/c"},
      {"/sdcard", "/storage/emulated/0"},
      {"/sdcard/DCIM/../x", "/storage/emulated/0/x"},
      {"/storage/up/file", "/etc/file"},
      {"/storage/up/../x", "/x"},
      {"/storage/out", "/etc/passwd"},
  };
  const std::pair<const char*, const char*> links[] = {{"/sdcard", "/storage/self"},
                                                       {"/storage/self", "emulated/0"},
                                                       {"/storage/up", "../../../../../../../../etc"},
                                                       {"/storage/out", "/etc/passwd"},
                                                       {"/storage/round", "/storage/round"}};
  for (const auto& [path, target] : links) std::filesystem::create_symlink(target, root + path);
  for (const auto& [path, below] : rows) EXPECT_EQ(root + below, std::string(device_path(path))) << path;
  EXPECT_EQ(root + "/sdcard", std::string(device_entry("/sdcard")));
  EXPECT_EQ(root + "/storage/self", std::string(device_entry("/storage/../storage/self")));
  mkfifo((root + "/storage/pipe").c_str(), 0600);
  for (const char* path : {"/storage/round", "/storage/round/x", "/storage/pipe"}) {
    EXPECT_STREQ("", device_path(path));
    EXPECT_NE(std::string::npos, device().logs.lines(LOG_ID_MAIN).back().find(" E phone: "s + path + ": ")) << path;
  }
  EXPECT_STREQ("data/factory/logsave.zip", device_path("data/factory/logsave.zip"));
  EXPECT_STREQ("", device_path(("/" + std::string(PATH_MAX, 'x')).c_str()));
}

TEST_F(SimulatedDeviceTest, PropertiesSurviveAsOnThePhone) {
  char value[PROPERTY_VALUE_MAX];
  EXPECT_EQ(5, system_property_get("ro.model.name", value));
  EXPECT_STREQ("SIM-1", value);
  EXPECT_EQ(0, system_property_set("persist.sys.x", "kept"));
  EXPECT_EQ(0, system_property_set("sys.x", std::string(91, 'v').c_str()));
  EXPECT_EQ(91, system_property_get("sys.x", value));
  for (const char* name : {"ro.model.name", "", "../x", "a/b", "a..b", ".a", "a b"}) {
    EXPECT_EQ(-1, system_property_set(name, "x")) << name;
  }
  EXPECT_EQ(-1, system_property_set("sys.x", std::string(92, 'v').c_str()));
  device().reboot();
  EXPECT_EQ(4, system_property_get("persist.sys.x", value));
  EXPECT_EQ(0, system_property_get("sys.x", value));
  EXPECT_STREQ("", value);
  EXPECT_EQ(4, property_get("sys.x", value, "none"));
  std::ofstream(device().path("/system/build.prop")) << "# comment\nro.model.name=OTHER\nro.x=a=b\n";
  device().reboot();
  EXPECT_EQ("OTHER", device().properties.get("ro.model.name"));
  EXPECT_EQ("a=b", device().properties.get("ro.x"));
}

TEST_F(SimulatedDeviceTest, ItemsAreKeyedByIndexAndLength) {
  char buffer[8] = "#######";
  EXPECT_EQ(0, get_ftm_item(500, 4, buffer));
  EXPECT_EQ(0, memcmp(buffer, "\0\0\0\0###", 8));
  EXPECT_EQ(0, set_ftm_item(500, 4, "abcd"));
  EXPECT_EQ(0, get_ftm_item(500, 2, buffer));
  EXPECT_EQ(0, buffer[0]);
  device().reboot();
  EXPECT_EQ("abcd", device().items.get(500, 4));
  EXPECT_LT(get_ftm_item(500, -1, buffer), 0);
  // One that is there and cannot be read is not taken for one that was never written.
  std::filesystem::create_directory(root_ + "/sim/items/501-4");
  EXPECT_LT(get_ftm_item(501, 4, buffer), 0);
}

TEST_F(SimulatedDeviceTest, AKilledWriterLeavesTheOldOrTheNewContent) {
  const std::tuple<size_t, std::function<void(const std::string&)>, std::function<std::string()>> rows[] = {
      {2048, [&](auto& v) { device().items.set(79, v); }, [&] { return device().items.get(79, 2048); }},
      {91, [&](auto& v) { device().properties.set("sys.x", v); }, [&] { return device().properties.get("sys.x"); }},
      {20000, [](auto& v) { write_efs("/d/f", v); }, [] { return efs_content("/d/f"); }},
  };
  efs_init(0);
  for (const auto& [size, store, content] : rows) {
    const std::string a(size, 'a'), b(size, 'b');
    store(a);
    for (int round = 0; round < 8; ++round) {
      int started[2];
      ASSERT_EQ(0, pipe(started));
      const pid_t child = fork();
      for (int i = 0; child == 0; ++i) {
        store(i % 2 ? a : b);
        if (i == round && write(started[1], "x", 1) != 1) _exit(1);
      }
      char byte;
      EXPECT_EQ(1, read(started[0], &byte, 1));
      kill(child, SIGKILL);
      waitpid(child, nullptr, 0);
      close(started[0]);
      close(started[1]);
      const std::string value = content();
      EXPECT_TRUE(value == a || value == b) << size << " " << value.size();
    }
  }
}

TEST_F(SimulatedDeviceTest, WhatIsAcknowledgedIsOnTheMedium) {
  using Paths = std::vector<std::string>;
  efs_init(0);
  init_modem_interface(0);
  std::function<void()> unlink = [] { EXPECT_EQ(0, efs_unlink("/d/f")); };
  const std::pair<std::function<void()>, Paths> rows[] = {
      {[] { set_ftm_item(9, 4, "abcd"); }, {"/sim/items/9-4.new~", "/sim/items"}},
      {[] { system_property_set("persist.x", "1"); }, {"/data/property/persist.x.new~", "/data/property"}},
      {[] { system_property_set("sys.x", "1"); }, {}},
      {[] { request_to_system(101, "x", 1, nullptr, nullptr, nullptr); }, {"/sim/modem/impl.new~", "/sim/modem"}},
      {[] { write_efs("/d/f", "x"); }, {"/sim/efs", "/sim/efs-open/1", "/sim/efs/d"}},
      {unlink, {"/sim/efs/d"}},
  };
  for (const bool on : {true, false}) {
    device().syncs_writes = on;
    for (const auto& [write, expected] : rows) {
      Paths synced;
      g_synced = &synced;
      write();
      g_synced = nullptr;
      for (std::string& path : synced) path = path.substr(root_.size(), path.find('~') + 1 - root_.size());
      EXPECT_EQ(on ? expected : Paths(), synced);
    }
  }
}

TEST_F(SimulatedDeviceTest, WhatCannotBeWrittenIsAnErrorInTheLogAndInTheAnswer) {
  auto errors = [&](const char* tag, const std::string& text) {
    return device().logs.count(LOG_ID_MAIN, ANDROID_LOG_ERROR, tag, text);
  };
  efs_init(0);
  const std::string old(700 << 10, 'o'), fresh(700 << 10, 'n');
  EXPECT_EQ(0, write_efs("/f", old));
  EXPECT_TRUE(device().items.set(9, old));
  // The disk is full: no file may be larger than this.
  struct rlimit before;
  getrlimit(RLIMIT_FSIZE, &before);
  const struct rlimit full = {600 << 10, before.rlim_max};
  signal(SIGXFSZ, SIG_IGN);
  setrlimit(RLIMIT_FSIZE, &full);
  EXPECT_EQ(-ENOSPC, write_efs("/f", fresh));
  EXPECT_FALSE(device().items.set(9, fresh));
  setrlimit(RLIMIT_FSIZE, &before);
  EXPECT_TRUE(old == efs_content("/f") && old == device().items.get(9, 700 << 10)) << "what was there is kept";
  EXPECT_EQ(1, errors("modem", "EFS: cannot write /f: No space left on device"));

  const int fd = efs_open("/d/f", O_RDWR | O_CREAT, 0);
  for (const char* folder : {"/sim/efs", "/sim/modem", "/data/property", "/dev/__properties__", "/sim/items"}) {
    std::filesystem::remove_all(root_ + folder);
  }
  EXPECT_EQ(0, efs_write(fd, "x", 1));
  EXPECT_EQ(-ENOENT, efs_close(fd));
  EXPECT_EQ(-ENOENT, efs_open("/d/g", O_RDWR | O_CREAT, 0));
  EXPECT_EQ(1, request_to_system(101, "x", 1, nullptr, nullptr, nullptr));
  for (const char* name : {"persist.x", "sys.x"}) EXPECT_EQ(-1, system_property_set(name, "x"));
  EXPECT_EQ(-1, set_ftm_item(9, 1, "x"));
  const std::tuple<const char*, const char*, int> lines[] = {
      {"modem", "EFS: cannot write /d/f", 1},         {"modem", "EFS: cannot write /d/g", 1},
      {"modem", "cannot write sim/modem/impl", 2},  // the library asks twice
      {"property", "persist.x cannot be written", 1}, {"property", "sys.x cannot be written", 1},
      {"ftm", "item 9 cannot be written", 1},
  };
  for (const auto& [tag, line, count] : lines) EXPECT_EQ(count, errors(tag, line + ": No such file or directory"s));
}

TEST_F(SimulatedDeviceTest, OnePhoneOneDaemon) {
  std::string error;
  EXPECT_EQ(nullptr, sim::SimulatedDevice::open(root_, &error));
  EXPECT_EQ(root_ + ": process " + std::to_string(getpid()) + " runs this phone", error);
  for (const char* holder : {"", "2147483647\n"}) {
    std::ofstream(root_ + "/sim/lock") << holder;
    EXPECT_EQ(nullptr, sim::SimulatedDevice::open(root_, &error));
    EXPECT_EQ(root_ + ": another process runs this phone", error);
  }
  EXPECT_EQ(nullptr, sim::SimulatedDevice::open("/", &error));
  EXPECT_EQ(nullptr, sim::SimulatedDevice::open("/proc/phone", &error));
}

TEST_F(SimulatedDeviceTest, LogsAreReadBackAndBounded) {
  SLOGE("first %d\n", 1);
  __android_log_print(ANDROID_LOG_WARN, "Other", "main %s", "text");
  EXPECT_LT(__android_log_buf_print(9, ANDROID_LOG_INFO, "x", "nowhere"), 0);
  EXPECT_EQ(1, logged(ANDROID_LOG_ERROR, "first 1"));
  SLOGI("two\nlines\x1b\x7f!");
  EXPECT_EQ(1, logged("two\nlines  !"));
  EXPECT_EQ(1, device().logs.count(LOG_ID_MAIN, ANDROID_LOG_WARN, "Other", "main text"));
  for (int i = 0; i < 40000; ++i) SLOGI("line %d", i);
  EXPECT_EQ(1, logged("line 39999"));
  // A person empties the file under the daemon.
  std::filesystem::resize_file(device().path("/dev/log/system"), 0);
  SLOGI("after the file was emptied");
  EXPECT_EQ(1, logged("after the file was emptied"));
  EXPECT_LE(std::filesystem::file_size(device().path("/dev/log/system.1")), 512u * 1024);
}

TEST_F(SimulatedDeviceTest, DestructiveVerbsAreRefusedUnlessAllowed) {
  init_modem_interface(0);
  device().clock.hold_sleeps();
  for (int i = 0; i < 50; ++i) EXPECT_EQ(0, system_restart());
  EXPECT_EQ(50, logged("end system_restart"));
  device().clock.await_waiters();
  device().clock.release();
  device().threads.await_none();
  EXPECT_EQ(std::vector<std::string>{"refused reboot"}, device().power.history()) << "one restart at a time";
  EXPECT_EQ(0, system_restart());
  device().threads.await_none();
  EXPECT_EQ(2u, device().power.history().size()) << "another one after a refused one";
}

TEST_F(SimulatedDeviceTest, HistoriesHaveAnEnd) {
  for (int i = 0; i < 101; ++i) device().power.request("reboot " + std::to_string(i));
  EXPECT_EQ(100u, device().power.history().size());
  EXPECT_EQ("refused reboot 100", device().power.history().back());
  for (int i = 0; i < 1001; ++i) os_sync();
  EXPECT_EQ(1000u, device().shell.history().size());
  init_modem_interface(0);
  for (int i = 10000; i <= 20000; ++i) request_to_system(4, std::to_string(i).data(), 5, nullptr, nullptr, nullptr);
  EXPECT_EQ(10000u, device().modem.requests().size());
  EXPECT_EQ((sim::ModemRequest{4, "20000"}), device().modem.requests().back());
  std::filesystem::resize_file(device().path("/dev/input/event0"), 1024 * 1024);
  EXPECT_NE(-1, send_key_native(116, 1));
  EXPECT_EQ(2u, device().input.events(0).size());
}

TEST_F(SimulatedDeviceTest, AThreadThatIsAwaitedIsGoneAltogether) {
  static std::atomic<int> gone = 0;
  struct Memory {
    ~Memory() { usleep(1000), ++gone; }
  };
  const auto body = [](void*) -> void* {
    thread_local Memory memory;
    return &memory;
  };
  for (int i = 0; i < 3; ++i) EXPECT_EQ(0, device().threads.start(body, nullptr));
  device().threads.await_none();
  EXPECT_EQ(3, gone);
}

}  // namespace
}  // namespace atd
