#include "console/memory_window.h"

#include <QCheckBox>
#include <QEvent>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QScrollArea>
#include <QScrollBar>
#include <QShortcut>
#include <QVBoxLayout>
#include <algorithm>

#include "console/questions.h"
#include "console/scan_panel.h"
#include "core/text.h"
#include "widgets/qt_text.h"

namespace kvx::console {

using widgets::ToQt;

namespace {

constexpr int kMostNumbered = 12;  // channels in a question
constexpr int kWide = 68;          // heights of text
constexpr int kHigh = 38;

MemoryDialogs MakeDialogs(QWidget* window, const Station& station) {
  const Asker asker{.window = window, .title = MemoryWindow::tr("Memory channels"), .held = true};
  const QString proposal = ToQt((station.folder() / "memories.csv").string());
  return {.ask_file =
              [asker, proposal](bool save, std::function<void(const QString&)> then) {
                AskFile(asker, proposal, MemoryWindow::tr("Memory channels (*.csv);;All files (*)"), save,
                        std::move(then));
              },
          .ask = [asker](const QString& question, const QStringList& choices,
                         std::function<void(int)> then) { AskChoice(asker, question, choices, std::move(then)); }};
}

QLabel* Caption(const QString& text) {
  auto* label = new QLabel(text);
  label->setProperty("role", "caption");
  return label;
}

}  // namespace

MemoryWindow::MemoryWindow(Station& station, const widgets::Appearance& appearance, QWidget* parent)
    : QMainWindow(parent),
      dialogs(MakeDialogs(this, station)),
      station_(station),
      model_(station, appearance),
      table_(new MemoryTable(model_, appearance)) {
  setWindowTitle(tr("Memory channels"));
  auto* center = new QWidget;
  center->setObjectName("center");
  const int gap = fontMetrics().height() / 2;
  auto* all = new QVBoxLayout(center);
  all->setContentsMargins(gap, gap, gap, gap);
  all->setSpacing(gap);
  all->addWidget(MakeSearch());
  auto* row = new QHBoxLayout;
  row->setSpacing(gap);
  row->addWidget(table_, 1);
  row->addWidget(MakeSide());
  all->addLayout(row, 1);
  all->addWidget(MakeMessage());
  setCentralWidget(center);
  table_->setAccessibleName(tr("Memory channels"));
  table_->setToolTip(
      tr("Double click or Return recalls a channel; F2 or typing edits the cell, the space bar a box; "
         "dragging or Alt+Up, Alt+Down moves the row; Delete empties what is marked"));
  table_->on_recall = [this](int number) { Recall(number); };
  table_->on_delete = [this] { Delete(); };
  table_->on_move = [this](int from, int to) { Move(from, to); };
  connect(table_->selectionModel(), &QItemSelectionModel::selectionChanged, this, &MemoryWindow::ShowState);
  model_.on_fault = [this](const QString& why) { Tell(why, false); };
  station_.memories.on_change = [this] { FollowChannels(); };
  subscription_ = station_.console.Subscribe([this](Field field) { Follow(field); });
  connect(new QShortcut(QKeySequence("Ctrl+W"), this), &QShortcut::activated, this, &QWidget::close);
  following_scan_ = station_.functions.scanner.changed.Follow([this] { FollowScan(); });
  table_->GoTo(std::max(1, station_.memories.current()));
  table_->setFocus();
  ShowPresent();
  ShowState();
  FollowScan();
  resize(QSize(kWide, kHigh) * fontMetrics().height());
}

MemoryWindow::~MemoryWindow() {
  station_.memories.on_change = nullptr;
}

QWidget* MemoryWindow::MakeSearch() {
  auto* line = new QWidget;
  auto* row = new QHBoxLayout(line);
  row->setContentsMargins(0, 0, 0, 0);
  search_ = new QLineEdit;
  search_->setAccessibleName(tr("Search"));
  search_->setToolTip(
      tr("Shows the channels that have all these words in name, frequency, mode or comment (Ctrl+F); "
         "Down goes to the table"));
  search_->setPlaceholderText(tr("Search: net, 3650, LSB"));
  search_->setClearButtonEnabled(true);
  connect(search_, &QLineEdit::textChanged, this, &MemoryWindow::ApplyFilter);
  connect(search_, &QLineEdit::returnPressed, table_, [this] { table_->setFocus(Qt::TabFocusReason); });
  connect(new QShortcut(QKeySequence::Find, this), &QShortcut::activated, search_, [this] {
    search_->setFocus(Qt::ShortcutFocusReason);
    search_->selectAll();
  });
  auto* down = new QShortcut(QKeySequence(Qt::Key_Down), search_);
  down->setContext(Qt::WidgetShortcut);
  connect(down, &QShortcut::activated, table_, [this] { table_->setFocus(Qt::TabFocusReason); });
  empty_ = new QCheckBox(tr("&Empty channels"));
  empty_->setToolTip(tr("Shows empty channels too, while nothing is searched (Alt+E)"));
  empty_->setChecked(true);
  connect(empty_, &QCheckBox::toggled, this, &MemoryWindow::ApplyFilter);
  row->addWidget(search_, 1);
  row->addWidget(empty_);
  return line;
}

QWidget* MemoryWindow::MakeSide() {
  auto* side = new QFrame;
  side->setProperty("role", "panel");
  auto* column = new QVBoxLayout(side);
  column->setSpacing(fontMetrics().height() / 3);
  column->addWidget(Caption(tr("PRESENT FREQUENCY")));
  present_ = new QLabel;
  present_->setProperty("role", "chip");
  present_->setAlignment(Qt::AlignCenter);
  present_->setToolTip(tr("What would be stored"));
  column->addWidget(present_);
  MakeEditing(*column);
  column->addStretch(1);
  MakeRigKeys(*column);
  auto* scroll = new QScrollArea;  // a small screen with large text still reaches everything
  scroll->setWidgetResizable(true);
  scroll->setFrameShape(QFrame::NoFrame);
  scroll->setFocusPolicy(Qt::NoFocus);
  scroll->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  scroll->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Expanding);
  scroll->setWidget(side);
  side->installEventFilter(this);
  side_ = scroll;
  return scroll;
}

/// The buttons are never cut at their right, whatever the size of their text.
bool MemoryWindow::eventFilter(QObject* watched, QEvent* event) {
  if (event->type() == QEvent::LayoutRequest || event->type() == QEvent::Show) {
    const int bar = side_->verticalScrollBar()->sizeHint().width();
    side_->setFixedWidth(side_->widget()->sizeHint().width() + bar);
  }
  return QMainWindow::eventFilter(watched, event);
}

QPushButton* MemoryWindow::MakeButton(QVBoxLayout& column, const QString& text, const QString& tip,
                                      const QKeySequence& keys, void (MemoryWindow::*action)()) {
  auto* button = new QPushButton(text);
  button->setAccessibleName(text);
  const QString shown = keys.toString(QKeySequence::NativeText);
  button->setToolTip(shown.isEmpty() ? tip : tip + " (" + shown + ")");
  if (!keys.isEmpty()) connect(new QShortcut(keys, this), &QShortcut::activated, button, [button] { button->click(); });
  if (action != nullptr) connect(button, &QPushButton::clicked, this, action);
  column.addWidget(button);
  return button;
}

void MemoryWindow::MakeEditing(QVBoxLayout& column) {
  store_ = MakeButton(column, tr("Store here"), tr("Stores the present frequency into this channel"),
                      QKeySequence::Save, &MemoryWindow::StoreHere);
  store_free_ = MakeButton(column, tr("Store in the next free"), tr("Stores the present frequency into a free channel"),
                           QKeySequence("Ctrl+N"), &MemoryWindow::StoreFree);
  recall_ =
      MakeButton(column, tr("Recall"), tr("Tunes to this channel; Return in the table, or a double click, does too"),
                 QKeySequence("Ctrl+Return"), &MemoryWindow::RecallCurrent);
  scan_ = MakeButton(column, tr("Stop scan"), tr("Scans the channels that are not to be skipped, or stops scanning"),
                     QKeySequence("Ctrl+G"), &MemoryWindow::TurnScan);
  column.addSpacing(fontMetrics().height() / 3);
  column.addWidget(Caption(tr("CHANNELS")));
  delete_ = MakeButton(column, tr("Delete"), tr("Empties the marked channels; Del in the table does too"),
                       QKeySequence("Ctrl+Del"), &MemoryWindow::Delete);
  undo_ = MakeButton(column, tr("Undo"), tr("Takes the last change back"), QKeySequence::Undo, &MemoryWindow::Undo);
  MakeButton(column, tr("Import…"), tr("Takes channels from a CSV file"), QKeySequence("Ctrl+I"),
             &MemoryWindow::Import);
  MakeButton(column, tr("Export…"), tr("Writes the channels to a CSV file"), QKeySequence("Ctrl+E"),
             &MemoryWindow::Export);
}

void MemoryWindow::MakeRigKeys(QVBoxLayout& column) {
  struct Row {
    QString text;
    QString tip;
    const char* key;
    const char* keys;
  };
  column.addWidget(Caption(tr("THE RIG'S OWN")));
  for (const Row& row : {Row{tr("VFO to memory"), tr("Puts the VFO into the rig's memory"), "XVFOTOMEM", "Alt+V"},
                         Row{tr("Memory to VFO"), tr("Puts the rig's memory into the VFO"), "XMEMTOVFO", "Alt+M"},
                         Row{tr("Memory channel"), tr("Sends the rig's memory channel command"), "XMEMCH", "Alt+C"}}) {
    QPushButton* button = MakeButton(column, row.text, row.tip, QKeySequence(row.keys), nullptr);
    connect(button, &QPushButton::clicked, this, [this, key = row.key] { Tell(PressMemoryKey(station_, key)); });
    rig_keys_.push_back({button, row.key});
  }
}

QLabel* MemoryWindow::MakeMessage() {
  message_ = new QLabel(tr("Ready"));
  message_->setTextFormat(Qt::PlainText);
  message_->setWordWrap(true);
  message_->setToolTip(tr("What became of the last operation"));
  message_->setProperty("role", "quiet");
  return message_;
}

void MemoryWindow::Tell(const QString& text, bool good) {
  message_->setText(text);
  message_->setAccessibleName(text);
  widgets::SetRole(message_, good ? "quiet" : "error");
}

void MemoryWindow::Tell(const Told& told) {
  Tell(ToQt(told.sentence), told.good);
}

bool MemoryWindow::Check(const Status& status) {
  if (!status) Tell(ToQt(status.error().message), false);
  return status.ok();
}

void MemoryWindow::Follow(Field field) {
  if (field == Field::kRigRow || field == Field::kRigName) return ShowState();
  if (field == Field::kFreqDisp || field == Field::kMode) ShowPresent();
  if (field == Field::kFreqDisp) model_.ShowTuned();
}

void MemoryWindow::FollowChannels() {
  const int number = keep_ != 0 ? keep_ : table_->current();
  const std::vector<int> marked = table_->marked();
  model_.Update();
  if (marked.size() < 2 || keep_ != 0 || table_->current() == 0) table_->GoTo(number);
  ShowState();
}

void MemoryWindow::TurnScan() {
  functions::Scanner& scanner = station_.functions.scanner;
  if (scanner.running()) return scanner.Stop("by the operator");
  Check(scanner.Start(functions::ScanSource::kMemories));
}

/// The channel that is heard is kept in sight; the one in hand stays that.
void MemoryWindow::FollowScan() {
  const functions::ScanState& state = station_.functions.scanner.state();
  const bool running = station_.functions.scanner.running();
  const QString text = running ? tr("Stop scan") : tr("Scan");
  scan_->setText(text);
  scan_->setAccessibleName(text);
  model_.ShowTuned();
  const int row = model_.RowOf(model_.heard());
  if (row >= 0 && !table_->is_editing()) table_->scrollTo(model_.index(row, MemoryModel::kName));
  if (state.stop && state.stop->channel != 0) Tell(ScanLine(state));
}

void MemoryWindow::ApplyFilter() {
  const int number = table_->current();
  model_.SetFilter({search_->text().toStdString(), empty_->isChecked()});
  table_->GoTo(number);
  ShowState();
  if (model_.rowCount() == 0) return Tell(tr("No channel is like that"));
  Tell(tr("%n channel(s) shown", nullptr, model_.rowCount()));
}

void MemoryWindow::ShowPresent() {
  const Console& console = station_.console;
  const QString text = ToQt(KhzText(*console.FreqDisp) + " kHz " + std::string(Trim(*console.Mode)));
  if (text == present_->text()) return;
  present_->setText(text);
  present_->setAccessibleName(tr("Present frequency %1").arg(text));
}

void MemoryWindow::ShowState() {
  const functions::MemoryChannels& memories = station_.memories;
  const std::vector<int> marked = table_->marked();
  const int current = table_->current();
  const auto holds = [&](int number) { return number != 0 && !memories.channel(number).empty(); };
  recall_->setEnabled(holds(current));
  store_->setEnabled(current != 0);
  store_free_->setEnabled(memories.first_free() != 0);
  delete_->setEnabled(std::any_of(marked.begin(), marked.end(), holds));
  undo_->setEnabled(memories.can_undo());
  for (const RigKey& key : rig_keys_) key.button->setEnabled(station_.engine.dispatcher.Has(key.key));
}

void MemoryWindow::Recall(int number) {
  if (number == 0) return;
  const Told told = RecallMemory(station_, number);
  if (!told.good) return Tell(told);
  Tell(tr("Recalled %1").arg(model_.Describe(number)));
}

void MemoryWindow::StoreHere() {
  Tell(StoreMemory(station_, table_->current()));
}

void MemoryWindow::StoreFree() {
  keep_ = station_.memories.first_free();
  Tell(StoreMemory(station_, 0));
  keep_ = 0;
}

void MemoryWindow::Delete() {
  const std::vector<int> marked = table_->marked();
  const auto held = std::count_if(marked.begin(), marked.end(),
                                  [this](int number) { return !station_.memories.channel(number).empty(); });
  if (held == 0) return;
  if (Check(station_.memories.Delete(marked)))
    Tell(tr("%n channel(s) deleted; Ctrl+Z brings them back", nullptr, static_cast<int>(held)));
}

void MemoryWindow::Undo() {
  if (Check(station_.memories.Undo())) Tell(tr("The last change is taken back"));
}

void MemoryWindow::Move(int from, int to) {
  keep_ = to;
  if (Check(station_.memories.Move(from, to))) Tell(tr("Moved: %1").arg(model_.Describe(to)));
  keep_ = 0;
}

void MemoryWindow::Export() {
  dialogs.ask_file(true, [this](const QString& file) {
    const auto written = station_.memories.Export(file.toStdString());
    Tell(ToQt(written ? *written : written.error().message), written.ok());
  });
}

void MemoryWindow::Import() {
  dialogs.ask_file(false, [this](const QString& file) { ImportFrom(file); });
}

void MemoryWindow::ImportFrom(const QString& file) {
  const auto channels = station_.memories.Read(file.toStdString());
  if (!channels) return Tell(ToQt(channels.error().message), false);
  const std::vector<int> taken = station_.memories.Conflicts(*channels);
  if (taken.empty()) return Take(*channels, functions::Conflict::kRefuse, file);
  QStringList numbers;
  for (const int number : taken) numbers << QString::number(number);
  const auto more = numbers.size() - kMostNumbered;
  if (more > 0) numbers = numbers.mid(0, kMostNumbered) << tr("and %1 more").arg(more);
  dialogs.ask(tr("There is something in these channels already: %1").arg(numbers.join(", ")),
              {tr("Keep them"), tr("Replace them"), tr("Cancel")}, [this, channels = *channels, file](int answer) {
                if (answer == 0) Take(channels, functions::Conflict::kKeep, file);
                if (answer == 1) Take(channels, functions::Conflict::kReplace, file);
              });
}

void MemoryWindow::Take(const std::vector<functions::NumberedChannel>& channels, functions::Conflict conflict,
                        const QString& file) {
  const auto taken = station_.memories.Take(channels, conflict, file.toStdString());
  Tell(ToQt(taken ? *taken : taken.error().message), taken.ok());
}

}  // namespace kvx::console
