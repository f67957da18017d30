#include "console/key_screen_history.h"

#include <algorithm>

#include "core/text.h"

namespace kvx::console {
namespace {

constexpr std::size_t kLongest = 500;

}  // namespace

std::string_view Appended(std::string_view before, std::string_view now, std::size_t least) {
  if (least >= now.size()) return now;
  for (std::size_t kept = std::min(before.size(), now.size() - least); kept > 0; --kept) {
    if (now.starts_with(before.substr(before.size() - kept))) return now.substr(kept);
  }
  return now;
}

void KeyHistory::Take(std::string_view sent, std::uint64_t begun, bool sending, TimePoint now) {
  if (begun != begun_) {
    const std::string_view more = Appended(seen_, sent, static_cast<std::size_t>(begun - begun_));
    if (!sending_ && now - ended_ > kPause) open_ = false;
    if (!open_) text_.clear();
    text_ += more;
    if (text_.size() > kLongest) text_.erase(0, text_.size() - kLongest);
    const std::string_view shown = Trim(text_);
    if (!shown.empty()) {
      if (!open_ || texts_.empty()) texts_.emplace_back();
      open_ = true;
      texts_.back() = shown;
      if (texts_.size() > kMost) texts_.erase(texts_.begin());
    }
    seen_ = sent;
    begun_ = begun;
  }
  if (sending_ && !sending) ended_ = now;
  sending_ = sending;
}

void KeyHistory::Remove(std::size_t index) {
  if (index >= texts_.size()) return;
  if (index + 1 == texts_.size()) open_ = false;
  texts_.erase(texts_.begin() + static_cast<std::ptrdiff_t>(index));
}

}  // namespace kvx::console
