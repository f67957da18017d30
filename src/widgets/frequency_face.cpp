#include "widgets/frequency_face.h"

#include <QCoreApplication>
#include <QFontMetricsF>
#include <cmath>

namespace kvx::widgets {
namespace {

constexpr double kMeasured = 200;       // pixels: large enough that rounding in the font does not matter
constexpr double kUnitSize = 0.32;      // of the digits'
constexpr double kHintSize = 0.25;      // of the digits'
constexpr double kThinUnderline = 0.4;  // of the underline's height

QFont QuietFont(const QFont& base, double pixels) {
  QFont font = base;
  font.setPixelSize(std::max(6, static_cast<int>(std::lround(pixels))));
  return font;
}

/// One painting of the display.
class Painting final {
  Q_DECLARE_TR_FUNCTIONS(kvx::widgets::FrequencyFace)

 public:
  Painting(QPainter& painter, const DigitLayout& layout, const QFont& base, const Theme& theme,
           const FrequencyFace& face)
      : painter_(painter),
        layout_(layout),
        base_(base),
        theme_(theme),
        face_(face),
        font_(DigitFont(base, layout.font_size())),
        metrics_(font_) {}

  void Frequency() {
    const int shown = PlacesShown(face_.frequency);
    const int first = shown - LeadingZeros(face_.frequency);
    for (int place = shown - 1; place >= 0; --place) {
      const QColor& lit = place < first ? digits() : theme_.leading_zeros;
      Sign(QChar('0' + DigitAtPlace(face_.frequency, place)), layout_.PlaceX(place), layout_.cell(), lit);
    }
    Sign('.', layout_.point_x(), layout_.point_width(), digits());
    if (face_.cursor >= 0 && face_.cursor < shown) UnderlinePlace(face_.cursor, kThinUnderline, theme_.quiet_ink);
    if (face_.marked >= 0 && face_.marked < shown) UnderlinePlace(face_.marked, 1, theme_.accent);
    Quiet(tr("kHz"), kUnitSize, layout_.baseline());
  }

  void Entry() {
    const DigitEntry& entry = face_.entry;
    const double width = EntryWidth();
    const QColor& color = entry.refused() ? theme_.red : theme_.accent;
    if (entry.selected()) {
      painter_.fillRect(Snapped({layout_.left(), layout_.top(), width, layout_.baseline() - layout_.top()}, 0.06),
                        color);
    }
    double x = layout_.left();
    for (const char c : entry.text()) {
      const double sign = c == '.' ? layout_.point_width() : layout_.cell();
      Sign(QLatin1Char(c), x, sign, entry.selected() ? theme_.accent_ink : digits());
      x += sign;
    }
    if (!entry.selected()) Underline(layout_.left(), width, 1, color);
    const double caret = std::max(1.5, layout_.underline_height());
    painter_.fillRect(Snapped({x + caret / 2, layout_.top(), caret, layout_.baseline() - layout_.top()}), color);
    Quiet(tr("Enter"), kHintSize, layout_.top() + metrics_.capHeight() * kHintSize);
    Quiet(tr("kHz"), kUnitSize, layout_.baseline());
  }

 private:
  QColor digits() const { return face_.enabled ? theme_.digits : theme_.quiet_ink; }

  double EntryWidth() const {
    double width = 0;
    for (const char c : face_.entry.text()) width += c == '.' ? layout_.point_width() : layout_.cell();
    return width;
  }

  /// A character in the middle of its cell.
  void Sign(QChar c, double x, double cell, const QColor& color) {
    painter_.setFont(font_);
    painter_.setPen(color);
    painter_.drawText(QPointF(x + (cell - metrics_.horizontalAdvance(c)) / 2, layout_.baseline()), QString(c));
  }

  void Quiet(const QString& text, double size, double baseline) {
    painter_.setFont(QuietFont(base_, layout_.font_size() * size));
    painter_.setPen(QuietInk());
    painter_.drawText(QPointF(layout_.unit_x(), baseline), text);
  }

  /// The quiet ink is made for panels; on a screen of another shade the digits' own colour may read better.
  QColor QuietInk() const {
    return Contrast(theme_.quiet_ink, theme_.screen) >= 4.5 ? theme_.quiet_ink : theme_.digits;
  }

  void UnderlinePlace(int place, double share, const QColor& color) {
    Underline(layout_.PlaceX(place), layout_.cell(), share, color);
  }

  void Underline(double x, double width, double share, const QColor& color) {
    const double height = std::max(share < 1 ? 1.0 : 2.0, layout_.underline_height() * share);
    painter_.fillRect(Snapped({x, layout_.underline_y(), width, height}), color);
  }

  /// On whole device pixels, so that edges are sharp; `grow` is a share of the font size.
  QRectF Snapped(const QRectF& rect, double grow = 0) const {
    const double ratio = painter_.device()->devicePixelRatioF();
    const auto snap = [ratio](double v) { return std::round(v * ratio) / ratio; };
    const double more = grow * layout_.font_size();
    const QRectF grown = rect.adjusted(0, -more, 0, more);
    return {QPointF(snap(grown.left()), snap(grown.top())), QPointF(snap(grown.right()), snap(grown.bottom()))};
  }

  QPainter& painter_;
  const DigitLayout& layout_;
  const QFont& base_;
  const Theme& theme_;
  const FrequencyFace& face_;
  const QFont font_;
  const QFontMetricsF metrics_;
};

}  // namespace

QFont DigitFont(const QFont& base, double pixels) {
  QFont font = base;
  font.setWeight(QFont::DemiBold);
  font.setPixelSize(std::max(1, static_cast<int>(pixels)));
  return font;
}

DigitMetrics MeasureDigits(const QFont& base) {
  const QFont font = DigitFont(base, kMeasured);
  const QFontMetricsF metrics(font);
  DigitMetrics measured{.digit = 0, .point = metrics.horizontalAdvance('.') / kMeasured, .unit = 0};
  for (char c = '0'; c <= '9'; ++c) {
    measured.digit = std::max(measured.digit, metrics.horizontalAdvance(QLatin1Char(c)) / kMeasured);
  }
  measured.height = metrics.capHeight() / kMeasured;
  const QFontMetricsF unit(QuietFont(base, kMeasured * kUnitSize));
  const QFontMetricsF hint(QuietFont(base, kMeasured * kHintSize));
  measured.unit =
      std::max(unit.horizontalAdvance(Painting::tr("kHz")), hint.horizontalAdvance(Painting::tr("Enter"))) / kMeasured;
  return measured;
}

void PaintFrequency(QPainter& painter, const DigitLayout& layout, const QFont& base, const Theme& theme,
                    const FrequencyFace& face) {
  Painting painting(painter, layout, base, theme, face);
  if (face.entry.active()) {
    painting.Entry();
  } else {
    painting.Frequency();
  }
}

}  // namespace kvx::widgets
