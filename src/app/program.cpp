#include "app/program.h"

#include <QGuiApplication>
#include <cstdlib>
#include <utility>

#include "platform/ports_file.h"
#include "platform/qt/pty_port.h"
#include "platform/qt/qt_serial_device.h"
#include "platform/qt/tcp_port.h"
#include "sim/simulated_port.h"

namespace kvx::app {
namespace {

platform::Path StationFolder(const Options& options) {
  if (!options.station.empty()) return options.station;
  const char* data = std::getenv("XDG_DATA_HOME");
  const char* home = std::getenv("HOME");
  platform::Path base = data != nullptr && *data != '\0' ? platform::Path(data)
                        : home != nullptr                ? platform::Path(home) / ".local" / "share"
                                                         : platform::Path(".");
  return base / (options.demo ? "kvx-demo" : "kvx");
}

}  // namespace

platform::Path DataFolder() {
  const platform::Path program(QCoreApplication::applicationDirPath().toStdString());
  const platform::Path installed = program / ".." / "share" / "kvx";
  std::error_code error;
  return std::filesystem::is_directory(installed, error) ? installed : platform::Path(KVX_SOURCE_DATA);
}

Program::Program(const Options& options)
    : folder_(StationFolder(options)),
      demo_(options.demo),
      with_window_(qobject_cast<QGuiApplication*>(QCoreApplication::instance()) != nullptr),
      rig_port_([this] { return platform::ReadPortTable(files_, folder_); },
                [this](const std::string& address) { return MakePort(address); }),
      release_guard_([this] { return RigDescriptor(); }) {
  signals_.on_stop = [this](int) { Stop(); };
}

Status Program::Prepare() {
  auto lock = platform::StationLock::Take(folder_);
  if (!lock) return lock.error();
  lock_ = std::move(*lock);
  if (with_window_) speech_ = std::make_unique<platform::QtSpeech>();
  station_ = std::make_unique<console::Station>(
      console::StationParts{loop_, files_, rig_port_, folder_, DataFolder(), speech_.get(), &release_guard_});
  if (speech_) speech_->on_notice = [this](const std::string& line) { station_->Notice(line); };
  setup_ = std::make_unique<console::StationSetup>(loop_, *station_, files_, devices_);
  editor_ = std::make_unique<console::RigEditor>(*station_, files_);
  return Ok();
}

void Program::Start() {
  for (const std::string& complaint : platform::ReadPortTable(files_, folder_).complaints) station_->Notice(complaint);
  station_->Start();
  if (demo_ && unconfigured()) UseSimulatedRig();
}

std::unique_ptr<platform::SerialPort> Program::MakePort(const std::string& address) {
  if (address.starts_with("pty:")) return std::make_unique<platform::PtyPort>(address.substr(4));
  if (address.starts_with("tcp:")) return std::make_unique<platform::TcpPort>(address.substr(4));
  if (address.starts_with("sim:")) return std::make_unique<sim::SimulatedPort>(address, loop_);
  return std::make_unique<platform::QtSerialDevice>(address);
}

/// Of the device behind the rig port; -1 for another kind of port.
int Program::RigDescriptor() const {
  const auto* device = dynamic_cast<const platform::QtSerialDevice*>(rig_port_.backend());
  return device == nullptr ? -1 : device->descriptor();
}

void Program::Speak(const std::string& sentence) {
  constexpr int kTopic = -2;  // of nothing that the announcer tells
  if (speech_) speech_->Say(kTopic, sentence);
}

bool Program::unconfigured() const {
  return *station_->console.RigName == "NONE" && station_->settings().rig_port == 0;
}

void Program::UseSimulatedRig() {
  if (auto used = setup_->UseSimulatedRig(); !used) station_->Notice(used.error().message);
}

std::string Program::OperateSimulatedRig(std::string_view command) {
  auto* port = dynamic_cast<sim::SimulatedPort*>(rig_port_.backend());
  return port == nullptr || port->device() == nullptr ? std::string() : port->device()->Operate(command);
}

void Program::Stop() {
  if (!std::exchange(stopping_, true)) shut_down_ = ShutDown();
}

Task Program::ShutDown() {
  Task closing = station_->ShutDown();
  co_await closing;
  // Not from inside this procedure: whoever hears of the end may destroy it.
  loop_.StartTimer(loop_.Now(), [this] {
    if (on_ended) on_ended();
  });
}

}  // namespace kvx::app
