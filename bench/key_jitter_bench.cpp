// How evenly the key thread writes its edges, noted right before what would be the ioctl: by how much each element is
// too long or too short; beside a bare thread that does nothing but sleep until each edge is due, which shows what the
// machine can do at that moment. Figures: docs/performance.md.

#include <benchmark/benchmark.h>
#include <pthread.h>
#include <sys/prctl.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstdint>
#include <memory>
#include <thread>
#include <utility>
#include <vector>

#include "fakes/virtual_loop.h"
#include "platform/posix/thread_key_line.h"

namespace kvx {
namespace {

using namespace std::chrono_literals;

constexpr Duration kRun = 10s;

/// Notes the moment of each edge.
class RecordingOutput final : public platform::KeyOutput {
 public:
  explicit RecordingOutput(std::vector<TimePoint>& times) : times_(times) {}
  Status Open() override { return Ok(); }
  void Close() override {}
  int Set(bool /*key*/, bool /*ptt*/) override {
    times_.push_back(std::chrono::steady_clock::now());
    return 0;
  }
  std::string fault() const override { return {}; }

 private:
  std::vector<TimePoint>& times_;
};

/// As many endless loops as there are processors.
class Load {
 public:
  explicit Load(bool wanted) {
    for (unsigned i = 0; wanted && i < std::thread::hardware_concurrency(); ++i) {
      threads_.emplace_back([this] {
        for (std::uint64_t turn = 0; !stop_; ++turn) benchmark::DoNotOptimize(turn);
      });
    }
  }
  ~Load() {
    stop_ = true;
    for (std::thread& thread : threads_) thread.join();
  }

 private:
  std::atomic<bool> stop_{false};
  std::vector<std::thread> threads_;
};

/// By how much the times from edge to edge were wrong, in microseconds, in rising order.
std::vector<double> Errors(const std::vector<TimePoint>& times, Duration dot) {
  std::vector<double> errors;
  for (std::size_t i = 1; i < times.size(); ++i) {
    errors.push_back(std::abs(std::chrono::duration<double, std::micro>(times[i] - times[i - 1] - dot).count()));
  }
  std::sort(errors.begin(), errors.end());
  return errors;
}

/// A run of dots of the key thread: their errors; empty when the wanted priority is refused.
std::vector<double> ErrorsOf(int wpm, bool real_time) {
  const Duration dot = Duration(1200ms) / wpm;
  const std::size_t edges = static_cast<std::size_t>(kRun / dot);
  std::vector<TimePoint> times;
  times.reserve(edges + 8);
  VirtualLoop loop;  // tells nobody anything
  platform::ThreadKeyLine line(loop, std::make_unique<RecordingOutput>(times), real_time);
  if (!line.Open() || line.real_time() != real_time) return {};
  std::vector<platform::KeyStep> steps;
  for (std::size_t i = 0; i < edges; ++i) steps.push_back({.key = i % 2 == 0, .ptt = true, .length = dot});
  line.Play(std::move(steps));
  while (line.remaining() > Duration{0}) std::this_thread::sleep_for(50ms);
  line.Close();
  times.resize(edges);
  return Errors(times, dot);
}

/// The same of a thread that sleeps.
std::vector<double> ErrorsOfSleep(int wpm, bool real_time) {
  const Duration dot = Duration(1200ms) / wpm;
  const std::size_t edges = static_cast<std::size_t>(kRun / dot);
  std::vector<TimePoint> times;
  bool refused = false;
  std::thread sleeper([&] {
    const sched_param priority{.sched_priority = real_time ? 1 : 0};
    refused = pthread_setschedparam(pthread_self(), real_time ? SCHED_FIFO : SCHED_OTHER, &priority) != 0;
    prctl(PR_SET_TIMERSLACK, 1);
    TimePoint due = std::chrono::steady_clock::now();
    for (std::size_t i = 0; !refused && i < edges; ++i) {
      std::this_thread::sleep_until(due += dot);
      times.push_back(std::chrono::steady_clock::now());
    }
  });
  sleeper.join();
  return refused ? std::vector<double>{} : Errors(times, dot);
}

void Measure(benchmark::State& state, std::vector<double> (*errors_of)(int wpm, bool real_time)) {
  const bool busy = state.range(1) != 0;
  const bool real_time = state.range(2) != 0;
  for (auto _ : state) {
    const Load load(busy);
    const std::vector<double> errors = errors_of(static_cast<int>(state.range(0)), real_time);
    if (errors.empty()) return state.SkipWithError("real-time priority is not allowed here");
    state.counters["median_us"] = errors[errors.size() / 2];
    state.counters["p99_us"] = errors[errors.size() * 99 / 100];
    state.counters["worst_us"] = errors.back();
  }
}

void Arguments(benchmark::internal::Benchmark* measured) {
  measured->ArgNames({"wpm", "busy", "real_time"})
      ->ArgsProduct({{5, 25, 40, 60}, {0, 1}, {1, 0}})
      ->Iterations(1)
      ->Repetitions(1)
      ->UseRealTime()
      ->Unit(benchmark::kSecond);
}

BENCHMARK_CAPTURE(Measure, KeyJitter, ErrorsOf)->Name("KeyJitter")->Apply(Arguments);
BENCHMARK_CAPTURE(Measure, SleepJitter, ErrorsOfSleep)->Name("SleepJitter")->Apply(Arguments);

}  // namespace
}  // namespace kvx
