#include <fstream>
#include <map>
#include <tuple>

#include "atd.h"
#include "factory/item_registry.h"
#include "tests/phone.h"

using namespace std::string_literals;

namespace atd {
namespace {

using FactoryItemsTest = Phone;

// The length of every item by its index. The boot loader and the factory's tools know them so.
const std::map<unsigned, int> kLengths = {
    {2, 1},      {3, 1},      {4, 30},    {5, 31},    {6, 6},    {7, 31},   {8, 6},      {9, 12},     {10, 1},
    {11, 4},     {12, 1},     {13, 20},   {14, 70},   {15, 70},  {17, 128}, {18, 16},    {19, 16},    {21, 512},
    {23, 1},     {25, 128},   {29, 31},   {31, 50},   {32, 8},   {36, 10},  {37, 16},    {39, 30},    {40, 1},
    {44, 128},   {45, 64},    {46, 8},    {49, 1},    {53, 1},   {75, 1},   {79, 2048},  {80, 1},     {88, 1684},
    {89, 512},   {90, 512},   {95, 256},  {97, 256},  {101, 1},  {106, 1},  {119, 1},    {129, 8},    {132, 1},
    {207, 20},   {210, 92},   {211, 10},  {212, 128}, {213, 1},  {214, 4},  {215, 16},   {216, 1},    {217, 1},
    {218, 1},    {221, 1},    {223, 1},   {225, 1},   {226, 1},  {230, 16}, {231, 7500}, {235, 7500}, {239, 7500},
    {243, 7500}, {247, 7500}, {251, 128}, {252, 1},   {253, 40}, {300, 4},  {410, 1},    {3586, 10}};

TEST_F(FactoryItemsTest, TheRegistryHasEveryItemAtItsLength) {
  std::map<unsigned, int> registered;
  for (const FactoryItem& item : kFactoryItems) registered[item.index] = item.length;
  EXPECT_EQ(kLengths, registered);
  char buffer[2049] = {};
  device().items.set(79, std::string(2048, 't'));
  EXPECT_EQ(0, get_string_ftm_by_index(79, buffer));
  EXPECT_EQ(std::string(2048, 't'), buffer);
  device().items.set(252, "\xFE");
  EXPECT_EQ(254, get_int_ftm_by_index(252));
}

const std::tuple<unsigned, int (*)(), int (*)(int)> kFlags[] = {
    {2, get_factory_status, set_factory_status},
    {3, get_qem, set_qem},
    {10, get_charger_skip, set_charger_skip},
    {23, get_frst_running, set_frst_running},
    {40, get_workfrstmodeon_status, set_workfrstmodeon_status},
    {75, get_wine_ime, set_wine_ime},
    {80, get_hiddenMenu_extension, set_hiddenMenu_extension},
    {101, nullptr, set_lcd_break_mode},
    {106, get_testmode, set_testmode},
    {119, get_mfts_status, nullptr},
    {132, get_radiation_result, set_radiation_result},
    {216, get_fsg_wp_enable, set_fsg_wp_enable},
    {217, get_use_fsg, set_use_fsg},
    {218, get_use_fsg_count, set_use_fsg_count},
    {221, get_fsg_wp_status, set_fsg_wp_status},
    {223, get_ship_mode_status, set_ship_mode_status},
    {225, get_scan_dm0_enable, set_scan_dm0_enable},
    {226, get_scan_dm0_status, set_scan_dm0_status},
    {410, get_copy_preload_status, set_copy_preload_status},
};

TEST_F(FactoryItemsTest, FlagsKeepTheLowByte) {
  for (const auto& [index, get, set] : kFlags) {
    SCOPED_TRACE(index);
    if (set) EXPECT_EQ(0, set(0x1FF));
    else device().items.set(index, "\xFF");
    EXPECT_EQ("\xFF", device().items.get(index, 1));
    if (get) EXPECT_EQ(255, get());
    device().faults.fail("get_ftm_item " + std::to_string(index));
    device().faults.fail("set_ftm_item " + std::to_string(index));
    if (get) EXPECT_EQ(-1, get());
    if (set) EXPECT_EQ(-1, set(1));
    device().faults.clear();
  }
  EXPECT_EQ(255, qem_get_status) << "kept on success only";
  device().items.set(3, "\x05");
  EXPECT_EQ(5, get_qem());
  EXPECT_EQ(5, qem_get_status);
  EXPECT_EQ(0, set_qem(1));
  EXPECT_EQ(1, qem_get_status);
  EXPECT_EQ(1, logged("set_workfrstmodeon_status:[511] "));
  EXPECT_EQ(1, logged("set_lcd_break_status:[511] "));
}

// The last column says whether an item is cleared before it is written.
const std::tuple<unsigned, int (*)(char*), int (*)(const char*), bool> kBuffers[] = {
    {4, get_pid, set_pid, false},
    {11, get_lcd_cal_data, set_lcd_cal_data, false},
    {12, get_dload_factory_reset_flag_ftm_item, set_dload_factory_reset_flag_ftm_item, false},
    {13, get_imei_ftm_item, set_imei_ftm_item, false},
    {14, get_sw_version_ftm_item, set_sw_version_ftm_item, false},
    {15, get_sw_original_version_ftm_item, set_sw_original_version_ftm_item, false},
    {17, get_aatset, set_aatset, true},
    {21, get_diag_enable_status_from_misc, set_diag_enable_status_to_misc, false},
    {25, get_aat_test_order, set_aat_test_order, true},
    {31, get_sw_fixed_area_version_ftm_item, set_sw_fixed_area_version_ftm_item, false},
    {32, get_buyer_item, set_buyer_item, false},
    {36, get_set_revision, set_set_revision, false},
    {45, get_selfd_result, nullptr, false},
    {89, get_sniff_download_config, set_sniff_download_config, false},
    {90, get_sdcard_download_path, set_sdcard_download_path, false},
    {207, get_meid_ftm_item, set_meid_ftm_item, false},
    {211, get_ldaf_cal_ftm_item, nullptr, false},
    {212, get_saatresult, set_saatresult, true},
    {251, get_midauto_result, set_midauto_result, true},
    {253, get_midauto_crc_list, set_midauto_crc_list, true},
    {300, get_gpio_sum, set_gpio_sum, false},
};

TEST_F(FactoryItemsTest, BuffersHaveTheirLength) {
  for (const auto& [index, get, set, clears] : kBuffers) {
    SCOPED_TRACE(index);
    const int length = kLengths.at(index);
    std::string value(static_cast<size_t>(length), 'v'), read(static_cast<size_t>(length) + 1, '#');
    int calls = device().faults.calls();
    if (set) EXPECT_EQ(0, set(value.data()));
    else device().items.set(index, value);
    if (set) EXPECT_EQ(clears ? 2 : 1, device().faults.calls() - calls);
    EXPECT_EQ(0, get(read.data()));
    EXPECT_EQ(value + "#", read);
    if (!set) continue;
    // Of an item that is cleared first, nothing more is written when that fails, and zeros stay when the rest fails.
    device().faults.fail_nth(1);
    EXPECT_EQ(-1, set(std::string(value.size(), 'w').data()));
    EXPECT_EQ(value, device().items.get(index, length));
    device().faults.fail_nth(2);
    EXPECT_EQ(clears ? -1 : 0, set(value.data()));
    if (clears) EXPECT_EQ(std::string(value.size(), '\0'), device().items.get(index, length));
    device().faults.clear();
    device().faults.fail("get_ftm_item");
    EXPECT_EQ(-1, get(read.data()));
    device().faults.clear();
  }
  EXPECT_EQ(1, logged("Set ftm Error! Item : 12"));
  EXPECT_EQ(1, logged(ANDROID_LOG_ERROR, "Fail to get_diag_enable_status_to_misc"));
  EXPECT_EQ(1, logged(ANDROID_LOG_ERROR, "Fail to set_diag_enable_status_to_misc"));
  EXPECT_EQ(200u, device().clock.slept());  // only the automatic-test set waits, 100 us each time
}

TEST_F(FactoryItemsTest, FactoryStatusThreeRemovesTheAgreements) {
  const char* const files[] = {"/cache/recovery/last_locale", "/mpt/agree_factory", "/vendor/mpt/agree_factory"};
  for (const char* file : files) {
    std::string path = device().path(file);
    std::filesystem::create_directories(std::filesystem::path(path).parent_path());
    std::ofstream(path) << "x";
  }
  set_factory_status(2);
  for (const char* file : files) EXPECT_TRUE(std::filesystem::exists(device().path(file)));
  device().faults.fail("set_ftm_item 2");
  EXPECT_EQ(-1, set_factory_status(3));
  for (const char* file : files) EXPECT_FALSE(std::filesystem::exists(device().path(file))) << file;
  EXPECT_EQ(1, logged("set_factory_status:[3] "));
  EXPECT_EQ(1, logged("Set ftm Error! Item : 2"));
  EXPECT_EQ('2', device().items.get(79, 2048)[0]);  // a failed write leaves no trace
  EXPECT_EQ('\0', device().items.get(79, 2048)[1]);
}

TEST_F(FactoryItemsTest, TraceKeepsEveryStatusUntilItIsFull) {
  for (int value : {0, 1, 12, 3}) EXPECT_EQ(0, set_frst_trace(value));
  EXPECT_EQ(1, logged("trace value : 0>1>1>2>3>"));
  const std::tuple<size_t, int, std::string> rows[] = {
      {2046, 5, std::string(2046, '1') + "5"},
      {2046, 45, std::string(2046, '1') + "4"},
      {2047, 6, "6"},
      {2048, 6, "6"},
  };
  for (const auto& [length, value, text] : rows) {
    device().items.set_text(79, 2048, std::string(length, '1'));
    EXPECT_EQ(0, set_frst_trace(value));
    EXPECT_EQ(text, device().items.get(79, 2048).c_str()) << length;
  }
  EXPECT_EQ(2, logged("Full RZFTM_FRST_TRACE, initialize this item"));
  device().faults.fail("get_ftm_item 79");
  EXPECT_EQ(0, set_frst_trace(7));
  EXPECT_STREQ("7", device().items.get(79, 2048).c_str());
  device().faults.fail("set_ftm_item 79");
  EXPECT_EQ(-1, set_frst_trace(8));
  EXPECT_EQ(1, logged("Set ftm Error! Item : RZFTM_FRST_TRACE"));
  EXPECT_EQ(0, set_factory_status(4));  // the trace's failure stays its own
}

TEST_F(FactoryItemsTest, DigitsAndTheirLogLines) {
  char text[16] = "########";
  EXPECT_EQ(0, set_crcwizard(12));
  EXPECT_EQ("1", device().items.get(49, 1));
  EXPECT_EQ(0, get_crcwizard(text));
  EXPECT_STREQ("1#######", text);
  EXPECT_EQ(1, logged("CWCWIZARD set_crcwizard(1)"));
  EXPECT_EQ(1, logged("CWCWIZARD get_crcwizard pass"));
  EXPECT_EQ(1, logged("CWCWIZARD get_crcwizard(1)"));
  EXPECT_EQ(0, set_pre_selfde_enable(1));
  EXPECT_EQ(0, get_pre_selfde_enable(text));
  EXPECT_EQ('1', text[0]);
  device().items.set(7, std::string(31, '7'));
  EXPECT_EQ(7, get_devicetestp_result());
  EXPECT_EQ(1, logged("get_devicetestp_result, result[31] = " + std::string(31, '7') + ","));
  device().items.set(3586, std::string(10, 'u'));
  EXPECT_EQ(0, get_os_upgrade_flag_ftm_item(text));
  EXPECT_STREQ("uuuuuuuuu", text);

  for (const char* call : {"set_ftm_item", "get_ftm_item", "init_ftm_item"}) device().faults.fail(call);
  EXPECT_EQ(-1, init_factory_item(0));
  EXPECT_EQ(1, logged(ANDROID_LOG_ERROR, "Failed to init ftm item"));
  EXPECT_EQ(-1, set_os_upgrade_flag_ftm_item(text));
  EXPECT_EQ(1, logged(ANDROID_LOG_ERROR, "Set ftm fail"));
  EXPECT_EQ(-1, get_devicetestp_result());
  EXPECT_EQ(-1, get_string_ftm_by_index(79, text));
  EXPECT_EQ(-1, get_int_ftm_by_index(2));
}

TEST_F(FactoryItemsTest, APersonMayEditTheFiles) {
  const std::tuple<std::string, std::string, int> rows[] = {{"SN0123456789\n", "SN0123456789", 0},
                                                            {"SN012345678\n", "SN012345678\n", 0},
                                                            {"SN01\n", "SN01" + std::string(8, '\0'), 1},
                                                            {"", std::string(12, '\0'), 1},
                                                            {"SN0123456789.", "SN0123456789", 1},
                                                            {"SN0123456789", "SN0123456789", 0},
                                                            {"\n", std::string(12, '\0'), 1}};
  auto warnings = [&] { return static_cast<int>(device().logs.lines(LOG_ID_MAIN).size()); };
  for (const auto& [content, value, expected] : rows) {
    SCOPED_TRACE(content);
    std::ofstream(root_ + "/sim/items/9-12") << content;
    const int before = warnings();
    for (int i = 0; i < 3; ++i) EXPECT_EQ(value, device().items.get(9, 12));
    EXPECT_EQ(expected, warnings() - before);
  }
  EXPECT_EQ(1, device().logs.count(LOG_ID_MAIN, ANDROID_LOG_WARN, "ftm",
                                   "sim/items/9-12 has 5 bytes instead of 12: it is padded with NULs"));
}

}  // namespace
}  // namespace atd
