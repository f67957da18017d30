#include "console/memory_menu.h"

#include <QShortcut>

#include "core/text.h"
#include "widgets/qt_text.h"

namespace kvx::console {
namespace {

constexpr std::size_t kNamed = 10;

QString KeyOf(std::size_t place) {
  return QString("Ctrl+Shift+%1").arg((place + 1) % kNamed);
}

}  // namespace

MemoryMenu::MemoryMenu(Station& station, QWidget* window) : QMenu(tr("&Memories"), window), station_(station) {
  // The key belongs to the entry of the menu of windows.
  addAction(tr("Table of &channels") + "\tCtrl+M", this, [this] {
    if (on_open_table) on_open_table();
  });
  addSeparator();
  addAction(tr("Ne&xt channel"), QKeySequence("Ctrl+PgUp"), this, [this] { StepMemory(station_, 1); });
  addAction(tr("Channel &before"), QKeySequence("Ctrl+PgDown"), this, [this] { StepMemory(station_, -1); });
  addAction(tr("&Store in the next free channel"), QKeySequence("Ctrl+Shift+M"), this,
            [this] { StoreMemory(station_, 0); });
  addSeparator();
  struct Row {
    QString text;
    const char* key;
  };
  for (const Row& row : {Row{tr("&VFO to the rig's memory"), "XVFOTOMEM"}, Row{tr("&Rig's memory to VFO"), "XMEMTOVFO"},
                         Row{tr("Rig's &memory channel"), "XMEMCH"}}) {
    rig_keys_.push_back({addAction(row.text, this, [this, key = row.key] { PressMemoryKey(station_, key); }), row.key});
  }
  addSeparator();
  MakeNamed(window);
  connect(this, &QMenu::aboutToShow, this, &MemoryMenu::ShowChannels);
  ShowChannels();
}

void MemoryMenu::MakeNamed(QWidget* window) {
  none_ = addAction(tr("No channel has a name yet"));
  none_->setEnabled(false);
  for (std::size_t place = 0; place < kNamed; ++place) {
    named_.push_back(addAction("", this, [this, place] { RecallNamed(place); }));
    // Which channels have a name shows when the menu opens; the keys count all the time.
    connect(new QShortcut(QKeySequence(KeyOf(place)), window), &QShortcut::activated, this,
            [this, place] { RecallNamed(place); });
  }
}

void MemoryMenu::ShowChannels() {
  const std::vector<int> numbers = NamedChannels(station_.memories, kNamed);
  none_->setVisible(numbers.empty());
  for (std::size_t place = 0; place < kNamed; ++place) {
    named_[place]->setVisible(place < numbers.size());
    if (place >= numbers.size()) continue;
    const functions::MemoryChannel& channel = station_.memories.channel(numbers[place]);
    QString text = tr("%1  %2  %3 %4")
                       .arg(numbers[place])
                       .arg(widgets::ToQt(channel.name).simplified(), widgets::ToQt(KhzText(channel.frequency)),
                            widgets::ToQt(channel.mode));
    named_[place]->setText(text.trimmed().replace('&', "&&") + "\t" + KeyOf(place));
  }
  for (const RigKey& key : rig_keys_) key.action->setEnabled(station_.engine.dispatcher.Has(key.key));
}

void MemoryMenu::RecallNamed(std::size_t place) {
  const std::vector<int> numbers = NamedChannels(station_.memories, kNamed);
  if (place < numbers.size()) RecallMemory(station_, numbers[place]);
}

}  // namespace kvx::console
