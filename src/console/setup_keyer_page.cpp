#include "console/setup_keyer_page.h"

#include <string_view>
#include <utility>

#include "keyer/winkeyer.h"
#include "widgets/qt_text.h"

namespace kvx::console {
namespace {

constexpr std::string_view kKindKey = "KEYERPORT=";
constexpr std::string_view kPortKey = "PADDLECOM=";
constexpr std::string_view kVolumeKey = "CWVOLUME=";
constexpr std::string_view kLimitKey = "TXTIME=";

}  // namespace

SetupKeyerPage::SetupKeyerPage(StationSetup& setup, LocalTone* tone)
    : setup_(setup),
      keyer_(setup.station().keyer),
      tone_(tone),
      rows_(new QWidget),
      form_(rows_, tr("Keyer"), tr("What sends CW. Each change counts at once.")),
      keys_(setup, form_) {
  keys_.on_kept = [this](const config::KeptSetting& setting) { Kept(setting); };
  AddRows();
  LayOutLongPage(this, rows_, form_);
  Refresh();
}

/// The rows of the table in its order, and what belongs to some of them behind those.
void SetupKeyerPage::AddRows() {
  std::string_view group;
  for (const config::KeptSetting& setting : config::KeptSettings()) {
    if (setting.owner != config::SettingOwner::kKeyer) continue;
    if (group != setting.group) form_.BeginPanel(tr(setting.group));
    group = setting.group;
    keys_.Add(setting);
    if (setting.key == kLimitKey) AddState();
    if (setting.key == kPortKey) device_.emplace(setup_, form_, setting.key, tr("&Device"), false);
    if (setting.key != kVolumeKey) continue;
    AddListen();
    AddTexts();
  }
}

void SetupKeyerPage::AddState() {
  state_ = MakeSetupLabel({}, "title");
  state_->setAccessibleName(tr("State of the keyer"));
  form_.AddWide(state_);
  form_.AddButtons({MakeSetupButton(tr("&Test"), tr("Starts the keyer up and says what it is; nothing goes on the air"),
                                    [this] { StartTest(); })});
  answer_ = MakeSetupLabel({}, "quiet");
  answer_->setAccessibleName(tr("What the test found"));
  form_.AddWide(answer_);
}

void SetupKeyerPage::AddListen() {
  QPushButton* listen = MakeSetupButton(
      tr("&Listen"), tr("Sounds a few signs on this computer; nothing goes on the air"),
      [this] { form_.Show(tone_->Listen(), tr("CQ at %1 words a minute").arg(*setup_.station().console.CWSpeed)); });
  listen->setEnabled(tone_ != nullptr);
  form_.AddButtons({listen});
}

void SetupKeyerPage::AddTexts() {
  form_.BeginPanel(tr("Stored texts"));
  const auto add = [this](const QString& text, const QString& tip) {
    auto* box = new QCheckBox(text);
    box->setAccessibleName(text);
    box->setToolTip(tip);
    connect(box, &QCheckBox::clicked, this, [this] {
      form_.Show(keyer_.functions.SetCut(cut_report_->isChecked(), cut_number_->isChecked()), tr("It is kept"));
    });
    form_.AddWide(box);
    return box;
  };
  cut_report_ = add(tr("Short report"), tr("{RST} is sent as 5NN: N for 9, T for 0"));
  cut_number_ = add(tr("Short number"), tr("{NR} is sent with T for 0"));
}

void SetupKeyerPage::Refresh() {
  keys_.Refresh();
  device_->Refresh();
  cut_report_->setChecked(keyer_.functions.values().cut_rst);
  cut_number_->setChecked(keyer_.functions.values().cut_number);
  ShowState();
}

/// A choice of the keyer that was refused for want of something is tried again when that has been chosen.
void SetupKeyerPage::Kept(const config::KeptSetting& setting) {
  if (setting.key == kPortKey) device_->Refresh();
  answer_->clear();
  const std::string name = setting.name();
  if (name != "WINKEY1" && name != "WINKEY2" && name != "USE2ND") return;
  const config::KeptSetting& kind = *config::FindKeptSetting(kKindKey);
  if (keys_.value(kind) != widgets::ToQt(config::ShownValue(kind, setup_.Stored()))) keys_.Keep(kind);
}

void SetupKeyerPage::Follow(Field field) {
  if (field == Field::kKeyer || field == Field::kPort) ShowState();
  if (field == Field::kKeyer) EndTest();
  // The state is known a moment before its reason.
  if (field == Field::kMsgArea && std::exchange(reason_follows_, false))
    answer_->setText(widgets::ToQt(*setup_.station().console.MsgArea));
  if (field == Field::kCwSpeed) keys_.Refresh();
}

void SetupKeyerPage::ShowState() {
  const std::string& state = *setup_.station().console.KeyerState;
  widgets::SetRole(state_, state == "failed" ? "error" : "title");
  const keyer::KeyerSettings& settings = keyer_.settings();
  const QString kind = KeyerPortCaption(keyer::KeyerWord(settings.kind, settings.port));
  state_->setText(state == "none" ? tr("No keyer is chosen") : kind + "  " + widgets::ToQt(state));
}

void SetupKeyerPage::StartTest() {
  if (*setup_.station().console.KeyerState == "none") {
    widgets::SetRole(answer_, "error");
    return answer_->setText(tr(keyer::kNoKeyer));
  }
  widgets::SetRole(answer_, "quiet");
  answer_->setText(tr("Starting the keyer ..."));
  reason_follows_ = false;
  keyer_.Close();
  testing_ = true;
  keyer_.Open();
  EndTest();
}

/// When it has come up, or has not.
void SetupKeyerPage::EndTest() {
  const Console& console = setup_.station().console;
  const bool up = *console.KeyerState == "ready" || *console.KeyerState == "busy";
  if (!testing_ || (!up && *console.KeyerState != "failed")) return;
  testing_ = false;
  reason_follows_ = !up;
  widgets::SetRole(answer_, up ? "title" : "error");
  if (!up) return answer_->setText(widgets::ToQt(*console.MsgArea));
  const keyer::WinKeyer* winkeyer = keyer_.winkeyer();
  answer_->setText(winkeyer == nullptr ? tr("The keyer is ready")
                                       : tr("The WinKeyer answers, version %1").arg(winkeyer->version()));
}

}  // namespace kvx::console
