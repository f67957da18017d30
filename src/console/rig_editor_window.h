#pragma once

#include <QMainWindow>
#include <functional>
#include <string>

#include "console/rig_editor.h"
#include "console/rig_editor_dialogs.h"
#include "console/rig_exchange.h"

class QFrame;
class QLabel;
class QLineEdit;
class QPushButton;

namespace kvx::widgets {
class Appearance;
}

namespace kvx::console {

class RigFieldForm;
class RigListPanel;

/// The window of the rig definition editor: the rigs on the left, the fields of the one that is edited on the right,
/// and below them the bytes that the field in hand makes now. Edits that are not saved are never given up unasked.
class RigEditorWindow final : public QMainWindow {
  Q_OBJECT

 public:
  /// All are borrowed and outlive the window.
  RigEditorWindow(RigEditor& editor, const widgets::Appearance& appearance, QWidget* parent = nullptr);

  /// Goes to a rig, after asking about edits.
  void Choose(const std::string& name);
  /// Goes on with `then` once there are no unsaved edits any more; not at all when the operator cancels.
  void LeaveThen(std::function<void()> then);

  RigEditorDialogs dialogs;

 protected:
  void showEvent(QShowEvent* event) override;
  void closeEvent(QCloseEvent* event) override;

 private:
  void MakeLayout(const widgets::Appearance& appearance);
  QWidget* MakeHeader();
  QFrame* MakePreview();
  void MakeShortcuts();
  QPushButton* MakeButton(const QString& text, const QString& tip, const QKeySequence& keys,
                          void (RigEditorWindow::*action)());

  void Follow(Field field);
  void ListRigs();
  void ShowRig();
  void ShowState();
  void ShowPreview();
  void Tell(const QString& text, bool error = false);
  /// Tells what went wrong; whether all went well.
  bool Check(const Status& status);

  void OpenRig(const std::string& name);
  void NewRig();
  void CopyRig();
  void RenameRig();
  void DeleteRig();
  void ImportRigs();
  void AskToReplace(const std::shared_ptr<RigExchange::Rigs>& read);
  void TakeRigs(const std::shared_ptr<RigExchange::Rigs>& read);
  void ExportRigs();
  void Save();
  bool TrySave();
  void Revert();
  void SendIt();
  void Edited(const config::RigField& field, const std::string& text);

  RigEditor& editor_;
  RigListPanel* list_;
  RigFieldForm* form_;
  QLabel* title_ = nullptr;
  QLabel* changed_ = nullptr;
  QLabel* preview_caption_ = nullptr;
  QLineEdit* preview_ = nullptr;
  QLabel* message_ = nullptr;
  QPushButton* send_ = nullptr;
  QPushButton* save_ = nullptr;
  QPushButton* revert_ = nullptr;
  Console::Subscription subscription_;
};

}  // namespace kvx::console
