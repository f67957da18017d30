#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "core/result.h"

namespace kvx::accessories {

inline constexpr double kLastBearing = 359;

/// The number that a field begins with, fraction included; 0 when it begins with none.
double Val(std::string_view text);
/// Whether the text is nothing but a number that is a bearing, 0 to 359.
bool IsBearing(std::string_view text);

/// A place on the globe, degrees, north and east positive.
struct Place {
  double latitude = 0;
  double longitude = 0;
};
/// The middle of a Maidenhead square of 4, 6 or 8 characters ("JN58", "JN58TD", "JN58TD25"), any case.
std::optional<Place> FromLocator(std::string_view locator);

/// The great circle from one place to another.
struct Path {
  double bearing = 0;  ///< degrees, 0 to below 360
  double kilometres = 0;
};
Path ShortPath(const Place& from, const Place& to);
/// The same circle the other way round.
Path LongPath(const Path& path);

/// Where the operator wants to go.
struct Target {
  std::string text;                  ///< the bearing as a field has it: as typed, or whole degrees
  std::optional<double> kilometres;  ///< when a locator was typed
};
/// What has been typed: a bearing, or a locator to which the way from the operator's own one is computed. `long_path`:
/// the other way round. kInvalid, with one sentence, for anything else.
Result<Target> ParseTarget(std::string_view typed, std::string_view own_locator, bool long_path);

}  // namespace kvx::accessories
