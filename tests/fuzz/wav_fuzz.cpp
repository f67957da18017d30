#include <unistd.h>

#include <array>
#include <filesystem>
#include <fstream>

#include "input.h"
#include "platform/wav_file.h"

/// A file that calls itself WAV.
KVX_FUZZ(input) {
  static const std::filesystem::path file =
      std::filesystem::temp_directory_path() / ("kvx-wav-fuzz-" + std::to_string(getpid()));
  std::ofstream(file, std::ios::binary) << input.Rest();
  auto reader = kvx::platform::WavReader::Open(file);
  if (!reader) return;
  std::array<float, 512> samples{};
  std::int64_t taken = 0;
  while (const std::size_t got = reader->Read(samples)) {
    taken += static_cast<std::int64_t>(got);
    for (std::size_t i = 0; i < got; ++i)
      kvx::fuzz::Demand(samples[i] >= -1.0F && samples[i] <= 1.0F, "samples lie within -1..1");
  }
  kvx::fuzz::Demand(taken <= reader->length(), "there are no more samples than told");
}
