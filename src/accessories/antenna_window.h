#pragma once

#include <QMainWindow>
#include <array>
#include <functional>

#include "accessories/antenna_setup.h"
#include "core/console.h"
#include "widgets/appearance.h"
#include "widgets/compass_rose.h"
#include "widgets/lamp.h"

QT_BEGIN_NAMESPACE
class QCheckBox;
class QLabel;
class QLineEdit;
class QScrollArea;
QT_END_NAMESPACE

namespace kvx::accessories {

/// The antenna window: goes to a bearing that is typed, turned on the compass rose or computed from a locator; switches
/// an antenna by hand; its lower part, shown and hidden, has the setup. Everything is borrowed.
class AntContF final : public QMainWindow {
  Q_OBJECT

 public:
  AntContF(AntennaControl& antennas, Console& console, const widgets::Appearance& appearance,
           QWidget* parent = nullptr);

  /// One line on what went wrong, until the next action.
  void ShowMessage(const QString& message);

  std::function<void()> on_port_settings;                  ///< the other windows are wanted
  std::function<void()> on_direct_port;                    //
  std::function<void(const QString& message)> on_message;  ///< a box is to be shown

 protected:
  void showEvent(QShowEvent* event) override;
  void closeEvent(QCloseEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;

 private:
  struct AntennaRow {
    widgets::Lamp* lamp;
    QPushButton* button;
  };

  QWidget* MakeRose();
  QWidget* MakeBearing();
  QWidget* MakeAntennas();
  QLayout* MakeState();
  void Send();
  void PressAntenna(int antenna);
  void ShowSetup(bool shown);
  void Show();
  void ShowTarget();
  void ShowPorts();
  void Tell(const Status& status);

  AntennaControl& antennas_;
  Console& console_;
  const widgets::Appearance& appearance_;
  QScrollArea* scroll_;
  widgets::CompassRose* rose_ = nullptr;
  QLineEdit* bearing_ = nullptr;  ///< IBearing
  QCheckBox* long_path_ = nullptr;
  QLabel* target_ = nullptr;
  QLabel* command_ = nullptr;
  QLabel* last_ = nullptr;  ///< LastBearing
  QLabel* port_ = nullptr;
  QLabel* lines_ = nullptr;
  QLabel* message_ = nullptr;
  QPushButton* setup_button_ = nullptr;
  AntennaSetup* setup_ = nullptr;
  std::array<AntennaRow, kAntennas> rows_{};
  Listeners::Following following_;
  Console::Subscription subscription_;
};

}  // namespace kvx::accessories
