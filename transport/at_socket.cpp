#include "transport/at_socket.h"

#include <stdlib.h>
#include <string.h>

#include <new>

#include "platform/log.h"
#include "platform/os.h"
#include "text/scoped_lock.h"
#include "transport/base64.h"
#include "transport/commands.h"
#include "transport/wire.h"

namespace atd {

namespace {

constexpr size_t kResponseSize = 16384;
constexpr unsigned kAndroidTimeoutSeconds = 10;
constexpr size_t kHandedBytesMax = 1 << 20;

// Who uses the broker from outside the listener's thread. The lock outlives the broker.
pthread_mutex_t g_users_lock = PTHREAD_MUTEX_INITIALIZER;
pthread_cond_t g_users_gone = PTHREAD_COND_INITIALIZER;
bool g_served = false;
int g_users = 0;

}  // namespace

struct AtSocket::Handed {
  Handed* next;
  int code;
  char text[1];  // as long as it needs
};

AtSocket* AtSocket::sInstance = nullptr;
AtSocket* g_AtSocket = nullptr;
CommandListener* g_CommandListener = nullptr;

AtSocket* AtSocket::Instance() {
  if (!sInstance) {
    sInstance = new (std::nothrow) AtSocket();
    if (sInstance && (!sInstance->response_ || !sInstance->request_text_ || !sInstance->reply_text_)) delete sInstance;
  }
  return sInstance;
}

AtSocket::AtSocket()
    : response_(static_cast<char*>(calloc(1, kResponseSize))),
      request_text_(static_cast<char*>(calloc(1, kRecordTextSize))),
      reply_text_(static_cast<char*>(calloc(1, kRecordTextSize))) {
  pthread_mutex_init(&command_lock_, nullptr);
  pthread_mutex_init(&handed_lock_, nullptr);
  pthread_mutex_init(&service_request_lock_, nullptr);
  pthread_mutex_init(&response_lock_, nullptr);
  pthread_cond_init(&response_signal_, nullptr);
}

AtSocket::~AtSocket() {
  sInstance = nullptr;
  pthread_cond_destroy(&response_signal_);
  pthread_mutex_destroy(&response_lock_);
  pthread_mutex_destroy(&service_request_lock_);
  pthread_mutex_destroy(&handed_lock_);
  pthread_mutex_destroy(&command_lock_);
  free(reply_text_);
  free(request_text_);
  free(response_);
}

void AtSocket::Broadcast(int code, const char* text) {
  if (listener_) listener_->sendBroadcast(code, text, false);
}

void AtSocket::BroadcastTwice(int code, const char* text) {
  Broadcast(code, text);
  Broadcast(kCopyCode, text);
}

void AtSocket::BroadcastInTurn(int code, const char* text) {
  ScopedLock lock(handed_lock_);
  if (pthread_mutex_trylock(&command_lock_) == 0) {
    BroadcastTwice(code, text);
    pthread_mutex_unlock(&command_lock_);
    return;
  }
  size_t length = strlen(text);
  Handed* message = nullptr;
  if (handed_bytes_ + length <= kHandedBytesMax) {
    message = static_cast<Handed*>(malloc(sizeof *message + length));
  }
  if (!message) {
    SLOGE("no room for a message of code %d until the platform has answered; it is lost", code);
    return;
  }
  message->next = nullptr;
  message->code = code;
  memcpy(message->text, text, length + 1);
  *handed_end_ = message;
  handed_end_ = &message->next;
  handed_bytes_ += length;
}

void AtSocket::ReleaseCommandLock() {
  // The handed lock is kept until the command lock is free: a message that comes in between would stay behind.
  ScopedLock lock(handed_lock_);
  while (Handed* message = handed_) {
    BroadcastTwice(message->code, message->text);
    handed_ = message->next;
    free(message);
  }
  handed_end_ = &handed_;
  handed_bytes_ = 0;
  pthread_mutex_unlock(&command_lock_);
}

int AtSocket::Initialize() {
  BroadcastInTurn(kReadyCode, "AT Command Start");
  return 0;
}

int AtSocket::Clear() {
  if (!sInstance) return 0;
  // The two texts differ in one letter, and the service knows them so.
  sInstance->Broadcast(kStoppedCode, "At Command End");
  sInstance->Broadcast(kCopyCode, "AT Command End");
  return 0;
}

int AtSocket::SendAtCommand(const char* cmd) {
  BroadcastInTurn(kPlatformCode, cmd);
  return 0;
}

int AtSocket::SendResponse(const char* text) {
  unsigned answered;
  {
    ScopedLock lock(response_lock_);
    memset(response_, 0, kResponseSize);
    memcpy(response_, text, strnlen(text, kResponseSize - 1));
    answered = waiting_;
  }
  BroadcastTwice(kTakenCode, "Response OK");

  ScopedLock lock(response_lock_);
  // A request that was sent only after this answer had come waits for another one.
  if (answered != 0 && answered == waiting_) answered_ = true;
  pthread_cond_signal(&response_signal_);
  return 0;
}

int AtSocket::sendRequest(const char* text, char* out, unsigned seconds) {
  bool timed_out;
  {
    ScopedLock lock(response_lock_);
    // One that has waited for its turn until the end is not sent any more.
    if (stopping_) return -1;
    answered_ = false;
    waiting_ = ++sent_;
    BroadcastTwice(kPlatformCode, text);

    struct timespec deadline = {};
    os_clock_gettime(CLOCK_REALTIME, &deadline);
    deadline.tv_sec += static_cast<time_t>(seconds);
    int result = 0;
    while (!answered_ && !stopping_ && result == 0) {
      result = os_cond_timedwait(&response_signal_, &response_lock_, CLOCK_REALTIME, &deadline);
    }
    waiting_ = 0;
    if (answered_) {
      memset(out, 0, kRecordTextSize);
      memcpy(out, response_, strnlen(response_, kRecordTextSize - 1));
      return 0;
    }
    timed_out = !stopping_;
  }
  if (timed_out) SLOGE("sendRequest: socket timed out!!\n");
  return -1;
}

int AtSocket::ProcessAndroidRequest(rzcmd_request* req, rzcmd_response* rsp) {
  // The platform's answer gets a buffer of its own: a service request may be using reply_text_ on the listener's
  // thread.
  char reply[kRecordTextSize] = "";
  pthread_mutex_lock(&command_lock_);
  memset(request_text_, 0, kRecordTextSize);
  base64_encode(req, kRequestHeaderSize + bounded_length(req->data_len), request_text_);
  int result = sendRequest(request_text_, reply, kAndroidTimeoutSeconds);
  // What a short answer leaves out stays as it is in the cleared record.
  base64_decode(reply, rsp, sizeof *rsp);
  ReleaseCommandLock();
  return result;
}

void AtSocket::EndRequests() {
  ScopedLock lock(response_lock_);
  stopping_ = true;
  pthread_cond_broadcast(&response_signal_);
}

int AtSocket::RequestFromAndroid(const char* text) {
  ScopedLock lock(service_request_lock_);
  rzcmd_request req = {};
  rzcmd_response rsp = {};
  base64_decode(text, &req, sizeof req);
  request_from_android(&req, &rsp);
  memset(reply_text_, 0, kRecordTextSize);
  base64_encode(&rsp, kResponseHeaderSize + bounded_length(rsp.data_len), reply_text_);
  SLOGI("Send result to service\n");
  Broadcast(kAnswerCode, reply_text_);
  return 0;
}

void serve_requests() {
  ScopedLock lock(g_users_lock);
  g_served = true;
}

void end_requests() {
  ScopedLock lock(g_users_lock);
  if (!g_served) return;
  g_served = false;
  g_AtSocket->EndRequests();
}

void await_requests() {
  ScopedLock lock(g_users_lock);
  while (g_users > 0) pthread_cond_wait(&g_users_gone, &g_users_lock);
}

int request_to_android(rzcmd_request* req, rzcmd_response* rsp) {
  {
    ScopedLock lock(g_users_lock);
    if (!g_served) return -1;
    ++g_users;
  }
  int result = g_AtSocket->ProcessAndroidRequest(req, rsp);
  ScopedLock lock(g_users_lock);
  if (--g_users == 0) pthread_cond_broadcast(&g_users_gone);
  return result;
}

}  // namespace atd
