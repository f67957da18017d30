#include "console/rig_editor_dialogs.h"

#include <QCoreApplication>
#include <QFileDialog>
#include <QInputDialog>
#include <QMessageBox>
#include <QPushButton>

namespace kvx::console {
namespace {

QString Tr(const char* text) {
  return QCoreApplication::translate("RigEditorDialogs", text);
}

void Ask(QWidget* window, const QString& question, const QStringList& choices, const std::function<void(int)>& then) {
  auto* box = new QMessageBox(QMessageBox::Question, Tr("Rig definitions"), question, QMessageBox::NoButton, window);
  box->setAttribute(Qt::WA_DeleteOnClose);
  box->setTextFormat(Qt::PlainText);
  QList<QAbstractButton*> buttons;
  for (int i = 0; i < choices.size(); ++i) {
    const bool last = i + 1 == choices.size();
    const bool first = i == 0;
    buttons << box->addButton(choices[i], last    ? QMessageBox::RejectRole
                                          : first ? QMessageBox::AcceptRole
                                                  : QMessageBox::ActionRole);
  }
  box->setEscapeButton(buttons.last());
  // Yes or no: what is done by mistake is nothing. Of more choices the first one is the harmless one.
  box->setDefaultButton(qobject_cast<QPushButton*>(choices.size() == 2 ? buttons.last() : buttons.first()));
  QObject::connect(box, &QDialog::finished, window, [box, buttons, then] {
    const auto chosen = buttons.indexOf(box->clickedButton());
    then(static_cast<int>(chosen < 0 ? buttons.size() - 1 : chosen));
  });
  box->open();
}

void AskName(QWidget* window, const QString& title, const QString& proposal,
             const std::function<void(const QString&)>& then) {
  auto* dialog = new QInputDialog(window);
  dialog->setAttribute(Qt::WA_DeleteOnClose);
  dialog->setWindowTitle(title);
  dialog->setLabelText(Tr("Name of the rig:"));
  dialog->setTextValue(proposal);
  QObject::connect(dialog, &QInputDialog::textValueSelected, window, then);
  dialog->open();
}

void AskFile(QWidget* window, const QString& title, bool save, const std::function<void(const QString&)>& then) {
  auto* dialog = new QFileDialog(window, title, {}, Tr("Rig definitions (*.csv);;All files (*)"));
  dialog->setAttribute(Qt::WA_DeleteOnClose);
  dialog->setAcceptMode(save ? QFileDialog::AcceptSave : QFileDialog::AcceptOpen);
  dialog->setFileMode(save ? QFileDialog::AnyFile : QFileDialog::ExistingFile);
  if (save) dialog->setDefaultSuffix("csv");
  QObject::connect(dialog, &QFileDialog::fileSelected, window, then);
  dialog->open();
}

}  // namespace

RigEditorDialogs MakeRigEditorDialogs(QWidget* window) {
  return {
      .ask = [window](const QString& question, const QStringList& choices,
                      const std::function<void(int)>& then) { Ask(window, question, choices, then); },
      .ask_name = [window](const QString& title, const QString& proposal,
                           const std::function<void(const QString&)>& then) { AskName(window, title, proposal, then); },
      .ask_file = [window](const QString& title, bool save,
                           const std::function<void(const QString&)>& then) { AskFile(window, title, save, then); }};
}

}  // namespace kvx::console
