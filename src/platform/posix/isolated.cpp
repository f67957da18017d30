#include "platform/isolated.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <optional>
#include <string_view>

#include "platform/posix/descriptor.h"

namespace kvx::platform {
namespace {

using Clock = std::chrono::steady_clock;

constexpr rlim_t kMemoryLimit = 1U << 30;  // bytes of data, for a file that makes its reader allocate without end

#if defined(__SANITIZE_ADDRESS__)
constexpr bool kSanitized = true;
#elif defined(__has_feature)
constexpr bool kSanitized = __has_feature(address_sanitizer);
#else
constexpr bool kSanitized = false;
#endif

void Limit(decltype(RLIMIT_CORE) resource, rlim_t value) {
  const rlimit limit{value, value};
  setrlimit(resource, &limit);
}

void SendAll(int fd, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t count = write(fd, bytes.data(), bytes.size());
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) _exit(3);
    bytes.remove_prefix(static_cast<std::size_t>(count));
  }
}

/// Leaves nothing of the parent in reach: its signal handlers write to a pipe that the parent reads, so a signal to the
/// child would end the parent, and its descriptors hold ports and locks.
void EnterIsolation(int& result, pid_t parent, IsolationLimits limits) {
  for (int number = 1; number < NSIG; ++number) signal(number, SIG_DFL);
  sigset_t none;
  sigemptyset(&none);
  sigprocmask(SIG_SETMASK, &none, nullptr);
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  if (getppid() != parent) _exit(3);
  clearenv();
  const int null = open("/dev/null", O_RDWR);
  for (int fd = 0; fd <= 2; ++fd) dup2(null, fd);
  if (result < 3) _exit(3);  // the parent's standard streams are open, so it is not
  dup2(result, 3);
  result = 3;
  close_range(4, ~0U, 0);
  Limit(RLIMIT_CORE, 0);
  Limit(RLIMIT_CPU, static_cast<rlim_t>(limits.time.count() / 1000 + 1));
  if (!kSanitized) Limit(RLIMIT_DATA, kMemoryLimit);
}

[[noreturn]] void RunChild(const std::function<std::string()>& work, int result, pid_t parent, IsolationLimits limits) {
  EnterIsolation(result, parent, limits);
  const std::string bytes = work();
  const std::uint64_t size = bytes.size();
  std::array<char, sizeof size> head;
  std::memcpy(head.data(), &size, sizeof size);
  SendAll(result, {head.data(), head.size()});
  SendAll(result, bytes);
  _exit(0);
}

/// Everything that arrives until the other end closes; nothing when it takes too long or is too much.
struct Received {
  std::string bytes;
  const char* fault = nullptr;
};

Received ReceiveAll(int fd, IsolationLimits limits) {
  Received received;
  const auto deadline = Clock::now() + limits.time;
  std::array<char, 65536> chunk;
  while (true) {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now()).count();
    if (left <= 0) return {"", "it took too long"};
    pollfd waiting{fd, POLLIN, 0};
    if (poll(&waiting, 1, static_cast<int>(left)) <= 0) continue;
    const ssize_t count = read(fd, chunk.data(), chunk.size());
    if (count == 0) return received;
    if (count < 0 && errno != EINTR) return {"", "its result could not be read"};
    if (count > 0) received.bytes.append(chunk.data(), static_cast<std::size_t>(count));
    if (received.bytes.size() > limits.result_bytes) return {"", "its result is too large"};
  }
}

int WaitFor(pid_t child) {
  int status = 0;
  while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
  }
  return status;
}

/// What stands behind the size that the child sent first, when it is all there.
std::optional<std::string> Unframe(std::string_view bytes) {
  std::uint64_t size = 0;
  if (bytes.size() < sizeof size) return std::nullopt;
  std::memcpy(&size, bytes.data(), sizeof size);
  if (bytes.size() - sizeof size != size) return std::nullopt;
  return std::string(bytes.substr(sizeof size));
}

}  // namespace

Result<std::string> RunIsolated(const std::function<std::string()>& work, IsolationLimits limits) {
  std::array<int, 2> ends{};
  if (pipe2(ends.data(), O_CLOEXEC) != 0) return Error{ErrorCode::kIo, std::string("no pipe: ") + strerror(errno)};
  const Descriptor reading(ends[0]);
  Descriptor writing(ends[1]);
  const pid_t parent = getpid();
  const pid_t child = fork();
  if (child == 0) RunChild(work, ends[1], parent, limits);
  if (child < 0) return Error{ErrorCode::kIo, std::string("no process: ") + strerror(errno)};
  writing.Reset();  // so that reading ends with the child
  const Received received = ReceiveAll(reading.get(), limits);
  if (received.fault != nullptr) kill(child, SIGKILL);
  const int status = WaitFor(child);
  if (received.fault != nullptr) return Error{ErrorCode::kDamaged, received.fault};
  if (auto bytes = Unframe(received.bytes)) return *std::move(bytes);
  const std::string how = WIFSIGNALED(status) ? "signal " + std::to_string(WTERMSIG(status)) : "it ended early";
  return Error{ErrorCode::kDamaged, "it crashed (" + how + ")"};
}

}  // namespace kvx::platform
