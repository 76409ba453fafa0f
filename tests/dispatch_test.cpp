// The opcode table: every number, every payload, every failure of the calls below it.
#include <random>
#include <tuple>

#include "atd.h"
#include "dispatch/opcode_table.h"
#include "dispatch/service_handler.h"
#include "tests/phone.h"
#include "transport/response.h"

using namespace std::string_literals;

namespace atd {
namespace {

class DispatchTest : public Phone {
 protected:
  // Runs one request on a record that nobody has cleared, with canaries around it.
  rzcmd_response run(int opcode, const std::string& payload = {}, int length = -1) {
    rzcmd_request req = request_of(opcode, payload, length);
    struct {
      char before[64];
      rzcmd_response rsp;
      char after[64];
    } guarded;
    memset(&guarded, 0xA5, sizeof guarded);
    EXPECT_EQ(0, service_handler(&req, &guarded.rsp));
    EXPECT_EQ(std::string(64, '\xA5'), std::string(guarded.before, 64)) << opcode;
    EXPECT_EQ(std::string(64, '\xA5'), std::string(guarded.after, 64)) << opcode;
    return guarded.rsp;
  }

  // What holds for every response, whatever was asked.
  void check(int opcode, const rzcmd_response& rsp) {
    const Opcode* row = find_opcode(opcode);
    // An unknown opcode and 4020 leave the record as it came. Every other one fills it whole.
    if (!row || opcode == 4020) {
      const auto* bytes = reinterpret_cast<const char*>(&rsp);
      EXPECT_EQ(std::string(sizeof rsp, '\xA5'), std::string(bytes, sizeof rsp)) << opcode;
      return;
    }
    const bool built = row->state == State::built;
    // Three rows have an answer of their own: no image for the device test, a store that fails, no such reset.
    const bool own = (opcode == 4004 && rsp.result == 4) || (opcode == 4408 && rsp.result == -1) ||
                     (opcode == 4002 && rsp.result == 2);
    EXPECT_TRUE(own || (built ? rsp.result == 0 || rsp.result == 1 : rsp.result == 2)) << opcode << " " << rsp.result;
    EXPECT_EQ(0, rsp.result_status) << opcode;
    ASSERT_GE(rsp.data_len, 0) << opcode;
    ASSERT_LE(rsp.data_len, MAX_RZCMD_REQ_SIZE) << opcode;
    if (!built || row->answer == Answer::result) EXPECT_EQ(0, rsp.data_len) << opcode;
    if (row->answer == Answer::text && rsp.data_len < MAX_RZCMD_REQ_SIZE) {
      EXPECT_EQ(static_cast<size_t>(rsp.data_len), strlen(rsp.data)) << opcode;
    }
    for (int i = rsp.data_len; i < MAX_RZCMD_REQ_SIZE; ++i) ASSERT_EQ(0, rsp.data[i]) << opcode;
  }
};

TEST_F(DispatchTest, EveryOpcodeWithEveryPayload) {
  std::mt19937 random(4001);
  std::string garbage(2048, '\0');
  std::vector<int> all;
  for (int opcode = 0; opcode <= 4500; ++opcode) all.push_back(opcode);
  for (int opcode : {-1, -4010, INT32_MIN, INT32_MAX}) all.push_back(opcode);
  for (int opcode : all) {
    for (char& c : garbage) c = static_cast<char>(random());
    check(opcode, run(opcode));
    check(opcode, run(opcode, std::string(2048, '1')));
    check(opcode, run(opcode, garbage));
    check(opcode, run(opcode, garbage, static_cast<int>(random())));
    check(opcode, run(opcode, "1", INT32_MIN));
  }
  for (const std::string& what : device().power.history()) EXPECT_TRUE(what.starts_with("refused ")) << what;
  rzcmd_response rsp;
  respond_text(&rsp, std::string(2048, 'x').c_str(), 1);
  EXPECT_EQ(2047, rsp.data_len);
  EXPECT_EQ(std::string(2047, 'x'), rsp.data);
}

TEST_F(DispatchTest, EveryOpcodeWithEachCallBelowItFailing) {
  for (const Opcode& row : opcodes()) {
    if (row.state != State::built) continue;
    for (const std::string& payload : {""s, "1"s, "0a1B2c3D4e5F"s}) {
      int before = device().faults.calls();
      run(row.number, payload);
      int calls = device().faults.calls() - before;
      for (int nth = 1; nth <= calls; ++nth) {
        device().faults.fail_nth(nth);
        check(row.number, run(row.number, payload));
      }
      device().faults.clear();
    }
  }
}

TEST_F(DispatchTest, EveryNameFindsItsRow) {
  for (const Opcode& row : opcodes()) {
    EXPECT_EQ(&row, find_opcode(row.name)) << "another row has the name " << row.name;
    EXPECT_EQ(&row, find_opcode(row.number));
  }
  EXPECT_EQ(nullptr, find_opcode("nothing"));
  for (int number : {0, 3172, 4000, 4014, 4415}) EXPECT_EQ(nullptr, find_opcode(number));
}

// One request on a phone with one item set, and what it answers and leaves.
struct Case {
  const char* what;
  int opcode;
  std::string payload;
  unsigned item;
  std::string before;
  int result;
  std::string answer;
  std::string after;  // of the item
};

const Case kCases[] = {
    {"serial number", 4010, "", 9, "ABCDEF123456", 0, "ABCDEF123456", "ABCDEF123456"},
    {"no serial number", 4010, "", 9, std::string(12, '\0'), 0, "0", std::string(12, '\0')},
    {"msn", 4015, "", 18, "0123456789ABCDEF", 0, "0123456789ABCDEF", "0123456789ABCDEF"},
    {"manufacture date", 4016, "", 19, "20260131\0\0\0\0\0\0\0\0"s, 0, "20260131", "20260131\0\0\0\0\0\0\0\0"s},
    {"csn", 4018, "", 37, std::string(16, '\0'), 0, "", std::string(16, '\0')},
    {"fixed area", 4024, "", 31, std::string(50, 'F'), 0, std::string(50, 'F'), std::string(50, 'F')},
    {"laser autofocus", 4215, "", 211, "\0\1\2\3\4\5\6\7\x08\x09"s, 0, "\0\1\2\3\4\5\6\7\x08\x09"s,
     "\0\1\2\3\4\5\6\7\x08\x09"s},
    {"image status", 4296, "", 213, "\x81", 0, "\x81", "\x81"},
    {"image security number", 4297, "", 214, "\1\0\2\0"s, 0, "\1\0\2\0"s, "\1\0\2\0"s},
    {"image name", 4298, "", 215, "operator\0\0\0\0\0\0\0\0"s, 0, "operator", "operator\0\0\0\0\0\0\0\0"s},
    {"download mode on", 3170, "on", 129, "off\0\0\0\0\0"s, 0, "", "on\0\0\0\0\0\0"s},
    {"download mode, eight bytes", 3170, "o23456789", 129, std::string(8, '\0'), 0, "", "o2345678"},
    {"download mode refused", 3170, "xon", 129, "on\0\0\0\0\0\0"s, 1, "", "on\0\0\0\0\0\0"s},
    {"download mode read", 3171, "", 129, "o2345678", 0, "o2345678", "o2345678"},
    {"download mode off", 3171, "", 129, "no\0\0\0\0\0\0"s, 0, "off", "no\0\0\0\0\0\0"s},
    {"wine IME read", 3200, "", 75, "\x02", 0, "\x02", "\x02"},
    {"wine IME write", 3201, "\x03", 75, "\x02", 0, "", "\x03"},
    {"wine IME without a value", 3201, "", 75, "\x02", 0, "", "\0"s},
    {"charger skip asked, set", 4003, "2", 10, "\x05", 1, "", "\x05"},
    {"charger skip asked, not set", 4003, "2", 10, "\0"s, 0, "", "\0"s},
    {"charger skip with half a number", 4003, "2x", 10, "\0"s, 1, "", "\0"s},
    {"charger skip with spaces and a line end", 4003, "  +259 \r\n", 10, "\0"s, 0, "", "\x03"},
    {"charger skip with the line end first", 4003, "\n2", 10, "\x05", 1, "", "\x05"},
    {"charger skip with a lonely sign", 4003, "- 1", 10, "\0"s, 1, "", "\0"s},
    {"charger skip with 32 bits", 4003, "-2147483648", 10, "\x05", 0, "", "\0"s},
    {"charger skip beyond 32 bits", 4003, "4294967298", 10, "\0"s, 1, "", "\0"s},
    {"charger skip beyond 64 bits", 4003, "99999999999999999999", 10, "\x05", 1, "", "\x05"},
    {"MAC write", 4065, "0a1B2c3D4e5Fxyz", 6, std::string(6, '\0'), 0, "", "\x0a\x1b\x2c\x3d\x4e\x5f"},
    {"MAC write, foreign character", 4065, "0a1B2c3D4e5g", 6, "keepme", 1, "", "keepme"},
    {"MAC write, short", 4065, "0a1B", 6, "keepme", 1, "", "keepme"},
    {"MAC write without a terminator", 4065, std::string(2048, 'A'), 6, "keepme", 1, "", "keepme"},
    {"MAC read", 4065, "", 6, "\x0a\x1b\x2c\x3d\x4e\xff", 0, "0A1B2C3D4EFF", "\x0a\x1b\x2c\x3d\x4e\xff"},
    {"MAC of zeros", 4065, "", 6, std::string(6, '\0'), 1, "", std::string(6, '\0')},
    {"Bluetooth write", 4066, "0a1B2c3D4e5F", 8, std::string(6, '\0'), 0, "", "\x0a\x1b\x2c\x3d\x4e\x5f"},
    {"Bluetooth write, long", 4066, "0a1B2c3D4e5F0", 8, "keepme", 1, "", "keepme"},
    {"Bluetooth write without a terminator", 4066, std::string(2048, 'A'), 8, "keepme", 1, "", "keepme"},
    {"Bluetooth read", 4066, "", 8, "\x0a\x1b\x2c\x3d\x4e\xff", 0, "0A1B2C3D4EFF", "\x0a\x1b\x2c\x3d\x4e\xff"},
    {"Bluetooth of zeros", 4066, "", 8, std::string(6, '\0'), 0, "020000000000", std::string(6, '\0')},
};

TEST_F(DispatchTest, ItemsAreAnsweredAndStored) {
  for (const Case& row : kCases) {
    device().items.set(row.item, row.before);
    rzcmd_response rsp = run(row.opcode, row.payload);
    EXPECT_EQ(row.result, rsp.result) << row.what;
    EXPECT_EQ(row.answer, data_of(rsp)) << row.what;
    EXPECT_EQ(row.after, device().items.get(row.item, static_cast<int>(row.before.size()))) << row.what;
  }
  EXPECT_EQ(1, logged(ANDROID_LOG_ERROR, "wlan_mac_read : invalid mac_addr_hexa"));
  EXPECT_EQ(1, logged("AutoMID write WIFI MAC Success :)"));
  EXPECT_EQ(1, logged("handle_get_wine_ime : 2"));
}

TEST_F(DispatchTest, ItemsThatCannotBeReadOrStored) {
  device().faults.fail("get_ftm_item");
  device().faults.fail("set_ftm_item");
  const std::tuple<int, std::string, int, std::string> rows[] = {
      {3170, "on", 1, ""}, {3171, "", 0, "off"}, {3200, "", 0, "\xFF"},
      {3201, "\1", 1, ""}, {4003, "2", 0, ""},   {4003, "1", 0, ""},
      {4009, "", 1, ""},   {4010, "", 1, ""},    {4015, "", 1, ""},
      {4016, "", 1, ""},   {4018, "", 1, ""},    {4024, "", 1, ""},
      {4065, "", 1, ""},   {4215, "", 1, ""},    {4296, "", 1, ""},
      {4297, "", 1, ""},   {4298, "", 1, ""},    {4065, "0a1B2c3D4e5F", 1, ""},
  };
  for (const auto& [opcode, payload, result, answer] : rows) {
    rzcmd_response rsp = run(opcode, payload);
    EXPECT_EQ(result, rsp.result) << opcode;
    EXPECT_EQ(answer, data_of(rsp)) << opcode;
  }
  EXPECT_EQ(1, logged(ANDROID_LOG_ERROR, "handle_charger_skip : cannot read item 10"));
  EXPECT_EQ(1, logged(ANDROID_LOG_ERROR, "[SNIFF] handle_sniff_w_mid : cannot mark item 88"));
}

TEST_F(DispatchTest, DiagTty) {
  EXPECT_EQ(0, run(4080, "\x02").result);
  EXPECT_EQ(1, diag_tty_blocked());
  EXPECT_EQ("\0"s, data_of(run(4081)));  // whatever the state is
  EXPECT_EQ(0, run(4080, "\0"s).data_len);
  EXPECT_EQ(0, diag_tty_blocked());
  EXPECT_EQ(2, logged("service_handler: opcode = 4080"));
  EXPECT_EQ(1, logged("hanlde_set_diag_tty_block(), req->data: 2"));
  EXPECT_EQ(1, logged("hanlde_get_diag_tty_block(), rsp->data: 0"));
}

TEST_F(DispatchTest, SniffDownloadMarksItsItemAndRestarts) {
  init_modem_interface(0);
  std::string ended;
  uint64_t slept = 0;
  std::vector<std::string> before;
  device().power.allow([&](const std::string& what) {
    ended = what;
    slept = device().clock.slept();
    before = device().shell.history();
  });
  device().items.set(88, std::string(1684, 'd'));
  EXPECT_EQ(0, run(4009).result);
  device().threads.await_none();
  EXPECT_EQ("reboot", ended);
  EXPECT_EQ(1'000'000u, slept);
  EXPECT_EQ((std::vector<std::string>{"sync"}), before);
  std::string item = device().items.get(88, 1684);
  EXPECT_EQ(std::string(68, 'd') + "3\0\0\0\0\0\0\0"s + std::string(1684 - 76, 'd'), item);
  EXPECT_EQ(2, get_factory_status());
  for (const char* line : {"[SNIFF] handle_sniff_w_mid : frst(2)", "start system_restart", "system_efs_sync DONE",
                           "sync DONE", "end system_restart", "start restart", "end restart"}) {
    EXPECT_EQ(1, logged(line)) << line;
  }

  // An item that cannot be read stays as it is.
  device().faults.fail("get_ftm_item 88");
  EXPECT_EQ(0, run(4009).result);
  device().threads.await_none();
  EXPECT_EQ(item, device().items.get(88, 1684));
  device().modem.set_answer(200, "\xFE");
  EXPECT_EQ(0, system_efs_sync());
  device().modem.set_answer(200, "\xFF");
  EXPECT_EQ(1, run(4009).result);
  EXPECT_EQ(1, logged(ANDROID_LOG_ERROR, "system_efs_sync Fail ! rsp error."));
  device().modem.clear_answers();
  device().faults.fail("request_to_modem_via_dmi");
  EXPECT_EQ(1, run(4009).result);
  EXPECT_EQ(1, logged(ANDROID_LOG_ERROR, "system_efs_sync Fail ! return error."));
  EXPECT_EQ(2, logged(ANDROID_LOG_ERROR, "EFS SYNC ERROR"));
  device().faults.clear();
  device().faults.fail("start_thread");
  EXPECT_EQ(1, run(4009).result);
  EXPECT_EQ(1, logged(ANDROID_LOG_ERROR, "Unable to create frst thread : Resource temporarily unavailable"));
}

}  // namespace
}  // namespace atd
