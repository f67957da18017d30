#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include "audio/keyed_tone.h"
#include "audio/keying_times.h"
#include "audio/letter_model.h"

namespace kvx::audio {

/// A character, or a blank, that the search has settled on.
struct FoundSymbol {
  Symbol symbol = kBlank;
  ToneSignal::Time begin = 0;
  ToneSignal::Time end = 0;
  float gain = 0;  ///< logarithm: how much more probable than noise what was received since the symbol before is by it
};

/// Searches the most probable text behind the keying of a tone: every way to cut it into marks and gaps is weighed by
/// how well the tone fits, by the lengths, and by the letters that come of it. The likeliest ones are followed side by
/// side.
class KeyingSearch final {
 public:
  using Time = ToneSignal::Time;

  KeyingSearch(const LetterModel& letters, const CodeTree& codes, Time begin, const KeyingTimes& times);

  /// Follows the tone to its end.
  void Advance(const KeyedTone& tone);
  /// Settles on what ended before a time, and learns from it. Later text agrees with it.
  std::vector<FoundSymbol> Settle(Time before);

  const KeyingTimes& times() const { return times_; }
  /// Where the search stands.
  Time position() const { return TimeOf(now_); }
  /// The beginning of what has not been settled.
  Time settled() const { return settled_; }
  /// Marks that have been settled since the last call: their middles tell how well the tone is tuned.
  std::vector<std::pair<Time, Time>> TakeMarks();

 private:
  using Trail = std::int32_t;
  /// A piece on the way to a token, and the one before.
  struct Step {
    Trail before = -1;
    Time begin = 0;
    Time end = 0;
    float score = 0;
    Piece piece = Piece::kPause;
    CodeTree::Node node = CodeTree::kRoot;
  };
  struct Token {
    float score = 0;
    LetterModel::Context context = LetterModel::kStart;
    Trail trail = -1;
    Time began = 0;  ///< of its last piece
    Piece piece = Piece::kPause;
    CodeTree::Node node = CodeTree::kRoot;  ///< before the last piece, if that is a gap that ends a character
    CodeTree::Node next = CodeTree::kRoot;
  };
  /// What may end at a step.
  struct Slot {
    std::vector<Token> marks;
    std::vector<Token> gaps;
    float best_mark = -1e30F;
    float best_gap = -1e30F;

    void Clear();
  };
  struct Chances {
    std::vector<float> dot, dash, element_gap, letter_gap, word_gap;
  };

  Time TimeOf(std::int64_t step) const;
  Slot& SlotAt(std::int64_t step) { return slots_[static_cast<std::size_t>(step) % slots_.size()]; }
  void MakeChances();
  void Prune(std::vector<Token>& tokens, float least);
  void ExtendByGaps(const Token& token);
  void ExtendByMarks(const KeyedTone& tone, const std::vector<Token>& tokens);
  void Push(std::vector<Token>& tokens, float& best, const Token& token);
  Trail Record(const Token& token, Time end);
  void TakePauses(Slot& slot);
  void EndPause(Slot& slot);
  const Token* Best() const;
  std::vector<Trail> SettledWay(Time before) const;
  void Forget(Trail kept);

  const LetterModel& letters_;
  const CodeTree& codes_;
  KeyingTimes times_;
  double samples_per_step_;
  Time origin_;
  std::int64_t now_ = 0;
  Chances chances_;
  std::int64_t longest_mark_ = 0;
  std::int64_t longest_gap_ = 0;
  std::vector<Slot> slots_;    ///< a ring: those of the longest gap before now_, and of the longest piece after
  std::vector<Token> pauses_;  ///< none or one, the best
  std::vector<Step> trail_;    ///< the first is where all come from
  float frontier_ = 0;
  Time settled_;
  float settled_score_ = 0;
  std::vector<std::pair<Time, Time>> marks_;
  std::vector<float> fits_;  ///< of marks that begin now, by their steps
};

}  // namespace kvx::audio
