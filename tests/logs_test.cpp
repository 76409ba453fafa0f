// Log collection: what is copied where, and what does not stop it; the touch result, crash records, MTS copies.
#include <fcntl.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <fstream>
#include <random>
#include <tuple>

#include "atd.h"
#include "logs/line_copy.h"
#include "platform/log.h"
#include "platform/os.h"
#include "tests/phone.h"

using namespace std::string_literals;
namespace fs = std::filesystem;

namespace atd {
namespace {

std::string times(int n, const std::string& part) { return n > 0 ? part + times(n - 1, part) : ""; }

class LogsTest : public Phone {
 protected:
  LogsTest() {
    fs::remove_all(root_ + "/data/logger");
    started_in_ = open(".", O_RDONLY | O_CLOEXEC);
    EXPECT_EQ(0, chdir(root_.c_str()));
    SLOGI("the buffer's file is open");
    __android_log_print(ANDROID_LOG_INFO, "x", "and this one");
    open_before_ = descriptors();
  }
  ~LogsTest() override {
    EXPECT_EQ(open_before_, descriptors()) << "something is left open";
    EXPECT_EQ(0, fchdir(started_in_));
    close(started_in_);
  }

  void link(const std::string& path, const std::string& target) { fs::create_symlink(target, root_ + path); }
  std::string read(const std::string& path) { return content(root_ + path); }
  bool exists(const std::string& path) { return fs::exists(fs::symlink_status(root_ + path)); }
  void copy(std::string destination, std::string source) { copy_log(destination.data(), source.data()); }

 private:
  int started_in_;
  ptrdiff_t open_before_;
};

// The copy whose outcome counts.
std::string plain_copy(std::string text) {
  char* bytes = nullptr;
  size_t size = 0;
  FILE* in = fmemopen(text.data(), text.size(), "r");
  FILE* out = open_memstream(&bytes, &size);
  for (char line[256]; fgets(line, sizeof line, in);) fputs(line, out);
  fclose(in);
  fclose(out);
  const std::string result(bytes, size);
  free(bytes);
  return result;
}

TEST(LineCopy, LosesWhatALineByLineCopyLoses) {
  std::mt19937 random(11);
  for (int round = 0; round < 4000; ++round) {
    // Lines and NULs lie around the ends of pieces.
    std::string text(1 + random() % 1200, 'a');
    for (size_t line = random() % 4; line > 0; --line) text[random() % text.size()] = '\n';
    for (const size_t end : {0, 255, 510, 765}) {
      const size_t at = end + random() % 5;
      if (random() % 2 && at >= 2 && at - 2 < text.size()) text[at - 2] = "\0\n"[random() % 2];
    }
    const std::string expected = plain_copy(text);
    for (const size_t block : {size_t{1}, size_t{254}, size_t{255}, size_t{256}, 1 + random() % text.size()}) {
      LineFilter filter;
      std::string result;
      for (size_t at = 0; at < text.size(); at += block) {
        std::string part = text.substr(at, block);
        result += part.substr(0, filter.filter(part.data(), part.size()));
      }
      ASSERT_EQ(expected, result) << testing::PrintToString(text) << " in blocks of " << block;
    }
  }
}

TEST_F(LogsTest, AFileIsCopiedInBlocksAsByLines) {
  for (const size_t nul : {65279u, 65535u, 65536u, 65537u, 65790u, 131071u}) {
    for (const char before : "\n.") {
      std::string text = times(1100, std::string(126, 'b') + "\n"s);
      text[nul] = '\0';
      text[nul - 3] = before;
      text.replace(nul + 1, 200, std::string(200, 'c'));
      put("/data/logger/file", text);
      copy("/data/copy/", "/data/logger/");
      ASSERT_TRUE(plain_copy(text) == read("/data/copy/file")) << nul << before;
    }
  }
}

TEST_F(LogsTest, AnInternalSaveHasEverythingInItsOrder) {
  const char* const folders[] = {LOGGER_DIR, ANR_DIR,    DONTPANIC_DIR, TOMBSTONES_DIR, DBDUMP_DIR,
                                 MTS_DIR,    NVDUMP_DIR, TOUCH_DIR,     ENCRYPT_DIR,    CKERROR_DIR};
  for (const std::string folder : folders) put(folder + "sub/file", folder);
  __android_log_print(ANDROID_LOG_WARN, "long-tag-of-a-program", "main line");
  char date[30];
  set_directory_name(date);
  ASSERT_EQ(0, logsave("/data/factory/logsave/"));
  const std::string base = "/data/factory/logsave/"s + date + "/";
  const auto* folder = folders;
  for (const std::string& name : words("logger anr dontpanic tombstons dbdump mts nvdump touch encryption"))
    EXPECT_EQ(*folder++, read(base + name + "/sub/file"));
  EXPECT_FALSE(exists(base + "ckerror"));
  EXPECT_TRUE(has(read(base + "system.log"), " I/Atd     (")) << read(base + "system.log");
  EXPECT_TRUE(has(read(base + "main.log"), " W/long-tag-of-a-program(")) << read(base + "main.log");
  EXPECT_TRUE(has(read(base + "kernel.log"), "Kernel command line: console=ttyMSM0"));
  EXPECT_TRUE(has(read(base + "property.log"), "[ro.model.name]: [SIM-1]") && exists("/data/factory/logsave.zip"));
  std::vector<std::string> commands;
  for (const char* name : {"main", "system", "radio", "events"}) {
    commands.push_back("/system/bin/logcat -d -v time -b "s + name + " -f " + base + name + ".log -n 4 -r 4096");
    EXPECT_EQ(1, logged("Save "s + name + " log to " + base + name + ".log\n"));
  }
  commands.insert(commands.end(), {"/system/bin/dmesg > " + base + "kernel.log",
                                   "/system/bin/getprop > " + base + "property.log", "sync"});
  EXPECT_EQ(commands, device().shell.history());
  EXPECT_EQ(1, logged("from /data/anr/sub/ to " + base + "anr/sub/ copy done!!!\n"));
  fs::remove(root_ + "/data/factory/logsave.zip");
  put("/data/factory/logsave.zip/file");
  EXPECT_EQ(1, logsave("/data/factory/logsave/"));
  EXPECT_EQ(1, errors("logsave_makezip: Error Opening Zip file (data/factory/logsave.zip)"));
  char archive[] = "data/x.zip", missing[] = "/data/missing";
  EXPECT_EQ(1, logsave_makezip(archive, missing));
  EXPECT_EQ(1, errors("logsave_makezip: Error Opening Directory (/data/missing)"));
}

TEST_F(LogsTest, TheTargetTellsTheKindOfSave) {
  put("/data/nvdump/nv", "n");
  put("/data/tombstones/t", "t");
  put("/cache/encryption_log/e", "e");
  char date[30];
  set_directory_name(date);
  const std::tuple<const char*, int, std::string> rows[] = {
      {"/storage/A/", 0, "/storage/A/"s + date + "/tombstones/t /storage/A/" + date + "/encrypt/e"},
      {"/storage/B", 0, "/storage/B/"s + date + "/nvdump/nv"},
      {"/storage/nvdump/", 0, "/storage/nvdump/nv"},
      {"/data/my-nvdump", 0, "/data/my-nvdump/nv"},
      {"/storagX/", 0, "/storagX/"s + date + "/tombstones/t"},
      {"/data/factory/logsave", 1, "/data/factory/logsave"},
      {"/data/elsewhere/", 1, "/data/elsewhere"},
  };
  for (const auto& [target, result, files] : rows) {
    EXPECT_EQ(result, logsave(target)) << target;
    for (const std::string& file : words(files)) EXPECT_TRUE(exists(file)) << file;
  }
  EXPECT_EQ(2, errors("unknown sdcard...\n"));
  EXPECT_EQ(0, logsave("/data/nvdump/")) << "onto itself";
  EXPECT_EQ("n", read("/data/nvdump/nv"));

  char out[110];
  EXPECT_EQ(1, get_external_logsave_path(out));
  EXPECT_EQ(1, errors("[External sd log save] sdcard is not inserted"));
  ASSERT_TRUE(device().card.insert("c", {"full", "id=12AB-34CD"}));
  EXPECT_EQ(0, logsave("/storage/12AB-34CD/logsave"));
  ASSERT_TRUE(device().card.insert("d", {"id=56AB-34CD"}));
  EXPECT_EQ(0, get_external_logsave_path(out));
  EXPECT_STREQ("/storage/56AB-34CD/logsave", out);
}

TEST_F(LogsTest, WhatCannotBeCopiedIsLeftOut) {
  const std::string name(255, 'n'), deep = times(120, "/d") + "/";
  put("/data/logger/" + name);
  put("/data/logger/" + name.substr(0, 200) + "/" + std::string(41, 'f'), "255 characters");
  put("/data/logger/" + name.substr(0, 200) + "/" + std::string(42, 'g'));
  put("/data/logger" + deep + "f");
  for (const char* file : {"/data/logger/a", "/data/logger/z", "/data/other/o"}) put(file, file);
  ASSERT_EQ(0, mkfifo((root_ + "/data/logger/pipe").c_str(), 0600));
  put("/data/copy/taken/keep");
  put("/data/logger/taken/x");
  put("/data/logger/there");
  for (const char* row :
       {"logger/round round", "logger/self .", "logger/up ../../data", "logger/o /data/other", "logger/out /etc/passwd",
        "logger/l /data/other/o", "other/back ../logger", "copy/there /data/other/o", "copy/d /data/other"})
    link("/data/" + words(row)[0], words(row)[1]);
  copy("/data/copy/", "/data/logger/");
  for (const char* file : {"a", "z"}) EXPECT_EQ("/data/logger/"s + file, read("/data/copy/"s + file));
  EXPECT_EQ("/data/other/o/data/other/o", read("/data/copy/o/o") + read("/data/copy/l"));
  EXPECT_EQ("255 characters", read("/data/copy/" + name.substr(0, 200) + "/" + std::string(41, 'f')));
  EXPECT_TRUE(exists("/data/copy/taken/keep") && exists("/data/copy/taken/x"));
  for (const std::string& none : {name, name.substr(0, 200) + "/" + std::string(42, 'g'), "pipe"s, "round"s, "self"s,
                                  "up/logger"s, "up/copy/taken"s, "o/back"s, "out"s})
    EXPECT_FALSE(exists("/data/copy/" + none)) << none;
  EXPECT_EQ("/data/other/o", read("/data/other/o"));
  EXPECT_FALSE(exists("/data/other/d")) << "a link of the target leads nowhere";
  fs::remove(root_ + "/data/copy/d");
  copy("/data/copy/", "/data/logger/");
  EXPECT_TRUE(exists("/data/copy" + deep + "f"));
  copy("/data/no/folder/", "/data/nothing/");
  EXPECT_EQ(1, errors("copy_log: do not open src file!!! : /data/nothing/\n"));
  EXPECT_EQ(1, logged("from /data/nothing/ to /data/no/folder/ copy done!!!\n"));
}

TEST_F(LogsTest, AFullDiskLeavesNothingOpen) {
  put("/data/logger/big", std::string(3 << 20, 'b'));
  put("/data/logger/small", "s");
  signal(SIGXFSZ, SIG_IGN);
  struct rlimit before;
  getrlimit(RLIMIT_FSIZE, &before);
  const struct rlimit limit = {2 << 20, before.rlim_max};
  setrlimit(RLIMIT_FSIZE, &limit);
  copy("/data/copy/", "/data/logger/");
  EXPECT_EQ(-1, copy_file("/data/logger/big", "/data/big"));
  setrlimit(RLIMIT_FSIZE, &before);
  EXPECT_EQ("s", read("/data/copy/small"));
  EXPECT_EQ(2u << 20, fs::file_size(root_ + "/data/copy/big"));
  EXPECT_EQ(1, errors("[copy_log] Error : Can not copy /data/logger/big. errno 27(File too large)\n"));
  EXPECT_EQ(1, errors("copy failed. write error from (/data/logger/big)"));
}

TEST_F(LogsTest, ErasingLeavesLinksAlone) {
  const std::string name(230, 'n');
  for (const char* file : {"anr/a", "anr/sub/b", "system/ckerror/c", "factory/logsave/1/x", "factory/logsave.zip",
                           "logger/l", "logger/sub/s", "outside/o"})
    put("/data/"s + file);
  put("/data/nvdump/" + name + "/too-long-a-name");
  put("/data/dbdump/linked/file");
  link("/data/dbdump/linked/link", "/data/outside");
  __android_log_print(ANDROID_LOG_INFO, "x", "in main");
  logsave_erase();
  for (const char* gone :
       {"anr", "system/ckerror", "factory/logsave", "factory/logsave.zip", "logger/l", "dbdump/linked/file"})
    EXPECT_FALSE(exists("/data/"s + gone)) << gone;
  for (const std::string& kept :
       {"logger/sub/s"s, "dbdump/linked/link"s, "outside/o"s, "nvdump/" + name + "/too-long-a-name"})
    EXPECT_TRUE(exists("/data/" + kept)) << kept;
  EXPECT_EQ(1, errors("[Delete_Folder] Error : Too long a path : too-long-a-name\n"));
  EXPECT_EQ(1, logged("delete /data/system/ckerror/\n") * logged("delete /data/nvdump/.\n"));
  EXPECT_EQ((std::vector<std::string>{"logcat -b main -c", "logcat -b system -c", "logcat -b radio -c",
                                      "logcat -b events -c", "logcat -b packet -c", "rm /data/logger/*", "sync"}),
            device().shell.history());
  EXPECT_EQ("1", device().properties.get("persist.service.main.enable"));
  EXPECT_EQ(-1, Delete_Folder("/data/anr/"));
  // Links of the phone count for a relative path, too.
  fs::remove_all(root_ + "/data/factory");
  link("/data/factory", "/data/outside");
  EXPECT_EQ(root_ + "/data/outside/logsave.zip", std::string(device_path("data/factory/logsave.zip")));
}

TEST_F(LogsTest, TheTouchResultComesInPieces) {
  char out[2600] = "";
  EXPECT_EQ(-1, (fs::remove_all(root_ + "/data/touch"), scan_auto_touch_result(out)));
  device().items.set_text(4, 30, std::string(30, 'P'));
  put("/data/touch/touch_self_test.txt", times(100, "123456789\n"));
  out[0] = '\0';
  EXPECT_EQ(0, logsave_aat_touch(out));
  EXPECT_EQ(std::string(30, 'P') + " " + times(52, "123456789 "), out);
  EXPECT_EQ("519", read("/data/auto_touch_offset"));
  EXPECT_EQ(1, check_transfer_status(out));
  EXPECT_STREQ("1", out);
  out[0] = '\0';
  EXPECT_EQ(0, scan_auto_touch_result(out));
  EXPECT_EQ(times(48, "123456789 "), out);
  EXPECT_EQ(0, check_transfer_status(out));
  EXPECT_STREQ("0", out);
  put("/data/auto_touch_offset", "99999");
  out[0] = '\0';
  EXPECT_EQ(0, scan_auto_touch_result(out));
  EXPECT_STREQ("", out);
  EXPECT_EQ(1, check_transfer_status(out)) << "nothing was read, so the position stays";
  fs::remove(root_ + "/data/auto_touch_offset");
  device().faults.fail("get_ftm_item 4", 1);
  put("/data/touch/touch_self_test.txt", std::string(511, 'a') + " " + std::string(6000, 'b'));
  out[0] = '\0';
  EXPECT_EQ(0, scan_auto_touch_result(out));
  EXPECT_EQ("pid read error " + std::string(511, 'a') + " " + std::string(2048, 'b') + " ", out);
  strcpy(out, std::string(550, 'x').c_str());
  EXPECT_EQ(0, scan_auto_touch_result(out));
  EXPECT_EQ(std::string(550, 'x') + std::string(2048, 'b') + " ", out) << "as much as there is room for";
}

TEST_F(LogsTest, CrashRecordsAreSavedAndSummed) {
  char out[256];
  int length = -1;
  device().items.set(230,
                     "01234567\x85\xFF\xFF\xFF"
                     "3456");
  EXPECT_EQ(0, get_crash_count(out, &length));
  EXPECT_STREQ("-123", out);
  EXPECT_EQ(4, length);
  EXPECT_EQ(0, erase_crash_count());
  EXPECT_EQ(std::string(16, '\0'), device().items.get(230, 16));
  const char* const texts[] = {"first\n# one\nmore", "\n> two", "alone", "x\n:", "a\n\nb"};
  for (int k = 0; k < 5; ++k) device().items.set_text(unsigned(231 + 4 * k), 7500, std::string(32, 'h') + texts[k]);
  const std::tuple<int, int, std::string> rows[] = {{0, 0, ""},    {-1, 0, ""},       {1, 1, ""},
                                                    {1, 0, "one"}, {2, 0, "one;two"}, {7, 0, "one;two;;;"}};
  for (const auto& [count, result, text] : rows) {
    if (count == 1 && result == 0) put("/data/logger/");
    EXPECT_EQ(result, crash_log_save(out, &length, count)) << count;
    EXPECT_EQ(text, out);
    EXPECT_EQ(int(text.size()), length);
  }
  EXPECT_EQ(1, errors("couldn't makedir directory : /data/logger/crash_info/\n"));
  EXPECT_EQ("\n> two" + std::string(7462, '\0'), read("/data/logger/crash_info/crash_log1.txt"));
  EXPECT_FALSE(exists("/data/logger/crash_info/crash_log5.txt"));
  device().items.set_text(231, 7500, std::string(32, 'h') + "\n##" + std::string(300, 'l'));
  EXPECT_EQ(0, crash_log_save(out, &length, 2));
  EXPECT_EQ(std::string(255, 'l'), out);
  device().faults.fail("get_ftm_item 235", 1);
  EXPECT_EQ(1, crash_log_save(out, &length, 2));
  EXPECT_EQ(1, errors("/data/logger/crash_info/ Read Fail\n"));
  fs::remove(root_ + "/data/logger/crash_info/crash_log0.txt");
  link("/data/logger/crash_info/crash_log0.txt", "/data/outside");
  EXPECT_EQ(1, crash_log_save(out, &length, 1));
  EXPECT_EQ(1, errors("fopen fail : /data/logger/crash_info/crash_log0.txt"));
}

TEST_F(LogsTest, CopiesForTheMtsService) {
  char out[64];
  device().properties.set("mts.curcount", "7");
  for (const auto& [source, name] : {std::pair{"/data/a//", "a"},
                                     {"b", "b"},
                                     {"/", "dummy"},
                                     {"/x/0123456789012345678901234567890123", "0123456789012345678901234567890"}}) {
    EXPECT_EQ(0, set_dest_path(source, out));
    EXPECT_EQ("/data/mtslog/log_00007/"s + name, out);
  }
  fs::remove_all(root_ + "/data/dontpanic");
  put("/data/dontpanic/sub/file", "new");
  put("/data/ramoops", "file");
  fs::remove_all(root_ + "/data/tombstones");
  put("/data/mtslog/log_00007/dontpanic/old");
  link("/data/dontpanic/round", ".");
  link("/data/mtslog/log_00007/ramoops", "/data/other");
  put("/data/other", "keep");
  EXPECT_EQ(0, copy_to_mtslog());
  const std::string numbered = "/data/mtslog/log_00007/";
  EXPECT_FALSE(exists(numbered + "dontpanic/old") || exists(numbered + "dontpanic/round"));
  EXPECT_EQ(0200u, unsigned(fs::status(root_ + numbered + "dontpanic/sub/file").permissions()) & 0600u);
  EXPECT_EQ("file", read(numbered + "ramoops"));
  EXPECT_EQ("keep", read("/data/other"));
  EXPECT_EQ(1, errors("failed to copy /data/tombstones. (No such file or directory)"));
  // The place of such a copy is its source, holds it, or is elsewhere.
  link("/data/linked", "/data/mtslog/log_00007");
  put(numbered + "dontpanic/sub/dontpanic");
  for (const std::string& source : {"/data/mtslog/.."s, "/data/linked/ramoops"s, numbered + "dontpanic/sub/dontpanic"})
    EXPECT_EQ(-1, copy_latest(source.c_str())) << source;
  device().properties.set("mts.curcount", "8");
  put("/data/keep/dontpanic/file");
  link("/data/mtslog/log_00008", "/data/keep");
  EXPECT_EQ(-1, copy_latest("/data/dontpanic"));
  EXPECT_TRUE(exists(numbered + "ramoops") && exists("/data/keep/dontpanic/file"));
  fs::remove(root_ + "/data/mtslog/log_00008");
  put("/data/long", "longer");
  EXPECT_EQ(0, copy_file("/data/other", "/data/long"));
  EXPECT_EQ("keeper", read("/data/long")) << "it is not truncated";
  EXPECT_EQ(-1, copy_file("/data/long", "/data/none/x"));
  EXPECT_EQ(1, errors("copy failed. dest /data/none/x open failed (No such file or directory)"));
  put("/data/deep" + times(125, "/ddd") + "/f");
  EXPECT_EQ(0, copy_dir("/data/deep", "/data/deep/into"));
  EXPECT_TRUE(exists("/data/deep/into" + times(124, "/ddd")) && !exists("/data/deep/into" + times(125, "/ddd")));

  put("/data/mtslogsave.zip");
  mts_log_erase();
  EXPECT_FALSE(exists("/data/mtslog") || exists("/data/mtslogsave.zip"));
  EXPECT_NE(0, mts_log_makezip("name", 4)) << "no platform";
  const std::tuple<const char*, int, int> rows[] = {{"", 2, 2}, {"1", 1, 0}, {"0x", 0, 0}, {"2", 2, 2}};
  for (const auto& [value, status, result] : rows) {
    int got = -1;
    device().properties.set("sys.mts.work", value);
    device().properties.set("mts.act", value);
    EXPECT_EQ(result, mts_get_status(&got)) << value;
    EXPECT_EQ(status, got);
    EXPECT_EQ(*value == '1' ? 0 : 2, mts_log_on() + mts_log_off());
  }
  EXPECT_EQ(3, errors("MTS_LOG_FIAL\n") * errors("MTS_LOG_FAIL\n") / 3);
  cap_screen();
  EXPECT_TRUE(device().shell.history().back().starts_with("screencap /data/mtslog/_mts_screen_cap_20"));
}

TEST_F(LogsTest, AProgramsEndAndAChildsLineAreSeen) {
  put("/system/bin/dies", "#!/bin/sh\nkill -9 $$\n");
  fs::permissions(root_ + "/system/bin/dies", fs::perms::all);
  const char *const dies[] = {"dies", nullptr}, *const fails[] = {"ls", "/none", nullptr};
  EXPECT_EQ(SIGKILL, os_run(dies));
  EXPECT_EQ(SIGKILL, os_system("dies"));
  EXPECT_EQ(2 << 8, os_run(fails));
  SLOGI("before");
  const pid_t child = fork();
  if (child == 0) {
    SLOGE("child %d", getpid());
    _exit(0);
  }
  waitpid(child, nullptr, 0);
  SLOGI("after");
  const std::vector<std::string> lines = device().logs.lines(LOG_ID_SYSTEM);
  ASSERT_LE(3u, lines.size());
  const std::string line = lines[lines.size() - 2];
  EXPECT_TRUE(line.ends_with(" E Atd: child " + std::to_string(child))) << line;
  EXPECT_TRUE(has(line, " " + std::to_string(child) + " ")) << line;
}

TEST_F(LogsTest, LogcatTurnsItsFilesAndFormatsItsLines) {
  for (int i = 0; i < 120; ++i) SLOGI("line %03d", i);
  EXPECT_EQ(0, os_system("logcat -d -b system -v raw -f /data/out -r 1 -n 2"));
  EXPECT_TRUE(read("/data/out").ends_with("line 119\n"));
  EXPECT_TRUE(has(read("/data/out.1"), "line 080\n"));
  EXPECT_FALSE(exists("/data/out.2"));
  EXPECT_EQ(0, os_system("logcat -d -b system -v tag > /data/tag"));
  EXPECT_TRUE(read("/data/tag").ends_with("\nI/Atd     : line 119\n"));
  EXPECT_NE(0, os_system("logcat -d -v odd"));
}

}  // namespace
}  // namespace atd
