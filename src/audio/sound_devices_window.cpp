#include "audio/sound_devices_window.h"

#include <QDialogButtonBox>
#include <QFileDialog>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QVBoxLayout>

#include "audio/source_choices.h"
#include "widgets/qt_text.h"

namespace kvx::audio {
namespace {

using widgets::Named;
using widgets::ToQt;
using widgets::WithRole;

constexpr int kWide = 34;  // heights of text
constexpr int kHigh = 22;

}  // namespace

void AskForWavFile(AudioAnalysis& audio, QWidget* parent) {
  auto* dialog =
      new QFileDialog(parent, SoundDevices::tr("WAV file"), {}, SoundDevices::tr("Sound (*.wav *.WAV);;All files (*)"));
  dialog->setOption(QFileDialog::DontUseNativeDialog);
  dialog->setFileMode(QFileDialog::ExistingFile);
  dialog->setAttribute(Qt::WA_DeleteOnClose);
  QObject::connect(dialog, &QFileDialog::fileSelected, dialog,
                   [&audio](const QString& file) { (void)audio.Set("source", WavSource(file.toStdString())); });
  dialog->open();
}

SoundDevices::SoundDevices(AudioAnalysis& audio, QWidget* parent)
    : QDialog(parent), audio_(audio), list_(new QListWidget), state_(WithRole(new QLabel, "quiet")) {
  setObjectName("SoundDevices");
  setWindowTitle(tr("Sound Devices"));
  Named(list_, tr("Sound devices"), tr("Where the sound comes from"));
  list_->setObjectName("devices");
  Named(state_, tr("State"), tr("State of the sound device"));
  state_->setWordWrap(true);
  auto* file = Named(new QPushButton(tr("&WAV file…")), tr("WAV file"), tr("Plays a recording"), QKeySequence("Alt+W"));
  auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close);
  buttons->addButton(file, QDialogButtonBox::ActionRole);
  auto* column = new QVBoxLayout(this);
  column->addWidget(list_, 1);
  column->addWidget(state_);
  column->addWidget(buttons);
  const auto use = [this](const QListWidgetItem* item) { Use(item->data(Qt::UserRole).toString().toStdString()); };
  connect(list_, &QListWidget::itemClicked, this, use);
  connect(list_, &QListWidget::itemActivated, this, use);
  connect(file, &QPushButton::clicked, this, [this] { AskForWavFile(audio_, this); });
  connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
  following_ = audio_.changed.Follow([this] { Show(); });
  Show();
  resize(QSize(kWide, kHigh) * fontMetrics().height());
}

void SoundDevices::Use(const std::string& source) {
  if (source == audio_.settings().source) return;
  const Status used = audio_.Set("source", source);
  widgets::ShowText(state_, used ? ToQt(audio_.source_state()) : ToQt(used.error().message));
}

void SoundDevices::Show() {
  const std::vector<SourceChoice> choices = SourceChoices(audio_.Devices(), audio_.settings().source);
  while (list_->count() > static_cast<int>(choices.size())) delete list_->takeItem(list_->count() - 1);
  for (int row = 0; row < static_cast<int>(choices.size()); ++row) {
    const SourceChoice& choice = choices[static_cast<std::size_t>(row)];
    if (list_->count() == row) list_->addItem(new QListWidgetItem);
    QListWidgetItem* item = list_->item(row);
    if (item->text() != ToQt(choice.label)) item->setText(ToQt(choice.label));
    item->setData(Qt::UserRole, ToQt(choice.source));
    if (choice.source == audio_.settings().source && list_->currentRow() != row) list_->setCurrentRow(row);
  }
  widgets::ShowText(state_, ToQt(audio_.source_state()));
}

}  // namespace kvx::audio
