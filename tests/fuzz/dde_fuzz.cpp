#include <array>

#include "cat/cat_fixture.h"
#include "fakes/fake_dde.h"
#include "input.h"
#include "links/dde_server.h"
#include "platform/gateway_lines.h"

using kvx::platform::DdeType;

namespace {

constexpr std::array kTypes{DdeType::kExecute, DdeType::kPoke, DdeType::kRequest, DdeType::kAdviseStart};
constexpr std::array kItems{"HRD_HERTZ", "HRD_MODE", "HRD_RADIO"};

}  // namespace

/// Clients that execute, poke and ask for anything; and anything in the place of the gateway's lines.
KVX_FUZZ(input) {
  kvx::cat::Station station("TS-2000");
  kvx::FakeDde transport;
  kvx::links::DdeServer dde(station.loop, station.console, station.engine.operations, transport);
  dde.Use({.on = true});
  kvx::platform::GatewayLines lines;
  while (!input.empty()) {
    const std::uint8_t what = input.Byte();
    const std::string data(input.Piece());
    const std::string item = what & 0x10 ? std::string(input.Piece()) : kItems[(what >> 2) % kItems.size()];
    dde.HandleDDECallback({.type = kTypes[what & 3], .item = item, .data = data});
    for (const std::string& line : lines.Take(data)) {
      std::string_view rest = line;
      kvx::platform::WordNumber(kvx::platform::TakeWord(rest));
      kvx::platform::GatewayText(rest);
    }
    station.loop.RunFor(std::chrono::milliseconds(20));
  }
}
