// A phone's folder that somebody else has made, the shell commands in it, and the phone's tools as a person runs them.
#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>

#include <fstream>

#include "atd.h"
#include "platform/ftm_item.h"
#include "platform/log.h"
#include "platform/os.h"
#include "platform/properties.h"
#include "tests/phone.h"

namespace fs = std::filesystem;
using namespace std::string_literals;

namespace atd {
namespace {

class PhoneFolder : public Phone {
 protected:
  PhoneFolder() {
    fs::create_directories(outside_ + "/folder");
    for (const char* file : {"/file", "/folder/file"}) std::ofstream(outside_ + file) << "theirs";
    device_.reset();
  }
  ~PhoneFolder() override { fs::remove_all(outside_); }

  // Opens the phone; the reason when it cannot be opened.
  std::string open_phone() {
    std::string error;
    device_ = sim::SimulatedDevice::open(root_, &error);
    return error;
  }

  // The phone's place of a name, with the folders above it.
  std::string place(const std::string& name) {
    const std::string path = root_ + "/" + name;
    fs::create_directories(fs::path(path).parent_path());
    return path;
  }

  // Puts a link into the phone at a name, to the outside's folder when the name ends in "/", or else to its file; or a
  // pipe where no start of the link is given. Gives the planted path.
  std::string plant(std::string name, const std::string& start) {
    const bool folder = name.ends_with('/');
    if (folder) name.pop_back();
    const std::string path = place(name);
    if (start.empty()) EXPECT_EQ(0, mkfifo(path.c_str(), 0600));
    else fs::create_symlink(start + (folder ? "/folder" : "/file"), path);
    return path;
  }

  // What lies outside, with its modes and its content.
  std::string around() { return output_of("find " + outside_ + " -ls -type f -exec cat {} +"); }

  void use_library() {
    char buffer[2048];
    get_ftm_item(9, 20, buffer);
    set_ftm_item(9, 20, "01234567890123456789");
    property_get("persist.sys.x", buffer, "");
    system_property_set("persist.sys.x", "ours");
    SLOGI("ours");
    efs_init(0);
    const int fd = efs_open("/nv/item", O_CREAT | O_RDWR, 0644);
    efs_write(fd, "ours", 4);
    efs_close(fd);
    send_key_native(116, 1);
    set_factory_status(3);
    for (const char* path : {"/data/factory/x", "/storage/x", "/cache/x", "/data/tree/file"}) {
      const int file = open(device_path(path), O_WRONLY | O_CREAT | O_TRUNC, 0600);
      if (file < 0) continue;
      EXPECT_EQ(4, write(file, "ours", 4));
      close(file);
    }
  }

  const std::string outside_ = root_ + "-outside";
};

// What the phone keeps for itself. A name that ends in "/" is a folder.
constexpr char kOwn[] =
    "sim/ sim/items/ sim/items/9-20 sim/modem/ sim/modem/flight_mode sim/efs/ sim/efs/nv/ sim/efs/nv/item "
    "sim/lock sim/boots sim/power sim/input.conf sim/modem.conf data/ data/property/ data/property/persist.sys.x "
    "dev/log/ dev/log/main dev/log/system dev/log/system.1 dev/__properties__/ dev/__properties__/sys.x "
    "dev/input/ dev/input/event2 dev/socket/ dev/socket/atd system/ system/build.prop system/bin/ "
    "system/bin/getprop system/bin/rm";

// What the library and its commands use.
constexpr char kOthers[] = "data/factory/ data/tree/sub/ data/tree/file data/tree/prop cache/ storage/ sys/ mpt/";

TEST_F(PhoneFolder, TheOwnFilesAreNoLinksAndNoPipes) {
  const auto before = around();
  for (const std::string& name : words(kOwn)) {
    for (const std::string& start : {outside_, ""s}) {
      fs::remove_all(root_);
      const std::string planted = plant(name, start);
      const std::string error = open_phone();
      if (device_) use_library();
      else EXPECT_EQ(0u, error.find(planted + ": ")) << error;
      device_.reset();
      ASSERT_EQ(before, around()) << name;
    }
  }
}

TEST_F(PhoneFolder, NoLinkLeadsTheLibraryOutside) {
  const auto before = around();
  for (const std::string& start : {outside_, "../../../../../../.." + outside_}) {
    fs::remove_all(root_);
    for (const std::string& name : words(kOthers)) plant(name, start);
    ASSERT_EQ("", open_phone());
    use_library();
    fs::create_directory(device().path("/data/plain"));
    for (const char* file : {"/data/plain/file", "/data/plain/prop"}) std::ofstream(device().path(file)) << "ours";
    for (const char* command : {"cp /data/plain/file /data/tree", "cp -r /data/plain/. /data/tree",
                                "chmod -R 700 /data/tree", "getprop > /data/tree/prop", "logcat -d -f /data/tree/file",
                                "cp /data/plain/file data/tree/sub/new", "rm -r /data/tree/sub/file",
                                "rm -r /data/tree/sub", "rm /data/tree/*", "rm -rf /data/tree /cache /storage"}) {
      os_system(command);
    }
    device_.reset();
    ASSERT_EQ(before, around()) << start;
  }
}

// A person runs the tools, while no daemon looks after the folder.
TEST_F(PhoneFolder, NoLinkOrPipeLeadsAToolOutside) {
  const auto before = around();
  ASSERT_EQ("", open_phone());
  device_.reset();
  struct {
    const char *name, *tools[2];
  } const rows[] = {{"data/property/persist.sys.x", {"setprop persist.sys.x ours", "getprop persist.sys.x"}},
                    {"data/property", {"setprop persist.sys.x ours", "getprop persist.sys.x"}},
                    {"dev/__properties__/sys.x", {"setprop sys.x ours", "getprop"}},
                    {"dev/log/main", {"logcat -d", "logcat -c"}},
                    {"dev/log/main.1", {"logcat -d", "logcat -c"}},
                    {"dev/log", {"logcat -d", "logcat -c"}}};
  for (const auto& row : rows) {
    for (const auto& [end, start] : {std::pair{"", outside_}, {"/", outside_}, {"", ""s}}) {
      fs::remove_all(place(row.name));
      const std::string planted = plant(row.name + std::string(end), start);
      for (const char* tool : row.tools) {
        const std::string out = output_of("timeout 10 " + root_ + "/system/bin/" + tool + " 2>&1; echo $?");
        EXPECT_TRUE(!has(out, "theirs") && !out.ends_with("124\n")) << row.name << ", " << tool << out;
      }
      EXPECT_EQ(before, around()) << row.name;
      fs::remove_all(planted);
    }
  }
}

TEST_F(PhoneFolder, CommandsAreWordsQuotesPatternsAndOneOutput) {
  root_ += "/it's \"a\" phone";
  ASSERT_EQ("", open_phone());
  fs::remove_all(device().path("/data/logger"));
  fs::create_directories(device().path("/data/logger/deep"));
  for (const char* file : {"a b", "c", ".hidden"}) std::ofstream(device().path("/data/logger/") + file) << "x";
  fs::create_symlink(outside_ + "/file", device().path("/data/logger/link"));
  struct {
    const char* command;
    int status;
    const char* out;
  } const rows[] = {{"echo one  'two  $x;' \"th'r'ee\"e > /data/out", 0, "one two  $x; th'r'eee\n"},
                    {"echo /data/logger/* /data/none* '/data/*'>/data/out", 0,
                     "/data/logger/a b /data/logger/c /data/logger/deep /data/logger/link /data/none* /data/*\n"},
                    {"echo data/l?gg[a-f]r/[!a]* > /data/out", 0, "data/logger/c data/logger/deep data/logger/link\n"},
                    {"echo /data/logger/.* > /data/out", 0, "/data/logger/.hidden\n"},
                    {"/system/bin/getprop ro.model.name > '/data/o'ut", 0, "SIM-1\n"},
                    {"cat /../data/logger/'a b' > /data/../../../data/out", 0, "x"},
                    {"> /data/out", 0, ""},
                    {"", 0, ""},
                    {"rm /data/logger/*", 1, ""},  // a folder is left
                    {"rm /data/none/*", 1, ""},
                    {"gcc --version", 127, ""},
                    {"/data/out", 126, ""},
                    {"echo x > /data/no/folder", 1, ""}};
  for (const auto& row : rows) {
    EXPECT_EQ(row.status << 8, os_system(row.command)) << row.command;
    EXPECT_EQ(row.command, device().shell.history().back());
    EXPECT_EQ(row.out, content(device().path("/data/out"))) << row.command;
  }
  for (const char* refused : {"cat \\/etc/passwd",
                              "X=; cat $X/etc/passwd",
                              "X= cat",
                              "cat \"$X/etc/passwd\"",
                              "echo `ls`",
                              "ls | cat",
                              "ls && ls",
                              "ls\nls",
                              "cat < /data/out",
                              "ls 2> /data/out",
                              "ls >> /data/out",
                              "ls > /data/out > /data/out2",
                              "ls >",
                              "ls > /data/o*",
                              "ls /{data,etc}",
                              "ls # all",
                              "ls 'open",
                              "cp --target-directory=/etc /data/out",
                              "cp -tout /data/out",
                              "cp -rL /data/logger /data/copy",
                              "ls ~/x"}) {
    const auto errors = device().logs.lines(LOG_ID_MAIN).size();
    EXPECT_EQ(2 << 8, os_system(refused)) << refused;
    EXPECT_LT(errors, device().logs.lines(LOG_ID_MAIN).size()) << refused;
  }
  EXPECT_EQ(1, device().logs.count(LOG_ID_MAIN, ANDROID_LOG_ERROR, "shell", "ls ~/x: refused: a home folder (~)"));
  // What runs decides which words are paths, whatever its name here is.
  fs::create_symlink("/bin/rm", root_ + "/data/echo");
  EXPECT_EQ(0, os_system(("/data/echo -f " + outside_ + "/file").c_str()));
  EXPECT_EQ(0, os_system("mkdir -p no/../../atd-escaped"));
  EXPECT_TRUE(fs::exists(root_ + "/atd-escaped"));
  // The pattern took the files and the link itself, and left what a shell leaves.
  EXPECT_FALSE(fs::exists(device().path("/data/logger/c")) || fs::is_symlink(root_ + "/data/logger/link"));
  EXPECT_TRUE(fs::exists(device().path("/data/logger/.hidden")));
  EXPECT_EQ("theirs", content(outside_ + "/file"));

  const char *const list[] = {"ls", "/data/logger", "../data", nullptr}, *const missing[] = {"sh", nullptr};
  EXPECT_EQ(0, os_run(list));
  EXPECT_EQ("ls /data/logger ../data", device().shell.history().back());
  EXPECT_EQ(kNotExecuted, os_run(missing));
}

TEST_F(PhoneFolder, ToolsFindThePhoneThatTheyLieIn) {
  root_ += "/it's \"a\" phone";
  ASSERT_EQ("", open_phone());
  SLOGI("seen by logcat");
  device_.reset();
  fs::rename(root_, root_ + " moved");
  root_ += " moved";
  std::string tools;
  for (const char c : root_) tools += c == '\'' ? "'\\''" : std::string(1, c);
  tools = "cd /; '" + tools + "/system/bin/";
  EXPECT_EQ("", output_of(tools + "setprop' persist.sys.x 'a b'"));
  EXPECT_EQ("a b\n", output_of(tools + "getprop' persist.sys.x"));
  EXPECT_TRUE(has(output_of(tools + "logcat' -d -b main,system"), " I Atd: seen by logcat\n"));
}

TEST_F(PhoneFolder, ToolsAreRenewedUnlessAPersonEditedThem) {
  ASSERT_EQ("", open_phone());
  const std::string setprop = root_ + "/system/bin/setprop", now = content(setprop);
  const std::string older =
      "#!/bin/sh\n# setprop NAME VALUE\ncd \"$ATD_ROOT\" || exit 1\ncase $1 in\n"
      "  ''|*/*|ro.*) echo \"setprop: failed to set property '$1' to '$2'\" >&2; exit 1 ;;\n"
      "  persist.*) f=data/property/$1 ;;\n  *) f=dev/__properties__/$1 ;;\nesac\necho \"$2\" > \"$f\"\n";
  ASSERT_NE(older, now);
  for (const std::string& there : {older, older + "# mine\n", now + "# mine\n", "#!/bin/sh\nexit 3\n"s}) {
    std::ofstream(setprop) << there;
    device_.reset();
    ASSERT_EQ("", open_phone());
    EXPECT_EQ(there == older ? now : there, content(setprop));
  }
}

TEST_F(PhoneFolder, LogFilesHoldLinesOnlyWhileThePhoneRuns) {
  ASSERT_EQ("", open_phone());
  SLOGI("one");
  const std::string file = root_ + "/dev/log/system";
  EXPECT_TRUE(output_of(root_ + "/system/bin/logcat -d").ends_with(" I Atd: one\n"));  // at once
  FILE* pipe = popen(("echo $$; exec " + root_ + "/system/bin/logcat -b system").c_str(), "re");
  char line[256] = "";
  const pid_t logcat = atoi(fgets(line, sizeof line, pipe));
  auto sees = [&](const std::string& text) {
    while (fgets(line, sizeof line, pipe) && !has(line, text)) {
    }
    return has(line, text);
  };
  SLOGI("two");
  EXPECT_TRUE(sees(" I Atd: two\n"));
  for (int i = 0; !fs::exists(file + ".1"); ++i) SLOGI("line %d", i);
  SLOGI("after the file was full");
  EXPECT_TRUE(sees(" I Atd: after the file was full\n"));
  EXPECT_EQ("", output_of(root_ + "/system/bin/logcat -c"));
  SLOGI("after the buffer was cleared");
  device().logs.lines(LOG_ID_SYSTEM);  // what it gives is in the file
  EXPECT_TRUE(content(file).ends_with(" I Atd: after the buffer was cleared\n"));
  EXPECT_TRUE(sees(" I Atd: after the buffer was cleared\n"));
  kill(logcat, SIGTERM);
  pclose(pipe);
}

}  // namespace
}  // namespace atd
