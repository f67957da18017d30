#include "app/program.h"

#include <QCoreApplication>
#include <algorithm>
#include <array>
#include <cstdlib>
#include <utility>

#include "audio/audio_analysis.h"
#include "console/demo_content.h"
#include "keyer/port_key_line.h"
#include "platform/ports_file.h"
#include "platform/posix/data_lines.h"
#include "platform/posix/thread_key_line.h"
#include "platform/qt/pty_port.h"
#include "platform/qt/qt_serial_device.h"
#include "platform/qt/tcp_port.h"
#include "sim/simulated_port.h"

namespace kvx::app {
namespace {

/// Of the serial device behind a port; -1 for another kind of port.
int DeviceOf(const platform::NumberedPort& port) {
  const auto* device = dynamic_cast<const platform::QtSerialDevice*>(port.backend());
  return device == nullptr ? -1 : device->descriptor();
}

/// Of what is behind a port, to which bytes can be written past it; -1 for a simulated one.
int DescriptorOf(const platform::NumberedPort& port) {
  if (const auto* connection = dynamic_cast<const platform::TcpPort*>(port.backend())) return connection->descriptor();
  if (const auto* pty = dynamic_cast<const platform::PtyPort*>(port.backend())) return pty->descriptor();
  return DeviceOf(port);
}

/// What an environment variable names, but for a path that leads elsewhere from each folder.
platform::Path FolderOf(const char* variable) {
  const char* value = std::getenv(variable);
  const platform::Path folder(value == nullptr ? "" : value);
  return folder.is_absolute() ? folder : platform::Path();
}

/// The demonstration's antenna switch, so that its folder means the same to a console that is no demonstration.
void AddSimulatedLines(platform::Files& files, const platform::Path& folder) {
  const platform::Path file = folder / "ports.ini";
  const auto content = files.Read(file);
  if (content && platform::PortTable::Parse(*content).parallel.empty())
    (void)files.Write(file, *content + "LPT1=sim:lpt\n");
}

bool IsDevice(const std::string& address) {
  constexpr std::array kOthers{"pty:", "tcp:", "sim:"};
  return std::none_of(kOthers.begin(), kOthers.end(), [&](const char* other) { return address.starts_with(other); });
}

/// The folder that the program is in; that of an installed one has its windows elsewhere.
platform::Path ProgramFolder() {
  const platform::Path folder(QCoreApplication::applicationDirPath().toStdString());
  const platform::Path parent = folder.parent_path();
  return parent.filename() == "lib" && folder.filename() == "kvx" ? parent.parent_path() / "bin" : folder;
}

}  // namespace

platform::Path StationFolder(const Options& options) {
  if (!options.station.empty()) return options.station;
  const platform::Path data = FolderOf("XDG_DATA_HOME");
  const platform::Path home = FolderOf("HOME");
  if (data.empty() && home.empty()) return {};
  return (data.empty() ? home / ".local" / "share" : data) / (options.demo ? "kvx-demo" : "kvx");
}

platform::Path DataFolder() {
  const platform::Path installed = ProgramFolder() / ".." / "share" / "kvx";
  const platform::Path source(KVX_SOURCE_DATA);  // empty in a package
  std::error_code error;
  return source.empty() || std::filesystem::is_directory(installed, error) ? installed : source;
}

platform::Path DdeGateway() {
  const platform::Path installed = ProgramFolder() / ".." / "lib" / "kvx" / "kvx-dde.exe";
  std::error_code error;
  return std::filesystem::exists(installed, error) ? installed.lexically_normal() : ProgramFolder() / "kvx-dde.exe";
}

Program::Program(const Options& options, platform::ReleaseProcess* process, Desktop desktop)
    : folder_(StationFolder(options)),
      demo_(options.demo),
      desktop_(std::move(desktop)),
      audio_sources_(loop_, desktop_.sound.get()),
      rig_port_([this] { return platform::ReadPortTable(files_, folder_); },
                [this](const std::string& address) { return MakePort(address); }),
      keyer_port_([this] { return platform::ReadPortTable(files_, folder_); },
                  [this](const std::string& address) { return MakePort(address); }),
      logger_port_([this] { return platform::ReadPortTable(files_, folder_); },
                   [this](const std::string& address) {
                     return MakeLoggerPort(address, [this] { station_->loggers->logger.FarEndClosed(); });
                   }),
      logger_winkey_port_([this] { return platform::ReadPortTable(files_, folder_); },
                          [this](const std::string& address) {
                            return MakeLoggerPort(address, [this] { station_->keyer.winkeyer()->LoggerGone(); });
                          }),
      key_line_port_([this] { return platform::ReadPortTable(files_, folder_); },
                     [this](const std::string& address) { return MakePort(address); }),
      rotator_port_([this] { return platform::ReadPortTable(files_, folder_); },
                    [this](const std::string& address) { return MakePort(address); }),
      parallel_lines_(loop_, [this](int number) { return MakeParallelPort(number); }),
      watch_(platform::TimeAsleep, process),
      released_(watch_.event(), QSocketNotifier::Read),
      release_guard_([this] { return DescriptorOf(rig_port_); }),
      keyer_guard_([this] { return DescriptorOf(keyer_port_); }),
      text_guard_([this] { return DescriptorOf(rig_port_); }),
      dde_gateway_(DdeGateway().string()),
      doctor_(loop_, doctor_worker_, doctor_adapters_.Parts(folder_, &dde_gateway_, demo_)) {
  signals_.on_stop = [this](int) { Stop(); };
  QObject::connect(&released_, &QSocketNotifier::activated, &released_, [this] { StopKeying(); });
}

Status Program::Prepare() {
  if (folder_.empty()) return Error{ErrorCode::kNotFound, kNoFolder};
  auto lock = platform::StationLock::Take(folder_);
  if (!lock) return lock.error();
  lock_ = std::move(*lock);
  if (desktop_.sound) sound_ = std::make_unique<UsualSound>(loop_, audio_sources_.server(), *desktop_.sound);
  station_ = std::make_unique<console::Station>(
      console::StationParts{.loop = loop_,
                            .files = files_,
                            .rig_port = rig_port_,
                            .folder = folder_,
                            .data = DataFolder(),
                            .speech = desktop_.speech.get(),
                            .guard = &release_guard_,
                            .after_crash = lock_->after_crash(),
                            .keyer_port = &keyer_port_,
                            .keyer_guard = &keyer_guard_,
                            .text_guard = &text_guard_,
                            .key_line = [this](const keyer::KeyerSettings& settings) { return MakeKeyLine(settings); },
                            .net = &net_server_,
                            .loggers = {.cat = &logger_port_, .winkey = &logger_winkey_port_, .processes = &processes_},
                            .dde = &dde_gateway_,
                            .rotator = &rotator_port_,
                            .parallel = &parallel_lines_,
                            .worker = &worker_,
                            .audio_devices = &audio_sources_,
                            .audio_input = [this](const std::string& source) { return audio_sources_.Make(source); }});
  rig_opened_ = station_->console.Subscribe([this](Field field) {
    if (field == Field::kPort && *station_->console.Port == "open") rig_has_opened_ = true;
  });
  audio_sources_.FollowDial([this] { return static_cast<double>(station_->console.FreqDisp->decihertz) / 10; });
  parallel_lines_.on_notice = [this](const std::string& line) { station_->Notice(line); };
  if (desktop_.speech) desktop_.speech->on_notice = [this](const std::string& line) { station_->Notice(line); };
  setup_ = std::make_unique<console::StationSetup>(loop_, *station_, files_, devices_);
  editor_ = std::make_unique<console::RigEditor>(*station_, files_);
  tone_ = std::make_unique<console::LocalTone>(loop_, files_, *setup_, sound_.get());
  return Ok();
}

void Program::Start() {
  for (const std::string& complaint : platform::ReadPortTable(files_, folder_).complaints) station_->Notice(complaint);
  station_->Start();
  if (demo_ && unconfigured()) {
    UseSimulatedRig();
    AddSimulatedLines(files_, folder_);
    console::FillForDemonstration(*station_);
  } else if (demo_) {
    if (const Status used = setup_->UseSimulatedKeyer(); !used) station_->Notice(used.error().message);
  }
  if (demo_ && !files_.Exists(folder_ / "SpecDisplay.pos")) (void)station_->audio->Set("source", "sim:receiver");
}

std::unique_ptr<platform::SerialPort> Program::MakePort(const std::string& address) {
  if (address.starts_with("pty:")) return std::make_unique<platform::PtyPort>(address.substr(4));
  if (address.starts_with("tcp:")) return std::make_unique<platform::TcpPort>(address.substr(4));
  if (address.starts_with("sim:")) {
    auto port = std::make_unique<sim::SimulatedPort>(address, loop_);
    audio_sources_.ListenTo(*port);
    return port;
  }
  return std::make_unique<platform::QtSerialDevice>(address);
}

/// A virtual port tells when the logger has closed its end.
std::unique_ptr<platform::SerialPort> Program::MakeLoggerPort(const std::string& address,
                                                              std::function<void()> far_end_closed) {
  auto port = MakePort(address);
  if (auto* pty = dynamic_cast<platform::PtyPort*>(port.get())) {
    pty->on_visit_ended = std::move(far_end_closed);
  }
  return port;
}

/// A device of this machine is keyed by a thread of its own, any other port by the loop.
std::unique_ptr<platform::KeyLine> Program::MakeKeyLine(const keyer::KeyerSettings& settings) {
  using keyer::KeyerKind;
  const platform::KeyLines lines{settings.key_on_rts, settings.use_ptt, settings.inverted};
  const auto thread = [this](std::unique_ptr<platform::KeyOutput> output) {
    return std::make_unique<platform::ThreadKeyLine>(loop_, std::move(output));
  };
  if (settings.kind == KeyerKind::kLptPin) {
    const std::string path = platform::ReadPortTable(files_, folder_).ParallelAddressOf(settings.port);
    return thread(std::make_unique<platform::ParallelKeyOutput>(parallel_ports_, path, lines));
  }
  if (settings.kind == KeyerKind::kRigLine) {
    if (IsDevice(platform::ReadPortTable(files_, folder_).AddressOf(station_->settings().rig_port)))
      return thread(std::make_unique<platform::SerialKeyOutput>([this] { return DeviceOf(rig_port_); }, lines));
    return std::make_unique<keyer::PortKeyLine>(loop_, rig_port_, lines, std::nullopt);
  }
  const std::string address = platform::ReadPortTable(files_, folder_).AddressOf(settings.port);
  if (IsDevice(address)) return thread(std::make_unique<platform::SerialKeyOutput>(address, lines));
  return std::make_unique<keyer::PortKeyLine>(loop_, key_line_port_, lines,
                                              platform::PortSettings{.number = settings.port});
}

/// The demonstration has no lines but those of a register.
std::unique_ptr<platform::ParallelPort> Program::MakeParallelPort(int number) {
  const platform::PortTable table = platform::ReadPortTable(files_, folder_);
  const std::string address = demo_ && !table.parallel.contains(number) ? "sim:lpt" : table.ParallelAddressOf(number);
  if (!IsDevice(address)) return std::make_unique<platform::ShadowParallelPort>();
  return std::make_unique<platform::PosixDataLines>(parallel_ports_, address);
}

void Program::Speak(const std::string& sentence) {
  constexpr int kTopic = -2;  // of nothing that the announcer tells
  if (desktop_.speech) desktop_.speech->Say(kTopic, sentence);
}

bool Program::unconfigured() const {
  return *station_->console.RigName == "NONE" && station_->settings().rig_port == 0;
}

void Program::UseSimulatedRig() {
  if (auto used = setup_->UseSimulatedRig(); !used) station_->Notice(used.error().message);
  if (auto used = setup_->UseSimulatedKeyer(); !used) station_->Notice(used.error().message);
}

std::string Program::OperateSimulatedRig(std::string_view command) {
  auto* port = dynamic_cast<sim::SimulatedPort*>(rig_port_.backend());
  return port == nullptr || port->device() == nullptr ? std::string() : port->device()->Operate(command);
}

/// The transmitter has been released behind the station's back.
void Program::StopKeying() {
  if (station_) station_->Escape();
  const std::string why = watch_.Resume();
  if (station_ && !why.empty()) station_->Notice(why);
}

void Program::Stop() {
  if (!station_) {
    if (on_ended) on_ended();
    return;
  }
  if (!std::exchange(stopping_, true)) shut_down_ = ShutDown();
}

/// Behind the shut-down: whether what this console, or one before it, has keyed was out of reach to the end.
bool Program::leaves_keyed() const {
  const keyer::WinKeyer* winkeyer = station_->keyer.winkeyer();
  const bool has_keyer = winkeyer != nullptr && station_->keyer.settings().kind == keyer::KeyerKind::kWinkey;
  if (*station_->console.Transmitting || (has_keyer && winkeyer->owes_release())) return true;
  if (station_->engine.dispatcher.has_put_aside()) return true;
  if (!lock_->after_crash()) return false;
  const bool has_rig = station_->settings().rig_port != 0 && *station_->console.RigName != "NONE";
  return (has_rig && !rig_has_opened_) || (has_keyer && winkeyer->version() == 0);
}

Task Program::ShutDown() {
  Task closing = station_->ShutDown();
  co_await closing;
  if (leaves_keyed()) lock_->KeepName();
  // Not from inside this procedure: whoever hears of the end may destroy it.
  loop_.StartTimer(loop_.Now(), [this] {
    if (on_ended) on_ended();
  });
}

}  // namespace kvx::app
