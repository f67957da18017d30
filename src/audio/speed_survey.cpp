#include "audio/speed_survey.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <tuple>
#include <utility>
#include <vector>

#include "audio/keyed_tone.h"
#include "audio/level_track.h"

namespace kvx::audio {
namespace {

using Time = ToneSignal::Time;

constexpr double kSlowest = 4.5;  // words a minute
constexpr double kSpeedStep = 1.085;
constexpr int kSpeeds = 32;           // up to 56 words a minute
constexpr int kCoarse = 3;            // steps at once, to see whether there is anything
constexpr double kSteadyPiece = 0.3;  // seconds
constexpr double kAnything = 6;       // evidence
constexpr double kOtherSpeed = 0.26;  // logarithm: beyond that a speed is another one

constexpr double kToneStep = 0.2;  // of a turn in a dash
constexpr double kTurnCost = 3;    // logarithm: less is chance
constexpr double kEnoughProof = 4;
constexpr double kProofShare = 0.03;  // of the evidence, with dots of the usual length
constexpr double kUsualDot = 0.12;    // seconds
constexpr double kNearly = 0.97;
constexpr double kSpacingCost = 5;
constexpr float kChangeDoubt = 1;
constexpr int kSteps = 4;  // to a dot
constexpr int kLongestMark = 4 * kSteps + 2;
constexpr double kSpread = 0.16;
constexpr float kStart = -4;  // logarithm of the chance that a station begins within one step
constexpr float kLeave = -3;  // and that it pauses
constexpr float kNever = -1e9F;
constexpr float kRare = -15;
constexpr float kBeam = 30;         // what is less probable by more is not followed
constexpr double kMostRatio = 300;  // of tone to noise in 1 Hz: more would make small faults of timing decide

double Bell(double length, double units) {
  const double spread = std::hypot(kSpread * units, 0.3 / kSteps * 1.4);
  const double off = (length - units) / spread;
  return std::exp(-off * off / 2) / (spread * 2.5066) / kSteps;
}

float LogChance(double chance) {
  return static_cast<float>(std::log(chance + 1e-9));
}

/// Logarithms of how probable the lengths of marks and of gaps are, in steps.
struct Lengths {
  std::array<float, kLongestMark + 1> mark{};
  std::vector<float> gap;
};

Lengths MakeLengths(double dots, double dashes, double spacing) {
  Lengths lengths;
  const double letter_gap = 1 + 2 * spacing;
  const double word_gap = 1 + 6 * spacing;
  lengths.gap.assign(static_cast<std::size_t>((word_gap + 3) * kSteps) + 1, kNever);
  for (int i = 1; i <= kLongestMark; ++i) {
    const double units = static_cast<double>(i) / kSteps;
    lengths.mark[static_cast<std::size_t>(i)] = LogChance(dots * Bell(units, 1) + dashes * Bell(units, 3));
  }
  for (std::size_t i = 1; i < lengths.gap.size(); ++i) {
    const double units = static_cast<double>(i) / kSteps;
    lengths.gap[i] = LogChance(0.60 * Bell(units, 1) + 0.29 * Bell(units, letter_gap) + 0.06 * Bell(units, word_gap));
  }
  return lengths;
}

const Lengths kDotsAlone = MakeLengths(0.97, 0, 1);
const Lengths kDashesAlone = MakeLengths(0, 0.97, 1);
const std::array kSpaced{MakeLengths(0.57, 0.43, kSpacings[0]), MakeLengths(0.57, 0.43, kSpacings[1]),
                         MakeLengths(0.57, 0.43, kSpacings[2])};

/// How much more probable keying with dots of a length is than noise alone, a logarithm; up to each quarter of a dot.
std::vector<float> EvidenceCourse(const KeyedTone& tone, double dot, const Lengths& lengths = kSpaced[0]) {
  const Time from = tone.begin();
  const double step = dot / kSteps;
  const auto steps = static_cast<std::size_t>(static_cast<double>(tone.end() - from) / step);
  std::vector<Time> times(steps + 1);
  for (std::size_t i = 0; i <= steps; ++i) times[i] = from + std::lround(static_cast<double>(i) * step);
  // The likeliest way to what ends at a step: logarithms, over noise alone.
  std::vector<float> gap_ends(steps + 1, kNever);
  std::vector<float> mark_ends(steps + 1, kNever);
  std::vector<float> pauses(steps + 1, 0);
  gap_ends[0] = kStart;
  for (std::size_t i = 1; i <= steps; ++i) {
    for (std::size_t length = 1; length <= std::min<std::size_t>(i, kLongestMark); ++length) {
      const float before = gap_ends[i - length] + lengths.mark[length];
      if (lengths.mark[length] < kRare || before < pauses[i - length] - kBeam) continue;
      mark_ends[i] = std::max(mark_ends[i], before + tone.KeyDown(times[i - length], times[i]));
    }
    gap_ends[i] = pauses[i - 1] + kStart;
    for (std::size_t length = 1; length < std::min(i, lengths.gap.size()); ++length) {
      gap_ends[i] = std::max(gap_ends[i], mark_ends[i - length] + lengths.gap[length]);
    }
    pauses[i] = std::max(pauses[i - 1], mark_ends[i] + kLeave);
  }
  return pauses;
}

double Evidence(const KeyedTone& tone, double dot, const Lengths& lengths = kSpaced[0]) {
  return EvidenceCourse(tone, dot, lengths).back();
}

/// The same for a carrier that is not keyed.
double SteadyEvidence(const KeyedTone& tone, double rate) {
  const auto piece = static_cast<Time>(kSteadyPiece * rate);
  double sum = 0;
  for (Time time = tone.begin(); time + piece <= tone.end(); time += piece) sum += tone.KeyDown(time, time + piece);
  return sum;
}

LevelTrack Levels(const ToneSignal& tone, Time from, Time to, double rate, float noise,
                  double reach = LevelTrack::kReach) {
  LevelTrack levels(tone, from, to, rate, noise, reach);
  levels.Soften(static_cast<float>(rate / kMostRatio));
  return levels;
}

KeyedTone Keyed(const ToneSignal& tone, Time from, Time to, const LevelTrack& levels) {
  KeyedTone keyed(from);
  keyed.Append(tone, levels, to);
  return keyed;
}

void Prove(const KeyedTone& tone, double rate, SpeedFinding& finding) {
  const double alike = std::max(Evidence(tone, finding.dot, kDotsAlone), Evidence(tone, finding.dot, kDashesAlone));
  finding.proof = Evidence(tone, finding.dot) - alike;
  finding.least_proof =
      std::max(kEnoughProof, kProofShare * finding.evidence * std::min(1.0, kUsualDot * rate / finding.dot));
}

}  // namespace

SpeedFinding SurveySpeed(const ToneSignal& tone, Time from, Time to, double rate, float noise, double level_reach) {
  const KeyedTone keyed = Keyed(tone, from, to, Levels(tone, from, to, rate, noise, level_reach));
  std::vector<std::pair<double, double>> findings;
  SpeedFinding best{.evidence = -1e9, .margin = 1e9, .level_reach = level_reach};
  const auto look = [&](int step) {
    const double wpm = kSlowest * std::pow(kSpeedStep, step);
    const double dot = 1.2 * rate / wpm;
    const double usual = std::log(wpm / 22) / 0.7;  // few are much slower or faster
    findings.emplace_back(dot, Evidence(keyed, dot) - usual * usual / 2);
    if (findings.back().second > best.evidence) std::tie(best.dot, best.evidence) = findings.back();
  };
  for (int step = 0; step < kSpeeds; step += kCoarse) look(step);
  const double steady = std::max(0.0, SteadyEvidence(keyed, rate));
  if (best.evidence - steady < kAnything) return {.evidence = best.evidence - steady};
  for (int step = 0; step < kSpeeds; ++step) {
    if (step % kCoarse != 0) look(step);
  }
  for (const auto& [dot, evidence] : findings) {
    if (std::abs(std::log(dot / best.dot)) > kOtherSpeed) best.margin = std::min(best.margin, best.evidence - evidence);
  }
  Prove(keyed, rate, best);
  if (!best.proved()) {
    // Slow dots pass for quick dashes: another speed that fits nearly as well may tell both kinds.
    SpeedFinding other{.evidence = best.evidence * kNearly};
    for (const auto& [dot, evidence] : findings) {
      if (std::abs(std::log(dot / best.dot)) <= kOtherSpeed || evidence <= other.evidence) continue;
      std::tie(other.dot, other.evidence) = std::pair(dot, evidence);
    }
    if (other.dot > 0) Prove(keyed, rate, other);
    if (other.proved()) best.dot = other.dot, best.proof = other.proof, best.least_proof = other.least_proof;
  }
  best.over_noise = best.evidence;
  best.evidence -= steady;
  return best;
}

void RefineFinding(const ToneSignal& tone, Time from, Time to, double rate, float noise, SpeedFinding& finding) {
  const LevelTrack levels = Levels(tone, from, to, rate, noise, finding.level_reach);
  for (const float share : {0.5F, 0.7F, 1.4F}) {
    LevelTrack track = levels;
    track.Scale(share);
    const double evidence = Evidence(Keyed(tone, from, to, track), finding.dot);
    if (evidence > finding.evidence) {
      finding.evidence = evidence;
      finding.level_scale = share;
    }
  }
  LevelTrack track = levels;
  track.Scale(finding.level_scale);
  const KeyedTone keyed = Keyed(tone, from, to, track);
  const double coarse = finding.dot;
  for (const double length : {0.94, 0.97, 1.03, 1.06}) {
    const double evidence = Evidence(keyed, coarse * length);
    if (evidence > finding.evidence) {
      finding.evidence = evidence;
      finding.dot = coarse * length;
    }
  }
  finding.spacing = 1;
  double most = finding.evidence + kSpacingCost;
  for (std::size_t i = 1; i < kSpacings.size(); ++i) {
    const double evidence = Evidence(keyed, finding.dot, kSpaced[i]);
    if (evidence > most) {
      most = finding.evidence = evidence;
      finding.spacing = kSpacings[i];
    }
  }
}

std::array<double, kSpacings.size()> SurveySpacing(const ToneSignal& tone, const ToneSignal& tuned, Time from, Time to,
                                                   double rate, float noise, double dot) {
  const KeyedTone keyed = Keyed(tone, from, to, Levels(tuned, from, to, rate, noise));
  std::array<double, kSpacings.size()> evidence{};
  for (std::size_t i = 0; i < evidence.size(); ++i) evidence[i] = Evidence(keyed, dot, kSpaced[i]);
  return evidence;
}

Time SurveyChange(const ToneSignal& before, double dot_before, const ToneSignal& after, double dot_after, Time from,
                  Time to, double rate, float noise) {
  const LevelTrack levels = Levels(after, from, to, rate, noise);
  const std::vector<float> first = EvidenceCourse(Keyed(before, from, to, levels), dot_before);
  const std::vector<float> second = EvidenceCourse(Keyed(after, from, to, levels).Reversed(), dot_after);
  // What the first says up to each time, and the second from there on.
  std::vector<float> sums;
  for (std::size_t i = 0; i < first.size(); ++i) {
    const double passed = static_cast<double>(i) * dot_before / kSteps;
    const double left = static_cast<double>(to - from) - passed;
    sums.push_back(first[i] + second[std::min(second.size() - 1, static_cast<std::size_t>(left / dot_after * kSteps))]);
  }
  // Any time between two marks is as good: the middle.
  const float enough = *std::max_element(sums.begin(), sums.end()) - kChangeDoubt;
  const auto good = [&](float sum) { return sum >= enough; };
  const auto first_good = std::find_if(sums.begin(), sums.end(), good) - sums.begin();
  const auto last_good = sums.rend() - std::find_if(sums.rbegin(), sums.rend(), good) - 1;
  return from + std::lround(static_cast<double>(first_good + last_good) / 2 * dot_before / kSteps);
}

double SurveyTone(const ToneSignal& tone, Time from, Time to, double rate, float noise, double dot, int reach,
                  double level_reach) {
  const LevelTrack levels = Levels(tone, from, to, rate, noise, level_reach);
  double best = 0;
  double most = -1e9;
  for (int i = -reach; i <= reach; ++i) {
    const double hertz = i * kToneStep * rate / (3 * dot);
    const ToneSignal turned = tone.Turned(from, to, hertz / rate);
    const double evidence = Evidence(Keyed(turned, from, to, levels), dot) - (i == 0 ? 0 : kTurnCost);
    if (evidence > most) {
      most = evidence;
      best = hertz;
    }
  }
  return best;
}

}  // namespace kvx::audio
