// What one buffer of receiver audio costs, and beside it the transform alone of a library made for speed, FFTW, in
// double precision, where it was there to build with. Figures: docs/performance.md.

#include <benchmark/benchmark.h>

#include <cmath>
#include <fstream>
#include <iterator>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "audio/spectrum_settings.h"
#include "audio/spectrum_trace.h"
#include "audio/spectrum_worker.h"
#include "audio/transform.h"
#include "platform/samples.h"
#include "sim/receiver_audio.h"

#ifdef KVX_FFTW
#include <fftw3.h>
#endif

namespace kvx {
namespace {

double SampleAt(std::size_t at) {
  return 0.3 * std::sin(0.37 * static_cast<double>(at)) + 0.001 * std::sin(1.9 * static_cast<double>(at));
}

void AudioTransform(benchmark::State& state) {
  audio::Transform transform(static_cast<int>(state.range(0)));
  std::vector<float> samples;
  for (std::size_t i = 0; i < static_cast<std::size_t>(transform.size()); ++i)
    samples.push_back(static_cast<float>(SampleAt(i)));
  std::vector<float> levels(transform.real().size());
  for (auto _ : state) {
    transform.Run(samples);
    audio::LevelsOf(transform.real(), transform.imaginary(), levels);
    benchmark::DoNotOptimize(levels.data());
  }
}

/// All that a buffer goes through, from the samples of the source to the trace and the display's copy.
void AudioFrame(benchmark::State& state) {
  audio::SpectrumSettings settings;
  settings.cboBins = static_cast<int>(state.range(0));
  std::vector<std::int16_t> samples;
  for (std::size_t i = 0; i < static_cast<std::size_t>(settings.cboBins); ++i)
    samples.push_back(static_cast<std::int16_t>(32767 * SampleAt(i)));
  audio::SpectrumWorker worker{std::string()};
  worker.Use(settings);
  for (auto _ : state) {
    worker.Feed(samples, true);
    benchmark::DoNotOptimize(worker.TakeFindings().frame);
  }
}

/// What decodes beside the spectrum.
enum Decoding { kNone, kClassic, kBest, kBestAndSignals };

/// A second of sound with eight stations in it, 16384 bins, in pieces of 20 ms as a source gives them. The time is the
/// share of a core that it takes.
void AudioSecond(benchmark::State& state) {
  constexpr int kSeconds = 30;
  const auto decoding = static_cast<Decoding>(state.range(0));
  std::vector<sim::HeardStation> stations;
  for (int i = 0; i < 8; ++i) {
    stations.push_back({.text = "CQ CQ DE K" + std::to_string(i) + "ABC K" + std::to_string(i) + "ABC K",
                        .wpm = 18.0 + 4 * i,
                        .hertz = 700.0 + 250 * i,
                        .level_db = -2.0 * i,
                        .repeat_after = 1.5});
  }
  audio::SpectrumSettings settings;
  settings.cboBins = 16384;
  settings.CrossIt = 700;
  settings.decoding = decoding != kNone;
  settings.decoder = decoding == kClassic ? audio::DecoderMode::kClassic : audio::DecoderMode::kBest;
  settings.SlowCPU = decoding != kBestAndSignals;
  sim::ReceiverAudio receiver({.samples_per_second = settings.cboSRate, .snr_db = 15}, std::move(stations));
  const std::vector<std::int16_t> samples = platform::To16Bits(receiver.RenderSeconds(kSeconds));
  std::ifstream words(std::string(KVX_DATA) + "/dict.txt", std::ios::binary);
  audio::SpectrumWorker worker{std::string(std::istreambuf_iterator<char>(words), {})};
  worker.Use(settings);
  const auto second = static_cast<std::size_t>(settings.cboSRate);
  std::size_t at = 0;
  for (auto _ : state) {
    for (std::size_t piece = 0; piece < second; piece += second / 50)
      worker.Feed(std::span(samples).subspan(at + piece, second / 50), true);
    at = (at + second) % samples.size();
    benchmark::DoNotOptimize(worker.TakeFindings().frame);
  }
}

#ifdef KVX_FFTW
void Fftw(benchmark::State& state) {
  const auto size = static_cast<std::size_t>(state.range(0));
  auto* in = fftw_alloc_real(size);
  auto* out = fftw_alloc_complex(size / 2 + 1);
  fftw_plan plan = fftw_plan_dft_r2c_1d(static_cast<int>(size), in, out, FFTW_MEASURE);
  for (std::size_t i = 0; i < size; ++i) in[i] = SampleAt(i);
  for (auto _ : state) {
    fftw_execute(plan);
    benchmark::DoNotOptimize(out);
  }
  fftw_destroy_plan(plan);
  fftw_free(in);
  fftw_free(out);
}
#else
void Fftw(benchmark::State& state) {
  state.SkipWithError("built without FFTW (libfftw3-dev)");
}
#endif

void Sizes(benchmark::internal::Benchmark* bench) {
  for (const int bins : audio::kBins) bench->Arg(bins);
}

BENCHMARK(AudioTransform)->Apply(Sizes);
BENCHMARK(AudioFrame)->Apply(Sizes);
BENCHMARK(Fftw)->Apply(Sizes);
BENCHMARK(AudioSecond)
    ->Arg(kNone)
    ->Arg(kClassic)
    ->Arg(kBest)
    ->Arg(kBestAndSignals)
    ->Iterations(60)
    ->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace kvx
