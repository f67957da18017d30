#pragma once

#include <memory>
#include <optional>

#include "core/loop.h"
#include "platform/key_line.h"
#include "platform/posix/key_output.h"
#include "platform/posix/key_thread.h"

namespace kvx::platform {

/// Times the edges in a thread of its own, so that neither the engine nor a busy machine moves them: whatever becomes
/// of the engine, what has been given is played to its end and the lines are released. Tells the marks by the loop's
/// timers.
class ThreadKeyLine final : public KeyLine {
 public:
  /// Where real-time priority is wanted and not allowed, one notice says so.
  ThreadKeyLine(Loop& loop, std::unique_ptr<KeyOutput> output, bool real_time = true);
  ~ThreadKeyLine() override;

  Status Open() override;
  void Close() override;
  bool is_open() const override { return thread_.has_value(); }
  void Play(std::vector<KeyStep> steps) override;
  void PlayInstead(std::vector<KeyStep> steps) override;
  void Release() override;
  Duration remaining() const override;
  /// Whether the thread has real-time priority.
  bool real_time() const { return thread_ && thread_->real_time(); }

 private:
  void TellAt(std::optional<TimePoint> when);
  void Tell();
  void Lose(const std::string& why);

  Loop& loop_;
  std::unique_ptr<KeyOutput> output_;
  std::optional<KeyThread> thread_;  ///< none while closed
  bool wants_priority_;
  bool priority_told_ = false;
  Loop::TimerId timer_ = 0;
};

}  // namespace kvx::platform
