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

using PathGuard = Phone;

TEST_F(PathGuard, RefusesWhatIsNotInThePhone) {
  bool failed = false;
  auto refused = [&] { return failed && errno == EACCES; };
  const char* path = "/data/planted";
  EXPECT_NONFATAL_FAILURE(failed = open(path, O_RDWR | O_CREAT | O_CLOEXEC, 0600) < 0, "open");
  EXPECT_TRUE(refused());
  EXPECT_NONFATAL_FAILURE(failed = fopen(path, "we") == nullptr, "fopen");
  EXPECT_TRUE(refused());
  EXPECT_NONFATAL_FAILURE(failed = rename("here", path) < 0, "rename");
  EXPECT_TRUE(refused());
  for (const std::string& outside :
       {root_ + "/../../etc/passwd", root_ + "/data/../../planted", std::string("/tmpfile"), std::string("/")}) {
    EXPECT_NONFATAL_FAILURE(access(outside.c_str(), F_OK), outside);
  }
}

TEST_F(PathGuard, LetsThePhonesOwnPathsPass) {
  const int fd = open(device_path("/data/../data/made"), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0640);
  struct stat out;
  EXPECT_EQ(0, fstat(fd, &out));
  EXPECT_EQ(0640u, out.st_mode & 0777u);
  close(fd);
}

}  // namespace
}  // namespace atd
