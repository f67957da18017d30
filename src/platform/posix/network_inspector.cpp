#include "platform/posix/network_inspector.h"

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <netdb.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <memory>
#include <mutex>
#include <thread>

#include "core/text.h"

namespace kvx::platform {
namespace {

using namespace std::chrono_literals;

constexpr auto kLookUpTime = 3s;
constexpr unsigned kListening = 0x0A;

/// An address of either kind as the sixteen bytes of the newer one.
using Address = std::array<std::uint8_t, 16>;

Address FromFour(const void* bytes) {
  Address address{};
  address[10] = address[11] = 0xFF;
  std::memcpy(&address[12], bytes, 4);
  return address;
}

std::optional<Address> Parse(const std::string& text) {
  in_addr four{};
  if (::inet_pton(AF_INET, text.c_str(), &four) == 1) return FromFour(&four);
  Address six{};
  if (::inet_pton(AF_INET6, text.substr(0, text.find('%')).c_str(), six.data()) == 1) return six;
  return std::nullopt;
}

bool IsAny(const Address& address) {
  constexpr std::array<std::uint8_t, 4> kFour{};
  return address == Address{} || address == FromFour(kFour.data());
}

// 0: 0100007F:11B4 00000000:0000 0A 00000000:00000000 00:00000000 00000000  1000 0 12345     address: words of the
// machine, hexadecimal; state; i-node

struct Listening {
  Address address{};
  int port = 0;
  unsigned long node = 0;
};

std::vector<Listening> ListeningIn(const char* table) {
  std::vector<Listening> found;
  std::ifstream lines(table);
  for (std::string line; std::getline(lines, line);) {
    std::array<char, 40> local{};
    unsigned port = 0;
    unsigned state = 0;
    unsigned long node = 0;
    if (std::sscanf(line.c_str(), " %*d: %32[0-9A-Fa-f]:%x %*x:%*x %x %*x:%*x %*x:%*x %*x %*u %*d %lu", local.data(),
                    &port, &state, &node) != 4 ||
        state != kListening)
      continue;
    std::array<std::uint32_t, 4> words{};
    const std::size_t count = std::strlen(local.data()) / 8;
    for (std::size_t i = 0; i < std::min(count, words.size()); ++i)
      words[i] = static_cast<std::uint32_t>(std::stoul(std::string(&local[i * 8], 8), nullptr, 16));
    Address address{};
    std::memcpy(address.data(), words.data(), address.size());
    found.push_back({count == 1 ? FromFour(words.data()) : address, static_cast<int>(port), node});
  }
  return found;
}

struct Question {
  std::mutex mutex;
  std::condition_variable answered;
  bool done = false;
  int fault = 0;
  std::string address;
};

void LookUp(const std::string& host, Question& question) {
  addrinfo wanted{};
  wanted.ai_socktype = SOCK_STREAM;
  addrinfo* found = nullptr;
  const int fault = ::getaddrinfo(host.c_str(), nullptr, &wanted, &found);
  std::array<char, NI_MAXHOST> text{};
  if (fault == 0)
    ::getnameinfo(found->ai_addr, found->ai_addrlen, text.data(), text.size(), nullptr, 0, NI_NUMERICHOST);
  if (found != nullptr) ::freeaddrinfo(found);
  const std::lock_guard lock(question.mutex);
  question.done = true;
  question.fault = fault;
  question.address = text.data();
  question.answered.notify_one();
}

}  // namespace

std::optional<RunningProgram> PosixNetworkInspector::ListenerAt(const std::string& address, int port) const {
  const auto wanted = Parse(address);
  std::vector<Listening> all = ListeningIn("/proc/net/tcp");
  const std::vector<Listening> newer = ListeningIn("/proc/net/tcp6");
  all.insert(all.end(), newer.begin(), newer.end());
  for (const Listening& other : all) {
    const bool same = wanted && (other.address == *wanted || IsAny(other.address) || IsAny(*wanted));
    if (!same || other.port != port) continue;
    const std::string socket = "socket:[" + std::to_string(other.node) + "]";
    const auto holders = programs_.WithOpen([&](const std::string& target, const Path&) { return target == socket; });
    return holders.empty() ? RunningProgram{} : holders.front();
  }
  return std::nullopt;
}

bool PosixNetworkInspector::IsOwn(const std::string& address) const {
  const auto wanted = Parse(address);
  if (!wanted) return false;
  if (IsAny(*wanted) || ((*wanted)[12] == 127 && (*wanted)[10] == 0xFF)) return true;
  ifaddrs* all = nullptr;
  if (::getifaddrs(&all) != 0) return true;  // nobody can tell
  bool own = false;
  for (const ifaddrs* it = all; it != nullptr && !own; it = it->ifa_next) {
    if (it->ifa_addr == nullptr) continue;
    if (it->ifa_addr->sa_family == AF_INET)
      own = FromFour(&reinterpret_cast<const sockaddr_in*>(it->ifa_addr)->sin_addr) == *wanted;
    if (it->ifa_addr->sa_family == AF_INET6)
      own = std::memcmp(&reinterpret_cast<const sockaddr_in6*>(it->ifa_addr)->sin6_addr, wanted->data(), 16) == 0;
  }
  ::freeifaddrs(all);
  return own;
}

/// The system's look-up cannot be ended: one that takes too long is left to itself.
Result<std::string> PosixNetworkInspector::AddressOf(const std::string& host) const {
  const auto question = std::make_shared<Question>();
  std::thread([host, question] { LookUp(host, *question); }).detach();
  std::unique_lock lock(question->mutex);
  if (!question->answered.wait_for(lock, kLookUpTime, [&] { return question->done; }))
    return Error{ErrorCode::kBusy, "the name service does not answer"};
  if (question->fault != 0) return Error{ErrorCode::kNotFound, ::gai_strerror(question->fault)};
  return question->address;
}

}  // namespace kvx::platform
