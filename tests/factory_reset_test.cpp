// The factory reset: its states, the wipe, the card, the cache, and a reset that fails on its way.
#include <linux/fs.h>
#include <sys/wait.h>

#include <set>
#include <tuple>

#include "atd.h"
#include "dispatch/service_handler.h"
#include "platform/os.h"
#include "tests/phone.h"

using namespace std::string_literals;
namespace fs = std::filesystem;

namespace atd {
namespace {

const std::string kDelete = "sys.tav.factory_delete", kCache = "/dev/block/bootdevice/by-name/cache";

class FactoryResetTest : public Phone {
 protected:
  FactoryResetTest() { init_modem_interface(0); }

  // Makes it a phone in use, with a link that leads to the items.
  void use() {
    for (const std::string folder : {"/data/data", "/persist-rz/mms", "/persist-rz/pki", "/persist-rz/app_hash",
                                     "/cache/recovery", "/data/property", "/data/data/com.wsandroid.suite.tav"}) {
      fs::create_directories(root_ + folder);
      ASSERT_TRUE(sim::write_file(root_ + folder + "/persist.x", "old"));
    }
    fs::remove(root_ + "/data/link");
    fs::create_directory_symlink("../sim/items", root_ + "/data/link");
    for (unsigned index : {3, 10, 101, 23}) device().items.set(index, std::string(1, index != 23));
    device().items.set(9, "ABCDEF123456");
  }
  void set(const std::string& name, const std::string& value) { device().properties.set_at_boot(name, value); }
  int lines(const std::string& text) { return logged(text) + logged(ANDROID_LOG_ERROR, text); }
  bool there(const std::string& path) { return fs::exists(root_ + path); }
  // What a reset leaves: the status, the flags, the serial number and the files.
  std::string left() {
    std::string text = std::to_string(get_factory_status());
    for (unsigned index : {3, 10, 101, 23}) text += device().items.get(index, 1)[0] ? "1" : "0";
    std::set<std::string> names;
    for (const char* folder : {"/data", "/data/property", "/cache", "/persist-rz/pki", "/persist-rz/app_hash"})
      for (const auto& entry : fs::directory_iterator(root_ + folder)) names.insert(entry.path());
    for (const std::string& name : names) text += " " + name.substr(root_.size());
    return text + " " + device().items.get(9, 12);
  }
  int request(const std::string& number) {
    rzcmd_request req = request_of(4002, number);
    rzcmd_response rsp = {};
    service_handler(&req, &rsp);
    device().threads.await_none();
    return rsp.result;
  }
};

TEST_F(FactoryResetTest, TheWholeCycle) {
  use();
  ASSERT_EQ(0, request("1"));
  EXPECT_EQ("refused reboot master-clear", device().power.history().back());
  EXPECT_TRUE(there("/persist-rz/mms/persist.x")) << "the hidden menu's reset keeps it";
  device().reboot();
  device().clock.hold_sleeps();
  EXPECT_EQ(0, sfactoryreset());
  EXPECT_EQ("50000 /data/dbdump /data/mtslog /data/property ABCDEF123456", left());
  for (const char* wizard : {"", "1", "2"}) {
    device().clock.await_waiters();
    EXPECT_EQ(5, get_factory_status());
    set("sys.rzsetupwizard.status", wizard);
    device().clock.advance(500'000);
  }
  device().threads.await_none();
  EXPECT_STREQ("01256", device().items.get(79, 2048).c_str());
  EXPECT_EQ(1, lines("setup wizard is clicked, rzsetupwizard status : 2"));
}

TEST_F(FactoryResetTest, StatusesAndRefusals) {
  const std::tuple<int, const char*, const char*, const char*, int> rows[] = {
      {3, "dev.bootcomplete", "1", "0. Change", 50},
      {4, "dev.bootcomplete", "0", "0. Change", 41},
      {4, "sys.bluefactorymode", "1", "1. Do not change", 41},
      {3, "ro.minios.bootstart", "1", "0. Do not change", 31},
      {4, "ro.fwx.bootstart", "1x", "0. Do not change", 41}};
  for (const auto& [status, name, value, line, after] : rows) {
    device().reboot();
    set(name, value);
    set_factory_status(status);
    set_frst_running(1);
    EXPECT_EQ(0, frst_run(status));
    EXPECT_EQ(after, get_factory_status() * 10 + get_frst_running()) << name;
    EXPECT_EQ(1, lines("[frst] sys.bluefactorymode : "s + line + " FRST status")) << name;
  }
  set("sys.bluefactorymode", "1");
  set_factory_status(3);
  EXPECT_EQ(0, sfactoryreset());
  use();
  device().modem.set_answer(8, "0");
  EXPECT_EQ(1, request("1"));
  EXPECT_EQ("11110 /cache", left().substr(0, 12));
  device().modem.clear_answers();
  EXPECT_EQ(0, hidden_factoryreset());
  const std::vector<std::string> commands = device().shell.history();
  const std::string wipe =
      "am broadcast -a android.intent.action.MASTER_CLEAR -n android/com.android.server.MasterClearReceiver";
  EXPECT_EQ((std::vector<std::string>{"rm -rf /data/data/com.wsandroid.suite.tav", "rm -rf /persist-rz/mms", wipe}),
            std::vector<std::string>(commands.end() - 3, commands.end()));
  EXPECT_FALSE(there("/persist-rz/mms"));
  set("ro.factorytest", "2");
  EXPECT_EQ(1, request("5") * request("1x"));
  frst_factory_item_clear();
  EXPECT_EQ(1, get_frst_running());
  for (const char* number : {"", "0", "6", "-1"}) EXPECT_EQ(2, request(number)) << number;
  // A store that takes nothing more, or gives nothing, ends a reset; it does not go round for ever.
  device().items.set(2, "\xFF");
  EXPECT_EQ(1, sfactoryreset());
  device().items.set(2, std::string(1, '\0'));
  device().faults.fail("set_ftm_item 2");
  EXPECT_EQ(1, sfactoryreset());
  device().faults.clear();
  device().items.set(2, "\5");
  device().faults.fail("start_thread");
  EXPECT_EQ(-1, factoryreset_crst() * sfactoryreset());
}

TEST_F(FactoryResetTest, TheDeletionServiceHasFiveSeconds) {
  const std::tuple<int, bool, const char*, int, unsigned, const char*> rows[] = {
      {5000, true, "", 0, 20, "factory_delete_result"},
      {5001, true, "0", 1, 20, "sys.tav.factory_delete property Error! check the factory_delete rc porting."},
      {0, false, "", 1, 1, "remaining_dir_count diffent Error! check the factory_delete fwx porting."},
      {0, false, "0", 0, 1, "Skip the dir_count check"}};
  for (const auto& [delay, deletes, value, result, looks, line] : rows) {
    use();
    set(kDelete, value);
    device().deletion_service.set_delay(delay);
    device().deletion_service.set_deletes(deletes);
    const uint64_t slept = device().clock.slept();
    EXPECT_EQ(result, factory_delete()) << delay << line;
    EXPECT_EQ(slept + looks * 250'000, device().clock.slept());
    EXPECT_EQ(1, lines(line)) << line;
  }
  EXPECT_EQ(1, lines("/data/link")) << "the last one has left it";
  device().faults.fail("property_set " + kDelete);
  EXPECT_EQ(1, factory_delete());
  EXPECT_EQ(3, dir_count("/data/data"));
}

TEST_F(FactoryResetTest, TheCardIsErasedOrSkipped) {
  const std::tuple<const char*, std::vector<std::string>, bool, const char*> rows[] = {
      {"a", {"foreign"}, true, "erased external sdcard exclued defualt contents !!!"},
      {"b", {}, false, "formated external sdcard !!!"},
      {"c", {}, true, "failed to format external sdcard !!!"},
      {"d", {"protected"}, false, "external sdcard is not inserted, skiped sdcard format !!!"}};
  for (const auto& [name, words, refuses, line] : rows) {
    ASSERT_TRUE(device().card.insert(name, words));
    const std::string mine = "/storage/" + device().card.state().id + "/mine";
    sim::write_file(root_ + mine, "m");
    if (refuses) device().faults.fail("volume partition");
    use();
    const int failed = has(line, "failed");
    EXPECT_EQ(failed, erase_external_sdcard());
    EXPECT_EQ(1, lines(line)) << line;
    EXPECT_EQ(has(line, "skiped"), there(mine)) << line;
    SetSDCardMount();
    EXPECT_EQ(failed, request("1"));
    EXPECT_EQ(failed == 1, there("/cache/recovery")) << line;
    device().faults.clear();
  }
  device().card.pull();
  EXPECT_EQ(0, erase_external_sdcard());
}

TEST_F(FactoryResetTest, AWipeThatWasKilledIsFinishedAtTheNextBoot) {
  use();
  sim::write_file(root_ + "/sim/wiping", "");
  device_.reset();
  std::string error;
  device_ = sim::SimulatedDevice::open(root_, &error);
  EXPECT_FALSE(there("/data/data") || there("/cache/recovery/persist.x") || there("/sim/wiping"));
  EXPECT_TRUE(there("/data/.OP/userdata.ubid") && there("/sim/items"));
}

TEST_F(FactoryResetTest, TheCacheIsErasedOnce) {
  sim::write_file(root_ + kCache, std::string(100'000, 'c'));
  sim::write_file(root_ + "/cache/build.prop", "new");
  device().partitions.interrupt(3);
  for (int status : {5, 6, 6}) {
    set_factory_status(status);
    xboot_data_init();
    EXPECT_EQ(status == 5, there("/cache/build.prop"));
  }
  device().threads.await_none();
  EXPECT_EQ(std::string(100'000, '\0') + "refused reboot", content(root_ + kCache) + device().power.history().back());
  EXPECT_EQ(1, lines("Need a cache partition erase!") * lines("Not found minios_romcopy_image"));
  device().faults.fail("ioctl", 1);
  EXPECT_EQ(-3, erase_partition());
  sim::write_file(root_ + kCache, std::string(1999, 'c'));
  EXPECT_EQ(-2, erase_partition());
  fs::remove(root_ + kCache);
  EXPECT_EQ(-1, erase_partition());
  // What cannot be erased does not restart the phone at every boot.
  sim::write_file(root_ + kCache, std::string(4096, 'c'));
  fs::rename(root_ + "/cache", root_ + "/cache2");
  fs::create_directory_symlink("cache2", root_ + "/cache");
  EXPECT_EQ(-3, erase_partition());
  FILE* outside = tmpfile();  // not the phone's
  uint64_t range[] = {0, 0};
  EXPECT_EQ(-1, os_ioctl(fileno(outside), BLKDISCARD, range));
  fclose(outside);
}

TEST_F(FactoryResetTest, AResetThatFailsAnywhereAndIsRunAgainEndsAsOneThatDoesNot) {
  for (const char* number : {"1", "5"}) {
    std::string good;
    for (int n = 0; device().faults.list().empty(); ++n) {  // 0 fails none
      use();
      device().properties.remove(kDelete);
      if (n > 0) device().faults.fail_nth(n);
      request(number);
      if (!device().faults.list().empty()) break;
      if (n > 0) EXPECT_EQ(0, request(number)) << number << " " << n;
      if (n == 0) good = left();
      EXPECT_EQ(good, left()) << number << " " << n;
    }
    EXPECT_EQ(*number == '1' ? "5" : "3", good.substr(0, 1));
    device().faults.clear();
  }
}

TEST_F(FactoryResetTest, AResetThatIsKilledAnywhereAndIsRunAgainEndsAsOneThatIsNot) {
  use();
  EXPECT_EQ(0, request("1"));
  const std::string good = left();
  const auto open = [this] {
    std::string error;
    device_ = sim::SimulatedDevice::open(root_, &error);
    device().clock.make_virtual();
    device().syncs_writes = false;
  };
  for (int n = 1, status = 0; n == 1 || !WIFEXITED(status); ++n) {
    use();
    device_.reset();  // a process is forked without threads
    const pid_t child = fork();
    if (child == 0) {
      open();
      device().faults.set({.passes = n - 1, .kills = true});
      request("1");
      _exit(0);
    }
    waitpid(child, &status, 0);
    open();
    EXPECT_EQ(0, request("1")) << n;
    EXPECT_EQ(good, left()) << n;
  }
}

}  // namespace
}  // namespace atd
