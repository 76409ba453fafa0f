// A phone as one file: what stands in it, what does not, and what comes back.
#include "simulator/phone_file/phone_file.h"

#include <sys/resource.h>

#include <map>
#include <random>

#include "tests/phone.h"

namespace fs = std::filesystem;
using namespace std::string_literals;

namespace atd {
namespace {

class PhoneFile : public Phone {
 protected:
  // The phone as a file without its head; what is left out goes to left_out_.
  std::string exported() {
    std::string text, error;
    left_out_.clear();
    EXPECT_TRUE(sim::export_phone(device(), &text, &left_out_, &error)) << error;
    whole_ = text;
    return text.find("\n\n") == text.npos ? "" : text.substr(text.find("\n\n") + 1);
  }

  // Has the phone of a file in the place of this one; why not, "" when all is well.
  std::string imported(const std::string& text) {
    std::string error;
    const std::string folder = made_ + "/" + std::to_string(++imports_);
    faults_.clear();
    if (!sim::import_phone(text, "phone.toml", folder, &faults_, &error)) {
      EXPECT_FALSE(fs::exists(folder)) << text;
      EXPECT_EQ("", output_of("ls " + made_ + " | grep new~"));
      return error;
    }
    device_.reset();
    root_ = folder;
    device_ = sim::SimulatedDevice::open(root_, &error);
    for (const sim::Fault& fault : faults_) device().faults.set(fault);
    return error;
  }

  std::string whole_;  // the last export with its head
  std::vector<std::string> left_out_;
  std::vector<sim::Fault> faults_;
  int imports_ = 0;
};

TEST_F(PhoneFile, ANewPhoneDiffersInNothing) {
  EXPECT_EQ("", exported());
  // What one run leaves is no difference.
  device().items.set(9, std::string(12, '\0'));
  device().properties.set("sys.x", "1");
  put("/sys/power/autosleep", "mem");
  put("/sim/modem/flight_mode", "1");
  fs::remove(root_ + "/proc/meminfo");  // a boot makes it again
  EXPECT_EQ("", exported());
  EXPECT_TRUE(left_out_.empty());
}

TEST_F(PhoneFile, EverythingComesBackByteForByte) {
  const std::string file = content(ATD_TREE "tests/phone_file.toml"), all = file.substr(file.find("\n\n") + 1);
  ASSERT_EQ("", imported(file));
  EXPECT_EQ(all, exported());
  EXPECT_EQ(1, device().boots());
  EXPECT_EQ("\5", device().items.get(2, 1));
  EXPECT_EQ("7", device().items.get(49, 1));
  EXPECT_EQ("SIM-2", device().properties.get("ro.model.name"));
  EXPECT_EQ("la\n", content(root_ + "/storage/1A2B-3C4D/Music/a song"));
  EXPECT_EQ("exit 3\n",
            output_of("sed 1d " + root_ + "/system/bin/pm; test -x " + root_ + "/system/bin/pm || echo no"));
  EXPECT_EQ(55296000u, fs::file_size(root_ + "/dev/block/bootdevice/by-name/modem"));
  for (const char* gone : {"/data/anr", "/proc/tav_power/battery/present", "/dev/__properties__/ro.factorytest"})
    EXPECT_FALSE(fs::exists(root_ + gone)) << gone;
  // A reboot changes nothing of it, and an unmounted card is the same card.
  device().reboot();
  device().card.unmount();
  EXPECT_EQ(all, exported());
}

TEST_F(PhoneFile, AnyBytesComeBack) {
  std::mt19937 random(12);
  const std::string pieces[] = {"\"\"\"", "'",    "\\",   "\n",     "\r\n", "\t", std::string(16, '\0'),
                                "\0"s,    "\x7f", "\xff", "\u00e4", "# ",   "a",  "\x1b"};
  std::map<std::string, std::string> files;
  for (int i = 0; i < 300; ++i) {
    std::string bytes;
    for (unsigned count = random() % 6; count > 0; --count) bytes += pieces[random() % std::size(pieces)];
    put("/data/any/" + std::to_string(i) + (i % 3 ? "" : "\n\"'\\"), bytes);
    files["/data/any/" + std::to_string(i) + (i % 3 ? "" : "\n\"'\\")] = bytes;
  }
  const std::string text = exported();
  ASSERT_EQ("", imported(text));
  for (const auto& [path, bytes] : files) EXPECT_EQ(bytes, content(root_ + path)) << path;
  EXPECT_EQ(text, exported());
}

TEST_F(PhoneFile, WhatCannotStandInItIsNamed) {
  put("/data/large", std::string((64 << 10) + 1, 'x'));
  put("/data/line\nx = 1", std::string((64 << 10) + 1, 'x'));
  std::ofstream(root_ + "/data/sparse").seekp(3LL << 40) << "x";
  fs::create_symlink("/x", root_ + "/sim/efs/link");
  put("/sim/items/9", "SN");
  put("/sim/stray", "?");
  put("/sim/items/9-12/");
  put("/sim/display", "depth 99\n");
  fs::remove_all(root_ + "/dev/graphics");
  put("/dev/graphics", "x");
  std::ofstream(root_ + "/system/build.prop", std::ios::app) << " ro.lead=x\n";
  std::ofstream(root_ + "/sim/modem.conf") << "117\n";
  EXPECT_EQ("", exported());
  const std::string names[] = {"/data/large: 65537 bytes, more than 65536",
                               "/data/line\nx = 1: 65537",
                               "/data/sparse: File too large",
                               "/dev/graphics: the phone's own is below it",
                               "/sim/display: depth 99: no setting",
                               "/sim/efs/link: a link",
                               "/sim/items/9: no item",
                               "/sim/items/9-12: a folder",
                               "/sim/stray: nothing",
                               "/system/build.prop: no property can be called \" ro.lead\"",
                               "/sim/modem.conf: 117: "};
  ASSERT_EQ(std::size(names), left_out_.size());
  for (size_t i = 0; i < left_out_.size(); ++i) EXPECT_TRUE(has(left_out_[i], names[i])) << left_out_[i];
  EXPECT_EQ("", imported(whole_));
}

TEST_F(PhoneFile, APhoneThatCannotBeComparedIsNotExported) {
  std::string text, error, deep = "/data/";
  for (int i = 0; i < 100; ++i) deep += "d/";
  put(deep);
  struct rlimit files;
  getrlimit(RLIMIT_NOFILE, &files);
  const struct rlimit few = {static_cast<rlim_t>(descriptors()) + 40, files.rlim_max};
  setrlimit(RLIMIT_NOFILE, &few);
  EXPECT_FALSE(sim::export_phone(device(), &text, &left_out_, &error));
  EXPECT_TRUE(has(error, "Too many open files")) << error;
  setrlimit(RLIMIT_NOFILE, &files);
  setenv("TMPDIR", "/none", 1);
  EXPECT_FALSE(sim::export_phone(device(), &text, &left_out_, &error));
  EXPECT_TRUE(has(error, "set TMPDIR")) << error;
  unsetenv("TMPDIR");
  device().card.insert("loop");
  fs::remove(root_ + "/storage/" + device().card.state().id);
  fs::create_symlink("../storage/" + device().card.state().id, root_ + "/storage/" + device().card.state().id);
  EXPECT_FALSE(sim::export_phone(device(), &text, &left_out_, &error));
  EXPECT_TRUE(has(error, "round in circles")) << error;
}

TEST_F(PhoneFile, WhatABootMakesCanBeALinkOrAFileAndAPlaceOfACardStaysEmpty) {
  for (const char* folder : {"/data/dbdump", "/data/mtslog"}) fs::remove_all(root_ + folder);
  fs::create_symlink("/data/anr", root_ + "/data/dbdump");
  put("/data/mtslog", "x");
  device().card.insert("c");
  device().card.unmount();
  put("/storage/" + device().card.state().id + "/x", "x");
  const std::string text = exported();
  EXPECT_TRUE(has(whole_, "/x: the card c is mounted there")) << whole_;
  ASSERT_EQ("", imported(text));
  EXPECT_TRUE(device().card.state().mounted);
  device().card.unmount();
  EXPECT_EQ(text, exported());
}

TEST_F(PhoneFile, AnImportWritesIntoItsOwnFolder) {
  put("/1.new~" + std::to_string(getpid()) + "/phone/data/stray");  // a killed one left it
  ASSERT_EQ("", imported("[cards.a]\nfolders = [\"l/x\"]\n[cards.a.files]\nl = { link = \"" + made_ + "\" }"));
  EXPECT_FALSE(fs::exists(root_ + "/data/stray") || fs::exists(made_ + "/x"));
  // An empty folder keeps its mode, also where a link leads to it.
  std::string error;
  mkdir((made_ + "/empty").c_str(), 0700);
  fs::create_symlink("empty", made_ + "/link");
  EXPECT_TRUE(sim::import_phone("", "x", made_ + "/link", &faults_, &error)) << error;
  EXPECT_TRUE(fs::is_symlink(made_ + "/link") && fs::exists(made_ + "/empty/sim"));
  EXPECT_EQ(fs::perms::owner_all, fs::status(made_ + "/empty").permissions());
}

TEST_F(PhoneFile, TextBeyondAsciiStaysWhole) {
  EXPECT_EQ("", imported("# é \u3042\n[build]\n'ro.a' = 'é \u3042'\n\"ro.b\" = \"\"\"\\\n  é\"\"\" # \u0430\n"));
  EXPECT_EQ("é \u3042", device().properties.get("ro.a"));
  EXPECT_EQ("é", device().properties.get("ro.b"));
}

TEST_F(PhoneFile, AWrongFileMakesNoPhoneAndNamesTheLine) {
  const std::pair<const char*, const char*> rows[] = {
      {"x = [", "phone.toml:1: "},
      {"é = 1", "phone.toml:1: "},
      {"[items]\n\u3042 = 1", "phone.toml:2: "},
      {"[item]", "phone.toml:1: the section \"item\" is not there; nearest: items"},
      {"[items]\n\"factory serial\" = \"S\"",
       ":2: no item is named \"factory serial\"; nearest: factory serial number"},
      {"[items]\n9 = \"0123456789ABC\"", ":2: 9 has 12 bytes, the value 13"},
      {"[items]\n2 = 1\n\"factory status\" = 2", "stands here twice"},
      {"[items]\n6 = { hex = \"0\" }", ":2: hex is pairs"},
      {"[files]\n\"/data/../../x\" = \"\"", ":2: \"/data/../../x\" is no path of the phone"},
      {"[files]\n\"data/x\" = \"\"", ":2: \"data/x\" is no path of the phone"},
      {"[files]\n\"//sim/boots\" = \"9\"", "is no path of the phone"},
      {"[files]\n\"/sim/boots\" = \"9\"", "is the phone's own"},
      {"[files]\n\"/proc/x\" = \"\"", "belongs into [nodes]"},
      {"[files]\n\"/data/logger\" = \"\"", "is a folder"},
      {"[files]\n\"/x\" = [{ zeros = 1000000000000 }]", ":2: zeros are a number"},
      {"[files]\n\"/x\" = [{ zeros = 67108864 }, \"x\"]", ":2: what follows so many zeros"},
      {"removed = [\"/sim\"]", ":1: /sim holds"},
      {"[settings]\ndisplay = { link = \"/x\" }", ":2: /sim/display "},
      {"[efs]\n\"/x\" = { link = \"/x\" }", ":2: /sim/efs/x "},
      {"[modem]\nrecords = \"x\"", ":2: records is a section: [modem.records]"},
      {"[cards.a]\nfiles = \"x\"", ":2: files is a section: [cards.a.files]"},
      {"removed = [\"/dev/log\"]", ":1: /dev/log is the phone's own, and begins anew"},
      {"removed = [\"/data/none\"]", ":1: /data/none is not in a new phone"},
      {"folders = [\"/sim/items/9-12\"]", ":1: /sim/items/9-12 is no folder; it belongs into [items]"},
      {"[build]\n\" ro.x\" = \"1\"", ":2: no property can be called \" ro.x\""},
      {"[properties]\n\"sys.x\" = \"1\"", ":2: a reboot forgets sys.x"},
      {"[build]\n\"ro.x\" = \"a\\nb\"", ":2: ro.x stands on one line"},
      {"[modem]\nrows = [\n\"117 * \\\"1\\\"\",\n\"117\"]", ":4: "},
      {"[input]\nlines = [\"event0 key NONE\"]", ":2: 'NONE' is not a code"},
      {"[cards.a]\nin = true\n[cards.b]\nin = true", ":4: only one card"},
      {"[cards.a]\nis = \"huge\"", ":2: \"huge\" is no word of a card: write partition"},
      {"faults = [[\"set_item\"]]", ":1: no call is named \"set_item\"; nearest: "},
      {"faults = [[\"get_ftm_item\", \"13\"],\n[\"get_ftm_item\", \"IMEI\"]]", ":2: get_ftm_item 13 stands here twice"},
      {"faults = [[\"request_to_modem_via_dmi\", \"1000\"]]", ":1: \"1000\" is no opcode of the modem: 0 to 971"},
      {"[settings]\ndisplay = \"\"\"\nformat 24\ndepth 99\n\"\"\"", ":4: no setting \"depth 99\""},
      {"[settings]\ndisplay = \"depth 16 24\"", ":2: no setting \"depth 16 24\""},
      {"[settings]\nfingerprint = \"zone 2 0\"", ":2: \"zone 2 0\" is no TEST PASS RESULT"},
      {"[cards.a]\nis = \"size=8 size=16\"", ":2: \"size=8\" is undone by a word after it"},
      {"[cards.card]\nin = true\n[files]\n\"/storage/1A2B-3C4D/x\" = \"\"", "it belongs into [cards.card.files]"},
      {"folders = [\"/storage/1A2B-3C4D/x\"]\n[cards.card]\nin = true", ":1: /storage/1A2B-3C4D/x is on the card"},
      {"[modem.records]\nnv_0550 = \"\"", ":2: the modem has no record \"nv_0550\""},
      {"[build]\n\"ro.none\" = \"\"", ":2: ro.none is not in a new phone"},
      {"removed = [\"/data/anr\",\n\"/data/anr\"]", ":2: /data/anr stands here twice"},
      {"[properties]\npersist.sys.x = \"1\"", ":2: a name with dots stands in quotes: \"persist.sys.x\""},
      {"[items]\nPID = abc", "; a text stands in quotes"},
      {"\n# \xe9x", ":2: Encountered invalid utf-8 sequence; save the file as UTF-8"},
      {"[items]\n\"QEM flag\" = true", ":2: QEM flag is a number from 0 to 255"},
      {"[cards.a.files]\n\"../x\" = \"\"", ":2: \"../x\" is no path on a card"},
      {"[programs]\n\"../x\" = \"\"", ":2: \"../x\" is no name of a program"},
      {"[files]\n\"/system/build.prop\" = \"\"", ":2: /system/build.prop stands in [build]"},
      {"[files]\n\"/x\" = \"\"\n\"/x/y\" = \"\"", ":3: /x/y cannot be made: a file is in its way"},
  };
  for (const auto& [text, error] : rows) {
    const std::string told = imported(text);
    EXPECT_TRUE(has(told, error)) << text << "\n" << told;
  }
  put("/theirs/file", "theirs");
  std::string error;
  EXPECT_FALSE(sim::import_phone("", "x", made_ + "/theirs", &faults_, &error));
  EXPECT_TRUE(has(error, "is not empty")) << error;
}

TEST_F(PhoneFile, OurPhonesAreWhatTheySay) {
  ASSERT_EQ("", imported(content(ATD_TREE "phones/factory-fresh.toml")));
  EXPECT_EQ(std::string(12, '\0'), device().items.get(9, 12));
  EXPECT_EQ("V10b", device().properties.get("ro.tav.swversion_short"));
  EXPECT_FALSE(fs::exists(root_ + "/data/logger"));
  ASSERT_EQ("", imported(content(ATD_TREE "phones/on-the-line.toml")));
  EXPECT_EQ("130k", device().readings.cable());
  EXPECT_EQ("11,12,01,1", device().items.get(44, 128).c_str() + ""s);
  EXPECT_EQ("1", device().properties.get("ro.factorytest"));
  ASSERT_EQ("", imported(content(ATD_TREE "phones/in-service.toml")));
  EXPECT_TRUE(device().card.state().mounted && device().card.state().full);
  EXPECT_EQ('\2', device().items.get(230, 16)[8]);
  EXPECT_TRUE(has(content(root_ + "/data/logger/kernel.log"), "Watchdog bark"));
}

}  // namespace
}  // namespace atd
