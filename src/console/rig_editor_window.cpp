#include "console/rig_editor_window.h"

#include <QApplication>
#include <QCloseEvent>
#include <QFontDatabase>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPointer>
#include <QPushButton>
#include <QShortcut>
#include <QSplitter>
#include <QStyle>
#include <QVBoxLayout>

#include "console/rig_exchange.h"
#include "console/rig_field_form.h"
#include "console/rig_list_panel.h"
#include "widgets/appearance.h"
#include "widgets/qt_text.h"

namespace kvx::console {
namespace {

constexpr int kMostNamed = 12;  // rigs in a question

/// A Field whose value goes into commands, or decides whether one can be sent.
bool GoesIntoCommands(Field field) {
  switch (field) {
    case Field::kFreqDisp:
    case Field::kOffset:
    case Field::kMode:
    case Field::kXnarrow:
    case Field::kSlider:
    case Field::kFunctionText:
    case Field::kFunctionState:
    case Field::kRigNumber:
    case Field::kPort:
      return true;
    default:
      return false;
  }
}

}  // namespace

RigEditorWindow::RigEditorWindow(RigEditor& editor, const widgets::Appearance& appearance, QWidget* parent)
    : QMainWindow(parent),
      dialogs(MakeRigEditorDialogs(this)),
      editor_(editor),
      list_(new RigListPanel),
      form_(new RigFieldForm(appearance)) {
  MakeLayout(appearance);
  MakeShortcuts();
  list_->on_chosen = [this](const std::string& name) { Choose(name); };
  list_->on_new = [this] { NewRig(); };
  list_->on_copy = [this] { CopyRig(); };
  list_->on_rename = [this] { RenameRig(); };
  list_->on_delete = [this] { DeleteRig(); };
  list_->on_import = [this] { ImportRigs(); };
  list_->on_export = [this] { ExportRigs(); };
  form_->on_focused = [this] { ShowPreview(); };
  form_->on_edited = [this](const config::RigField& field, const std::string& text) { Edited(field, text); };
  subscription_ = editor_.station().console.Subscribe([this](Field field) { Follow(field); });
  ShowRig();
}

void RigEditorWindow::MakeLayout(const widgets::Appearance& appearance) {
  auto* right = new QFrame;
  right->setProperty("role", "panel");
  auto* fields = new QVBoxLayout(right);
  fields->addWidget(MakeHeader());
  fields->addWidget(form_, 1);
  auto* column = new QWidget;
  auto* rows = new QVBoxLayout(column);
  rows->setContentsMargins(0, 0, 0, 0);
  const int gap = fontMetrics().height() / 2;
  rows->setSpacing(gap);
  rows->addWidget(right, 1);
  rows->addWidget(MakePreview());
  auto* splitter = new QSplitter;
  splitter->addWidget(list_);
  splitter->addWidget(column);
  splitter->setStretchFactor(1, 1);
  splitter->setChildrenCollapsible(false);
  splitter->setHandleWidth(gap);
  splitter->setSizes({1, 1000});  // as narrow as the list may be
  splitter->setStyleSheet("QSplitter::handle { background: transparent; }");
  auto* center = new QWidget;
  center->setObjectName("center");
  auto* all = new QVBoxLayout(center);
  all->setContentsMargins(gap, gap, gap, gap);
  all->addWidget(splitter);
  setCentralWidget(center);
  const auto fit = [this] { preview_->setFont(widgets::FixedFont()); };
  connect(&appearance, &widgets::Appearance::Changed, this, fit);
  fit();
  resize(QSize(62, 42) * fontMetrics().height());
}

QWidget* RigEditorWindow::MakeHeader() {
  auto* header = new QWidget;
  title_ = new QLabel(header);
  title_->setProperty("role", "title");
  title_->setTextFormat(Qt::PlainText);
  changed_ = new QLabel(tr("not saved"), header);
  changed_->setProperty("role", "chip");
  revert_ = MakeButton(tr("Revert"), tr("Takes back every edit since the rig was saved"), QKeySequence("Ctrl+R"),
                       &RigEditorWindow::Revert);
  save_ = MakeButton(tr("Save"), tr("Saves the rig; the rig in use follows at once"), QKeySequence::Save,
                     &RigEditorWindow::Save);
  auto* row = new QHBoxLayout(header);
  row->setContentsMargins(0, 0, 0, 0);
  row->addWidget(title_, 1);
  row->addWidget(changed_);
  row->addWidget(revert_);
  row->addWidget(save_);
  return header;
}

QFrame* RigEditorWindow::MakePreview() {
  auto* panel = new QFrame;
  panel->setProperty("role", "panel");
  preview_caption_ = new QLabel(panel);
  preview_caption_->setProperty("role", "caption");
  preview_caption_->setTextFormat(Qt::PlainText);
  preview_ = new QLineEdit(panel);
  preview_->setReadOnly(true);
  preview_->setObjectName("preview");
  preview_->setAccessibleName(tr("What is sent"));
  preview_->setToolTip(tr("The bytes that the field makes with the console's present values"));
  send_ = MakeButton(tr("Send it"), tr("Sends these bytes to the rig"), QKeySequence("Ctrl+Return"),
                     &RigEditorWindow::SendIt);
  message_ = new QLabel(panel);
  message_->setTextFormat(Qt::PlainText);
  message_->setWordWrap(true);
  message_->setAccessibleName(tr("Message"));
  auto* line = new QHBoxLayout;
  line->addWidget(preview_, 1);
  line->addWidget(send_);
  auto* layout = new QVBoxLayout(panel);
  layout->addWidget(preview_caption_);
  layout->addLayout(line);
  layout->addWidget(message_);
  return panel;
}

QPushButton* RigEditorWindow::MakeButton(const QString& text, const QString& tip, const QKeySequence& keys,
                                         void (RigEditorWindow::*action)()) {
  auto* button = new QPushButton(text);
  connect(new QShortcut(keys, this), &QShortcut::activated, button, &QPushButton::click);
  button->setToolTip(tip + " (" + keys.toString(QKeySequence::NativeText) + ")");
  button->setAccessibleName(text);
  button->setAccessibleDescription(tip);
  connect(button, &QPushButton::clicked, this, action);
  return button;
}

void RigEditorWindow::MakeShortcuts() {
  const auto add = [this](const char* keys, auto action) {
    connect(new QShortcut(QKeySequence(keys), this), &QShortcut::activated, this, action);
  };
  add("Ctrl+F", [this] { form_->Find(); });
  add("Ctrl+L", [this] { list_->search().setFocus(Qt::ShortcutFocusReason); });
  add("Ctrl+PgDown", [this] { form_->Turn(1); });
  add("Ctrl+PgUp", [this] { form_->Turn(-1); });
  add("Ctrl+W", [this] { close(); });
}

void RigEditorWindow::Follow(Field field) {
  if (!isVisible()) return;
  if (field == Field::kRigName) ListRigs();
  if (GoesIntoCommands(field)) ShowPreview();
}

void RigEditorWindow::ListRigs() {
  const auto names = editor_.Names();
  if (!names) return Tell(widgets::ToQt(names.error().message), true);
  list_->List(*names, *editor_.station().console.RigName);
  list_->Mark(editor_.is_new() ? "" : editor_.name());
}

void RigEditorWindow::ShowRig() {
  form_->Load(editor_);
  ListRigs();
  ShowState();
}

void RigEditorWindow::ShowState() {
  const bool open = editor_.is_open();
  const QString name = open ? widgets::ToQt(editor_.name()) : tr("No rig");
  title_->setText(name);
  changed_->setVisible(editor_.modified());
  setWindowTitle(tr("%1[*] - Rig definitions").arg(QString(name).replace("[*]", "[*][*]")));
  setWindowModified(editor_.modified());
  save_->setEnabled(editor_.modified());
  revert_->setEnabled(editor_.modified());
  list_->SetHasRig(open);
  ShowPreview();
}

void RigEditorWindow::ShowPreview() {
  const config::RigField& field = form_->focused();
  preview_caption_->setText(tr("%1 SENDS").arg(widgets::ToQt(field.label).toUpper()));
  const CommandPreview preview = editor_.is_open() ? editor_.Preview(field.name) : CommandPreview{};
  const QString fault = widgets::ToQt(preview.fault);
  const QString text =
      widgets::ToQt(preview.text) + (preview.text.empty() || fault.isEmpty() ? QString() : "   - " + fault);
  if (preview_->text() != text) {
    preview_->setText(text);
    preview_->setCursorPosition(0);
  }
  preview_->setPlaceholderText(fault);
  preview_->setAccessibleDescription(fault);
  const bool port = editor_.station().engine.link.is_open();
  send_->setEnabled(port && preview.fault.empty() && !preview.bytes.empty());
  send_->setText(port ? tr("Send it") : tr("Port closed"));
}

void RigEditorWindow::Tell(const QString& text, bool error) {
  message_->setText(text);
  message_->setProperty("role", error ? "error" : "quiet");
  message_->style()->unpolish(message_);
  message_->style()->polish(message_);
}

bool RigEditorWindow::Check(const Status& status) {
  if (status) return true;
  Tell(widgets::ToQt(status.error().message), true);
  return false;
}

void RigEditorWindow::LeaveThen(std::function<void()> then) {
  if (!editor_.modified()) return then();
  raise();
  activateWindow();
  if (!isEnabled()) return;  // a question stands before it
  dialogs.ask(tr("%1 has changes that are not saved.").arg(widgets::ToQt(editor_.name())),
              {tr("Save"), tr("Discard"), tr("Cancel")}, [this, then = std::move(then)](int answer) {
                if (answer == 2 || (answer == 0 && !TrySave())) return ShowRig();
                if (answer == 1) editor_.Revert();
                then();
                ShowRig();
              });
}

void RigEditorWindow::Choose(const std::string& name) {
  if (!editor_.is_new() && name == editor_.name()) return;
  list_->Mark(editor_.is_new() ? "" : editor_.name());  // it stays chosen until the question is answered
  LeaveThen([this, name] { OpenRig(name); });
}

void RigEditorWindow::OpenRig(const std::string& name) {
  if (Check(editor_.Open(name))) Tell({});
  ShowRig();
}

void RigEditorWindow::NewRig() {
  LeaveThen([this] {
    dialogs.ask_name(tr("New rig"), {}, [this](const QString& name) {
      if (Check(editor_.New(name.toStdString()))) Tell(tr("A new rig, not saved yet"));
      ShowRig();
      form_->GoTo("RigType");
    });
  });
}

void RigEditorWindow::CopyRig() {
  LeaveThen([this] {
    const QString name = widgets::ToQt(editor_.name());
    if (!editor_.is_open()) return;
    dialogs.ask_name(tr("Copy %1").arg(name), tr("%1 copy").arg(name), [this, name](const QString& copy) {
      if (Check(editor_.CopyAs(copy.toStdString()))) Tell(tr("A copy of %1, not saved yet").arg(name));
      ShowRig();
    });
  });
}

void RigEditorWindow::RenameRig() {
  const QString name = widgets::ToQt(editor_.name());
  dialogs.ask_name(tr("Rename %1").arg(name), name, [this, name](const QString& new_name) {
    if (Check(editor_.Rename(name.toStdString(), new_name.toStdString()))) Tell(tr("%1 is now %2").arg(name, new_name));
    ShowRig();
  });
}

void RigEditorWindow::DeleteRig() {
  if (editor_.is_new()) return Revert();
  const QString name = widgets::ToQt(editor_.name());
  dialogs.ask(tr("Delete %1? Its definition is lost.").arg(name), {tr("Delete"), tr("Cancel")},
              [this, name](int answer) {
                if (answer == 0 && Check(editor_.Delete(name.toStdString()))) Tell(tr("%1 is deleted").arg(name));
                ShowRig();
              });
}

void RigEditorWindow::ImportRigs() {
  LeaveThen([this] {
    dialogs.ask_file(tr("Import rigs"), false, [this](const QString& file) {
      Tell(tr("Reading %1").arg(file));
      const auto done = [window = QPointer(this)](const Result<RigExchange::Read>& read) {
        if (window == nullptr) return;
        if (!read) return window->Tell(widgets::ToQt(read.error().message), true);
        window->AskToReplace(*read);
      };
      RigExchange(editor_.station(), editor_.files()).ReadCsv(file.toStdString(), done);
    });
  });
}

void RigEditorWindow::AskToReplace(const std::shared_ptr<RigExchange::Rigs>& read) {
  if (read->existing.empty()) return TakeRigs(read);
  Tell({});
  QStringList names;
  for (const std::string& name : read->existing) names << widgets::ToQt(name);
  const auto more = names.size() - kMostNamed;
  if (more > 0) names = names.mid(0, kMostNamed) << tr("and %1 more").arg(more);
  dialogs.ask(tr("These rigs are there already and would be replaced: %1").arg(names.join(", ")),
              {tr("Replace"), tr("Cancel")}, [this, read](int answer) {
                if (answer == 0) TakeRigs(read);
              });
}

void RigEditorWindow::TakeRigs(const std::shared_ptr<RigExchange::Rigs>& read) {
  Tell(tr("Importing"));
  const auto done = [window = QPointer(this), &station = editor_.station(), &files = editor_.files(),
                     read](const Status& imported) {
    if (window == nullptr) {  // the rig in use follows all the same
      if (imported) RigEditor(station, files).Replaced(read->rows).ok();
      return;
    }
    const Status followed = imported ? window->editor_.Replaced(read->rows) : imported;
    if (window->Check(followed)) window->Tell(tr("%n rig(s) imported", nullptr, static_cast<int>(read->rows.size())));
    window->ShowRig();
  };
  RigExchange(editor_.station(), editor_.files()).Import(read, done);
}

void RigEditorWindow::ExportRigs() {
  const auto write = [this](const std::vector<std::string>& names) {
    dialogs.ask_file(tr("Export rigs"), true, [this, names](const QString& file) {
      Tell(tr("Writing %1").arg(file));
      const auto done = [window = QPointer(this), file](const Result<int>& count) {
        if (window == nullptr) return;
        window->Tell(
            count ? tr("%n rig(s) written to %1", nullptr, *count).arg(file) : widgets::ToQt(count.error().message),
            !count);
      };
      RigExchange(editor_.station(), editor_.files()).Export(file.toStdString(), names, done);
    });
  };
  if (editor_.is_new() || !editor_.is_open()) return write({});
  const std::string name = editor_.name();
  dialogs.ask(tr("Which rigs, as they are saved?"),
              {tr("All rigs"), tr("Only %1").arg(widgets::ToQt(name)), tr("Cancel")}, [write, name](int answer) {
                if (answer == 0) write({});
                if (answer == 1) write({name});
              });
}

void RigEditorWindow::Save() {
  TrySave();
  ShowRig();
}

bool RigEditorWindow::TrySave() {
  if (!Check(editor_.Save())) return false;
  Tell(tr("%1 is saved").arg(widgets::ToQt(editor_.name())));
  return true;
}

void RigEditorWindow::Revert() {
  dialogs.ask(tr("Take back every edit of %1?").arg(widgets::ToQt(editor_.name())), {tr("Revert"), tr("Cancel")},
              [this](int answer) {
                if (answer != 0) return;
                editor_.Revert();
                Tell(tr("The edits are taken back"));
                ShowRig();
              });
}

void RigEditorWindow::SendIt() {
  const std::string field(form_->focused().name);
  const auto send = [this, field] {
    const QString text = preview_->text();
    if (Check(editor_.Send(field))) Tell(tr("Sent %1").arg(text));
    ShowPreview();
  };
  if (!editor_.KeysTransmitter(field)) return send();
  dialogs.ask(tr("This makes the rig transmit: %1").arg(preview_->text()), {tr("Transmit"), tr("Cancel")},
              [send](int answer) {
                if (answer == 0) send();
              });
}

void RigEditorWindow::Edited(const config::RigField& field, const std::string& text) {
  if (Check(editor_.Set(field.name, text))) Tell({});
  ShowState();
}

void RigEditorWindow::showEvent(QShowEvent* event) {
  QMainWindow::showEvent(event);
  ListRigs();
  if (!editor_.is_open() && *editor_.station().console.RigName != "NONE") OpenRig(*editor_.station().console.RigName);
  ShowState();
}

void RigEditorWindow::closeEvent(QCloseEvent* event) {
  if (!editor_.modified()) return event->accept();
  event->ignore();
  LeaveThen([this] { QMetaObject::invokeMethod(this, &QWidget::close, Qt::QueuedConnection); });
}

}  // namespace kvx::console
