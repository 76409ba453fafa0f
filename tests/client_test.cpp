// The client against a daemon that says what a test wants: framing, arguments, answers that lie, statuses.
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/resource.h>

#include <algorithm>
#include <atomic>
#include <fstream>
#include <map>
#include <regex>

#include "client/arguments.h"
#include "client/connection.h"
#include "client/identities.h"
#include "client/input.h"
#include "client/json.h"
#include "client/output.h"
#include "client/output_file.h"
#include "client/replay_clients.h"
#include "client/stop_signals.h"
#include "tests/client_daemon.h"

namespace atd::client {
namespace {

using namespace std::string_literals;

TEST(Client, CutsMessagesHoweverTheyArrive) {
  const std::string stream = "601 Start\0"s + "500\0\0"s + "no code\0"s + "99999999999 x\0"s + "605  two\0tail"s;
  const std::vector<std::pair<int, std::string>> expected = {
      {601, "Start"}, {500, ""}, {0, ""}, {0, "no code"}, {0, "99999999999 x"}, {605, " two"}};
  for (size_t piece = 1; piece <= stream.size(); ++piece) {
    Splitter splitter;
    std::vector<std::pair<int, std::string>> seen;
    for (size_t at = 0; at < stream.size(); at += piece) {
      splitter.add(stream.data() + at, std::min(piece, stream.size() - at));
      for (Message message; splitter.next(&message);) seen.emplace_back(message.code, message.text);
    }
    EXPECT_EQ(seen, expected) << "in pieces of " << piece;
    EXPECT_EQ(splitter.pending(), 4u);
  }
}

TEST(Client, ReadsWhatPeopleType) {
  const std::pair<const char*, int32_t> kOpcodes[] = {
      {"get_serial_number", 4010}, {"0xFAA", 4010},   {"-5", -5}, {"010", 10}, {"2147483647", INT32_MAX},
      {"-2147483648", INT32_MIN},  {"0xffffffff", -1}};
  int32_t opcode = 0;
  for (const auto& [text, number] : kOpcodes) {
    EXPECT_EQ(parse_opcode(text, &opcode).status, kOk) << text;
    EXPECT_EQ(opcode, number) << text;
  }
  for (const char* text : {"", "0x", "-", "12a", "2147483648", "-2147483649", "0x100000000", "99999999999999999999",
                           "GET_SERIAL_NUMBER", "get_serial"}) {
    EXPECT_EQ(parse_opcode(text, &opcode).status, kUsage) << text;
  }
  EXPECT_TRUE(has(parse_opcode("GET_seral_numbr", &opcode).text, "nearest: get_serial_number, "));
  const std::string full(4096, 'f');
  const std::pair<std::string, std::string> kHex[] = {
      {"", ""}, {"00fF", "\0\xff"s}, {"0x01 02:03-04\n", "\1\2\3\4"}, {full, std::string(2048, '\xff')}};
  std::string bytes;
  for (const auto& [text, meant] : kHex) {
    EXPECT_FALSE(parse_hex(text, &bytes)) << text.substr(0, 20);
    EXPECT_EQ(meant, bytes) << text.substr(0, 20);
  }
  for (const std::string& text : {full + "00", "0"s, "0 1"s}) EXPECT_TRUE(parse_hex(text, &bytes)) << text.size();
}

TEST(Client, RequestsAndTheirStatuses) {
  const std::string blanks(38, ' '), full(2048, '\xff');
  const std::string json = R"({"opcode":5,"name":null,"result":0,"result_name":"OK","result_status":7,"data_len":3,)"
                           R"("text":null,"byte":null,"hex":"ff0078","status":0,"error":null})"
                           "\n";
  const struct {
    Strings arguments;
    int32_t opcode;
    std::string payload, reply;
    int status;
    std::string shown;
  } kRows[] = {
      {{"get_serial_number"}, 4010, "", answer(0, "SN1\0\0"s), 0, "get_serial_number (4010): OK\nSN1\n"},
      {{"4008", "a\\ \"b"}, 4008, "a\\ \"b", answer(1, ""), 1, "sniff_config (4008): FAIL\n"},
      {{"3170", "--hex", "6f6e"}, 3170, "on", answer(0, ""), 0, "set_dload_mode (3170): OK\n"},
      {{"4180"}, 4180, "", answer(0, ""), 0, "aat_write_start (4180): OK\n"},
      {{"--read", "4065"}, 4065, "", answer(0, ""), 0, "automid_mac (4065): OK\n"},
      {{"4010", ""}, 4010, "", answer(2, ""), 2, "get_serial_number (4010): not supported\n"},
      {{"-5", "--hex", "00ff"}, -5, "\0\xff"s, answer(4, 1, "\1", 9), 3, "-5: 4, status 9\n1 (0x01)\n"},
      {{"--", "-5", "wait"}, -5, "wait", answer(-1, "\xc3\xa4\n"), 3, "-5: -1\n\xc3\xa4\n"},
      {{"5", "--file", "-"}, 5, full, answer(0, "\x1b[2J"), 0, "5: OK\n0000  1b 5b 32 4a " + blanks + "|.[2J|\n"},
      {{"get_wine_ime"}, 3200, "", answer(0, "1"), 0, "get_wine_ime (3200): OK\n49 (0x31)\n"},
      {{"5", "--json"}, 5, "", answer(0, 3, "\xff\0x"s, 7), 0, json},
      {{"4010", "-r"}, 4010, "", answer(0, "SN1\0"s), 0, "SN1\n"},
      {{"4010", "-r"}, 4010, "", answer(0, "\0\0"s), 0, "\n"},
      {{"3200", "--output", "value"}, 3200, "", answer(0, "1"), 0, "49\n"},
      {{"-r", "5"}, 5, "", answer(0, "\xff\1"s), 0, "ff01\n"},
      {{"5", "--output", "-"}, 5, "", answer(0, "\xff\0"s), 0, "\xff\0"s},
      {{"4010", "-r"}, 4010, "", answer(1, "why"), 1, ""},
      {{"5", "-r", "--output", "-"}, 0, "", "", 64, "--output"},
      {{"5", "--output", "/tmp/nowhere/x"}, 0, "", "", 64, "/tmp/nowhere/x: No such file"},
      {{"5"}, 5, "", "605 " + to_base64("x") + '\0' + answer(0, ""), 0, "5: OK\n"},
      {{"5", std::string(2047, 'x')}, 5, std::string(2047, 'x'), answer(0, ""), 0, "5: OK\n"},
      {{"5"}, 5, "", "210 \0"s, 3, ""},
      {{"5"}, 5, "", "210 " + to_base64(std::string(11, '\0')) + '\0', 3, ""},
      {{"5"}, 5, "", answer(0, -1, "data"), 3, ""},
      {{"5"}, 5, "", answer(0, 5, "data"), 3, ""},
      {{"5"}, 5, "", answer(0, 2049, std::string(2049, 'x')), 3, ""},
      {{"5"}, 5, "", "500 Unclosed quotes error\0"s, 3, ""},
      {{"5"}, 5, "", "210 AAAABYE", 69, ""},
      // What is not sent.
      {{"5", "--timeout", "0"}, 0, "", "", 75, ""},
      {{"5", "--timeout", "nan"}, 0, "", "", 64, ""},
      {{"5", "x", "--hex", "00"}, 0, "", "", 64, ""},
      {{"5", std::string(2048, 'x')}, 0, "", "", 64, ""},
      {{"5", "--file", "-"}, 0, full + "x", "", 64, "standard input has more than 2048 bytes, the most"},
      {{"get_msn", "x"}, 0, "", "", 64, "get_msn (4015) takes no payload: leave it out\n"},
      {{"4064", ""}, 0, "", "", 64, "automid_imei (4064) writes a text, and this one is empty: write --read to read"},
      {{"4064", "--hex", "0035"}, 0, "", "", 64, "write --read to read"},
      {{"4064", "--read", "x"}, 0, "", "", 64, "--read"},
      {{"4008"}, 0, "", "", 64, "sniff_config (4008) takes a payload: write it, or --hex \"\""},
      {{"4293"}, 0, "", "", 64, "write_imei (4293) takes a payload"},
      {{"4008", "--read"}, 0, "", "", 64, "sniff_config (4008) cannot be told to read"},
      {{"3170", "on"}, 0, "", "", 64, "set_dload_mode (3170) takes bytes: write them with --hex or --file"}};
  for (const auto& row : kRows) {
    FakeDaemon daemon([&](const std::string&) { return row.reply; });
    Strings arguments = row.arguments;
    arguments.insert(arguments.begin(), "request");
    Outcome outcome = atdctl(daemon, arguments, row.payload);
    SCOPED_TRACE(testing::PrintToString(row.arguments) + " " + visible(row.reply) + ": " + outcome.err);
    EXPECT_EQ(outcome.status, row.status);
    const bool shows = row.opcode != 0 && !row.shown.empty();
    EXPECT_EQ(outcome.out, shows ? row.shown : "");
    EXPECT_EQ(std::count(outcome.err.begin(), outcome.err.end(), '\n'), !shows);
    EXPECT_TRUE(shows || has(outcome.err, row.shown));
    if (row.status == kTimedOut) continue;  // it is left to chance whether a line goes out when there is no time
    EXPECT_EQ(daemon.lines(), Strings(row.opcode != 0, request_line(row.opcode, row.payload)));
  }
}

TEST(Client, TellsWhenItsOutputIsLost) {
  auto to_full_disk = [] {
    const int full = open("/proc/self/root/dev/full", O_WRONLY);
    dup2(full, STDOUT_FILENO);
    close(full);
  };
  auto to_nobody = [] {
    int ends[2];
    EXPECT_EQ(0, pipe(ends));
    dup2(ends[1], STDOUT_FILENO);
    close(ends[0]), close(ends[1]);
  };
  for (const char* command :
       {"ops", "ops --json", "--help", "--version", "phone", "manual", "dictionary", "completion", "phone item --help",
        "initialize", "monitor", "raw", "request 5", "batch", "serve", "batch --json"}) {
    const Strings row = words(command);
    FakeDaemon daemon([](const std::string&) { return answer(1, "") + "601 up\0"s; }, "200 hello\0"s);
    Outcome full = atdctl(daemon, row, "5\n6\n", to_full_disk), gone = atdctl(daemon, row, "5\n", to_nobody);
    EXPECT_EQ(74, full.status) << command;
    EXPECT_EQ("atdctl: standard output cannot be written: No space left on device\n", full.err);
    EXPECT_EQ(74, gone.status) << command;
    EXPECT_EQ("", gone.err);
  }
  // What is opened does not take the place of a closed stream.
  FakeDaemon daemon([](const std::string&) { return answer(0, "x"); });
  auto close_all = [] { close(STDIN_FILENO), close(STDOUT_FILENO), close(STDERR_FILENO); };
  EXPECT_EQ(0, atdctl(daemon, {"request", "5"}).status);  // the daemon's thread, which opens files as it starts, runs
  EXPECT_EQ(74, atdctl(daemon, {"request", "5"}, "", close_all).status);
  EXPECT_EQ(64, atdctl(daemon, {"batch"}, "", close_all).status);
  EXPECT_EQ(64, atdctl(daemon, {"raw"}, "", close_all).status);
  EXPECT_EQ(Strings(2, request_line(5, "")), daemon.lines());
}

TEST(Client, OptionsStandBeforeOrAfterTheirCommand) {
  FakeDaemon daemon([](const std::string&) { return answer(0, ""); }, "601 up\0"s);
  EXPECT_EQ(atdctl(daemon, {"ops", "--json"}).out, atdctl(daemon, {"--json", "--timeout", "9", "ops"}).out);
  EXPECT_EQ(0, atdctl(daemon, {"--count", "1", "--json", "monitor"}).status);
  EXPECT_EQ(0, atdctl(daemon, {"--hex=00", "request", "5"}).status);
  EXPECT_TRUE(has(atdctl(daemon, {"--json", "reqest", "5"}).out, "reqest\\\" is not a command; nearest: request, "));
  EXPECT_TRUE(has(atdctl(daemon, {"--tmeout", "wait"}).err, "no option --tmeout; nearest: --timeout, "));
  // The last one counts.
  const size_t before = daemon.lines().size();
  EXPECT_EQ(0, atdctl(daemon, words("request 5 --hex 00 --timeout 0 --hex 01 --timeout 9")).status);
  EXPECT_EQ(0, atdctl(daemon, words("monitor --count 9 --count 1")).status);
  EXPECT_EQ(request_line(5, "\1"), daemon.lines().at(before));
  // An option of one name takes a value in every command that has it, or in none.
  std::map<std::string, bool> takes_value;
  const std::regex command("\n  ([a-z]+) "), option("\n  (?:-[a-z],)?--([a-z-]+)( [A-Z])?");
  const std::string all = atdctl("", {"--help"}).out;
  for (std::sregex_iterator name(all.begin(), all.end(), command), end; name != end; ++name) {
    const std::string own = atdctl("", {(*name)[1], "--help"}).out;
    for (std::sregex_iterator known(own.begin(), own.end(), option); known != end; ++known) {
      const bool value = (*known)[2].matched;
      EXPECT_EQ(value, takes_value.try_emplace((*known)[1], value).first->second) << (*name)[1] << (*known)[0];
    }
  }
  EXPECT_TRUE(takes_value["silence"] && !takes_value["quiet"]);
}

TEST(Client, TakesNeitherALateAnswerNorHalfALine) {
  int pair[2];
  ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, pair), 0);
  Connection connection(dup(pair[0]));
  EXPECT_EQ(connection.settle(in_seconds(0)), Wait::timed_out);  // its refusal is still due
  std::string late = "500 a\0"s + answer(0, "late") + "500 b\0"s + answer(0, "next");
  ASSERT_EQ(write(pair[1], late.data(), late.size()), static_cast<ssize_t>(late.size()));
  Message message;
  EXPECT_EQ(connection.settle(in_seconds(60)), Wait::message);
  EXPECT_EQ(connection.next(&message, in_seconds(60)), Wait::message);
  EXPECT_EQ(message.bytes + '\0', answer(0, "next"));
  ASSERT_EQ(4, write(pair[1], "3\n40", 4));
  close(pair[1]);  // it has not read the requests, which makes an error of its end
  InputLines lines(pair[0]);
  std::string line;
  EXPECT_TRUE(lines.take(&line));
  EXPECT_FALSE(lines.take(&line)) << line;
  EXPECT_EQ(ECONNRESET, lines.error());
  close(pair[0]);
}

TEST(Client, TakesTurnsWithOthers) {
  FakeDaemon daemon([](const std::string&) { return answer(0, ""); });
  EXPECT_EQ(atdctl(daemon, {"request", "5"}).status, 0);
  int lock = open((daemon.socket() + ".lock").c_str(), O_RDONLY);
  ASSERT_EQ(flock(lock, LOCK_EX | LOCK_NB), 0) << "left locked";
  EXPECT_EQ(atdctl(daemon, {"request", "5", "--timeout", "0"}).status, 75);
  EXPECT_EQ(daemon.lines().size(), 1u);
  close(lock);
}

TEST(Client, TriesAgainWithPauses) {
  std::atomic<int> connections = 0;
  FakeServer closes("x", "atd", [&](int) { ++connections; });
  EXPECT_EQ(75, atdctl(closes.path(), words("wait --timeout 0.05")).status);
  const Target target = {closes.path(), 0.05};
  const Masks masks;
  EXPECT_EQ(75, ReplayClients(target, masks).connect(1, true).status);
  EXPECT_LE(connections, 8);
}

TEST(Client, ASignalEndsWhatNobodyReads) {
  FakeDaemon daemon([](const std::string&) { return ""; }, "605 " + std::string(100000, 'x') + '\0');
  for (const char* command : {"monitor", "serve"}) {
    int ends[2], status = -1;
    ASSERT_EQ(0, pipe(ends));
    std::thread writer([&] { status = atdctl(daemon, {command}, "", [&] { dup2(ends[1], STDOUT_FILENO); }).status; });
    for (pollfd room = {ends[1], POLLOUT, 0}; poll(&room, 1, 0) > 0;) std::this_thread::yield();
    pthread_kill(writer.native_handle(), SIGTERM);
    writer.join();
    close(ends[0]), close(ends[1]);
    EXPECT_EQ(0, status) << command;
  }
  // Without a descriptor to wait for, a signal does what it always does.
  rlimit before;
  getrlimit(RLIMIT_NOFILE, &before);
  const rlimit none = {0, before.rlim_max};
  setrlimit(RLIMIT_NOFILE, &none);
  const StopSignals signals(true);
  setrlimit(RLIMIT_NOFILE, &before);
  sigset_t blocked;
  EXPECT_EQ(0, pthread_sigmask(SIG_BLOCK, nullptr, &blocked));
  EXPECT_FALSE(sigismember(&blocked, SIGTERM));
}

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

TEST(Client, JsonTellsFailuresToo) {
  FakeDaemon daemon(
      [](const std::string& line) { return line == request_line(4010, "") ? answer(0, "") : "601 up\0"s; });
  const std::tuple<const char*, int, const char*> kRows[] = {
      {"request 4010 --json", 0, R"("data_len":0,"text":"","byte":null,"hex":null,"status":0,"error":null})"},
      {"request 4015 x --json", 64, R"({"status":64,"error":"get_msn (4015) takes no payload: leave it out"})"},
      {"request --json --nothing", 64, R"({"status":64,"error":"there is no option --nothing; nearest: )"},
      {"request 5 -r --json", 64, R"({"status":64,"error":"a value)"},
      {"initialize --json", 0, R"(,"seq":1,"code":601,"text":"up","hex":null,"decoded":null,"status":0,"error":null})"},
      {"send --json AT --timeout 0.05", 75, R"({"status":75,"error":"no)"},
      {"wait --json", 0, R"(,"status":0,"error":null})"},
      {"phone --json --device /tmp/nowhere export x", 64, R"({"status":64,"error":"--json goes with \"-\" alone)"},
      {"phone --json --device /tmp/nowhere status", 69, R"({"status":69,"error":"no phone runs in /tmp/nowhere)"}};
  for (const auto& [command, status, shown] : kRows) {
    const bool phone = command[0] == 'p';
    Outcome outcome = phone ? atdctl("", words(command)) : atdctl(daemon, words(command));
    EXPECT_EQ(status, outcome.status) << command;
    EXPECT_TRUE(has(outcome.out, shown)) << outcome.out;
    EXPECT_EQ("", outcome.err);
  }
  EXPECT_TRUE(has(atdctl(daemon, {"ops", "--json"}).out, R"([{"opcode":)"));
}

TEST(Client, SendInitializeRaw) {
  FakeDaemon daemon([](const std::string& line) {
    if (line.ends_with("=")) return "605 record\0"s + "610 Response OK\0"s;
    return line == "bad" ? "500 no\0"s : "605 other\0"s + "601 up\0"s + "605 AT \"\\\x80 x\0"s + "200 copy\0"s;
  });
  EXPECT_EQ(atdctl(daemon, {"send", " \x80\nAT \"\\\x80 x"}).status, 0);
  EXPECT_EQ(daemon.lines().at(0), "atcommand adc  \x80\nAT \\\"\\\\\x80 x");
  EXPECT_EQ(atdctl(daemon, {"send", " \x80\n"}).status, 64);
  EXPECT_EQ(atdctl(daemon, {"send", std::string(16381 - 14 + 1, 'x')}).status, 64);
  EXPECT_EQ(daemon.lines().size(), 1u);
  EXPECT_EQ(atdctl(daemon, {"initialize"}).out, "601 up\n");
  Outcome raw = atdctl(daemon, {"raw", "--hexdump"}, "bad\n" + std::string(16382, 'x') + "\nbad");
  EXPECT_EQ(raw.status, 64);
  std::string once = "> bad\n" + hexdump("bad\0"s) + "< 500 no\n" + hexdump("500 no\0"s);
  EXPECT_EQ(raw.out, once + once);
}

TEST(Client, APlatformGivesASign) {
  for (const auto& [sign, status] : {std::pair("610 Response OK", 0), {"601 AT Command Start", 0}, {"200 AT", 75}}) {
    FakeServer server("x", "atd", [&, text = sign](int fd) {
      for (char byte; read(fd, &byte, 1) > 0;) {
        if (byte == '\0') FakeServer::say(fd, "500 Command not recognized\0"s + text + '\0');
      }
    });
    EXPECT_EQ(status, atdctl(server.path(), words("wait --platform --timeout 0.05")).status) << sign;
  }
}

TEST(Client, MonitorTellsRecordsAndAtCommandsApart) {
  std::string stream;
  const std::pair<std::string, std::string> kRows[] = {
      {request_line(4010, "p").substr(11), "request get_serial_number (4010), 1 byte: \"p\""},
      {"ATDabcdefghijklm", "ATDabcdefghijklm"},  // base64 letters, a data_len that does not fit
      {to_base64("\5\0\0\0\1\0\0\0"s), "BQAAAAEAAAA="},
      {to_base64("\5\0\0\0\0\0\0\0x"s), "BQAAAAAAAAB4"},
      {"AT\x1b\n\xff", "AT\\x1b\\n\\xff"},
      {"====", "===="}};
  for (const auto& row : kRows) stream += "605 " + row.first + '\0';
  stream += "200 " + kRows[0].first + '\0';
  FakeDaemon stops([](const std::string&) { return ""; }, stream + "602 end\0BYE"s);
  Outcome outcome = atdctl(stops, {"monitor"});
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  for (const auto& row : kRows) EXPECT_TRUE(has(outcome.out, " platform  " + row.second + "\n")) << outcome.out;
  const std::string json = atdctl(stops, {"monitor", "--json"}).out;
  EXPECT_TRUE(has(json, R"("hex":null,"decoded":{"record":"request","opcode":4010,)")) << json;
  EXPECT_TRUE(has(json, R"("text":null,"hex":"41541b0aff","decoded":null)")) << json;
  EXPECT_TRUE(has(atdctl(stops, {"monitor", "--count", "9"}).err, "the daemon stopped after 7 of 9"));
  const std::pair<const char*, int> kFilters[] = {{"--opcode get_serial_number --count 1", 1},
                                                  {"--opcode 5", 0},
                                                  {"--code 605 --code 602", 7},
                                                  {"--code 602", 1},
                                                  {"--code 200", 1},
                                                  {"--for 0", 0}};
  for (const auto& [options, lines] : kFilters) {
    outcome = atdctl(stops, words("monitor "s + options));
    EXPECT_EQ(0, outcome.status) << outcome.err;
    EXPECT_EQ(lines, std::count(outcome.out.begin(), outcome.out.end(), '\n')) << outcome.out;
  }
  EXPECT_TRUE(has(atdctl(stops, words("monitor --count 10")).err, "stopped after 7 of 10")) << "a copy is shown";
  FakeDaemon quiet([](const std::string&) { return ""; });
  EXPECT_EQ(75, atdctl(quiet, words("monitor --for 0.01 --count 1")).status);
  FakeDaemon cut([](const std::string&) { return ""; }, "602 end\0"s + "200 AT CommBYE");
  EXPECT_EQ(69, atdctl(cut, {"monitor"}).status);
  FakeDaemon dies([](const std::string&) { return ""; }, answer(0, 9, "x") + "BYE");
  EXPECT_EQ(atdctl(dies, {"monitor"}).status, 69);
  EXPECT_EQ(atdctl(dies, {"monitor", "--count", "1"}).status, 0);
  outcome = atdctl(dies, words("monitor --follow --count 3"));
  EXPECT_EQ(0, outcome.status) << outcome.err;
  EXPECT_EQ(3, std::count(outcome.out.begin(), outcome.out.end(), '\n')) << outcome.out;
  EXPECT_TRUE(
      outcome.err.ends_with("is not there; it is waited for\natdctl: the daemon at " + dies.socket() + " is there\n"));
  outcome = atdctl(dies, words("monitor --follow --json --code 601 --for 0.1 --count 1"));
  EXPECT_EQ(75, outcome.status);
  EXPECT_TRUE(has(outcome.out, R"(Z","event":"gone"})") && has(outcome.out, R"(Z","event":"back"})")) << outcome.out;
  EXPECT_EQ(0, atdctl("/tmp/nowhere", words("monitor --follow --for 0.01")).status);
  EXPECT_TRUE(has(message_json({0, 5000}, 1, {601, "x", ""}), R"("time":"1970-01-01T00:00:00.000005Z","seq":1,)"));
}

TEST(Client, MasksIdentities) {
  const std::string folder = testing::TempDir() + "atdctl-identities-" + std::to_string(getpid());
  std::filesystem::create_directories(folder + "/sim/items");
  std::ofstream(folder + "/sim/items/9-12") << "SN-A7\0\0\0\0\0\0\0"s
                                            << "";
  std::ofstream(folder + "/sim/items/18-16") << "msn of mine 01\n";
  Identities identities(folder, false);
  const std::string imei = identities.in_text("490154203237518"), address = identities.in_text("00:1a:2B:33:44:55");
  EXPECT_TRUE(imei.starts_with("490154…18#") && imei.size() == 15u + 1) << imei;
  const std::pair<std::string, std::string> kRows[] = {
      {"IMEI:490154203237518,x", "IMEI:" + imei + ",x"},
      {"117 \"490154203237518\"", "117 \"" + imei + "\""},
      {"hex:001a2b334455 00-1A-2B-33-44-55", "hex:" + address + " " + address},
      {"A1000012345678", "A10000…78#"},
      {"it is msn of mine 01", "it is MSNOFM…01#"},
      {"E490154203237518", "E490154…18#"},
      // Neither too short, nor a part of something longer, nor another kind of thing.
      {"1234567890123", "1234567890123"},
      {"12345678901234567", "12345678901234567"},
      {"0x001a2b334455", "0x001a2b334455"},
      {"d41d8cd98f00b204ea12345678901234", "d41d8cd98f00b204ea12345678901234"},
      {"00:1a:2b:33:44:556", "00:1a:2b:33:44:556"},
      {"13:05:00.000001", "13:05:00.000001"},
      {"SN-A7", "SN-A7"}};
  for (const auto& [text, shown] : kRows) EXPECT_TRUE(identities.in_text(text).starts_with(shown)) << text;
  std::ofstream(folder + "/sim/items/37-16") << "CSN.new.value";
  EXPECT_EQ("CSNNEW…UE#", identities.in_text("CSN.new.value").substr(0, 12));
  std::ofstream(folder + "/sim/items/18-16") << "\xffmsn of mine";
  EXPECT_EQ("hex:FF6D73…65#", identities.in_text("hex:ff6d736e206f66206d696e65").substr(0, 16));
  EXPECT_EQ(imei, Identities(folder, false).in_text("490154203237518")) << "the key is kept";
  EXPECT_NE(imei.substr(11), identities.in_text("490154203237519").substr(11));
  EXPECT_EQ("490154203237518", Identities(folder, true).in_text("490154203237518"));
  EXPECT_TRUE(identities.in_data(1700, "12345").starts_with("…#"));
  std::filesystem::remove(folder + "/sim/identity-key");
  EXPECT_NE(imei, Identities(folder, false).in_text("490154203237518")) << "another phone has another key";

  // What a monitor shows and records is masked inside its records too.
  setenv("XDG_STATE_HOME", folder.c_str(), 1);
  const std::string recording = folder + "/recording", request = request_line(1700, "+123456789").substr(11);
  const std::string both = "490154203237518 SN0123456789", kept = "V10a_00 0xC9B5B9BB 16106127360 12:05:00Z";
  FakeDaemon daemon([](const std::string&) { return ""; },
                    answer(0, "490154203237518\0"s) + answer(0, "SN0123456789\n") + answer(0, both) +
                        answer(0, 99, both) + "605 " + request_line(5, both).substr(11) + '\0' + answer(0, kept) +
                        "605 AT%SN=SN0123456789\0"s + "605 AT=E490154203237518\0"s + "605 " + request + '\0');
  for (const char* options : {"", " --json"}) {
    const std::string hidden = atdctl(daemon, words("monitor --count 9 --record " + recording + options)).out,
                      full = atdctl(daemon, words("monitor --plain --count 9"s + options)).out;
    EXPECT_TRUE(has(hidden, kept) && has(hidden, "malformed: the answer's data_len is 99")) << hidden;
    for (const char* value : {"490154203237518", "SN0123456789", "123456789\""}) {
      EXPECT_FALSE(has(hidden, value)) << hidden;
      EXPECT_TRUE(has(full, value)) << full;
    }
    EXPECT_FALSE(has(hidden, to_base64("490154203237518").substr(4, 8))) << hidden;
  }
  EXPECT_TRUE(std::filesystem::exists(folder + "/atdctl/identity-key"));
  EXPECT_TRUE(has(atdctl(daemon, {"replay", recording}).err, "recording:1: identities are masked in this recording"));
  unsetenv("XDG_STATE_HOME");
  std::filesystem::remove_all(folder);
}

}  // namespace
}  // namespace atd::client
