#include "client/peers.h"

#include <filesystem>
#include <fstream>
#include <sstream>

#include "client/exchange.h"

namespace atd::client {

int other_clients(const std::string& socket) {
  // Another path may be the end of a forwarding, whose clients are not the daemon's.
  if (!phone_root(socket)) return -1;
  std::error_code error;
  const std::string bound = std::filesystem::canonical(socket, error).string();
  std::ifstream sockets("/proc/net/unix");
  int others = -1;
  for (std::string line; !error && std::getline(sockets, line);) {
    std::istringstream stream(line);
    std::string number, references, protocol, flags, type, state, inode, path;
    stream >> number >> references >> protocol >> flags >> type >> state >> inode >> std::ws;
    std::getline(stream, path);  // it may hold spaces
    others += state == "03" && path == bound;
  }
  return others;
}

}  // namespace atd::client
