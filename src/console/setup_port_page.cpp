#include "console/setup_port_page.h"

#include <QLineEdit>
#include <QSignalBlocker>
#include <tuple>

#include "config/station_settings.h"
#include "console/usual_port.h"
#include "core/text.h"
#include "platform/ports_file.h"
#include "widgets/qt_text.h"

namespace kvx::console {
namespace {

constexpr int kUsualSpeeds[] = {1200, 2400, 4800, 9600, 14400, 19200, 38400, 56000, 57600, 115200};

}  // namespace

SetupPortPage::SetupPortPage(StationSetup& setup)
    : setup_(setup), form_(this, tr("Port"), tr("How the rig is connected. Changes count when they are applied.")) {
  AddDevice();
  AddLine();
  AddState();
  form_.End();
  Refresh();
}

void SetupPortPage::AddDevice() {
  form_.BeginPanel(tr("Device"));
  number_ = new QSpinBox;
  number_->setRange(0, platform::kHighestPort);
  number_->setSpecialValueText(tr("none"));
  number_->setPrefix("COM");
  connect(number_, &QSpinBox::valueChanged, this, [this](int number) { NumberChosen(number); });
  form_.AddRow(tr("Port &number"), number_, tr("The number that the settings know the port by, 1 to 99; 0: none"));
  device_ = NewDeviceBox();
  connect(device_, &QComboBox::activated, this, [this](int index) {
    // The list shows what the device is; what counts, and stays in the box, is its address.
    if (index >= 0) device_->setEditText(device_->itemData(index).toString());
  });
  connect(device_, &QComboBox::editTextChanged, this, [this] { Edited(); });
  form_.AddRow(tr("&Device"), device_, tr("A serial device by its lasting name; or pty:PATH, tcp:HOST:PORT, sim:NAME"));
  description_ = form_.AddNote({});
  form_.AddButtons(
      {MakeSetupButton(tr("Look for devices a&gain"), tr("Lists what is plugged in now"), [this] { ListDevices(); })});
}

void SetupPortPage::AddLine() {
  form_.BeginPanel(tr("Line"));
  speed_ = new QComboBox;
  speed_->setEditable(true);
  speed_->setInsertPolicy(QComboBox::NoInsert);
  speed_->setCompleter(nullptr);
  for (const int speed : kUsualSpeeds) speed_->addItem(QString::number(speed));
  connect(speed_, &QComboBox::editTextChanged, this, [this] { Edited(); });
  form_.AddRow(tr("&Speed"), speed_, tr("Baud, as set in the rig's menu"));
  stop_bits_ = new QComboBox;
  stop_bits_->addItems({"1", "2"});
  for (QComboBox* box : {speed_, stop_bits_}) box->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
  connect(stop_bits_, &QComboBox::currentIndexChanged, this, [this] { Edited(); });
  form_.AddRow(tr("Stop &bits"), stop_bits_, tr("8 data bits and no parity always; older Yaesu rigs take 2 stop bits"));
  for (auto [box, text, tip, key] :
       {std::tuple(&dtr_, tr("Raise DT&R"), tr("Some cables are powered by it; on others it keys"), "Alt+R"),
        std::tuple(&rts_, tr("Raise R&TS"), tr("Some cables are powered by it; on others it is PTT"), "Alt+T")}) {
    *box = new QCheckBox(text);
    (*box)->setAccessibleName(QString(text).remove('&'));
    (*box)->setToolTip(QString("%1 (%2)").arg(tip, key));
    connect(*box, &QCheckBox::toggled, this, [this] { Edited(); });
    form_.AddWide(*box);
  }
  usual_ = form_.AddNote({});
  usual_->setAccessibleName(tr("How the rig's port leaves the factory"));
  usual_button_ =
      MakeSetupButton(tr("&Usual for this rig"), tr("Puts what the rig leaves the factory with into the fields above"),
                      [this] { ProposeUsual(); });
  form_.AddButtons({usual_button_});
}

void SetupPortPage::AddState() {
  form_.BeginPanel(tr("State"));
  state_ = MakeSetupLabel({}, "title");
  state_->setAccessibleName(tr("State of the rig port"));
  form_.AddWide(state_);
  apply_ = MakeSetupButton(tr("&Apply"), tr("Keeps the settings and opens the port with them"), [this] { Apply(); });
  test_button_ = MakeSetupButton(tr("T&est"), tr("Asks the rig for its frequency and says what came back"),
                                 [this] { StartTest(); });
  form_.AddButtons({apply_, test_button_});
  answer_ = MakeSetupLabel({}, "quiet");
  answer_->setAccessibleName(tr("What the test found"));
  form_.AddWide(answer_);
}

void SetupPortPage::Refresh() {
  ListDevices();
  if (proposed_for_.empty() || proposed_for_ != *setup_.station().console.RigName) Load(setup_.RigPort());
  ShowUsual();
  ShowState();
}

void SetupPortPage::Follow(Field field) {
  if (field != Field::kPort && field != Field::kRigName) return;
  ShowState();
  if (field == Field::kRigName) ShowUsual();
  if (Entered() == applied_ && applied_ != setup_.RigPort()) Load(setup_.RigPort());
}

void SetupPortPage::ListDevices() {
  listed_ = setup_.Devices();
  const QString typed = device_->currentText();
  {
    const QSignalBlocker quiet(device_);
    device_->clear();
    for (const DeviceChoice& choice : listed_) {
      const QString address = widgets::ToQt(choice.device.address);
      device_->addItem(widgets::ToQt(choice.device.description) + "  \u2013  " + address, address);
      device_->setItemData(device_->count() - 1, address, Qt::ToolTipRole);
    }
    device_->setCurrentIndex(-1);
    device_->setEditText(typed);
  }
  DescribeDevice();
}

void SetupPortPage::DescribeDevice() {
  const std::string address = device_->currentText().trimmed().toStdString();
  QString text;
  for (const DeviceChoice& choice : listed_) {
    const platform::Device& device = choice.device;
    if (device.address != address && (device.leads_to.empty() || device.leads_to != address)) continue;
    text = widgets::ToQt(device.description);
    if (!device.leads_to.empty() && device.leads_to != address)
      text += tr(", now %1").arg(widgets::ToQt(device.leads_to));
    if (device.address != address) text += tr(", lasting name %1").arg(widgets::ToQt(device.address));
  }
  description_->setText(text);
  description_->setVisible(!text.isEmpty());
}

void SetupPortPage::Load(const RigPortChoice& choice) {
  applied_ = choice;
  proposed_for_.clear();
  Fill(choice);
}

void SetupPortPage::Fill(const RigPortChoice& choice) {
  loading_ = true;
  number_->setValue(choice.number);
  device_->setEditText(widgets::ToQt(choice.address));
  device_->lineEdit()->setCursorPosition(0);
  speed_->setEditText(QString::number(choice.speed));
  stop_bits_->setCurrentIndex(choice.stop_bits - 1);
  dtr_->setChecked(choice.dtr);
  rts_->setChecked(choice.rts);
  loading_ = false;
  Edited();
}

/// What has been typed stays, but for what the rig has a say in.
void SetupPortPage::ProposeUsual() {
  const config::RigSetup* setup = setup_.UsualSetup();
  if (setup == nullptr || setup->speed == 0) return form_.Show(setup_.UsualRigPort().error());
  if (Entered() == applied_) Load(setup_.RigPort());
  Fill(WithUsual(Entered(), *setup));
  const bool differs = Entered() != applied_;
  proposed_for_ = differs ? *setup_.station().console.RigName : "";
  form_.Show(Ok(), differs ? tr("Filled in as the rig leaves the factory: compare with its menu, then apply")
                           : tr("The port is set as the rig leaves the factory"));
}

void SetupPortPage::ShowUsual() {
  const config::RigSetup* setup = setup_.UsualSetup();
  usual_->setVisible(setup != nullptr);
  usual_button_->setEnabled(setup != nullptr && setup->speed > 0);
  if (setup == nullptr) return;
  usual_->setText(tr("%1: %2").arg(widgets::ToQt(setup->rig), widgets::ToQt(UsualSentence(*setup))));
}

/// Each number has a device and line switches of its own.
void SetupPortPage::NumberChosen(int number) {
  if (loading_) return;
  RigPortChoice stored = setup_.PortNumbered(number);
  if (const config::RigSetup* setup = proposed_for_.empty() ? nullptr : setup_.UsualSetup())
    stored = WithUsual(stored, *setup);
  loading_ = true;
  device_->setEditText(widgets::ToQt(stored.address));
  device_->lineEdit()->setCursorPosition(0);
  dtr_->setChecked(stored.dtr);
  rts_->setChecked(stored.rts);
  loading_ = false;
  Edited();
}

RigPortChoice SetupPortPage::Entered() const {
  RigPortChoice choice{.number = number_->value(), .stop_bits = stop_bits_->currentIndex() + 1};
  choice.speed = static_cast<int>(ParseNumber(speed_->currentText().toStdString(), 0, 100'000'000).value_or(0));
  if (choice.number == 0) return choice;
  choice.address = device_->currentText().trimmed().toStdString();
  choice.dtr = dtr_->isChecked();
  choice.rts = rts_->isChecked();
  return choice;
}

void SetupPortPage::Edited() {
  if (loading_) return;
  const int number = number_->value();
  device_->setEnabled(number > 0);
  for (QCheckBox* box : {dtr_, rts_}) box->setEnabled(number > 0 && number < config::kSwitchedPorts);
  const bool changed = Entered() != applied_;
  test_button_->setText(changed ? tr("Apply and t&est") : tr("T&est"));
  test_button_->setAccessibleName(test_button_->text().remove('&'));
  DescribeDevice();
}

void SetupPortPage::ShowState() {
  const config::StationSettings& settings = setup_.station().settings();
  const std::string& port = *setup_.station().console.Port;
  const bool open = port == "open";
  widgets::SetRole(state_, open || settings.rig_port == 0 ? "title" : "error");
  state_->setText(
      settings.rig_port == 0
          ? tr("No port is chosen")
          : QString("COM%1  %2 Bd  %3").arg(settings.rig_port).arg(settings.rig_speed).arg(widgets::ToQt(port)));
}

bool SetupPortPage::Apply() {
  const Status applied = setup_.ApplyRigPort(Entered());
  form_.Show(applied, tr("Applied"));
  if (!applied) return false;
  answer_->clear();
  Load(setup_.RigPort());
  ShowState();
  return true;
}

void SetupPortPage::StartTest() {
  if (!test_.done()) return;
  if (Entered() != applied_ && !Apply()) return;
  form_.Show(Ok());
  widgets::SetRole(answer_, "quiet");
  answer_->setText(tr("Asking the rig ..."));
  test_ = Test();
}

Task SetupPortPage::Test() {
  const auto result = std::make_shared<RigTestResult>();
  Task asking = setup_.TestRig(result);
  co_await asking;
  widgets::SetRole(answer_, result->answered ? "title" : "error");
  answer_->setText(widgets::ToQt(result->sentence));
}

}  // namespace kvx::console
