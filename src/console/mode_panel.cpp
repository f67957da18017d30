#include "console/mode_panel.h"

#include <QKeySequence>
#include <QMenu>

#include "console/questions.h"
#include "core/text.h"

namespace kvx::console {
namespace {

struct ModeRow {
  const char* caption;
  cat::SendOutcome (cat::Operations::*set)();
  std::array<const char*, 2> keys;  ///< wide and narrow, or the same twice
};
constexpr std::array kModes{
    ModeRow{"CW", &cat::Operations::SetCW, {"XCWW", "XCWN"}},
    ModeRow{"USB", &cat::Operations::SetUpper, {"XUSB", "XUSB"}},
    ModeRow{"LSB", &cat::Operations::SetLower, {"XLSB", "XLSB"}},
    ModeRow{"AM", &cat::Operations::SetAM, {"XAM", "XAM"}},
    ModeRow{"FM", &cat::Operations::SetFM, {"XFMW", "XFMN"}},
    ModeRow{"RTTY", &cat::Operations::SetRTTY, {"XRTTY", "XRTTY"}},
};
constexpr std::string_view kValuePlaceholder = "<F?VAL>";

}  // namespace

ModePanel::ModePanel(Station& station) : Panel(station, "plain") {
  const int gap = fontMetrics().height();
  auto* row = new QHBoxLayout(this);
  row->setContentsMargins(0, 0, 0, 0);
  row->setSpacing(gap);
  row->addLayout(MakeModes(), 12);
  narrow_ = new QCheckBox(tr("&Narrow"));
  narrow_->setToolTip(tr("Narrow CW and FM (Alt+N)"));
  connect(narrow_, &QCheckBox::clicked, this, [this](bool on) { Report(station_.engine.operations.SetNarrow(on)); });
  row->addWidget(narrow_);
  row->addLayout(MakeVfos(), 4);
  row->addLayout(MakeKeys(), 10);
}

QHBoxLayout* ModePanel::MakeModes() {
  auto* row = new QHBoxLayout;
  row->setSpacing(fontMetrics().height() / 3);
  for (std::size_t i = 0; i < kModes.size(); ++i) {
    auto* button = new widgets::LampButton(kModes[i].caption, tr("Mode %1").arg(kModes[i].caption));
    button->SetKeys(QKeySequence(QString("Alt+%1").arg(i + 1)));
    connect(button, &QPushButton::clicked, this, [this, i] { Report((station_.engine.operations.*kModes[i].set)()); });
    button->setContextMenuPolicy(Qt::CustomContextMenu);
    connect(button, &QWidget::customContextMenuRequested, this, [this, i, button](const QPoint& at) {
      AskValue(kModes[i].keys[*station_.console.Xnarrow ? 1 : 0], button->mapToGlobal(at));
    });
    row->addWidget(button);
    modes_[i] = button;
  }
  return row;
}

/// A mode's command may hold a value of the operator's, as the function keys do.
void ModePanel::AskValue(const char* key, const QPoint& where) {
  const cat::CommandKey* command = cat::FindKey(key);
  auto* menu = new QMenu(this);
  menu->setAttribute(Qt::WA_DeleteOnClose);
  QAction* set = menu->addAction(tr("Value of this key…"));
  set->setEnabled(station_.engine.dispatcher.TemplateOf(*command).find(kValuePlaceholder) != std::string::npos);
  connect(set, &QAction::triggered, this, [this, key] {
    AskText({.window = this, .title = tr("Value")}, tr("What %1 sends as its value:").arg(key), {},
            [this, key](const QString& value) { station_.engine.dispatcher.SetButtonValue(key, value.toStdString()); });
  });
  menu->popup(where);
}

QHBoxLayout* ModePanel::MakeVfos() {
  auto* row = new QHBoxLayout;
  row->setSpacing(fontMetrics().height() / 3);
  vfo_a_ = new widgets::LampButton(tr("VFO A"), tr("Use VFO A"));
  vfo_a_->SetKeys(QKeySequence("Alt+A"));
  connect(vfo_a_, &QPushButton::clicked, this, [this] { Report(station_.engine.operations.VFOA_Click()); });
  vfo_b_ = new widgets::LampButton(tr("VFO B"), tr("Use VFO B"));
  vfo_b_->SetKeys(QKeySequence("Alt+B"));
  connect(vfo_b_, &QPushButton::clicked, this, [this] { Report(station_.engine.operations.VFOB_Click()); });
  row->addWidget(vfo_a_);
  row->addWidget(vfo_b_);
  return row;
}

QHBoxLayout* ModePanel::MakeKeys() {
  auto* row = new QHBoxLayout;
  row->setSpacing(fontMetrics().height() / 3);
  const auto press = [this](const char* key, const char* name) {
    return [this, key, name] { return station_.PressKey(key, name); };
  };
  rit_ = MakeKey(row, tr("RIT"), tr("RIT on or off"), "XRITON", false, [this] { return station_.PressRit(); });
  MakeKey(row, "−", tr("RIT down"), "XRITDOWN", true, press("XRITDOWN", "RIT down"));
  MakeKey(row, "+", tr("RIT up"), "XRITUP", true, press("XRITUP", "RIT up"));
  xit_ = MakeKey(row, tr("XIT"), tr("XIT on"), "XXITON", false, [this] { return station_.PressXit(); });
  MakeKey(row, "−", tr("XIT down"), "XXITDOWN", true, press("XXITDOWN", "XIT down"));
  MakeKey(row, "+", tr("XIT up"), "XXITUP", true, press("XXITUP", "XIT up"));
  const auto press_user_key = [this](const char* key, const char* caption, const char* usual) {
    // It is announced by what the rig's definition calls it.
    const std::string called(Trim(station_.engine.rig().row[caption]));
    return station_.PressKey(key, called.empty() ? std::string("User button ") + usual : called);
  };
  alpha_ = MakeKey(row, tr("Alpha"), tr("User button Alpha"), "XSETALPHA", false,
                   [press_user_key] { return press_user_key("XSETALPHA", "ADesc", "Alpha"); });
  bravo_ = MakeKey(row, tr("Bravo"), tr("User button Bravo"), "XSETBRAVO", false,
                   [press_user_key] { return press_user_key("XSETBRAVO", "BDesc", "Bravo"); });
  return row;
}

widgets::LampButton* ModePanel::MakeKey(QHBoxLayout* row, const QString& text, const QString& name, const char* key,
                                        bool small, std::function<cat::SendOutcome()> press) {
  auto* button = new widgets::LampButton(text, name);
  if (small) button->SetRole("small");
  connect(button, &QPushButton::clicked, this, [this, press = std::move(press)] { Report(press()); });
  row->addWidget(button, small ? 2 : 5);
  keys_.push_back({button, key});
  return button;
}

void ModePanel::Follow(Field field) {
  const Console& console = station_.console;
  switch (field) {
    case Field::kMode:
      return ShowMode();
    case Field::kXnarrow:
      return narrow_->setChecked(*console.Xnarrow);
    case Field::kActiveVfo:
      vfo_a_->SetLit(*console.ActiveVfo == 'A');
      return vfo_b_->SetLit(*console.ActiveVfo == 'B');
    case Field::kRit:
      return rit_->SetLit(*console.Rit);
    case Field::kXit:
      return xit_->SetLit(*console.Xit);
    case Field::kTransmitting:
      return alpha_->SetLit(*console.Transmitting);
    case Field::kRigRow:
    case Field::kRigName:
      return ShowOffers();
    default:
      return;
  }
}

/// Each caption is tested on its own, as the mode keys are: "CW" also lights for "CWR".
void ModePanel::ShowMode() {
  for (std::size_t i = 0; i < kModes.size(); ++i) {
    modes_[i]->SetLit(station_.console.Mode->find(kModes[i].caption) != std::string::npos);
  }
}

void ModePanel::ShowOffers() {
  const config::RigDefinition& rig = station_.engine.rig();
  for (std::size_t i = 0; i < kModes.size(); ++i) {
    modes_[i]->setEnabled(set_by_hand() || Offers(kModes[i].keys[0]) || Offers(kModes[i].keys[1]));
  }
  vfo_a_->setEnabled(set_by_hand() || Offers("XVFOA"));
  vfo_b_->setEnabled(set_by_hand() || Offers("XVFOB"));
  for (const KeyButton& key : keys_) key.button->setEnabled(Offers(key.key));
  const auto caption = [](widgets::LampButton* button, const std::string& text, const QString& usual) {
    const QString shown = text.empty() ? usual : ToQt(text).simplified();
    button->SetText(QString(shown).replace('&', "&&"));
    const QString name = shown == usual ? tr("User button %1").arg(usual) : tr("%1: user button %2").arg(shown, usual);
    button->setAccessibleName(name);
    button->setToolTip(name);
  };
  caption(alpha_, rig.row["ADesc"], tr("Alpha"));
  caption(bravo_, rig.row["BDesc"], tr("Bravo"));
}

}  // namespace kvx::console
