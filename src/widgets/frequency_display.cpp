#include "widgets/frequency_display.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QPainter>
#include <algorithm>
#include <chrono>
#include <cmath>

#include "widgets/accessible_number.h"
#include "widgets/frequency_face.h"
#include "widgets/painting.h"

namespace kvx::widgets {
namespace {

using std::chrono_literals::operator""s;

constexpr auto kAnswerWithin = 1s;
constexpr int kNotch = 120;
constexpr double kUsualEms = 5;  // the digits' size in the size of usual text
constexpr double kSmallestEms = 2.5;
constexpr double kMarginEms = 0.4;  // around the digits: the focus ring stands there
constexpr double kRadius = 8;
constexpr double kHighestKhz = 999999.99;
constexpr double kTensOfHzPerKhz = 100;

QString Khz(Frequency frequency) {
  return QString::fromStdString(KhzText(frequency));
}

/// How far the wheel was turned, in the unit of wheels, for devices that tell it in pixels too.
int Movement(const QWheelEvent& event, int line_height) {
  if (!event.angleDelta().isNull()) return event.angleDelta().y();
  return event.pixelDelta().y() * kNotch / std::max(line_height, 1);
}

}  // namespace

/// A key with no character of its own: what it does, and whether while a frequency is typed or while none is.
struct FrequencyDisplay::KeyRow {
  int key;
  bool typing;
  void (*action)(FrequencyDisplay&);
};

const FrequencyDisplay::KeyRow FrequencyDisplay::kKeys[] = {
    {Qt::Key_Up, false, [](FrequencyDisplay& d) { d.Turn(d.cursor_, 1); }},
    {Qt::Key_Down, false, [](FrequencyDisplay& d) { d.Turn(d.cursor_, -1); }},
    {Qt::Key_Left, false, [](FrequencyDisplay& d) { d.SetCursor(d.cursor_ + 1); }},
    {Qt::Key_Right, false, [](FrequencyDisplay& d) { d.SetCursor(d.cursor_ - 1); }},
    {Qt::Key_Home, false, [](FrequencyDisplay& d) { d.SetCursor(PlacesShown(d.shown()) - 1); }},
    {Qt::Key_End, false, [](FrequencyDisplay& d) { d.SetCursor(0); }},
    {Qt::Key_Return, true, [](FrequencyDisplay& d) { d.Confirm(); }},
    {Qt::Key_Enter, true, [](FrequencyDisplay& d) { d.Confirm(); }},
    {Qt::Key_Escape, true, [](FrequencyDisplay& d) { d.entry_.Drop(); }},
    {Qt::Key_Backspace, true, [](FrequencyDisplay& d) { d.entry_.Backspace(); }},
};

FrequencyDisplay::FrequencyDisplay(const Appearance& appearance, QWidget* parent)
    : QWidget(parent), appearance_(appearance), metrics_(MeasureDigits(font())), accessible_(MakeAccessible()) {
  setFocusPolicy(Qt::StrongFocus);
  setMouseTracking(true);
  setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
  setAccessibleName(tr("Frequency"));
  setToolTip(
      tr("Frequency in kHz\nWheel over a digit, or Up / Down: tune this digit\nLeft / Right / Home / End: choose the "
         "digit\nDigits, then Enter: go to a frequency; Esc: leave it\nCtrl+C, Ctrl+V: copy, paste"));
  SetCursor(cursor_);
  unanswered_.setSingleShot(true);
  unanswered_.setInterval(kAnswerWithin);
  connect(&unanswered_, &QTimer::timeout, this, [this] {
    tuned_.reset();
    Redraw();
  });
  connect(&appearance, &Appearance::Changed, this, qOverload<>(&QWidget::update));
}

AccessibleNumber* FrequencyDisplay::MakeAccessible() {
  return new AccessibleNumber(*this,
                              {.role = QAccessible::SpinBox,
                               .minimum = 0,
                               .maximum = kHighestKhz,
                               .smallest_step = 1 / kTensOfHzPerKhz,
                               .value = [this] { return static_cast<double>(shown().tens_of_hz()) / kTensOfHzPerKhz; },
                               .text =
                                   [this] {
                                     return entry_.active() ? tr("%1 kHz, not yet entered").arg(entry_.text().c_str())
                                                            : tr("%1 kHz").arg(Khz(shown()));
                                   },
                               .on_set =
                                   [this](double khz) {
                                     const double bounded = std::clamp(khz, 0.0, kHighestKhz);
                                     Ask(Frequency::FromHz(std::llround(bounded * kTensOfHzPerKhz) * 10), on_tune);
                                   },
                               .on_step = [this](int steps) { Turn(cursor_, steps); }});
}

void FrequencyDisplay::SetFrequency(Frequency frequency) {
  frequency = std::clamp(frequency, Frequency{}, kHighestFrequency);
  unanswered_.stop();
  const bool other = frequency != shown();
  frequency_ = frequency;
  tuned_.reset();
  if (other) Redraw();
}

QSize FrequencyDisplay::SizeOf(double ems) const {
  const double em = Em(*this);
  const DigitLayout::Room room = DigitLayout::RoomFor(kPlaces, em * ems, metrics_);
  const double margins = 2 * kMarginEms * em;
  return QSizeF(std::ceil(room.width + margins), std::ceil(room.height + margins)).toSize();
}

QSize FrequencyDisplay::sizeHint() const {
  return SizeOf(kUsualEms);
}

QSize FrequencyDisplay::minimumSizeHint() const {
  return SizeOf(kSmallestEms);
}

DigitLayout FrequencyDisplay::digits() const {
  const double margin = kMarginEms * Em(*this);
  return {PlacesShown(shown()), {margin, margin, width() - 2 * margin, height() - 2 * margin}, metrics_};
}

void FrequencyDisplay::Redraw() {
  accessible_->Announce();
  update();
}

void FrequencyDisplay::changeEvent(QEvent* event) {
  if (event->type() == QEvent::FontChange || event->type() == QEvent::LanguageChange) {
    metrics_ = MeasureDigits(font());
    updateGeometry();
  }
  QWidget::changeEvent(event);
}

void FrequencyDisplay::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  const Theme& theme = appearance_.theme();
  if (hasFocus()) PaintFocusRing(painter, theme, rect(), kRadius);
  const int cursor = hasFocus() ? cursor_ : -1;
  const FrequencyFace face{.frequency = shown(),
                           .entry = entry_,
                           .marked = pointed_ >= 0 ? pointed_ : cursor,
                           .cursor = cursor,
                           .enabled = isEnabled()};
  PaintFrequency(painter, digits(), font(), theme, face);
}

void FrequencyDisplay::Point(int place) {
  if (place == pointed_) return;
  pointed_ = place;
  update();
}

void FrequencyDisplay::SetCursor(int place) {
  cursor_ = std::clamp(place, 0, PlacesShown(shown()) - 1);
  pointed_ = -1;
  setAccessibleDescription(tr("Up and Down tune by %1").arg(PlaceName(cursor_).c_str()));
  update();
}

void FrequencyDisplay::mousePressEvent(QMouseEvent* event) {
  if (event->button() != Qt::LeftButton) return event->ignore();
  const int place = digits().PlaceAt(event->position().x(), event->position().y());
  if (place >= 0 && !entry_.active()) SetCursor(place);
}

void FrequencyDisplay::mouseDoubleClickEvent(QMouseEvent* event) {
  if (event->button() != Qt::LeftButton) return event->ignore();
  if (!entry_.active() && shown() > Frequency{}) entry_.Select(shown());
  Redraw();
}

void FrequencyDisplay::mouseMoveEvent(QMouseEvent* event) {
  Point(digits().PlaceAt(event->position().x(), event->position().y()));
}

void FrequencyDisplay::leaveEvent(QEvent*) {
  Point(-1);
  notches_.Reset();
}

void FrequencyDisplay::wheelEvent(QWheelEvent* event) {
  event->accept();
  if (entry_.active()) return;  // nothing turns unseen behind what is typed
  const int place = digits().PlaceAt(event->position().x(), event->position().y());
  if (place != wheeled_) notches_.Reset();
  wheeled_ = place;
  const int notches = notches_.Add(Movement(*event, fontMetrics().height()));
  if (notches == 0) return;
  if (place >= 0) {
    Turn(place, notches);
  } else if (on_wheel) {
    on_wheel(notches);
  }
}

void FrequencyDisplay::Turn(int place, int steps) {
  const Frequency turned = TurnDigit(shown(), place, steps);
  if (turned != shown()) Ask(turned, on_tune);
}

void FrequencyDisplay::Ask(Frequency frequency, const std::function<void(Frequency)>& asked) {
  tuned_ = frequency;  // before the owner answers: what it sets is what counts
  unanswered_.start();
  Redraw();
  if (asked) asked(frequency);
}

/// Nothing for a key that is not this display's now; other windows' shortcuts keep those.
const FrequencyDisplay::KeyRow* FrequencyDisplay::RowOf(const QKeyEvent& event) const {
  if (event.modifiers() & ~Qt::KeypadModifier) return nullptr;
  const auto* const row = std::find_if(std::begin(kKeys), std::end(kKeys), [&](const KeyRow& candidate) {
    return candidate.key == event.key() && candidate.typing == entry_.active();
  });
  return row == std::end(kKeys) ? nullptr : row;
}

bool FrequencyDisplay::Types(const QKeyEvent& event) const {
  if (event.modifiers() & (Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier)) return false;
  return event.text().size() == 1 && QStringLiteral("0123456789.,").contains(event.text());
}

bool FrequencyDisplay::event(QEvent* event) {
  if (event->type() == QEvent::ShortcutOverride) {
    const auto& key = static_cast<QKeyEvent&>(*event);
    if (RowOf(key) != nullptr || Types(key) || key.matches(QKeySequence::Copy) || key.matches(QKeySequence::Paste)) {
      event->accept();
      return true;
    }
  }
  return QWidget::event(event);
}

void FrequencyDisplay::keyPressEvent(QKeyEvent* event) {
  if (const KeyRow* row = RowOf(*event)) {
    row->action(*this);
  } else if (Types(*event)) {
    entry_.Type(event->text().front().toLatin1());
  } else if (event->matches(QKeySequence::Copy)) {
    return Copy();
  } else if (event->matches(QKeySequence::Paste)) {
    Paste();
  } else {
    return QWidget::keyPressEvent(event);
  }
  Redraw();
}

void FrequencyDisplay::focusOutEvent(QFocusEvent* event) {
  entry_.Drop();
  notches_.Reset();
  Redraw();
  QWidget::focusOutEvent(event);
}

void FrequencyDisplay::Confirm() {
  const Result<Frequency> typed = entry_.Confirm(offset_);
  if (!typed) return Refuse(typed.error());
  Ask(*typed, on_base_frequency);
}

void FrequencyDisplay::Copy() {
  const QString text = entry_.active() ? QString::fromStdString(entry_.text()) : Khz(shown());
  QGuiApplication::clipboard()->setText(text);
}

void FrequencyDisplay::Paste() {
  const QString text = QGuiApplication::clipboard()->text().trimmed();
  if (text.isEmpty()) return;
  const Status pasted = entry_.Paste(text.toStdString());
  if (!pasted) Refuse(pasted.error());
}

void FrequencyDisplay::Refuse(const Error& error) {
  if (on_refused) on_refused(QString::fromStdString(error.message));
}

}  // namespace kvx::widgets
