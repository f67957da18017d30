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
#include "audio/tone_search.h"
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

/// Decodes the CW of a WAV file, as fast as it goes, step by step. The first steps look for its tone, unless that has
/// been told.
class FileDecoder final {
 public:
  /// Reads no sound yet. `words`: the decoders' word list.
  static Result<std::unique_ptr<FileDecoder>> Open(const FileDecoding& what, std::string_view words);

  /// Goes on by so many seconds of the recording, and tells the text; false: that was all.
  bool Step(double seconds);
  /// What is read; 0 while it is being looked for.
  double hertz() const { return hertz_; }
  /// How long the recording is.
  double seconds() const { return static_cast<double>(reader_.length()) / reader_.format().samples_per_second; }

  std::function<void(const ReadText&)> on_text;

 private:
  /// Looks for the first keying in the file.
  struct Search {
    explicit Search(platform::WavReader opened)
        : reader(std::move(opened)), tones(reader.format().samples_per_second) {}
    platform::WavReader reader;
    ToneSearch tones;
    int pieces = 0;
  };

  FileDecoder(platform::WavReader reader, DecoderMode mode, std::string_view words)
      : reader_(std::move(reader)), mode_(mode), letters_(words), words_(words) {}
  void SearchPiece();
  void Begin(double hertz);

  platform::WavReader reader_;
  DecoderMode mode_;
  LetterModel letters_;
  WordList words_;
  double hertz_ = 0;
  std::optional<Search> search_;
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
