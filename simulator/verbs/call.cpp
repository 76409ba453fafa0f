// The library's functions by name.
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "simulator/simulated_device.h"
#include "simulator/verbs/verb_call.h"
#include "simulator/verbs/verbs.h"

namespace atd::sim {

namespace {

constexpr std::chrono::milliseconds kLongWork(1000), kBetween(200);

// Tells a caller who wants it how far a call is, from its first second to the end of this object.
class Progress {
 public:
  Progress(const Host& host, VerbCall& call) {
    if (!call.wants_progress() || !host.read_so_far) return;
    thread_ = std::thread([&, before = host.read_so_far()] {
      std::unique_lock guard(lock_);
      for (auto pause = kLongWork; !done_.wait_for(guard, pause, [&] { return ended_; }); pause = kBetween) {
        const HostReading now = host.read_so_far();
        call.tell_progress(std::to_string(now.files - before.files) + " files, " +
                           std::to_string((now.bytes - before.bytes) >> 20) + " MiB read");
      }
    });
  }

  ~Progress() {
    if (!thread_.joinable()) return;
    std::unique_lock guard(lock_);
    ended_ = true;
    done_.notify_one();
    guard.unlock();
    thread_.join();
  }

 private:
  std::mutex lock_;
  std::condition_variable done_;
  bool ended_ = false;
  std::thread thread_;
};

HostAnswer ask(const Host& host, const std::vector<std::string>& words, VerbCall& call) {
  const Progress progress(host, call);
  return host.call(words);
}

void run(SimulatedDevice& device, VerbCall& call) {
  if (!device.host.call) return call.fail(kFailed, "the program that runs this phone has no calls");
  std::vector<std::string> words;
  for (size_t i = 0; i < call.count(); ++i) words.push_back(call[i]);
  const HostAnswer answer = ask(device.host, words, call);
  call.answer(answer.text, Json::parse(answer.json));
  // A program has the sentence in the JSON.
  if (answer.status != 0) call.fail(answer.status, call.is_for_programs() ? "" : answer.error);
}

constexpr Verb kVerbs[] = {
    {"call", "[--yes] [NAME [ARGUMENT...]]", "Calls a function of the library, or shows those that can be called.",
     run},
};

}  // namespace

std::span<const Verb> call_rows() { return kVerbs; }

}  // namespace atd::sim
