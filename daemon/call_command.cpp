#include "daemon/call_command.h"

#include <stdio.h>

#include "atd.h"
#include "daemon/calls.h"

namespace atd {

namespace {

// As the daemon does at its start.
void open_phone() {
  init_factory_item(0);
  get_qem();
  init_modem_interface(0);
}

}  // namespace

int call_command(int count, const char* const* words) {
  std::vector<std::string> rest;
  bool json = false, options = true;
  for (int i = 0; i < count; ++i) {
    const std::string word = words[i];
    options = options && word != "--";
    if (options && word == "--json") json = true;
    else rest.push_back(word);
  }
  CallRequest request = read_call(rest);
  // What is not confirmed, run() refuses.
  confirm(&request);
  const CallAnswer answer = run(request, {"logcat -d -b all", false, open_phone, nullptr});
  const bool shown = fputs((json ? answer.json : answer.text).c_str(), stdout) >= 0 && fflush(stdout) == 0;
  if (!json && !answer.error.empty()) fprintf(stderr, "atd: %s\n", answer.error.c_str());
  await_background_work();  // such as a restart in a second
  return shown ? answer.status : 74;
}

}  // namespace atd
