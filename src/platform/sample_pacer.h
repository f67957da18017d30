#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>

#include "core/loop.h"

namespace kvx::platform {

/// Gives a source that has no clock of its own the loop's: asks for 20 ms of samples whenever they are due. A loop that
/// was busy catches up, but not on more than a second.
class SamplePacer final {
 public:
  /// `give` may stop or destroy the pacer.
  SamplePacer(Loop& loop, std::function<void(std::size_t count)> give);
  ~SamplePacer() { Stop(); }
  SamplePacer(const SamplePacer&) = delete;
  SamplePacer& operator=(const SamplePacer&) = delete;

  void Start(int samples_per_second);
  void Stop();
  bool running() const { return rate_ > 0; }

 private:
  TimePoint Due() const;
  void Fire();

  Loop& loop_;
  std::function<void(std::size_t count)> give_;
  int rate_ = 0;  ///< 0: stopped
  TimePoint start_{};
  std::int64_t asked_ = 0;
  Loop::TimerId timer_ = 0;
};

}  // namespace kvx::platform
