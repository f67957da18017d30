#include "console/function_list_window.h"

#include <QCheckBox>
#include <QElapsedTimer>
#include <QEvent>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QHideEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QScrollBar>
#include <QShortcut>
#include <QShowEvent>
#include <QVBoxLayout>
#include <algorithm>
#include <iterator>
#include <set>
#include <utility>

#include "console/panel.h"
#include "console/questions.h"
#include "console/scan_panel.h"
#include "core/text.h"
#include "widgets/qt_text.h"

namespace kvx::console {
namespace {

using functions::FunctionRecord;
using widgets::Named;
using widgets::ToQt;

constexpr int kTickMilliseconds = 50;
constexpr int kReadingMilliseconds = 20;  // of a table that is read piece by piece
constexpr int kTicksBetweenLooks = 10;    // at the store's file
constexpr int kWindowCharacters = 150;
constexpr int kWindowLines = 36;

QPushButton* Button(const QString& text, const QString& tip, const QKeySequence& keys = {}) {
  auto* button = Named(new QPushButton(text), text, tip, keys);
  button->setAutoDefault(false);
  return button;
}

int Characters(int column) {
  if (functions::TextKey(column)) return 8;
  switch (column) {
    case functions::kRigColumn:
      return 12;
    case functions::kFreqColumn:
      return 13;
    default:
      return 7;
  }
}

}  // namespace

FunctionListWindow::FunctionListWindow(Station& station, const widgets::Appearance& appearance, QWidget* parent)
    : QWidget(parent, Qt::Window),
      station_(station),
      functions_(station.functions),
      dialogs_before_(station.functions.dialogs),
      delegate_(appearance) {
  setWindowTitle(tr("Stored function keys"));
  setObjectName("center");  // the style sheet's ground of a window
  setAttribute(Qt::WA_StyledBackground);
  MakeControls();
  MakeTable();
  scan_ = new ScanPanel(station, appearance);
  scan_->chosen_frequency = [this] { return ChosenFrequency(); };
  scan_->say = [this](const QString& text) { Say(text, true); };
  auto* column = new QVBoxLayout(this);
  column->addLayout(FilterRow());
  column->addWidget(table_, 1);
  column->addLayout(ActionRow());
  column->addWidget(scan_);
  MakeKeys();
  TakeDialogs();
  model_.on_edit = [this](const FunctionRecord& before, const FunctionRecord& after) {
    functions_.keys.ChangeRow(before, after, Saying());
  };
  connect(&appearance, &widgets::Appearance::Changed, this, [this] { table_->viewport()->update(); });
  timer_.setInterval(kTickMilliseconds);
  connect(&timer_, &QTimer::timeout, this, &FunctionListWindow::Tick);
  subscription_ = station.console.Subscribe([this](Field field) { Follow(field); });
  following_rows_ = functions_.store.changed.Follow([this] { ReloadIfChanged(); });
  following_scan_ = functions_.scanner.changed.Follow([this] { FollowScan(); });
  ShowCaptions();
  FitColumns();
  table_->setFocus();
  resize(fontMetrics().averageCharWidth() * kWindowCharacters, fontMetrics().height() * kWindowLines);
}

FunctionListWindow::~FunctionListWindow() {
  functions_.dialogs = dialogs_before_;
}

/// Questions of the function keys are asked over this window, and what they tell is told here as well.
void FunctionListWindow::TakeDialogs() {
  functions_.dialogs.ask = [this](const functions::Question& question, std::function<void(bool)> answer) {
    const QString title = question.title.empty() ? windowTitle() : ToQt(question.title);
    AskChoice({.window = this, .title = title, .help_file = ToQt(question.help_file)}, ToQt(question.text),
              {tr("&Yes"), tr("&No")}, [answer = std::move(answer)](int choice) { answer(choice == 0); });
  };
  functions_.dialogs.show = [this](const std::string& text) {
    dialogs_before_.Show(text);
    Say(ToQt(text));
  };
}

void FunctionListWindow::MakeControls() {
  filter_ = Named(new QLineEdit, tr("Filter"), tr("Shows only rows with this text in any field"), QKeySequence::Find);
  filter_->setPlaceholderText(tr("Filter: 145, repeater, USB"));
  filter_->setClearButtonEnabled(true);
  connect(filter_, &QLineEdit::textChanged, this, &FunctionListWindow::ApplyFilter);
  this_rig_ = Named(new QCheckBox(tr("Th&is rig only")), tr("This rig only"), tr("Shows only rows of the rig in use"),
                    QKeySequence("Alt+I"));
  connect(this_rig_, &QCheckBox::toggled, this, &FunctionListWindow::ApplyFilter);
  count_ = MakeLabel(tr("Number of rows"), "quiet");
  retrieve_ = Button(tr("Retrieve"), tr("Tunes to the chosen row, as a double click does (Return)"));
  connect(retrieve_, &QPushButton::clicked, this, [this] { Retrieve(table_->currentIndex()); });
  delete_ = Button(tr("Delete"), tr("Deletes the highlighted rows (Delete)"));
  connect(delete_, &QPushButton::clicked, this, &FunctionListWindow::Delete);
  undo_ = Button(tr("Undo"), tr("Puts back the rows that were deleted last"), QKeySequence::Undo);
  connect(undo_, &QPushButton::clicked, this, &FunctionListWindow::Undo);
  export_ = Button(tr("Export"), tr("Writes every row to RigFunctions.CSV"), QKeySequence("Ctrl+S"));
  connect(export_, &QPushButton::clicked, this, [this] { functions_.exchange.Export(SayingMore()); });
  import_ = Button(tr("Import"), tr("Takes texts and marks from RigFunctions.CSV"), QKeySequence("Ctrl+I"));
  connect(import_, &QPushButton::clicked, this, [this] { functions_.exchange.Import(SayingMore()); });
  message_ = MakeLabel(tr("Message"), "quiet");
  message_->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
  ShowUndo();
}

QLayout* FunctionListWindow::FilterRow() {
  auto* row = new QHBoxLayout;
  row->addWidget(filter_, 1);
  row->addWidget(this_rig_);
  row->addWidget(count_);
  return row;
}

QLayout* FunctionListWindow::ActionRow() {
  auto* row = new QHBoxLayout;
  for (QPushButton* button : {retrieve_, delete_, undo_}) row->addWidget(button);
  row->addWidget(message_, 1);
  for (QPushButton* button : {export_, import_}) row->addWidget(button);
  return row;
}

void FunctionListWindow::MakeTable() {
  table_ =
      Named(new Table, tr("Stored function keys"),
            tr("Return or a double click: tunes there. F2 or a second click: changes a field. Space: turns a mark. "
               "Ctrl+O: orders by this column. Delete: deletes the highlighted rows"));
  table_->setModel(&model_);
  table_->setItemDelegate(&delegate_);
  table_->setSelectionBehavior(QAbstractItemView::SelectRows);
  table_->setEditTriggers(QAbstractItemView::EditKeyPressed | QAbstractItemView::SelectedClicked);
  table_->setShowGrid(false);
  table_->setWordWrap(false);
  table_->setTabKeyNavigation(false);
  table_->setCornerButtonEnabled(false);
  table_->setHorizontalScrollMode(QAbstractItemView::ScrollPerPixel);
  table_->verticalHeader()->hide();
  table_->verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
  QHeaderView& header = *table_->horizontalHeader();
  header.setDefaultAlignment(Qt::AlignLeft | Qt::AlignVCenter);
  header.setHighlightSections(false);
  header.setStretchLastSection(true);
  header.setSectionsMovable(true);
  header.setSectionsClickable(true);
  header.setSortIndicator(model_.list().order_column(), Qt::AscendingOrder);
  header.setSortIndicatorShown(true);
  connect(&header, &QHeaderView::sortIndicatorChanged, this, [this](int column, Qt::SortOrder order) {
    Keeping([&] { model_.SetOrder(column, order == Qt::DescendingOrder); });
  });
  connect(table_, &QTableView::doubleClicked, this, [this](const QModelIndex& index) {
    if (!functions::PressKey(index.column())) Retrieve(index);
  });
}

void FunctionListWindow::MakeKeys() {
  const auto in_table = [this](const QKeySequence& keys, const std::function<void()>& action) {
    auto* shortcut = new QShortcut(keys, table_);
    shortcut->setContext(Qt::WidgetShortcut);
    connect(shortcut, &QShortcut::activated, this, action);
  };
  in_table(Qt::Key_Delete, [this] { Delete(); });
  in_table(Qt::Key_Return, [this] { Retrieve(table_->currentIndex()); });
  in_table(Qt::Key_Enter, [this] { Retrieve(table_->currentIndex()); });
  in_table(QKeySequence("Ctrl+O"), [this] { OrderBy(table_->currentIndex().column()); });
  connect(new QShortcut(QKeySequence::Find, this), &QShortcut::activated, filter_, [this] { filter_->setFocus(); });
  undo_->setShortcut(QKeySequence::Undo);
  export_->setShortcut(QKeySequence("Ctrl+S"));
  import_->setShortcut(QKeySequence("Ctrl+I"));
}

void FunctionListWindow::FitColumns() {
  const QFontMetrics metrics = table_->fontMetrics();
  table_->verticalHeader()->setMinimumSectionSize(metrics.height());
  table_->verticalHeader()->setDefaultSectionSize(metrics.height() + metrics.height() / 2);
  table_->horizontalHeader()->setMinimumSectionSize(metrics.height());
  const int digit = metrics.horizontalAdvance('0');
  for (int column = 0; column < functions::kDescColumn; ++column) {
    const bool mark = functions::PressKey(column).has_value();
    table_->setColumnWidth(column, mark ? 2 * metrics.height() : digit * Characters(column));
  }
}

void FunctionListWindow::changeEvent(QEvent* event) {
  QWidget::changeEvent(event);
  if (event->type() == QEvent::FontChange && table_ != nullptr) FitColumns();
}

void FunctionListWindow::showEvent(QShowEvent* event) {
  QWidget::showEvent(event);
  timer_.start();
  ReloadIfChanged();
  FollowScan();
}

void FunctionListWindow::hideEvent(QHideEvent* event) {
  QWidget::hideEvent(event);
  if (!event->spontaneous()) timer_.stop();
}

void FunctionListWindow::Tick() {
  scan_->Refresh();
  ticks_ = (ticks_ + 1) % kTicksBetweenLooks;
  if (ticks_ == 0) ReloadIfChanged();
}

void FunctionListWindow::ReloadIfChanged() {
  ShowUndo();
  // A field that is being typed keeps the table as it is until then.
  if (reader_ || !isVisible() || table_->is_editing() || functions_.store.Stamp() == stamp_) return;
  Reload();
}

void FunctionListWindow::Reload() {
  stamp_ = functions_.store.Stamp();
  reader_.emplace(functions_.store.Reader());
  read_.clear();
  ReadOn();
}

/// What is larger than one look has time for comes with the next passes of the event loop.
void FunctionListWindow::ReadOn() {
  if (!reader_) return;
  QElapsedTimer since;
  since.start();
  Result<bool> last = false;
  while (last && !*last && since.elapsed() < kReadingMilliseconds) {
    last = reader_->ReadSome();
    read_.insert(read_.end(), std::make_move_iterator(reader_->rows.begin()),
                 std::make_move_iterator(reader_->rows.end()));
  }
  if (last && !*last) return QTimer::singleShot(0, this, [this] { ReadOn(); });
  reader_.reset();
  auto rows = std::exchange(read_, {});
  if (table_->is_editing()) return stamp_.clear();  // it is read again behind that
  if (last) return Keeping([&] { model_.Load(std::move(rows)); });
  if (last.error().code == ErrorCode::kBusy) return stamp_.clear();  // looked at again soon
  Say(ToQt(last.error().message), true);
}

void FunctionListWindow::Keeping(const std::function<void()>& change) {
  std::set<std::int64_t> chosen;
  for (const FunctionRecord& row : Chosen()) chosen.insert(row.place);
  const QModelIndex current = table_->currentIndex();
  const std::int64_t current_place = current.isValid() ? model_.at(current.row()).place : 0;
  const int top = table_->rowAt(0);
  const std::int64_t top_place = top >= 0 ? model_.at(top).place : 0;
  bool reset = false;
  const auto watch = connect(&model_, &QAbstractItemModel::modelReset, this, [&reset] { reset = true; });
  change();
  disconnect(watch);
  ShowCount();
  if (!reset) return;
  QItemSelection selection;
  for (int row = 0; row < model_.rowCount() && !chosen.empty(); ++row) {
    if (chosen.count(model_.at(row).place) == 0) continue;
    int last = row;
    while (last + 1 < model_.rowCount() && chosen.count(model_.at(last + 1).place) > 0) ++last;
    selection.select(model_.index(row, 0), model_.index(last, functions::kRecordColumns - 1));
    row = last;
  }
  if (const auto row = model_.list().IndexOf(current_place))
    table_->selectionModel()->setCurrentIndex(model_.index(*row, current.column()), QItemSelectionModel::NoUpdate);
  table_->selectionModel()->select(selection, QItemSelectionModel::ClearAndSelect);
  if (const auto row = model_.list().IndexOf(top_place)) table_->verticalScrollBar()->setValue(*row);
}

void FunctionListWindow::ApplyFilter() {
  const std::string rig = this_rig_->isChecked() ? *station_.console.RigName : std::string();
  Keeping([&] { model_.SetFilter({filter_->text().toStdString(), rig}); });
}

void FunctionListWindow::OrderBy(int column) {
  if (column < 0) return;
  QHeaderView& header = *table_->horizontalHeader();
  const bool turn = header.sortIndicatorSection() == column && header.sortIndicatorOrder() == Qt::AscendingOrder;
  header.setSortIndicator(column, turn ? Qt::DescendingOrder : Qt::AscendingOrder);
}

void FunctionListWindow::Follow(Field field) {
  if (field != Field::kRigName && field != Field::kRigRow) return;
  ShowCaptions();
  if (this_rig_->isChecked()) ApplyFilter();
}

void FunctionListWindow::FollowScan() {
  const functions::ScanState& state = functions_.scanner.state();
  const std::int64_t heard = functions_.scanner.running() && state.stop ? state.stop->row.place : 0;
  model_.SetHeard(heard);
  const auto row = heard == 0 ? std::nullopt : model_.list().IndexOf(heard);
  if (row && isVisible()) table_->scrollTo(model_.index(*row, functions::kRigColumn));
}

void FunctionListWindow::ShowCount() {
  const FunctionList& list = model_.list();
  ShowText(count_, list.size() == list.total() ? tr("%1 rows").arg(list.total())
                                               : tr("%1 of %2 rows").arg(list.size()).arg(list.total()));
}

void FunctionListWindow::ShowUndo() {
  undo_->setEnabled(functions_.keys.deleted_rows() > 0);
}

void FunctionListWindow::ShowCaptions() {
  QStringList captions;
  for (const std::string& caption : station_.engine.rig().captions) captions << ToQt(ToVisible(caption)).simplified();
  model_.SetCaptions(captions);
}

std::vector<FunctionRecord> FunctionListWindow::Chosen() const {
  std::vector<FunctionRecord> rows;
  for (const QItemSelectionRange& range : table_->selectionModel()->selection()) {
    for (int row = range.top(); row <= range.bottom(); ++row) rows.push_back(model_.at(row));
  }
  return rows;
}

std::optional<Frequency> FunctionListWindow::ChosenFrequency() const {
  const QModelIndex index = table_->currentIndex();
  return index.isValid() ? ParseKhz(model_.at(index.row()).freq) : std::nullopt;
}

void FunctionListWindow::Retrieve(const QModelIndex& index) {
  if (!index.isValid()) return Say(tr("Choose a row first"), true);
  const FunctionRecord row = model_.at(index.row());
  const auto outcome = functions_.keys.Retrieve(row);
  if (!outcome) return Say(ToQt(outcome.error().message), true);
  if (*outcome == cat::SendOutcome::kSent) return Say(tr("Tuned to %1 %2").arg(ToQt(row.freq), ToQt(row.mode)));
  Say(ToQt(station_.WhyNotSent(*outcome)), true);
}

void FunctionListWindow::Delete() {
  const auto rows = Chosen();
  if (rows.empty()) return Say(tr("Highlight the rows to delete first"), true);
  functions_.keys.DeleteRows(rows, Saying());
}

void FunctionListWindow::Undo() {
  functions_.keys.UndoDelete(Saying());
}

/// What becomes of an operation, which another program's writing may delay.
functions::FunctionMemory::Done FunctionListWindow::Saying() {
  return [window = QPointer<FunctionListWindow>(this)](const Result<std::string>& done) {
    if (!window) return;
    window->Say(ToQt(OneLine(done ? *done : done.error().message)), !done);
    window->ShowUndo();
  };
}

/// What has gone wrong has been shown then.
functions::FunctionMemory::Done FunctionListWindow::SayingMore() {
  return [window = QPointer<FunctionListWindow>(this)](const Result<std::string>& done) {
    if (window && done) window->Say(window->message_->text().trimmed() + "  ·  " + ToQt(OneLine(*done)));
  };
}

void FunctionListWindow::Say(const QString& line, bool bad) {
  ShowText(message_, line);
  message_->setToolTip(line);
  widgets::SetRole(message_, bad ? "error" : "quiet");
}

}  // namespace kvx::console
