#include "platform/wav_input.h"

#include <utility>

#include "platform/samples.h"

namespace kvx::platform {
namespace {

constexpr std::size_t kPiece = 4096;

}  // namespace

WavInput::WavInput(Loop& loop, Path path)
    : path_(std::move(path)), pacer_(loop, [this](std::size_t count) { Give(count); }) {}

Status WavInput::Open(int samples_per_second) {
  Close();
  auto reader = WavReader::Open(path_);
  if (!reader) return reader.error();
  reader_ = std::move(*reader);
  resampler_.emplace(reader_->format().samples_per_second, samples_per_second);
  samples_.clear();
  finished_ = false;
  pacer_.Start(samples_per_second);
  return Ok();
}

void WavInput::Close() {
  pacer_.Stop();
  reader_.reset();
}

void WavInput::Refill(std::size_t count) {
  while (samples_.size() < count && !finished_) {
    piece_.resize(kPiece);
    const std::size_t read = reader_->Read(piece_);
    resampler_->Feed(std::span(piece_).first(read), samples_);
    finished_ = read < kPiece;
    if (finished_) resampler_->Finish(samples_);
  }
}

/// What is called last may destroy this source.
void WavInput::Give(std::size_t count) {
  Refill(count);
  const std::size_t given = std::min(count, samples_.size());
  if (given == 0) {
    Close();
    const auto end = on_end;
    if (end) end();
    return;
  }
  const std::vector<std::int16_t> chunk = To16Bits(std::span(samples_).first(given));
  samples_.erase(samples_.begin(), samples_.begin() + static_cast<std::ptrdiff_t>(given));
  const auto give = on_samples;
  if (give) give(chunk);
}

}  // namespace kvx::platform
