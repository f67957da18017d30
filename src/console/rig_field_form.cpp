#include "console/rig_field_form.h"

#include <QCheckBox>
#include <QCompleter>
#include <QEvent>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QScrollArea>
#include <QScrollBar>
#include <QShortcut>
#include <QTabBar>
#include <QVBoxLayout>

#include "console/rig_editor.h"
#include "widgets/appearance.h"
#include "widgets/qt_text.h"

namespace kvx::console {
namespace {

using widgets::ToQt;

}  // namespace

RigFieldForm::RigFieldForm(const widgets::Appearance& appearance, QWidget* parent)
    : QWidget(parent),
      search_(new QLineEdit(this)),
      tabs_(new QTabBar(this)),
      area_(new QScrollArea(this)),
      nothing_(new QLabel(tr("No field has this text in its name, its hint or its value."), this)),
      focused_(&config::RigFields().front()) {
  search_->setPlaceholderText(tr("Find a field"));
  search_->setAccessibleName(tr("Find a field"));
  search_->setToolTip(tr("Shows the fields with this text in their name, hint or value (Ctrl+F; Esc clears it)"));
  auto* clear = new QShortcut(QKeySequence("Esc"), search_);
  clear->setContext(Qt::WidgetShortcut);
  connect(clear, &QShortcut::activated, search_, &QLineEdit::clear);
  tabs_->setUsesScrollButtons(true);
  tabs_->setDrawBase(false);
  tabs_->setStyleSheet("QTabBar::tab { padding: 0.4em 0.5em; } QTabBar QToolButton { padding: 0; min-height: 0; }");
  tabs_->setExpanding(false);
  tabs_->setElideMode(Qt::ElideNone);
  tabs_->setAccessibleName(tr("Groups of fields"));
  tabs_->setToolTip(tr("The next and the previous group: Ctrl+PgDown, Ctrl+PgUp"));
  auto* page = new QWidget;
  page->setObjectName("fields");
  auto* column = new QVBoxLayout(page);
  column->setContentsMargins(2, 6, 6, 2);
  nothing_->setProperty("role", "quiet");
  nothing_->setWordWrap(true);
  column->addWidget(nothing_);
  for (std::size_t group = 0; group < config::kRigFieldGroups.size(); ++group) {
    tabs_->addTab(ToQt(config::kRigFieldGroups[group]).replace("&", "&&"));
    sections_.push_back(MakeSection(static_cast<config::RigFieldGroup>(group)));
    column->addWidget(sections_.back().widget);
  }
  column->addStretch(1);
  area_->setWidgetResizable(true);
  area_->setFrameShape(QFrame::NoFrame);
  area_->setStyleSheet("QScrollArea, QWidget#fields { background: transparent; }");
  area_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  area_->setFocusPolicy(Qt::NoFocus);
  area_->setWidget(page);
  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->addWidget(search_);
  layout->addWidget(tabs_);
  layout->addWidget(area_, 1);
  connect(search_, &QLineEdit::textChanged, this, [this] { Filter(); });
  connect(tabs_, &QTabBar::currentChanged, this, [this] { Filter(); });
  connect(&appearance, &widgets::Appearance::Changed, this, [this] { FitToFont(); });
  FitToFont();
  Filter();
}

RigFieldForm::Section RigFieldForm::MakeSection(config::RigFieldGroup group) {
  Section section{.widget = new QWidget, .caption = nullptr, .form = nullptr, .rows = {}};
  section.caption = new QLabel(ToQt(config::kRigFieldGroups[static_cast<std::size_t>(group)]).toUpper());
  section.caption->setProperty("role", "caption");
  section.caption->setTextFormat(Qt::PlainText);
  section.form = new QFormLayout;
  section.form->setRowWrapPolicy(QFormLayout::WrapLongRows);
  section.form->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
  auto* layout = new QVBoxLayout(section.widget);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->addWidget(section.caption);
  layout->addLayout(section.form);
  for (const config::RigField& field : config::RigFields()) {
    if (field.group == group) section.rows.push_back(MakeRow(field, *section.form));
  }
  return section;
}

RigFieldForm::Row RigFieldForm::MakeRow(const config::RigField& field, QFormLayout& form) {
  Row row{.field = &field, .holder = new QWidget};
  QWidget* editor = MakeEditor(row);
  const QString label = ToQt(field.label);
  editor->setObjectName(ToQt(field.name));
  editor->setAccessibleName(label);
  editor->setAccessibleDescription(ToQt(field.hint));
  editor->installEventFilter(this);
  auto* column = new QVBoxLayout(row.holder);
  column->setContentsMargins(0, 0, 0, 0);
  column->setSpacing(1);
  column->addWidget(editor);
  if (!field.hint.empty()) {
    auto* hint = new QLabel(ToQt(field.hint));
    hint->setProperty("role", "quiet");
    hint->setTextFormat(Qt::PlainText);
    hint->setWordWrap(true);
    QSizePolicy as_wide_as_it_gets(QSizePolicy::Ignored, QSizePolicy::Minimum);
    as_wide_as_it_gets.setHeightForWidth(true);
    hint->setSizePolicy(as_wide_as_it_gets);
    column->addWidget(hint);
  }
  auto* name = new QLabel(label);
  name->setTextFormat(Qt::PlainText);
  name->setBuddy(editor);
  form.addRow(name, row.holder);
  return row;
}

QWidget* RigFieldForm::MakeEditor(Row& row) {
  const config::RigField* field = row.field;
  const auto edited = [this, field](const std::string& text) {
    if (!loading_ && on_edited) on_edited(*field, text);
  };
  const QString tip = ToQt(field->hint.empty() ? field->label : field->hint);
  if (field->use == config::RigFieldUse::kFlag) {
    row.box = new QCheckBox(tr("Yes"));
    row.box->setToolTip(tip);
    connect(row.box, &QCheckBox::toggled, this, [edited](bool on) { edited(on ? "Yes" : "No"); });
    return row.box;
  }
  row.edit = new QLineEdit;
  const bool command = field->use == config::RigFieldUse::kCommand;
  const QString words =
      tr("<FREQ11>, <AFGAIN>, <ADDR>, <VFO> ... stand for present values, <CR> and <0x07> for characters.");
  row.edit->setToolTip(command ? tip + "\n" + words : tip);
  if (field->name == "RigType")
    row.edit->setCompleter(new QCompleter({"KENWOOD", "YAESU", "ICOM", "TEN-TEC"}, row.edit));
  connect(row.edit, &QLineEdit::textChanged, this, [edited](const QString& text) { edited(text.toStdString()); });
  return row.edit;
}

void RigFieldForm::Load(const RigEditor& editor) {
  loading_ = true;
  for (const Section& section : sections_) {
    for (const Row& row : section.rows) {
      const std::string text = editor.Text(row.field->name);
      if (row.box != nullptr) {
        row.box->setChecked(text == "Yes");
      } else if (row.edit->text() != ToQt(text)) {
        row.edit->setText(ToQt(text));
        row.edit->setCursorPosition(0);
      }
      row.holder->setEnabled(editor.is_open());
    }
  }
  loading_ = false;
  if (!search_->text().isEmpty()) Filter();
}

void RigFieldForm::GoTo(std::string_view field) {
  search_->clear();
  for (std::size_t i = 0; i < sections_.size(); ++i) {
    for (const Row& row : sections_[i].rows) {
      if (row.field->name != field) continue;
      tabs_->setCurrentIndex(static_cast<int>(i));
      (row.edit != nullptr ? static_cast<QWidget*>(row.edit) : row.box)->setFocus(Qt::TabFocusReason);
    }
  }
}

void RigFieldForm::Find() {
  search_->setFocus(Qt::ShortcutFocusReason);
  search_->selectAll();
}

void RigFieldForm::Turn(int groups) {
  search_->clear();
  tabs_->setCurrentIndex((tabs_->currentIndex() + groups + tabs_->count()) % tabs_->count());
  const Section& section = sections_[static_cast<std::size_t>(tabs_->currentIndex())];
  GoTo(section.rows.front().field->name);
}

bool RigFieldForm::Matches(const Row& row, const QString& text) const {
  const config::RigField& field = *row.field;
  const auto has = [&text](const QString& where) { return where.contains(text, Qt::CaseInsensitive); };
  return has(ToQt(field.label)) || has(ToQt(field.name)) || has(ToQt(field.hint)) ||
         (row.edit != nullptr && has(row.edit->text()));
}

/// Shows the chosen group, or of every group what the search finds.
void RigFieldForm::Filter() {
  const QString text = search_->text().trimmed();
  const bool finding = !text.isEmpty();
  bool any = false;
  tabs_->setVisible(!finding);
  for (std::size_t i = 0; i < sections_.size(); ++i) {
    const Section& section = sections_[i];
    bool shown = !finding && tabs_->currentIndex() == static_cast<int>(i);
    for (const Row& row : section.rows) {
      const bool match = !finding || Matches(row, text);
      section.form->setRowVisible(row.holder, match);
      shown = shown || (finding && match);
    }
    section.caption->setVisible(finding);
    section.widget->setVisible(shown);
    any = any || shown;
  }
  nothing_->setVisible(!any);
  area_->verticalScrollBar()->setValue(0);
}

void RigFieldForm::FitToFont() {
  const QFont fixed = widgets::FixedFont();
  for (const Section& section : sections_) {
    for (const Row& row : section.rows) {
      if (row.edit != nullptr) row.edit->setFont(fixed);
    }
    section.form->setVerticalSpacing(fontMetrics().height() / 3);
    section.form->setHorizontalSpacing(fontMetrics().height() / 2);
  }
}

bool RigFieldForm::eventFilter(QObject* watched, QEvent* event) {
  if (event->type() != QEvent::FocusIn) return QWidget::eventFilter(watched, event);
  auto* editor = static_cast<QWidget*>(watched);
  focused_ = config::FindRigField(editor->objectName().toStdString());
  area_->ensureWidgetVisible(editor->parentWidget());
  if (on_focused) on_focused();
  return false;
}

}  // namespace kvx::console
