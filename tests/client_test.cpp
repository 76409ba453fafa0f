// The client against a daemon that says what a test wants: framing, arguments, answers that lie, statuses.
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/resource.h>

#include <algorithm>
#include <atomic>
#include <map>
#include <sstream>

#include "client/arguments.h"
#include "client/connection.h"
#include "client/input.h"
#include "client/output.h"
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
  EXPECT_TRUE(has(parse_opcode("IMEI", &opcode).text, "nearest: write_imei, read_imei, automid_imei; "));
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
  const auto lines_of = [](const Strings& arguments, const std::string& beginning) {
    std::istringstream help(atdctl("", arguments).out);
    Strings lines;
    for (std::string line; std::getline(help, line);) {
      if (line.starts_with(beginning) && line.size() > 3 && line[3] != ' ') lines.push_back(line);
    }
    return lines;
  };
  for (const std::string& command : lines_of({"--help"}, "  ")) {
    if (!islower(command[2])) continue;
    for (const std::string& option : lines_of({words(command)[0], "--help"}, "  -")) {
      const size_t begin = option.find("--"), end = option.find(' ', begin);
      if (begin > 5 || end == option.npos) continue;  // "-r" alone
      const bool value = isupper(option[end + 1]) != 0;
      EXPECT_EQ(value, takes_value.try_emplace(option.substr(begin, end - begin), value).first->second)
          << command << option;
    }
  }
  EXPECT_TRUE(takes_value["--silence"] && takes_value.count("--quiet") && !takes_value["--quiet"]);
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
  FakeDaemon phone([](const std::string&) { return R"({"out":")" + std::string(100000, 'x') + "\"}\n"; }, "", '\n',
                   "sim", "control");
  for (const std::string& command : {"monitor"s, "serve"s, "phone log -f --device " + phone.root()}) {
    const std::string socket = command.starts_with("phone") ? "" : daemon.socket();
    int ends[2], status = -1;
    ASSERT_EQ(0, pipe2(ends, O_CLOEXEC));
    std::thread writer(
        [&] { status = atdctl(socket, words(command), "", [&] { dup2(ends[1], STDOUT_FILENO); }).status; });
    const Deadline deadline = in_seconds(10);
    for (pollfd room = {ends[1], POLLOUT, 0}; poll(&room, 1, 0) > 0 && std::chrono::steady_clock::now() < deadline;) {
      std::this_thread::yield();
    }
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

}  // namespace
}  // namespace atd::client
