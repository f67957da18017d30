#pragma once

#include <QFormLayout>
#include <QLabel>
#include <QPushButton>
#include <QScrollArea>
#include <QVBoxLayout>
#include <functional>

#include "core/result.h"

class QComboBox;

namespace kvx::console {

/// Lays a page of the setup dialog out: a title, panels with labelled rows under each other, and one line that says
/// what came of the last change. The widgets belong to the page.
class SetupForm {
 public:
  SetupForm(QWidget* page, const QString& title, const QString& introduction);

  /// Rows added from now on stand in a new panel.
  QFrame* BeginPanel(const QString& caption);
  /// A labelled control. The label's mnemonic leads to it and names it.
  void AddRow(const QString& label, QWidget* control, const QString& tip);
  /// Something that needs no label, over the whole width.
  void AddWide(QWidget* widget);
  QLabel* AddNote(const QString& text);
  /// Buttons beside each other, wrapped into lines of their own where there is no room.
  void AddButtons(const QList<QPushButton*>& buttons);
  /// No more rows: the line for what came of a change follows, or goes below in that layout, where it stays in view
  /// while a long page scrolls.
  void End(QBoxLayout* below = nullptr);

  /// `done` when all is well, else why not.
  void Show(const Status& status, const QString& done = {});

 private:
  QWidget* page_;
  QVBoxLayout* column_;
  QFormLayout* rows_ = nullptr;
  QLabel* outcome_ = nullptr;
};

/// A button of a page: its text with the mnemonic names it, a click calls `action`.
QPushButton* MakeSetupButton(const QString& text, const QString& tip, std::function<void()> action);
/// The box in which a device is chosen from a list or typed.
QComboBox* NewDeviceBox();
/// What is higher than its place, scrolling in it.
QScrollArea* MakeSetupScroll(QWidget* content);
/// A label that wraps; `role` as the style sheet has them.
QLabel* MakeSetupLabel(const QString& text, const char* role);

}  // namespace kvx::console
