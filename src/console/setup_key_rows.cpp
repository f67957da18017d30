#include "console/setup_key_rows.h"

#include <QCheckBox>
#include <QComboBox>
#include <QLineEdit>
#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

#include "core/text.h"
#include "widgets/qt_text.h"

namespace kvx::console {
namespace {

using config::KeptSetting;

constexpr int kShownCharacters = 14;

constexpr std::array<std::pair<std::string_view, const char*>, 14> kPortCaptions{
    std::pair{"NONE", QT_TRANSLATE_NOOP("kvx::console::SetupKeyRows", "none")},
    std::pair{"WINKEY", QT_TRANSLATE_NOOP("kvx::console::SetupKeyRows", "WinKeyer")},
    std::pair{"COM1", QT_TRANSLATE_NOOP("kvx::console::SetupKeyRows", "COM 1")},
    std::pair{"COM2", QT_TRANSLATE_NOOP("kvx::console::SetupKeyRows", "COM 2")},
    std::pair{"COM3", QT_TRANSLATE_NOOP("kvx::console::SetupKeyRows", "COM 3")},
    std::pair{"COM4", QT_TRANSLATE_NOOP("kvx::console::SetupKeyRows", "COM 4")},
    std::pair{"COM5", QT_TRANSLATE_NOOP("kvx::console::SetupKeyRows", "Com 5")},
    std::pair{"COM6", QT_TRANSLATE_NOOP("kvx::console::SetupKeyRows", "Com 6")},
    std::pair{"COM7", QT_TRANSLATE_NOOP("kvx::console::SetupKeyRows", "Com 7")},
    std::pair{"COM8", QT_TRANSLATE_NOOP("kvx::console::SetupKeyRows", "Com 8")},
    std::pair{"LPT1", QT_TRANSLATE_NOOP("kvx::console::SetupKeyRows", "L P T 1")},
    std::pair{"LPT2", QT_TRANSLATE_NOOP("kvx::console::SetupKeyRows", "L P T 2")},
    std::pair{"RIGPORT", QT_TRANSLATE_NOOP("kvx::console::SetupKeyRows", "Use Rig Port")},
    std::pair{"RIGKEYER", QT_TRANSLATE_NOOP("kvx::console::SetupKeyRows", "Rig's own keyer")},
};

QString Shown(const KeptSetting& setting, const config::Settings& stored) {
  return widgets::ToQt(config::ShownValue(setting, stored));
}

QString Caption(const KeptSetting& setting, const std::string& word) {
  return setting.key.starts_with("KEYERPORT") ? KeyerPortCaption(word) : widgets::ToQt(word);
}

/// Whoever knows the file finds its key in the tip.
QString Tip(const KeptSetting& setting) {
  QString tip = SetupKeyRows::tr(setting.hint);
  if (setting.is_bounded()) tip += SetupKeyRows::tr(", %1 to %2").arg(setting.low).arg(setting.high);
  if (setting.kind == config::SettingKind::kText) tip += SetupKeyRows::tr(", read in upper case");
  return tip + " (" + widgets::ToQt(setting.name()) + ")";
}

}  // namespace

QString KeyerPortCaption(const std::string& word) {
  const auto* row = std::find_if(kPortCaptions.begin(), kPortCaptions.end(),
                                 [&](const auto& entry) { return EqualNoCase(entry.first, word); });
  return row == kPortCaptions.end() ? widgets::ToQt(word) : SetupKeyRows::tr(row->second);
}

void LayOutLongPage(QWidget* page, QWidget* rows, SetupForm& form) {
  page->setObjectName("page");
  auto* down = new QVBoxLayout(page);
  down->setContentsMargins(0, 0, 0, 0);
  down->addWidget(MakeSetupScroll(rows), 1);
  auto* below = new QVBoxLayout;
  const QMargins margins = rows->layout()->contentsMargins();
  below->setContentsMargins(margins.left(), 0, margins.right(), 0);
  down->addLayout(below);
  form.End(below);
}

void SetupKeyRows::Add(const KeptSetting& setting) {
  if (setting.is_switch()) return AddSwitch(setting);
  setting.choices != nullptr ? AddChoice(setting) : AddLine(setting);
}

void SetupKeyRows::AddSwitch(const KeptSetting& setting) {
  auto* box = new QCheckBox(tr(setting.label));
  box->setAccessibleName(tr(setting.label));
  box->setToolTip(Tip(setting));
  connect(box, &QCheckBox::clicked, this, [this, &setting] { Keep(setting); });
  form_.AddWide(box);
  rows_[setting.key] = {
      [box, &setting](const config::Settings& stored) { box->setChecked(config::IsOn(setting, stored)); },
      [box] { return QString(box->isChecked() ? "on" : "off"); }};
}

/// A stored word that is no choice is shown after the choices, and is gone once another is taken.
void SetupKeyRows::AddChoice(const KeptSetting& setting) {
  auto* box = new QComboBox;
  box->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
  box->setMinimumContentsLength(kShownCharacters);
  box->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
  for (const std::string& choice : *setting.choices) box->addItem(Caption(setting, choice), widgets::ToQt(choice));
  connect(box, &QComboBox::activated, this, [this, &setting] { Keep(setting); });
  form_.AddRow(tr(setting.label), box, Tip(setting));
  const auto show = [box, &setting](const config::Settings& stored) {
    const int choices = static_cast<int>(setting.choices->size());
    const QString value = Shown(setting, stored);
    if (box->count() > choices) box->removeItem(choices);
    if (box->findData(value) < 0) box->addItem(value, value);
    box->setCurrentIndex(box->findData(value));
  };
  rows_[setting.key] = {show, [box] { return box->currentData().toString(); }};
}

void SetupKeyRows::AddLine(const KeptSetting& setting) {
  auto* line = new QLineEdit;
  const bool text = setting.kind == config::SettingKind::kText || setting.kind == config::SettingKind::kAddress;
  if (!text) line->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
  connect(line, &QLineEdit::editingFinished, this, [this, line, &setting] {
    if (!line->isModified()) return;
    line->setModified(false);  // it is finished twice: by Enter, and when the focus goes on
    Keep(setting);
  });
  form_.AddRow(tr(setting.label), line, Tip(setting));
  const auto show = [line, &setting](const config::Settings& stored) {
    if (!line->hasFocus() || !line->isModified()) line->setText(Shown(setting, stored));
  };
  rows_[setting.key] = {show, [line] { return line->text(); }};
}

void SetupKeyRows::Keep(const KeptSetting& setting) {
  const Row& row = rows_[setting.key];
  const Status kept = setup_.SetSetting(setting.key, row.value().toStdString());
  form_.Show(kept, tr("%1 is kept").arg(widgets::ToQt(setting.name())));
  if (!kept) return;
  row.show(setup_.Stored());
  if (on_kept) on_kept(setting);
}

void SetupKeyRows::Refresh() {
  const config::Settings stored = setup_.Stored();
  for (const auto& [key, row] : rows_) row.show(stored);
}

}  // namespace kvx::console
