#include "audio/keying_search.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace kvx::audio {
namespace {

constexpr double kStepsPerDot = 6.5;     // between them edges are not told apart
constexpr std::size_t kSlots = 384;      // more than two longest gaps
constexpr float kBeam = 18;              // logarithm: what is less probable than the best by more is given up
constexpr std::size_t kMostTokens = 28;  // at one time
constexpr float kEndedGap = 10;          // logarithm: what a gap, and the letter that it ends, may cost
constexpr float kPause = -3;             // logarithm of the chance that a word ends in a pause
constexpr float kPauseStart = -4.5F;     // and that, in a pause, a station begins within one step
constexpr float kNever = -1e8F;

}  // namespace

KeyingSearch::KeyingSearch(const LetterModel& letters, const CodeTree& codes, Time begin, const KeyingTimes& times)
    : letters_(letters),
      codes_(codes),
      times_(times),
      samples_per_step_(std::max(1.0, times.dot() / kStepsPerDot)),
      origin_(begin),
      slots_(kSlots),
      settled_(begin) {
  MakeChances();
  trail_.push_back({.begin = begin, .end = begin});
  pauses_.push_back({.trail = 0, .began = begin});
}

void KeyingSearch::Slot::Clear() {
  marks.clear();
  gaps.clear();
  best_mark = best_gap = -1e30F;
}

KeyingSearch::Time KeyingSearch::TimeOf(std::int64_t step) const {
  return origin_ + std::llround(static_cast<double>(step) * samples_per_step_);
}

void KeyingSearch::MakeChances() {
  const auto of = [&](Piece piece) { return times_.LogChances(piece, samples_per_step_); };
  chances_ = {of(Piece::kDot), of(Piece::kDash), of(Piece::kElementGap), of(Piece::kLetterGap), of(Piece::kWordGap)};
  longest_mark_ = std::max<std::int64_t>(
      longest_mark_, static_cast<std::int64_t>(std::max(chances_.dash.size(), chances_.dot.size())));
  longest_gap_ = std::max<std::int64_t>(longest_gap_, static_cast<std::int64_t>(chances_.word_gap.size()));
}

KeyingSearch::Trail KeyingSearch::Record(const Token& token, Time end) {
  trail_.push_back({token.trail, token.began, end, token.score, token.piece, token.node});
  return static_cast<Trail>(trail_.size()) - 1;
}

void KeyingSearch::Push(std::vector<Token>& tokens, float& best, const Token& token) {
  if (token.score < best - kBeam) return;
  best = std::max(best, token.score);
  tokens.push_back(token);
}

// Of tokens that will go on alike the best stays; of the others the best ones.
void KeyingSearch::Prune(std::vector<Token>& tokens, float least) {
  std::erase_if(tokens, [&](const Token& token) { return token.score < least; });
  if (tokens.size() > 1) {
    const auto better = [](const Token& a, const Token& b) { return a.score > b.score; };
    if (tokens.size() > 4 * kMostTokens) {
      std::nth_element(tokens.begin(), tokens.begin() + 4 * kMostTokens, tokens.end(), better);
      tokens.resize(4 * kMostTokens);
    }
    std::sort(tokens.begin(), tokens.end(), better);
    std::size_t kept = 0;
    for (std::size_t i = 0; i < tokens.size() && kept < kMostTokens; ++i) {
      const auto alike = [&](const Token& other) {
        return other.next == tokens[i].next && ((other.context ^ tokens[i].context) & 0xFFFU) == 0;
      };
      const auto end = tokens.begin() + static_cast<std::ptrdiff_t>(kept);
      if (std::none_of(tokens.begin(), end, alike)) tokens[kept++] = tokens[i];
    }
    tokens.resize(kept);
  }
}

void KeyingSearch::ExtendByGaps(const Token& token) {
  Token next = token;
  next.began = TimeOf(now_);
  const auto extend = [&](const std::vector<float>& chances, Piece piece, float score) {
    next.piece = piece;
    for (std::size_t i = 1; i < chances.size(); ++i) {
      if (chances[i] < kNever) continue;
      next.score = score + chances[i];
      Slot& slot = SlotAt(now_ + static_cast<std::int64_t>(i));
      Push(slot.gaps, slot.best_gap, next);
    }
  };
  next.node = token.next;
  extend(chances_.element_gap, Piece::kElementGap, token.score);
  const Symbol symbol = codes_.symbol(token.next);
  if (symbol == kBlank) return;
  const float ended = token.score + letters_.LogProbability(token.context, symbol) - codes_.log_share(token.next);
  next.next = CodeTree::kRoot;
  next.context = LetterModel::After(token.context, symbol);
  extend(chances_.letter_gap, Piece::kLetterGap, ended);
  const float blank = ended + letters_.LogProbability(next.context, kBlank);
  next.context = LetterModel::After(next.context, kBlank);
  extend(chances_.word_gap, Piece::kWordGap, blank);
  next.piece = Piece::kPause;
  next.score = blank + kPause;
  Slot& slot = SlotAt(now_ + longest_gap_);
  slot.marks.push_back(next);  // joins the pauses there
}

void KeyingSearch::ExtendByMarks(const KeyedTone& tone, const std::vector<Token>& tokens) {
  const Time begin = TimeOf(now_);
  std::vector<float>& fits = fits_;
  const auto longest = static_cast<std::int64_t>(chances_.dash.size()) - 1;
  fits.assign(static_cast<std::size_t>(longest) + 1, 0);
  float best = -1e30F;
  for (std::int64_t i = 1; i <= longest; ++i) {
    const auto index = static_cast<std::size_t>(i);
    fits[index] = tone.KeyDownOrChanged(begin, TimeOf(now_ + i));
    if (i < static_cast<std::int64_t>(chances_.dot.size())) best = std::max(best, fits[index] + chances_.dot[index]);
    best = std::max(best, fits[index] + chances_.dash[index]);
  }
  if (tokens.front().score + best < frontier_ - kBeam) return;
  for (const Token& token : tokens) {
    Token next = token;
    next.began = begin;
    for (const bool dash : {false, true}) {
      next.next = codes_.After(token.next, dash);
      if (next.next == CodeTree::kNone) continue;
      next.piece = dash ? Piece::kDash : Piece::kDot;
      next.node = next.next;
      const std::vector<float>& chances = dash ? chances_.dash : chances_.dot;
      const float score = token.score + codes_.log_share(next.next) - codes_.log_share(token.next);
      for (std::size_t i = 1; i < chances.size(); ++i) {
        if (chances[i] < kNever) continue;
        next.score = score + chances[i] + fits[i];
        Slot& slot = SlotAt(now_ + static_cast<std::int64_t>(i));
        Push(slot.marks, slot.best_mark, next);
      }
    }
  }
}

// Gaps that have become too long for a word's.
void KeyingSearch::TakePauses(Slot& slot) {
  const Time here = TimeOf(now_);
  for (Token token : slot.marks) {
    if (token.piece != Piece::kPause) continue;
    token.trail = Record(token, here);
    token.node = CodeTree::kRoot;
    token.began = here;
    if (pauses_.empty()) pauses_.push_back(token);
    if (token.score > pauses_.front().score) pauses_.front() = token;
  }
  std::erase_if(slot.marks, [](const Token& token) { return token.piece == Piece::kPause; });
}

void KeyingSearch::EndPause(Slot& slot) {
  if (pauses_.empty()) return;
  Token next = pauses_.front();
  next.score += kPauseStart;
  Push(slot.gaps, slot.best_gap, next);
}

void KeyingSearch::Advance(const KeyedTone& tone) {
  for (; TimeOf(now_ + longest_mark_ + 1) <= tone.end(); ++now_) {
    Slot& slot = SlotAt(now_);
    const Time here = TimeOf(now_);
    TakePauses(slot);
    Prune(slot.marks, std::max(slot.best_mark, frontier_) - kBeam);
    for (Token& token : slot.marks) {
      frontier_ = std::max(frontier_, token.score);
      token.trail = Record(token, here);
      ExtendByGaps(token);
    }
    EndPause(slot);
    Prune(slot.gaps, std::max(slot.best_gap, frontier_ - kEndedGap) - kBeam);
    for (Token& token : slot.gaps) token.trail = Record(token, here);
    if (!slot.gaps.empty()) ExtendByMarks(tone, slot.gaps);
    slot.gaps.clear();
    SlotAt(now_ + 1 - longest_gap_ + static_cast<std::int64_t>(slots_.size())).Clear();
  }
}

const KeyingSearch::Token* KeyingSearch::Best() const {
  const Token* best = nullptr;
  const auto consider = [&](const Token& token) {
    if (best == nullptr || token.score > best->score) best = &token;
  };
  for (std::int64_t step = std::max<std::int64_t>(0, now_ - longest_gap_); step < now_; ++step) {
    for (const Token& token : slots_[static_cast<std::size_t>(step) % slots_.size()].marks) consider(token);
  }
  for (const Token& token : pauses_) consider(token);
  return best;
}

// The pieces on the best way that end before a time, up to the last gap among them that ends a character.
std::vector<KeyingSearch::Trail> KeyingSearch::SettledWay(Time before) const {
  std::vector<Trail> way;
  const Token* best = Best();
  if (best == nullptr) return way;
  bool ended = false;
  for (Trail at = best->trail; at > 0;) {
    const Step& step = trail_[static_cast<std::size_t>(at)];
    ended = ended || (step.end <= before && step.piece >= Piece::kLetterGap);
    if (ended) way.push_back(at);
    at = step.before;
  }
  std::reverse(way.begin(), way.end());
  return way;
}

std::vector<FoundSymbol> KeyingSearch::Settle(Time before) {
  std::vector<FoundSymbol> found;
  const std::vector<Trail> way = SettledWay(before);
  if (way.empty()) return found;
  Time begin = -1;  // of the character's first mark
  for (const Trail at : way) {
    const Step& step = trail_[static_cast<std::size_t>(at)];
    times_.Learn(step.piece, static_cast<double>(step.end - step.begin));
    if (step.piece <= Piece::kDash) {
      marks_.emplace_back(step.begin, step.end);
      if (begin < 0) begin = step.begin;
    }
    if (step.piece < Piece::kLetterGap || begin < 0) continue;
    found.push_back({codes_.symbol(step.node), begin, step.begin, step.score - settled_score_});
    settled_score_ = step.score;
    begin = -1;
    if (step.piece != Piece::kLetterGap) found.push_back({kBlank, step.begin, step.end, 0});
  }
  settled_ = trail_[static_cast<std::size_t>(way.back())].end;
  Forget(way.back());
  MakeChances();
  return found;
}

// Keeps what comes of one piece.
void KeyingSearch::Forget(Trail kept) {
  std::vector<Trail> moved(trail_.size(), -1);
  std::vector<Step> steps;
  moved[static_cast<std::size_t>(kept)] = 0;
  steps.push_back(trail_[static_cast<std::size_t>(kept)]);
  steps.front().before = -1;
  for (auto i = static_cast<std::size_t>(kept) + 1; i < trail_.size(); ++i) {
    const Trail before = trail_[i].before;
    if (before < 0 || moved[static_cast<std::size_t>(before)] < 0) continue;
    moved[i] = static_cast<Trail>(steps.size());
    steps.push_back(trail_[i]);
    steps.back().before = moved[static_cast<std::size_t>(before)];
  }
  const auto follow = [&](std::vector<Token>& tokens) {
    std::erase_if(tokens, [&](const Token& token) { return moved[static_cast<std::size_t>(token.trail)] < 0; });
    for (Token& token : tokens) token.trail = moved[static_cast<std::size_t>(token.trail)];
  };
  for (Slot& slot : slots_) {
    follow(slot.marks);
    follow(slot.gaps);
  }
  follow(pauses_);
  trail_ = std::move(steps);
}

std::vector<std::pair<KeyingSearch::Time, KeyingSearch::Time>> KeyingSearch::TakeMarks() {
  return std::exchange(marks_, {});
}

}  // namespace kvx::audio
