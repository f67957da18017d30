#include "console/rig_editor_dialogs.h"

#include <QCoreApplication>

#include "console/questions.h"

namespace kvx::console {
namespace {

QString Tr(const char* text) {
  return QCoreApplication::translate("RigEditorDialogs", text);
}

}  // namespace

RigEditorDialogs MakeRigEditorDialogs(QWidget* window) {
  // Edits go on when the question about them is answered.
  const auto asker = [window](const QString& title) { return Asker{.window = window, .title = title, .held = true}; };
  return {.ask =
              [asker](const QString& question, const QStringList& choices, const std::function<void(int)>& then) {
                AskChoice(asker(Tr("Rig definitions")), question, choices, then);
              },
          .ask_name =
              [asker](const QString& title, const QString& proposal, const std::function<void(const QString&)>& then) {
                AskText(asker(title), Tr("Name of the rig:"), proposal, then);
              },
          .ask_file =
              [asker](const QString& title, bool save, const std::function<void(const QString&)>& then) {
                AskFile(asker(title), {}, Tr("Rig definitions (*.csv);;All files (*)"), save, then);
              }};
}

}  // namespace kvx::console
