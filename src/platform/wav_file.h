#pragma once

#include <cstddef>
#include <cstdint>
#include <fstream>
#include <span>
#include <vector>

#include "core/result.h"
#include "platform/files.h"

namespace kvx::platform {

/// How the samples of a WAV file are kept.
struct WavFormat {
  int samples_per_second = 0;
  int channels = 0;
  int sample_bytes = 0;
  bool floating = false;
};

/// Reads a WAV file piece by piece, so that hours of sound need no memory: PCM of 8, 16, 24 or 32 bits and floating
/// point of 32 or 64, plain or extensible, also of more than 4 GB (RF64). What it gives is mono, the mean of the
/// channels. Other chunks are passed over. Sound that has been cut off, or whose length its writer could not know, is
/// read as far as it goes.
class WavReader final {
 public:
  /// One sentence names the file and what is wrong with it.
  static Result<WavReader> Open(const Path& path);

  const WavFormat& format() const { return format_; }
  /// Samples that there are altogether.
  std::int64_t length() const { return length_; }
  /// Takes the next samples, -1..1; fewer than there is room for at the end.
  std::size_t Read(std::span<float> samples);

 private:
  struct Chunk;

  WavReader() = default;
  Status FindSound(std::int64_t file_size);
  Status TakeFormat(std::int64_t size);
  bool ReadChunk(std::int64_t at, Chunk& chunk);
  double SampleAt(const unsigned char* bytes) const;

  std::ifstream file_;
  WavFormat format_;
  std::int64_t length_ = 0;
  std::int64_t given_ = 0;
  std::vector<unsigned char> buffer_;
};

/// Writes mono samples of 16 bits to a WAV file as they come. The file can be read at any moment: its header is brought
/// up to date with each second of sound and at the end.
class WavWriter final {
 public:
  /// Begins the file; one that is there already gives way, also while it is in use.
  static Result<WavWriter> Create(const Path& path, int samples_per_second);
  WavWriter(WavWriter&&) = default;
  WavWriter& operator=(WavWriter&& other);
  ~WavWriter();

  /// After an error, the disk being full or the file as long as one can be, the file is closed and holds what it could
  /// take. kClosed from then on.
  Status Write(std::span<const std::int16_t> samples);
  Status Close();
  bool is_open() const { return file_.is_open(); }
  std::int64_t samples() const { return samples_; }

 private:
  WavWriter() = default;
  Status UpdateHeader();
  Error Fail(ErrorCode code, const char* what);

  std::ofstream file_;
  Path path_;
  int rate_ = 0;
  std::int64_t samples_ = 0;
  std::int64_t in_header_ = 0;  ///< samples that the header tells of
};

}  // namespace kvx::platform
