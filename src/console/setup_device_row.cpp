#include "console/setup_device_row.h"

#include <QCoreApplication>
#include <QLineEdit>
#include <QSignalBlocker>

#include "widgets/qt_text.h"

namespace kvx::console {
namespace {

QString Tr(const char* text) {
  return QCoreApplication::translate("SetupDeviceRow", text);
}

}  // namespace

SetupDeviceRow::SetupDeviceRow(StationSetup& setup, SetupForm& form, std::string port_key, const QString& label,
                               bool virtual_port)
    : setup_(setup), form_(form), port_key_(std::move(port_key)), virtual_port_(virtual_port), box_(NewDeviceBox()) {
  connect(box_, &QComboBox::activated, this, [this](int index) {
    // The list shows what the device is; what counts, and stays in the box, is its address.
    if (index >= 0) box_->setEditText(box_->itemData(index).toString());
    Keep();
  });
  connect(box_->lineEdit(), &QLineEdit::editingFinished, this, [this] { Keep(); });
  form_.AddRow(label, box_, Tr("What stands behind that port: a serial device, or pty:PATH, tcp:HOST:PORT"));
}

void SetupDeviceRow::Refresh() {
  const int port = number();
  const QSignalBlocker quiet(box_);
  box_->clear();
  if (virtual_port_ && port > 0) Add("pty:/tmp/kvx-com" + std::to_string(port), Tr("a virtual port").toStdString());
  for (const DeviceChoice& choice : setup_.Devices()) Add(choice.device.address, choice.device.description);
  box_->setCurrentIndex(-1);
  box_->setEditText(port == 0 ? QString() : widgets::ToQt(setup_.AddressOf(port)));
  box_->lineEdit()->setCursorPosition(0);
  box_->lineEdit()->setModified(false);
  box_->setEnabled(port > 0);
}

void SetupDeviceRow::Add(const std::string& address, const std::string& description) {
  const QString shown = widgets::ToQt(address);
  box_->addItem(widgets::ToQt(description) + "  –  " + shown, shown);
  box_->setItemData(box_->count() - 1, shown, Qt::ToolTipRole);
}

void SetupDeviceRow::Keep() {
  const int port = number();
  const std::string address = box_->currentText().trimmed().toStdString();
  if (port == 0 || address == setup_.AddressOf(port)) return;
  form_.Show(setup_.SetDevice(port, address), Tr("The device of COM%1 is kept").arg(port));
}

}  // namespace kvx::console
