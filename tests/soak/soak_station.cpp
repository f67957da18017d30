#include "soak/soak_station.h"

#include "console/accessory_commands.h"
#include "console/audio_commands.h"
#include "console/cw_commands.h"
#include "console/decode_command.h"
#include "console/link_commands.h"
#include "console/memory_commands.h"
#include "console/rig_editor_commands.h"
#include "console/setup_commands.h"
#include "console/tuner_commands.h"
#include "core/text.h"
#include "keyer/port_key_line.h"
#include "sim/receiver_input.h"
#include "sim/winkey_device.h"

namespace kvx {
namespace {

using namespace std::chrono_literals;

constexpr Duration kPiece = 100ms;  // between two looks at the worker

constexpr const char* kRigIni =
    "XRIG=TS-2000\nRIGPORT= 3\nRIGSPEED= 57600\nRIGSTOP= 1\nGMT= -1\nKEYERPORT=WINKEY\nPADDLECOM= 4\nCWSKIMMER= 7\n"
    "LOGGERLINK=True\nWINKEYIN= 8\nKEYERLINK=True\nNETSERVER=True\nDDESERVER=True\nANTPORT= 5\n";

std::unique_ptr<platform::KeyLine> MakeKeyLine(SoakStation& soak, const keyer::KeyerSettings& settings) {
  const platform::KeyLines lines{settings.key_on_rts, settings.use_ptt, settings.inverted};
  if (settings.kind == keyer::KeyerKind::kRigLine)
    return std::make_unique<keyer::PortKeyLine>(soak.loop, soak.rig_port, lines, std::nullopt);
  return std::make_unique<keyer::PortKeyLine>(soak.loop, soak.key_line, lines,
                                              platform::PortSettings{.number = settings.port});
}

console::StationParts Parts(SoakStation& soak) {
  console::StationParts parts{.loop = soak.loop,
                              .files = soak.files,
                              .rig_port = soak.rig_port,
                              .folder = soak.folder.path(),
                              .data = KVX_DATA};
  parts.speech = &soak.speech;
  parts.guard = &soak.guard;
  parts.keyer_port = &soak.keyer_port;
  parts.keyer_guard = &soak.keyer_guard;
  parts.key_line = [&soak](const keyer::KeyerSettings& settings) { return MakeKeyLine(soak, settings); };
  parts.net = &soak.tcp;
  parts.loggers = {.cat = &soak.logger, .winkey = &soak.logger_keyer};
  parts.dde = &soak.dde_clients;
  parts.rotator = &soak.rotator;
  parts.parallel = &soak.parallel;
  parts.worker = &soak.worker;
  parts.audio_devices = &soak.audio_devices;
  parts.audio_input = [&soak](const std::string&) -> Result<std::unique_ptr<platform::AudioInput>> {
    return std::unique_ptr<platform::AudioInput>(std::make_unique<sim::ReceiverInput>(soak.loop, soak.own));
  };
  return parts;
}

}  // namespace

platform::NumberedPort SoakStation::MakeNumbered() {
  return platform::NumberedPort([this] { return platform::ReadPortTable(files, folder.path()); },
                                [this](const std::string& address) -> std::unique_ptr<platform::SerialPort> {
                                  auto port = std::make_unique<PluggedPort>(address, loop, plugs);
                                  if (auto* winkey = dynamic_cast<sim::WinkeyDevice*>(port->device()))
                                    winkey->on_key = [this](bool down, TimePoint when) { own.Key(down, when, 600); };
                                  return port;
                                });
}

SoakStation::SoakStation()
    : rig_port(MakeNumbered()),
      keyer_port(MakeNumbered()),
      parallel(loop, [](int) { return std::make_unique<platform::ShadowParallelPort>(); }),
      station((folder.Put("rig.ini", kRigIni),
               folder.Put("ports.ini", std::string("COM3=") + kRig + "\nCOM4=" + kKeyer + "\n"), Parts(*this))),
      setup(loop, station, files, devices),
      commands(loop, station, [](const std::string&) {}) {
  console::AddSetupCommands(commands, setup);
  console::AddMemoryCommands(commands, station);
  console::AddCwCommands(commands, loop, station);
  console::AddAccessoryCommands(commands, station);
  console::AddAudioCommands(commands, loop, station);
  console::AddDecodeCommand(commands, loop, station);
  console::AddLinkCommands(commands, setup);
  console::AddTunerCommands(commands, station);
  console::AddRigEditorCommands(commands, station, files);
  commands.answer = [this](const std::string& line) {
    ++answered;
    last_answer = line;
  };
  commands.simulated_rig = [this](std::string_view command) {
    return rig() == nullptr || rig()->device() == nullptr ? std::string() : rig()->device()->Operate(command);
  };
}

SoakStation::~SoakStation() = default;

void SoakStation::Start() {
  station.Start();
  commands.Ready();
  RunFor(10s);
}

void SoakStation::ShutDown() {
  const Task task = station.ShutDown();
  for (int i = 0; i < 600 && !task.done(); ++i) RunFor(100ms);
}

void SoakStation::RunFor(Duration duration) {
  for (const TimePoint end = loop.Now() + duration; loop.Now() < end;) {
    loop.RunFor(std::min<Duration>(kPiece, end - loop.Now()));
    worker.Work();
  }
}

std::string SoakStation::Command(const std::string& line) {
  ++taken;
  last_answer.clear();
  commands.Take(line);
  loop.RunPending();
  return last_answer;
}

bool SoakStation::rig_transmits() {
  return rig() != nullptr && rig()->device() != nullptr && ContainsNoCase(rig()->device()->Operate("state"), " tx=on");
}

void SoakStation::ForgetRecords() {
  for (FakeSerialPort* port : {&logger, &logger_keyer, &rotator, &key_line}) {
    port->written.clear();
    port->writes.clear();
  }
  dde_clients.log.clear();
  dde_clients.posted.clear();
  speech.said.clear();
}

}  // namespace kvx
