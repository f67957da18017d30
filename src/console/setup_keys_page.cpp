#include "console/setup_keys_page.h"

#include <QLabel>
#include <string_view>

#include "widgets/qt_text.h"

namespace kvx::console {
namespace {

constexpr std::string_view kLoggerPort = "CWSKIMMER=";
constexpr std::string_view kLoggerKeyerPort = "WINKEYIN=";
constexpr std::string_view kLoggerProgram = "N1MMEXE=";
constexpr std::string_view kNetWrite = "NETWRITE=";
constexpr std::string_view kDdeServer = "DDESERVER=";
constexpr const char* kLoggerHelp = QT_TRANSLATE_NOOP(
    "SetupKeysPage",
    "To set up cw skimmer or N1MM you first must install some virtual serial port emulator such as com0com (free on "
    "the internet). Once you have a pair of virtual ports defined you can continue. Choose this program's end of the "
    "pair here and the other end in the other program. On Linux nothing has to be installed: with the device "
    "pty:/tmp/logger behind a port the other end of the pair is /tmp/logger.");

}  // namespace

SetupKeysPage::SetupKeysPage(StationSetup& setup)
    : setup_(setup),
      rows_(new QWidget),
      form_(rows_, tr("Links"), tr("Other programs that use this station. Each change counts at once.")),
      keys_(setup, form_) {
  keys_.on_kept = [this](const config::KeptSetting&) { Refresh(); };
  std::string_view group;
  for (const config::KeptSetting& setting : config::KeptSettings()) {
    if (setting.owner != config::SettingOwner::kLinks) continue;
    if (group != setting.group) form_.BeginPanel(tr(setting.group));
    group = setting.group;
    if (setting.key == kLoggerPort) form_.AddNote(tr(kLoggerHelp));
    keys_.Add(setting);
    if (setting.key == kLoggerPort) devices_.push_back(NewDevice(setting.key, tr("&Device")));
    if (setting.key == kLoggerKeyerPort) devices_.push_back(NewDevice(setting.key, tr("D&evice for CW")));
    if (setting.key == kLoggerProgram) logger_ = AddState(tr("State of the links to the logger"));
    if (setting.key == kNetWrite) net_ = AddState(tr("State of the NET rigctl server"));
    if (setting.key == kDdeServer) dde_ = AddState(tr("State of the DDE server"));
  }
  LayOutLongPage(this, rows_, form_);
  Refresh();
}

std::unique_ptr<SetupDeviceRow> SetupKeysPage::NewDevice(const std::string& port_key, const QString& label) {
  return std::make_unique<SetupDeviceRow>(setup_, form_, port_key, label, true);
}

QLabel* SetupKeysPage::AddState(const QString& name) {
  QLabel* label = MakeSetupLabel({}, "quiet");
  label->setAccessibleName(name);
  form_.AddWide(label);
  return label;
}

void SetupKeysPage::Refresh() {
  keys_.Refresh();
  for (const auto& device : devices_) device->Refresh();
  ShowStates();
}

void SetupKeysPage::Follow(Field field) {
  if (field == Field::kLoggerLink || field == Field::kKeyerLink || field == Field::kDde) ShowStates();
  if (field == Field::kLoggerLink || field == Field::kKeyerLink) keys_.Refresh();  // also switched in the console
}

void SetupKeysPage::ShowStates() {
  const Station& station = setup_.station();
  if (station.net) net_->setText(tr("Now: %1").arg(widgets::ToQt(station.net->state())));
  if (station.dde) dde_->setText(tr("Now: %1").arg(widgets::ToQt(station.dde->state())));
  if (!station.loggers) return;
  logger_->setText(tr("Logger: %1. CW: %2. %3")
                       .arg(widgets::ToQt(station.loggers->logger.state()),
                            widgets::ToQt(station.loggers->winkey.state()),
                            widgets::ToQt(station.loggers->program_state())));
}

}  // namespace kvx::console
