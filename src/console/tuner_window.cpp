#include "console/tuner_window.h"

#include <QCheckBox>
#include <QGridLayout>
#include <QHeaderView>
#include <QLineEdit>
#include <QPushButton>
#include <QShortcut>
#include <QTableView>
#include <QVBoxLayout>
#include <algorithm>

#include "console/questions.h"
#include "console/setup_form.h"

namespace kvx::console {

using accessories::kTunerFieldsOfSetup;
using accessories::kTunerSetups;
using widgets::Named;

namespace {

constexpr int kLongestField = 250;  // characters, which fit into the notebook whatever they are
constexpr int kWide = 60;           // heights of text
constexpr int kHigh = 42;
constexpr int kTableLines = 10;

QWidget* PanelOf(QLayout* layout) {
  auto* panel = new QFrame;
  panel->setProperty("role", "panel");
  panel->setLayout(layout);
  return panel;
}

}  // namespace

TunerWindow::TunerWindow(Station& station, QWidget* parent)
    : QMainWindow(parent), station_(station), notebook_(station.tuner_notebook), model_(notebook_) {
  setWindowTitle(tr("Antenna Tunner Settings"));
  setObjectName("TunerF");
  filter_.setSourceModel(&model_);
  filter_.setSortRole(TunerModel::kOrder);
  auto* page = new QWidget;
  page->setObjectName("page");
  auto* column = new QVBoxLayout(page);
  column->addWidget(MakeHeading());
  column->addWidget(MakeFields());
  column->addWidget(MakeActions());
  auto* segments = new QVBoxLayout;
  segments->addWidget(MakeSearch());
  segments->addWidget(MakeTable(), 1);
  column->addWidget(PanelOf(segments), 1);
  auto* center = new QWidget;
  center->setObjectName("center");
  auto* all = new QVBoxLayout(center);
  all->setContentsMargins({});
  all->addWidget(MakeSetupScroll(page), 1);
  all->addWidget(MakeEnding());
  setCentralWidget(center);
  model_.on_fault = [this](const QString& why) { Tell(Error{ErrorCode::kIo, why.toStdString()}); };
  connect(new QShortcut(QKeySequence("Ctrl+W"), this), &QShortcut::activated, this, &TunerWindow::UnloadMe);
  subscription_ = station.console.Subscribe([this](Field field) { Follow(field); });
  resize(QSize(kWide, kHigh) * fontMetrics().height());
}

void TunerWindow::showEvent(QShowEvent* event) {
  QMainWindow::showEvent(event);
  const Status loaded = notebook_.Load();
  if (!loaded) Tell(loaded.error());
  ShowFields();
}

QWidget* TunerWindow::MakeHeading() {
  auto* line = new QWidget;
  auto* row = new QGridLayout(line);
  row->setContentsMargins({});
  heading_ = MakeLabel(tr("Segment"), "title");
  heading_->setFocusPolicy(Qt::StrongFocus);  // where keys that are still being typed at a change of segment do no harm
  state_ = MakeLabel(tr("State of the segment"), "chip");
  unsaved_ = MakeLabel(tr("Unsaved segments"), "quiet");
  follow_ = Named(new QCheckBox(tr("Follow the fre&quency")), tr("Follow the frequency"),
                  tr("Shows the segment of the frequency; off: this one stays (Alt+Q)"));
  connect(follow_, &QCheckBox::clicked, this, &TunerWindow::FollowFrequency);
  row->addWidget(heading_, 0, 0);
  row->addWidget(state_, 0, 1);
  row->addWidget(follow_, 1, 0);
  row->addWidget(unsaved_, 1, 1);
  row->setColumnStretch(0, 1);
  return line;
}

QWidget* TunerWindow::MakeFields() {
  auto* grid = new QGridLayout;
  for (std::size_t field = 0; field < kTunerFieldsOfSetup; ++field) {
    auto* caption = new QLabel(TunerFieldCaption(field));
    grid->addWidget(caption, static_cast<int>(field) + 1, 0);
  }
  for (std::size_t i = 0; i < fields_.size(); ++i) {
    const int setup = static_cast<int>(i / kTunerFieldsOfSetup) + 1;
    const std::size_t field = i % kTunerFieldsOfSetup;
    auto* line = Named(new QLineEdit, SpokenTunerField(i), SpokenTunerField(i),
                       field == 0 ? QKeySequence("Alt+" + QString::number(setup)) : QKeySequence());
    line->setObjectName(accessories::kTunerFields[i].control);
    line->setMaxLength(kLongestField);
    connect(line, &QLineEdit::textEdited, this, [this, i](const QString& text) {
      const auto segment = notebook_.InHand();
      const Status edited = segment ? notebook_.Edit(**segment, i, text.toStdString()) : Status(segment.error());
      if (!edited) Tell(edited.error());
    });
    if (field == 0) {
      auto* caption = new QLabel(tr("SETUP %1").arg(setup));
      caption->setProperty("role", "caption");
      grid->addWidget(caption, 0, setup);
      auto* go = new QShortcut(QKeySequence("Alt+" + QString::number(setup)), this);
      connect(go, &QShortcut::activated, line, [line] { line->setFocus(Qt::ShortcutFocusReason); });
    }
    grid->addWidget(line, static_cast<int>(field) + 1, setup);
    fields_[i] = line;
  }
  return PanelOf(grid);
}

QPushButton* TunerWindow::MakeButton(QBoxLayout& row, const QString& text, const QString& tip, const QKeySequence& keys,
                                     void (TunerWindow::*action)()) {
  auto* button = Named(new QPushButton(text), text, tip, keys);
  button->setAutoDefault(false);
  connect(button, &QPushButton::clicked, this, action);
  if (!keys.isEmpty()) connect(new QShortcut(keys, this), &QShortcut::activated, button, [button] { button->click(); });
  row.addWidget(button);
  return button;
}

QWidget* TunerWindow::MakeActions() {
  auto* line = new QWidget;
  auto* row = new QHBoxLayout(line);
  row->setContentsMargins({});
  MakeButton(*row, tr("Save"), tr("Saves the fields for this segment"), QKeySequence::Save, &TunerWindow::SaveIt)
      ->setObjectName("SaveIt");
  drop_ = MakeButton(*row, tr("Drop"), tr("Drops what is not saved of this segment"), QKeySequence("Ctrl+D"),
                     &TunerWindow::Drop);
  undo_ = MakeButton(*row, tr("Undo drop"), tr("Brings back what was dropped last"), QKeySequence("Ctrl+U"),
                     &TunerWindow::Undo);
  save_all_ = MakeButton(*row, tr("Save all"), tr("Saves every segment that has something unsaved"),
                         QKeySequence("Ctrl+Shift+S"), &TunerWindow::SaveAll);
  row->addStretch(1);
  MakeButton(*row, tr("Close"), tr("Closes the window; what is not saved stays unsaved, also over the program's end"),
             {}, &TunerWindow::UnloadMe)
      ->setObjectName("UnloadMe");
  return line;
}

QWidget* TunerWindow::MakeSearch() {
  auto* line = new QWidget;
  auto* row = new QHBoxLayout(line);
  row->setContentsMargins({});
  search_ = Named(new QLineEdit, tr("Search"), tr("Shows the segments that have all these words"), QKeySequence::Find);
  search_->setPlaceholderText(tr("Search: dipole, 14000, unsaved"));
  search_->setClearButtonEnabled(true);
  connect(search_, &QLineEdit::textChanged, this, &TunerWindow::ApplyFilter);
  connect(search_, &QLineEdit::returnPressed, this, [this] { table_->setFocus(Qt::TabFocusReason); });
  connect(new QShortcut(QKeySequence::Find, this), &QShortcut::activated, search_,
          [this] { search_->setFocus(Qt::ShortcutFocusReason); });
  used_ = Named(new QCheckBox(tr("With &entries")), tr("With entries"),
                tr("Shows only segments that have something stored or unsaved (Alt+E)"));
  connect(used_, &QCheckBox::toggled, this, &TunerWindow::ApplyFilter);
  row->addWidget(search_, 1);
  row->addWidget(used_);
  MakeButton(*row, tr("Import…"), tr("Takes segments from a CSV file or an old database, as unsaved ones"),
             QKeySequence("Ctrl+I"), &TunerWindow::Import);
  MakeButton(*row, tr("Export…"), tr("Writes what is stored to a CSV file"), QKeySequence("Ctrl+E"),
             &TunerWindow::Export);
  return line;
}

QTableView* TunerWindow::MakeTable() {
  table_ = Named(new QTableView, tr("All segments"),
                 tr("A click or Return shows a segment above, whatever the frequency; F2, typing or a double click "
                    "edits a cell; Ctrl+O orders by the column in hand"));
  table_->setModel(&filter_);
  table_->setSortingEnabled(true);
  table_->sortByColumn(TunerModel::kRange, Qt::AscendingOrder);
  table_->setSelectionBehavior(QTableView::SelectRows);
  table_->setSelectionMode(QTableView::SingleSelection);
  table_->setEditTriggers(QTableView::EditKeyPressed | QTableView::AnyKeyPressed | QTableView::DoubleClicked);
  table_->setShowGrid(false);
  table_->setWordWrap(false);
  table_->setTabKeyNavigation(false);
  table_->setCornerButtonEnabled(false);
  table_->verticalHeader()->hide();
  table_->verticalHeader()->setSectionResizeMode(QHeaderView::ResizeToContents);
  table_->horizontalHeader()->setHighlightSections(false);
  table_->horizontalHeader()->setDefaultAlignment(Qt::AlignLeft | Qt::AlignVCenter);
  table_->horizontalHeader()->setSectionResizeMode(QHeaderView::ResizeToContents);
  table_->setMinimumHeight(kTableLines * fontMetrics().height());
  connect(table_, &QTableView::clicked, this, &TunerWindow::ChooseRow);
  auto* choose = new QShortcut(QKeySequence(Qt::Key_Return), table_);
  choose->setContext(Qt::WidgetShortcut);
  connect(choose, &QShortcut::activated, this, [this] { ChooseRow(table_->currentIndex()); });
  auto* order = new QShortcut(QKeySequence("Ctrl+O"), this);
  connect(order, &QShortcut::activated, this, &TunerWindow::OrderByColumn);
  return table_;
}

QWidget* TunerWindow::MakeEnding() {
  message_ = MakeSetupLabel({}, "quiet");
  message_->setToolTip(tr("What became of the last operation"));
  const int gap = fontMetrics().height() / 2;
  message_->setContentsMargins(gap, 0, gap, gap);
  return message_;
}

void TunerWindow::Follow(Field field) {
  if (!isVisible()) return;
  if (field == Field::kTunerNotebook || field == Field::kFreqDisp) ShowFields();
  if (field == Field::kTunerNotebook) model_.Update();
}

void TunerWindow::ShowFields() {
  if (model_.rowCount() == 0) model_.Update();
  const auto segment = notebook_.InHand();
  for (QLineEdit* line : fields_) line->setEnabled(segment.ok());
  if (!segment) {
    ShowText(heading_, ToQt(segment.error().message));
    return Tell(segment.error());
  }
  ShowSegment(**segment);
  for (std::size_t i = 0; i < fields_.size(); ++i) {
    const QString text = ToQt(notebook_.fields()[i]);
    if (text == fields_[i]->text()) continue;
    fields_[i]->setText(text);
    if (!fields_[i]->hasFocus()) fields_[i]->setCursorPosition(0);  // the beginning of a long text is seen
  }
  const bool unsaved = notebook_.state() == accessories::TunerState::kUnsaved;
  ShowText(state_, ToQt(notebook_.StateText()));
  widgets::SetRole(state_, unsaved ? "chip-on" : "chip");
  const int count = static_cast<int>(notebook_.unsaved_count());
  ShowText(unsaved_, count == 0 ? QString() : tr("%n segment(s) unsaved", nullptr, count));
  follow_->setChecked(!notebook_.is_chosen());
  drop_->setEnabled(unsaved);
  undo_->setEnabled(notebook_.can_undo());
  save_all_->setEnabled(count > 0);
}

/// Another segment: what is still being typed must not go on in it.
void TunerWindow::ShowSegment(const accessories::TunerSegment& segment) {
  if (shown_ == &segment) return;
  auto* line = qobject_cast<QLineEdit*>(focusWidget());
  const bool typing = shown_ != nullptr && line != nullptr && line->isModified() && isActiveWindow() &&
                      std::find(fields_.begin(), fields_.end(), line) != fields_.end();
  const QString before = shown_ == nullptr ? QString() : ToQt(shown_->key);
  shown_ = &segment;
  const QString key = ToQt(segment.key);
  ShowText(heading_, tr("Segment %1: %2").arg(key, ToQt(RangeText(segment))));
  heading_->setAccessibleName(heading_->text());
  const auto row = static_cast<int>(&segment - accessories::kTunerSegments.data());
  if (!table_->hasFocus()) table_->scrollTo(filter_.mapFromSource(model_.index(row, TunerModel::kRange)));
  for (QLineEdit* field : fields_) field->setModified(false);
  if (!typing) return;
  heading_->setFocus(Qt::OtherFocusReason);
  Tell(tr("Now segment %1. What you typed for %2 is kept, unsaved").arg(key, before).toStdString());
}

void TunerWindow::ChooseRow(const QModelIndex& index) {
  const accessories::TunerSegment* const segment = model_.SegmentAt(filter_.mapToSource(index).row());
  if (segment == nullptr || segment == notebook_.segment()) return;
  const Status chosen = notebook_.Choose(segment);
  if (!chosen) return Tell(chosen.error());
  Tell("Segment " + std::string(segment->key) + " is shown whatever the frequency");
}

void TunerWindow::FollowFrequency(bool on) {
  if (on) return FindIt();
  const Status chosen = notebook_.segment() == nullptr ? Ok() : notebook_.Choose(notebook_.segment());
  if (!chosen) Tell(chosen.error());
}

void TunerWindow::FindIt() {
  const Status found = notebook_.FindIt();
  if (!found) return Tell(found.error());
  Tell(std::string("The segment of the frequency is shown"));
}

void TunerWindow::SaveIt() {
  const auto saved = notebook_.SaveIt();
  if (!saved) station_.Notice(saved.error().message);
  Tell(saved);
}

void TunerWindow::UnloadMe() {
  close();
}

void TunerWindow::Drop() {
  const auto segment = notebook_.InHand();
  Tell(segment ? notebook_.Drop(**segment) : Result<std::string>(segment.error()));
}

void TunerWindow::Undo() {
  Tell(notebook_.UndoDrop());
}

void TunerWindow::SaveAll() {
  Tell(notebook_.SaveAll());
}

void TunerWindow::Import() {
  const Asker asker{.window = this, .title = windowTitle(), .held = true};
  AskFile(asker, ToQt(station_.folder().string()), tr("Tuner settings (*.csv *.mdb);;All files (*)"), false,
          [this](const QString& file) { Tell(notebook_.Import(file.toStdString())); });
}

void TunerWindow::Export() {
  const Asker asker{.window = this, .title = windowTitle(), .held = true};
  AskFile(asker, ToQt((station_.folder() / "tuner.csv").string()), tr("Tuner settings (*.csv);;All files (*)"), true,
          [this](const QString& file) { Tell(notebook_.Export(file.toStdString())); });
}

void TunerWindow::ApplyFilter() {
  filter_.Set(search_->text(), used_->isChecked());
  Tell(tr("%n segment(s) shown", nullptr, filter_.rowCount()).toStdString());
}

void TunerWindow::OrderByColumn() {
  const int column = std::max(0, table_->currentIndex().column());
  const bool again = filter_.sortColumn() == column && filter_.sortOrder() == Qt::AscendingOrder;
  table_->sortByColumn(column, again ? Qt::DescendingOrder : Qt::AscendingOrder);
}

void TunerWindow::Tell(const Result<std::string>& done) {
  const QString text = ToQt(done ? *done : done.error().message);
  message_->setText(text);
  message_->setAccessibleName(text);
  widgets::SetRole(message_, done ? "quiet" : "error");
}

}  // namespace kvx::console
