#include "audio/mark_reader.h"

#include <algorithm>
#include <array>
#include <utility>

#include "audio/morse_table.h"

namespace kvx::audio {
namespace {

constexpr double kDash = 0.7;          // of D: a tone as long is a dash
constexpr double kCharacterEnd = 0.6;  // of D: a longer silence ends the character
constexpr std::size_t kMostMarks = 24;
constexpr std::size_t kMostSplit = 14;
constexpr std::size_t kLongestWord = 40;

/// A T and an H, or an S, run together, and what they were.
struct Correction {
  std::string_view wrong;
  std::string_view right;
};

constexpr std::array kCorrections{Correction{"6E", "THE"}, Correction{"6I", "THI"}};

}  // namespace

void MarkReader::Expect(double d, double word_gap) {
  d_ = next_d_ = d;
  word_gap_ = next_word_gap_ = word_gap;
}

void MarkReader::ExpectNext(double d, double word_gap) {
  next_d_ = d;
  next_word_gap_ = word_gap;
}

void MarkReader::Tone(double milliseconds, double seconds) {
  seconds_ = seconds;
  if (marks_.size() < kMostMarks) marks_ += milliseconds >= kDash * d_ ? '-' : '.';
}

void MarkReader::Silence(double milliseconds) {
  if (!marks_.empty() && milliseconds > kCharacterEnd * d_) DECode();
  if (blank_ || !marks_.empty() || milliseconds <= word_gap_) return;
  blank_ = true;
  word_.clear();
  Emit({.text = " "});
}

void MarkReader::DECode() {
  d_ = next_d_;
  word_gap_ = next_word_gap_;
  const std::string marks = std::exchange(marks_, {});
  if (const char character = CharacterOf(marks); character != '\0') {
    Write(character);
  } else if ((!options.SeperateCB || !Split(marks)) && options.CompoundCB) {
    blank_ = false;
    Emit({.text = marks});
  }
}

void MarkReader::Write(char character) {
  blank_ = false;
  if (word_.size() == kLongestWord) word_.erase(0, 1);
  word_ += character;
  Emit({.text = ShownText(character)});
  Correct();
}

/// Two signs that have run together, when the list knows a word that begins so.
bool MarkReader::Split(const std::string& marks) {
  if (marks.size() > kMostSplit) return false;
  for (std::size_t length = marks.size() - 1; length > 0; --length) {
    const char first = CharacterOf(std::string_view(marks).substr(0, length));
    const char second = CharacterOf(std::string_view(marks).substr(length));
    if (first == '\0' || second == '\0' || !words_.HasBeginning(word_ + first + second)) continue;
    Write(first);
    Write(second);
    return true;
  }
  return false;
}

/// The wrong letters can only stand at the word's end, for they have just been completed.
void MarkReader::Correct() {
  for (const Correction& correction : kCorrections) {
    if (!word_.ends_with(correction.wrong)) continue;
    const std::size_t wrong = correction.wrong.size();
    word_.replace(word_.size() - wrong, wrong, correction.right);
    Emit({.text = std::string(correction.right), .erase = static_cast<int>(wrong), .corrected = true});
  }
}

void MarkReader::Emit(ReadText text) {
  text.seconds = seconds_;
  text.confidence = 1;
  if (on_text) on_text(text);
}

}  // namespace kvx::audio
