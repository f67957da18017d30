#include "audio/callsign_picker.h"

#include <algorithm>
#include <array>

#include "core/text.h"

namespace kvx::audio {
namespace {

constexpr std::size_t kMostCandidates = 40;
constexpr std::size_t kLongestWord = 16;
constexpr double kEnough = 2;
constexpr double kSure = 0.9;  // confidence of each of its characters
constexpr int kReach = 3;      // words after CQ

bool IsLetter(char character) {
  return character >= 'A' && character <= 'Z';
}

std::size_t Run(std::string_view word, std::size_t from, bool (*is)(char)) {
  std::size_t at = from;
  while (at < word.size() && is(word[at])) ++at;
  return at - from;
}

/// How many digits separate prefix and suffix; 0: no callsign. The prefix is A, AA, A9, 9A or 9AA; the suffix is
/// letters.
std::size_t SeparatingDigits(std::string_view word) {
  if (word.size() < 3 || word.size() > 10 || word.front() == 'Q') return 0;
  if (word.ends_with("5NN")) return 0;  // a report
  const bool digit_first = IsDigit(word.front());
  const std::size_t letters = Run(word, digit_first ? 1 : 0, IsLetter);
  if (letters < 1 || letters > 2) return 0;
  std::size_t at = letters + (digit_first ? 1 : 0);
  const std::size_t digits = Run(word, at, IsDigit);
  at += digits;
  const std::size_t suffix = Run(word, at, IsLetter);
  if (digits < 1 || digits > 4 || suffix < 1 || suffix > 4 || at + suffix != word.size()) return 0;
  return letters == 1 && !digit_first && digits == 2 ? 1 : digits;  // A92AA: the prefix ends in a digit
}

/// Of the part between slashes that is a callsign.
std::size_t DigitsOf(std::string_view word) {
  std::size_t found = 0;
  const std::vector<std::string> parts = Split(word, '/');
  if (parts.size() > 3) return 0;
  for (const std::string& part : parts) {
    const std::size_t digits = SeparatingDigits(part);
    if (part.empty() || (digits == 0 && part.size() > 4) || (digits > 0 && found > 0 && part.size() > 4)) return 0;
    found = std::max(found, digits);
  }
  return found;
}

}  // namespace

bool LooksLikeCallsign(std::string_view word) {
  return DigitsOf(word) > 0;
}

void CallsignPicker::Add(std::string_view text, double confidence) {
  if (text.size() != 1 || text == " ") return EndWord();
  if (word_.size() < kLongestWord) word_ += text;
  least_confidence_ = std::min(least_confidence_, confidence);
}

void CallsignPicker::EndWord() {
  if (word_.empty()) return;
  const std::size_t digits = DigitsOf(word_);
  ++since_call_;
  if (digits > 0) {
    // Many digits are a rig's name more often than a special callsign.
    double weight = digits == 1 ? 1.0 : 0.7;
    if (since_call_ <= kReach) weight += 1.3;
    if (digits == 1 && least_confidence_ > kSure) weight += 1;
    Consider(word_, weight);
  }
  if (word_ == "DE" || word_ == "CQ" || word_ == "QRZ?") since_call_ = 0;
  word_.clear();
  least_confidence_ = 1;
}

void CallsignPicker::Consider(const std::string& word, double weight) {
  auto found = std::find_if(candidates_.begin(), candidates_.end(), [&](const Candidate& c) { return c.word == word; });
  Candidate candidate = found == candidates_.end() ? Candidate{word, 0} : *found;
  candidate.weight += weight;
  if (found != candidates_.end()) candidates_.erase(found);
  candidates_.push_back(candidate);
  if (candidates_.size() > kMostCandidates) candidates_.erase(candidates_.begin());
  if (candidate.weight < kEnough) return;
  std::erase(callsigns_, word);
  callsigns_.push_back(word);
  if (callsigns_.size() > kMost) callsigns_.erase(callsigns_.begin());
}

}  // namespace kvx::audio
