// The request channel to modem and platform, the modem items, and their opcodes.
#include <thread>
#include <tuple>

#include "atd.h"
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
    rzcmd_request req = {opcode, static_cast<int>(payload.size()), ""};
    payload.copy(req.data, sizeof req.data);
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
  // 1000 and 4414 found no broker.
  EXPECT_EQ(2, logged("[COMMON_INTERFACE] Normal Boot : Call request_to_android"));
}

TEST_F(ModemItemsTest, AFailedRequestOpensTheInterfaceOnceMoreAndIsRepeated) {
  modem().fail_request(1);
  EXPECT_EQ(0, request_to_system(200, nullptr, 0, nullptr, nullptr, nullptr));
  EXPECT_EQ(1, logged("[DMI] request_to_modem : init dmi again."));
  EXPECT_EQ(2u, asked().size());

  modem().lose_connection();
  EXPECT_EQ(0, request_to_system(200, nullptr, 0, nullptr, nullptr, nullptr));
  asked();

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
  EXPECT_EQ(1, request_to_system(200, guarded, 2049, data_, &length_, nullptr));
  EXPECT_EQ(-1, length_);
}

TEST_F(ModemItemsTest, RecordsAreWrittenAndRead) {
  struct {
    int (*call)(const char*, int, char*, int*);
    int opcode;
  } const rows[] = {{write_tav_impl, 101}, {read_tav_impl, 102},  {write_tav_bcpl, 103}, {read_tav_bcpl, 104},
                    {read_tav_idde, 106},  {write_tav_otpe, 107}, {write_tav_fusg, 108}, {read_tav_fusg, 109},
                    {write_tav_cdbe, 110}, {write_tav_bcpe, 111}, {write_tav_pid2, 114}, {read_tav_pid2, 115},
                    {write_tav_btad, 122}, {read_tav_btad, 123},  {read_tav_pid, 202},   {write_tav_pid, 203}};
  for (const auto& row : rows) {
    modem().set_answer(row.opcode, "answer");
    EXPECT_EQ(0, row.call("data", 4, data_, &length_));
    EXPECT_EQ("answer", std::string(data_, static_cast<size_t>(length_)));
    EXPECT_EQ((Requests{{row.opcode, "data"}}), asked());
    EXPECT_EQ(row.opcode == 202 ? 0 : 1, row.call(nullptr, 0, data_, &length_)) << row.opcode;
    EXPECT_EQ(row.opcode == 203 ? 0 : 1, row.call("data", 4, nullptr, &length_)) << row.opcode;
    EXPECT_EQ(row.opcode == 202 || row.opcode == 203 ? 1u : 0u, asked().size());
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
  char imei[16] = "49015420323751";
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
  struct {
    int opcode;
    unsigned item;
    int (*check)();
  } const rows[] = {{117, 13, imei_check_on_boot}, {157, 207, meid_check_on_boot}};
  for (const auto& row : rows) {
    modem().set_answer(row.opcode, "12345");
    EXPECT_EQ(0, row.check());
    EXPECT_STREQ("12345", device().items.get(row.item, 20).c_str());
    // What follows the compared bytes does not matter, and nothing is written when they agree.
    device().items.set_text(row.item, 20, "1234567");
    device().faults.fail("set_ftm_item");
    EXPECT_EQ(0, row.check());
    device().faults.clear();
    modem().set_answer(row.opcode, std::string(2048, '9'));
    EXPECT_EQ(0, row.check());
    EXPECT_EQ(std::string(20, '9'), device().items.get(row.item, 20));
    modem().clear_answers();
  }
  device().faults.fail("request_to_modem_via_dmi");
  EXPECT_EQ(1, imei_check_on_boot());
  EXPECT_EQ(1, meid_check_on_boot());
  EXPECT_EQ(1, logged(ANDROID_LOG_ERROR, "Cannot get imei from nv. 1"));
  EXPECT_EQ(1, logged(ANDROID_LOG_ERROR, "Cannot get meid from nv. 1"));
}

TEST_F(ModemItemsTest, ErasingTheIddeResetsWhatThePhoneKeeps) {
  struct {
    const char *answer, *serial;
    int result;
    const char* serial_after;
    bool reset;
  } const rows[] = {{"IDDE OK", "ABC", 0, "000", true},
                    {"IDDE OK done", "123456789012", 0, "000000000000", true},
                    {"IDDE OK", "", 0, "0", true},
                    {"IDDE NG", "ABC", 0, "ABC", false},
                    {"IDDE", "ABC", 0, "ABC", false}};
  for (const auto& row : rows) {
    modem().set_answer(105, row.answer);
    device().items.set_text(9, 12, row.serial);
    device().items.set(8, "\1\2\3\4\5\6");
    device().properties.set("persist.sys.mcc-list", "450,");
    EXPECT_EQ(row.result, write_tav_idde("x", 1, data_, &length_));
    EXPECT_STREQ(row.serial_after, device().items.get(9, 12).c_str()) << row.answer << row.serial;
    EXPECT_EQ(row.reset ? "\2\0\0\0\0\0"s : "\1\2\3\4\5\6"s, device().items.get(8, 6));
    EXPECT_EQ(row.reset ? "0" : "450,", device().properties.get("persist.sys.mcc-list"));
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
  for (int length : {0, 1, 254, 255, 256, 510, 5000}) {
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
  modem().set_answers(156, {std::string(255, 'a'), std::string(255, 'b'), std::string(10, 'c')});
  int received = 0;
  std::string got(1024, '#');
  EXPECT_EQ(0, receive_modem_data(got.data(), &received));
  EXPECT_EQ(520, received);
  modem().set_answer(156, std::string(256, 'x'));
  EXPECT_EQ(1, receive_modem_data(got.data(), &received));
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

TEST_F(ModemItemsTest, SeveralThreads) {
  std::vector<std::thread> threads;
  for (int n = 0; n < 4; ++n) {
    threads.emplace_back([n] {
      for (int i = 0; i < 20; ++i) {
        char data[128], back[128] = {};
        memset(data, 'a' + n, sizeof data);
        EXPECT_EQ(0, init_modem_interface(0));
        EXPECT_EQ(0, tav_diag_nvwrite(n, data));
        EXPECT_EQ(0, tav_diag_nvread(n, back));
        EXPECT_EQ(0, memcmp(data, back, sizeof data));
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
}

TEST_F(ModemItemsTest, CampingByBandAndByArguments) {
  const std::tuple<int, const char*> rows[] = {{3, ""},    {4, "1"},   {7, "4"}, {8, "6"},   {11, "9"}, {12, "10"},
                                               {20, "18"}, {21, ""},   {24, ""}, {25, "30"}, {26, ""},  {48, ""},
                                               {49, "49"}, {71, "71"}, {72, ""}, {75, "75"}, {76, ""},  {82, ""},
                                               {83, "83"}, {94, "94"}, {95, ""}, {-1, ""}};
  modem().set_answer(20, "OK");
  for (const auto& [band, text] : rows) {
    asked();
    EXPECT_EQ(0, campreq(band)) << band;
    EXPECT_EQ(*text ? Requests({{20, text}}) : Requests(), asked()) << band;
  }
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

TEST_F(ModemItemsTest, Opcodes) {
  const std::string imei = "490154203237518";
  struct {
    const char* what;
    int opcode;
    std::string payload;
    int result;
    std::string answer;
  } const rows[] = {
      {"no IMEI yet", 4294, "", 1, ""},
      {"IMEI write, check digit added", 4064, "49015420323751", 0, ""},
      {"IMEI read", 4064, "", 0, imei},
      {"IMEI refused", 4064, "49015420A", 1, ""},
      {"IMEI write, raw", 4293, imei, 0, "IMEI WRITE OK"},
      {"IMEI read, raw", 4294, "", 0, imei},
      {"second IMEI, none", 4413, "", 1, ""},
      {"third IMEI, none", 4414, "", 1, ""},
      {"production check", 4405, "", 0, ""},
      {"production", 4406, "", 0, ""},
      {"satpc 0", 4033, "", 0, "OK"},
      {"satpc 1", 4034, "", 0, "OK"},
  };
  for (const auto& row : rows) {
    rzcmd_response rsp = run(row.opcode, row.payload);
    EXPECT_EQ(row.result, rsp.result) << row.what;
    EXPECT_EQ(row.answer, data_of(rsp)) << row.what;
  }
  EXPECT_EQ((Requests{{41, ""}, {40, ""}, {13, ""}, {32, ""}}), [&] {
    Requests all = asked();
    return Requests(all.end() - 4, all.end());
  }());
  modem().set_answer(119, "222");
  modem().set_answer(121, "333");
  EXPECT_EQ("222", data_of(run(4413)));
  EXPECT_EQ("333", data_of(run(4414)));
  write_tav_impl("impl", 4, data_, &length_);
  EXPECT_EQ("impl", data_of(run(4068)));
  EXPECT_NE("", data_of(run(4400)));
  EXPECT_NE("", data_of(run(4401)));

  modem().set_answer(117, std::string(255, 'i'));
  EXPECT_EQ(255, run(4294).data_len);
  modem().set_answer(117, std::string(256, 'i'));
  rzcmd_response rsp = run(4294);
  EXPECT_EQ(0, rsp.result);
  EXPECT_EQ(0, rsp.data_len);
  EXPECT_EQ(std::string(255, 'i'), std::string(rsp.data));
  modem().set_answer(40, "0");
  EXPECT_EQ(1, run(4406).result);
  EXPECT_EQ(1, logged(ANDROID_LOG_ERROR, "response data: 0"));
  EXPECT_EQ(-1, tav_reset_production(5));

  device().faults.fail("request_to_modem_via_dmi");
  for (int opcode : {4033, 4034, 4064, 4068, 4069, 4293, 4294, 4401, 4405, 4406, 4413, 4414}) {
    rsp = run(opcode);
    EXPECT_EQ(1, rsp.result) << opcode;
    EXPECT_EQ(0, rsp.data_len) << opcode;
  }
  EXPECT_EQ(0, run(4400).result);  // even when the modem fails
}

}  // namespace
}  // namespace atd
