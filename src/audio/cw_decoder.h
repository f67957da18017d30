#pragma once

#include <functional>
#include <span>
#include <string>
#include <string_view>

namespace kvx::audio {

/// A piece of text that a decoder has made up its mind about.
struct ReadText {
  std::string text;        ///< one character, a prosign written out ("<AR>"), or a blank
  double seconds = 0;      ///< from the first sample to the end of its last element
  double confidence = 0;   ///< 0..1
  int erase = 0;           ///< so many characters that were given last are taken back first
  bool corrected = false;  ///< stands in place of what had been read: shown in light grey
};

/// How the signal is being received.
struct Reception {
  bool signal = false;  ///< whether somebody is sending
  double hertz = 0;     ///< the tone in use
  double wpm = 0;       ///< 0: not known yet
  double snr_db = 0;    ///< key-down carrier over the noise in 2500 Hz
};

/// Reads the keying of one tone out of receiver audio. Samples are taken as they come, in blocks of any size; text may
/// come some seconds later. Not for use by two threads at once.
class CwDecoder {
 public:
  virtual ~CwDecoder() = default;

  /// The next samples, -1..1.
  virtual void Feed(std::span<const float> samples) = 0;
  /// There are no more samples: reads what is left.
  virtual void Finish() = 0;
  /// Begins anew at another tone.
  virtual void SetTone(double hertz) = 0;
  virtual Reception reception() const = 0;

  std::function<void(const ReadText&)> on_text;
};

}  // namespace kvx::audio
