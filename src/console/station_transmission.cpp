// What ends a transmission that the station has begun.

#include "console/station.h"

namespace kvx::console {
namespace {

using namespace std::chrono_literals;

constexpr Duration kDeliveryCheck = 20ms;
constexpr Duration kWarnedBefore = 10s;

}  // namespace

bool Station::Escape() {
  functions.scanner.OperatorActs();
  functions.keys.StopPresses();
  keyer.Escape();
  return !*console.Transmitting || engine.dispatcher.ReleaseTransmitter();
}

/// Before another rig or another port: the transmitter is released, and nothing that is meant for the next rig reaches
/// this one.
void Station::GiveUpRig(bool for_another_rig) {
  keyer.ReleaseRigPort();
  const bool released = engine.dispatcher.ReleaseTransmitter() || engine.dispatcher.release_is_under_way();
  const bool elsewhere = for_another_rig || settings_.rig_port != engine.link.settings().number;
  const bool keyed = *console.Transmitting;
  if (elsewhere && engine.dispatcher.GiveUpRig(for_another_rig) && keyed && for_another_rig)
    Notice("The transmitter of " + *console.RigName +
           " could not be released: the rig port is closed. It is released when that rig is chosen again");
  engine.link.Retire(released);
}

Duration Station::transmit_limit() const {
  return cat::LimitOf(keyer.settings().transmit_limit, engine.transmission.is_of(cat::kOperator));
}

/// Whoever keyed the transmitter and has gone to sleep does not keep it keyed.
Task Station::LimitTransmission(Duration limit) {
  const auto seconds = [](Duration time) { return std::to_string(time / 1s) + " seconds"; };
  if (limit >= 2 * kWarnedBefore) {
    co_await loop_.Sleep(limit - kWarnedBefore);
    Notice("The transmitter will be released in " + seconds(kWarnedBefore));
    co_await loop_.Sleep(kWarnedBefore);
  } else {
    co_await loop_.Sleep(limit);
  }
  if (engine.dispatcher.ReleaseTransmitter())
    Notice("The transmitter was keyed for " + seconds(limit) + " and has been released");
}

void Station::CommandsEnded() {
  const bool keyed = *console.Tune || engine.transmission.is_of(cat::kOperator);
  keyer.Tune(false).ok();
  engine.dispatcher.ReleaseTransmitter(cat::kOperator);
  if (keyed && !*console.Transmitting) Notice("The commands have ended: the transmitter has been released");
}

/// The release has been written, and may still be on its way to the device.
Task Station::DisarmWhenDelivered() {
  while (*console.Port == "open" && engine.link.bytes_unsent() > 0) {
    co_await loop_.Sleep(kDeliveryCheck);
  }
  guard_->Disarm();
}

}  // namespace kvx::console
