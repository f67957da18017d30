#include "console/setup_dialog.h"

#include <QDialogButtonBox>
#include <QEvent>
#include <QHBoxLayout>
#include <QPushButton>
#include <QScreen>
#include <QVBoxLayout>
#include <algorithm>

#include "console/setup_appearance_page.h"
#include "console/setup_keyer_page.h"
#include "console/setup_keys_page.h"
#include "console/setup_port_page.h"
#include "console/setup_rig_page.h"
#include "console/setup_speech_page.h"
#include "console/setup_station_page.h"

namespace kvx::console {
namespace {

constexpr int kWishedWidth = 46;  // lines of text
constexpr int kWishedHeight = 36;
constexpr double kScreenShare = 0.95;

}  // namespace

SetupDialog::SetupDialog(StationSetup& setup, const widgets::Appearance& appearance, LocalTone* tone, QWidget* parent)
    : QDialog(parent), list_(new QListWidget), pages_(new QStackedWidget) {
  setWindowTitle(tr("Setup"));
  setModal(false);
  list_->setAccessibleName(tr("Pages of the setup"));
  list_->setToolTip(tr("Pages of the setup (Up, Down)"));
  list_->setSpacing(2);
  list_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  auto* close = new QDialogButtonBox(QDialogButtonBox::Close);
  QPushButton* button = close->button(QDialogButtonBox::Close);
  button->setAccessibleName(tr("Close"));
  button->setToolTip(tr("Closes the setup (Esc)"));
  button->setAutoDefault(false);
  connect(close, &QDialogButtonBox::rejected, this, &QDialog::reject);
  auto* across = new QHBoxLayout;
  across->addWidget(list_);
  across->addWidget(pages_, 1);
  auto* down = new QVBoxLayout(this);
  down->addLayout(across, 1);
  down->addWidget(close);

  SetupRigPage* rig = AddPage(tr("Rig"), new SetupRigPage(setup));
  rig->on_use_simulated_rig = [this] { on_use_simulated_rig ? on_use_simulated_rig() : void(); };
  rig->on_edit_definition = [this] { on_edit_definition ? on_edit_definition() : void(); };
  SetupPortPage* port = AddPage(tr("Port"), new SetupPortPage(setup));
  rig->on_rig_chosen = [port] { port->ProposeUsual(); };
  AddPage(tr("Station"), new SetupStationPage(setup));
  auto* keyer = new SetupKeyerPage(setup, tone);
  Add(tr("Keyer"), keyer, keyer);
  auto* links = new SetupKeysPage(setup);
  Add(tr("Links"), links, links);
  AddPage(tr("Appearance"), new SetupAppearancePage(setup, appearance));
  SetupSpeechPage* speech = AddPage(tr("Announcements"), new SetupSpeechPage(setup));
  speech->on_speak = [this](const QString& sentence) { on_speak ? on_speak(sentence) : void(); };

  connect(list_, &QListWidget::currentRowChanged, this, [this](int row) {
    if (row < 0) return;
    refresh_[static_cast<std::size_t>(row)]();
    pages_->setCurrentIndex(row);
  });
  list_->setCurrentRow(kRig);
  subscription_ = setup.station().console.Subscribe([this](Field field) {
    // A page is refreshed as a whole when it is about to be shown.
    if (isVisible()) follow_[static_cast<std::size_t>(list_->currentRow())](field);
  });
  Fit();
}

template <class PageWidget>
PageWidget* SetupDialog::AddPage(const QString& title, PageWidget* page) {
  Add(title, MakeSetupScroll(page), page);
  return page;
}

template <class PageWidget>
void SetupDialog::Add(const QString& title, QWidget* shown, PageWidget* page) {
  refresh_.push_back([page] { page->Refresh(); });
  follow_.push_back([page](Field field) { page->Follow(field); });
  pages_->addWidget(shown);
  list_->addItem(title);
}

void SetupDialog::Open(Page page) {
  list_->setCurrentRow(page);
  show();
  raise();
  activateWindow();
}

void SetupDialog::showEvent(QShowEvent* event) {
  refresh_[static_cast<std::size_t>(list_->currentRow())]();
  QDialog::showEvent(event);
}

void SetupDialog::changeEvent(QEvent* event) {
  QDialog::changeEvent(event);
  if (event->type() == QEvent::FontChange) FitList();
}

void SetupDialog::FitList() {
  const QFontMetrics metrics(list_->font());
  int width = 0;
  for (int row = 0; row < list_->count(); ++row) {
    QListWidgetItem* item = list_->item(row);
    item->setSizeHint({0, metrics.height() * 7 / 4});
    width = std::max(width, metrics.horizontalAdvance(item->text()));
  }
  list_->setFixedWidth(width + metrics.height() * 2);
}

/// As large as the pages like it, but never larger than the screen.
void SetupDialog::Fit() {
  FitList();
  const int line = fontMetrics().height();
  QSize wished(line * kWishedWidth, line * kWishedHeight);
  if (const QScreen* place = screen()) wished = wished.boundedTo(place->availableSize() * kScreenShare);
  resize(wished);
}

}  // namespace kvx::console
