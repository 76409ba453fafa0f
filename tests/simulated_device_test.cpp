#include <sys/stat.h>

#include <fstream>
#include <thread>

#include "atd.h"
#include "platform/ftm_item.h"
#include "platform/log.h"
#include "platform/os.h"
#include "platform/properties.h"
#include "tests/phone.h"

using namespace std::string_literals;

namespace atd {
namespace {

using SimulatedDeviceTest = Phone;

TEST_F(SimulatedDeviceTest, PathsNeverLeaveThePhone) {
  const std::string& root = device().root();
  struct {
    const char *path, *below;
  } const rows[] = {
      {"/", ""},
      {"/data", "/data"},
      {"//data/./x/", "/data/x/"},
      {"/../../etc/passwd", "/etc/passwd"},
      {"/data/../..", ""},
      {"/data/..hidden", "/data/..hidden"},
      {"/a/b/../c", "/a/c"},
      {"/sdcard", "/storage/emulated/0"},
      {"/sdcard/DCIM/../x", "/storage/emulated/0/x"},
      {"/storage/up/file", "/etc/file"},
      {"/storage/up/../x", "/x"},
      {"/storage/out", "/etc/passwd"},
  };
  const struct {
    const char *path, *target;
  } links[] = {{"/sdcard", "/storage/self"},
               {"/storage/self", "emulated/0"},
               {"/storage/up", "../../../../../../../../etc"},
               {"/storage/out", "/etc/passwd"},
               {"/storage/round", "/storage/round"}};
  for (const auto& link : links) std::filesystem::create_symlink(link.target, root + link.path);
  for (const auto& row : rows) EXPECT_EQ(root + row.below, std::string(device_path(row.path))) << row.path;
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
  property_get("ro.model.name", value, "");
  EXPECT_STREQ("OTHER", value);
  property_get("ro.x", value, "");
  EXPECT_STREQ("a=b", value);
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
  EXPECT_DEATH(sim::SimulatedDevice::open(root_ + "/second", &error), "a simulated phone is open already");
}

TEST_F(SimulatedDeviceTest, LogsAreReadBackAndBounded) {
  SLOGE("first %d\n", 1);
  SLOGI("two\nlines");
  __android_log_print(ANDROID_LOG_WARN, "Other", "main %s", "text");
  EXPECT_LT(__android_log_buf_print(9, ANDROID_LOG_INFO, "x", "nowhere"), 0);
  EXPECT_EQ(1, logged(ANDROID_LOG_ERROR, "first 1"));
  EXPECT_EQ(1, logged("two\nlines"));
  EXPECT_EQ(1, device().logs.count(LOG_ID_MAIN, ANDROID_LOG_WARN, "Other", "main text"));
  for (int i = 0; i < 40000; ++i) SLOGI("line %d", i);
  EXPECT_EQ(1, logged("line 39999"));
  EXPECT_LT(device().logs.lines(LOG_ID_SYSTEM).size(), 40000u);
  // A person empties the file under the daemon.
  std::filesystem::resize_file(device().path("/dev/log/system"), 0);
  SLOGI("after the file was emptied");
  EXPECT_EQ(1, logged("after the file was emptied"));
  EXPECT_LE(std::filesystem::file_size(device().path("/dev/log/system.1")), 512u * 1024);
}

TEST_F(SimulatedDeviceTest, DestructiveVerbsAreRefusedUnlessAllowed) {
  init_modem_interface(0);
  EXPECT_EQ(0, system_restart());
  device().threads.await_none();
  EXPECT_EQ(std::vector<std::string>{"refused reboot"}, device().power.history());
}

TEST_F(SimulatedDeviceTest, HeldSleepsEndWhenTimePasses) {
  device().clock.hold_sleeps();
  std::thread sleeper([] { os_sleep_us(1'000'000); });
  device().clock.await_waiters();
  device().clock.advance(999'999);
  device().clock.await_waiters();
  device().clock.advance(1);
  sleeper.join();
  EXPECT_EQ(1'000'000u, device().clock.slept());
}

}  // namespace
}  // namespace atd
