#include "console/setup_appearance_page.h"

#include <QColorDialog>
#include <QGridLayout>
#include <QPixmap>
#include <QSignalBlocker>

#include "console/questions.h"

namespace kvx::console {
namespace {

constexpr int kSmallestText = 70;  // percent
constexpr int kLargestText = 250;
constexpr int kTextStep = 10;
constexpr int kTilesInARow = 2;

QString ColorName(const StationSetup& setup, ScreenPart part) {
  return "#" + QString::fromStdString(setup.ColorText(part));
}

void ShowColor(QPushButton* button, const QString& text, const QString& color) {
  const int side = button->fontMetrics().height();
  QPixmap swatch(side, side);
  swatch.fill(QColor(color));
  button->setIcon(QIcon(swatch));
  button->setIconSize({side, side});
  button->setText(text);
  button->setAccessibleDescription(color);
}

}  // namespace

SetupAppearancePage::SetupAppearancePage(StationSetup& setup, const widgets::Appearance& appearance)
    : setup_(setup),
      form_(this, tr("Appearance"), tr("How every window looks. A choice counts at once.")),
      themes_(new QButtonGroup(this)) {
  AddThemes(appearance);
  AddTextSize();
  AddColors();
  form_.End();
  Refresh();
}

void SetupAppearancePage::AddThemes(const widgets::Appearance& appearance) {
  form_.BeginPanel(tr("Theme"));
  auto* box = new QWidget;
  auto* grid = new QGridLayout(box);
  grid->setContentsMargins(0, 0, 0, 0);
  const QStringList titles{tr("&Dark"), tr("&Light"), tr("&High contrast"), tr("Cl&assic")};
  for (int i = 0; i < titles.size(); ++i) {
    auto* tile = new ThemeTile(appearance, titles[i]);
    const QString key = titles[i].mid(titles[i].indexOf('&') + 1, 1).toUpper();
    tile->setToolTip(tr("Every window in this theme (Alt+%1)").arg(key));
    themes_->addButton(tile, i);
    grid->addWidget(tile, i / kTilesInARow, i % kTilesInARow);
  }
  grid->setColumnStretch(kTilesInARow, 1);
  connect(themes_, &QButtonGroup::idClicked, this, [this](int index) {
    form_.Show(setup_.station().SetTheme(widgets::ThemeNames().value(index).toStdString()));
  });
  form_.AddWide(box);
}

void SetupAppearancePage::AddTextSize() {
  form_.BeginPanel(tr("Text"));
  size_slider_ = new QSlider(Qt::Horizontal);
  size_slider_->setRange(kSmallestText / kTextStep, kLargestText / kTextStep);
  size_slider_->setPageStep(2);
  size_slider_->setTracking(false);  // a page that grew under the pointer would move the slider away from it
  connect(size_slider_, &QSlider::valueChanged, this, [this](int step) { SetTextSize(step * kTextStep); });
  form_.AddRow(tr("Text &size"), size_slider_, tr("Size of all text, 70 to 250 percent"));
  size_box_ = new QSpinBox;
  size_box_->setRange(kSmallestText, kLargestText);
  size_box_->setSingleStep(kTextStep);
  size_box_->setSuffix(tr(" %"));
  size_box_->setKeyboardTracking(false);
  connect(size_box_, &QSpinBox::valueChanged, this, [this](int percent) { SetTextSize(percent); });
  form_.AddRow(tr("&Percent"), size_box_, tr("The text size as a number"));
}

void SetupAppearancePage::AddColors() {
  form_.BeginPanel(tr("Colours of the classic theme"));
  body_ =
      MakeSetupButton(tr("&Body..."), tr("Colour of the console's body"), [this] { ChooseColor(ScreenPart::kBody); });
  screen_ = MakeSetupButton(tr("S&creen..."), tr("Colour of the frequency screen"),
                            [this] { ChooseColor(ScreenPart::kScreen); });
  form_.AddButtons({body_, screen_});
}

void SetupAppearancePage::SetTextSize(int percent) {
  form_.Show(setup_.station().SetTextSize(percent), tr("The text has %1 % of its usual size").arg(percent));
}

void SetupAppearancePage::ChooseColor(ScreenPart part) {
  auto* dialog = new QColorDialog(QColor(ColorName(setup_, part)), this);
  dialog->setOption(QColorDialog::DontUseNativeDialog);  // which would keep Escape from the transmitter
  const QString title = part == ScreenPart::kBody ? tr("Colour of the body") : tr("Colour of the screen");
  ShowQuestion({.window = this, .title = title}, dialog, [this, part, dialog](int result) {
    if (result != QDialog::Accepted) return;
    const QColor color = dialog->selectedColor();
    form_.Show(setup_.SetColor(part, color.name().toStdString()),
               tr("The classic theme has the colour %1").arg(color.name()));
    ShowColors();
  });
}

void SetupAppearancePage::ShowColors() {
  ShowColor(body_, tr("&Body..."), ColorName(setup_, ScreenPart::kBody));
  ShowColor(screen_, tr("S&creen..."), ColorName(setup_, ScreenPart::kScreen));
  const config::StationSettings& settings = setup_.station().settings();
  for (QAbstractButton* tile : themes_->buttons()) {
    const QString name = widgets::ThemeNames().value(themes_->id(tile));
    static_cast<ThemeTile*>(tile)->Show(widgets::MakeTheme(name, {settings.body_color, settings.screen_color}));
  }
}

void SetupAppearancePage::Refresh() {
  const Console& console = setup_.station().console;
  const auto index = widgets::ThemeNames().indexOf(QString::fromStdString(*console.Theme));
  if (QAbstractButton* tile = themes_->button(static_cast<int>(index))) tile->setChecked(true);
  const QSignalBlocker quiet_slider(size_slider_);
  const QSignalBlocker quiet_box(size_box_);
  size_slider_->setValue(*console.TextSize / kTextStep);
  size_box_->setValue(*console.TextSize);
  ShowColors();
}

void SetupAppearancePage::Follow(Field field) {
  if (field == Field::kTheme || field == Field::kTextSize) Refresh();
}

}  // namespace kvx::console
