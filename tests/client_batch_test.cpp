// Batches and their reports against a daemon that says what a test wants.
#include <fstream>

#include "client/failure.h"
#include "client/output_file.h"
#include "tests/client_daemon.h"

namespace atd::client {
namespace {

using namespace std::string_literals;

TEST(Client, BatchGoesOnAndReturnsTheGravest) {
  FakeDaemon daemon([](const std::string& line) {
    if (line == request_line(2, "a  b ")) return answer(1, "x\ny") + "BYE";
    return line == request_line(1, "") ? "BYE" : answer(0, "z");
  });
  const std::string wrong = "3\nnobody\n4015 x\n4064 text:\n3170 on\n5 a\0b\n5 -> YES\n5 -> 0 hex:0\nn\xff\n"s;
  Outcome outcome = atdctl(daemon, {"batch"}, wrong);
  EXPECT_EQ(64, outcome.status);
  EXPECT_EQ(8, std::count(outcome.err.begin(), outcome.err.end(), '\n')) << outcome.err;
  EXPECT_TRUE(has(outcome.err, "line 2: no request is named \"nobody\"")) << outcome.err;
  outcome = atdctl(daemon, {"batch", "--json"}, wrong);
  EXPECT_TRUE(has(outcome.out, R"({"line":2,"request":"nobody","hex":null,"status":64,)")) << outcome.out;
  EXPECT_TRUE(has(outcome.out, R"("request":null,"hex":"6eff","status":64,)")) << outcome.out;
  EXPECT_EQ("1: request 5, 1 byte: \"a\" -> OK x\n", atdctl(daemon, {"batch", "--dry-run"}, "5 a -> OK x").out);
  outcome = atdctl(daemon, words("batch --dry-run --json"), "5 -> not supported x");
  EXPECT_TRUE(has(outcome.out, R"("expected":{"result":2,"text":"x",)")) << outcome.out;
  EXPECT_TRUE(daemon.lines().empty());

  outcome = atdctl(daemon, {"batch"}, "# comment\n\n 2 \t a  b \r\n3\n1\n3170 text:on\n5 hex:00 ff");
  EXPECT_EQ(outcome.status, 69);
  EXPECT_EQ(outcome.out,
            "3: 2: FAIL\n3: x\n3: y\n4: 3: OK\n4: z\n6: set_dload_mode (3170): OK\n6: z\n7: 5: OK\n7: z\n");
  EXPECT_TRUE(has(outcome.err, "line 5: the daemon")) << outcome.err;
  EXPECT_EQ((Strings{request_line(2, "a  b "), request_line(3, ""), request_line(1, ""), request_line(3170, "on"),
                     request_line(5, "\0\xff"s)}),
            daemon.lines());
  const int kByGravity[] = {74, 77, 69, 75, 64, 3, 2, 1, 0};
  for (const int* a = kByGravity; a + 1 < std::end(kByGravity); ++a) EXPECT_EQ(worse(a[1], a[0]), a[0]);
}

TEST(Client, BatchComparesAndReports) {
  FakeDaemon daemon([](const std::string& line) {
    if (line == request_line(4, "")) return std::string("BYE");
    return line == request_line(2, "a") ? answer(1, "") : answer(0, "<\"&,\0"s);
  });
  const std::string all = "2 a -> FAIL\n5 -> OK <\"&,\n5 x -> 0 hex:3c22262c00\n5->6 -> OK text:z\n4\n5 -> FAIL\n2 a"s,
                    good = all.substr(0, all.find("5->6")), bad = "5 -> OK text:z\n4\n5 -> FAIL\n2 a";
  EXPECT_EQ(64, atdctl(daemon, {"batch"}, all).status);
  EXPECT_EQ(0, atdctl(daemon, {"batch"}, "\xef\xbb\xbf" + good).status);
  const std::string junit = daemon.root() + "/junit", csv = daemon.root() + "/csv";
  EXPECT_EQ(64, atdctl(daemon, {"batch", "--csv", csv, "--junit", "/tmp/nowhere/x"}, good).status);
  EXPECT_FALSE(std::filesystem::exists(csv));
  Outcome outcome = atdctl(daemon, {"batch", "--json", "--csv", csv, "--junit", junit}, bad);
  EXPECT_EQ(69, outcome.status);
  EXPECT_TRUE(
      has(outcome.out, R"("expected":{"result":0,"text":"z","hex":"7a"},"met":false,"status":1,"error":null})"));
  const std::string table = content(csv), suite = content(junit);
  EXPECT_TRUE(has(table, "\r\n1,5,,0,OK,0,\"<\"\"&,\",3c22262c00,OK text:z,1,0.")) << table;
  EXPECT_TRUE(has(table, "\r\n4,2,,1,FAIL,0,,,,1,0.")) << table;
  EXPECT_TRUE(has(table, "\r\n2,4,,,,,,,,69,")) << table;
  EXPECT_TRUE(has(suite, R"( tests="4" failures="3" errors="1" skipped="0" )")) << suite;
  EXPECT_TRUE(has(suite, R"(<failure message="expected OK text:z, got OK, 5 bytes: &quot;&lt;&quot;&amp;,&quot;)"))
      << suite;
  const size_t before = daemon.lines().size();
  outcome = atdctl(daemon, {"batch", "--stop-on-error", "--junit", junit}, bad);
  EXPECT_EQ("1: 5: OK\n1: <\"&,\n1: expected OK text:z\n", outcome.out);
  EXPECT_EQ(before + 1, daemon.lines().size());
  EXPECT_TRUE(has(content(junit), R"( failures="1" errors="0" skipped="3" )"));
  EXPECT_EQ(content(junit).size(), content(junit).find("</testsuite>\n") + 13);  // nothing of the longer one
  EXPECT_EQ("", atdctl(daemon, {"batch", "--stop-on-error", "--json"}, bad).err);
  EXPECT_EQ(69, atdctl("/tmp/nowhere/atd", {"batch", "--junit", junit}, good).status);
  EXPECT_TRUE(has(content(junit), R"( failures="0" errors="1" skipped="2" )"));
  EXPECT_EQ(74, atdctl(daemon, {"batch", "--csv", "/proc/self/root/dev/full"}, good).status);
  EXPECT_EQ(1, atdctl(daemon, {"request", "2", "a", "--output", csv}).status);
  EXPECT_EQ(table, content(csv));
  // No report takes the place of the batch or of the other one.
  const std::string lines = daemon.root() + "/lines", link = daemon.root() + "/link", made = daemon.root() + "/made";
  std::ofstream(lines) << "5\n";
  std::filesystem::create_hard_link(lines, link);
  for (const std::string& wrong : {"--csv " + link, "--junit " + lines, "--csv made --junit ./made"s}) {
    EXPECT_EQ(64, atdctl(daemon, words("batch " + lines + " " + wrong)).status) << wrong;
  }
  EXPECT_EQ("5\n", content(lines));
  OutputFile report;
  EXPECT_FALSE(report.open(made));
  EXPECT_FALSE(std::filesystem::exists(made)) << "a signal would leave it";
  EXPECT_FALSE(report.write("x"));
  EXPECT_EQ("x", content(made));
}

}  // namespace
}  // namespace atd::client
