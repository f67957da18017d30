#pragma once

#include <QStringList>
#include <functional>

class QWidget;

namespace kvx::console {

/// What the rig definition editor asks the operator. Nothing waits: `then` is called when there is an answer, and not
/// at all when the operator cancels a name or a file.
struct RigEditorDialogs {
  /// One of the choices, by its index; the last one is to do nothing. Enter takes the last of two, the first of more.
  std::function<void(const QString& question, const QStringList& choices, std::function<void(int)> then)> ask;
  std::function<void(const QString& title, const QString& proposal, std::function<void(const QString&)> then)> ask_name;
  std::function<void(const QString& title, bool save, std::function<void(const QString&)> then)> ask_file;
};

/// Dialogs over that window, which outlives them.
RigEditorDialogs MakeRigEditorDialogs(QWidget* window);

}  // namespace kvx::console
