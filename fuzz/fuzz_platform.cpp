// Answers a request to the platform. After the opcode's byte come the texts of answers, with NULs between them; behind
// an odd byte comes one record.
#include <errno.h>
#include <stdint.h>

#include "desk/framing.h"
#include "fuzz/fuzz_phone.h"
#include "platform/os.h"
#include "platform/records.h"

namespace {

atd::FuzzClient* g_client;
std::string g_answers;

}  // namespace

// The request's own thread answers it where it would wait, so a run needs no other thread and no time.
int atd::os_cond_timedwait(pthread_cond_t*, pthread_mutex_t* mutex, clockid_t, const struct timespec*) {
  if (g_answers.empty()) return ETIMEDOUT;
  const size_t end = g_answers.find('\0') + 1;
  const std::string line = "atresponse " + g_answers.substr(0, end);
  g_answers.erase(0, end);
  pthread_mutex_unlock(mutex);
  g_client->send(line.data(), line.size());
  pthread_mutex_lock(mutex);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static atd::FuzzPhone phone;
  static auto* listener = new atd::FuzzListener;
  atd::FuzzClient client(*listener);
  g_client = &client;
  if (size == 0) return 0;
  g_answers.assign(reinterpret_cast<const char*>(data) + 1, size - 1);
  if (data[0] & 1) g_answers = atd::to_base64(g_answers);
  g_answers += '\0';
  std::unique_ptr<char[]> out(new char[MAX_RZCMD_REQ_SIZE]);
  int length = 0, status = 0;
  const int error = request_to_system(1000 + data[0] / 2, "35", 2, out.get(), &length, &status);
  if (error == 0 ? length < 0 || length > MAX_RZCMD_REQ_SIZE : length != -1) abort();
  phone.settle();
  return 0;
}
