#include "console/footer_panel.h"

#include <QHBoxLayout>
#include <QPainter>
#include <QPixmap>

#include "console/keyer_lamp.h"
#include "console/scan_panel.h"
#include "core/text.h"

namespace kvx::console {
namespace {

/// A round lamp for a line of that height.
QIcon Lamp(const QColor& color, int height) {
  QPixmap lamp(2 * height, 2 * height);
  lamp.fill(Qt::transparent);
  QPainter painter(&lamp);
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setPen(Qt::NoPen);
  painter.setBrush(color);
  painter.drawEllipse(lamp.rect().adjusted(height / 2, height / 2, -height / 2, -height / 2));
  return lamp;
}

}  // namespace

FooterPanel::FooterPanel(Station& station, const widgets::Appearance& appearance)
    : Panel(station, "panel"), appearance_(appearance) {
  const int gap = fontMetrics().height() / 2;
  auto* row = new QHBoxLayout(this);
  row->setContentsMargins(2 * gap, gap / 2, 2 * gap, gap / 2);
  row->setSpacing(2 * gap);
  port_ = MakeLabel(tr("Rig port"), "lamp");
  polling_ = new widgets::LampButton(tr("Polling"), tr("Ask the rig for its state"));
  polling_->SetRole("lamp");
  polling_->setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Preferred);
  connect(polling_, &QPushButton::clicked, this, [this] { station_.console.Polling.Set(!*station_.console.Polling); });
  message_ = widgets::WithRole(new widgets::ElidedLabel, "message");
  message_->setAccessibleName(tr("Message"));
  message_->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
  message_->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
  row->addWidget(port_);
  row->addWidget(polling_);
  keyer_ = MakeLabel(tr("Keyer"), "lamp");
  keyer_->setTextFormat(Qt::RichText);
  row->addWidget(keyer_);
  logger_ = MakeLink(tr("Logger"), tr("Link to the logger"),
                     tr("Communicate with N1MM or CWSkimmer through a virtual pair of comm ports."), "Ctrl+Shift+N");
  logger_keyer_ = MakeLink(tr("CW in"), tr("Link from the logger to the WinKeyer"),
                           tr("Communicate with Winkeyer through a virtual pair of comm ports."), "Ctrl+Shift+K");
  connect(logger_, &QPushButton::clicked, this, [this] {
    if (on_logger) on_logger(!logger_->isChecked());
  });
  connect(logger_keyer_, &QPushButton::clicked, this, [this] {
    if (on_logger_keyer) on_logger_keyer(!logger_keyer_->isChecked());
  });
  row->addWidget(logger_);
  row->addWidget(logger_keyer_);
  net_ = MakeLink(tr("NET"), tr("NET rigctl server"),
                  tr("Lets WSJT-X, fldigi and other programs for \"Hamlib NET rigctl\" use this rig."), "Ctrl+Shift+R");
  connect(net_, &QPushButton::clicked, this, [this] {
    if (on_net) on_net(!net_->isChecked());
    ShowNet();
  });
  net_->setVisible(station_.net != nullptr);
  row->addWidget(net_);
  dde_ = MakeLabel(tr("DDE"), "quiet");
  dde_->setToolTip(tr("The frequency that DDE clients were told last"));
  dde_->hide();
  row->addWidget(dde_);
  announcement_ = new widgets::AnnouncementLabel;
  announcement_->setProperty("role", "quiet");
  row->addWidget(announcement_);
  scan_ = MakeLabel(tr("Scan"), "chip-on");
  scan_->hide();
  row->addWidget(scan_);
  following_ = station.functions.scanner.changed.Follow([this] { ShowScan(); });
  row->addWidget(message_, 1);
  connect(&appearance_, &widgets::Appearance::Changed, this,
          [this] { ShowPort(), ShowPolling(), ShowKeyer(), ShowLinks(), net_shown_.clear(), ShowNet(); });
}

void FooterPanel::Follow(Field field) {
  const Console& console = station_.console;
  switch (field) {
    case Field::kPort:
    case Field::kRigName:
      return ShowPort();
    case Field::kPolling:
      return ShowPolling();
    case Field::kKeyer:
    case Field::kCwSpeed:
      return ShowKeyer();
    case Field::kLoggerLink:
    case Field::kKeyerLink:
      return ShowLinks();
    case Field::kRiggmt:  // clients come and go without a word
      return ShowNet();
    case Field::kDde:
      ShowText(dde_, ToQt(*console.DdeBox));
      return dde_->setVisible(!console.DdeBox->empty());
    case Field::kAnnounce:
      return announcement_->setVisible(*console.Announce);
    case Field::kSpkbx:
      announcement_->setVisible(!console.SPKBX->empty());
      return announcement_->Show(ToQt(*console.SPKBX));
    case Field::kMsgArea:
      return ShowMessage(ToQt(*console.MsgArea));
    case Field::kErrorText:
      if (!console.ErrorText->empty()) ShowMessage(ToQt(*console.ErrorText));  // cleared: the last message stays
      return;
    default:
      return;
  }
}

void FooterPanel::ShowMessage(const QString& text) {
  message_->setToolTip(text);
  ShowText(message_, text);
}

void FooterPanel::ShowKeyer() {
  const bool good = *station_.console.KeyerState == "ready" || *station_.console.KeyerState == "busy";
  const QString speed = good ? tr(" · %1 wpm").arg(*station_.console.CWSpeed) : QString();
  keyer_->setText(KeyerLamp(station_, appearance_.theme()) + speed);
  keyer_->setAccessibleDescription(KeyerState(station_) + speed);
  keyer_->setVisible(station_.keyer.settings().kind != keyer::KeyerKind::kNone);
}

/// Polling and the links have the same form.
widgets::LampButton* FooterPanel::MakeLink(const QString& text, const QString& name, const QString& tip,
                                           const char* keys) {
  auto* button = new widgets::LampButton(text, name);
  button->SetRole("lamp");
  button->setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Preferred);
  button->setShortcut(QKeySequence(keys));
  widgets::Named(button, name, tip, button->shortcut());
  return button;
}

/// Green: on. Red: on, and its port is closed.
void FooterPanel::ShowLink(widgets::LampButton* button, const QString& name, bool on, bool open,
                           const std::string& state) {
  const widgets::Theme& theme = appearance_.theme();
  const int height = button->fontMetrics().height();
  const QString word = !on ? tr("off") : open ? tr("on") : tr("closed");
  button->SetLit(on);
  button->SetText(name + " " + word);
  button->setIconSize(QSize(height, height));
  button->setIcon(Lamp(!on ? theme.quiet_ink : open ? theme.green : theme.red, height));
  button->setAccessibleDescription(ToQt(state));
}

void FooterPanel::ShowLinks() {
  for (QWidget* button : {logger_, logger_keyer_}) button->setVisible(station_.loggers != nullptr);
  if (!station_.loggers) return;
  const auto show = [this](widgets::LampButton* button, const QString& name, const auto& link) {
    ShowLink(button, name, link.is_on(), link.is_open(), link.state());
  };
  show(logger_, tr("Logger"), station_.loggers->logger);
  show(logger_keyer_, tr("CW in"), station_.loggers->winkey);
}

void FooterPanel::ShowNet() {
  if (!station_.net) return;
  std::string state = station_.net->state();
  if (state == net_shown_) return;
  net_shown_ = std::move(state);
  ShowLink(net_, tr("NET"), station_.net->settings().on, station_.net->is_listening(), net_shown_);
}

void FooterPanel::ShowScan() {
  const functions::Scanner& scanner = station_.functions.scanner;
  const QString line = ScanLine(scanner.state());
  ShowText(scan_, line);
  scan_->setToolTip(tr("%1 (Esc ends the scan)").arg(line));
  scan_->setVisible(scanner.running());
  if (!scanner.running()) station_.Notice(tr("Scan: %1").arg(line).toStdString());
}

/// A lamp is told by its colour and by its words.
void FooterPanel::ShowPort() {
  const bool open = station_.engine.link.is_open();
  const config::StationSettings& settings = station_.settings();
  const QString name = settings.rig_port == 0 ? tr("No rig port") : QString("COM%1").arg(settings.rig_port);
  const widgets::Theme& theme = appearance_.theme();
  const QString lamp = QString("<span style='color:%1'>●</span> ").arg((open ? theme.green : theme.red).name());
  port_->setTextFormat(Qt::RichText);
  port_->setText(lamp + (name + (settings.rig_port == 0 ? QString()
                                 : open                 ? tr(" open")
                                                        : tr(" closed")))
                            .toHtmlEscaped());
  port_->setToolTip(ToQt(*station_.console.Port));
  port_->setAccessibleDescription(name + " " + ToQt(*station_.console.Port));
}

void FooterPanel::ShowPolling() {
  const bool on = *station_.console.Polling;
  polling_->SetLit(on);
  polling_->setText(on ? tr("Polling") : tr("Not polling"));
  polling_->setIconSize(QSize(1, 1) * polling_->fontMetrics().height());
  polling_->setIcon(
      Lamp(on ? appearance_.theme().green : appearance_.theme().quiet_ink, polling_->fontMetrics().height()));
}

}  // namespace kvx::console
