// System control: the ends of the phone's run, sleep, the boot, versions, and what they are kept in step with.
#include <tuple>

#include "atd.h"
#include "dispatch/service_handler.h"
#include "tests/phone.h"

using namespace std::string_literals;

namespace atd {
namespace {

using Pairs = std::vector<std::pair<std::string, std::string>>;

class SystemTest : public Phone {
 protected:
  SystemTest() { EXPECT_EQ(0, init_modem_interface(0)); }

  rzcmd_response run(int opcode, const std::string& payload = {}) {
    rzcmd_request req = request_of(opcode, payload);
    rzcmd_response rsp = {};
    service_handler(&req, &rsp);
    return rsp;
  }

  std::string node(const std::string& path) { return content(root_ + path); }
  void set_node(const std::string& path, const std::string& text) {
    std::filesystem::create_directories(std::filesystem::path(root_ + path).parent_path());
    ASSERT_TRUE(sim::write_file(root_ + path, text));
  }
  std::string property(const std::string& name) { return device().properties.get(name); }
  void set_property(const std::string& name, const std::string& value) { device().properties.set_at_boot(name, value); }
  std::string item(unsigned index, int length) { return device().items.get(index, length).c_str(); }
  std::string last_end() {
    device().threads.await_none();
    return device().power.history().back();
  }

  const std::string brightness_ = "/proc/tav_power/lcd/brightness", usb_ = "/sys/class/android_usb/android0/state",
                    status_ = "/sys/kernel/atd_mid/atd_status", cpu_ = "/sys/devices/system/cpu/cpu";
};

TEST_F(SystemTest, EndsOfTheRun) {
  const std::tuple<int (*)(), const char*, const char*> rows[] = {
      {system_restart, "refused reboot", "end restart"},
      {system_poweroff, "refused power-off", "end poweroff"},
      {system_dload, "refused reboot dload", "end system_dload"},
      {system_aat, "refused reboot aat_write", "end system_aat_write"},
  };
  for (const auto& [end, what, line] : rows) {
    const uint64_t slept = device().clock.slept();
    const size_t commands = device().shell.history().size();
    EXPECT_EQ(0, end());
    EXPECT_EQ(what, last_end());
    EXPECT_EQ(slept + 1'000'000, device().clock.slept());
    EXPECT_EQ(commands + 1, device().shell.history().size()) << what;
    EXPECT_EQ(1, logged(line));
    device().modem.set_answer(200, "\xFF");
    EXPECT_EQ(-1, end());
    device().modem.clear_answers();
  }
  // Those that the platform refuses, or that have no thread, leave nothing behind.
  device().faults.fail("start_thread", 500);
  for (int i = 0; i < 500; ++i) EXPECT_EQ(-1, system_poweroff());
  device().faults.fail("android_reboot", 500);
  for (int i = 0; i < 500; ++i, device().threads.await_none()) EXPECT_EQ(0, system_poweroff());
  EXPECT_GT(20, std::distance(std::filesystem::directory_iterator("/proc/self/task"), {}));
  EXPECT_EQ("refused power-off", last_end());
  restart_with_reason("any");
  set_node(status_, "1\n");
  EXPECT_EQ(0, system_poweroff());
  EXPECT_EQ("refused reboot any", last_end());
}

TEST_F(SystemTest, BootStatusGoesBackWhenNoRestartComes) {
  EXPECT_EQ(0, run(4007, "259").result);
  EXPECT_EQ("3", property("persist.sys.tav.bootstatus"));
  EXPECT_EQ(0, run(4266, std::string(600, 'p')).result);
  EXPECT_EQ(std::string(512, 'p'), item(90, 512));
  last_end();
  device().faults.fail("start_thread");
  const std::tuple<int, const char*, int, const char*> rows[] = {
      {4007, "7", 1, "0"}, {4266, "7", 1, "0"}, {4266, "", 1, "9"}, {4007, "", 0, "9"}, {4007, "x", 1, "9"}};
  for (const auto& [opcode, payload, result, status] : rows) {
    set_bootstatus(9);
    EXPECT_EQ(result, run(opcode, payload).result) << opcode << payload;
    EXPECT_EQ(status, property("persist.sys.tav.bootstatus"));
  }
}

TEST_F(SystemTest, TheBootTellsHowToSleep) {
  const std::tuple<const char*, const char*, int> rows[] = {
      {"ro.model.name", "x", 0}, {"ro.boot.fwx", "x", 1}, {"ro.minios.enable", "1", 1}, {"ro.factorytest", "2", 1}};
  for (const auto& [name, value, mode] : rows) {
    device().properties.boot();
    set_property(name, value);
    EXPECT_EQ(mode, normal_mode_check()) << name;
  }
  // No platform service runs here: what it is asked for fails, and the steps after it are done all the same.
  EXPECT_EQ(1, system_sleep());
  EXPECT_EQ("04mem", node(brightness_) + node("/sys/class/graphics/fb0/blank") + node("/sys/power/autosleep"));
  EXPECT_EQ(1, logged(ANDROID_LOG_ERROR, "Fail: write_sys : /sys/class/graphics/fb0/blank "));
  EXPECT_EQ(1, system_wakeup());
  EXPECT_EQ("183on", node(brightness_) + node("/sys/power/autosleep"));
}

TEST_F(SystemTest, PowerOffWhenTheCableIsPulled) {
  set_node(usb_, "CONFIGURED\n");
  set_property("ro.bootmode", "pif-910k");
  set_property("ro.minios.bootstart", "1");
  set_factory_status(5);
  device().clock.hold_sleeps();
  std::filesystem::remove(root_ + status_);
  EXPECT_EQ(0, power_off_with_cable());
  EXPECT_EQ("30powersave\0"s, node(brightness_) + node(cpu_ + "0/cpufreq/scaling_governor"));
  device().clock.await_waiters();
  EXPECT_TRUE(device().power.history().empty());
  set_node(usb_, "DISCONNECTED\n");
  device().clock.release();
  EXPECT_EQ("refused power-off", last_end());
  device().threads.await_none();
  EXPECT_EQ(0, retry_power_off_with_cable());
  device().threads.await_none();
  EXPECT_EQ(2u, device().power.history().size());
  set_node(usb_, "\n");
  EXPECT_EQ(1, retry_power_off_with_cable());
  // With its node the kernel sees that no cable is there.
  set_node(status_, "0\n");
  set_node(usb_, "DISCONNECTED\n");
  const size_t ends = device().power.history().size();
  EXPECT_EQ(0, power_off_with_cable());
  device().threads.await_none();
  EXPECT_LT(ends, device().power.history().size());
}

TEST_F(SystemTest, TheEnvironmentOfABoot) {
  const std::tuple<const char*, char, const char*, const char*> rows[] = {
      {"normal", '0', "00", ""}, {"pif-56k", '0', "01", ""}, {"qem", '0', "11", "1"}, {"qem", '1', "11", "0"}};
  for (const auto& [mode, mfts, flags, logs] : rows) {
    set_property("ro.bootmode", mode);
    device().items.set(119, {mfts});
    system_set_env_property();
    EXPECT_EQ(flags, property("sys.factory.qem") + property("sys.tav.pif")) << mode;
    EXPECT_EQ(logs, property("persist.service.main.enable"));
  }
  EXPECT_EQ("rm /data/logger/*", device().shell.history().back());
  set_node("/proc/tav_power/battery/present", "0\n");
  for (const auto& [before, after] : Pairs{{"0\n", "0\n"}, {"99\n", "10"}}) {
    set_node(brightness_, before);
    system_set_lcd_brightness();
    EXPECT_EQ(after, node(brightness_));
  }
}

TEST_F(SystemTest, CpuClocksAndListsAreBounded) {
  char out[2048];
  int length;
  std::filesystem::remove(root_ + cpu_ + "1/cpufreq/scaling_cur_freq");
  set_node(cpu_ + "3/cpufreq/scaling_cur_freq", std::string(99, '9'));
  EXPECT_EQ(0, get_cpu_freq(out, &length));
  EXPECT_EQ("0,1804800,1804800,300000,3," + std::string(30, '9') + ",,", std::string(out));
  for (const auto& [text, codes] : Pairs{{R"({"mcc-list":["450","310"]})", "450,310"}, {"", ""}, {"\"a\"\"", ""}}) {
    EXPECT_EQ(0, get_mcc_list(text.c_str(), out));
    EXPECT_EQ(codes, out) << text;
  }
}

TEST_F(SystemTest, RequestsToModemAndPlatform) {
  char out[2048], one[] = "1", two[] = "22";
  char* arguments[] = {one, two};
  int length;
  device().modem.set_answer(60, std::string(2048, 'd'));
  EXPECT_EQ(0, detach(arguments, 2, out));
  EXPECT_EQ(std::string(2047, 'd'), out);
  EXPECT_EQ("1,22", device().modem.requests().back().payload);
  EXPECT_EQ(1, detach(nullptr, 0, out));
  for (const auto& [found, block, blocked] : {std::tuple("0", "1", 0), {"1", "0", 0}, {"", "1", 1}, {"1bad", "1", 1}}) {
    device().modem.set_answer(28, found);
    set_property("sys.cmd_block", block);
    qem_get_status = 1;
    EXPECT_EQ(blocked, get_low_batt_port_block_check()) << found;
    qem_get_status = 0;
    EXPECT_EQ(0, get_low_batt_port_block_check() + system_set_caldata_check_prop());
    EXPECT_EQ(found, property("sys.tav.caldata_check"));
  }
  device().modem.set_answer(202, "PID9");
  EXPECT_EQ(0, system_write_pid_info() + system_write_pid_info());
  EXPECT_EQ("PID91", item(4, 30) + std::to_string(logged("PID is written")));
  for (const auto& [flag, told] : {std::pair("12", 0), {"1.2", 1}}) {
    set_os_upgrade_flag_ftm_item(std::string(flag).append(10, '\0').c_str());
    EXPECT_EQ(0, system_osupgrade_notify());
    EXPECT_EQ(told, logged("[COMMON_INTERFACE] RZCMD OPCODE: 3140"));
    EXPECT_EQ(told ? "" : flag, item(3586, 10));
  }
  EXPECT_EQ(1, pattern_clear("p", out) * get_phone_number(out, &length));
  EXPECT_EQ(2, logged("[COMMON_INTERFACE] RZCMD OPCODE: 1701") + logged("[COMMON_INTERFACE] RZCMD OPCODE: 1700"));
  set_node("/proc/tav_power/battery/present", "0\n");
  set_property("sys.tav.pif", "1");
  set_node(brightness_, "0\n");
  const uint64_t slept = device().clock.slept();
  EXPECT_EQ(0, system_set_lcd_brightness_loop());
  EXPECT_EQ("10" + std::to_string(slept + 16'000'000), node(brightness_) + std::to_string(device().clock.slept()));
}

TEST_F(SystemTest, VersionsAndTheirCopies) {
  char out[128];
  for (const auto& [version, expected] : Pairs{{"SIM1-V10a", "SIM1-V10a_00"}, {"S-ZUX_old", "S-ZUX10a_00"}, {"", ""}}) {
    set_property("ro.tav.swversion", version);
    EXPECT_EQ(expected, data_of(run(4019)));
  }
  set_property("ro.tav.swversion", "V1");
  device().items.set(101, "x");
  EXPECT_EQ(0, system_write_version_info());
  EXPECT_EQ("V1_00V1_00", item(14, 70) + item(15, 70) + item(101, 1));
  EXPECT_EQ(0, nv_factoryitem_sync());
  EXPECT_EQ(5, tav_diag_nvread(33797, out));  // status 5, never written: "V1_00" is too short
  set_property("ro.tav.swversion", "V10");
  EXPECT_EQ(0, nv_factoryitem_sync());
  EXPECT_EQ(0, tav_diag_nvread(33797, out));
  EXPECT_STREQ("V10_00", out);
}

TEST_F(SystemTest, TheFixedArea) {
  EXPECT_EQ(0, update_swfv_userdata_flag());
  EXPECT_EQ(0, system_update_settings_from_cust());
  EXPECT_EQ("SIM1APV10A0-MIM1APV10A0-SIM1CUV10A0-SIM1UDV10A0-0", item(31, 50));
  std::filesystem::create_directory(root_ + "/OP");
  set_node("/cust/cust.ubid", "SHORT\n" + std::string(100, 'x'));
  EXPECT_EQ(0, system_update_settings_from_cust());
  EXPECT_EQ("SIM1APV10A0-MIM1APV10A0-SHORTFFFFFF-FFFFFFFFFFF-F", item(31, 50));
  set_node("/system/etc/ap.ubid", "");
  EXPECT_EQ(0, system_update_settings_from_cust());
  EXPECT_EQ("FFFFFFFFFFF-FFFFFFFFFFF-FFFFFFFFFFF-FFFFFFFFFFF-F", item(31, 50));
}

}  // namespace
}  // namespace atd
