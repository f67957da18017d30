#include "app/rig_simulator.h"

#include <QCoreApplication>
#include <iostream>
#include <optional>

#include "app/tone_recorder.h"
#include "core/text.h"
#include "platform/qt/pty_port.h"
#include "platform/qt/qt_loop.h"
#include "platform/qt/standard_input.h"
#include "platform/qt/standard_output.h"
#include "platform/qt/stop_signals.h"
#include "sim/paced_line.h"
#include "sim/simulated_device.h"
#include "sim/winkey_device.h"

namespace kvx::app {
namespace {

constexpr int kBitsPerByte = 10;

Duration ByteTime(int speed) {
  return speed == 0 ? Duration{0} : Duration(std::chrono::seconds(kBitsPerByte)) / speed;
}

}  // namespace

int RunRigSimulator(int argc, char** argv, const Options& options) {
  QCoreApplication application(argc, argv);
  platform::QtLoop loop;
  const auto device = sim::MakeDevice(options.rig_kind, loop);
  if (!device) {
    std::cerr << "kvx: there is no simulated device " << OneLine(options.rig_kind, 40) << " (kvx --help lists them)\n";
    return 1;
  }
  platform::PtyPort port(options.link);
  if (auto opened = port.Open({}); !opened) {
    std::cerr << "kvx: " << opened.error().message << '\n';
    return 1;
  }
  platform::StandardOutput output;
  sim::PacedLine to_rig(loop, [&](std::string_view bytes) { device->Receive(bytes); });
  sim::PacedLine from_rig(loop, [&](std::string_view bytes) { port.Write(bytes); });
  to_rig.set_byte_time(ByteTime(options.speed));
  from_rig.set_byte_time(ByteTime(options.speed));
  port.on_data = [&] { to_rig.Push(port.Read()); };
  device->send = [&](std::string_view bytes) { from_rig.Push(bytes); };
  device->complain = [&](const std::string& line) { output.WriteLine(line); };

  std::optional<ToneRecorder> recorder;
  if (auto* keyer = dynamic_cast<sim::WinkeyDevice*>(device.get())) recorder.emplace(loop, *keyer);
  const auto operate = [&](const std::string& command) -> std::string {
    const std::string_view word = std::string_view(command).substr(0, command.find(' '));
    if (recorder && EqualNoCase(word, "record"))
      return recorder->Operate(Trim(std::string_view(command).substr(word.size())));
    const std::string answer = device->Operate(command);
    if (answer != "ok") return answer;
    if (EqualNoCase(word, "unplug")) port.Close();
    if (auto opened = EqualNoCase(word, "plug") ? port.Open({}) : Ok(); !opened)
      return "error: " + opened.error().message;
    return answer;
  };

  platform::StopSignals signals;
  signals.on_stop = [](int) { QCoreApplication::exit(0); };
  platform::StandardInput input;
  input.on_line = [&](const std::string& line) {
    const std::string command(Trim(line));
    if (command == "quit") return QCoreApplication::exit(0);
    if (!command.empty()) output.WriteLine(operate(command));
  };
  output.WriteLine(port.slave_path());
  input.Start();
  return QCoreApplication::exec();
}

}  // namespace kvx::app
