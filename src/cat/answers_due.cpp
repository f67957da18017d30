#include "cat/answers_due.h"

#include <algorithm>

#include "cat/reply.h"

namespace kvx::cat {
namespace {

constexpr Duration kLongestPatience = std::chrono::seconds(1);
constexpr Duration kLongestFirst = std::chrono::milliseconds(400);  // a rig that has been away tells nothing by it
constexpr int kMostDue = 100;                                       // of a rig that is switched off

}  // namespace

void AnswersDue::Asked(TimePoint now) {
  if (due_ > 0 && heard_ && !Awaited(now)) {  // what has not come by now does not come
    usual_ = slowest_;
    due_ = 0;
  }
  if (due_ == 0) {
    heard_ = false;
    first_ = now;
    slowest_ = Duration{0};
  }
  if (!heard_) last_ = now;
  due_ = std::min(due_ + 1, kMostDue);
}

void AnswersDue::Arrived(TimePoint now) {
  if (due_ == 0) return;
  slowest_ = std::max(slowest_, heard_ ? now - last_ : std::min<Duration>(now - first_, kLongestFirst));
  last_ = now;
  heard_ = true;
}

void AnswersDue::Answered() {
  if (due_ > 0 && --due_ == 0) usual_ = slowest_;
}

bool AnswersDue::Awaited(TimePoint now) const {
  if (due_ == 0) return false;
  const Duration time = heard_ ? slowest_ : usual_;
  const Duration least = heard_ ? kReplySilence : Duration{0};
  return now < last_ + std::clamp(time + time / 2, least, kLongestPatience);
}

}  // namespace kvx::cat
