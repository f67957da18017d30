#include "console/questions.h"

#include <QCoreApplication>
#include <QFileDialog>
#include <QFileInfo>
#include <QInputDialog>
#include <QMessageBox>
#include <QPushButton>

namespace kvx::console {
namespace {

QString Tr(const char* text) {
  return QCoreApplication::translate("Questions", text);
}

/// "csv" of "Rig definitions (*.csv);;All files (*)".
QString Ending(const QString& filter) {
  return filter.section("*.", 1).section(')', 0, 0);
}

void TakeFile(const Asker& asker, const QString& file, bool save, const std::function<void(const QString&)>& then) {
  if (!save || !QFileInfo::exists(file)) return then(file);
  AskChoice(asker, Tr("%1 is there already.").arg(file), {Tr("Replace"), Tr("Cancel")}, [file, then](int answer) {
    if (answer == 0) then(file);
  });
}

}  // namespace

void ShowQuestion(const Asker& asker, QDialog* dialog, std::function<void(int result)> then) {
  dialog->setAttribute(Qt::WA_DeleteOnClose);
  dialog->setWindowModality(Qt::NonModal);  // one that stands under another window must not keep that one from tuning
  dialog->setWindowTitle(asker.title);
  if (!asker.help_file.isEmpty()) dialog->setProperty("helpFile", asker.help_file);
  QObject::connect(dialog, &QDialog::finished, asker.window, [asker, then = std::move(then)](int result) {
    if (asker.held) asker.window->setEnabled(true);
    then(result);
  });
  if (asker.held) asker.window->setEnabled(false);
  dialog->setEnabled(true);
  dialog->show();
  dialog->activateWindow();
}

void AskChoice(const Asker& asker, const QString& question, const QStringList& choices, std::function<void(int)> then) {
  auto* box = new QMessageBox(QMessageBox::Question, {}, question, QMessageBox::NoButton, asker.window);
  box->setTextFormat(Qt::PlainText);
  QList<QAbstractButton*> buttons;
  for (int i = 0; i < choices.size(); ++i) {
    const bool last = i + 1 == choices.size();
    buttons << box->addButton(choices[i], last     ? QMessageBox::RejectRole
                                          : i == 0 ? QMessageBox::AcceptRole
                                                   : QMessageBox::ActionRole);
  }
  box->setEscapeButton(buttons.last());
  // Yes or no: what is done by mistake is nothing. Of more choices the first one is the harmless one.
  box->setDefaultButton(qobject_cast<QPushButton*>(choices.size() == 2 ? buttons.last() : buttons.first()));
  ShowQuestion(asker, box, [box, buttons, then = std::move(then)](int) {
    const auto chosen = buttons.indexOf(box->clickedButton());
    then(static_cast<int>(chosen < 0 ? buttons.size() - 1 : chosen));
  });
}

void AskText(const Asker& asker, const QString& label, const QString& proposal,
             std::function<void(const QString&)> then) {
  auto* dialog = new QInputDialog(asker.window);
  dialog->setLabelText(label);
  dialog->setTextValue(proposal);
  ShowQuestion(asker, dialog, [dialog, then = std::move(then)](int result) {
    if (result == QDialog::Accepted) then(dialog->textValue());
  });
}

void AskFile(const Asker& asker, const QString& proposal, const QString& filter, bool save,
             std::function<void(const QString&)> then) {
  auto* dialog = new QFileDialog(asker.window, {}, {}, filter);
  // The desktop's own dialog would keep Escape from the transmitter, and complaints of this one would hold up the
  // program: whether the file is there, and is not one yet, is found out afterwards.
  dialog->setOptions(QFileDialog::DontUseNativeDialog | QFileDialog::DontConfirmOverwrite);
  dialog->setAcceptMode(save ? QFileDialog::AcceptSave : QFileDialog::AcceptOpen);
  dialog->setFileMode(QFileDialog::AnyFile);
  if (save) dialog->setDefaultSuffix(Ending(filter));
  const QFileInfo place(proposal);
  if (!proposal.isEmpty()) dialog->setDirectory(place.isDir() ? proposal : place.path());
  if (!proposal.isEmpty() && !place.isDir()) dialog->selectFile(place.fileName());
  ShowQuestion(asker, dialog, [asker, dialog, save, then = std::move(then)](int result) {
    if (result == QDialog::Accepted) TakeFile(asker, dialog->selectedFiles().value(0), save, then);
  });
}

}  // namespace kvx::console
