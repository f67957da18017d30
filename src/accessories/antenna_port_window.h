#pragma once

#include <QMainWindow>

#include "accessories/field_controls.h"

QT_BEGIN_NAMESPACE
class QLabel;
QT_END_NAMESPACE

namespace kvx::accessories {

/// The antenna port setup: the rotator's port with its speed and bits, or the rig's, and the parallel port. A choice
/// counts at once; it is kept, and the port opened with it, by Save and when the window closes.
class AntSpeedF final : public QMainWindow {
  Q_OBJECT

 public:
  explicit AntSpeedF(AntennaControl& antennas, QWidget* parent = nullptr);

 protected:
  void closeEvent(QCloseEvent* event) override;
  void changeEvent(QEvent* event) override;
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  QFrame* MakeOptions(AntennaField field, const QString& caption, const QString& tip, const char* prompt,
                      const std::vector<FieldControls::Option>& options, int columns);
  QFrame* MakeLine();
  void Prompt(QWidget* control, AntennaField field, const QString& sentence);
  void Save();

  AntennaControl& antennas_;
  FieldControls controls_;
  QLabel* state_ = nullptr;
  Listeners::Following following_;
};

}  // namespace kvx::accessories
