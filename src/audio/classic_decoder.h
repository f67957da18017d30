#pragma once

#include <complex>
#include <cstdint>
#include <deque>
#include <optional>
#include <vector>

#include "audio/click_limiter.h"
#include "audio/cw_decoder.h"
#include "audio/key_detector.h"
#include "audio/mark_reader.h"
#include "audio/speed_fit.h"
#include "audio/tone_filter.h"
#include "audio/tone_watch.h"
#include "audio/word_list.h"

namespace kvx::audio {

/// What of the audio window's controls the decoder goes by.
struct ClassicSettings {
  int Thresh = 880;      ///< 0..1000: a tenth of a decibel below full scale; what is weaker is not heard
  bool SlowCPU = false;  ///< listens for every other speed only
  CompoundOptions compound;
};

/// The controls that the decoder moves.
struct ClassicControls {
  int Thresh = 880;  ///< 3 dB below the signal while there is one
  int CenterF = 0;   ///< 0..3000
  int CWSp = 0;      ///< words a minute; 0: not known
};

/// Decides by lengths: finds marks by the tone's strength and reads each character when it has ended. Marks are looked
/// for at all speeds at once; those of the speed that they agree with best are read, from where they begin to agree.
class ClassicDecoder final : public CwDecoder {
 public:
  /// `words` outlives the decoder.
  ClassicDecoder(double samples_per_second, double hertz, const WordList& words, const ClassicSettings& settings = {});

  void Feed(std::span<const float> samples) override;
  void Finish() override;
  void SetTone(double hertz) override;
  Reception reception() const override;

  void SetSettings(const ClassicSettings& settings);
  ClassicControls controls() const;

 private:
  using Time = std::int64_t;  ///< samples of the tone filter
  struct Listener {
    KeyDetector detector;
    std::int64_t seen = 0;  ///< marks that have been looked at
    SpeedFit fit;
  };

  void FeedPiece(std::span<const float> samples);
  void MakeListeners(Time begin);
  void Tune();
  void ListenUpTo(Time end);
  void Seek(bool last);
  std::size_t ListenerFor(double dot, std::size_t present) const;
  void Lock(std::size_t listener, const SpeedFit& fit);
  void Follow();
  void ReadMark(const KeyedMark& mark);
  void TakeSpeed(const SpeedFit& fit, bool now);
  bool ChangeSpeed();
  void Release();
  void CorrectTuning(const KeyedMark& mark);
  double WordGap() const;
  double Milliseconds(double samples) const { return samples * 1000 / rate_; }

  double samples_per_second_;
  double hertz_;
  ClassicSettings settings_;
  ClickLimiter limiter_;
  std::vector<float> limited_;
  ToneFilter filter_;
  double rate_;
  ToneWatch watch_;
  std::vector<std::complex<float>> history_;  ///< of the filter
  Time history_begin_ = 0;
  Time watched_ = 0;
  Time next_look_ = 0;
  float noise_ = 0;
  float loudness_ = 0;  ///< mean power of all that is near the tone

  std::vector<float> taps_;
  double offset_ = 0;  ///< Hz: of the tone from where the filter is
  std::complex<double> turn_ = 1;
  std::vector<std::complex<float>> mixed_;
  Time mixed_begin_ = 0;
  bool tuned_ = false;

  std::vector<Listener> listeners_;
  std::optional<std::size_t> active_;  ///< the listener whose marks are read
  double read_until_ = -1e6;           ///< the end of the last mark that has been read
  double dot_ = 0;                     ///< samples
  std::deque<double> long_gaps_;       ///< between characters and words, in dots
  std::complex<double> slips_;
  double slipped_ = 0;
  MarkReader reader_;
};

}  // namespace kvx::audio
