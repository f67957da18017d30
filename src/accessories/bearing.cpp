#include "accessories/bearing.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <numbers>

#include "core/text.h"

namespace kvx::accessories {
namespace {

constexpr double kEarthRadius = 6371.0;  // kilometres, the mean one
constexpr double kSamePlace = 0.001;     // kilometres
constexpr double kEarthCircle = 2 * std::numbers::pi * kEarthRadius;

double Radians(double degrees) {
  return degrees * std::numbers::pi / 180;
}

double Degrees(double radians) {
  return radians * 180 / std::numbers::pi;
}

/// One pair of a locator: how many steps of the pair before it, and the first sign.
struct Pair {
  int steps;
  char first;
};
constexpr std::array kPairs{Pair{18, 'A'}, Pair{10, '0'}, Pair{24, 'A'}, Pair{10, '0'}};

/// Whole degrees, 0 to 359.
std::string WholeDegrees(double bearing) {
  return std::to_string(static_cast<int>(std::lround(bearing)) % 360);
}

/// A longer number of whole degrees would make the rotator's command longer.
std::string_view WithoutZeros(std::string_view bearing) {
  while (std::min(bearing.find('.'), bearing.size()) > 3) bearing.remove_prefix(1);
  return bearing;
}

Error NotABearing() {
  return {ErrorCode::kInvalid, "Please enter a bearing between 0 and 359"};
}

}  // namespace

double Val(std::string_view text) {
  text = Trim(text);
  double value = 0;
  std::from_chars(text.data(), text.data() + text.size(), value, std::chars_format::fixed);
  return std::isfinite(value) ? value : 0;
}

bool IsBearing(std::string_view text) {
  text = Trim(text);
  const bool number = std::all_of(text.begin(), text.end(), [](char c) { return IsDigit(c) || c == '.'; }) &&
                      std::any_of(text.begin(), text.end(), IsDigit) && std::count(text.begin(), text.end(), '.') <= 1;
  return number && Val(text) <= kLastBearing;
}

std::optional<Place> FromLocator(std::string_view locator) {
  const std::string text = Upper(Trim(locator));
  if (text.size() < 4 || text.size() > 2 * kPairs.size() || text.size() % 2 != 0) return std::nullopt;
  Place place{-90, -180};
  double height = 180;
  double width = 360;
  for (std::size_t i = 0; i < text.size(); i += 2) {
    const Pair& pair = kPairs[i / 2];
    const int east = text[i] - pair.first;
    const int north = text[i + 1] - pair.first;
    if (east < 0 || east >= pair.steps || north < 0 || north >= pair.steps) return std::nullopt;
    width /= pair.steps;
    height /= pair.steps;
    place.longitude += east * width;
    place.latitude += north * height;
  }
  return Place{place.latitude + height / 2, place.longitude + width / 2};
}

Path ShortPath(const Place& from, const Place& to) {
  const double lat1 = Radians(from.latitude);
  const double lat2 = Radians(to.latitude);
  const double east = Radians(to.longitude - from.longitude);
  const double y = std::sin(east) * std::cos(lat2);
  const double x = std::cos(lat1) * std::sin(lat2) - std::sin(lat1) * std::cos(lat2) * std::cos(east);
  const double cosine = std::sin(lat1) * std::sin(lat2) + std::cos(lat1) * std::cos(lat2) * std::cos(east);
  const double bearing = Degrees(std::atan2(y, x));
  return {std::fmod(bearing + 360, 360), kEarthRadius * std::atan2(std::hypot(x, y), cosine)};
}

Path LongPath(const Path& path) {
  return {std::fmod(path.bearing + 180, 360), kEarthCircle - path.kilometres};
}

Result<Target> ParseTarget(std::string_view typed, std::string_view own_locator, bool long_path) {
  typed = Trim(typed);
  if (IsBearing(typed)) {
    if (!long_path) return Target{std::string(WithoutZeros(typed)), std::nullopt};
    return Target{WholeDegrees(LongPath({Val(typed), 0}).bearing), std::nullopt};
  }
  const auto there = FromLocator(typed);
  if (!there) return NotABearing();
  const auto here = FromLocator(own_locator);
  if (!here && !Trim(own_locator).empty())
    return Error{ErrorCode::kInvalid, "Your own locator, " + OneLine(own_locator, 40) + ", is no Maidenhead locator"};
  if (!here) return Error{ErrorCode::kInvalid, "Your own locator is not set: it tells the bearing to " + Upper(typed)};
  Path path = ShortPath(*here, *there);
  if (path.kilometres < kSamePlace) return Error{ErrorCode::kInvalid, Upper(typed) + " is where you are: no bearing"};
  if (long_path) path = LongPath(path);
  return Target{WholeDegrees(path.bearing), path.kilometres};
}

}  // namespace kvx::accessories
