#include <random>

#include "console_fixture.h"
#include "sim/simulated_port.h"

namespace kvx::console {
namespace {

using SimBench = BenchOn<sim::SimulatedPort>;

struct Rig {
  std::string name, device;
  int speed;
  std::vector<std::string> set_up;  // operations at the rig's panel
  Duration limit = 600ms;           // for the display to follow the knob

  std::string title() const { return name + " " + std::to_string(speed) + (set_up.empty() ? "" : " " + set_up.back()); }
};
const std::vector<Rig>& Rigs() {
  static const std::vector<Rig> kRigs{
      {"TS-2000", "sim:ts2000", 38400, {}},
      {"TS-2000", "sim:ts2000", 38400, {"pieces on"}, 2s},
      {"FT-DX5000", "sim:ftdx5000", 38400, {}},
      {"FT-DX5000", "sim:ftdx5000", 38400, {"pieces on"}, 2s},
      {"IC-7300", "sim:ic7300", 38400, {"transceive off", "pieces on"}, 2s},
      {"FT-857", "sim:ft857", 38400, {"pieces on"}, 2s},
      {"Orion", "sim:orion", 57600, {"pieces on"}, 2s},
      {"FT-857", "sim:ft857", 38400, {}},
      {"FT-1000D", "sim:ft1000d", 4800, {}},
      {"IC-7300", "sim:ic7300", 38400, {"transceive off"}},
      {"IC-7300", "sim:ic7300", 38400, {"transceive off", "echo on"}},
      {"IC-7300", "sim:ic7300", 19200, {"echo on", "delay 40"}},
      {"Orion", "sim:orion", 57600, {}},
      {"IC-735", "sim:ic735", 1200, {"transceive off", "echo on"}, 2s},
      {"Omni VI", "sim:omni6", 1200, {"transceive off", "echo on"}, 2s},
      {"IC-706", "sim:ic706", 19200, {"transceive off"}},
      {"IC-7610", "sim:ic7610", 19200, {"transceive off"}},
      {"IC-R8600", "sim:icr8600", 19200, {"transceive off"}},
      {"Jupiter", "sim:jupiter", 57600, {}},
      {"Argonaut V", "sim:argonaut5", 1200, {}, 2s},
      {"Omni VII", "sim:omni7", 57600, {"pieces on"}, 2s},
  };
  return kRigs;
}

std::string KhzOf(int hertz) {
  return KhzText(Frequency::FromHz(hertz));
}

/// Runs until the display shows `khz`, at most `limit`; the time that took.
Duration Until(SimBench& bench, const std::string& khz, Duration limit) {
  const TimePoint start = bench.loop.Now();
  while (KhzText(*bench.station.console.FreqDisp) != khz && bench.loop.Now() - start <= limit) bench.loop.RunFor(5ms);
  return bench.loop.Now() - start;
}

std::string State(SimBench& bench, const std::string& key) {
  const std::string state = bench.port.device()->Operate("state");
  const std::size_t at = state.find(" " + key + "=") + key.size() + 2;
  return state.substr(at, state.find(' ', at) - at);
}

TEST(Following, TheDisplayFollowsTheKnobAndNoFrameIsRefused) {
  std::mt19937 random(1);
  for (const Rig& rig : Rigs()) {
    SCOPED_TRACE(rig.title());
    SimBench bench(RigIni(rig.name, rig.speed), rig.device);
    for (const std::string& operation : rig.set_up) EXPECT_EQ(bench.port.device()->Operate(operation), "ok");
    bench.Start(12s);  // the rig has been asked for its levels
    Duration slowest{0};
    for (int i = 0; i < 40; ++i) {
      bench.loop.RunFor(std::chrono::milliseconds(random() % 700));
      const std::string khz = KhzOf(14'000'000 + static_cast<int>(random() % 34'000) * 10);
      ASSERT_TRUE(bench.port.device()->Operate("knob " + khz).starts_with("ok"));
      slowest = std::max(slowest, Until(bench, khz, rig.limit));
    }
    EXPECT_LE(slowest, rig.limit) << std::chrono::duration<double>(slowest).count() << " s";
    bench.port.device()->Operate("mode LSB");
    bench.loop.RunFor(rig.limit);
    EXPECT_TRUE(bench.Display().ends_with(" LSB")) << bench.Display();
    EXPECT_EQ(State(bench, "refused"), "0");
    EXPECT_GT(*bench.station.console.SMeter, -1);
  }
}

TEST(Following, TuningReachesTheRigAndTheDisplayNeverJumpsBack) {
  std::mt19937 random(2);
  std::vector<Rig> rigs = Rigs();
  rigs.push_back({"TS-2000", "sim:ts2000", 1200, {"delay 300"}});
  rigs.push_back({"IC-7300", "sim:ic7300", 1200, {"echo on"}});
  rigs.push_back({"FT-747", "sim:ft747", 4800, {}});  // its replies take 0.8 s
  rigs.push_back({"FT-990", "sim:ft990", 4800, {}});  // tells 16 bytes more than are read
  for (const Rig& rig : rigs) {
    if (rig.limit > 1s) continue;  // what dawdles more than half a second behind its command is shown again
    SCOPED_TRACE(rig.title());
    SimBench bench(RigIni(rig.name, rig.speed), rig.device);
    for (const std::string& operation : rig.set_up) bench.port.device()->Operate(operation);
    bench.Start(3s);
    for (int i = 0; i < 20; ++i) {
      bench.loop.RunFor(std::chrono::milliseconds(random() % 700));
      const int hertz = 14'000'000 + static_cast<int>(random() % 34'000) * 10;
      EXPECT_EQ(bench.station.engine.operations.TuneTo(Frequency::FromHz(hertz)), cat::SendOutcome::kSent);
      for (int step = 0; step < 150; ++step) {
        bench.loop.RunFor(10ms);
        ASSERT_EQ(KhzText(*bench.station.console.FreqDisp), KhzOf(hertz)) << "after " << step * 10 << " ms";
      }
      EXPECT_EQ(State(bench, "a"), std::to_string(hertz));
    }
    for (const std::string mode : {"USB", "CW", "LSB"}) {
      EXPECT_TRUE(bench.station.engine.operations.SetModeByName(mode).ok());
      bench.loop.RunFor(1s);
      EXPECT_EQ(State(bench, "mode"), mode);
      EXPECT_TRUE(bench.Display().ends_with(" " + mode));
    }
    EXPECT_EQ(State(bench, "refused"), "0");
  }
}

TEST(Following, ASlowLineIsNeverFloodedAndStillFollowed) {
  for (const Rig& rig : Rigs()) {
    if (!rig.set_up.empty()) continue;
    SCOPED_TRACE(rig.name);
    SimBench bench(RigIni(rig.name, 1200), rig.device);
    bench.Start();
    std::size_t most = 0;
    for (int i = 0; i < 3000; ++i) {
      bench.loop.RunFor(20ms);
      most = std::max(most, bench.port.bytes_unsent());
    }
    EXPECT_LE(most, 30U) << "bytes behind";
    ASSERT_TRUE(bench.port.device()->Operate("knob 14123.40").starts_with("ok"));
    EXPECT_LE(Until(bench, "14123.40", 6s), 5s);
    EXPECT_EQ(State(bench, "refused"), "0");
  }
}

TEST(Following, ARigThatIsSwitchedOffGarblesOrComesBackIsFollowedAgain) {
  for (const Rig& rig : Rigs()) {
    SCOPED_TRACE(rig.title());
    SimBench bench(RigIni(rig.name, rig.speed), rig.device);
    for (const std::string& operation : rig.set_up) bench.port.device()->Operate(operation);
    bench.Start(3s);
    int turn = 0;
    for (const std::string fault :
         {"mute on", "garbage <0xFE><0xFE>A;F<0x00>", "garbage <0x01>", "garbage <0x14><0x02><0x50>"}) {
      bench.port.device()->Operate(fault);
      bench.loop.RunFor(2s);
      bench.port.device()->Operate("mute off");
      const std::string khz = KhzOf(14'100'000 + ++turn * 1230);
      bench.port.device()->Operate("knob " + khz);
      EXPECT_LE(Until(bench, khz, 9s), rig.limit + 2s) << fault;
    }
  }
}

}  // namespace
}  // namespace kvx::console
