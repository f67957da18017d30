#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "audio/classic_decoder.h"
#include "audio/cw_decoder.h"
#include "audio/heard_signal.h"
#include "audio/letter_model.h"
#include "audio/signal_finder.h"
#include "audio/spectrum_frame.h"
#include "audio/spectrum_settings.h"
#include "audio/spectrum_trace.h"
#include "audio/transform.h"
#include "audio/word_list.h"
#include "platform/wav_file.h"

namespace kvx::audio {

/// What some samples have led to.
struct AudioFindings {
  int frames = 0;                              ///< transformed
  std::shared_ptr<const SpectrumFrame> frame;  ///< the last of them, where it was asked for
  int loudness = -1;                           ///< of that; -1: no frame
  std::vector<ReadText> text;
  std::optional<Reception> reception;               ///< when it is another one
  std::optional<ClassicControls> controls;          ///< the same
  std::optional<std::vector<HeardSignal>> signals;  ///< the same
  std::string fault;                                ///< why the recording has ended
};

/// The arithmetic of the audio analysis: transforms each buffer of N samples once, keeps the trace, decodes, and writes
/// the recording. Lives on the worker's thread.
class SpectrumWorker final {
 public:
  /// `words`: the decoders' word list.
  explicit SpectrumWorker(std::string words);

  /// Samples that wait for a full buffer stay for the next, of whatever size, unless the rate is another one.
  void Use(const SpectrumSettings& settings);
  /// Takes the next samples.
  void Feed(std::span<const std::int16_t> samples, bool want_frame);
  /// There are no more samples: decodes what is left, and begins anew with those that come after all.
  void Finish();
  void Record(platform::WavWriter file) { recording_ = std::make_unique<platform::WavWriter>(std::move(file)); }
  void EndRecording();

  AudioFindings TakeFindings();

 private:
  void Fill(std::span<const float> samples);
  void TransformBuffer();
  std::unique_ptr<CwDecoder> MakeDecoder();
  void MakeDecoders();
  ClassicSettings classic_settings() const;
  void FinishDecoders();
  void Listen(std::span<const float> samples);

  std::string words_;
  std::optional<LetterModel> letters_;  ///< made when it is first needed
  std::optional<WordList> word_list_;   ///< the same
  SpectrumSettings settings_;
  std::optional<Transform> transform_;
  std::vector<float> window_;
  std::vector<float> samples_;   ///< that have just come
  std::vector<float> buffer_;    ///< waits to be full
  std::vector<float> windowed_;  ///< the full buffer
  std::vector<float> levels_;
  SpectrumTrace trace_;
  std::int64_t number_ = 0;
  bool want_frame_ = false;
  std::unique_ptr<CwDecoder> decoder_;
  ClassicDecoder* classic_ = nullptr;     ///< that decoder, if it is one
  std::unique_ptr<SignalFinder> finder_;  ///< of all signals; none where the processor is slow
  bool fresh_ = false;                    ///< they have heard nothing yet: the list is still that of others
  Reception reception_;
  ClassicControls controls_;
  std::size_t since_controls_ = 0;  ///< samples since they were looked at
  std::unique_ptr<platform::WavWriter> recording_;
  AudioFindings found_;
};

}  // namespace kvx::audio
