#include "console/setup_rig_page.h"

#include <QEvent>
#include <QHeaderView>
#include <QKeyEvent>
#include <QSignalBlocker>

#include "core/text.h"
#include "widgets/qt_text.h"

namespace kvx::console {
namespace {

using widgets::ToQt;

constexpr int kAddresses = 7;
constexpr int kListLines = 9;

}  // namespace

SetupRigPage::SetupRigPage(StationSetup& setup)
    : setup_(setup), form_(this, tr("Rig"), tr("Which rig the console drives. A choice counts at once.")) {
  AddFirstStart();
  AddRigs();
  AddSavedRigs();
  form_.End();
  FitHeights();
  Refresh();
}

void SetupRigPage::AddFirstStart() {
  first_start_ = form_.BeginPanel(tr("No rig yet"));
  form_.AddNote(
      tr("Choose your rig below, then its port on the next page. Or look around first: the simulated station "
         "is a rig inside this program, which you can tune without any hardware."));
  QPushButton* simulated =
      MakeSetupButton(tr("&Try the simulated station"), tr("Use a simulated TS-2000 on a port of its own"), [this] {
        if (on_use_simulated_rig) on_use_simulated_rig();
      });
  QFont font = simulated->font();
  font.setBold(true);
  simulated->setFont(font);
  form_.AddButtons({simulated});
}

void SetupRigPage::AddRigs() {
  form_.BeginPanel(tr("Rig definitions"));
  search_ = new QLineEdit;
  search_->setPlaceholderText(tr("maker or model, as in ts2000"));
  search_->setClearButtonEnabled(true);
  search_->installEventFilter(this);
  connect(search_, &QLineEdit::textChanged, this, [this] { FillRigs(); });
  connect(search_, &QLineEdit::returnPressed, this, [this] { UseChosen(); });
  form_.AddRow(tr("&Search"), search_,
               tr("Shows the rigs with these words in their maker or name; Enter uses the marked one"));
  rigs_ = new QTreeWidget;
  rigs_->setColumnCount(2);
  rigs_->setHeaderHidden(true);
  rigs_->header()->setSectionResizeMode(0, QHeaderView::ResizeToContents);
  rigs_->setAccessibleName(tr("Rigs by maker"));
  rigs_->setToolTip(tr("Double click or Enter uses the rig"));
  rigs_->setTabKeyNavigation(false);
  connect(rigs_, &QTreeWidget::itemActivated, this, [this] { UseChosen(); });
  form_.AddWide(rigs_);
  form_.AddButtons({MakeSetupButton(tr("&Use this rig"), tr("Loads the marked definition and opens the port anew"),
                                    [this] { UseChosen(); }),
                    MakeSetupButton(tr("N&o rig"), tr("Drives no rig and closes the port"), [this] { UseRig("NONE"); }),
                    MakeSetupButton(tr("&Edit this definition..."), tr("Opens the editor on the rig in use"), [this] {
                      if (on_edit_definition) on_edit_definition();
                    })});
  address_ = new QComboBox;
  connect(address_, &QComboBox::activated, this, [this](int index) {
    const cat::SendOutcome outcome = setup_.station().Rig_Click(index + 1);
    const bool refused = outcome == cat::SendOutcome::kRefused;
    form_.Show(refused ? Status(Error{ErrorCode::kInvalid, setup_.station().WhyNotSent(outcome)}) : Ok());
    FillAddresses();
  });
  form_.AddRow(tr("Rig &address"), address_,
               tr("Which of the definition's seven addresses (or rig selections) is in use"));
}

void SetupRigPage::AddSavedRigs() {
  form_.BeginPanel(tr("Saved rigs"));
  saved_ = new QTableWidget(config::kSavedRigs, 2);
  saved_->setHorizontalHeaderLabels({tr("Rig"), tr("Speed")});
  saved_->setAccessibleName(tr("Saved rigs 1 to 8"));
  saved_->setToolTip(tr("Rigs that the console changes to with one button"));
  saved_->setSelectionBehavior(QAbstractItemView::SelectRows);
  saved_->setSelectionMode(QAbstractItemView::SingleSelection);
  saved_->setEditTriggers(QAbstractItemView::NoEditTriggers);
  saved_->setTabKeyNavigation(false);
  saved_->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  saved_->horizontalHeader()->setSectionResizeMode(QHeaderView::Stretch);
  form_.AddWide(saved_);
  form_.AddButtons(
      {MakeSetupButton(tr("Use sa&ved rig"), tr("Changes to the rig of the marked line"),
                       [this] {
                         WithSlot([this](int slot) {
                           const Status used = setup_.station().xRig_Click(slot);
                           form_.Show(used, tr("Saved rig %1 is in use").arg(slot));
                         });
                       }),
       MakeSetupButton(tr("Store &here"), tr("Keeps the rig in use, its speed and its stop bits in the marked line"),
                       [this] {
                         WithSlot([this](int slot) {
                           form_.Show(setup_.StoreSavedRig(slot), tr("Stored as saved rig %1").arg(slot));
                         });
                       }),
       MakeSetupButton(tr("C&lear"), tr("Empties the marked line"), [this] {
         WithSlot([this](int slot) { form_.Show(setup_.ClearSavedRig(slot), tr("Saved rig %1 is empty").arg(slot)); });
       })});
}

void SetupRigPage::WithSlot(const std::function<void(int slot)>& action) {
  action(saved_->currentRow() + 1);
  FillSavedRigs();
}

void SetupRigPage::Refresh() {
  first_start_->setVisible(*setup_.station().console.RigName == "NONE");
  FillRigs();
  FillAddresses();
  FillSavedRigs();
}

void SetupRigPage::Follow(Field field) {
  if (field == Field::kRigName) Refresh();
  if (field == Field::kRigRow || field == Field::kRigNumber) FillAddresses();
  if (field == Field::kSavedRigs) FillSavedRigs();
}

/// Builds the list only when there is something new in it: it may be what has just been clicked in.
void SetupRigPage::FillRigs() {
  const auto names = setup_.station().RigNames();
  if (!names) return form_.Show(names.error());
  const std::vector<RigGroup> groups = GroupRigs(*names, search_->text().toStdString());
  if (groups != listed_) ListRigs(groups);
  listed_ = groups;
  for (QTreeWidgetItemIterator item(rigs_, QTreeWidgetItemIterator::NoChildren); *item != nullptr; ++item)
    MarkRig(*item);
}

void SetupRigPage::ListRigs(const std::vector<RigGroup>& groups) {
  const QTreeWidgetItem* before = rigs_->currentItem();
  const QString chosen = before != nullptr ? before->text(0) : ToQt(*setup_.station().console.RigName);
  rigs_->clear();
  QTreeWidgetItem* first = nullptr;
  QTreeWidgetItem* current = nullptr;
  for (const RigGroup& group : groups) {
    auto* maker = new QTreeWidgetItem(rigs_, {ToQt(group.maker)});
    maker->setFlags(Qt::ItemIsEnabled);
    for (const std::string& name : group.rigs) {
      auto* rig = new QTreeWidgetItem(maker, {ToQt(name)});
      if (first == nullptr) first = rig;
      if (rig->text(0) == chosen) current = rig;
    }
  }
  rigs_->expandAll();
  if (current == nullptr && !search_->text().isEmpty()) current = first;
  if (current != nullptr) rigs_->setCurrentItem(current);
}

void SetupRigPage::MarkRig(QTreeWidgetItem* item) {
  const bool in_use = EqualNoCase(item->text(0).toStdString(), *setup_.station().console.RigName);
  QFont font = rigs_->font();
  font.setBold(in_use);
  item->setFont(0, font);
  item->setText(1, in_use ? tr("in use") : QString());
}

void SetupRigPage::FillAddresses() {
  const config::RigRow& row = setup_.station().engine.rig().row;
  const QSignalBlocker quiet(address_);
  address_->clear();
  for (int number = 1; number <= kAddresses; ++number) {
    const std::string& value = row["Add" + std::to_string(number)];
    address_->addItem(value.empty() ? tr("%1 (not set)").arg(number) : QString("%1: %2").arg(number).arg(ToQt(value)));
  }
  address_->setCurrentIndex(static_cast<int>(LeadingNumber(*setup_.station().console.RigNumber)) - 1);
}

void SetupRigPage::FillSavedRigs() {
  const auto& saved = setup_.station().settings().saved_rigs;
  for (int row = 0; row < config::kSavedRigs; ++row) {
    const config::SavedRig& rig = saved[static_cast<std::size_t>(row + 1)];
    saved_->setItem(row, 0, new QTableWidgetItem(rig.name.empty() ? tr("empty") : ToQt(rig.name)));
    saved_->setItem(row, 1, new QTableWidgetItem(rig.speed > 0 ? QString::number(rig.speed) : QString()));
  }
  if (saved_->currentRow() < 0) saved_->setCurrentCell(0, 0);
}

void SetupRigPage::UseChosen() {
  const QTreeWidgetItem* item = rigs_->currentItem();
  if (item == nullptr || item->parent() == nullptr)
    return form_.Show(Error{ErrorCode::kInvalid, tr("Mark a rig in the list first").toStdString()});
  UseRig(item->text(0).toStdString());
}

void SetupRigPage::UseRig(const std::string& name) {
  const bool another = !EqualNoCase(name, *setup_.station().console.RigName);
  const Status chosen = setup_.station().ChooseRig(name);
  form_.Show(chosen, EqualNoCase(name, "NONE") ? tr("No rig is in use") : tr("%1 is in use").arg(ToQt(name)));
  if (chosen && another && on_rig_chosen) on_rig_chosen();
}

/// Up and Down in the search box move the mark in the list.
bool SetupRigPage::eventFilter(QObject* watched, QEvent* event) {
  if (watched != search_ || event->type() != QEvent::KeyPress) return false;
  const int key = static_cast<QKeyEvent*>(event)->key();
  if (key != Qt::Key_Down && key != Qt::Key_Up) return false;
  QTreeWidgetItem* item = rigs_->currentItem();
  do {
    item = item == nullptr       ? rigs_->topLevelItem(0)
           : key == Qt::Key_Down ? rigs_->itemBelow(item)
                                 : rigs_->itemAbove(item);
  } while (item != nullptr && item->parent() == nullptr);
  if (item != nullptr) rigs_->setCurrentItem(item);
  return true;
}

void SetupRigPage::changeEvent(QEvent* event) {
  QWidget::changeEvent(event);
  if (saved_ != nullptr && (event->type() == QEvent::FontChange || event->type() == QEvent::StyleChange)) FitHeights();
}

void SetupRigPage::FitHeights() {
  const int line = fontMetrics().height();
  rigs_->setMinimumHeight(line * kListLines * 4 / 3);
  saved_->verticalHeader()->setDefaultSectionSize(line * 3 / 2);
  saved_->setFixedHeight(saved_->horizontalHeader()->sizeHint().height() + config::kSavedRigs * (line * 3 / 2) + 6);
}

}  // namespace kvx::console
