#include "console/setup_speech_page.h"

#include "core/text.h"

namespace kvx::console {

SetupSpeechPage::SetupSpeechPage(StationSetup& setup)
    : setup_(setup),
      form_(this, tr("Announcements"),
            tr("Short sentences that a screen reader reads, or a voice speaks where there is one.")) {
  form_.BeginPanel(tr("Spoken announcements"));
  on_ = new QCheckBox(tr("&Announce what changes"));
  on_->setAccessibleName(tr("Announce what changes"));
  on_->setToolTip(tr("Band, mode, frequency and every other operation in a short sentence (Alt+A)"));
  connect(on_, &QCheckBox::toggled, this, [this](bool on) { setup_.station().SetAnnounce(on); });
  form_.AddWide(on_);
  form_.AddButtons(
      {MakeSetupButton(tr("&Say something"), tr("Speaks the frequency and the mode"), [this] { SaySomething(); })});
  form_.End();
  Refresh();
}

void SetupSpeechPage::SaySomething() {
  const Console& console = setup_.station().console;
  const QString sentence = tr("%1 kilohertz, %2")
                               .arg(QString::fromStdString(KhzText(*console.FreqDisp)),
                                    QString::fromStdString(std::string(Trim(*console.Mode))));
  form_.Show(Ok(), sentence);
  if (on_speak) on_speak(sentence);
}

void SetupSpeechPage::Refresh() {
  on_->setChecked(*setup_.station().console.Announce);
}

void SetupSpeechPage::Follow(Field field) {
  if (field == Field::kAnnounce) Refresh();
}

}  // namespace kvx::console
