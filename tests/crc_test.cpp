// Checksums of partitions, files and the modem's items, and the dumps. The values are Python's.
#include <fstream>

#include "atd.h"
#include "dispatch/service_handler.h"
#include "tests/phone.h"

using namespace std::string_literals;
namespace fs = std::filesystem;

namespace atd {
namespace {

std::string noise(size_t size, uint32_t seed, std::vector<std::pair<size_t, uint32_t>> numbers = {}) {
  std::string bytes(size, '\0');
  for (char& c : bytes) c = static_cast<char>((seed = seed * 1664525 + 1013904223) >> 24);
  for (const auto& [place, number] : numbers) memcpy(&bytes[place], &number, sizeof number);
  return bytes;
}

// The paths of a text, one a line.
std::vector<std::string> lines(const std::string& text) {
  std::istringstream stream(text);
  std::vector<std::string> result;
  for (std::string line; std::getline(stream, line);) result.push_back(line);
  return result;
}

class CrcTest : public Phone {
 protected:
  CrcTest() { init_modem_interface(0); }

  std::string command(int type, int result) {
    char out[22];
    EXPECT_EQ(result, crc_command(type, out)) << type;
    return out;
  }
  rzcmd_response run(int opcode, const std::string& payload = "") {
    rzcmd_request req = request_of(opcode, payload);
    rzcmd_response rsp = {};
    service_handler(&req, &rsp);
    return rsp;
  }
};

TEST_F(CrcTest, SmallChecksums) {
  const auto crc = [](const std::string& text) {
    return calculate_crc(reinterpret_cast<const uint8_t*>(text.data()), static_cast<uint16_t>(text.size()));
  };
  EXPECT_EQ(0xFEE8, crc("123456789"));
  for (const auto& [length, value] : {std::pair(0u, 0),
                                      {1, 0x8087},
                                      {16, 0x57D7},
                                      {17, 0x5601},
                                      {33, 0x48FE},
                                      {137, 0x9707},
                                      {1000, 0x291D},
                                      {65535, 0xD4B6}}) {
    const std::string block = noise(length, 16);
    EXPECT_EQ(value, crc(block)) << length;
    if (length < 65534) EXPECT_EQ(0, crc(block + static_cast<char>(value >> 8) + static_cast<char>(value))) << length;
  }
  for (const auto& [text, value] :
       {std::pair("1aF", 0x1AFu), {"", 0}, {"DEADBEEF", 0xDEADBEEF}, {"123456789", 0x23456789}}) {
    EXPECT_EQ(value, atox(text)) << text;
  }
  EXPECT_EQ(0u, atox(nullptr));
  EXPECT_EQ(0, errors("Error : It's not Hexadecimal Number!"));
  EXPECT_EQ(0u, atox("0x10"));
  EXPECT_EQ(1, errors("Error : It's not Hexadecimal Number!"));
  uint32_t pid = 1;
  device().modem.set_answer(202, "PID123");
  EXPECT_EQ(0, get_pid_crc(&pid));
  EXPECT_EQ(0x8BD0E6C6, pid);
  device().modem.set_answer(202, "", 0);
  device().faults.fail("request_to_modem_via_dmi");
  EXPECT_EQ(1, get_pid_crc(&pid));
  EXPECT_EQ(0u, pid);
}

TEST_F(CrcTest, TheCodeIsReadByItsHeaders) {
  const std::string place = "/dev/block/bootdevice/by-name/";
  EXPECT_EQ("0xC9B5B9BB", data_of(run(4013))) << "a new phone";
  fs::remove_all(root_ + place);
  EXPECT_EQ("0x00000000", data_of(run(4013)));
  EXPECT_EQ(1, errors("file open error:" + place + "sbl1"));
  const std::tuple<const char*, std::string, std::string> rows[] = {
      {"aboot", noise(300000, 1, {{16, 200000}}), "code_crc mbn_sum[0] 196 KB: DAC1DA0B"},
      {"sbl2", noise(5000, 2, {{16, 9000}}), "code_crc mbn_sum[1] 9 KB: 2493B5B9"},
      {"sbl3", noise(3000, 3, {{16, 0xFFFFFFFF}}), "code_crc mbn_sum[2] 4194304 KB: 59B0789D"},
      {"rpm", noise(2020, 4, {{16, 1024}}), "code_crc mbn_sum[3] 2 KB: C4C60E9C"},
      {"tz", noise(9, 5), "code_crc mbn_sum[4] 1 KB: B47BBDCA"},
      {"boot", noise(100020, 6, {{8, 50000}, {16, 40000}}), "code_crc kernel_sum[0] 94 KB: 250CBB5D"},
      {"recovery", noise(9000, 7, {{8, 0xFFFFFFFF}, {16, 0xFFFFFFFF}}), "code_crc kernel_sum[1] 8388614 KB: ECC3186C"},
      {"sbl1", noise(20000, 8, {{28, 5119}}), "code_crc sbl1_sum 4 KB: 3DD99ED1"},
      {"modem", noise(1000001, 9), "code_crc modem_sum 54000 KB: D781925D"},
  };
  for (const auto& [name, bytes, line] : rows) put(place + name, bytes);
  const ptrdiff_t open = descriptors();
  EXPECT_EQ("0xD781925D", command(2, 0));
  EXPECT_EQ(open, descriptors());
  for (const auto& [name, bytes, line] : rows) EXPECT_EQ(1, logged(line)) << line;
  EXPECT_EQ(1, logged("CODE CRC: D781925D"));
  EXPECT_EQ(1, logged("img_size [1]: kernel : FFFFFFFF (4294967295), ramdisk : FFFFFFFF (4294967295) \n"));
}

TEST_F(CrcTest, FilesCountByTheRulesOfTheirFolders) {
  for (const char* tree : {"/system", "/cust", "/data/.OP"}) fs::remove_all(root_ + tree);
  const std::string deep = "/OP/" + std::string(194, 'd') + "/";  // 199 bytes
  const std::pair<std::string, std::string> files[] = {{"/system/a-b", std::string(258, 'x')},
                                                       {"/system/a.b", "x"},
                                                       {"/system/a/x", std::string(300, 'x')},
                                                       {"/system/a/z/y", std::string(511, 'x')},
                                                       {"/system/a/gone", "gone"},
                                                       {"/system/a/gone2", "gone"},
                                                       {"/cust/one", "one"},
                                                       {"/cust/_COTA_RES/x", "no"},
                                                       {"/OP/_COTA_RES/two", "two"},
                                                       {"/OP/_SMARTCA_RES", "no"},
                                                       {"/data/.OP/three", noise(70000, 3)},
                                                       {"/data/preload/four.apk.bin", "four"},
                                                       {"/data/preload/apk", "no"},
                                                       {"/data/preload/oat/x.apk", "no"},
                                                       {"/data/media/0/Preload/x/five", "five"},
                                                       {deep + std::string(56, 'f'), ""},
                                                       {deep + std::string(57, 'f'), "too long"}};
  for (const auto& [path, text] : files) put(path, text);
  fs::create_symlink("../abc", root_ + "/system/a/link");
  fs::create_symlink("one", root_ + "/cust/link");
  put("/data/outside", "keep");
  fs::create_symlink("../outside", root_ + "/data/.OP/link");
  std::map<std::string, struct stat> list;
  list["/system/a/x"].st_size = 77;
  get_file_list("/system", list);
  EXPECT_EQ(7u, list.size());
  EXPECT_EQ(77, list["/system/a/x"].st_size) << "the first one stays";
  EXPECT_TRUE(S_ISLNK(list["/system/a/link"].st_mode));
  put("/system/etc/file_crc_skip_list.txt",
      "/system/a/gone\n/system/a/x \r\n/system/a/gone\n/system/etc/file_crc_skip_list.txt\n"
      "/system/a/gone2");
  skip_file_list(list);
  EXPECT_EQ(5u, list.size()) << "two of the list are gone";
  EXPECT_EQ(1, logged("skip file : /system/a/gone2"));

  put("/data/dbdump/keep", "keep");
  fs::create_symlink("keep", root_ + "/data/dbdump/file_crc.txt");
  char out[22];
  EXPECT_EQ(0, crcwizard_command(0, out));
  EXPECT_STREQ("0x40EC2070", out);
  EXPECT_EQ("keep", content(root_ + "/data/dbdump/keep")) << "a dump is written through no link";
  const std::vector<std::string> written = lines(content(root_ + "/data/dbdump/file_crc.txt"));
  ASSERT_EQ(11u, written.size());
  EXPECT_EQ((std::vector<std::string>{
                "file: /system/a-b, size: 258 crc= 0x3c0c8ea1\r", "file: /system/a.b, size: 1 crc= 0x4e840eb\r",
                "file: /system/a/link, size: 6 crc= 0xcbd9908\r", "file: /system/a/x, size: 300 crc= 0xee0db6c5\r",
                "file: /system/a/z/y, size: 511 crc= 0x14e03b89\r", "file: /cust/one, crc= 0x830abaa\r"}),
            std::vector<std::string>(written.begin(), written.begin() + 6));
  EXPECT_EQ("file: /data/media/0/Preload/x/five, crc= 0x40ec2070\r", written.back());
  EXPECT_EQ(1, logged("Only check preload apk files, apk file is skipped"));
  EXPECT_EQ(1, errors("[find_file] Error : Too long a path : " + deep + std::string(57, 'f') + "\n"));
  EXPECT_EQ(1, logged("File Search Done. 40ec2070"));
  EXPECT_EQ("0x40EC2070", data_of(run(4062)));
  EXPECT_EQ(0, find_file("/data/media/0/Preload/x", nullptr)) << "it goes on";
  EXPECT_EQ(1, find_file("/data/nothing", nullptr));
  FILE* sheet = fopen((root_ + "/sheet").c_str(), "w");
  find_file("/data/nothing/", sheet);
  put("/data/empty/file");
  find_file("/data/empty", sheet);
  fclose(sheet);
  EXPECT_EQ("file: /data/empty/file, crc= 0xebd7d7c7\r\n", content(root_ + "/sheet"));
  fs::remove_all(root_ + "/system");
  EXPECT_EQ(0, getfilesizecrc("/system", 0, nullptr));
  EXPECT_EQ(1, errors("Cannot access /system : No such file or directory"));
}

TEST_F(CrcTest, TheModemsItemsAreSummedDumpedAndCopied) {
  char data[128];
  for (const auto& [item, fill] : {std::pair(300, 'm'), {5, 'n'}, {37900, 'x'}}) {
    memset(data, fill, sizeof data);
    EXPECT_EQ(0, tav_diag_nvwrite(item, data));
  }
  EXPECT_EQ("0x7A1C7292", data_of(run(4059)));
  const std::string asked = device().modem.requests().back().payload;
  EXPECT_EQ("\x02\x01\x74\x01"s, asked.substr(0, 4));
  EXPECT_EQ("\x0c\x94\x0e\x94"s + std::string(224, '\0'), asked.substr(26));

  device().modem.set_answer(660, "\2\0\x12\x34\xAB\xCD\1\2\xff\xff"s);
  EXPECT_EQ(0, nv_copy(data)) << "there is nothing to copy";
  EXPECT_EQ("0x", command(7, 0));
  std::string dump = "[ Factory Reset NV CRC Result ] NV CRC : 0x1234abcd, Total : \2, NV item : 511, 65280, ";
  dump.resize(1024);
  EXPECT_EQ(dump, content(root_ + "/data/nvdump/nvcrc.txt"));
  device().modem.set_answer(660, "\xff"s + std::string(2047, '\xff'));
  EXPECT_EQ(1, nv_dump()) << "255 items, of which most do not fit";
  EXPECT_EQ('\0', content(root_ + "/data/nvdump/nvcrc.txt").at(1023));

  device().properties.set_at_boot("vold.publicvolume_uuid", "A1B2");
  put("/proc/mounts", "/dev/x /storage/A1B2 vfat rw 0 0\n");
  put("/dev/block/mmcblk0");
  put("/storage/A1B2/x");
  EXPECT_EQ("ERROR", command(8, 1)) << "no platform is there";
  EXPECT_EQ(2, errors(" ##   scan fail! ") + errors("nv copy fail!"));
  EXPECT_EQ(content(root_ + "/data/nvdump/nvcrc.txt"), content(root_ + "/storage/A1B2/nvdump/nvcrc_copy.txt"));
  fs::remove_all(root_ + "/storage/A1B2/nvdump");
  fs::create_directory_symlink("/data", root_ + "/storage/A1B2/nvdump");
  EXPECT_EQ(0, nv_copy(data));
  EXPECT_EQ(1, errors("nv_copy: fopen fail!"));
  EXPECT_FALSE(fs::exists(root_ + "/data/nvcrc_copy.txt"));
  device().faults.fail("request_to_modem_via_dmi");
  EXPECT_EQ("ERROR", data_of(run(4059)));
}

TEST_F(CrcTest, CommandsTellWhatFails) {
  const std::pair<int, const char*> rows[] = {{0, "db crc fail!"},  {1, "fpri crc fail!"},      {3, "db dump fail!"},
                                              {4, "db copy fail!"}, {6, "nv crc fail!"},        {7, "nv dump fail!"},
                                              {8, "nv copy fail!"}, {9, "Error : Invalid type"}};
  device().faults.fail("request_to_modem_via_dmi");
  fs::remove(root_ + "/data/dbdump");
  put("/data/dbdump", "no folder");
  for (const auto& [type, error] : rows) {
    EXPECT_EQ("ERROR", command(type, 1));
    EXPECT_EQ(1, errors(error)) << error;
  }
  EXPECT_EQ("ERROR", data_of(run(4063)));
  EXPECT_EQ(1, errors("file_dump fail!"));
  EXPECT_EQ(1, errors("DB DUMP request to system fail.\n"));
  EXPECT_EQ(0, crcwizard_phone_status_dump());
  EXPECT_EQ(1, errors("fopen file_crc_result.txt file failed."));
  for (const auto& [text, result] : {std::pair("x", 1), {"42", 0}}) EXPECT_EQ(result, run(4060, text).result);
  EXPECT_EQ("4", data_of(run(4061)));
}

TEST_F(CrcTest, ThePhonesStatusIsDumped) {
  const auto status = [&](bool wizard) {
    EXPECT_EQ(1, wizard ? crcwizard_phone_status_dump() : phone_status_dump());
    return lines(content(root_ + "/data/dbdump/phone_status.txt"));
  };
  EXPECT_EQ((std::vector<std::string>{"factory cable type : normal\r", "SIM count : 49\r", "sd card : false\r"}),
            status(false));
  EXPECT_EQ("SIM count : 1\r", status(true)[1]);
  put("/sim/modem/sim_count", "0\n");
  EXPECT_EQ("SIM count : 0\r", status(false)[1]);
  device().faults.fail("request_to_modem_via_dmi");
  EXPECT_EQ("sim status cmd fail\r", status(true)[1]);
  EXPECT_EQ(1, errors("Cannot get response. Return error:1\n"));
}

}  // namespace
}  // namespace atd
