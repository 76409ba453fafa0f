#include "daemon/console.h"

#include <stdio.h>
#include <stdlib.h>

#include <iostream>
#include <sstream>
#include <string>
#include <vector>

#include "atd.h"
#include "simulator/simulated_device.h"
#include "platform/records.h"

namespace {

using Words = std::vector<std::string>;

// The number in a word, 0 for none.
int number(const Words& words, size_t at) { return at < words.size() ? atoi(words[at].c_str()) : 0; }

char* text(Words& words, size_t at) {
  static char zero[] = "0";
  return at < words.size() ? words[at].data() : zero;
}

void answer(const char* what, int result) {
  printf("%s: %d\n", what, result);
  fflush(stdout);
}

void request(Words& words, atd::sim::SimulatedDevice&) {
  const std::string data = words.size() > 2 ? words[2] : "";
  char out[MAX_RZCMD_REQ_SIZE];
  int length = 0, status = 0;
  int result = request_to_system(number(words, 1), data.data(), static_cast<int>(data.size()), out, &length, &status);
  printf("request %d: %d, status %d, answer '%.*s'\n", number(words, 1), result, status, length > 0 ? length : 0, out);
  fflush(stdout);
}

void key(Words& words, atd::sim::SimulatedDevice&) { answer("key", ckpd_send_event(text(words, 1))); }

void native_key(Words& words, atd::sim::SimulatedDevice& device) {
  send_key_native(number(words, 1), number(words, 2));
  for (int n = 0; n < 7; ++n) {
    if (!device.input.events(n).empty()) printf("event%d\n%s", n, device.input.decode(n).c_str());
  }
  answer("native-key", 0);
}

void touch(Words& words, atd::sim::SimulatedDevice& device) {
  int result = ctsa_send_event(text(words, 1), text(words, 2), text(words, 3), nullptr);
  printf("%s", device.input.decode(1).c_str());
  answer("touch", result);
}

void modem_lose(Words&, atd::sim::SimulatedDevice& device) {
  device.modem.lose_connection();
  answer("modem-lose", 0);
}

void modem_fail(Words& words, atd::sim::SimulatedDevice& device) {
  device.modem.fail_request(words.size() > 1 ? number(words, 1) : 1);
  answer("modem-fail", 0);
}

void help(Words&, atd::sim::SimulatedDevice&);

struct Command {
  const char* name;
  size_t arguments;  // at least
  const char* usage;
  void (*run)(Words& words, atd::sim::SimulatedDevice& device);
};

constexpr Command kCommands[] = {
    {"request", 1, "request OPCODE [TEXT]     ask the modem (0 to 971) or the platform (1000 to 4414)", request},
    {"key", 1, "key CODE                  click an AT keypad key by its character code", key},
    {"native-key", 2, "native-key SCANCODE 1|0   press or release a key of an input device", native_key},
    {"touch", 3, "touch MODE X Y            touch the screen: 0 release, 1 press, 2 tap, 3 double tap", touch},
    {"modem-lose", 0, "modem-lose                the modem's connection is lost until it is opened again", modem_lose},
    {"modem-fail", 0, "modem-fail [N]            the modem's N-th request from now fails", modem_fail},
    {"help", 0, "help                      this list", help},
};

void help(Words&, atd::sim::SimulatedDevice&) {
  for (const Command& command : kCommands) printf("%s\n", command.usage);
  fflush(stdout);
}

}  // namespace

void run_console(atd::sim::SimulatedDevice& device, std::mutex& busy) {
  for (std::string line; std::getline(std::cin, line);) {
    std::istringstream stream(line);
    Words words;
    for (std::string word; stream >> word;) words.push_back(word);
    if (words.empty()) continue;
    const Command* found = nullptr;
    for (const Command& command : kCommands) {
      if (words[0] == command.name) found = &command;
    }
    if (!found || words.size() <= found->arguments) {
      printf("%s\n", found ? found->usage : "unknown; try: help");
      fflush(stdout);
      continue;
    }
    std::lock_guard guard(busy);
    found->run(words, device);
  }
}
