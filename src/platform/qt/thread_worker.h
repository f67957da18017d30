#pragma once

#include <QObject>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>

#include "platform/worker.h"

namespace kvx::platform {

/// A Worker on a thread of its own, which is started by the first job. Its end waits for the job under way, and for
/// none behind it. What a job throws ends that job.
class ThreadWorker final : public Worker {
 public:
  ThreadWorker() = default;
  ~ThreadWorker() override;
  ThreadWorker(const ThreadWorker&) = delete;
  ThreadWorker& operator=(const ThreadWorker&) = delete;

  void Post(std::function<void()> job, std::function<void()> done) override;
  std::size_t waiting() const override { return waiting_; }

 private:
  struct Given {
    std::function<void()> job;
    std::function<void()> done;
  };
  void Run();

  QObject engine_;           ///< lives on the engine's thread
  std::size_t waiting_ = 0;  ///< the engine's
  std::mutex mutex_;
  std::condition_variable changed_;
  std::deque<Given> given_;  ///< under the mutex
  bool ending_ = false;      ///< the same
  std::thread thread_;
};

}  // namespace kvx::platform
