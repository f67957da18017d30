#include "platform/resampler.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

namespace kvx::platform {
namespace {

std::vector<float> Tone(int rate, double hertz, std::size_t count) {
  std::vector<float> samples(count);
  for (std::size_t i = 0; i < count; ++i) {
    samples[i] = static_cast<float>(0.5 * std::sin(2 * std::numbers::pi * hertz * static_cast<double>(i) / rate));
  }
  return samples;
}

/// Resampled in blocks of `block`.
std::vector<float> Resampled(int from, int to, const std::vector<float>& samples, std::size_t block) {
  Resampler resampler(from, to);
  std::vector<float> result;
  for (std::size_t at = 0; at < samples.size(); at += block) {
    resampler.Feed(std::span(samples).subspan(at, std::min(block, samples.size() - at)), result);
  }
  resampler.Finish(result);
  return result;
}

TEST(Resampler, KeepsTonesAndTimesAndLetsNoneThroughThatTheNewRateCannotHold) {
  const struct {
    int from;
    int to;
    double hertz;
    bool kept;
  } cases[] = {{44'100, 48'000, 1000, true},  {48'000, 11'025, 700, true},   {48'000, 11'025, 4500, true},
               {48'000, 11'025, 5600, false}, {48'000, 11'025, 9000, false}, {192'000, 22'050, 12'000, false},
               {8000, 48'000, 3300, true},    {22'255, 44'100, 9000, true},  {11'025, 11'025, 5000, true}};
  for (const auto& one : cases) {
    SCOPED_TRACE(std::to_string(one.from) + " to " + std::to_string(one.to) + ", " + std::to_string(one.hertz));
    const std::vector<float> result =
        Resampled(one.from, one.to, Tone(one.from, one.hertz, static_cast<std::size_t>(one.from)), 441);
    ASSERT_EQ(result.size(), static_cast<std::size_t>(one.to));
    const std::vector<float> wanted = Tone(one.to, one.kept ? one.hertz : 0, result.size());
    double worst = 0;
    for (std::size_t i = 500; i < result.size() - 500; ++i) {
      worst = std::max(worst, static_cast<double>(std::abs(result[i] - wanted[i])));
    }
    EXPECT_LT(worst, 1e-4);
  }
}

TEST(Resampler, GivesTheSameInBlocksOfAnySize) {
  const std::vector<float> tone = Tone(44'100, 1234, 5000);
  const std::vector<float> whole = Resampled(44'100, 11'025, tone, tone.size());
  EXPECT_EQ(whole.size(), 1250U);
  for (const std::size_t block : {std::size_t{1}, std::size_t{61}, std::size_t{882}}) {
    EXPECT_EQ(Resampled(44'100, 11'025, tone, block), whole);
  }
}

}  // namespace
}  // namespace kvx::platform
