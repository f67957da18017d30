#pragma once

#include <memory>
#include <optional>
#include <vector>

#include "core/loop.h"
#include "platform/key_line.h"
#include "platform/posix/key_output.h"

namespace kvx::platform {

/// The thread that writes edges to an output at their absolute moments, and the queue that it takes them from. An edge
/// that comes more than 5 ms late, as after a stopped process, moves all that follow, so that no element is lost.
/// Real-time priority where that is allowed. Its calls are the engine thread's.
class KeyThread {
 public:
  /// With real-time priority where that is wanted and allowed.
  KeyThread(KeyOutput& output, bool real_time);
  /// Releases the lines.
  ~KeyThread();
  KeyThread(const KeyThread&) = delete;
  KeyThread& operator=(const KeyThread&) = delete;

  bool real_time() const { return real_time_; }
  /// Both drop a tail that comes last, or end it.
  void Append(const std::vector<KeyStep>& steps);
  void Replace(const std::vector<KeyStep>& steps);
  /// The lines are released when it returns, or the device has refused: then the thread tries again as long as it
  /// lives.
  void Release();
  Duration remaining() const;

  /// What has happened: at most one event at a time.
  struct News {
    int mark = 0;                   ///< the step of that mark has begun
    bool idle = false;              ///< the last step has ended
    int cause = 0;                  ///< the output has failed
    std::optional<TimePoint> next;  ///< when there will be more
  };
  News TakeNews();

 private:
  struct Edge {
    TimePoint when;
    bool key = false;
    bool ptt = false;
    bool tail = false;
    bool last = false;  ///< the end of what has been given
    int mark = 0;
  };
  struct Primitives;

  static void* Run(void* self);
  bool Start(bool real_time);
  void Work();
  void WaitFor(TimePoint when);
  void Write();
  void ReleaseAgain();
  void Clear();
  void AppendLocked(const std::vector<KeyStep>& steps);
  TimePoint TakeEnd(TimePoint now);

  KeyOutput& output_;
  std::unique_ptr<Primitives> primitives_;
  bool real_time_ = false;
  // Under the lock:
  std::vector<Edge> edges_;
  std::size_t next_ = 0;  ///< the first that has not been written
  std::size_t told_ = 0;  ///< the first that the engine has not heard of
  int cause_ = 0;
  bool release_again_ = false;  ///< the latest release has failed
  bool stopping_ = false;
};

}  // namespace kvx::platform
