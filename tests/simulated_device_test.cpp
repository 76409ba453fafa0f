#include <fstream>
#include <thread>

#include "atd.h"
#include "platform/ftm_item.h"
#include "platform/log.h"
#include "platform/os.h"
#include "platform/properties.h"
#include "simulator/files.h"
#include "tests/phone.h"

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
  };
  for (const auto& row : rows) EXPECT_EQ(root + row.below, std::string(device_path(row.path))) << row.path;
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
  // A person empties the file under the daemon: lines may be lost, the daemon is not.
  std::filesystem::resize_file(device().path("/dev/log/system"), 0);
  for (int i = 0; i < 100; ++i) SLOGI("after the file was emptied");
  std::string text;
  ASSERT_TRUE(sim::read_file(device().path("/dev/log/system.1"), &text));
  EXPECT_EQ(std::string::npos, text.find('\0'));
  EXPECT_LE(std::filesystem::file_size(device().path("/dev/log/system.1")), 512u * 1024);
}

TEST_F(SimulatedDeviceTest, ShellCommandsStayInThePhone) {
  std::ofstream(device().path("/data/factory/a")) << "x";
  EXPECT_EQ(0, os_system("cp /data/factory/a /data/factory/b && rm -rf /data/factory/a"));
  EXPECT_FALSE(std::filesystem::exists(device().path("/data/factory/a")));
  EXPECT_TRUE(std::filesystem::exists(device().path("/data/factory/b")));
  EXPECT_EQ(0, os_system("echo text >/data/factory/c"));
  EXPECT_TRUE(std::filesystem::exists(device().path("/data/factory/c")));
  const std::string outside = root_ + "-outside";
  std::ofstream(outside.c_str()) << "x";
  const std::string name = outside.substr(outside.rfind('/') + 1);
  for (const std::string& command :
       {"rm -f " + outside, "rm -f ../" + name, "rm -f /data/../../" + name, "cd ..; rm -f " + name}) {
    os_system(command.c_str());
    EXPECT_TRUE(std::filesystem::exists(outside)) << command;
  }
  std::filesystem::remove(outside);
  EXPECT_EQ(127 << 8, os_system("gcc --version 2>/dev/null"));  // not a tool of the phone
  const char* const argv[] = {"ls", "/data/factory", nullptr};
  EXPECT_EQ(0, os_run(argv));
  EXPECT_EQ("ls /data/factory", device().shell.history().back());
  const char* const missing[] = {"gcc", nullptr};
  EXPECT_EQ(-1, os_run(missing));

  SLOGI("seen by logcat");
  system_property_set("sys.x", "seen by getprop");
  EXPECT_EQ(0, os_system("logcat -d -b system -f /data/log.txt; getprop sys.x > /data/prop.txt; getprop ro.model.name "
                         ">> /data/prop.txt"));
  std::string text;
  ASSERT_TRUE(sim::read_file(device().path("/data/log.txt"), &text));
  EXPECT_NE(std::string::npos, text.find(" I Atd: seen by logcat\n"));
  ASSERT_TRUE(sim::read_file(device().path("/data/prop.txt"), &text));
  EXPECT_EQ("seen by getprop\nSIM-1\n", text);
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
