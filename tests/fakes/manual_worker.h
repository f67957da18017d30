#pragma once

#include <deque>
#include <utility>

#include "platform/worker.h"

namespace kvx {

/// A worker that works when a test tells it to, on the test's own thread.
class ManualWorker final : public platform::Worker {
 public:
  void Post(std::function<void()> job, std::function<void()> done) override {
    jobs_.push_back({std::move(job), std::move(done)});
  }
  std::size_t waiting() const override { return jobs_.size(); }

  /// Carries out the oldest job and its `done`; false: there is none.
  bool WorkOnce() {
    if (jobs_.empty()) return false;
    const auto [job, done] = std::move(jobs_.front());
    jobs_.pop_front();
    if (job) job();
    if (done) done();
    return true;
  }
  /// Everything that has been given, and what that gives.
  void Work() {
    while (WorkOnce()) {
    }
  }

 private:
  struct Given {
    std::function<void()> job;
    std::function<void()> done;
  };
  std::deque<Given> jobs_;
};

}  // namespace kvx
