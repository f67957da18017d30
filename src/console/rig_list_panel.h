#pragma once

#include <QFrame>
#include <functional>
#include <string>
#include <vector>

class QGridLayout;
class QLineEdit;
class QListWidget;
class QPushButton;

namespace kvx::console {

/// The rigs of the store in a list with a search box, and the buttons for whole rigs.
class RigListPanel final : public QFrame {
  Q_OBJECT

 public:
  explicit RigListPanel(QWidget* parent = nullptr);

  /// Lists these names; `in_use` is set off.
  void List(const std::vector<std::string>& names, const std::string& in_use);
  /// Marks the rig of that name as chosen, without on_chosen; none when it is not listed.
  void Mark(const std::string& name);
  /// Whether there is a rig to copy, rename or delete.
  void SetHasRig(bool has);
  QLineEdit& search() { return *search_; }

  std::function<void(const std::string& name)> on_chosen;
  std::function<void()> on_new, on_copy, on_rename, on_delete, on_import, on_export;

 protected:
  void changeEvent(QEvent* event) override;

 private:
  QPushButton* AddButton(QGridLayout& grid, const QString& text, const QString& tip, const QKeySequence& keys,
                         std::function<void()> RigListPanel::*action);
  void Filter();
  void FitToFont();

  QLineEdit* search_;
  QListWidget* list_;
  std::vector<QPushButton*> for_a_rig_;
  bool marking_ = false;
};

}  // namespace kvx::console
