#include <algorithm>
#include <filesystem>
#include <string>

#include "core/text.h"
#include "platform/wav_file.h"

namespace kvx::platform {
namespace {

constexpr std::int64_t kHeaderAfterSize = 36;
constexpr int kSampleBytes = 2;
constexpr std::int64_t kMostSamples = (0xFFFFFFFF - kHeaderAfterSize) / kSampleBytes;

std::string LittleEndian(std::uint64_t number, int bytes) {
  std::string text;
  for (int i = 0; i < bytes; ++i) text += static_cast<char>(number >> 8 * i & 0xFF);
  return text;
}

std::string HeaderOf(std::int64_t samples, int samples_per_second) {
  const auto rate = static_cast<std::uint64_t>(samples_per_second);
  const auto size = static_cast<std::uint64_t>(samples * kSampleBytes);
  std::string header = "RIFF" + LittleEndian(kHeaderAfterSize + size, 4) + "WAVEfmt " + LittleEndian(16, 4);
  header += LittleEndian(1, 2) + LittleEndian(1, 2);  // PCM, one channel
  header += LittleEndian(rate, 4) + LittleEndian(rate * kSampleBytes, 4);
  header += LittleEndian(kSampleBytes, 2) + LittleEndian(8 * kSampleBytes, 2);
  return header + "data" + LittleEndian(size, 4);
}

}  // namespace

Result<WavWriter> WavWriter::Create(const Path& path, int samples_per_second) {
  std::error_code ignored;
  if (std::filesystem::exists(path, ignored) && !std::filesystem::is_regular_file(path, ignored)) {
    return Error{ErrorCode::kInvalid, OneLine(path.string()) + " is not a file"};
  }
  // Whoever still writes or reads the old file keeps it.
  if (const Path old = std::filesystem::canonical(path, ignored); !ignored) std::filesystem::remove(old, ignored);
  WavWriter writer;
  writer.path_ = path;
  writer.rate_ = samples_per_second;
  writer.file_.open(path, std::ios::binary | std::ios::trunc);
  if (!writer.file_.is_open()) return Error{ErrorCode::kIo, OneLine(path.string()) + " cannot be written"};
  if (const Status begun = writer.UpdateHeader(); !begun) return begun.error();
  return writer;
}

WavWriter& WavWriter::operator=(WavWriter&& other) {
  if (this != &other) {
    (void)Close();
    file_ = std::move(other.file_);
    path_ = std::move(other.path_);
    rate_ = other.rate_;
    samples_ = other.samples_;
    in_header_ = other.in_header_;
  }
  return *this;
}

WavWriter::~WavWriter() {
  (void)Close();
}

Status WavWriter::Write(std::span<const std::int16_t> samples) {
  if (!is_open()) return Error{ErrorCode::kClosed, OneLine(path_.string()) + " is closed"};
  const auto room = static_cast<std::size_t>(kMostSamples - samples_);
  std::string bytes;
  bytes.reserve(samples.size() * kSampleBytes);
  for (const std::int16_t sample : samples.first(std::min(room, samples.size()))) {
    bytes += static_cast<char>(sample & 0xFF);
    bytes += static_cast<char>(sample >> 8);
  }
  if (!file_.write(bytes.data(), static_cast<std::streamsize>(bytes.size()))) {
    return Fail(ErrorCode::kIo, " could not be written: is the disk full?");
  }
  samples_ += static_cast<std::int64_t>(bytes.size()) / kSampleBytes;
  if (samples.size() > room) return Fail(ErrorCode::kInvalid, " has become as long as a WAV file can be");
  return samples_ - in_header_ >= rate_ ? UpdateHeader() : Ok();
}

/// The sound first: the header never tells of more than there is.
Status WavWriter::UpdateHeader() {
  const std::string header = HeaderOf(samples_, rate_);
  file_.flush();
  if (file_) in_header_ = samples_;
  file_.seekp(0);
  file_.write(header.data(), static_cast<std::streamsize>(header.size()));
  file_.seekp(0, std::ios::end);
  file_.flush();
  return file_ ? Ok() : Status(Fail(ErrorCode::kIo, " could not be written: is the disk full?"));
}

/// Closes the file with a header of what is known to be there.
Error WavWriter::Fail(ErrorCode code, const char* what) {
  if (file_) in_header_ = samples_;
  const std::string header = HeaderOf(in_header_, rate_);
  file_.clear();
  file_.seekp(0);
  file_.write(header.data(), static_cast<std::streamsize>(header.size()));
  file_.close();
  return Error{code, OneLine(path_.string()) + what};
}

Status WavWriter::Close() {
  if (!is_open()) return Ok();
  if (const Status updated = UpdateHeader(); !updated) return updated;
  file_.close();
  return file_ ? Ok() : Status(Error{ErrorCode::kIo, OneLine(path_.string()) + " could not be written"});
}

}  // namespace kvx::platform
