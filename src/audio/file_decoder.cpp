#include "audio/file_decoder.h"

#include <algorithm>
#include <charconv>
#include <utility>

#include "audio/best_decoder.h"
#include "audio/classic_decoder.h"
#include "core/text.h"

namespace kvx::audio {
namespace {

constexpr int kSlowest = 6000;       // samples a second
constexpr double kLowestTone = 200;  // Hz
constexpr double kHighestTone = 2500;
constexpr double kUsualTone = 700;
constexpr int kSearchPieces = 120;  // of a second, before what has been found will do

std::optional<double> ParseTone(std::string_view text) {
  double hertz = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), hertz);
  const bool good = error == std::errc() && end == text.data() + text.size();
  return good && hertz >= kLowestTone && hertz <= kHighestTone ? std::optional(hertz) : std::nullopt;
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
      what.hertz = ParseTone(value);
      if (!what.hertz) return wrong("--tone takes 200 to 2500 Hz, not \"" + OneLine(value, 40) + "\"");
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
  std::unique_ptr<FileDecoder> made(new FileDecoder(std::move(*reader), what.mode, words));
  if (what.hertz) {
    made->Begin(*what.hertz);
    return made;
  }
  auto searched = platform::WavReader::Open(what.file);
  if (!searched) return searched.error();
  made->search_.emplace(std::move(*searched));
  return made;
}

/// Once the tone is known.
void FileDecoder::Begin(double hertz) {
  search_.reset();
  hertz_ = hertz;
  const int rate = reader_.format().samples_per_second;
  if (mode_ == DecoderMode::kClassic) {
    decoder_ = std::make_unique<ClassicDecoder>(rate, hertz, words_);
  } else {
    decoder_ = std::make_unique<BestDecoder>(rate, hertz, letters_);
  }
  decoder_->on_text = [this](const ReadText& text) {
    if (on_text) on_text(text);
  };
}

void FileDecoder::SearchPiece() {
  samples_.resize(static_cast<std::size_t>(reader_.format().samples_per_second));
  const std::size_t count = search_->reader.Read(samples_);
  search_->tones.Feed(std::span(samples_).first(count));
  const bool last = count < samples_.size();
  if (!last && ++search_->pieces % kSearchPieces != 0) return;
  if (const auto hertz = search_->tones.Strongest()) return Begin(*hertz);
  if (last) Begin(kUsualTone);
}

bool FileDecoder::Step(double seconds) {
  if (search_) {
    for (double searched = 0; search_ && searched < seconds; ++searched) SearchPiece();
    return true;
  }
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
