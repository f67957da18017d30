#pragma once

#include <deque>
#include <functional>

#include "core/loop.h"
#include "core/result.h"

namespace kvx::functions {

/// Writes to a store that other programs write as well: in the order in which they were asked for, each tried again
/// without standing still while somebody else writes, for five seconds at most.
class StoreQueue final {
 public:
  using Attempt = std::function<Status()>;
  /// A piece of a long work: true when that was the last one.
  using Piece = std::function<Result<bool>()>;
  using Done = std::function<void(const Status& status)>;

  explicit StoreQueue(Loop& loop) : loop_(loop) {}
  StoreQueue(const StoreQueue&) = delete;
  StoreQueue& operator=(const StoreQueue&) = delete;

  /// Tries now, when nothing waits, and else in its turn; `done` may be called before this returns.
  void Do(Attempt attempt, Done done);
  /// The same piece by piece; whatever else the program has to do gets its turn in between.
  void DoInPieces(Piece piece, Done done);
  bool idle() const { return jobs_.empty(); }
  /// Waits until everything is done.
  Task Finish();

 private:
  struct Job {
    Piece piece;
    Done done;
    TimePoint until;
  };

  Task Run();

  Loop& loop_;
  std::deque<Job> jobs_;
  bool running_ = false;
  Task run_;
};

}  // namespace kvx::functions
