#include "platform/qt/thread_worker.h"

#include <QMetaObject>
#include <utility>

namespace kvx::platform {

ThreadWorker::~ThreadWorker() {
  {
    const std::lock_guard lock(mutex_);
    ending_ = true;
  }
  changed_.notify_one();
  if (thread_.joinable()) thread_.join();
}

void ThreadWorker::Post(std::function<void()> job, std::function<void()> done) {
  ++waiting_;
  {
    const std::lock_guard lock(mutex_);
    given_.push_back({std::move(job), std::move(done)});
  }
  changed_.notify_one();
  if (!thread_.joinable()) thread_ = std::thread([this] { Run(); });
}

void ThreadWorker::Run() {
  std::unique_lock lock(mutex_);
  while (true) {
    changed_.wait(lock, [this] { return ending_ || !given_.empty(); });
    if (ending_) return;
    Given given = std::move(given_.front());
    given_.pop_front();
    lock.unlock();
    try {
      if (given.job) given.job();
    } catch (...) {
      // Our jobs do not throw; memory may have run out.
    }
    given.job = nullptr;
    const auto finish = [this, done = std::move(given.done)] {
      --waiting_;
      if (done) done();
    };
    QMetaObject::invokeMethod(&engine_, finish, Qt::QueuedConnection);
    lock.lock();
  }
}

}  // namespace kvx::platform
