#include "console/setup_keys_page.h"

#include <QLabel>
#include <string_view>

namespace kvx::console {
namespace {

constexpr std::string_view kLoggerPort = "CWSKIMMER=";
constexpr std::string_view kLoggerProgram = "N1MMEXE=";
constexpr const char* kLoggerHelp = QT_TRANSLATE_NOOP(
    "SetupKeysPage",
    "To set up cw skimmer or N1MM you first must install some virtual serial port emulator such as com0com (free on "
    "the internet). Once you have a pair of virtual ports defined you can continue. Choose this program's end of the "
    "pair here and the other end in the other program. On Linux nothing has to be installed: with the line "
    "COM7=pty:/tmp/logger in ports.ini the other end of port 7 is /tmp/logger.");

}  // namespace

SetupKeysPage::SetupKeysPage(StationSetup& setup)
    : setup_(setup),
      rows_(new QWidget),
      form_(rows_, tr("Links"), tr("Other programs that use this station. Each change counts at once.")),
      keys_(setup, form_) {
  keys_.on_kept = [this](const config::KeptSetting&) { ShowLoggerState(); };
  std::string_view group;
  for (const config::KeptSetting& setting : config::KeptSettings()) {
    if (setting.owner != config::SettingOwner::kLinks) continue;
    if (group != setting.group) form_.BeginPanel(tr(setting.group));
    group = setting.group;
    if (setting.key == kLoggerPort) form_.AddNote(tr(kLoggerHelp));
    keys_.Add(setting);
    if (setting.key == kLoggerProgram) AddLoggerState();
  }
  LayOutLongPage(this, rows_, form_);
  Refresh();
}

void SetupKeysPage::AddLoggerState() {
  logger_ = MakeSetupLabel({}, "quiet");
  logger_->setAccessibleName(tr("State of the links to the logger"));
  form_.AddWide(logger_);
}

void SetupKeysPage::Refresh() {
  keys_.Refresh();
  ShowLoggerState();
}

void SetupKeysPage::ShowLoggerState() {
  const Station& station = setup_.station();
  if (!station.loggers) return logger_->clear();
  logger_->setText(tr("Logger: %1. CW: %2. %3")
                       .arg(QString::fromStdString(station.loggers->logger.state()),
                            QString::fromStdString(station.loggers->winkey.state()),
                            QString::fromStdString(station.loggers->program_state())));
}

}  // namespace kvx::console
