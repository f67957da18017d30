#pragma once

#include <QCheckBox>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <array>
#include <functional>
#include <utility>
#include <vector>

#include "accessories/antenna_control.h"

namespace kvx::accessories {

inline constexpr std::array kAntennaNames{"One", "Two", "Three", "Four"};

/// A button that its keys press from anywhere in the window, without taking the focus; while it has the focus, Enter
/// does.
QPushButton* MakeButton(QWidget* window, const QString& text, const QString& tip, const QKeySequence& keys,
                        const std::function<void()>& action);

/// The controls of the antennas' fields in one window: what the operator enters goes to the field at once, and what is
/// changed elsewhere is shown. A line or box has the field's name as its object name. The window owns the controls.
class FieldControls final {
 public:
  struct Option {
    QString value;
    QString text;
  };

  explicit FieldControls(AntennaControl& antennas) : antennas_(antennas) {}

  /// `characters`: the width, 0: as wide as there is room.
  QLineEdit* Line(AntennaField field, const QString& name, const QString& tip, int characters = 0);
  QCheckBox* Box(AntennaField field, const QString& text, const QString& tip);
  /// The values of which a field has one, or another one.
  QList<QRadioButton*> Options(AntennaField field, const std::vector<Option>& options, const QString& tip);
  /// Shows every field as it is.
  void Refresh() const;
  /// Gives the narrow lines their width in this size of text.
  void Fit(const QFontMetrics& metrics) const;

  std::function<void(const Status& status)> on_entered;  ///< what came of an entry

 private:
  void Enter(AntennaField field, const QString& text) const;
  /// The same, kept in rig.ini at once.
  void Choose(AntennaField field, const QString& text) const;
  QString TextOf(AntennaField field) const;

  AntennaControl& antennas_;
  std::vector<std::function<void()>> refreshed_;
  std::vector<std::pair<QLineEdit*, int>> narrow_;
};

}  // namespace kvx::accessories
