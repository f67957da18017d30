#include "cat/cat_fixture.h"
#include "input.h"
#include "links/logger_bridge.h"

using namespace std::chrono_literals;

/// A logger that writes anything; gone, it leaves no transmitter keyed.
KVX_FUZZ(input) {
  kvx::cat::Station station("TS-2000");
  kvx::FakeSerialPort port;
  kvx::links::LoggerBridge bridge(station.loop, station.console, station.engine, port);
  bridge.Use({.name = "7", .number = 7, .on = true});
  while (!input.empty()) {
    station.loop.RunFor(std::chrono::milliseconds(input.Byte()));
    port.Arrive(input.Piece());
  }
  bridge.FarEndClosed();
  station.loop.RunFor(5s);
  kvx::fuzz::Demand(!*station.console.Transmitting, "the transmitter is released when the logger has gone");
}
