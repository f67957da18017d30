#pragma once

#include <algorithm>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "console/station.h"
#include "core/result.h"
#include "core/text.h"

namespace kvx::console {

// What the commands of the headless command line read and answer.

inline std::string Fail(std::string_view why) {
  return "error: " + std::string(why);
}

/// A sentence on what was done, or why not.
inline std::string Say(const Result<std::string>& done) {
  return done ? "ok " + OneLine(*done) : Fail(OneLine(done.error().message));
}

inline std::string Say(const Status& status, const std::string& done) {
  return status ? "ok " + done : Fail(OneLine(status.error().message));
}

inline std::string Say(cat::SendOutcome outcome, const Station& station, const std::string& done) {
  return outcome == cat::SendOutcome::kSent ? "ok " + done : Fail(station.WhyNotSent(outcome));
}

/// The first word and the rest.
inline std::pair<std::string_view, std::string_view> FirstWord(std::string_view text) {
  text = Trim(text);
  const std::size_t end = std::min(text.find_first_of(" \t"), text.size());
  return {text.substr(0, end), Trim(text.substr(end))};
}

inline std::optional<bool> OnOff(std::string_view text) {
  if (EqualNoCase(text, "on")) return true;
  return EqualNoCase(text, "off") ? std::optional(false) : std::nullopt;
}

/// "name":"value"
inline std::string Json(std::string_view name, std::string_view value) {
  return JsonString(name) + ":" + JsonString(value);
}

}  // namespace kvx::console
