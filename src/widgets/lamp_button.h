#pragma once

#include <QPushButton>

namespace kvx::widgets {

/// A button whose lamp shows the station's state: a click asks for something, and the lamp lights when the station says
/// that it is so.
class LampButton final : public QPushButton {
 public:
  /// `name` tells what it does, for tool tip and screen reader.
  LampButton(const QString& text, const QString& name, QWidget* parent = nullptr);

  /// A small button (`role` "small" or "chip").
  void SetRole(const char* role);
  void SetLit(bool lit) { setChecked(lit); }
  /// Another text; its keys stay.
  void SetText(const QString& text);
  /// The keys that press it, shown in the tool tip.
  void SetKeys(const QKeySequence& keys);

 protected:
  void nextCheckState() override {}
};

}  // namespace kvx::widgets
