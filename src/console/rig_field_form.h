#pragma once

#include <QWidget>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "config/rig_fields.h"

class QCheckBox;
class QFormLayout;
class QLabel;
class QLineEdit;
class QScrollArea;
class QTabBar;

namespace kvx::widgets {
class Appearance;
}

namespace kvx::console {

class RigEditor;

/// The fields of a rig definition: a group at a time, or those of every group that a text is found in. Texts are shown
/// as the editor gives them.
class RigFieldForm final : public QWidget {
  Q_OBJECT

 public:
  explicit RigFieldForm(const widgets::Appearance& appearance, QWidget* parent = nullptr);

  /// Shows the texts of the editor's working copy; without one the fields are greyed.
  void Load(const RigEditor& editor);
  /// The field that has or had the focus last.
  const config::RigField& focused() const { return *focused_; }
  /// Goes to the group with that field and focuses it.
  void GoTo(std::string_view field);
  /// Focuses the search box.
  void Find();
  /// Shows the next group, or the one before for -1.
  void Turn(int groups);

  std::function<void(const config::RigField& field, const std::string& text)> on_edited;
  std::function<void()> on_focused;

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  struct Row {
    const config::RigField* field;
    QWidget* holder;  ///< the form's row
    QLineEdit* edit = nullptr;
    QCheckBox* box = nullptr;
  };
  struct Section {
    QWidget* widget;
    QLabel* caption;
    QFormLayout* form;
    std::vector<Row> rows;
  };
  Section MakeSection(config::RigFieldGroup group);
  Row MakeRow(const config::RigField& field, QFormLayout& form);
  QWidget* MakeEditor(Row& row);
  bool Matches(const Row& row, const QString& text) const;
  void Filter();
  void FitToFont();

  QLineEdit* search_;
  QTabBar* tabs_;
  QScrollArea* area_;
  QLabel* nothing_;
  std::vector<Section> sections_;
  const config::RigField* focused_;
  bool loading_ = false;
};

}  // namespace kvx::console
