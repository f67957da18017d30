#pragma once

#include <cstddef>
#include <functional>

namespace kvx::platform {

/// One thread beside the engine's, for arithmetic that must not delay it. Adapters: a real thread for the program; for
/// tests one that works when it is told to.
class Worker {
 public:
  virtual ~Worker() = default;
  /// Carries out `job` on that thread, after those that were given before, then `done` on the engine's. Neither is
  /// carried out once the worker has been destroyed.
  virtual void Post(std::function<void()> job, std::function<void()> done) = 0;
  /// Jobs that have been given and not yet been done.
  virtual std::size_t waiting() const = 0;
};

}  // namespace kvx::platform
