#pragma once

#include <QMainWindow>
#include <array>

#include "accessories/direct_port.h"
#include "accessories/field_controls.h"
#include "widgets/lamp.h"

QT_BEGIN_NAMESPACE
class QLabel;
QT_END_NAMESPACE

namespace kvx::accessories {

/// The direct port window: a lamp for each data line of a parallel port, and a button that latches or pulses it.
class DirectPF final : public QMainWindow {
  Q_OBJECT

 public:
  DirectPF(AntennaControl& antennas, DirectPort& direct, QWidget* parent = nullptr);

 protected:
  void showEvent(QShowEvent* event) override;
  void closeEvent(QCloseEvent* event) override;

 private:
  struct Line {
    widgets::Lamp* lamp = nullptr;
    QPushButton* button = nullptr;
  };

  QWidget* MakeLines(bool toggles, const QString& caption);
  QWidget* MakeOptions();
  void Press(int bit);
  void Show();
  QString CaptionOf(const DirectPort::Button& button) const;

  AntennaControl& antennas_;
  DirectPort& direct_;
  FieldControls controls_;
  std::array<Line, DirectPort::kBits> lines_;
  QLabel* message_ = nullptr;
  Listeners::Following following_fields_;
  Listeners::Following following_lamps_;
};

}  // namespace kvx::accessories
