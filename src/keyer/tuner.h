#pragma once

#include <functional>
#include <string>

#include "core/console.h"
#include "core/loop.h"
#include "core/result.h"
#include "keyer/cw_backend.h"

namespace kvx::keyer {

/// The key held down for tuning, no longer than the limit. A keyer that is not ready is opened first; a wish for which
/// it takes too long is forgotten. Engine thread only.
class Tuner final {
 public:
  Tuner(Loop& loop, Console& console) : loop_(loop), console_(console) {}
  ~Tuner();
  Tuner(const Tuner&) = delete;
  Tuner& operator=(const Tuner&) = delete;

  /// With that keyer from now on; null: with none. The key of the one before has been let go.
  void Use(CwBackend* backend, Duration limit);
  Status Start();
  /// Lets the key go, and forgets a wish.
  void Stop();
  /// The keyer has become ready.
  void Ready();
  bool is_wished() const { return wish_end_ != 0; }

  std::function<void(const std::string& line)> on_notice;  ///< one line for the operator
  std::function<void(bool down)> on_key;

 private:
  Status KeyDown();
  void KeyUp();
  void ForgetWish();
  void Notice(const std::string& line) const;

  Loop& loop_;
  Console& console_;
  CwBackend* backend_ = nullptr;
  Duration limit_{0};
  Loop::TimerId limit_end_ = 0;
  Loop::TimerId wish_end_ = 0;  ///< running: the key goes down as soon as the keyer is ready
};

}  // namespace kvx::keyer
