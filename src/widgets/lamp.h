#pragma once

#include <QLabel>

namespace kvx::widgets {

/// A lamp beside what it tells of: a filled disc in the accent's colour while it is lit, else an empty one. A screen
/// reader reads "on" or "off".
class Lamp final : public QLabel {
  Q_OBJECT

 public:
  explicit Lamp(const QString& name, QWidget* parent = nullptr);

  void SetLit(bool lit);
  bool is_lit() const { return lit_; }

 private:
  void ShowLit();

  bool lit_ = false;
};

}  // namespace kvx::widgets
