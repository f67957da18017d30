#include <array>

#include "cat/cat_fixture.h"
#include "input.h"

using namespace std::chrono_literals;

namespace {

constexpr std::array kRigs{"TS-2000", "FT-857", "FT-1000D", "FT-DX5000", "IC-7300", "Orion", "Pegasus", "K3"};
constexpr std::size_t kMostReceived = 4096;

}  // namespace

/// A rig of each family that says anything, in pieces, while it is being polled.
KVX_FUZZ(input) {
  kvx::cat::Station station(kRigs[input.Byte() % kRigs.size()]);
  station.console.Polling.Set(true);
  station.Beat(50ms);
  while (!input.empty()) {
    station.loop.RunFor(std::chrono::milliseconds(input.Byte()));
    station.port.Arrive(input.Piece());
    kvx::fuzz::Demand(station.engine.link.buffer().size() <= 2 * kMostReceived, "the receive buffer is bounded");
  }
  station.loop.RunFor(1s);
}
