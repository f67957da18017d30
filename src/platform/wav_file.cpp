#include "platform/wav_file.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <filesystem>
#include <limits>
#include <string>
#include <string_view>

#include "core/text.h"

// A WAV file, all numbers little-endian:
//
//   "RIFF" size "WAVE"   then chunks: 4 letters, size (4 bytes), content, a byte of padding after an odd size
//   "fmt " format(2) channels(2) samples/s(4) bytes/s(4) bytes of all channels(2) bits(2) [.. extensible: format at 24]
//   "data" samples
//
// Facts: Multimedia Programming Interface 1.0 (RIFF WAVE); WAVEFORMATEXTENSIBLE; EBU Tech 3306 (RF64).

namespace kvx::platform {
namespace {

constexpr std::int64_t kUnknownSize = 0xFFFFFFFF;
constexpr std::int64_t kChunkHead = 8;
constexpr std::int64_t kFirstChunk = 12;
constexpr std::int64_t kFormatSize = 16;
constexpr int kMostChunks = 1000;
constexpr int kMostChannels = 64;
constexpr int kLowestRate = 1000;
constexpr int kHighestRate = 768'000;
constexpr std::size_t kBufferBytes = 64 * 1024;

constexpr int kPcm = 1;
constexpr int kFloatingPoint = 3;
constexpr int kExtensible = 0xFFFE;

struct FormatName {
  int number;
  const char* name;
};
constexpr std::array kOtherFormats{FormatName{2, "ADPCM"}, FormatName{6, "A-law"}, FormatName{7, "mu-law"},
                                   FormatName{0x11, "ADPCM"}, FormatName{0x55, "MP3"}};

std::uint64_t NumberAt(const unsigned char* bytes, int count) {
  std::uint64_t number = 0;
  for (int i = 0; i < count; ++i) number |= static_cast<std::uint64_t>(bytes[i]) << 8 * i;
  return number;
}

Error Invalid(std::string what) {
  return Error{ErrorCode::kInvalid, std::move(what)};
}

Error UnknownFormat(int number) {
  std::string name = std::to_string(number);
  for (const FormatName& other : kOtherFormats) {
    if (other.number == number) name += std::string(" (") + other.name + ")";
  }
  return Invalid("its sound is in format " + name + ", and only PCM and floating point can be read");
}

}  // namespace

struct WavReader::Chunk {
  std::string name;
  std::int64_t size = 0;
};

Result<WavReader> WavReader::Open(const Path& path) {
  const auto error = [&path](ErrorCode code, const std::string& what) {
    return Error{code, OneLine(path.string()) + ": " + what};
  };
  std::error_code failure;
  if (!std::filesystem::exists(path, failure)) return error(ErrorCode::kNotFound, "there is no such file");
  if (!std::filesystem::is_regular_file(path, failure)) return error(ErrorCode::kInvalid, "it is not a file");
  const auto size = std::filesystem::file_size(path, failure);
  WavReader reader;
  reader.file_.open(path, std::ios::binary);
  if (failure || !reader.file_.is_open()) return error(ErrorCode::kDenied, "it cannot be opened");
  if (const Status found = reader.FindSound(static_cast<std::int64_t>(size)); !found) {
    return error(found.error().code, found.error().message);
  }
  return reader;
}

bool WavReader::ReadChunk(std::int64_t at, Chunk& chunk) {
  std::array<char, kChunkHead> head{};
  file_.seekg(at);
  if (!file_.read(head.data(), head.size())) return false;
  chunk.name.assign(head.data(), 4);
  chunk.size = static_cast<std::int64_t>(NumberAt(reinterpret_cast<const unsigned char*>(head.data() + 4), 4));
  return true;
}

/// Reads the header up to where the sound begins.
Status WavReader::FindSound(std::int64_t file_size) {
  Chunk riff;
  std::array<char, 4> kind{};
  const bool complete = ReadChunk(0, riff) && file_.read(kind.data(), kind.size());
  if (riff.name == "RIFX") return Invalid("it is a big-endian WAV file, which cannot be read");
  if (!complete || (riff.name != "RIFF" && riff.name != "RF64") || std::string_view(kind.data(), 4) != "WAVE") {
    return Invalid("it is not a WAV file");
  }
  std::int64_t long_size = std::numeric_limits<std::int64_t>::max();
  std::int64_t at = kFirstChunk;
  for (int count = 0; count < kMostChunks; ++count) {
    Chunk chunk;
    if (!ReadChunk(at, chunk)) break;
    at += kChunkHead;
    std::array<unsigned char, 16> sizes{};
    if (chunk.name == "ds64" && file_.read(reinterpret_cast<char*>(sizes.data()), sizes.size())) {
      long_size = static_cast<std::int64_t>(NumberAt(sizes.data() + 8, 8) & INT64_MAX);
    } else if (chunk.name == "fmt ") {
      if (const Status taken = TakeFormat(chunk.size); !taken) return taken;
    } else if (chunk.name == "data") {
      if (format_.channels == 0) return Invalid("it does not say what its sound is like");
      // A writer that could not go back has left the sizes of a file without sound.
      const bool unfinished = chunk.size == 0 && (riff.size == kUnknownSize || riff.size + kChunkHead <= at);
      const std::int64_t size = chunk.size == kUnknownSize ? long_size : chunk.size;
      const std::int64_t there = file_size - at;
      length_ = (unfinished ? there : std::min(size, there)) / (format_.channels * format_.sample_bytes);
      file_.clear();
      file_.seekg(at);
      return Ok();
    }
    at += chunk.size + chunk.size % 2;
  }
  return Invalid("there is no sound in it");
}

Status WavReader::TakeFormat(std::int64_t size) {
  std::array<unsigned char, 26> bytes{};
  const std::int64_t wanted = std::min<std::int64_t>(size, bytes.size());
  if (size < kFormatSize || !file_.read(reinterpret_cast<char*>(bytes.data()), wanted)) {
    return Invalid("what it says of its sound is cut off");
  }
  auto kind = static_cast<int>(NumberAt(bytes.data(), 2));
  if (kind == kExtensible) kind = static_cast<int>(NumberAt(bytes.data() + 24, 2));
  if (kind != kPcm && kind != kFloatingPoint) return UnknownFormat(kind);
  const auto channels = static_cast<int>(NumberAt(bytes.data() + 2, 2));
  const auto rate = static_cast<std::int64_t>(NumberAt(bytes.data() + 4, 4));
  const auto frame_bytes = static_cast<int>(NumberAt(bytes.data() + 12, 2));
  const auto bits = static_cast<int>(NumberAt(bytes.data() + 14, 2));
  if (channels < 1 || channels > kMostChannels) return Invalid("it has " + std::to_string(channels) + " channels");
  if (rate < kLowestRate || rate > kHighestRate) return Invalid("it has " + std::to_string(rate) + " samples a second");
  const int sample_bytes = frame_bytes == 0 ? (bits + 7) / 8 : frame_bytes / channels;
  const bool fits = frame_bytes % channels == 0 && bits > 0 && bits <= 8 * sample_bytes;
  const bool known = kind == kPcm ? sample_bytes >= 1 && sample_bytes <= 4 : sample_bytes == 4 || sample_bytes == 8;
  if (!fits || !known) return Invalid("it has samples of " + std::to_string(bits) + " bits");
  format_ = {static_cast<int>(rate), channels, sample_bytes, kind == kFloatingPoint};
  return Ok();
}

double WavReader::SampleAt(const unsigned char* bytes) const {
  const std::uint64_t raw = NumberAt(bytes, format_.sample_bytes);
  if (format_.floating) {
    const double sample =
        format_.sample_bytes == 4 ? std::bit_cast<float>(static_cast<std::uint32_t>(raw)) : std::bit_cast<double>(raw);
    return std::isfinite(sample) ? std::clamp(sample, -1.0, 1.0) : 0;
  }
  if (format_.sample_bytes == 1) return (static_cast<double>(raw) - 128) / 128;
  const auto left_justified = static_cast<std::uint32_t>(raw << (32 - 8 * format_.sample_bytes));
  return static_cast<double>(static_cast<std::int32_t>(left_justified)) / 2'147'483'648.0;
}

std::size_t WavReader::Read(std::span<float> samples) {
  const auto frame_bytes = static_cast<std::size_t>(format_.channels * format_.sample_bytes);
  std::size_t done = 0;
  while (done < samples.size() && given_ < length_) {
    const auto left = static_cast<std::size_t>(length_ - given_);
    const std::size_t wanted = std::min({samples.size() - done, left, kBufferBytes / frame_bytes});
    buffer_.resize(wanted * frame_bytes);
    file_.read(reinterpret_cast<char*>(buffer_.data()), static_cast<std::streamsize>(buffer_.size()));
    const std::size_t frames = static_cast<std::size_t>(file_.gcount()) / frame_bytes;
    for (std::size_t i = 0; i < frames; ++i) {
      double sum = 0;
      for (int channel = 0; channel < format_.channels; ++channel) {
        sum += SampleAt(buffer_.data() + i * frame_bytes + static_cast<std::size_t>(channel * format_.sample_bytes));
      }
      samples[done++] = static_cast<float>(sum / format_.channels);
    }
    given_ += static_cast<std::int64_t>(frames);
    if (frames < wanted) length_ = given_;  // somebody has cut it off meanwhile
  }
  return done;
}

}  // namespace kvx::platform
