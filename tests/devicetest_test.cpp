// The automatic test: its set, its order, its results; and what hosts do with files and partitions.
#include <sys/stat.h>

#include <algorithm>
#include <map>
#include <random>
#include <tuple>

#include "atd.h"
#include "dispatch/service_handler.h"
#include "tests/phone.h"

using namespace std::string_literals;

namespace atd {
namespace {

const std::string kDefault =
    "1,1211,2,11,1,21,2,21,1,1,222,1,131,331122,22,2,2212,2,1,11222,2,2111,11,1,2,2,12,1,3,2,2,2,2,2";
const std::string kCatalogue =
    "1,2,3,4,5,6,7,8,9,10,11,12,13,14,15,16,17,18,19,20,21,22,23,24,25,26,27,28,29,30,31,32,33,34";

int g_fsyncs;

}  // namespace
}  // namespace atd

extern "C" int __real_fsync(int fd);
extern "C" int __wrap_fsync(int fd) {
  ++atd::g_fsyncs;
  return __real_fsync(fd);
}

namespace atd {
namespace {

class DeviceTest : public Phone {
 protected:
  void set_text(unsigned index, const std::string& text, int length = 128) {
    device().items.set_text(index, length, text);
  }

  std::string text(unsigned index, int length = 128) { return device().items.get(index, length).c_str(); }

  rzcmd_response run(int opcode, const std::string& payload = {}) {
    rzcmd_request req = request_of(opcode, payload);
    rzcmd_response rsp;
    service_handler(&req, &rsp);
    return rsp;
  }
};

std::string joined(const std::vector<std::string>& tokens) {
  std::string text;
  for (const std::string& token : tokens) text += (text.empty() ? "" : ",") + token;
  return text;
}

TEST_F(DeviceTest, AnOrderAndBackGivesTheOldSetAndARefusedWriteChangesNothing) {
  std::mt19937 random(3101);
  const auto any = [&](size_t end) { return static_cast<size_t>(random() % end); };
  for (int round = 0; round < 150; ++round) {
    std::vector<std::string> numbers, groups;
    for (size_t n = 2 + any(34); numbers.size() < n;) {
      numbers.push_back(std::to_string(numbers.size() + 1));
      groups.emplace_back();
      for (size_t digits = 1 + any(20); digits > 0; --digits) groups.back() += "0123"[any(4)];
    }
    while (joined(groups).size() > 127) groups.pop_back(), numbers.pop_back();
    groups[0] = "1";
    std::shuffle(numbers.begin(), numbers.end(), random);
    const std::string order = joined(numbers), set = joined(groups);
    set_text(25, order);
    set_text(17, set);
    std::shuffle(numbers.begin(), numbers.end(), random);
    ASSERT_EQ(0, run(4091, joined(numbers)).result) << order;
    ASSERT_EQ(0, run(4091, order).result);
    ASSERT_EQ(set, text(17));
    ASSERT_EQ(order + std::string(128 - order.size(), '\0'), device().items.get(25, 128));

    // A write of random digits and commas is taken with every "2" where it was, or changes none of the three items.
    set_text(44, "1,0");
    std::string wild = set;
    for (size_t changes = any(4); changes > 0; --changes) wild[any(wild.size())] = "01234567,x"[any(10)];
    if (run(4090, wild).result == 0) {
      EXPECT_EQ(wild, text(17));
      for (size_t i = 0; i < set.size(); ++i) EXPECT_EQ(set[i] == '2', wild[i] == '2') << set << "\n" << wild;
      EXPECT_NE(std::string::npos, wild.find_first_of("1346"));
      EXPECT_EQ(wild.find('0') == wild.npos ? "1,0" : wild, text(44));
    } else {
      EXPECT_EQ(std::tuple(set, order, "1,0"s), std::tuple(text(17), text(25), text(44))) << wild;
    }
  }
}

TEST_F(DeviceTest, RefusedSetsAndOrdersSayWhy) {
  std::string ones;
  while (ones.size() < 126) ones += "1,";
  const std::string no_digit = "bad_parameter, have not any 1 or 3 or 4 or 6!", bad = "AATSET_TEST_WRITE bad parameter";
  const std::string wrong_order = "AATSET_TEST_ORDER_WRITE new order data is incorrect ";
  const std::string bad_order = "AATORDER_TEST_WRITE bad parameter";
  const std::tuple<int, std::string, std::string, std::vector<std::string>> rows[] = {
      {4090, "12,1", "12,11", {"bad_parameter, OLD AATSET LEN: 4, NEW AATSET LEN: 5", no_digit, bad}},
      {4090, "12,1", "1,21", {"bad_parameter, different subset length!", no_digit, bad}},
      {4090, "12,1", "12,,", {"bad_parameter, different subset length!", bad}},
      {4090, "12,1", "18,1", {"bad_parameter, invalid input!", bad}},
      {4090, "12,1", "21,1", {"bad_parameter, not allowed changed!", no_digit, bad}},
      {4090, "12,1", "52,7", {no_digit, bad}},
      {4090, ones + "1", ones + "8", {"bad_parameter, invalid input!", bad}},
      {4090, "12,1", "", {}},
      {4090, std::string(128, '1'), std::string(128, '1'), {no_digit, bad}},
      {4091, "1,2,3", "1,2,2", {"AATSET_TEST_ORDER_WRITE duplicated order data is error ", wrong_order, bad_order}},
      {4091, "1,2,3", "1,2,4", {wrong_order, bad_order}},
      {4091, "1,2,3", "1,,,2", {wrong_order, bad_order}},
      {4091, "1,2,3", "1,2,3,", {"bad_parameter, OLD AATORDER LEN: 5, NEW AATORDER LEN: 6", bad_order}},
      {4091, "", "1,2,3", {"AATORDER_TEST_WRITE old_aatorder_data's length is zero "}},
  };
  for (const auto& [opcode, stored, written, lines] : rows) {
    device().logs.clear();
    set_text(17, opcode == 4090 ? stored : "1,12,3");
    set_text(25, stored);
    EXPECT_EQ(1, run(opcode, written).result) << written;
    EXPECT_EQ(std::pair(opcode == 4090 ? stored : "1,12,3", stored), std::pair(text(17), text(25))) << written;
    for (const std::string& line : lines) EXPECT_EQ(1, logged(ANDROID_LOG_ERROR, line)) << written << ": " << line;
  }

  // A set with fewer groups than the order gets empty ones, but is not cut.
  set_text(25, "1,2,3");
  set_text(17, "1,22");
  EXPECT_EQ(0, run(4091, "3,2,1").result);
  EXPECT_EQ(",22,1", text(17));
  set_text(17, std::string(127, '1'));
  EXPECT_EQ(1, run(4091, "3,1,2").result);
  EXPECT_EQ(std::string(127, '1'), text(17));
}

TEST_F(DeviceTest, APartialSetMarksTheResultsToRunAgainUnlessItIsTheLastOne) {
  set_text(17, "11,1");
  set_text(7, "001010", 31);
  EXPECT_EQ(0, run(4090, "10,1").result);
  EXPECT_EQ("107777", text(7, 31));
  EXPECT_EQ("10,1", text(44));
  EXPECT_EQ(1, logged("AAT AATSET_TEST_WRITE Set Data Changed "));
  set_text(7, "001010", 31);
  EXPECT_EQ(0, run(4090, "11,1").result);
  EXPECT_EQ(0, run(4090, "10,1").result);
  EXPECT_EQ(1, logged("AAT isSamePartialSet, Same SET Data Save try "));
  EXPECT_EQ(0, run(4090, "10,1").result);
  EXPECT_EQ(1, logged("AAT AATSET_TEST_WRITE Set Data No Changed "));
  EXPECT_EQ("001010", text(7, 31));
}

TEST_F(DeviceTest, TheDefaultSetInTheStoredOrder) {
  char set[129] = "", order[128] = "";
  EXPECT_EQ(0, read_aatset(set));
  EXPECT_EQ(kDefault, set);
  EXPECT_EQ(1, read_aatorder(order));
  EXPECT_EQ(1, logged(ANDROID_LOG_ERROR, "AATSET_TEST_ORDER_READ data_len is zero "));
  for (const auto& [item, offset] : std::vector<std::pair<int, int>>{{1, 0}, {14, 36}, {17, 48}, {34, 94}, {35, 96}}) {
    EXPECT_EQ(offset, get_test_item_offset(item));
  }
  for (const auto& [vendor, feature] :
       std::map<std::string, int>{{"", -10}, {"none", -10}, {"exceptional", -10}, {"abc", 1}}) {
    device().properties.set("tav.nfc.vendor", vendor);
    EXPECT_EQ(feature, get_nfc_feature_from_property()) << vendor;
  }

  set_text(17, kDefault);
  set_text(25, "14,2,3,4,5,6,7,8,9,10,11,12,13,1,15,16,17,18,19,20,21,22,23,24,25,26,27,28,29,30,31,32,34,33");
  EXPECT_EQ(0, aat_full());
  EXPECT_EQ("331122,1211,2,11,1,21,2,21,1,1,222,1,131,1,22,2,2212,2,1,11222,2,2111,11,1,2,2,12,1,3,2,2,2,2,2" +
                std::string(30, ','),
            text(17));
  EXPECT_EQ(1, aat_full());
  EXPECT_EQ(1, logged(ANDROID_LOG_ERROR, "aatset's length is different (default: 95, stored: 125) "));
  char token[8] = "";
  EXPECT_EQ(0, get_this_order(32, token));
  EXPECT_STREQ("34", token);
  EXPECT_EQ(1, get_this_order(34, token));
  device().items.set(17, std::string(127, '1') + "\xFF");  // no NUL, no comma
  EXPECT_EQ(1, read_aatset(set));
}

TEST_F(DeviceTest, TheSelfDiagnosisIsResetWhereTheSetConcernsIt) {
  const std::tuple<std::string, std::string, int> rows[] = {{"14", "14", 0}, {"14", "11", 1}, {"11", "15", 1},
                                                            {"13", "14", 0}, {"14", "13", 0}, {"10", "11", 0},
                                                            {"4", "", 0},    {"1", "14", 1}};
  for (const auto& [before, after, expected] : rows) {
    for (const auto& [first, second, done] :
         {std::tuple("2", "x", false), {"1", "x", false}, {"2", "0", false}, {"1", "0", true}}) {
      set_text(45, first, 64);
      set_text(97, second, 256);
      EXPECT_EQ(done ? 0 : expected, reset_selfd_result(before.c_str(), after.c_str())) << before << " " << after;
    }
  }
}

TEST_F(DeviceTest, Verdicts) {
  struct Row {
    std::string set, full, partial, menu, self_d, self_de;
    int verdict;
  };
  const Row rows[] = {
      {"", "", "", "", "", "", -2},         {"11,12", "11", "", "", "", "", 1},    {"11,12", "11", "", "0", "", "", 0},
      {"11,12", "", "", "1", "", "", -2},   {"11,02", "01", "21", "0", "", "", 2},  // partial: the menu does not count
      {"11,02", "01", "2", "", "", "", -2},                                         // one character is no result yet
      {"33,02", "11", "21", "", "", "", 1},  // a "0" without a "1" is not partial here
      {"14,12", "11", "", "", "1", "", 2},  {"14,12", "11", "", "", "1", "0", 1},  // the second stage counts
      {"14,12", "11", "", "", "1", "2", 2}, {"14,12", "11", "", "", "", "", -2},
  };
  for (const Row& row : rows) {
    set_text(17, row.set);
    set_text(5, row.full, 31);
    set_text(7, row.partial, 31);
    set_text(29, row.menu, 31);
    set_text(45, row.self_d, 64);
    set_text(95, row.self_de, 256);
    EXPECT_EQ(row.verdict, get_devicetest_result()) << &row - rows;
  }
  for (const char* item : {"5", "17", "29", "45", "95"}) {
    set_text(45, "1", 64);
    device().faults.fail("get_ftm_item "s + item, 1);
    EXPECT_EQ(-1, get_devicetest_result()) << item;
  }
  set_text(17, "10,2");
  device().faults.fail("get_ftm_item 7", 1);
  EXPECT_EQ(-1, get_devicetest_result());
  const auto results = [&] { return text(7, 31) + "|" + text(29, 31) + "|" + text(5, 31); };
  for (int item : {7, 29, 5}) set_text(item, "1", 31);
  device().faults.fail("set_ftm_item 29", 1);
  EXPECT_EQ(-1, set_devicetest_result_init());
  EXPECT_EQ("|1|1", results());
  EXPECT_EQ(0, set_devicetest_result_init());
  EXPECT_EQ("||", results());
}

TEST_F(DeviceTest, ResultsByRequest) {
  device().items.set(253, "0x000000010x000000020x00000003\0\0\0\0\0\0\0\0\0\0"s);
  const std::string longest(31, '7');
  const std::tuple<int, std::string, int, std::string> rows[] = {
      {4001, "2" + longest + "9", 0, "aat_result_write, success"},
      {4001, "1", 0, longest},
      {4001, "3", 0, ""},
      {4001, "2101", 0, "aat_result_write, success"},
      {4001, "1", 0, "101"},
      {4001, "", 0, ""},
      {4231, std::string(200, 's'), 0, ""},
      {4230, "", 0, std::string(31, 's')},
      {4408, "mid", 0, "mid"},
      {4407, "", 0, "mid"},
      {4411, "", 0, "0x00000003"},
      {4409, "", 0, "0x00000001"},
      {4410, "", 0, "0x00000002"},
      {4412, "", 0, ""},
      {4213, "", 0, "7"},
      {4211, "", 0, "0"},
      {4212, "", 0, "-3"},
      {4232, "1", 2, ""},
      {4004, "2", 1, ""},
      {4004, "1", 4, ""},
  };
  ASSERT_TRUE(device().fingerprint.set("zone", {0, -3}));
  ASSERT_TRUE(device().fingerprint.set("checkerboard", {1, 7}));
  for (const auto& [opcode, payload, result, answer] : rows) {
    const rzcmd_response rsp = run(opcode, payload);
    EXPECT_EQ(result, rsp.result) << opcode << " " << payload;
    EXPECT_EQ(answer, data_of(rsp)) << opcode << " " << payload;
  }
  EXPECT_EQ("4", device().items.get(252, 1));
  EXPECT_EQ(1, logged("ZONE isPass : 0, Result : -3"));
  EXPECT_EQ(1, logged("SPI isPass : 1, Rsult : 0"));
  for (const auto& [fault, enables] : std::vector<std::pair<std::string, int>>{{"FpEnable", 0}, {"SPITest", 2}}) {
    device().logs.clear();
    device().faults.fail("fingerprint " + fault, 1);
    EXPECT_EQ(1, run(4211).result);
    EXPECT_EQ(enables, logged("FingerPrint Sensor Enable! "));
  }
  EXPECT_EQ(1, logged(ANDROID_LOG_ERROR, "SPI Test CMD Failed! "));
  device().faults.fail("set_ftm_item");
  EXPECT_EQ(-1, run(4408, "x").result);
}

TEST_F(DeviceTest, StartingTheDeviceTest) {
  init_modem_interface(0);
  mkdir((root_ + "/cache/minios").c_str(), 0755);
  for (const auto& [before, after] : {std::pair(0, 0), {5, 5}, {6, 6}, {2, 6}}) {
    set_factory_status(before);
    set_qem(0);
    EXPECT_EQ(0, run(4004, "1").result);
    EXPECT_EQ(std::tuple(after, 1), std::tuple(get_factory_status(), get_qem()));
  }
  device().threads.await_none();
  device().modem.set_answer(200, "\xFF");  // no restart
  EXPECT_EQ(0, run(4004, " 1\n").result);
  EXPECT_EQ(0, get_qem());
  EXPECT_EQ(1, run(4180).result);
  device().modem.clear_answers();
  EXPECT_EQ(0, run(4180).result);
  device().threads.await_none();
  EXPECT_EQ("refused reboot aat_write", device().power.history().back());
  EXPECT_EQ(1, logged("end system_aat_write"));
}

TEST_F(DeviceTest, BytesInTheMiscPartition) {
  const std::string misc = root_ + "/dev/block/bootdevice/by-name/misc";
  ASSERT_TRUE(sim::write_file(misc, std::string(198670, 'm')));
  std::string expected = content(misc);
  expected[194562] = '1', expected[194567] = '2', expected[198658 + 3] = '0';
  g_fsyncs = 0;
  EXPECT_EQ(0, aat_subdivided_result_write(0, 1));
  EXPECT_EQ(1, g_fsyncs);
  EXPECT_EQ(0, aat_subdivided_result_write(5, -7));
  EXPECT_EQ(0, aat_subdivided_result_write_to_integrated_result(3, 0));
  EXPECT_EQ(1, logged("[aat_subdivided_result_write_to_integrated_result] saveResult_qr save at 5 : 0"));
  EXPECT_EQ(-1, aat_subdivided_result_write_to_integrated_result(12, 0));
  EXPECT_EQ(-1, aat_subdivided_result_write(UINT32_MAX, 1));
  EXPECT_EQ(-ENOSPC, device_write("/dev/block/bootdevice/by-name/misc", 198669, 2, "zz"));
  EXPECT_EQ(expected, content(misc));
  std::filesystem::remove(misc);
  EXPECT_EQ(-1, aat_subdivided_result_write(0, 1));
  EXPECT_EQ(1, logged(ANDROID_LOG_ERROR, "[aat_subdivided_result_write] saveResult_qr save error! at 2 : -2"));
  EXPECT_FALSE(std::filesystem::exists(misc));
}

TEST_F(DeviceTest, AFileInPieces) {
  file_cmd_reply reply;
  const std::string file = root_ + "/data/file";
  for (const size_t size : {size_t(0), size_t(2048), size_t(5000)}) {
    std::string whole(size, 'x'), got;
    for (char& c : whole) c = static_cast<char>(&c - whole.data());
    ASSERT_EQ(0, save_file("/data/file", whole.data(), static_cast<unsigned>(size)));
    get_file_command(0, "/data/file", &reply);
    ASSERT_EQ(size == 0 ? -1 : 0, get_file_command(0, "/data/file", &reply)) << "opened once more";
    EXPECT_EQ(size, reply.size);
    while (get_file_command(1, nullptr, &reply) == 0 && reply.length > 0) {
      got.append(reinterpret_cast<char*>(reply.data), reply.length);
      EXPECT_EQ(got.size(), reply.size);
    }
    EXPECT_EQ(whole, got);
    EXPECT_EQ(0, get_file_command(2, nullptr, &reply));
    EXPECT_EQ(size, reply.size);
  }
  ASSERT_EQ(0, truncate(file.c_str(), off_t(1) << 32));
  EXPECT_EQ(-1, get_file_command(0, "/data/file", &reply));
  EXPECT_EQ(1, logged(ANDROID_LOG_ERROR, "get_file_length : a file of 4294967296 bytes does not fit a reply"));
  EXPECT_EQ(-1, get_file_command(0, "/data/none", &reply));
  EXPECT_EQ(0, get_file_command(1, nullptr, &reply));
  EXPECT_EQ(0u, reply.length);
  EXPECT_EQ(-1, get_file_command(3, nullptr, &reply));
  EXPECT_EQ(-1, save_file("/none/file", "x", 1));
}

TEST_F(DeviceTest, TouchVersionAndReconditionStatus) {
  char version[70];
  int length;
  const std::string node = root_ + "/sys/devices/virtual/input/tav_touch/testmode_ver";
  ASSERT_TRUE(sim::write_file(node, std::string(80, 'v')));
  EXPECT_EQ(0, get_touch_version(version, &length));
  EXPECT_EQ(std::string(69, 'v'), std::string(version));
  EXPECT_EQ(1, touch_version_compare(std::string(25, 'v').c_str()));
  ASSERT_TRUE(sim::write_file(node, "1.07\n"));
  get_touch_version(version, &length);
  EXPECT_EQ("1.07\n", std::string(version, static_cast<size_t>(length)));
  for (const auto& [expected, result] :
       std::vector<std::pair<std::string, int>>{{"1.07\n", 0}, {"1.0\n", 0}, {"1.08\n", 1}, {"", 1}, {"1.07\nX", 0}}) {
    EXPECT_EQ(result, touch_version_compare(expected.c_str())) << expected;
  }
  EXPECT_EQ(17, touch_atoi("17x"));
  EXPECT_EQ(0, touch_atoi("-1"));
  EXPECT_EQ(2147483647, touch_atoi("99999999999"));
  EXPECT_EQ(0, write_recondition_status(std::string(40, 'r').c_str()));
  EXPECT_EQ(std::string(32, 'r'), content(root_ + "/persist-rz/wdctime/recondition"));
  std::filesystem::remove_all(root_ + "/persist-rz");
  EXPECT_EQ(1, write_recondition_status("x"));
}

}  // namespace
}  // namespace atd
