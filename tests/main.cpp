// The test program: names a test that hangs, and ends with a failure then.
#include <gtest/gtest.h>
#include <signal.h>
#include <stdio.h>
#include <string.h>
#include <unistd.h>

namespace {

char g_hangs[200];

class Watchdog : public testing::EmptyTestEventListener {
  void OnTestStart(const testing::TestInfo& test) override {
    snprintf(g_hangs, sizeof g_hangs, "\n%s.%s hangs\n", test.test_suite_name(), test.name());
    alarm(ATD_TEST_SECONDS);
  }
  void OnTestEnd(const testing::TestInfo&) override { alarm(0); }
};

TEST(Watchdog, NamesTheTestThatHangs) {
  EXPECT_EXIT(raise(SIGALRM), testing::ExitedWithCode(1), "Watchdog.NamesTheTestThatHangs hangs");
}

}  // namespace

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  signal(SIGALRM, [](int) { _exit(write(STDERR_FILENO, g_hangs, strlen(g_hangs)) >= 0 ? 1 : 2); });
  testing::UnitTest::GetInstance()->listeners().Append(new Watchdog);
  return RUN_ALL_TESTS();
}
