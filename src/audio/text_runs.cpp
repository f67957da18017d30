#include "audio/text_runs.h"

#include <algorithm>
#include <utility>

namespace kvx::audio {

void TextRuns::Append(DecodedText piece) {
  Erase(std::exchange(piece.erase, 0));
  if (piece.text.empty()) return;
  if (!runs_.empty() && runs_.back().corrected == piece.corrected) {
    runs_.back().text += piece.text;
  } else {
    runs_.push_back(std::move(piece));
  }
  Bound();
}

void TextRuns::Erase(int characters) {
  for (; characters > 0 && !runs_.empty(); --characters) {
    runs_.back().text.pop_back();
    if (runs_.back().text.empty()) runs_.pop_back();
  }
}

void TextRuns::Bound() {
  std::size_t length = 0;
  for (const DecodedText& run : runs_) length += run.text.size();
  while (length > kMost) {
    std::string& oldest = runs_.front().text;
    const std::size_t gone = std::min(oldest.size(), length - kMost);
    oldest.erase(0, gone);
    length -= gone;
    if (oldest.empty()) runs_.erase(runs_.begin());
  }
}

}  // namespace kvx::audio
