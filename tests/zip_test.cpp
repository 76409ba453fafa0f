// Archives: packing a tree on several threads and on one, and what an archive may do when it is unpacked.
#include <fcntl.h>
#include <sys/stat.h>

#include <fstream>
#include <random>

#include "atd.h"
#include "tests/phone.h"

using namespace std::string_literals;
namespace fs = std::filesystem;

namespace atd {
namespace {

using Entries = std::vector<std::pair<std::string, std::string>>;  // name, content

class ZipTest : public Phone {
 protected:
  ZipTest() { put("/cache/minios/"); }
  ~ZipTest() override { fs::current_path(before_); }

  // How many lines hold a text: "E Atd: ..." for an error.
  long lines_with(const std::string& text) {
    const auto lines = device().logs.lines(LOG_ID_SYSTEM);
    return std::count_if(lines.begin(), lines.end(), [&](const std::string& line) { return has(line, text); });
  }

  std::string pack(std::string folder) {
    EXPECT_EQ(1, zip_.OpenZip("/data/x.zip"));
    EXPECT_EQ(0, zip_.FolderToZip(folder.data(), 1));
    zip_.CloseZip();
    return content(root_ + "/data/x.zip");
  }

  // An archive with these entries in /data/x.zip.
  void put_archive(const Entries& entries) {
    const zipFile zip = zipOpen((root_ + "/data/x.zip").c_str(), 0);
    for (const auto& [name, text] : entries) {
      zipOpenNewFileInZip64(zip, name.c_str(), nullptr, nullptr, 0, nullptr, 0, nullptr, Z_DEFLATED, 9, 1);
      zipWriteInFileInZip(zip, text.data(), unsigned(text.size()));
      zipCloseFileInZip(zip);
    }
    zipClose(zip, nullptr);
  }

  int unpack(int without_paths = 0, int overwrite = 1, const char* password = nullptr) {
    if (zip_.OpenUnZip("/data/x.zip") != 1) return -1;
    const int result = zip_.FolderFromZip(without_paths, overwrite, password);
    EXPECT_EQ(0, zip_.CloseUnZip());
    return result;
  }
  std::string unpacked(const std::string& name) { return content(root_ + "/cache/minios/" + name); }

  // What is on standard input.
  void answer(const std::string& text) {
    put("/data/answers", text);
    fflush(stdin);
    clearerr(stdin);
    const int fd = open((root_ + "/data/answers").c_str(), O_RDONLY | O_CLOEXEC);
    dup2(fd, 0);
    close(fd);
  }

  MakeZipFile zip_;
  const fs::path before_ = fs::current_path();
};

TEST_F(ZipTest, AnyNumberOfThreadsWritesTheBytesOfOne) {
  std::mt19937 random(7);
  std::string noise(5'500'000, ' '), text;
  for (char& c : noise) c = char(random());
  while (text.size() < 50'000) text += "line " + std::to_string(random()) + "\n";
  // More than the chunks hold, more files than may wait, and ends at the edges of a piece.
  for (const char* name : {"a/1", "b/c/2"}) put("/data/logs/day/"s + name, noise + name);
  for (size_t i = 0; i < 150; ++i) put("/data/logs/day/small/" + std::to_string(i), text.substr(i, i * 200));
  for (size_t i : {0, 1, 16383, 16384, 16385, 32768})
    put("/data/logs/day/edge" + std::to_string(i), noise.substr(0, i));
  fs::create_symlink("nowhere", root_ + "/data/logs/day/lost");
  fs::create_directory_symlink(".", root_ + "/data/logs/day/round");
  device().faults.fail("start_thread");
  const std::string one = pack("/data/logs/");
  EXPECT_EQ(2, lines_with("I Atd: LOGSAVE : error in opening /data/logs/day/"));
  device().faults.clear();
  const ptrdiff_t open_files = descriptors();
  EXPECT_TRUE(one == pack("/data/logs/"));
  EXPECT_EQ(open_files, descriptors());
  EXPECT_EQ(4, lines_with("I Atd: LOGSAVE : error in opening /data/logs/day/"));
  for (const char* name : {"lost", "round"}) {
    fs::remove(root_ + "/data/logs/day/" + name);
    put("/data/logs/day/"s + name);  // an entry without content
  }
  const std::string archive = root_ + "/data/x.zip", out = root_ + "/out";
  for (const std::string& reader :
       {"unzip -qq " + archive, "bsdtar -xf " + archive, "python3 -m zipfile -e " + archive + " ."}) {
    fs::remove_all(out);
    fs::create_directory(out);
    EXPECT_EQ("", output_of("cd " + out + " && " + reader + " 2>&1 && diff -r . " + root_ + "/data/logs 2>&1"))
        << reader;
  }
}

TEST_F(ZipTest, NamesBeginBehindTheFolderAndItsTextLosesASlash) {
  const std::tuple<std::string, int, std::string, std::string> rows[] = {
      {"/data/logs/", 1, "/data/logs", "d/f\n"},
      {"/data/logs", 1, "/data/logs", "d/f\n"},
      {"/data/", 0, "/data", "data/logs/d/f\ndata/x.zip\n"},  // the names are whole without a root
      {"/data/none/", 1, "/data/none/", ""},
  };
  for (const auto& [given, top, left, names] : rows) {
    fs::remove_all(root_ + "/data");
    put("/data/logs/d/f", "x");
    MakeZipFile zip;
    ASSERT_EQ(1, zip.OpenZip("/data/x.zip"));
    std::string folder = given;
    EXPECT_EQ(names.empty(), zip.FolderToZip(folder.data(), top)) << given;
    zip.CloseZip();
    EXPECT_EQ(left, folder.c_str());
    if (!names.empty()) EXPECT_EQ(names, output_of("unzip -Z1 " + root_ + "/data/x.zip | sort")) << given;
  }
  EXPECT_EQ(1, logged("LOGSAVE : [FolderToZip] Directory Open ERROR!!!!\n"));
  // A link counts as what it leads to.
  fs::create_directory_symlink("logs/d", root_ + "/data/linked");
  fs::create_symlink("logs/d/f", root_ + "/data/file");
  pack("/data");
  EXPECT_EQ("file\nlinked/f\nlogs/d/f\n", output_of("unzip -Z1 " + root_ + "/data/x.zip | grep -v x.zip | sort"));
  // A path that does not fit is left out; one that is cut would name the folder again.
  const std::string part(246, 'p'), folder = "/data/" + part + "/" + part + "/" + part + "/" + part;
  put(folder + "/fits5", "x");
  put(folder + "/longer", "x");
  pack("/data/" + part);
  EXPECT_EQ(1, lines_with("E Atd: LOGSAVE : too long a path /data/p"));
  EXPECT_EQ("fits5\n", output_of("unzip -Z1 " + root_ + "/data/x.zip | sed 's|.*/||'"));
  EXPECT_EQ(0, zip_.OpenZip("/none/x.zip"));
  std::string lost = folder;
  put(folder + "/fits4", std::string(6'000'000, 'x'));
  EXPECT_EQ(0, zip_.FolderToZip(lost.data(), 1)) << "without an archive it ends, too";
}

TEST_F(ZipTest, AFileHasItsTime) {
  setenv("TZ", "UTC-2", 1);
  put("/data/f");
  put("/data/" + std::string(251, 'x'));
  for (const char* name : {"/data/f", "/data"}) {
    const struct timespec times[] = {{981173106, 0}, {981173106, 0}};
    utimensat(AT_FDCWD, (root_ + name).c_str(), times, 0);
  }
  const std::tuple<std::string, int, std::string> rows[] = {
      {"/data/f", 1, "6 5 6 3 1 101"},   {"/data/", 1, "6 5 6 3 1 101"},
      {"/data/none", 0, "0 0 2 1 0 70"}, {"/data/" + std::string(251, 'x'), 0, "0 0 2 1 0 70"},
      {"-", 0, "0 0 2 1 0 70"},
  };
  for (const auto& [path, result, fields] : rows) {
    tm_zip t;
    EXPECT_EQ(result, zip_.filetime(nullptr, path.c_str(), &t)) << path;
    std::ostringstream text;
    text << t.tm_sec << ' ' << t.tm_min << ' ' << t.tm_hour << ' ' << t.tm_mday << ' ' << t.tm_mon << ' ' << t.tm_year;
    EXPECT_EQ(fields, text.str()) << path;
  }
  unsetenv("TZ");
}

TEST_F(ZipTest, NothingIsUnpackedOutsideTheFolder) {
  const std::string long_name(255, 'n');
  // Name, with its path dropped, result, the file that has the content afterwards.
  const std::tuple<std::string, int, int, std::string> rows[] = {
      {"./there//f", 0, 0, "there/f"},
      {"new//one///f", 0, 0, "new/one/f"},
      {"there/f", 1, 0, "f"},
      {"../../x\\f", 1, 0, "f"},
      {"x\\f", 0, 0, "x\\f"},
      {long_name, 0, 0, long_name},
      {long_name + "n", 0, 1, ""},
      {"", 0, 1, ""},
      {"..", 0, 1, ""},
      {"../f", 0, 1, ""},
      {"there/../f", 0, 1, ""},
      {"there\\..\\f", 0, 1, ""},
      {"../d/", 0, 1, ""},
      {root_ + "/f", 0, 1, ""},
      {"\\f", 0, 1, ""},
      {"link/f", 0, 1, ""},
      {"link/d/", 0, 1, ""},
      {"link/d/f", 0, 1, ""},
      {"there/link/f", 0, 1, ""},
      {"file_link", 0, 1, ""},
      {"pipe", 0, 1, ""},
      {"there", 0, 1, ""},
  };
  for (const auto& [name, without_paths, result, file] : rows) {
    fs::remove_all(root_ + "/cache/minios");
    put("/cache/minios/there/");
    put("/cache/outside/kept", "kept");
    fs::create_directory_symlink(root_ + "/cache/outside", root_ + "/cache/minios/link");
    fs::create_directory_symlink("../../outside", root_ + "/cache/minios/there/link");
    fs::create_symlink("../outside/kept", root_ + "/cache/minios/file_link");
    mkfifo((root_ + "/cache/minios/pipe").c_str(), 0600);
    put_archive({{name, "text"}});
    device().logs.clear();
    EXPECT_EQ(result, unpack(without_paths)) << name;
    EXPECT_EQ(result, lines_with("E Atd: MINIOS_UNZIP : ")) << name;
    if (!file.empty()) EXPECT_EQ("text", unpacked(file)) << name;
    EXPECT_EQ("kept\nminios\noutside\nrecovery\n", output_of("cd " + root_ + "/cache && ls outside && ls")) << name;
    EXPECT_EQ("kept", content(root_ + "/cache/outside/kept")) << name;
    EXPECT_FALSE(fs::exists(root_ + "/f")) << name;
  }
}

TEST_F(ZipTest, FoldersAreMadeWithTheirOddMode) {
  const auto mode = [&](const std::string& path) {
    struct stat status = {};
    stat((root_ + path).c_str(), &status);
    return status.st_mode & 07777;
  };
  const mode_t mask = umask(0);
  put_archive({{"g//", ""}, {"e\\", ""}});
  EXPECT_EQ(0, unpack());
  EXPECT_EQ(1, logged("MINIOS_UNZIP : creating directory: g//\n"));
  EXPECT_EQ(0, makedir(""));
  for (const char* path : {"top", "/cache/minios/top2/", "d"}) EXPECT_EQ(1, makedir(path)) << path;
  for (const char* path : {"../out", "/", "d/../../out"}) EXPECT_EQ(0, makedir(path)) << path;
  umask(mask);
  for (const char* name : {"d", "e", "g", "top", "top2"}) EXPECT_EQ(01204, mode("/cache/minios/"s + name)) << name;
  EXPECT_EQ(0, mode("/cache/out") + mode("/out"));
  EXPECT_EQ(3, lines_with("E Atd: MINIOS_UNZIP : couldn't makedir directory "));
  if (geteuid() != 0) return;  // others than root cannot use such a folder
  put_archive({{"new/one/f", "x"}});
  EXPECT_EQ(0, unpack());
  EXPECT_EQ("x", unpacked("new/one/f"));
}

TEST_F(ZipTest, AFileThatIsThereIsAskedAbout) {
  const std::tuple<std::string, std::string> rows[] = {
      {"y\nno y\n", "new old new "},
      {" what YES\nn\nn\n", "new old old "},
      {"n A", "old new new "},
  };
  put_archive({{"a", "new"}, {"b", "new"}, {"c", "new"}});
  const auto put_old = [&] {
    for (const char* name : {"a", "b", "c"}) put("/cache/minios/"s + name, "old");
  };
  const int input = dup(0);
  for (const auto& [answers, left] : rows) {
    put_old();
    answer(answers);
    EXPECT_EQ(0, unpack(0, 0));
    EXPECT_EQ(left, unpacked("a") + " " + unpacked("b") + " " + unpacked("c") + " ") << answers;
  }
  put_old();
  answer("n");
  EXPECT_EXIT(unpack(0, 0), testing::ExitedWithCode(1), "");
  dup2(input, 0);
  close(input);
}

TEST_F(ZipTest, ASizeOf64BitsStandsInAFieldOfItsOwn) {
  // As for 4 GiB and more: the size's own fields are full, and the extra field has the size.
  const auto with_size = [&](char size) {
    put_archive({{"a", "text"}});
    std::string bytes = content(root_ + "/data/x.zip");
    const size_t entry = bytes.find("PK\1\2"), end = bytes.find("PK\5\6");
    for (size_t at : {size_t{22}, entry + 24}) bytes.replace(at, 4, "\xff\xff\xff\xff");
    bytes[entry + 30] = 12;
    bytes[end + 12] = char(bytes[end + 12] + 12);
    bytes.insert(entry + 47, "\1\0\x8\0"s + size + "\0\0\0\0\0\0\0"s);
    put("/data/x.zip", bytes);
    return unpack();
  };
  EXPECT_EQ(0, with_size(4));
  EXPECT_EQ("text", unpacked("a"));
  EXPECT_EQ(1, with_size(3));
  EXPECT_EQ(1, with_size(5));
}

TEST_F(ZipTest, ADamagedArchiveIsAnErrorOrUnpacksRight) {
  std::string text;
  for (int i = 0; i < 40; ++i) text += std::to_string(i * i);
  put_archive({{"a", text}, {"b", ""}});
  EXPECT_EQ(0, unpack());
  EXPECT_EQ(text, unpacked("a"));
  const std::string good = content(root_ + "/data/x.zip");
  const ptrdiff_t open_files = descriptors();
  for (size_t at = 0; at < good.size(); ++at) {
    std::string bad = good;
    bad[at] ^= char(1 << at % 8);
    for (const std::string& damaged : {bad, good.substr(0, at)}) {
      fs::remove(root_ + "/cache/minios/a");
      put("/data/x.zip", damaged);
      if (unpack() == 0 && !unpacked("a").empty()) EXPECT_EQ(text, unpacked("a")) << at;
    }
  }
  EXPECT_EQ(open_files, descriptors());
  put_archive({{"a", text}});
  std::string encrypted = content(root_ + "/data/x.zip");
  for (size_t at : {encrypted.find("PK\3\4") + 6, encrypted.find("PK\1\2") + 8}) encrypted[at] |= 1;
  put("/data/x.zip", encrypted);
  EXPECT_EQ(1, unpack(0, 1, "secret"));
  put("/data/x.zip", "no archive");
  EXPECT_EQ(-1, unpack());
  EXPECT_EQ(2, zip_.FolderFromZip(0, 1, nullptr));
  fs::remove_all(root_ + "/cache/minios");
  put("/data/x.zip", good);
  EXPECT_EQ(0, zip_.OpenUnZip("/data/x.zip")) << "there is nowhere to unpack to";
}

}  // namespace
}  // namespace atd
