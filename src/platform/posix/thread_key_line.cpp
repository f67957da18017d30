#include "platform/posix/thread_key_line.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace kvx::platform {
namespace {

using namespace std::chrono_literals;

constexpr Duration kLookAgain = 500ms;  // for a device that has gone while nothing is keyed
constexpr Duration kLookSoon = 200ms;   // while something is
constexpr Duration kBehindEdge = 1ms;   // the thread's edge and the loop's timer are due at the same moment

}  // namespace

ThreadKeyLine::ThreadKeyLine(Loop& loop, std::unique_ptr<KeyOutput> output, bool real_time)
    : loop_(loop), output_(std::move(output)), wants_priority_(real_time) {}

ThreadKeyLine::~ThreadKeyLine() {
  Close();
}

Status ThreadKeyLine::Open() {
  Close();
  if (auto opened = output_->Open(); !opened) return opened;
  thread_.emplace(*output_, wants_priority_);
  TellAt(loop_.Now());
  return Ok();
}

void ThreadKeyLine::Close() {
  loop_.StopTimer(std::exchange(timer_, 0));
  if (!thread_) return;
  thread_.reset();
  output_->Close();
}

void ThreadKeyLine::Play(std::vector<KeyStep> steps) {
  if (!thread_ || steps.empty()) return;
  thread_->Append(steps);
  TellAt(loop_.Now());
}

void ThreadKeyLine::PlayInstead(std::vector<KeyStep> steps) {
  if (!thread_) return;
  if (steps.empty()) return Release();
  thread_->Replace(steps);
  TellAt(loop_.Now());
}

void ThreadKeyLine::Release() {
  if (!thread_) return;
  thread_->Release();
  TellAt(loop_.Now());  // of a device that has refused
}

Duration ThreadKeyLine::remaining() const {
  return thread_ ? thread_->remaining() : Duration{0};
}

void ThreadKeyLine::TellAt(std::optional<TimePoint> when) {
  loop_.StopTimer(timer_);
  const TimePoint now = loop_.Now();
  const TimePoint look = now + (remaining() > Duration{0} ? kLookSoon : kLookAgain);
  timer_ = loop_.StartTimer(std::min(when.value_or(look), look), [this] { Tell(); });
}

/// One event, which is the last thing that is done.
void ThreadKeyLine::Tell() {
  timer_ = 0;
  const KeyThread::News news = thread_->TakeNews();
  if (news.cause != 0) return Lose(std::string("the key line does not work any more: ") + std::strerror(news.cause));
  if (const std::string fault = output_->fault(); !fault.empty()) return Lose(fault);
  const TimePoint now = loop_.Now();
  const bool refused = wants_priority_ && !thread_->real_time();
  const bool notice = news.mark == 0 && !news.idle && refused && !std::exchange(priority_told_, true);
  TellAt(news.mark != 0 ? now : news.next ? std::max(*news.next, now) + kBehindEdge : std::optional<TimePoint>());
  if (news.mark != 0) {
    if (const auto handler = on_mark) handler(news.mark);
  } else if (news.idle) {
    if (const auto handler = on_idle) handler();
  } else if (notice) {
    const auto handler = on_notice;
    if (handler) {
      handler(
          "the key line has no real-time priority: CW may be uneven while the machine is busy (a limit of rtprio 20 "
          "for your user allows it)");
    }
  }
}

void ThreadKeyLine::Lose(const std::string& why) {
  Close();
  if (const auto handler = on_lost) handler(why);
}

}  // namespace kvx::platform
