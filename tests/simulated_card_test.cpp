// The simulated SD card, the volume daemon, and the storage chip, as the library and a person use them.
#include <fcntl.h>
#include <scsi/sg.h>

#include "platform/os.h"
#include "simulator/control.h"
#include "tests/phone.h"

namespace atd {
namespace {

class CardTest : public Phone {
 protected:
  // What a client hears up to its answer, with "|" between the messages.
  std::string ask(const std::string& command) {
    Peer peer(root_ + "/dev/socket/vold");
    peer.line("7 volume " + command);
    std::string all, text;
    for (; !has(text, " 7 ") && text[0] != '('; all += (all.empty() ? "" : "|") + text) text = peer.next();
    return all;
  }

  // Card detect and the nodes, sectors, the property, and the mount.
  std::vector<std::string> seen() {
    std::string text = content(root_ + "/sys/devices/soc.0/7864900.sdhci/mmc_host/mmc1/cd_status").substr(0, 1);
    for (const char* node : {"/dev/block/mmcblk0", "/dev/block/mmcblk0p1"})
      text += access((root_ + node).c_str(), 0) ? "" : "+";
    text += " " + content(root_ + "/sys/block/mmcblk0/size") + " " + device().properties.get("vold.publicvolume_uuid");
    const std::string mounts = content(root_ + "/proc/mounts");
    const size_t line = std::min(mounts.find("public:"), mounts.size());
    return words(text + " " + mounts.substr(line, mounts.find(",dir") - line));
  }
};

// A verb or a command to the daemon, a part of what is told, and what is then seen where that has changed.
constexpr char kSteps[] = R"(card pull;no card is in the slot;0
card insert card foreign;mounted at;1++ 2097152 1A2B-3C4D public:179,1 /storage/1A2B-3C4D vfat rw
mount public:179,1 2 0;405 7 Volume is busy;
unmount public:179,1;651 public:179,1 5|651 public:179,1 0|200 7 Command succeeded;1++ 2097152 1A2B-3C4D
card insert b protected disk size=64 id=0000-00AF unmounted;b,;1+ 131072
mount public:179,0;|651 public:179,0 3|200 7 Comm;1+ 131072 0000-00AF public:179,0 /storage/0000-00AF vfat ro
mount public:179,1;406 7 Volume not found;
card insert ../b;is no name of a card;
card insert b plain;;1+ 131072 0000-00AF public:179,0 /storage/0000-00AF vfat rw
partition disk:179,0 public;|659 public:179,0|650 public:179,1 0 "disk:179,0" ""|651 public:179,1 0|200 7;1++ 131072
card insert b plain blank unmounted;b, not mounted;
mount public:179,1 2 0;651 public:179,1 1|651 public:179,1 6|402 7 Media is blank;
format public:179,1 vfat;651 public:179,1 4|651 public:179,1 0|200 7 Command succeeded;
card insert b dummy;a dummy;1
card insert;mounted at;1++ 2097152 1A2B-3C4D public:179,1 /storage/1A2B-3C4D vfat rw)";

TEST_F(CardTest, ThePhoneFollowsTheCardThroughVerbsCommandsBootsAndKills) {
  std::istringstream rows(kSteps);
  std::string step, told, now, after, error;
  for (std::string out; getline(getline(getline(rows, step, ';'), told, ';'), now); out.clear()) {
    auto add = [&](const ControlReply& reply) { return out += reply.out + reply.error, true; };
    step.starts_with("card") ? sim::run_verb(device(), {words(step), false, ""}, add) : void(out = ask(step));
    if (!now.empty()) after = now;
    EXPECT_TRUE(has(out, told)) << step << ": " << out;
    EXPECT_EQ(words(after), seen()) << step;
  }
  for (const bool killed : {false, true}) {
    device_.reset();
    if (killed) rename((root_ + "/storage/1A2B-3C4D").c_str(), (root_ + "/sim/cards/card/files").c_str());
    device_ = sim::SimulatedDevice::open(root_, &error);
    EXPECT_EQ(words(after), seen()) << error;
    EXPECT_NE("", content(root_ + "/storage/1A2B-3C4D/stranger.txt"));
  }
}

TEST_F(CardTest, TheDaemonIsLateFailsAndMisbehaves) {
  const auto before = descriptors();
  device().faults.fail("volume unmount", 1);
  EXPECT_EQ("400 7 Command failed", ask("unmount x"));
  for (const auto& [late, readable] : {std::pair{19999, 1}, {20000, 0}}) {
    device().faults.set({sim::Call::volume, "unmount", 0, 1, late});
    const int fd = os_connect_local("vold");
    EXPECT_EQ(19, write(fd, "7 volume unmount x", 19));
    EXPECT_EQ(readable, os_wait_readable(fd, 20000000)) << late;
    close(fd);
  }
  using enum sim::DaemonManner;
  // The first one waits for the late one's end.
  for (const auto& [how, answer] : {std::pair{normal, "500 7 "}, {crash, "(closed)"}, {chatty, "640 disk:8,0 8|500"}}) {
    device().volume_daemon.behave(how);
    EXPECT_EQ(0u, ask("").find(answer)) << answer;
  }
  device().volume_daemon.behave(split);
  const int fd = os_connect_local("vold");
  EXPECT_EQ(2, write(fd, "7", 2));
  char piece[32] = {};
  std::string pieces;
  for (ssize_t got = 5; got == 5; pieces += "|" + std::string(piece, size_t(got))) got = read(fd, piece, 32);
  EXPECT_EQ("|500 7| Comm|and n|ot re|cogni|zed", pieces.substr(0, pieces.size() - 1));
  device().volume_daemon.behave(gone);
  EXPECT_EQ(-1, os_connect_local("vold"));
  device_.reset();
  EXPECT_GE(before, descriptors()) << "the phone's own are closed";
  close(fd);
}

TEST_F(CardTest, AFullOneAndAProtectedOneTakeNothing) {
  for (const char* made : {"default size=8", "default full", "default plain protected"}) {
    device().card.insert("card", words(made));
    struct statfs size = {};
    EXPECT_EQ(has(made, "full") ? 0u : 252u, (os_statfs("/storage/1A2B-3C4D", &size), size.f_bfree));
    const int fd = open(device_path("/storage/1A2B-3C4D/new"), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
    EXPECT_EQ(has(made, "full") ? ENOSPC : has(made, "plain") ? EBADF : 0, write(fd, "x", 1) == 1 ? 0 : errno);
    close(fd);
    EXPECT_EQ(has(made, "size") ? 0 : -1, remove(device_entry("/storage/1A2B-3C4D/new")));
    EXPECT_EQ(has(made, "plain") ? -1 : 0, remove(device_entry("/storage/1A2B-3C4D/LOST.DIR")));
  }
}

TEST_F(CardTest, TheChipSaysWhoItIs) {
  const int fd = open(device_path("/dev/sg3"), O_RDWR | O_CLOEXEC);
  for (const unsigned size : {36u, 16u, 0u}) {
    unsigned char command[] = {0x12, 0, 0, 0, 36, 0};
    char bytes[37] = {};
    sg_io_hdr_t io = {.interface_id = 'S', .dxfer_direction = SG_DXFER_FROM_DEV, .cmd_len = 6};
    io.dxfer_len = 36, io.dxferp = bytes, io.cmdp = command;
    device().scsi.set({.vendor = "LONGER NAME", .size = size, .fails = size == 0});
    EXPECT_EQ(0, os_ioctl(fd, SG_IO, &io)) << size;
    EXPECT_EQ(size == 0 ? "" : std::string("LONGER NSIMULATED UFS   0100").substr(0, size - 8), bytes + 8);
    EXPECT_TRUE(io.resid == 36 - int(size) && io.status == (size == 0 ? 2 : 0)) << io.resid << " " << io.status;
  }
  close(fd);
}

}  // namespace
}  // namespace atd
