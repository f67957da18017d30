#pragma once

#include <QFrame>
#include <QLabel>
#include <QString>
#include <string_view>

#include "console/station.h"
#include "widgets/appearance.h"
#include "widgets/lamp_button.h"
#include "widgets/qt_text.h"

namespace kvx::console {

/// A part of the console window. It shows some of the station's state, follows it field by field, and hands what the
/// operator does to the station's operations.
class Panel : public QFrame {
 public:
  Panel(Station& station, const char* role, QWidget* parent = nullptr);
  /// Shows what has become of a field.
  virtual void Follow(Field field) = 0;
  /// Tells the operator why a command was not sent, if it was not.
  void Report(cat::SendOutcome outcome);
  void Report(const Status& status);

 protected:
  /// Whether the rig has something for the key. A station without a rig, or with one that is set by hand, offers
  /// everything that changes the console itself.
  bool Offers(std::string_view key) const;
  bool set_by_hand() const;

  Station& station_;
};

using widgets::ShowText;
using widgets::ToQt;
/// A label with a name for the screen reader and a role for the style sheet.
QLabel* MakeLabel(const QString& name, const char* role);

}  // namespace kvx::console
