// Texts put together and taken apart, nodes and folders.
#include <fcntl.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <set>
#include <tuple>

#include "desk/words.h"
#include "tests/phone.h"
#include "text/file.h"
#include "text/folder.h"
#include "text/node.h"
#include "text/text_writer.h"

using namespace std::string_literals;

namespace atd {
namespace {

TEST(TextWriter, KeepsItsBufferTerminatedAndItsNeighboursWhole) {
  for (size_t capacity = 1; capacity <= 24; ++capacity) {
    char buffer[40];
    memset(buffer, '#', sizeof buffer);
    TextWriter out(buffer + 8, capacity);
    out.put('a').text("bcd").format("%d-%s", 1234, "xyz").bytes("\0q", 2).hex("\x0f\xa0", 2);
    const std::string whole = "abcd1234-xyz\0q0FA0"s;
    const std::string expected = whole.substr(0, capacity - 1);
    EXPECT_EQ(expected, std::string(buffer + 8, out.length())) << capacity;
    EXPECT_EQ('\0', buffer[8 + out.length()]) << capacity;
    EXPECT_EQ(whole.size() > capacity - 1, out.cut()) << capacity;
    EXPECT_EQ("########", std::string(buffer, 8)) << capacity;
    EXPECT_EQ(std::string(32 - capacity, '#'), std::string(buffer + 8 + capacity, 32 - capacity)) << capacity;
  }
  char five[5];
  EXPECT_FALSE(TextWriter(five).format("%d", 1234).cut());
  EXPECT_TRUE(TextWriter(five).format("%d", 12345).cut());
}

TEST(Words, Utf8EndsWhereItsCodePointsEnd) {
  for (const char* text : {"\x7f", "\xc2\x80", "\xe0\xa0\x80", "\xed\x9f\xbf", "\xf0\x90\x80\x80", "\xf4\x8f\xbf\xbf"})
    EXPECT_TRUE(is_utf8(text)) << text;
  for (const char* text : {"\x80", "\xc1\xbf", "\xc2", "\xe0\x9f\xbf", "\xed\xa0\x80", "\xf0\x8f\xbf\xbf",
                           "\xf4\x90\x80\x80", "\xf5\x80\x80\x80"})
    EXPECT_FALSE(is_utf8(text)) << text;
}

class NodeTest : public Phone {
 protected:
  void write(const std::string& content) {
    std::filesystem::create_directories(root_ + "/sys/class");
    std::ofstream(root_ + "/sys/class/node") << content;
  }
};

TEST_F(NodeTest, ReadsWhatAKernelGives) {
  // The length and the text, and the number or -77.
  const std::tuple<std::string, int, std::string, int> rows[] = {
      {"450000\n", 6, "450000", 450000},  {"", 0, "", -77},
      {" -7 mV\r\n", 6, " -7 mV", -7},    {"99999999999\n", 11, "99999999999", -77},
      {"Result:45", 9, "Result:45", -77}, {std::string(40, '1') + "\n", 15, std::string(15, '1'), -77},
  };
  for (const auto& [node, length, line, value] : rows) {
    write(node);
    char guarded[32];
    memset(guarded, '#', sizeof guarded);
    EXPECT_EQ(length, read_node("/sys/class/node", guarded, 16)) << node;
    EXPECT_EQ(line, guarded) << node;
    EXPECT_EQ(std::string(16, '#'), std::string(guarded + 16, 16)) << node;
    int number = -77;
    EXPECT_EQ(value == -77 ? -1 : 0, read_node_number("/sys/class/node", &number)) << node;
    EXPECT_EQ(value, number) << node;
  }
  char text[8] = "old";
  EXPECT_EQ(-1, read_node("/sys/class/none", text, sizeof text));
  EXPECT_EQ(ENOENT, errno);
  EXPECT_STREQ("", text);
}

TEST_F(NodeTest, WritesANodeThatIsThere) {
  write("");
  EXPECT_EQ(0, write_node("/sys/class/node", "on"));
  char text[8];
  EXPECT_EQ(2, read_node("/sys/class/node", text, sizeof text));
  EXPECT_STREQ("on", text);
  EXPECT_EQ(-1, write_node("/sys/class/none", "on"));
  EXPECT_EQ(ENOENT, errno);
  EXPECT_FALSE(std::filesystem::exists(root_ + "/sys/class/none"));
}

TEST_F(NodeTest, AFileIsReadToItsEndOrToAFailure) {
  put("/data/file", "12345");
  const int file = open_file("/data/file"), folder = open(root_.c_str(), O_RDONLY | O_CLOEXEC);
  char bytes[8];
  for (const auto& [size, got] : {std::pair{3u, 3u}, {8u, 2u}, {8u, 0u}}) {
    EXPECT_EQ(got, read_up_to(file, bytes, size));
    EXPECT_EQ(0, errno);
  }
  EXPECT_EQ(0u, read_up_to(folder, bytes, 8));
  EXPECT_EQ(EISDIR, errno);
  EXPECT_FALSE(write_all(file, bytes, 8)) << "it is open for reading";
  close(file);
  close(folder);
}

TEST_F(NodeTest, AFolderGivesEachEntryOnceAndFollowsNoLink) {
  std::filesystem::create_directories(root_ + "/data/folder/inner");
  std::ofstream(root_ + "/data/folder/file") << "x";
  std::filesystem::create_symlink("/tmp", root_ + "/data/folder/link");
  Folder folder("/data/folder");
  ASSERT_TRUE(folder.is_open());
  std::multiset<std::string> names;
  while (const struct dirent* entry = folder.next()) names.insert(entry->d_name);
  EXPECT_EQ((std::multiset<std::string>{"file", "inner", "link"}), names);
  EXPECT_TRUE(Folder(folder.fd(), "inner").is_open());
  EXPECT_FALSE(Folder(folder.fd(), "link").is_open());
  Folder none("/data/none");
  EXPECT_FALSE(none.is_open());
  EXPECT_EQ(ENOENT, errno);
  EXPECT_EQ(nullptr, none.next());
}

}  // namespace
}  // namespace atd
