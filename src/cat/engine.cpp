#include "cat/engine.h"

namespace kvx::cat {
namespace {

constexpr int kDiscardTicks = 2;

/// Whether they are two rigs, and not one whose definition has been edited, renamed or copied.
bool AreTwo(const config::RigDefinition& one, const config::RigDefinition& other) {
  config::RigRow renamed = one.row;
  renamed.Set("RigName", other.name);
  return one.name != other.name && renamed != other.row;
}

}  // namespace

Engine::Engine(Loop& loop, Console& console, platform::SerialPort& port)
    : console_(console),
      transmission(console),
      link(loop, console, port),
      dispatcher(loop, console, link, rig_, armed_, transmission),
      parser(loop, console, link, rig_, armed_),
      operations(loop, console, dispatcher, rig_),
      poller(loop, console, link, dispatcher, parser, rig_) {
  clock_ = console.Subscribe([this](Field field) {
    if (field == Field::kRiggmt) poller.Tick();
    if (field == Field::kPolling) poller.PollingSwitched();
  });
  link.on_arrival = [this] { parser.Parse(); };
  link.on_written = [this](std::string_view bytes) { dispatcher.FollowBytes(bytes); };
  link.on_opened = [this] { poller.PortOpened(); };
  link.on_undelivered = [this] { dispatcher.ReleaseNotDelivered(); };
  parser.on_reply = [this](const Reply& reply) {
    poller.Heard(reply.kind);
    operations.Follow(reply);
  };
  parser.on_input = [this](bool complete) {
    if (complete) link.Answered();
    poller.InputArrived(complete);
  };
}

bool Engine::UseRig(config::RigDefinition rig) {
  if (rig.row == rig_.row) return false;  // read again, unchanged: polling and two-state buttons go on as they are
  const bool another = AreTwo(rig, rig_);
  rig_ = std::move(rig);
  if (link.is_open()) link.Discard(kDiscardTicks);  // what is still under way was asked of the rig before
  armed_.clear();
  operations.Forget();
  dispatcher.ForgetFaults();
  link.ClearRcvBuffer();
  link.SetHexBuffer(rig_.row.send_as_hex);
  for (std::size_t i = 0; i < console_.FunctionState.size(); ++i) console_.FunctionState.Set(i, false);
  console_.SMeter.Set(0);  // a rig that tells none must not show the last one's
  console_.MeterValue.Set(0);
  if (another) {  // nor where its VFOs are; which of them is in use is told anew, or is taken to be A as at the start
    console_.FreqA.Set({});
    console_.FreqB.Set({});
    console_.ActiveVfo.Set('A');
  }
  poller.RigSelected();
  return true;
}

}  // namespace kvx::cat
