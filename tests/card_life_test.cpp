// A card's life, seen by the library: the simulated card and its volume daemon are real.
#include <filesystem>

#include "atd.h"
#include "simulator/card/volume_daemon.h"
#include "tests/phone.h"

namespace atd {
namespace {

namespace fs = std::filesystem;
using sim::DaemonManner;

class CardLifeTest : public Phone {
 protected:
  std::string folder() { return root_ + "/storage/" + device().properties.get("vold.publicvolume_uuid"); }
  bool mounted() { return device().card.state().mounted; }
  std::string out_ = std::string(128, '\0');
};

TEST_F(CardLifeTest, ACardIsInsertedCheckedCleanedFormattedAndPulledOut) {
  EXPECT_EQ(1, mmc_emt(nullptr));
  for (const char* retries : {"3", "2", "1"}) {
    EXPECT_EQ(1,
              logged(ANDROID_LOG_ERROR, "[mmc_emt] Test Failed (retries " + std::string(retries) + "), (result -1)"));
  }
  EXPECT_EQ(1, get_sdcard_path(out_.data()));
  for (const char* kind : {"partition", "disk"}) {
    device().card.insert(kind, {kind, "default", "size=64"});
    EXPECT_EQ(0, mmc_mmccheckcontents(nullptr));
    EXPECT_EQ(0, mmc_mmctotalsize(out_.data()));
    EXPECT_STREQ("65536", out_.c_str());
    fs::create_directories(folder() + "/DCIM/Camera/empty");
    sim::write_file(folder() + "/DCIM/stranger.jpg", std::string(1000, 's'));
    EXPECT_EQ(1, mmc_mmccheckcontents(nullptr));
    EXPECT_EQ(0, SetSDCardUnMount());
    EXPECT_FALSE(fs::exists(folder()));
    EXPECT_EQ(1, mmc_mmcfactoryformat(out_.data()));
    EXPECT_EQ(0, get_sdcard_path(out_.data()));  // mounts it
    EXPECT_EQ("/storage/" + device().properties.get("vold.publicvolume_uuid") + "/", out_.c_str());
    EXPECT_EQ(0, mmc_mmcfactoryformat(out_.data()));
    EXPECT_FALSE(fs::exists(folder() + "/DCIM/stranger.jpg"));
    EXPECT_EQ(0, mmc_sdcheck(nullptr));
    const std::string before = folder();
    EXPECT_EQ(0, mmc_mmcformat(out_.data()));
    EXPECT_STREQ("FORMAT:OK", out_.c_str());
    EXPECT_NE(before, folder());
    EXPECT_TRUE(mounted() && fs::is_empty(folder()));
    device().card.pull();
    EXPECT_EQ(-1, IsSDCardInserted());
    EXPECT_EQ(-1, GetSDCardMountStatus());
    EXPECT_EQ(0, mmc_dummysdcheck(out_.data()));
    EXPECT_STREQ("1", out_.c_str());
  }
  device().card.insert("nothing", {"dummy"});
  EXPECT_EQ(0, mmc_dummysdcheck(out_.data()));
  EXPECT_STREQ("0", out_.c_str());
}

TEST_F(CardLifeTest, ALinkInTheCardsPlaceIsNotTheCard) {
  const std::string keep = root_ + "/data/keep";
  fs::create_directory(keep);
  sim::write_file(keep + "/file", "keep");
  device().card.insert("card", {"default"});
  fs::create_symlink("/none", folder() + "/a link");  // and one on the card
  fs::rename(folder(), root_ + "/data/away");
  fs::create_directory_symlink(keep, folder());
  EXPECT_EQ(0, SetSDCardUnMount());
  fs::remove(folder());
  fs::remove(root_ + "/sim/cards/card/files");
  fs::rename(root_ + "/data/away", root_ + "/sim/cards/card/files");
  device().card.insert("card", {"foreign"});
  fs::remove_all(folder());
  fs::create_directory_symlink(keep, folder());
  EXPECT_EQ(0, mmc_mmcformat(out_.data()));
  EXPECT_EQ("keep", content(keep + "/file"));
  EXPECT_EQ(0, SetSDCardUnMount());
  fs::create_symlink("/none", root_ + "/sim/cards/card/files/link");
  device_.reset();
  std::string error;
  device_ = sim::SimulatedDevice::open(root_, &error);
  ASSERT_TRUE(device_) << error;
}

TEST_F(CardLifeTest, ACardThatTakesNoMoreAndOneThatCannotBeMountedFail) {
  const std::pair<const char*, const char*> rows[] = {
      {"full", "[StartSDCardRWTest] Error : Can not write file "},
      {"protected", "[StartSDCardRWTest] Error : Can not open folder "},
      {"blank", "VOLD Error 402("},
      {"corrupt", "VOLD Error 403("},
  };
  for (const auto& [kind, line] : rows) {
    device().logs.clear();
    device().card.insert(kind, {"foreign", kind});
    EXPECT_EQ(1, mmc_emt(nullptr)) << kind;
    std::string log;
    for (const std::string& text : device().logs.lines(3)) log += text;
    EXPECT_TRUE(has(log, line)) << log;
    EXPECT_EQ(-1, StartSDCardRWTest());
  }
  device().card.insert("protected");
  EXPECT_EQ(1, mmc_mmcfactoryformat(out_.data()));
  EXPECT_EQ(1, mmc_mmcformat(out_.data()));
  EXPECT_STREQ("FORMAT:FAIL", out_.c_str());
}

TEST_F(CardLifeTest, AVolumeDaemonMayAnswerInPiecesButNotLateOrByHalves) {
  device().card.insert();
  const auto round = [&](int result) {
    EXPECT_EQ(result, SetSDCardUnMount());
    device().card.unmount();
    EXPECT_EQ(result, SetSDCardMount());
    device().card.mount();
  };
  for (const DaemonManner manner : {DaemonManner::split, DaemonManner::chatty}) {
    device().volume_daemon.behave(manner);
    round(0);
  }
  device().volume_daemon.behave(DaemonManner::gone);
  round(-1);
  device().volume_daemon.behave(DaemonManner::crash);
  EXPECT_EQ(-1, SetSDCardUnMount());
  EXPECT_EQ(1, logged(ANDROID_LOG_ERROR, "Lost connection to Vold - did it crash?"));
  device().card.mount();
  for (const auto& [late_ms, result] : {std::pair(19999, 0), {20000, -1}}) {
    device().faults.set({sim::Call::volume, "unmount", 0, 1, late_ms});
    EXPECT_EQ(result, SetSDCardUnMount()) << late_ms;
    while (mounted()) usleep(100);  // the daemon does it all the same
    device().card.mount();
  }
  EXPECT_EQ(1, logged(ANDROID_LOG_ERROR, "[TIMEOUT]"));
  device().card.unmount();
  device().faults.set({sim::Call::property_get, "vold.publicvolume_uuid", 0, 4});
  const uint64_t slept = device().clock.slept();
  EXPECT_EQ(0, SetSDCardMount());
  EXPECT_EQ(4'000'000u, device().clock.slept() - slept);
  device().faults.fail("wait_readable", 1);
  EXPECT_EQ(-1, SetSDCardUnMount());
  EXPECT_EQ(1, logged(ANDROID_LOG_ERROR, "Error in select (Input/output error)"));
  while (mounted()) usleep(100);
  device().card.mount();
  device().faults.fail("volume partition", 1);
  EXPECT_EQ(1, mmc_mmcformat(out_.data()));
  EXPECT_EQ(1, logged(ANDROID_LOG_ERROR, "VOLD Error 400(Requested action failed)"));
}

TEST_F(CardLifeTest, TheUfsDeviceTellsWhatItIs) {
  device().scsi.set({.vendor = "MAKER", .revision = "0007"});
  EXPECT_EQ(0, do_scsi_command_read("vendor") + do_scsi_command_read("level"));
  EXPECT_EQ(1, logged("ufs Vendor: 8 MAKER   "));
  EXPECT_EQ(1, logged("ufs level: 4 0007"));
  EXPECT_EQ(1, do_scsi_command_read("serial"));
  device().scsi.set({.size = 16});
  EXPECT_EQ(1, do_scsi_command_read("level"));
  EXPECT_EQ(1, logged(ANDROID_LOG_ERROR, "length of request(36) != length from response(16)"));
  device().scsi.set({.fails = true});
  EXPECT_EQ(1, do_scsi_command_read("level"));
  EXPECT_EQ(1, logged(ANDROID_LOG_ERROR, "error while execute INQUIRY command"));
  device().properties.set_at_boot("ro.build.type", "user");
  EXPECT_EQ(1, do_scsi_command_read("level"));
  EXPECT_EQ(1, logged(ANDROID_LOG_ERROR, "ufs firmware: do not read ufs firmware on user build"));
}

TEST_F(CardLifeTest, TheMidToolComesFromTheCard) {
  EXPECT_EQ(0, midauto_sdcheck());  // no card
  device().card.insert();
  EXPECT_EQ(0, midauto_sdcheck());  // no tool
  fs::create_directory(folder() + "/MID_AUTO");
  sim::write_file(folder() + "/MID_AUTO/MIDTestTool_1.0.1.apk", "tool");
  const uint64_t slept = device().clock.slept();
  EXPECT_EQ(0, midauto_sdcheck());
  EXPECT_EQ(20'000'000u, device().clock.slept() - slept);
  EXPECT_EQ("tool", content(root_ + "/data/app/MIDTestTool_1.0.1.apk"));
  EXPECT_EQ("am start -n com.tav.midtesttool/.SkipStartUpWizard", device().shell.history().back());
  for (const char* program : {"pm", "am"}) {
    device().shell.set_exit(program, 3);
    EXPECT_EQ(1, midauto_sdcheck());
    device().shell.set_exit(program, -1);
  }
  const size_t commands = device().shell.history().size();
  device().properties.set_at_boot("vold.publicvolume_uuid", "$(reboot)");
  EXPECT_EQ(0, midauto_sdcheck());
  EXPECT_EQ(commands, device().shell.history().size());
}

}  // namespace
}  // namespace atd
