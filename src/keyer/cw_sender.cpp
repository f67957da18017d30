#include "keyer/cw_sender.h"

#include <algorithm>

#include "core/text.h"
#include "keyer/cw_text.h"
#include "keyer/morse.h"

namespace kvx::keyer {
namespace {

constexpr std::size_t kSentKept = 2000;  // bytes
constexpr std::size_t kLatestKept = 100;
constexpr std::size_t kHistoryKept = 50;
constexpr std::size_t kLongestHistory = 500;
constexpr const char* kNotReady = "The keyer does not work";

void Append(std::string& text, std::string_view more, std::size_t limit) {
  text += more;
  if (text.size() > limit) text.erase(0, text.size() - limit);
}

}  // namespace

void CwSender::Use(CwBackend* backend) {
  if (backend_ != nullptr) {
    backend_->on_ready = nullptr;
    backend_->on_failed = nullptr;
    backend_->on_lost = nullptr;
    backend_->on_dropped = nullptr;
    backend_->on_notice = nullptr;
    backend_->on_progress = nullptr;
  }
  backend_ = backend;
  Clear();
  if (backend_ == nullptr) return;
  backend_->SetSpeed(wpm_);
  backend_->on_progress = [this] { Progress(); };
  backend_->on_ready = [this] {
    if (on_ready) on_ready();
    Feed();
    Changed();
  };
  backend_->on_failed = [this](const std::string& why) { Gone(why); };
  backend_->on_lost = [this](const std::string& why) { Gone(why); };
  backend_->on_dropped = [this](const std::string& why) {
    if (sending()) Drop(why);
    if (on_stopped) on_stopped();
  };
  backend_->on_notice = [this](const std::string& line) {
    if (on_notice) on_notice(line);
  };
}

Status CwSender::Type(const std::vector<std::string>& symbols) {
  if (backend_ == nullptr) return Error{ErrorCode::kClosed, "there is no keyer"};
  if (waiting_.size() + symbols.size() > kMostWaiting)
    return Error{ErrorCode::kBusy, "Too much text is waiting to be sent"};
  waiting_.insert(waiting_.end(), symbols.begin(), symbols.end());
  if (!backend_->ready()) backend_->Open();
  Feed();
  Changed();
  return Ok();
}

std::size_t CwSender::Backspace(std::size_t count) {
  const std::size_t taken = std::min(count, waiting_.size());
  waiting_.erase(waiting_.end() - static_cast<std::ptrdiff_t>(taken), waiting_.end());
  if (taken > 0) Changed();
  return taken;
}

void CwSender::Abort() {
  if (backend_ != nullptr) backend_->Abort();
  paused_ = false;
  Clear();
}

void CwSender::Pause(bool on) {
  if (paused_ == on) return;
  paused_ = on;
  Feed();
  Changed();
}

void CwSender::SetSpeed(int wpm) {
  wpm_ = wpm;
  if (backend_ != nullptr) backend_->SetSpeed(wpm);
  Changed();
}

/// A symbol that the keyer has no sign for does not become pending: it is left out.
void CwSender::Feed() {
  while (backend_ != nullptr && !paused_ && !waiting_.empty() && backend_->ready() && backend_->room() > 0) {
    const std::string symbol = std::move(waiting_.front());
    waiting_.pop_front();
    const std::size_t before = backend_->pending();
    backend_->Send(symbol);
    if (backend_->pending() > before) given_.push_back(symbol);
  }
  Begin();
}

void CwSender::Progress() {
  while (backend_ != nullptr && given_.size() > backend_->pending()) {
    Begin();  // one that was so short that nobody has heard of it
    given_.pop_front();
    begun_first_ = false;
  }
  Feed();
  if (!sending()) Clear();
  Changed();
}

/// Tells of the first given symbol, once.
void CwSender::Begin() {
  if (given_.empty() || begun_first_) return;
  begun_first_ = true;
  first_began_ = loop_.Now();
  ++begun_;
  const std::string symbol = given_.front();  // whoever hears of it may stop everything
  const std::string shown = ShownSymbol(symbol);
  latest_.push_back(symbol);
  if (latest_.size() > kLatestKept) latest_.pop_front();
  Append(sent_, shown, kSentKept);
  Append(text_, shown, kLongestHistory);
  if (on_symbol) on_symbol(symbol, wpm_);
}

void CwSender::Gone(const std::string& why) {
  const bool was_sending = sending();
  Drop(why);
  if (on_gone) on_gone(was_sending);
}

void CwSender::Drop(const std::string& why) {
  const std::size_t lost = unsent();
  std::string line = why.empty() ? kNotReady : why;
  if (lost > 0) line += "; " + std::to_string(lost) + (lost == 1 ? " character was" : " characters were") + " not sent";
  Clear();
  const bool is_news = !why.empty() || lost > 0;
  if (is_news && on_notice) on_notice(line);
}

void CwSender::Clear() {
  const bool was_sending = begun_first_ || !text_.empty();
  waiting_.clear();
  given_.clear();
  begun_first_ = false;
  const std::string_view text = Trim(text_);
  if (!text.empty()) history_.emplace_back(text);
  if (history_.size() > kHistoryKept) history_.pop_front();
  text_.clear();
  if (was_sending && on_silence) on_silence();
  Changed();
}

const std::string& CwSender::current() const {
  static const std::string kNone;
  return given_.empty() ? kNone : given_.front();
}

std::vector<std::string> CwSender::latest(std::uint64_t count) const {
  const auto from = latest_.end() - static_cast<std::ptrdiff_t>(std::min<std::uint64_t>(count, latest_.size()));
  return {from, latest_.end()};
}

std::string CwSender::waiting() const {
  std::string text;
  for (std::size_t i = 1; i < given_.size(); ++i) text += ShownSymbol(given_[i]);
  for (const std::string& symbol : waiting_) text += ShownSymbol(symbol);
  return text;
}

std::size_t CwSender::waiting_count() const {
  return waiting_.size() + (given_.empty() ? 0 : given_.size() - 1);
}

Duration CwSender::left() const {
  Duration left{0};
  for (const std::string& symbol : waiting_) left += MorseLength(symbol, wpm_);
  for (const std::string& symbol : given_) left += MorseLength(symbol, wpm_);
  if (given_.empty()) return left;
  return left - std::min<Duration>(loop_.Now() - first_began_, MorseLength(given_.front(), wpm_));
}

void CwSender::Changed() const {
  if (on_change) on_change();
}

}  // namespace kvx::keyer
