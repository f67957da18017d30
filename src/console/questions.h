#pragma once

#include <QString>
#include <QStringList>
#include <functional>

class QDialog;
class QWidget;

namespace kvx::console {

/// Who asks the operator something. Nothing waits for the answer, and no other window is held up by the question.
struct Asker {
  QWidget* window;  ///< outlives the question
  QString title;
  QString help_file = {};  ///< named for a question that has one; the box carries it as its property "helpFile"
  bool held = false;       ///< the window itself takes nothing until there is an answer
};

/// Shows a dialog that deletes itself; `then` gets its result.
void ShowQuestion(const Asker& asker, QDialog* dialog, std::function<void(int result)> then);

/// One of the choices, by its index; the last one is to do nothing. Enter takes the last of two, the first of more.
void AskChoice(const Asker& asker, const QString& question, const QStringList& choices, std::function<void(int)> then);
/// A line of text; `then` is not called when the operator cancels.
void AskText(const Asker& asker, const QString& label, const QString& proposal,
             std::function<void(const QString&)> then);
/// A file to read, or to save to: one that is there already after another question. `proposal`: a folder or a file;
/// `filter`: "Rig definitions (*.csv)", whose ending a name without one gets. `then` is not called on cancelling.
void AskFile(const Asker& asker, const QString& proposal, const QString& filter, bool save,
             std::function<void(const QString&)> then);

}  // namespace kvx::console
