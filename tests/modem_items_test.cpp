// The request channel to modem and platform, the modem items, and their opcodes.
#include <set>
#include <thread>
#include <tuple>

#include "atd.h"
#include "dispatch/opcode_table.h"
#include "dispatch/service_handler.h"
#include "tests/phone.h"

using namespace std::string_literals;

namespace atd {
namespace {

using Requests = std::vector<sim::ModemRequest>;

class ModemItemsTest : public Phone {
 protected:
  ModemItemsTest() { EXPECT_EQ(0, init_modem_interface(0)); }

  sim::Modem& modem() { return device().modem; }

  // What the modem was asked since the last call.
  Requests asked() {
    Requests result = modem().requests();
    modem().clear_requests();
    return result;
  }

  rzcmd_response run(int opcode, const std::string& payload = {}) {
    rzcmd_request req = request_of(opcode, payload);
    rzcmd_response rsp = {};
    service_handler(&req, &rsp);
    return rsp;
  }

  char data_[2048] = {};
  int length_ = 0;
};

TEST_F(ModemItemsTest, OpcodesAreRoutedByTheirRange) {
  const std::tuple<int, int, int> rows[] = {{0, 1, 2},    {971, 1, 2},  {972, 2, 0}, {999, 2, 0},  {1000, 1, 0},
                                            {4414, 1, 0}, {4415, 2, 0}, {-1, 2, 0},  {5000, 2, 0}, {200, 0, 1}};
  for (const auto& [opcode, error, requests] : rows) {
    asked();
    length_ = 7;
    EXPECT_EQ(error, request_to_system(opcode, nullptr, 0, data_, &length_, nullptr)) << opcode;
    EXPECT_EQ(requests, static_cast<int>(asked().size())) << opcode;
    EXPECT_EQ(error == 0 ? 1 : -1, length_) << opcode;
  }
  EXPECT_EQ(5, logged(ANDROID_LOG_ERROR, "[COMMON_INTERFACE] Invalid OPCODE"));
  length_ = 7;
  EXPECT_EQ(2, request_to_system(990, nullptr, 0, nullptr, &length_, nullptr));
  EXPECT_EQ(7, length_);
  // 1000 and 4414 found no broker.
  const std::tuple<const char*, const char*, int> boots[] = {
      {"0", "Normal Boot : Call request_to_android", 3},
      {"1", "Minios Boot : Call request_to_minios", 1},
      {"2", "Minios Boot : Call request_to_minios", 2},
      {"3", "Unknown Boot Mode : Call anything", 1},
  };
  for (const auto& [mode, line, count] : boots) {
    device().properties.set_at_boot("ro.factorytest", mode);
    EXPECT_EQ(1, request_to_system(1013, nullptr, 0, nullptr, nullptr, nullptr)) << mode;
    EXPECT_EQ(count, logged("[COMMON_INTERFACE] "s + line)) << mode;
  }
}

TEST_F(ModemItemsTest, AFailedRequestOpensTheInterfaceOnceMoreAndIsRepeated) {
  modem().fail_request(1);
  EXPECT_EQ(0, request_to_system(200, nullptr, 0, nullptr, nullptr, nullptr));
  EXPECT_EQ(1, logged("[DMI] request_to_modem : init dmi again."));
  EXPECT_EQ(2u, asked().size());

  // The modem stays away: the repeated request fails, too, and the next one opens the interface first.
  modem().lose_connection();
  modem().fail_init(2);
  EXPECT_EQ(1, request_to_system(200, nullptr, 0, nullptr, nullptr, nullptr));
  EXPECT_EQ(2u, asked().size());
  EXPECT_EQ(1, request_to_system(200, nullptr, 0, nullptr, nullptr, nullptr));
  EXPECT_EQ(0u, asked().size());
  EXPECT_EQ(1, logged(ANDROID_LOG_ERROR, "[DMI] request_to_modem : DMI is not initialized."));
  EXPECT_EQ(0, request_to_system(200, nullptr, 0, nullptr, nullptr, nullptr));
  EXPECT_EQ(1u, asked().size());
}

TEST_F(ModemItemsTest, AnImpossibleAnswerIsNotAnAnswer) {
  char guarded[2048 + 16];
  for (int claimed : {-1, 2049, 1 << 30, INT32_MIN}) {
    rzcmd_response answer = {0, claimed, 0, "x"};
    modem().set_raw_answer(200, answer);
    memset(guarded, '#', sizeof guarded);
    EXPECT_EQ(1, request_to_system(200, nullptr, 0, guarded, &length_, nullptr)) << claimed;
    EXPECT_EQ(-1, length_);
    EXPECT_EQ('#', guarded[0]);
  }
  modem().set_answer(200, std::string(2048, 'a'), 5);
  int status = 0;
  EXPECT_EQ(0, request_to_system(200, "", 0, guarded, &length_, &status));
  EXPECT_EQ(2048, length_);
  EXPECT_EQ(5, status);
  EXPECT_EQ('#', guarded[2048]);
  EXPECT_EQ(1, logged("Response Status: 5"));
  EXPECT_EQ(0, request_to_system(200, guarded, 2048, nullptr, nullptr, nullptr));
  EXPECT_EQ(std::string(guarded, 2048), asked().back().payload);
  EXPECT_EQ(1, request_to_system(200, guarded, 2049, data_, &length_, nullptr));
  EXPECT_EQ(-1, length_);
}

TEST_F(ModemItemsTest, RecordsAreWrittenAndRead) {
  const std::tuple<int (*)(const char*, int, char*, int*), int, std::string> rows[] = {
      {write_tav_impl, 101, "IMPL OK"}, {read_tav_impl, 102, "data"},     {write_tav_bcpl, 103, "BCPL OK"},
      {read_tav_bcpl, 104, "data"},     {read_tav_idde, 106, ""},         {write_tav_otpe, 107, "OTPE OK"},
      {write_tav_fusg, 108, "FUSG OK"}, {read_tav_fusg, 109, "data"},     {write_tav_cdbe, 110, "CDBE OK"},
      {write_tav_bcpe, 111, "BCPE OK"}, {write_tav_pid2, 114, "PID2 OK"}, {read_tav_pid2, 115, "data"},
      {write_tav_btad, 122, "BTAD OK"}, {read_tav_btad, 123, "data"},     {write_tav_pid, 203, "PID OK"},
      {read_tav_pid, 202, "data"}};
  for (const auto& [call, opcode, answer] : rows) {
    EXPECT_EQ(0, call("data", 4, data_, &length_));
    EXPECT_EQ(answer, std::string(data_, static_cast<size_t>(length_)));
    EXPECT_EQ((Requests{{opcode, "data"}}), asked());
    EXPECT_EQ(opcode == 202 ? 0 : 1, call(nullptr, 0, data_, &length_)) << opcode;
    EXPECT_EQ(opcode == 203 ? 0 : 1, call("data", 4, nullptr, &length_)) << opcode;
    EXPECT_EQ(opcode == 202 || opcode == 203 ? 1u : 0u, asked().size());
  }
}

TEST_F(ModemItemsTest, NullPointersAndForeignNumbersAskNothing) {
  char text[] = "1";
  char* arguments[] = {text};
  length_ = 77;
  EXPECT_EQ(1, write_tav_imei(116, nullptr, 1, data_, &length_));
  EXPECT_EQ(1, write_tav_imei(116, "1", 1, nullptr, &length_));
  EXPECT_EQ(1, tav_satpc_req(0, nullptr, 0, data_, &length_));
  EXPECT_EQ(1, tav_satpc_req(1, "", 0, nullptr, &length_));
  EXPECT_EQ(1, tav_satpc_req(2, "", 0, data_, &length_));
  EXPECT_EQ(77, length_);
  EXPECT_EQ(1, campreq(nullptr, 1, data_));
  EXPECT_EQ(1, campreq(arguments, 1, nullptr));
  for (int item : {-1, 65536, INT32_MIN, INT32_MAX}) {
    EXPECT_EQ(1, tav_diag_nvread(item, data_)) << item;
    EXPECT_EQ(1, tav_diag_nvwrite(item, data_)) << item;
  }
  EXPECT_EQ((Requests{}), asked());
  EXPECT_EQ(0, logged(ANDROID_LOG_ERROR, "Cannot get response. Return error:1"));
  // What is not among the digits counts by its code: '1' is 49, and 2 * 49 - 9 where it is doubled.
  char imei[16] = "49015420323751";
  make_imei_chksum(imei, 13);
  EXPECT_STREQ("490154203237511", imei);
  EXPECT_EQ(1, handle_testmode_bt_write_request("0a1B2c3D4e5F0"));
  EXPECT_EQ(1, handle_testmode_bt_write_request("0a1B2c3D4e5"));
  EXPECT_EQ(0, handle_testmode_bt_write_request("0a1B2c3D4e5F"));
}

TEST_F(ModemItemsTest, ImeiIsKeptAsAnItemWhenTheModemTookIt) {
  char fives[16] = "05050505050505", imei[16] = "49015420323751";
  make_imei_chksum(fives, 14);
  EXPECT_STREQ("050505050505053", fives);
  make_imei_chksum(imei, 14);
  EXPECT_STREQ("490154203237518", imei);
  EXPECT_EQ(0, write_tav_imei(116, imei, 15, data_, &length_));
  EXPECT_STREQ(imei, device().items.get(13, 20).c_str());
  EXPECT_EQ(1, logged("**SET FTM_ITEM - IMEI**"));
  EXPECT_EQ(0, read_tav_imei(117, "", 0, data_, &length_));
  EXPECT_EQ(imei, std::string(data_, static_cast<size_t>(length_)));
  // Refused by the modem, or written by another opcode: the copy stays.
  EXPECT_EQ(0, write_tav_imei(116, "x", 1, data_, &length_));
  modem().set_answer(118, "IMEI WRITE OK");
  EXPECT_EQ(0, write_tav_imei(118, "other", 5, data_, &length_));
  EXPECT_STREQ(imei, device().items.get(13, 20).c_str());
  device().faults.fail("request_to_modem_via_dmi");
  EXPECT_EQ(1, write_tav_imei(116, imei, 15, data_, &length_));
  EXPECT_EQ(1, logged(ANDROID_LOG_ERROR, "Cannot get response. Return error:1"));
}

TEST_F(ModemItemsTest, BootChecksMirrorTheModem) {
  const std::tuple<int, unsigned, int (*)()> rows[] = {{117, 13, imei_check_on_boot}, {157, 207, meid_check_on_boot}};
  for (const auto& [opcode, item, check] : rows) {
    modem().set_answer(opcode, "12345");
    device().items.set_text(item, 20, "9");
    EXPECT_EQ(0, check());
    EXPECT_STREQ("12345", device().items.get(item, 20).c_str());
    // What follows the compared bytes does not matter, and nothing is written when they agree.
    device().items.set_text(item, 20, "1234567");
    device().faults.fail("set_ftm_item");
    EXPECT_EQ(0, check());
    device().faults.clear();
    modem().set_answer(opcode, std::string(2048, '9'));
    EXPECT_EQ(0, check());
    EXPECT_EQ(std::string(20, '9'), device().items.get(item, 20));
    modem().clear_answers();
  }
  device().faults.fail("request_to_modem_via_dmi");
  EXPECT_EQ(1, imei_check_on_boot());
  EXPECT_EQ(1, meid_check_on_boot());
  EXPECT_EQ(1, logged(ANDROID_LOG_ERROR, "Cannot get imei from nv. 1"));
  EXPECT_EQ(1, logged(ANDROID_LOG_ERROR, "Cannot get meid from nv. 1"));
}

TEST_F(ModemItemsTest, ErasingTheIddeResetsWhatThePhoneKeeps) {
  const std::tuple<const char*, const char*, const char*, bool> rows[] = {
      {"IDDE OK", "ABC", "000", true}, {"IDDE OK done", "123456789012", "000000000000", true},
      {"IDDE OK", "", "0", true},      {"IDDE NG", "ABC", "ABC", false},
      {"IDDE", "ABC", "ABC", false},
  };
  for (const auto& [answer, serial, serial_after, reset] : rows) {
    modem().set_answer(105, answer);
    modem().set_answer(117, "490154203237518");
    device().items.set_text(13, 20, "another");
    strcpy(data_, "IDDE OK");  // of an earlier request
    device().items.set_text(9, 12, serial);
    device().items.set(8, "\1\2\3\4\5\6");
    device().properties.set("persist.sys.mcc-list", "450,");
    EXPECT_EQ(0, write_tav_idde("x", 1, data_, &length_));
    EXPECT_STREQ(serial_after, device().items.get(9, 12).c_str()) << answer << serial;
    EXPECT_EQ(reset ? "\2\0\0\0\0\0"s : "\1\2\3\4\5\6"s, device().items.get(8, 6));
    EXPECT_EQ(reset ? "0" : "450,", device().properties.get("persist.sys.mcc-list"));
    EXPECT_STREQ(reset ? "490154203237518" : "another", device().items.get(13, 20).c_str());
  }
  EXPECT_EQ("bdaddr_loader", device().properties.get("ctl.start"));
  EXPECT_EQ(1, logged("IDDE response: IDDE OK done size:12"));
  modem().set_answer(105, "IDDE OK");
  device().faults.fail("set_ftm_item 8");
  device().items.set_text(9, 12, "KEEP");
  EXPECT_EQ(1, write_tav_idde("x", 1, data_, &length_));
  EXPECT_STREQ("KEEP", device().items.get(9, 12).c_str());
}

TEST_F(ModemItemsTest, ProductIdFallsBackToItsItem) {
  EXPECT_EQ(0, write_pid("PID-1"));
  EXPECT_EQ(0, read_pid(data_));
  EXPECT_STREQ("PID-1", data_);
  EXPECT_EQ("1", device().properties.get("sys.lifeisgood"));
  EXPECT_STREQ("PID-1", device().items.get(4, 30).c_str());
  EXPECT_EQ(1, logged("[NV]write_pid ret=0, & Deault save to FTM"));
  device().faults.fail("property_set sys.lifeisgood");
  EXPECT_EQ(1, read_pid(data_));
  device().faults.fail("request_to_modem_via_dmi");
  EXPECT_EQ(1, read_pid(data_));
  EXPECT_EQ(1, logged(ANDROID_LOG_ERROR, "Cannot get response. Return error:1,rsp_len=-1"));
  EXPECT_EQ(1, write_pid("PID-2"));
  EXPECT_STREQ("PID-1", device().items.get(4, 30).c_str());
  device().faults.clear();
  device().faults.fail("set_ftm_item 4");
  EXPECT_EQ(1, write_pid("PID-2"));
  EXPECT_EQ(1, logged(ANDROID_LOG_ERROR, "Cannot set pid in FTM."));
  EXPECT_EQ(1, read_pid(nullptr));
  EXPECT_EQ(1, write_pid(nullptr));
}

TEST_F(ModemItemsTest, BulkDataGoesInChunksThatEndShort) {
  for (int length : {0, 1, 254, 255, 256, 510}) {
    std::string sent(static_cast<size_t>(length), 'b'), got(8192, '#');
    asked();
    EXPECT_EQ(0, send_modem_data(sent.data(), length));
    Requests requests = asked();
    ASSERT_EQ(static_cast<size_t>(length / 255 + 1), requests.size()) << length;
    EXPECT_EQ(static_cast<size_t>(length % 255), requests.back().payload.size()) << length;
    int received = 0;
    EXPECT_EQ(length == 0 ? 1 : 0, receive_modem_data(got.data(), &received)) << length;
    EXPECT_EQ(length, received);
    EXPECT_EQ(sent + "#", got.substr(0, sent.size() + 1));
  }
  EXPECT_EQ(1, send_modem_data("x", -1));
  modem().set_answer(156, std::string(256, 'x'));
  EXPECT_EQ(1, receive_modem_data(data_, &length_));
  device().faults.fail("request_to_modem_via_dmi");
  EXPECT_EQ(1, send_modem_data("abc", 3));
  EXPECT_EQ(1, logged(ANDROID_LOG_ERROR, "send_modem_data. Return error:1"));
}

TEST_F(ModemItemsTest, NumberedItems) {
  char data[128], back[128 + 8];
  memset(data, 'n', sizeof data);
  memset(back, '#', sizeof back);
  EXPECT_EQ(5, tav_diag_nvread(33797, back));  // never written
  EXPECT_EQ(0, tav_diag_nvwrite(33797, data));
  EXPECT_EQ("\x27\x05\x84"s + std::string(128, 'n') + "\0"s, asked().back().payload);
  EXPECT_EQ(0, tav_diag_nvread(33797, back));
  EXPECT_EQ("\x26\x05\x84"s + std::string(129, '\0'), asked().back().payload);
  EXPECT_EQ(std::string(128, 'n') + "#", std::string(back, 129));
  modem().set_answer(550, std::string(128, 'x') + "\x06");
  EXPECT_EQ(6, tav_diag_nvread(1, back));
  modem().set_answer(550, std::string(130, 'y'));
  EXPECT_EQ(4, tav_diag_nvread(1, back));
  EXPECT_EQ('x', back[0]);
  device().faults.fail("request_to_modem_via_dmi");
  EXPECT_EQ(4, tav_diag_nvread(1, back));
  EXPECT_EQ(4, tav_diag_nvwrite(1, data));
  for (int nth : {1, 2}) {
    device().faults.clear();
    device().faults.fail_nth(nth);
    EXPECT_EQ(-1, tav_diag_nvread(1, back)) << nth;
  }
  EXPECT_EQ(-1, get_tav_data_from_modem(550, data, 2049, back, &length_));
  EXPECT_EQ(-1, get_tav_data_from_modem(550, nullptr, 0, back, &length_));
}

TEST_F(ModemItemsTest, CampingByBandAndByArguments) {
  modem().set_answer(20, "OK");
  std::string numbers;
  for (int band = -1; band <= 130; ++band) {
    EXPECT_EQ(0, campreq(band)) << band;
    for (const auto& [opcode, text] : asked())
      numbers += std::to_string(band) + "=" + text + (opcode == 20 ? " " : "?");
  }
  EXPECT_EQ(
      "4=1 5=2 6=3 7=4 8=6 9=7 10=8 11=9 12=10 13=11 14=12 15=13 16=14 17=15 18=16 19=17 20=18 25=30 "
      "49=49 50=50 51=51 52=52 53=53 54=54 55=55 56=56 57=57 58=58 59=59 60=60 61=61 62=62 63=63 64=64 65=65 66=66 "
      "67=67 68=68 69=69 70=70 71=71 75=75 "
      "83=83 84=84 85=85 86=86 87=87 88=88 89=89 90=90 91=91 92=92 93=93 94=94 ",
      numbers);
  EXPECT_EQ(54, logged("[campreq] CAMP_ON"));
  modem().set_answer(20, "NG");
  EXPECT_EQ(2, campreq(4));
  modem().set_answer(20, "");
  EXPECT_EQ(2, campreq(4));
  EXPECT_EQ(1, logged(ANDROID_LOG_ERROR, "[campreq] MDM returns 0 becuase of the wrong band."));
  modem().set_answer(20, std::string(2048, 'K'));
  EXPECT_EQ(2, campreq(4));
  asked();
  char a[] = "1", b[] = "2", c[] = "xyz";
  char* arguments[] = {a, b, c};
  EXPECT_EQ(0, campreq(arguments, 3, data_));
  EXPECT_EQ((Requests{{20, "1,2,xyz"}}), asked());
  std::string large(3000, 'z');
  char* many[] = {large.data(), large.data()};
  EXPECT_EQ(0, campreq(many, 2, data_));
  EXPECT_EQ(2047u, asked().back().payload.size());
}

TEST_F(ModemItemsTest, ProductionResets) {
  const std::tuple<int, int, const char*> rows[] = {
      {0, 40, "TAV_MODEM_MSG_RESET_FIRST_PRODUCTION"},    {1, 41, "TAV_MODEM_MSG_RESET_FIRST_PRODUCTION_CHECK"},
      {2, 42, "TAV_MODEM_MSG_RESET_STARTDAY_CHECK"},      {3, 45, "TAV_MODEM_MSG_RESET_INIT_STARTDAY"},
      {4, 46, "TAV_MODEM_MSG_RESET_STARTDAY_SET"},        {100, 510, "TAV_MODEM_MSG_RTN_RESET_PRODUCTION"},
      {101, 511, "TAV_MODEM_MSG_BRAND_RESET_PRODUCTION"}, {102, 512, "TAV_MODEM_MSG_SCRTN_RESET_PRODUCTION"},
      {103, 43, "TAV_MODEM_MSG_RESET_REFURBISH"},         {104, 44, "TAV_MODEM_MSG_RESET_REFURBISH_CHECK"},
  };
  for (const auto& [kind, opcode, name] : rows) {
    EXPECT_EQ(0, tav_reset_production(kind)) << kind;
    EXPECT_EQ((Requests{{opcode, ""}}), asked()) << kind;
    EXPECT_EQ(1, logged(name)) << kind;
    modem().set_answer(opcode, "0");
    EXPECT_EQ(1, tav_reset_production(kind)) << kind;
    asked();
  }
  EXPECT_EQ(10, logged(ANDROID_LOG_ERROR, "response data: 0"));
  for (int kind : {-1, 5, 99, 105}) EXPECT_EQ(-1, tav_reset_production(kind)) << kind;
  EXPECT_EQ(Requests{}, asked());
}

// What each opcode asks of the modem, what it makes of an answer, and its result when none comes.
TEST_F(ModemItemsTest, OpcodesAskAndAnswer) {
  const std::string imei = "490154203237518", longest(255, 'i');
  struct {
    int opcode;
    std::string payload;
    sim::ModemRequest request;
    std::string says;
    int result;
    std::string answer;
    int unanswered;
  } const rows[] = {
      {4002, "2", {510, ""}, "1", 0, "", 1},
      {4002, " 3\n", {512, ""}, "0", 1, "", 1},
      {4002, "4", {511, ""}, "1", 0, "", 1},
      {4004, "1", {200, ""}, "\0"s, 0, "", 0},
      {4005, "", {4, ""}, "7", 0, "\7", 1},
      {4005, "", {4, ""}, "2", 2, "\2", 1},
      {4005, "", {4, ""}, "256", 1, "", 1},
      {4007, "259", {200, ""}, "\0"s, 0, "", 1},
      {4009, "", {200, ""}, "\0"s, 0, "", 1},
      {4020, "", {200, ""}, "\xFF", 0, "", 0},
      {4021, "", {28, ""}, "0,text", 0, "0,text", 1},
      {4033, "", {13, ""}, "mode 0", 0, "mode 0", 1},
      {4034, "", {32, ""}, "mode 1", 0, "mode 1", 1},
      {4040, "0", {610, "\0"s}, "\0"s, 0, "", 1},
      {4040, "", {610, "\1"}, "\xFF", 1, "", 1},
      {4064, "", {117, ""}, imei, 0, imei, 1},
      {4064, "", {117, ""}, "", 1, "", 1},
      {4064, "49015420323751", {116, imei}, "IMEI WRITE OK", 0, "", 1},
      {4064, "49015420A", {116, "49015420A"}, "IMEI WRITE FAIL", 1, "", 1},
      {4068, "", {102, ""}, "impl\0x"s, 0, "impl\0x"s, 1},
      {4069, "", {109, ""}, "fusg\0x"s, 0, "fusg\0x"s, 1},
      {4180, "", {200, ""}, "\0"s, 0, "", 1},
      {4266, "sd/img", {200, ""}, "\0"s, 0, "", 1},
      {4293, "4\0!"s, {116, "4\0!"s}, "IMEI WRITE FAIL", 0, "IMEI WRITE FAIL", 1},
      {4294, "", {117, ""}, longest, 0, longest, 1},
      {4294, "", {117, ""}, longest + "i", 0, "", 1},
      {4294, "", {117, ""}, "", 1, "", 1},
      {4295, "", {42, ""}, "1", 0, "", 1},
      {4400, "", {157, ""}, "meid", 0, "meid", 0},
      {4401, "", {158, ""}, "pesn", 0, "pesn", 1},
      {4405, "", {41, ""}, "1", 0, "", 1},
      {4406, "", {40, ""}, "1", 0, "", 1},
      {4406, "", {40, ""}, "0", 1, "", 1},
      {4413, "", {119, ""}, "222", 0, "222", 1},
      {4413, "", {119, ""}, "", 1, "", 1},
      {4414, "", {121, ""}, "333", 0, "333", 1},
      {4414, "", {121, ""}, "", 1, "", 1},
  };
  std::filesystem::create_directory(root_ + "/cache/minios");
  std::set<int> asking = {4059, 4063};  // of the CRC commands
  for (const auto& row : rows) {
    const auto what = testing::Message() << row.opcode << " " << row.payload << " " << row.says;
    asking.insert(row.opcode);
    modem().set_answer(row.request.opcode, row.says);
    rzcmd_response rsp = run(row.opcode, row.payload);
    EXPECT_EQ(Requests{row.request}, asked()) << what;
    EXPECT_EQ(row.result, rsp.result) << what;
    EXPECT_EQ(row.answer, data_of(rsp)) << what;
    // What does not fit is there all the same, cut, and without its length.
    if (row.says.size() == 256) EXPECT_EQ(longest, rsp.data);
    device().faults.fail("request_to_modem_via_dmi");
    rsp = run(row.opcode, row.payload);
    EXPECT_EQ(row.unanswered, rsp.result) << what;
    EXPECT_EQ(0, rsp.data_len) << what;
    device().faults.clear();
    modem().clear_answers();
    asked();
  }
  // No other opcode asks, and the table tells the client so.
  for (const Opcode& row : opcodes()) {
    if (row.state != State::built) continue;
    set_qem(0);
    run(row.number, row.number == 4002 ? "2" : "1");  // its 1 wipes the image that 4004 looks for
    EXPECT_EQ(asking.count(row.number), asked().empty() ? 0u : 1u) << row.name;
    EXPECT_EQ(asking.count(row.number), (row.effects & kModem) != 0 ? 1u : 0u) << row.name;
  }
  EXPECT_EQ(0, logged("[COMMON_INTERFACE] Receive result value from request_to_android"));
}

TEST_F(ModemItemsTest, ThreadsShareTheInterfaceAndOpenALostOneOnce) {
  for (int round = 0; round < 20; ++round) {
    modem().lose_connection();
    std::vector<std::thread> threads;
    for (int n = 0; n < 4; ++n) {
      threads.emplace_back([n] {
        char data[128], back[128] = {};
        memset(data, 'a' + n, sizeof data);
        EXPECT_EQ(0, tav_diag_nvwrite(n, data));
        EXPECT_EQ(0, tav_diag_nvread(n, back));
        EXPECT_EQ(0, memcmp(data, back, sizeof data));
      });
    }
    for (std::thread& thread : threads) thread.join();
  }
  EXPECT_EQ(20, logged("[DMI] request_to_modem : init dmi again."));
}

TEST_F(ModemItemsTest, RequestsOfThreadsReachTheModemOneAfterTheOther) {
  device().clock.hold_sleeps();
  modem().set_delay(1000);
  std::vector<std::thread> threads;
  for (int i = 0; i < 8; ++i) {
    threads.emplace_back([] { EXPECT_EQ(0, request_to_system(200, nullptr, 0, nullptr, nullptr, nullptr)); });
  }
  for (size_t turn = 1; turn <= 8 && !HasFailure(); ++turn) {
    while (modem().requests().size() < turn) std::this_thread::yield();
    device().clock.await_waiters();
    EXPECT_EQ(turn, modem().requests().size());
    device().clock.advance(1'000'000);
  }
  device().clock.release();
  for (std::thread& thread : threads) thread.join();
}

}  // namespace
}  // namespace atd
