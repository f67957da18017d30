#include "console/setup_form.h"

#include <QComboBox>
#include <QCoreApplication>
#include <QEvent>
#include <QLineEdit>
#include <QSpinBox>
#include <algorithm>

#include "widgets/qt_text.h"

namespace kvx::console {
namespace {

/// Lets the wheel scroll the page: a control that the pointer happens to cross must not change with it.
class WheelGuard final : public QObject {
 public:
  using QObject::QObject;
  bool eventFilter(QObject* watched, QEvent* event) override {
    if (event->type() != QEvent::Wheel || static_cast<QWidget*>(watched)->hasFocus()) return false;
    event->ignore();
    return true;
  }
};

QString WithoutMnemonic(QString text) {
  return text.remove('&');
}

/// Lays widgets out from left to right and begins a new line where the next would not fit.
class WrappingRow final : public QLayout {
 public:
  using QLayout::QLayout;
  ~WrappingRow() override { qDeleteAll(items_); }
  void addItem(QLayoutItem* item) override { items_.append(item); }
  int count() const override { return static_cast<int>(items_.size()); }
  QLayoutItem* itemAt(int index) const override { return items_.value(index); }
  QLayoutItem* takeAt(int index) override {
    return index >= 0 && index < items_.size() ? items_.takeAt(index) : nullptr;
  }
  Qt::Orientations expandingDirections() const override { return {}; }
  bool hasHeightForWidth() const override { return true; }
  int heightForWidth(int width) const override { return Arrange(QRect(0, 0, width, 0), false); }
  QSize sizeHint() const override {
    int width = 0;
    for (const QLayoutItem* item : items_) width += item->sizeHint().width() + spacing();
    return {width, heightForWidth(width)};
  }
  QSize minimumSize() const override {
    QSize size;
    for (const QLayoutItem* item : items_) size = size.expandedTo(item->minimumSize());
    return size;
  }
  void setGeometry(const QRect& place) override {
    QLayout::setGeometry(place);
    Arrange(place, true);
  }

 private:
  int Arrange(const QRect& place, bool move) const {
    QPoint at = place.topLeft();
    int line = 0;
    for (QLayoutItem* item : items_) {
      const QSize size = item->sizeHint();
      if (at.x() > place.x() && at.x() + size.width() > place.right() + 1)
        at = {place.x(), at.y() + std::exchange(line, 0) + spacing()};
      if (move) item->setGeometry({at, size});
      at.rx() += size.width() + spacing();
      line = std::max(line, size.height());
    }
    return at.y() + line - place.y();
  }

  QList<QLayoutItem*> items_;
};

}  // namespace

QLabel* MakeSetupLabel(const QString& text, const char* role) {
  auto* label = new QLabel(text);
  label->setProperty("role", role);
  label->setWordWrap(true);
  label->setTextFormat(Qt::PlainText);  // part of it may come from a device
  return label;
}

QScrollArea* MakeSetupScroll(QWidget* content) {
  auto* scroll = new QScrollArea;
  scroll->setFrameShape(QFrame::NoFrame);
  scroll->setWidgetResizable(true);
  scroll->setFocusPolicy(Qt::NoFocus);
  scroll->setWidget(content);
  return scroll;
}

QComboBox* NewDeviceBox() {
  constexpr int kShownCharacters = 16;
  auto* box = new QComboBox;
  box->setEditable(true);
  box->setInsertPolicy(QComboBox::NoInsert);
  box->setCompleter(nullptr);
  box->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
  box->setMinimumContentsLength(kShownCharacters);
  box->lineEdit()->setPlaceholderText(QCoreApplication::translate("SetupForm", "device, or another address"));
  return box;
}

QPushButton* MakeSetupButton(const QString& text, const QString& tip, std::function<void()> action) {
  auto* button = new QPushButton(text);
  button->setAccessibleName(WithoutMnemonic(text));
  button->setAutoDefault(false);
  button->setToolTip(
      button->shortcut().isEmpty() ? tip : tip + " (" + button->shortcut().toString(QKeySequence::NativeText) + ")");
  QObject::connect(button, &QPushButton::clicked, button, [action = std::move(action)] { action(); });
  return button;
}

SetupForm::SetupForm(QWidget* page, const QString& title, const QString& introduction)
    : page_(page), column_(new QVBoxLayout(page)) {
  page->setObjectName("page");
  column_->addWidget(MakeSetupLabel(title, "title"));
  if (!introduction.isEmpty()) column_->addWidget(MakeSetupLabel(introduction, "quiet"));
}

QFrame* SetupForm::BeginPanel(const QString& caption) {
  auto* panel = new QFrame(page_);
  panel->setProperty("role", "panel");
  rows_ = new QFormLayout(panel);
  rows_->setRowWrapPolicy(QFormLayout::WrapLongRows);
  rows_->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
  const int line = page_->fontMetrics().height();
  rows_->setContentsMargins(line * 3 / 4, line / 2, line * 3 / 4, line * 3 / 4);
  rows_->setVerticalSpacing(line / 2);
  rows_->setHorizontalSpacing(line);
  rows_->setLabelAlignment(Qt::AlignLeft | Qt::AlignVCenter);
  if (!caption.isEmpty()) rows_->addRow(MakeSetupLabel(caption, "caption"));
  column_->addWidget(panel);
  return panel;
}

void SetupForm::AddRow(const QString& label, QWidget* control, const QString& tip) {
  auto* name = new QLabel(label);
  name->setBuddy(control);
  const qsizetype mark = label.indexOf('&');
  const QString key = mark < 0 ? QString() : " (Alt+" + label.mid(mark + 1, 1).toUpper() + ")";
  control->setAccessibleName(WithoutMnemonic(label));
  control->setToolTip(tip + key);
  control->setFocusPolicy(Qt::StrongFocus);
  if (qobject_cast<QSpinBox*>(control) != nullptr) control->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
  control->installEventFilter(new WheelGuard(control));
  rows_->addRow(name, control);
}

void SetupForm::AddWide(QWidget* widget) {
  rows_->addRow(widget);
  if (qobject_cast<QAbstractButton*>(widget) != nullptr) rows_->setAlignment(widget, Qt::AlignLeft);
}

QLabel* SetupForm::AddNote(const QString& text) {
  QLabel* note = MakeSetupLabel(text, "quiet");
  rows_->addRow(note);
  return note;
}

void SetupForm::AddButtons(const QList<QPushButton*>& buttons) {
  auto* row = new WrappingRow;
  row->setSpacing(page_->fontMetrics().height() / 2);
  for (QPushButton* button : buttons) row->addWidget(button);
  rows_->addRow(row);
}

void SetupForm::End(QBoxLayout* below) {
  outcome_ = MakeSetupLabel({}, "quiet");
  outcome_->setAccessibleName(QObject::tr("What came of it"));
  (below != nullptr ? below : column_)->addWidget(outcome_);
  column_->addStretch();
}

void SetupForm::Show(const Status& status, const QString& done) {
  widgets::SetRole(outcome_, status ? "quiet" : "error");
  outcome_->setText(status ? done : widgets::ToQt(status.error().message));
}

}  // namespace kvx::console
