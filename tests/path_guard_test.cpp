#include <dirent.h>
#include <errno.h>
#include <fcntl.h>
#include <gtest/gtest-spi.h>
#include <stdio.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/os.h"
#include "tests/phone.h"

namespace atd {
namespace {

class PathGuard : public Phone {};

// Calls with a path of the phone that has not been mapped; true when the call failed.
struct {
  const char* function;
  bool (*call)(const char* path);
} const kCalls[] = {
    {"open", [](const char* path) { return open(path, O_RDONLY) < 0; }},
    {"openat", [](const char* path) { return openat(AT_FDCWD, path, O_RDWR | O_CREAT, 0600) < 0; }},
    {"fopen", [](const char* path) { return fopen(path, "we") == nullptr; }},
    {"opendir", [](const char* path) { return opendir(path) == nullptr; }},
    {"unlink", [](const char* path) { return unlink(path) < 0; }},
    {"rename", [](const char* path) { return rename("here", path) < 0; }},
    {"rename", [](const char* path) { return rename(path, "here") < 0; }},
    {"truncate", [](const char* path) { return truncate(path, 1LL << 32) < 0; }},
    {"realpath", [](const char* path) { return realpath(path, nullptr) == nullptr; }},
};

TEST_F(PathGuard, RefusesWhatIsNotInThePhone) {
  for (const auto& row : kCalls) {
    bool failed = false;
    EXPECT_NONFATAL_FAILURE(failed = row.call("/data/nvdump/planted"), row.function);
    EXPECT_TRUE(failed && errno == EACCES) << row.function;
  }
}

TEST_F(PathGuard, NoPathLeavesThePhone) {
  const std::string paths[] = {root_ + "/../../etc/passwd", root_ + "/data/../../planted", "/tmpfile", "/proc/meminfo",
                               "/"};
  for (const std::string& path : paths) EXPECT_NONFATAL_FAILURE(access(path.c_str(), F_OK), path);
}

TEST_F(PathGuard, LetsThePhonesOwnPathsPass) {
  int fd = open(device_path("/data/../data/made"), O_WRONLY | O_CREAT | O_EXCL, 0640);
  struct stat out;
  EXPECT_EQ(0, fstat(fd, &out));
  EXPECT_EQ(0640u, out.st_mode & 0777u);
  close(fd);
  EXPECT_EQ(0, rename(device_path("/data/made"), device_path("/data/moved")));
  EXPECT_EQ(-1, access("nobody makes this", F_OK));
  EXPECT_EQ(ENOENT, errno);
}

}  // namespace
}  // namespace atd
