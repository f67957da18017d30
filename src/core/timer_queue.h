#pragma once

#include <functional>
#include <map>
#include <optional>
#include <unordered_map>

#include "core/loop.h"

namespace kvx {

/// The timers of a Loop in the order in which they fall due; timers of the same moment fire in the order they were
/// started.
class TimerQueue {
 public:
  Loop::TimerId Add(TimePoint when, std::function<void()> action) {
    const Loop::TimerId id = ++last_id_;
    deadlines_[id] = when;
    timers_.emplace(Key{when, id}, std::move(action));
    return id;
  }

  void Remove(Loop::TimerId id) {
    const auto deadline = deadlines_.find(id);
    if (deadline == deadlines_.end()) return;
    timers_.erase(Key{deadline->second, id});
    deadlines_.erase(deadline);
  }

  bool empty() const { return timers_.empty(); }
  std::size_t size() const { return timers_.size(); }
  std::optional<TimePoint> next() const {
    if (timers_.empty()) return std::nullopt;
    return timers_.begin()->first.first;
  }

  /// Fires what is due at `now`. A timer started meanwhile waits for the next call, so that one pass always ends.
  void RunDue(TimePoint now) {
    const Loop::TimerId last = last_id_;
    for (auto it = timers_.begin(); it != timers_.end() && it->first.first <= now;) {
      if (it->first.second > last) {
        ++it;
        continue;
      }
      const std::function<void()> action = std::move(it->second);
      deadlines_.erase(it->first.second);
      timers_.erase(it);
      action();
      it = timers_.begin();
    }
  }

 private:
  using Key = std::pair<TimePoint, Loop::TimerId>;
  std::map<Key, std::function<void()>> timers_;
  std::unordered_map<Loop::TimerId, TimePoint> deadlines_;
  Loop::TimerId last_id_ = 0;
};

}  // namespace kvx
