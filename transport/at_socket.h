// The broker between the library and the platform's AT command service: every message to the service is a broadcast on
// the daemon's socket with a code and a text.
#pragma once

#include <pthread.h>
#include <stddef.h>

#include "platform/records.h"

namespace atd {

class CommandListener;

class AtSocket {
 public:
  virtual ~AtSocket();

  // The one broker; null when there is no memory for it. The first call makes it, before the listener's thread starts.
  static AtSocket* Instance();

  // Sets the listener that carries every broadcast, or null for none; it stays the caller's.
  void SetListener(CommandListener* listener) { listener_ = listener; }

  // Tells the service that its "initialize" was seen (601 and 200 "AT Command Start"); 0. While a request waits for its
  // answer, the message goes out when that request ends: the caller may be the thread that is to read the answer. When
  // a megabyte waits for that already, or there is no memory, the message is lost and that is logged as an error.
  int Initialize();

  // Tells the service that the daemon ends (602 "At Command End", 200 "AT Command End"); 0.
  static int Clear();

  // Asks the service to run an AT command (605 and 200 with it), when Initialize would; 0.
  int SendAtCommand(const char* cmd);

  // Takes the service's answer, at most 16383 characters, acknowledges it (610 and 200 "Response OK") and wakes the
  // request that waits for it; 0. When no request waits, the answer is lost.
  int SendResponse(const char* text);

  // Sends a request's text (605 and 200) and waits at most `seconds` for an answer, of which at most 4095 characters
  // go to `out` (4096 bytes, terminated); 0, or -1 on time-out or when the broker ends, with `out` untouched.
  int sendRequest(const char* text, char* out, unsigned seconds);

  // Sends a request to the service and decodes its answer into *rsp, which the caller has cleared: what a short answer
  // leaves out stays as it is. 0, or -1 when no answer came within 10 seconds or the broker ends. On the listener's own
  // thread no answer can come.
  int ProcessAndroidRequest(rzcmd_request* req, rzcmd_response* rsp);

  // Ends every request that waits for an answer, as if none had come, and sends no further one.
  void EndRequests();

  // Runs the service request in a base64 text and broadcasts its response (210); 0.
  int RequestFromAndroid(const char* text);

 private:
  AtSocket();
  void Broadcast(int code, const char* text);
  void BroadcastTwice(int code, const char* text);
  void BroadcastInTurn(int code, const char* text);
  void ReleaseCommandLock();

  static AtSocket* sInstance;

  char* response_;  // the last answer's text
  pthread_mutex_t command_lock_;
  pthread_mutex_t handed_lock_;
  pthread_mutex_t service_request_lock_;
  pthread_mutex_t response_lock_;
  pthread_cond_t response_signal_;
  char* request_text_;
  char* reply_text_;
  CommandListener* listener_ = nullptr;

  // The messages that came while a request held the command lock, in their order; under the handed lock, which is never
  // held for long.
  struct Handed;
  Handed* handed_ = nullptr;
  Handed** handed_end_ = &handed_;
  size_t handed_bytes_ = 0;

  // Under the response lock.
  unsigned sent_ = 0;      // requests so far
  unsigned waiting_ = 0;   // the one that waits for its answer, 0 for none
  bool answered_ = false;  // its answer has come
  bool stopping_ = false;
};

// The broker while the socket is served, else null.
extern AtSocket* g_AtSocket;

// The listener while the socket is served, else null.
extern CommandListener* g_CommandListener;

// Lets requests to the platform use the broker from now on; it listens already.
void serve_requests();

// Lets no further request begin and ends those that wait for an answer.
void end_requests();

// Returns once no request uses the broker.
void await_requests();

// Sends a request to the platform through the broker, on any thread; as ProcessAndroidRequest, and -1 while the socket
// is not served.
int request_to_android(rzcmd_request* req, rzcmd_response* rsp);

// Hands a service request of the platform to the dispatcher, which fills the cleared response. Returns what
// service_handler returns.
int request_from_android(rzcmd_request* req, rzcmd_response* rsp);

}  // namespace atd
