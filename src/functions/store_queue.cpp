#include "functions/store_queue.h"

#include <utility>

namespace kvx::functions {
namespace {

using namespace std::chrono_literals;

constexpr Duration kPatience = 5s;
constexpr Duration kPause = 20ms;

}  // namespace

void StoreQueue::Do(Attempt attempt, Done done) {
  jobs_.push_back({std::move(attempt), std::move(done), loop_.Now() + kPatience});
  if (!running_) run_ = Run();
}

Task StoreQueue::Run() {
  running_ = true;
  while (!jobs_.empty()) {
    const Status status = jobs_.front().attempt();
    const bool busy = !status && status.error().code == ErrorCode::kBusy;
    if (busy && loop_.Now() < jobs_.front().until) {
      co_await loop_.Sleep(kPause);
      continue;
    }
    const Done done = std::move(jobs_.front().done);
    jobs_.pop_front();
    if (done) done(status);
  }
  running_ = false;
}

Task StoreQueue::Finish() {
  while (!idle()) {
    co_await loop_.Sleep(kPause);
  }
}

}  // namespace kvx::functions
