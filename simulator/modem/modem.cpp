#include "simulator/modem/modem.h"

#include "channel/opcodes.h"

namespace atd::sim {

namespace {

constexpr size_t kRequestsKept = 10000;

void fill(rzcmd_response* response, const std::string& data, int status) {
  *response = {};
  response->data_len = static_cast<int32_t>(data.size());
  response->result_status = status;
  data.copy(response->data, sizeof response->data);
}

rzcmd_response filled(const std::string& data, int status) {
  rzcmd_response response;
  fill(&response, data, status);
  return response;
}

}  // namespace

void Modem::boot() {
  std::lock_guard guard(lock_);
  disconnect_locked();
  restart_locked();
  rows_.forget();
}

void Modem::restart_locked() {
  items_.restart();
  efs_.close_all();
}

void Modem::disconnect_locked() {
  connected_ = false;
  ++connections_;
}

void Modem::fail_request(int nth) {
  std::lock_guard guard(lock_);
  fail_in_ = nth;
}

void Modem::fail_init(int times) {
  std::lock_guard guard(lock_);
  fail_inits_ = times;
}

void Modem::lose_connection() {
  std::lock_guard guard(lock_);
  disconnect_locked();
  efs_.close_all();
}

void Modem::set_delay(int milliseconds) {
  std::lock_guard guard(lock_);
  delay_ms_ = milliseconds;
}

void Modem::set_answer(int opcode, const std::string& data, int status) {
  set_raw_answer(opcode, filled(data, status));
}

void Modem::set_raw_answer(int opcode, const rzcmd_response& response) {
  std::lock_guard guard(lock_);
  prepared_[opcode] = response;
}

void Modem::clear_answers() {
  std::lock_guard guard(lock_);
  prepared_.clear();
}

std::optional<rzcmd_response> Modem::prepared_locked(int opcode) {
  const auto found = prepared_.find(opcode);
  if (found == prepared_.end()) return std::nullopt;
  return found->second;
}

std::vector<ModemRequest> Modem::requests() const {
  std::lock_guard guard(lock_);
  return {requests_.begin(), requests_.end()};
}

void Modem::clear_requests() {
  std::lock_guard guard(lock_);
  requests_.clear();
}

int Modem::init() {
  const bool refused = faults_.hits(Call::dmi_init);
  std::lock_guard guard(lock_);
  if (!refused && fail_inits_ == 0) {
    connected_ = true;
    return 0;
  }
  if (fail_inits_ > 0) --fail_inits_;
  disconnect_locked();
  return -1;
}

int Modem::release() {
  if (faults_.hits(Call::dmi_release)) return -1;
  lose_connection();
  return 0;
}

int Modem::release_handle() {
  if (faults_.hits(Call::dmi_client_handle_release)) return -1;
  // Open files are the modem's, not the handle's: a client that comes back at once goes on with them.
  std::lock_guard guard(lock_);
  disconnect_locked();
  return 0;
}

int Modem::request(const rzcmd_request& request, rzcmd_response* response) {
  const int opcode = request.opcode;
  const std::string payload(request.data, static_cast<size_t>(bounded_length(request.data_len)));
  *response = {};
  response->result = RZCMD_FAIL;

  bool refused = faults_.hits(Call::request_to_modem_via_dmi, std::to_string(opcode));
  std::unique_lock guard(lock_);
  requests_.push_back({opcode, payload});
  if (requests_.size() > kRequestsKept) requests_.pop_front();
  if (fail_in_ > 0 && --fail_in_ == 0) refused = true;
  if (refused || !connected_ || request.data_len != bounded_length(request.data_len)) return -1;

  const std::optional<rzcmd_response> prepared = prepared_locked(opcode);
  const std::optional<AnswerRow> row = prepared ? std::nullopt : rows_.find(opcode, payload);
  const uint64_t delay_ms = static_cast<uint64_t>(delay_ms_) + static_cast<uint64_t>(row ? row->delay_ms : 0);
  if (delay_ms > 0) {
    const int connection = connections_;
    guard.unlock();
    clock_.sleep(delay_ms * 1000);
    guard.lock();
    if (connection != connections_) return -1;
  }

  if (prepared) {
    *response = *prepared;
  } else if (row) {
    if (!row->answers) return -1;
    fill(response, row->response.data, row->response.result_status);
  } else if (opcode == kFileSystemAccess) {
    fill(response, efs_.answer(payload), 0);
  } else {
    std::string answer;
    if (!items_.answer(opcode, payload, &answer)) return -1;
    fill(response, answer, 0);
    if (opcode == kModemReset) restart_locked();
  }
  return 0;
}

}  // namespace atd::sim
