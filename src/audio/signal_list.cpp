#include "audio/signal_list.h"

#include <QLabel>
#include <QListWidget>
#include <QPainter>
#include <QStyledItemDelegate>
#include <QVBoxLayout>
#include <algorithm>
#include <array>
#include <cmath>

#include "widgets/painting.h"
#include "widgets/qt_text.h"

namespace kvx::audio {
namespace {

using widgets::Mixed;
using widgets::Named;
using widgets::ToQt;
using widgets::WithRole;

enum Role { kHertz = Qt::UserRole, kNumber, kSpeed, kCallsign, kText, kPresent };

constexpr double kRowHeight = 3.1;  // in sizes of text
constexpr double kToneWidth = 5;
constexpr double kSpeedWidth = 3;

/// Draws a signal in two lines: its dot, tone, speed and callsign, and below the end of its text.
class SignalRow final : public QStyledItemDelegate {
 public:
  SignalRow(const widgets::Appearance& appearance, QObject* parent)
      : QStyledItemDelegate(parent), appearance_(appearance) {}

  QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex&) const override {
    return {0, static_cast<int>(kRowHeight * widgets::Em(*option.widget))};
  }

  void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override {
    const widgets::Theme& theme = appearance_.theme();
    const bool chosen = option.state & QStyle::State_Selected;
    const double em = widgets::Em(*option.widget);
    const QRectF row(option.rect);
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    if (chosen) painter->fillRect(row, Mixed(theme.panel, theme.accent, 0.22));
    painter->fillRect(QRectF(row.left(), row.bottom() - 1, row.width(), 1), theme.edge);
    const QColor color = SignalColor(theme, index.data(kNumber).toInt());
    const QPointF dot(row.left() + 0.8 * em, row.top() + 0.85 * em);
    painter->setPen(QPen(color, 1.5));
    painter->setBrush(index.data(kPresent).toBool() ? QBrush(color) : QBrush(Qt::NoBrush));
    painter->drawEllipse(dot, 0.36 * em, 0.36 * em);
    double left = row.left() + 1.7 * em;
    const QRectF first(left, row.top() + 0.1 * em, row.right() - left - 0.4 * em, 1.5 * em);
    const auto draw = [&](const QString& text, double width, const QColor& ink) {
      painter->setPen(ink);
      painter->drawText(QRectF(left, first.top(), width, first.height()), Qt::AlignLeft | Qt::AlignVCenter, text);
      left += width;
    };
    draw(SignalList::tr("%1 Hz").arg(std::lround(index.data(kHertz).toDouble())), kToneWidth * em, theme.ink);
    const int speed = index.data(kSpeed).toInt();
    draw(speed > 0 ? QString::number(speed) : QString("–"), kSpeedWidth * em, theme.quiet_ink);
    QFont bold = option.font;
    bold.setBold(true);
    painter->setFont(bold);
    draw(index.data(kCallsign).toString(), first.right() - left, theme.ink);
    painter->setFont(option.font);
    painter->setPen(theme.quiet_ink);
    const QRectF second(first.left(), row.top() + 1.45 * em, first.width(), 1.35 * em);
    const QString text =
        QFontMetricsF(option.font).elidedText(index.data(kText).toString(), Qt::ElideLeft, second.width());
    painter->drawText(second, Qt::AlignLeft | Qt::AlignVCenter, text);
    if (option.state & QStyle::State_HasFocus) widgets::PaintFocusRing(*painter, theme, row, 4);
    painter->restore();
  }

 private:
  const widgets::Appearance& appearance_;
};

/// What a screen reader reads of it.
QString Sentence(const HeardSignal& signal) {
  QString text = SignalList::tr("%1 Hz").arg(std::lround(signal.hertz));
  if (signal.wpm > 0) text += SignalList::tr(", %1 words a minute").arg(std::lround(signal.wpm));
  const QString callsign = CallsignOf(signal);
  if (!callsign.isEmpty()) text += ", " + callsign;
  return signal.text.empty() ? text : text + ": " + ToQt(signal.text).trimmed();
}

}  // namespace

QColor SignalColor(const widgets::Theme& theme, int number) {
  const std::array colors{theme.amber,
                          theme.blue,
                          theme.green,
                          Mixed(theme.blue, theme.red, 0.5),
                          Mixed(theme.green, theme.blue, 0.5),
                          Mixed(theme.amber, theme.red, 0.55),
                          Mixed(theme.amber, theme.green, 0.5),
                          theme.quiet_ink};
  return colors[static_cast<std::size_t>(std::abs(number)) % colors.size()];
}

QString CallsignOf(const HeardSignal& signal) {
  return signal.callsigns.empty() ? QString() : ToQt(signal.callsigns.back());
}

SignalList::SignalList(const widgets::Appearance& appearance, QWidget* parent)
    : QFrame(parent), none_(WithRole(new QLabel(tr("No signal is being read.")), "quiet")), list_(new QListWidget) {
  WithRole(this, "panel");
  auto* column = new QVBoxLayout(this);
  auto* caption = WithRole(new QLabel(tr("SIGNALS")), "caption");
  Named(list_, tr("Signals"), tr("A click puts the decoder on that signal"), QKeySequence("Alt+L"));
  list_->setObjectName("signals");
  list_->setItemDelegate(new SignalRow(appearance, list_));
  list_->setFrameShape(QFrame::NoFrame);
  list_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  list_->setUniformItemSizes(true);
  list_->setStyleSheet("QListWidget { background: transparent; border: 2px solid transparent; }");
  none_->setWordWrap(true);
  column->addWidget(caption);
  column->addWidget(none_);
  column->addWidget(list_, 1);
  const auto choose = [this](const QListWidgetItem* item) {
    if (on_chosen) on_chosen(item->data(kHertz).toDouble());
  };
  connect(list_, &QListWidget::itemClicked, this, choose);
  connect(list_, &QListWidget::itemActivated, this, choose);
  connect(&appearance, &widgets::Appearance::Changed, list_, [this] { list_->doItemsLayout(); });
}

void SignalList::Show(std::vector<HeardSignal> heard) {
  std::sort(heard.begin(), heard.end(), [](const auto& a, const auto& b) { return a.hertz < b.hertz; });
  const int chosen = list_->currentItem() != nullptr ? list_->currentItem()->data(kNumber).toInt() : -1;
  const auto count = static_cast<int>(heard.size());
  while (list_->count() > count) delete list_->takeItem(list_->count() - 1);
  while (list_->count() < count) list_->addItem(new QListWidgetItem);
  none_->setVisible(heard.empty());
  for (int row = 0; row < count; ++row) {
    const HeardSignal& signal = heard[static_cast<std::size_t>(row)];
    QListWidgetItem* item = list_->item(row);
    const auto put = [item](int role, const QVariant& value) {
      if (item->data(role) != value) item->setData(role, value);
    };
    put(kHertz, signal.hertz);
    put(kNumber, signal.number);
    put(kSpeed, static_cast<int>(std::lround(signal.wpm)));
    put(kCallsign, CallsignOf(signal));
    put(kText, ToQt(signal.text).trimmed());
    put(kPresent, signal.present);
    put(Qt::DisplayRole, Sentence(signal));
    if (signal.number == chosen && list_->currentRow() != row) list_->setCurrentRow(row);
  }
}

}  // namespace kvx::audio
