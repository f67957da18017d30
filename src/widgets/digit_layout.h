#pragma once

namespace kvx::widgets {

/// The signs of a font, measured at size 1.
struct DigitMetrics {
  double digit = 0.6;   ///< the widest digit's advance: every digit gets a cell of it, so that nothing jumps
  double point = 0.3;   ///< advance of the decimal point
  double height = 0.7;  ///< of a digit above the base line
  double unit = 0.6;    ///< what stands behind the digits
};

/// Where the digits of a frequency stand in a room, as large as it allows: left in it, centred in its height. Lengths
/// are those of the room. Places count from the right (digit_entry.h); a thin gap stands before every three places of
/// kHz.
class DigitLayout final {
 public:
  struct Room {
    double left = 0, top = 0, width = 0, height = 0;
  };

  DigitLayout(int places, const Room& room, const DigitMetrics& metrics);

  /// The room that digits of a font size take.
  static Room RoomFor(int places, double font_size, const DigitMetrics& metrics);

  double font_size() const { return font_size_; }
  double cell() const { return metrics_.digit * font_size_; }
  double left() const { return left_; }
  double top() const { return baseline_ - metrics_.height * font_size_; }
  double baseline() const { return baseline_; }
  double point_x() const { return PlaceX(kPointAfter) + cell(); }
  double point_width() const { return metrics_.point * font_size_; }
  double unit_x() const;
  double underline_y() const;
  double underline_height() const;

  /// The left edge of the cell of a place.
  double PlaceX(int place) const;
  /// The place whose cell, with the underline below it, holds the point; -1 for none.
  int PlaceAt(double x, double y) const;

 private:
  static constexpr int kPointAfter = 2;  // the place of kHz

  int places_;
  DigitMetrics metrics_;
  double font_size_;
  double left_;
  double baseline_;
};

}  // namespace kvx::widgets
