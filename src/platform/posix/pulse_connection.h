#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "core/loop.h"
#include "platform/audio_input.h"

struct pa_context;
struct pa_mainloop;
struct pa_operation;

namespace kvx::platform {

/// A connection to the user's sound server: PulseAudio, or PipeWire, which speaks its language. Nothing happens on it
/// but in Pump and where an answer is waited for, which takes half a second at most.
class PulseConnection final {
 public:
  explicit PulseConnection(Loop& loop);
  ~PulseConnection();
  PulseConnection(const PulseConnection&) = delete;
  PulseConnection& operator=(const PulseConnection&) = delete;

  /// kNotFound when there is no server, kBusy when there is one that does not answer.
  Status Connect();
  /// Whether the server is still there.
  bool good() const;
  /// Lets happen what is due.
  void Pump();
  /// Waits until `done` holds; false when it does not, or the server has gone.
  bool WaitFor(const std::function<bool()>& done);

  struct Source {
    AudioDevice device;
    bool is_default = false;
  };
  /// What can be captured, monitors too; nothing when the server does not answer.
  std::optional<std::vector<Source>> Sources();

  pa_context* context() { return context_; }

 private:
  bool Finish(pa_operation* operation);

  Loop& loop_;
  pa_mainloop* main_ = nullptr;
  pa_context* context_ = nullptr;
};

}  // namespace kvx::platform
