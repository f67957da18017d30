#include "cat/latest_commands.h"

#include <algorithm>
#include <utility>

namespace kvx::cat {
namespace {

using namespace std::chrono_literals;

constexpr Duration kBacklog = 30ms;  // of the line, at which the next command may still go out

}  // namespace

TimePoint LatestCommands::NextTurn() const {
  return dispatcher_.line_free_at() - kBacklog;
}

SendOutcome LatestCommands::SendLatest(const std::string& name, Send send) {
  if (waiting_.empty() && !held() && NextTurn() <= loop_.Now()) return send();
  const auto same =
      std::find_if(waiting_.begin(), waiting_.end(), [&](const Waiting& waiting) { return waiting.name == name; });
  if (same != waiting_.end()) {
    same->send = std::move(send);
  } else {
    waiting_.push_back({name, std::move(send)});
  }
  if (timer_ == 0) Wait(NextTurn());
  return SendOutcome::kSent;
}

void LatestCommands::Resume() {
  if (!waiting_.empty() && timer_ == 0) Wait(std::max(NextTurn(), loop_.Now()));
}

void LatestCommands::Forget() {
  loop_.StopTimer(std::exchange(timer_, 0));
  waiting_.clear();
}

void LatestCommands::Flush() {
  loop_.StopTimer(std::exchange(timer_, 0));
  while (!waiting_.empty()) SendFirst();
}

void LatestCommands::SendFirst() {
  const Send send = std::move(waiting_.front().send);
  waiting_.pop_front();
  const SendOutcome outcome = send();
  if (outcome != SendOutcome::kSent && on_not_sent) on_not_sent(outcome);
}

void LatestCommands::Wait(TimePoint turn) {
  timer_ = loop_.StartTimer(turn, [this] {
    timer_ = 0;
    TakeTurn();
  });
}

void LatestCommands::TakeTurn() {
  if (waiting_.empty() || held()) return;
  if (NextTurn() > loop_.Now()) return Wait(NextTurn());
  SendFirst();
  if (!waiting_.empty() && timer_ == 0) Wait(std::max(NextTurn(), loop_.Now()));
}

}  // namespace kvx::cat
