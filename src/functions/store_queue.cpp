#include "functions/store_queue.h"

#include <utility>

namespace kvx::functions {
namespace {

using namespace std::chrono_literals;

constexpr Duration kPatience = 5s;
constexpr Duration kPause = 20ms;

}  // namespace

void StoreQueue::Do(Attempt attempt, Done done) {
  const auto at_once = [attempt = std::move(attempt)]() -> Result<bool> {
    const Status status = attempt();
    if (!status) return status.error();
    return true;
  };
  DoInPieces(at_once, std::move(done));
}

void StoreQueue::DoInPieces(Piece piece, Done done) {
  jobs_.push_back({std::move(piece), std::move(done), loop_.Now() + kPatience});
  if (!running_) run_ = Run();
}

Task StoreQueue::Run() {
  running_ = true;
  while (!jobs_.empty()) {
    const Result<bool> last = jobs_.front().piece();
    const bool busy = !last && last.error().code == ErrorCode::kBusy;
    if (last && !*last) {
      jobs_.front().until = loop_.Now() + kPatience;
      co_await loop_.Pass();
      continue;
    }
    if (busy && loop_.Now() < jobs_.front().until) {
      co_await loop_.Sleep(kPause);
      continue;
    }
    const Status status = last ? Ok() : Status(last.error());
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
