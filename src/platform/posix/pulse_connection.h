#pragma once

#include <cstddef>
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
/// but in Pump, and nobody waits for the server: it is asked, and Pump takes what it has answered.
class PulseConnection final {
 public:
  explicit PulseConnection(Loop& loop);
  ~PulseConnection();
  PulseConnection(const PulseConnection&) = delete;
  PulseConnection& operator=(const PulseConnection&) = delete;

  /// Whether there is still something to hope for: it is being connected, or the server is there.
  bool good() const;
  /// Whether there is no server at all.
  bool refused() const;
  /// Whether the server owes an answer for longer than one that is well takes.
  bool silent() const;
  /// Why nothing came of it: kNotFound when there is no server, kBusy when there is one that does not answer.
  Error failure() const;
  /// Lets happen what is due.
  void Pump();
  /// Pumps until `done` holds, for a moment at most: a server that is well answers within it.
  void GiveAMoment(const std::function<bool()>& done);

  struct Source {
    AudioDevice device;
    bool is_default = false;
  };
  /// What can be captured, monitors too, as the server has told last; first asked as soon as it is connected.
  const std::vector<Source>& sources() const { return sources_; }
  /// How often it has told.
  std::size_t answers() const { return answers_; }
  /// Asks anew, unless an answer is still owed.
  void Ask();

  pa_context* context() { return context_; }

 private:
  void TakeAnswer();

  Loop& loop_;
  pa_mainloop* main_ = nullptr;
  pa_context* context_ = nullptr;
  pa_operation* asked_ = nullptr;  ///< the later of the two questions
  std::optional<TimePoint> owed_;  ///< since when
  std::string usual_;
  std::vector<Source> told_;  ///< of an answer under way
  std::vector<Source> sources_;
  std::size_t answers_ = 0;
};

}  // namespace kvx::platform
