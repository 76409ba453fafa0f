#include "client/replay_clients.h"

#include <errno.h>
#include <poll.h>

#include <algorithm>
#include <chrono>
#include <vector>

namespace atd::client {

using namespace std::chrono_literals;

bool is_farewell(const Message& message) {
  return message.code == kStoppedCode || (message.code == kCopyCode && message.text == "AT Command End");
}

Failure ReplayClients::connect(int number, bool patient) {
  Deadline deadline = in_seconds(target_.timeout);
  clients_.erase(number);
  Failure failure;
  if (!bystander_.is_open()) failure = open(bystander_, deadline, patient);
  auto client = std::make_unique<Client>();
  if (!failure) failure = open(client->connection, deadline, false);
  if (failure) return failure;
  // What was said before this client connected has reached the others by now, and does not come to it.
  for (auto& [other, present] : clients_) collect(*present);
  clients_[number] = std::move(client);
  return {};
}

Failure ReplayClients::disconnect(int number) {
  auto position = clients_.find(number);
  if (position == clients_.end()) return {};
  Failure failure = settle();
  for (const Comparable& reply : position->second->replies) unasked_.push_back(reply);
  clients_.erase(position);
  return failure;
}

Failure ReplayClients::send(int number, const std::string& bytes) {
  Deadline deadline = in_seconds(target_.timeout);
  // The daemon drops what has no NUL in the same read, so two pieces must not come in one read.
  Failure failure = await_read(deadline);
  if (failure) return failure;
  int error = clients_.at(number)->connection.send_bytes(bytes, deadline);
  if (error == 0) return {};
  return error == ETIMEDOUT ? timed_out(target_, "no room for a line") : went_away(target_);
}

Failure ReplayClients::take(int number, Comparable* message) {
  std::deque<Comparable>& queue = number == 0 ? broadcasts_ : clients_.at(number)->replies;
  await([&] { return !queue.empty() || ended_; }, in_seconds(target_.timeout));
  if (queue.empty()) return ended_ ? went_away(target_) : timed_out(target_, "nothing");
  *message = queue.front();
  queue.pop_front();
  return {};
}

// Collects what the daemon says about what was sent.
Failure ReplayClients::settle() {
  // The daemon serves one client after the other: when the bystander has its answer, the earlier ones have theirs.
  Deadline deadline = in_seconds(target_.timeout);
  Failure failure = await_read(deadline);
  if (!failure && !ended_ && bystander_.is_open()) {
    Wait wait = bystander_.settle(deadline);
    ended_ = wait == Wait::gone;
    if (wait == Wait::timed_out) failure = timed_out(target_, "no answer");
  }
  for (auto& [number, client] : clients_) collect(*client);
  return failure;
}

Failure ReplayClients::end() {
  Failure failure = settle();
  for (auto& [number, client] : clients_) {
    for (const Comparable& reply : client->replies) unasked_.push_back(reply);
  }
  for (const Comparable& message : broadcasts_) unasked_.push_back(message);
  return failure;
}

Failure ReplayClients::await_end() {
  bool ended = !bystander_.is_open() || await([this] { return ended_; }, in_seconds(target_.timeout));
  clients_.clear();
  bystander_.close();
  ended_ = false;
  return ended ? Failure() : timed_out(target_, "no end");
}

void ReplayClients::pass_time(Deadline end) {
  await([] { return false; }, end);
}

// Waits until the daemon has read everything that was sent.
Failure ReplayClients::await_read(Deadline deadline) {
  auto is_read = [](const auto& entry) { return entry.second->gone || entry.second->connection.all_read(); };
  while (!std::all_of(clients_.begin(), clients_.end(), is_read)) {
    if (in_seconds(0) >= deadline) return timed_out(target_, "the daemon reads nothing");
    pass_time(in_seconds(0) + 1ms);
  }
  return {};
}

// Connects, until the daemon has taken the connection and answers on it.
Failure ReplayClients::open(Connection& connection, Deadline deadline, bool patient) {
  for (;;) {
    Failure failure = client::connect(connection, target_, deadline, patient);
    if (failure) return failure;
    Wait wait = connection.settle(deadline);
    if (wait == Wait::message) return {};
    if (wait == Wait::timed_out) return timed_out(target_, "no answer");
    if (!patient) return went_away(target_);
    if (!pause_before(deadline)) return timed_out(target_, "no answer");
  }
}

// Takes what has come.
void ReplayClients::collect(Client& client) {
  Message message;
  while (!client.gone) {
    Wait wait = client.connection.next(&message, in_seconds(0));
    if (wait == Wait::timed_out) return;
    client.gone = wait != Wait::message;
    if (client.gone || is_farewell(message)) continue;
    Comparable said = masks_.apply(message);
    if (message.code == kRefusedCode) {
      client.replies.push_back(said);
      continue;
    }
    auto due = std::find(client.due.begin(), client.due.end(), said.key);
    if (due != client.due.end()) {
      client.due.erase(due);
      continue;
    }
    for (auto& [number, other] : clients_) {
      if (other.get() != &client) other->due.push_back(said.key);
    }
    broadcasts_.push_back(said);
  }
}

// Collects until it is done; false when that is not so at the deadline.
bool ReplayClients::await(const std::function<bool()>& done, Deadline deadline) {
  for (;;) {
    std::vector<pollfd> fds;
    // The bystander comes first: when it sees the end, the clients have been told everything.
    if (bystander_.is_open() && !ended_) {
      Message heard;
      Wait wait = Wait::message;
      while (wait == Wait::message) wait = bystander_.next(&heard, in_seconds(0));
      ended_ = wait == Wait::gone;
      if (!ended_) fds.push_back({bystander_.fd(), POLLIN, 0});
    }
    for (auto& [number, client] : clients_) {
      collect(*client);
      if (!client->gone) fds.push_back({client->connection.fd(), POLLIN, 0});
    }
    if (done()) return true;
    auto left = std::min<Deadline::duration>(deadline - std::chrono::steady_clock::now(), 1h);
    if (left <= 0ns) return false;
    poll(fds.data(), fds.size(), static_cast<int>(std::chrono::ceil<std::chrono::milliseconds>(left).count()));
  }
}

}  // namespace atd::client
