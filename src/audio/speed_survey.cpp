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
constexpr double kFastest = 62;
constexpr double kSpeedStep = 1.065;
constexpr double kOtherSpeed = 0.16;  // logarithm: beyond that a speed is another one

constexpr double kToneStep = 0.2;  // of a turn in a dash
constexpr double kTurnCost = 3;    // logarithm: less is chance
constexpr int kSteps = 4;          // to a dot
constexpr int kLongestMark = 4 * kSteps + 2;
constexpr int kLongestGap = 10 * kSteps;
constexpr double kSpread = 0.16;
constexpr float kStart = -4;  // logarithm of the chance that a station begins within one step
constexpr float kLeave = -3;  // and that it pauses
constexpr float kNever = -1e9F;
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
  std::array<float, kLongestGap + 1> gap{};
};

Lengths MakeLengths() {
  Lengths lengths;
  for (int i = 1; i <= kLongestGap; ++i) {
    const double units = static_cast<double>(i) / kSteps;
    const auto index = static_cast<std::size_t>(i);
    if (i <= kLongestMark) lengths.mark[index] = LogChance(0.57 * Bell(units, 1) + 0.43 * Bell(units, 3));
    lengths.gap[index] = LogChance(0.60 * Bell(units, 1) + 0.29 * Bell(units, 3) + 0.06 * Bell(units, 7));
  }
  return lengths;
}

const Lengths kLengths = MakeLengths();

/// How much more probable keying with dots of a length is than noise alone: a logarithm.
double Evidence(const KeyedTone& tone, double dot) {
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
      const float before = gap_ends[i - length] + kLengths.mark[length];
      if (before < pauses[i - length] - kBeam) continue;
      mark_ends[i] = std::max(mark_ends[i], before + tone.KeyDown(times[i - length], times[i]));
    }
    gap_ends[i] = pauses[i - 1] + kStart;
    for (std::size_t length = 1; length <= std::min<std::size_t>(i - 1, kLongestGap); ++length) {
      gap_ends[i] = std::max(gap_ends[i], mark_ends[i - length] + kLengths.gap[length]);
    }
    pauses[i] = std::max(pauses[i - 1], mark_ends[i] + kLeave);
  }
  return pauses.back();
}

}  // namespace

SpeedFinding SurveySpeed(const ToneSignal& tone, Time from, Time to, double rate, float noise, double current) {
  LevelTrack levels(tone, from, to, rate, noise);
  levels.Soften(static_cast<float>(rate / kMostRatio));
  const auto scaled = [&](float share) {
    LevelTrack track = levels;
    track.Scale(share);
    KeyedTone keyed(from);
    keyed.Append(tone, track, to);
    return keyed;
  };
  SpeedFinding best{.evidence = -1e9, .margin = 1e9};
  const KeyedTone keyed = scaled(1);
  std::vector<std::pair<double, double>> findings;
  for (double wpm = kSlowest; wpm <= kFastest; wpm *= kSpeedStep) {
    const double dot = 1.2 * rate / wpm;
    const double usual = std::log(wpm / 22) / 0.7;  // few are much slower or faster
    findings.emplace_back(dot, Evidence(keyed, dot) - usual * usual / 2);
    if (findings.back().second > best.evidence) std::tie(best.dot, best.evidence) = findings.back();
  }
  for (const auto& [dot, evidence] : findings) {
    if (std::abs(std::log(dot / best.dot)) > kOtherSpeed) best.margin = std::min(best.margin, best.evidence - evidence);
  }
  if (current > 0) best.gain = best.evidence - Evidence(keyed, current);
  const double coarse = best.dot;
  for (const float share : {1.0F, 0.5F, 0.7F, 1.4F}) {
    const KeyedTone other = scaled(share);
    for (const double length : {0.97, 1.0, 1.03}) {
      const double evidence = Evidence(other, coarse * length);
      if (evidence <= best.evidence) continue;
      best.evidence = evidence;
      best.dot = coarse * length;
      best.level_scale = share;
    }
  }
  return best;
}

double SurveyTone(const ToneSignal& tone, Time from, Time to, double rate, float noise, double dot, int reach) {
  LevelTrack levels(tone, from, to, rate, noise);
  levels.Soften(static_cast<float>(rate / kMostRatio));
  double best = 0;
  double most = -1e9;
  for (int i = -reach; i <= reach; ++i) {
    const double hertz = i * kToneStep * rate / (3 * dot);
    const ToneSignal turned = tone.Turned(from, to, hertz / rate);
    KeyedTone keyed(from);
    keyed.Append(turned, levels, to);
    const double evidence = Evidence(keyed, dot) - (i == 0 ? 0 : kTurnCost);
    if (evidence > most) {
      most = evidence;
      best = hertz;
    }
  }
  return best;
}

}  // namespace kvx::audio
