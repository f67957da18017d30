#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <random>
#include <span>
#include <string>
#include <vector>

namespace kvx::sim {

/// A station as it is heard.
struct HeardStation {
  std::string text;
  double wpm = 20;
  double hertz = 700;
  double level_db = 0;       ///< of its carrier, over the reference that SNR is told of
  double jitter = 0;         ///< relative standard deviation of each element's and gap's length: a hand's
  double drift = 0;          ///< Hz a minute
  double fade_hertz = 0;     ///< how often it fades
  double fade_db = 0;        ///< and how deep
  double start = 0;          ///< seconds
  double repeat_after = -1;  ///< seconds between the text's end and its next beginning; negative: sent once
};

struct ReceiverSettings {
  int samples_per_second = 8000;
  /// The reference carrier's power, key down, over the noise's in 2500 Hz; without noise when infinite.
  double snr_db = std::numeric_limits<double>::infinity();
  double impulses_per_second = 0;
  double impulse_db = 20;  ///< peak over the reference carrier's
  std::uint32_t seed = 1;
  double band_hertz = 0;  ///< not 0: the stations are there again every so many Hz
};

/// What a receiver's loudspeaker gives: keyed tones with edges of 5 ms, in white noise and impulses. The same settings
/// give the same samples, in blocks of any size.
class ReceiverAudio final {
 public:
  ReceiverAudio(const ReceiverSettings& settings, std::vector<HeardStation> stations);

  /// The next samples, within -1..1 but for rare peaks of the noise.
  void Render(std::span<float> samples);
  std::vector<float> RenderSeconds(double seconds);
  /// Moves the tones by so many Hz. What then is outside the receiver's filter is not heard.
  void Shift(double hertz) { shift_ = hertz; }
  /// When the last text has been sent once, and a second more; as long as nothing has been rendered yet.
  double Length() const;

 private:
  struct Element {
    bool mark;
    double units;
  };
  /// One station's key: elements one after the other, and the phase of its tone.
  struct Transmitter {
    HeardStation station;
    std::vector<Element> elements;
    std::mt19937 random;
    std::size_t next = 0;
    bool down = false;
    double until = 0;  ///< seconds: when the element that is being sent ends
    double rise = 0;   ///< 0..1 through the edge
    double phase = 0;
  };

  static std::vector<Element> ElementsOf(const std::string& text);
  void Advance(Transmitter& transmitter, double seconds);
  double SampleOf(Transmitter& transmitter, double seconds);
  double ToneOf(const HeardStation& station, double seconds) const;
  double Noise();
  double Impulses();

  ReceiverSettings settings_;
  std::vector<Transmitter> transmitters_;
  std::mt19937 noise_random_;
  std::mt19937 impulse_random_;
  double carrier_;    ///< amplitude of the reference carrier
  double noise_ = 0;  ///< standard deviation
  double spare_ = 0;  ///< normal numbers come in pairs
  bool has_spare_ = false;
  double impulse_ = 0;  ///< what rings of the last one
  double shift_ = 0;
  std::int64_t next_ = 0;
};

/// Samples as a sound card gives them, limited to 16 bits.
std::vector<std::int16_t> To16Bits(std::span<const float> samples);

}  // namespace kvx::sim
