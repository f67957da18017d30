#include "cat/cat_fixture.h"
#include "input.h"
#include "links/rigctl_session.h"

using namespace std::chrono_literals;

namespace {

constexpr std::size_t kEnough = 64 * 1024;
constexpr std::size_t kMostInAnAnswer = 4 * kEnough;

}  // namespace

/// A NET client that writes anything; gone, it leaves no transmitter keyed.
KVX_FUZZ(input) {
  kvx::cat::Station station(input.Byte() % 2 == 0 ? "TS-2000" : "IC-7300");
  kvx::links::RigctlRig rig(station.console, station.engine);
  {
    kvx::links::RigctlSession session(station.loop, station.console, station.engine, rig);
    while (!input.empty() && !session.ended()) {
      session.Take(input.Piece());
      kvx::fuzz::Demand(session.Answer(kEnough).size() < kMostInAnAnswer, "an answer is bounded");
      station.loop.RunFor(5ms);
    }
    session.StopTransmitting();
  }
  station.loop.RunFor(5s);
  kvx::fuzz::Demand(!*station.console.Transmitting, "the transmitter is released when the client has gone");
}
