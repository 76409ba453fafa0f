// The SD card and the other storage: the exchange with the volume daemon, the walks over the card, sizes.
#include <linux/sockios.h>
#include <sys/ioctl.h>

#include <algorithm>
#include <fstream>
#include <thread>

#include "atd.h"
#include "dispatch/service_handler.h"
#include "tests/phone.h"

using namespace std::string_literals;
namespace fs = std::filesystem;

namespace atd {
namespace {

class StorageTest : public Phone {
 protected:
  void set_id(const std::string& id) { device().properties.set_at_boot("vold.publicvolume_uuid", id); }
  static std::string card(const std::string& path) { return "/storage/A1B2-C3D4" + path; }
  bool exists(const std::string& path) { return fs::exists(fs::symlink_status(root_ + card(path))); }

  // Puts a mounted card with this list and these things besides.
  void put_card(const std::string& list, const std::vector<std::string>& paths = {}) {
    set_id("A1B2-C3D4");
    put("/proc/mounts", "none /dev x x 0 0\n/dev/x /storage/A1B2-C3D4 vfat rw 0 0\n");
    put(card("/RZdefault/Version.txt"), list);
    for (const std::string& path : paths) put(card(path), "1234");
  }
  static std::string times(int n, std::string part) { return n > 0 ? part + times(n - 1, part) : ""; }
};

TEST_F(StorageTest, AnExchangeEndsWithALineOfItsOwn) {
  const std::tuple<std::vector<std::string>, int, std::string> rows[] = {
      {{"20", "0 0 o", "k|"}, 0, ""},  // each piece is one read, "|" stands for NUL
      {{"110 0 a||x|650 disk|199|20|", "200 0 ok|"}, 0, ""},
      {{"599 0 odd|400 0 no|"}, 0, ""},
      {{"600 x|400 0 no|200 0 ok|"}, 1, "VOLD Error 400(Requested action failed)"},
      {{"499 0|"}, 1, "VOLD Error 499(Unknown ~ Refer system/vold/ResponseCode.h)"},
      {{"200 no end"}, 1, "Lost connection to Vold - did it crash?"},
      {{std::string(4095, '2'), "2"}, 1, "[do_cmd] Error : Vold sends a line of more than 4096 bytes"},
      {{"100 " + std::string(4091, 'x') + "|", "200|"}, 0, ""},
  };
  for (auto [pieces, result, error] : rows) {
    int ends[2];
    ASSERT_EQ(0, socketpair(AF_UNIX, SOCK_SEQPACKET, 0, ends));
    for (std::string& piece : pieces) {
      std::replace(piece.begin(), piece.end(), '|', '\0');
      send(ends[1], piece.data(), piece.size(), 0);
    }
    shutdown(ends[1], SHUT_WR);
    EXPECT_EQ(result, do_cmd(ends[0], "volume list")) << pieces[0];
    if (!error.empty()) EXPECT_EQ(1, errors(error)) << error;
    device().logs.clear();
    char sent[64];
    EXPECT_EQ("0 volume list\0"s, std::string(sent, size_t(recv(ends[1], sent, sizeof sent, 0))));
    for (int end : ends) close(end);
  }
  int ends[2];
  ASSERT_EQ(0, socketpair(AF_UNIX, SOCK_STREAM, 0, ends));
  close(ends[1]);
  const auto at_pipe = signal(SIGPIPE, SIG_DFL);
  EXPECT_EQ(1, do_cmd(ends[0], "x")) << "nobody is there, and no signal comes";
  signal(SIGPIPE, at_pipe);
  close(ends[0]);
}

TEST_F(StorageTest, EachLineHasTwentySeconds) {
  int ends[2];
  ASSERT_EQ(0, socketpair(AF_UNIX, SOCK_STREAM, 0, ends));
  std::thread daemon([&] {
    for (const std::string& piece : {"100 begun\0"s, "110 more\0"s, "20"s, ""s}) {
      device().clock.await_waiters();
      device().clock.advance(15'000'000);
      send(ends[1], piece.data(), piece.size(), 0);
      for (int unread = 1; unread > 0;) ioctl(ends[1], SIOCOUTQ, &unread);
    }
  });
  EXPECT_EQ(1, do_cmd(ends[0], "x"));
  daemon.join();
  EXPECT_EQ(2, errors("[TIMEOUT]") + logged("110 more")) << "a line has its time anew, a piece has not";
  for (int end : ends) close(end);
}

TEST_F(StorageTest, TheListIsReadUntilALineThatIsWrong) {
  const std::string format = "Version.txt is not valid format. Token type is like /DeskKitIV/autorun.inf 46";
  const std::string a(1019, 'a');
  const std::tuple<std::string, std::string, std::string> rows[] = {
      {"# x\n\n \t/a 1 more\r\n  #\n/b\tc -2\n/last 3", "R/a R/b\tc ", ""},
      {"/a 2147483647\n/b -2147483648\n/c 2147483648\n/d 1\n", "R/a R/b ", "file size exceeds vaild range"},
      {"/a 4x\n", "", "file size is invalid"},
      {"#" + a + a + "\n/" + a + " 12\n/a" + a + " 12\n/b 1\n", "R/" + a + " ", format},
      {"/a 1\0/x\n\0\n/b 1\n"s, "R/a R/b ", ""},
  };
  for (const auto& [text, paths, error] : rows) {
    device().logs.clear();
    put("/list", text);
    FILE* file = fopen((root_ + "/list").c_str(), "re");
    std::string read;
    for (default_content *next, *entry = read_configure_file(file, "R"); entry; free(std::exchange(entry, next))) {
      read += entry->path + " "s;
      next = entry->next;
      if (next) EXPECT_EQ(entry, next->previous);
    }
    EXPECT_EQ(paths, read);
    fclose(file);
    if (!error.empty()) EXPECT_EQ(1, errors("[read_configure_file] " + error)) << text;
  }
}

TEST_F(StorageTest, ACardHoldsItsDefaultContents) {
  const std::string name = "/a/" + std::string(255, 'n');
  put_card("/a/one 4\n/a/empty 0\n" + name + " 4\n",
           {"/a/one", "/a/empty/", name, "/LOST.DIR/x", "/.android_secure/x", "/Android/data/x", "/RZBackup/x"});
  EXPECT_EQ(0, mmc_mmccheckcontents(nullptr));
  for (const char* stranger : {"/stranger", "/a/LOST.DIR", "/RZdefault/x"}) {
    put(card(stranger) + "/");
    EXPECT_EQ(1, check_default_contents());
    EXPECT_EQ(1, errors("[traverse_and_check_directory] : Unkwnown file exists: " + card(stranger)));
    fs::remove(root_ + card(stranger));
  }
  fs::remove(root_ + card("/a/one"));
  EXPECT_EQ(1, check_default_contents());
  EXPECT_EQ(1, errors("[check_default_contents] default file (/storage/A1B2-C3D4/a/one) not exist"));
}

TEST_F(StorageTest, TheCleanDeletesStrangersAlone) {
  char out[2];
  put_card("/a/one 4\n/b 4\n", {"/a/one", "/LOST.DIR/x", "/b", "/a/two", "/Android/x", "/c/d/e/f", "/empty/"});
  put("/data/keep/file");
  fs::create_directory_symlink("../../data/keep", root_ + card("/link"));
  EXPECT_EQ(0, mmc_mmcfactoryformat(out));
  for (const char* kept : {"/a/one", "/b", "/RZdefault/Version.txt", "/LOST.DIR/x", "/c/d/e"})
    EXPECT_TRUE(exists(kept));
  for (const char* gone : {"/a/two", "/Android/x", "/empty", "/link", "/c/d/e/f"}) EXPECT_FALSE(exists(gone)) << gone;
  EXPECT_TRUE(fs::exists(root_ + "/data/keep/file"));
  fs::remove(root_ + card("/RZdefault/Version.txt"));
  put(card("/RZdefault/Version.txt/"));
  EXPECT_EQ(1, mmc_mmcfactoryformat(out)) << "a list that cannot be read is not an empty one";
  fs::remove(root_ + card("/RZdefault/Version.txt"));
  put("/data/list", "/b 4\n");
  fs::create_symlink("../../../data/list", root_ + card("/RZdefault/Version.txt"));
  EXPECT_EQ(1, mmc_mmcfactoryformat(out)) << "nor is one that a link leads to";
  EXPECT_TRUE(exists("/a/one"));
}

TEST_F(StorageTest, WhatIsTooDeepIsReportedAndStays) {
  const std::string name = "/" + std::string(255, 'n');
  put_card("/a/one 4\n", {"/a/one", "/w", "/x", "/b/Android", times(200, "/d") + "/f"});
  EXPECT_EQ(25, recursive_dir_check(card("").c_str())) << "the list, three files and the deep one";
  // The path gets too long when its beginning is renamed.
  put(card("/n" + times(15, name) + "/"));
  fs::rename(root_ + card("/n"), root_ + card(name));
  for (int size : {25, -1}) {
    EXPECT_EQ(size, recursive_dir_check(card("").c_str()));
    for (const char* stranger : {"/y", "/z"}) put(card(stranger));
    EXPECT_EQ(std::pair(1, 1), std::pair(check_default_contents(), factory_format()));
    for (const char* stranger : {"/w", "/x", "/y", "/z"}) EXPECT_FALSE(exists(stranger)) << stranger;
    put(card(times(260, "/e") + "/"));
  }
  EXPECT_TRUE(exists("/e") && exists(name));
}

TEST_F(StorageTest, TheCardIsFoundAndTested) {
  char out[102];
  put_card("");
  put("/data/outside", "keep");
  EXPECT_EQ(1, mmc_emt(nullptr));
  EXPECT_EQ(1, errors("[mmc_emt] Test Failed (retries 1), (result -1)")) << "the third time";
  put("/dev/block/mmcblk0");
  EXPECT_EQ(0, get_sdcard_path(out));
  EXPECT_STREQ("/storage/A1B2-C3D4/", out);
  EXPECT_EQ(0, mmc_sdcheck(nullptr));
  EXPECT_FALSE(exists("/Test.txt") || exists("/test.txt"));
  for (const char* name : {"/test.txt", "/Test.txt"}) fs::create_symlink("/data/outside", root_ + card(name));
  EXPECT_EQ(0, mmc_sdcheck(nullptr) + SDCardTestStart()) << "a link does not lead out of the card";
  EXPECT_EQ("keep", content(root_ + "/data/outside"));
  for (const char* bad : {"../../data", ".", "..", "a/b", ""}) {
    set_id(bad);
    EXPECT_EQ(1, get_sdcard_path(out)) << bad;
    EXPECT_STREQ("", out);
    EXPECT_EQ(-1, factory_format());
  }
  EXPECT_LT(0, errors("vold.publicvolume_uuid is NULL"));
  EXPECT_EQ(0, errors("Finish read_uuid failed")) << "it is set";
  set_id("A1B2");
  fs::create_directory(root_ + "/storage/A1B2");
  EXPECT_EQ(1, mmc_mmcusedsize(out)) << "another card is mounted";
}

TEST_F(StorageTest, SizesComeFromTheKernel) {
  constexpr char kDetect[] = "/sys/devices/soc.0/7864900.sdhci/mmc_host/mmc1/cd_status", kCommand[] = "/proc/cmdline";
  const auto is_ufs = [](char*) { return mmc_storage_isufs(); };
  const auto ram = [](char* out) {
    rzcmd_request req = request_of(4402, "");
    rzcmd_response rsp = {};
    service_handler(&req, &rsp);
    strcpy(out, rsp.data);
    return rsp.result;
  };
  const std::tuple<int (*)(char*), const char*, const char*, const char*, int> rows[] = {
      {mmc_emmccapacity, "/sys/block/mmcblk0/size", "-5", "", 1},
      {mmc_emmccapacity, "/sys/block/mmcblk0/size", "61071360\n", "29820", 0},
      {mmc_ufscapacity, "/sys/block/sdh/size", "4096\n", "61086", 0},
      {mmc_dummysdcheck, kDetect, "0", "1", 0},
      {mmc_dummysdcheck, kDetect, "1", "0", 0},
      {is_ufs, kCommand, "a androidboot.bootdevice=1.ufshc", "", 1},
      {is_ufs, kCommand, "xandroidboot.bootdevice=1.ufshc ufshc", "", 0},
      {ram, "/proc/meminfo", "MemFree: 1\nMemTotal: 3901234 kB\n", "3809", 0},
      {ram, "/proc/meminfo", "MemFree: 3901234 kB\n", "0", 1},
  };
  for (const auto& [function, path, text, answer, result] : rows) {
    char out[21] = "";
    put(path, text);
    EXPECT_EQ(result, function(out)) << path << " " << text;
    EXPECT_STREQ(answer, out) << path << " " << text;
  }
}

TEST_F(StorageTest, AFileSystemTellsItsSize) {
  for (const auto& [make, mib, place] : {std::tuple{"mkfs.ext4 -qF -b 1024 ", 64, 1048}, {"mkfs.f2fs -q ", 96, 1040}}) {
    put("/image");
    const std::string image = root_ + "/image";
    fs::resize_file(image, uintmax_t(mib) << 20);
    output_of("PATH=$PATH:/usr/sbin:/sbin; " + (make + image) + " 2>&1");
    EXPECT_EQ(uint64_t(mib) << 20, get_fs_size("/image")) << make;
    std::fstream(image, std::ios::in | std::ios::out).seekp(place).put(char(200));
    EXPECT_EQ(0u, get_fs_size("/image")) << make << " with blocks of 2 to the power of 200";
  }
}

}  // namespace
}  // namespace atd
