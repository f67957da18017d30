#include "console/setup_keys_page.h"

#include <string_view>

namespace kvx::console {
namespace {

using config::KeptSetting;
using config::SettingOwner;

constexpr int kShownCharacters = 12;

QString Shown(const KeptSetting& setting, const config::Settings& stored) {
  return QString::fromStdString(config::ShownValue(setting, stored));
}

/// Whoever knows the file finds its key in the tip.
QString Tip(const KeptSetting& setting) {
  QString tip = SetupKeysPage::tr(setting.hint);
  if (setting.is_bounded()) tip += SetupKeysPage::tr(", %1 to %2").arg(setting.low).arg(setting.high);
  if (setting.kind == config::SettingKind::kText) tip += SetupKeysPage::tr(", read in upper case");
  return tip + " (" + QString::fromStdString(setting.name()) + ")";
}

bool IsOn(const QString& value) {
  return value == "True" || value == "YES";
}

QString Introduction(SettingOwner owner) {
  return owner == SettingOwner::kKeyer
             ? SetupKeysPage::tr("Kept in the settings; the keyer itself is not part of this version yet.")
             : SetupKeysPage::tr("Kept in the settings; the links themselves are not part of this version yet.");
}

}  // namespace

SetupKeysPage::SetupKeysPage(StationSetup& setup, SettingOwner owner)
    : setup_(setup),
      rows_(new QWidget),
      form_(rows_, owner == SettingOwner::kKeyer ? tr("Keyer") : tr("Links"), Introduction(owner)) {
  std::string_view group;
  for (const KeptSetting& setting : config::KeptSettings()) {
    if (setting.owner != owner) continue;
    if (group != setting.group) form_.BeginPanel(tr(setting.group));
    group = setting.group;
    if (setting.is_switch()) {
      AddSwitch(setting);
    } else if (setting.kind == config::SettingKind::kChoice) {
      AddChoice(setting);
    } else {
      AddLine(setting);
    }
  }
  setObjectName("page");
  auto* down = new QVBoxLayout(this);
  down->setContentsMargins(0, 0, 0, 0);
  down->addWidget(MakeSetupScroll(rows_), 1);
  auto* below = new QVBoxLayout;
  const QMargins margins = rows_->layout()->contentsMargins();
  below->setContentsMargins(margins.left(), 0, margins.right(), 0);
  down->addLayout(below);
  form_.End(below);
  Refresh();
}

void SetupKeysPage::AddSwitch(const KeptSetting& setting) {
  auto* box = new QCheckBox(tr(setting.label));
  box->setAccessibleName(tr(setting.label));
  box->setToolTip(Tip(setting));
  connect(box, &QCheckBox::clicked, this, [this, &setting](bool on) { Keep(setting, on ? "on" : "off"); });
  form_.AddWide(box);
  show_[setting.key] = [box, &setting](const config::Settings& stored) {
    box->setChecked(IsOn(Shown(setting, stored)));
  };
}

/// A stored word that is no choice is shown after the choices, and is gone once another is taken.
void SetupKeysPage::AddChoice(const KeptSetting& setting) {
  auto* box = new QComboBox;
  box->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
  box->setMinimumContentsLength(kShownCharacters);
  box->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
  for (const std::string& choice : *setting.choices) box->addItem(QString::fromStdString(choice));
  connect(box, &QComboBox::activated, this, [this, box, &setting] { Keep(setting, box->currentText()); });
  form_.AddRow(tr(setting.label), box, Tip(setting));
  show_[setting.key] = [box, &setting](const config::Settings& stored) {
    const int choices = static_cast<int>(setting.choices->size());
    const QString value = Shown(setting, stored);
    if (box->count() > choices) box->removeItem(choices);
    if (box->findText(value) < 0) box->addItem(value);
    box->setCurrentIndex(box->findText(value));
  };
}

void SetupKeysPage::AddLine(const KeptSetting& setting) {
  auto* line = new QLineEdit;
  if (setting.kind != config::SettingKind::kText) line->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
  connect(line, &QLineEdit::editingFinished, this, [this, line, &setting] {
    if (!line->isModified()) return;
    line->setModified(false);  // it is finished twice: by Enter, and when the focus goes on
    Keep(setting, line->text());
  });
  form_.AddRow(tr(setting.label), line, Tip(setting));
  show_[setting.key] = [line, &setting](const config::Settings& stored) {
    if (!line->hasFocus() || !line->isModified()) line->setText(Shown(setting, stored));
  };
}

void SetupKeysPage::Keep(const KeptSetting& setting, const QString& value) {
  const Status kept = setup_.SetSetting(setting.key, value.toStdString());
  form_.Show(kept, tr("%1 is kept").arg(QString::fromStdString(setting.name())));
  if (kept) show_[setting.key](setup_.Stored());
}

void SetupKeysPage::Refresh() {
  const config::Settings stored = setup_.Stored();
  for (const auto& [key, show] : show_) show(stored);
}

}  // namespace kvx::console
