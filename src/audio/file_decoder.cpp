#include "audio/file_decoder.h"

#include <algorithm>
#include <utility>

#include "audio/best_decoder.h"
#include "audio/classic_decoder.h"
#include "audio/tone_search.h"
#include "core/text.h"

namespace kvx::audio {
namespace {

constexpr int kSlowest = 6000;  // samples a second
constexpr int kLowestTone = 200;
constexpr int kHighestTone = 2500;
constexpr double kUsualTone = 700;
constexpr int kSearchPieces = 120;  // of a second, before what has been found will do

/// Of the first keying in the file.
double FindTone(platform::WavReader& reader) {
  ToneSearch search(reader.format().samples_per_second);
  std::vector<float> second(static_cast<std::size_t>(reader.format().samples_per_second));
  for (int pieces = 1;; ++pieces) {
    const std::size_t count = reader.Read(second);
    search.Feed(std::span(second).first(count));
    const bool last = count < second.size();
    if (!last && pieces % kSearchPieces != 0) continue;
    if (const auto hertz = search.Strongest()) return *hertz;
    if (last) return kUsualTone;
  }
}

}  // namespace

Result<FileDecoding> ParseFileDecoding(const std::vector<std::string>& arguments) {
  const auto wrong = [](const std::string& why) { return Error{ErrorCode::kInvalid, why}; };
  FileDecoding what;
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    const std::string& argument = arguments[i];
    if (argument != "--tone" && argument != "--mode") {
      if (argument.starts_with("--")) return wrong("decode does not know " + OneLine(argument, 80));
      if (!what.file.empty()) return wrong("decode takes one file, not also " + OneLine(argument, 80));
      what.file = argument;
      continue;
    }
    const std::string value = i + 1 < arguments.size() ? arguments[++i] : std::string();
    if (argument == "--mode") {
      if (!EqualNoCase(value, "classic") && !EqualNoCase(value, "best")) {
        return wrong("--mode takes classic or best, not \"" + OneLine(value, 40) + "\"");
      }
      what.mode = EqualNoCase(value, "classic") ? DecoderMode::kClassic : DecoderMode::kBest;
    } else {
      const auto hertz = ParseNumber(value, kLowestTone, kHighestTone);
      if (!hertz) return wrong("--tone takes 200 to 2500 Hz, not \"" + OneLine(value, 40) + "\"");
      what.hertz = static_cast<double>(*hertz);
    }
  }
  if (what.file.empty()) return wrong("decode needs a WAV file");
  return what;
}

Result<std::unique_ptr<FileDecoder>> FileDecoder::Open(const FileDecoding& what, std::string_view words) {
  auto reader = platform::WavReader::Open(what.file);
  if (!reader) return reader.error();
  const int rate = reader->format().samples_per_second;
  if (rate < kSlowest) {
    return Error{ErrorCode::kInvalid, OneLine(what.file) + " has " + std::to_string(rate) +
                                          " samples a second; at least " + std::to_string(kSlowest) + " are needed"};
  }
  std::unique_ptr<FileDecoder> made(new FileDecoder(std::move(*reader), words));
  if (what.hertz) {
    made->hertz_ = *what.hertz;
  } else {
    auto searched = platform::WavReader::Open(what.file);
    if (!searched) return searched.error();
    made->hertz_ = FindTone(*searched);
  }
  if (what.mode == DecoderMode::kClassic) {
    made->decoder_ = std::make_unique<ClassicDecoder>(rate, made->hertz_, made->words_);
  } else {
    made->decoder_ = std::make_unique<BestDecoder>(rate, made->hertz_, made->letters_);
  }
  made->decoder_->on_text = [decoder = made.get()](const ReadText& text) {
    if (decoder->on_text) decoder->on_text(text);
  };
  return made;
}

bool FileDecoder::Step(double seconds) {
  samples_.resize(static_cast<std::size_t>(seconds * reader_.format().samples_per_second) + 1);
  const std::size_t count = reader_.Read(samples_);
  decoder_->Feed(std::span(samples_).first(count));
  if (count == samples_.size()) return true;
  decoder_->Finish();
  return false;
}

std::string WordGatherer::Add(const ReadText& read) {
  word_.erase(word_.size() - std::min(word_.size(), static_cast<std::size_t>(read.erase)));
  word_ += read.text;
  return word_.ends_with(' ') ? std::exchange(word_, {}) : std::string();
}

std::string WordGatherer::TakeRest() {
  return std::exchange(word_, {});
}

}  // namespace kvx::audio
