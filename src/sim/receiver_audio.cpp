#include "sim/receiver_audio.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <utility>

#include "sim/winkey_morse.h"

namespace kvx::sim {
namespace {

constexpr double kEdgeSeconds = 0.005;
constexpr double kNoiseBandwidth = 2500;
constexpr double kLoudestCarrier = 0.3;
constexpr double kLoudestNoise = 0.2;  // standard deviation: five of them fit
constexpr double kShortest = 0.2;      // of an element, however unsteady the hand
constexpr double kImpulseSeconds = 0.0005;
constexpr double kTail = 1;         // seconds
constexpr double kLowestTone = 50;  // Hz: what comes through the receiver's filter
constexpr double kHighestTone = 3600;

double Amplitude(double decibels) {
  return std::pow(10, decibels / 20);
}

// Equal draws on every computer: the distributions of <random> are each library's own.
double Uniform(std::mt19937& random) {
  return (static_cast<double>(random()) + 0.5) / 4'294'967'296.0;
}

std::pair<double, double> NormalPair(std::mt19937& random) {
  const double radius = std::sqrt(-2 * std::log(Uniform(random)));
  const double angle = 2 * std::numbers::pi * Uniform(random);
  return {radius * std::cos(angle), radius * std::sin(angle)};
}

}  // namespace

ReceiverAudio::ReceiverAudio(const ReceiverSettings& settings, std::vector<HeardStation> stations)
    : settings_(settings), noise_random_(settings.seed), impulse_random_(settings.seed + 1), carrier_(kLoudestCarrier) {
  if (std::isfinite(settings_.snr_db)) {
    const double noise_share = settings_.samples_per_second / 2.0 / kNoiseBandwidth;
    const double noise = std::sqrt(noise_share / 2) / Amplitude(settings_.snr_db);  // of a carrier of 1
    carrier_ = std::min(kLoudestCarrier, kLoudestNoise / noise);
    noise_ = carrier_ * noise;
  }
  for (HeardStation& station : stations) {
    Transmitter transmitter{.station = std::move(station), .elements = {}, .random = {}};
    transmitter.random.seed(settings_.seed + 2 + static_cast<std::uint32_t>(transmitters_.size()));
    transmitter.elements = ElementsOf(transmitter.station.text);
    transmitter.until = transmitter.station.start;
    transmitters_.push_back(std::move(transmitter));
  }
}

std::vector<ReceiverAudio::Element> ReceiverAudio::ElementsOf(const std::string& text) {
  std::vector<Element> elements;
  for (const char character : text) {
    const auto pattern = WinkeyPattern(character);
    if (!pattern && !elements.empty()) elements.back().units = 7;
    for (const char sign : pattern.value_or("")) {
      elements.push_back({true, sign == '-' ? 3.0 : 1.0});
      elements.push_back({false, 1});
    }
    if (pattern) elements.back().units = 3;
  }
  return elements;
}

double ReceiverAudio::Length() const {
  double last = 0;
  for (const Transmitter& transmitter : transmitters_) {
    double units = 0;
    for (const Element& element : transmitter.elements) units += element.units;
    last = std::max(last, transmitter.station.start + units * 1.2 / transmitter.station.wpm);
  }
  return last + kTail;
}

void ReceiverAudio::Advance(Transmitter& transmitter, double seconds) {
  while (seconds >= transmitter.until && !transmitter.elements.empty()) {
    const HeardStation& station = transmitter.station;
    transmitter.down = false;
    if (transmitter.next == transmitter.elements.size()) {
      if (station.repeat_after < 0) return;
      transmitter.next = 0;
      transmitter.until += std::max(station.repeat_after, kEdgeSeconds);
      continue;
    }
    const Element element = transmitter.elements[transmitter.next++];
    const double unsteady = station.jitter > 0 ? station.jitter * NormalPair(transmitter.random).first : 0;
    transmitter.down = element.mark;
    transmitter.until += element.units * 1.2 / station.wpm * std::max(kShortest, 1 + unsteady);
  }
}

double ReceiverAudio::ToneOf(const HeardStation& station, double seconds) const {
  const double hertz = station.hertz + station.drift * seconds / 60 + shift_;
  if (settings_.band_hertz <= 0) return hertz;
  return hertz - settings_.band_hertz * std::floor(hertz / settings_.band_hertz);
}

double ReceiverAudio::SampleOf(Transmitter& transmitter, double seconds) {
  const HeardStation& station = transmitter.station;
  Advance(transmitter, seconds);
  const double slope = 1 / (kEdgeSeconds * settings_.samples_per_second);
  transmitter.rise = std::clamp(transmitter.rise + (transmitter.down ? slope : -slope), 0.0, 1.0);
  const double hertz = ToneOf(station, seconds);
  transmitter.phase = std::fmod(transmitter.phase + hertz / settings_.samples_per_second, 1.0);
  if (transmitter.rise == 0 || hertz < kLowestTone || hertz > kHighestTone) return 0;
  double level = station.level_db;
  if (station.fade_db > 0) {
    level -= station.fade_db / 2 * (1 - std::cos(2 * std::numbers::pi * station.fade_hertz * seconds));
  }
  const double shape = (1 - std::cos(std::numbers::pi * transmitter.rise)) / 2;
  return Amplitude(level) * shape * std::sin(2 * std::numbers::pi * transmitter.phase);
}

double ReceiverAudio::Noise() {
  if (noise_ == 0) return 0;
  if (std::exchange(has_spare_, !has_spare_)) return noise_ * spare_;
  const auto [first, second] = NormalPair(noise_random_);
  spare_ = second;
  return noise_ * first;
}

// A click that rings out as quickly as the receiver's filters let it.
double ReceiverAudio::Impulses() {
  if (settings_.impulses_per_second <= 0) return 0;
  impulse_ *= -std::exp(-1 / (kImpulseSeconds * settings_.samples_per_second));
  if (Uniform(impulse_random_) < settings_.impulses_per_second / settings_.samples_per_second) {
    const double sign = Uniform(impulse_random_) < 0.5 ? -1 : 1;
    impulse_ = sign * Amplitude(settings_.impulse_db);
  }
  return impulse_;
}

void ReceiverAudio::Render(std::span<float> samples) {
  for (float& sample : samples) {
    const double seconds = static_cast<double>(next_++) / settings_.samples_per_second;
    double sum = Impulses();
    for (Transmitter& transmitter : transmitters_) sum += SampleOf(transmitter, seconds);
    sample = static_cast<float>(carrier_ * sum + Noise());
  }
}

std::vector<float> ReceiverAudio::RenderSeconds(double seconds) {
  std::vector<float> samples(static_cast<std::size_t>(std::max(0.0, seconds) * settings_.samples_per_second));
  Render(samples);
  return samples;
}

std::vector<std::int16_t> To16Bits(std::span<const float> samples) {
  std::vector<std::int16_t> result;
  result.reserve(samples.size());
  for (const float sample : samples) {
    result.push_back(static_cast<std::int16_t>(std::lround(32767 * std::clamp(sample, -1.0F, 1.0F))));
  }
  return result;
}

}  // namespace kvx::sim
