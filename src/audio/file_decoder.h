#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "audio/cw_decoder.h"
#include "audio/letter_model.h"
#include "audio/spectrum_settings.h"
#include "audio/word_list.h"
#include "core/result.h"
#include "platform/files.h"
#include "platform/wav_file.h"

namespace kvx::audio {

/// What of a recording is to be read, and how.
struct FileDecoding {
  std::string file;
  std::optional<double> hertz;  ///< without: the strongest keyed tone
  DecoderMode mode = DecoderMode::kBest;
};

/// Reads what stands behind "decode": FILE [--tone HZ] [--mode classic|best]. One sentence says what is wrong.
Result<FileDecoding> ParseFileDecoding(const std::vector<std::string>& arguments);

/// Decodes the CW of a WAV file, as fast as it goes, step by step.
class FileDecoder final {
 public:
  /// `words`: the decoders' word list.
  static Result<std::unique_ptr<FileDecoder>> Open(const FileDecoding& what, std::string_view words);

  /// Reads on by so many seconds of the recording, and tells the text; false: that was all.
  bool Step(double seconds);
  double hertz() const { return hertz_; }
  /// How long the recording is.
  double seconds() const { return static_cast<double>(reader_.length()) / reader_.format().samples_per_second; }

  std::function<void(const ReadText&)> on_text;

 private:
  FileDecoder(platform::WavReader reader, std::string_view words)
      : reader_(std::move(reader)), letters_(words), words_(words) {}

  platform::WavReader reader_;
  LetterModel letters_;
  WordList words_;
  double hertz_ = 0;
  std::unique_ptr<CwDecoder> decoder_;
  std::vector<float> samples_;
};

/// Puts pieces of text together to words, what is taken back included.
class WordGatherer final {
 public:
  /// The words that are complete with this piece, the blank behind them included; mostly nothing.
  std::string Add(const ReadText& read);
  /// What is left.
  std::string TakeRest();

 private:
  std::string word_;
};

}  // namespace kvx::audio
