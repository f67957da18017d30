#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace kvx::widgets {

/// Which level a waterfall shows dark and which one bright. They set themselves: the dark end lies below the middle of
/// what is heard, which is noise on all but the fullest bands, the bright end at the loudest of the last lines. Slow
/// enough that fading stays visible; after a jump of the noise quick.
class WaterfallLevels final {
 public:
  void Follow(std::span<const float> line);
  /// 0 to 255 for each level.
  void Shade(std::span<const float> line, std::uint8_t* shades) const;
  double dark() const;
  double bright() const;

 private:
  std::vector<float> sorted_;
  int lines_ = 0;
  double middle_ = 0;
  double loudest_ = 0;
};

}  // namespace kvx::widgets
