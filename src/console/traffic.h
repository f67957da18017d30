#pragma once

#include <cstdint>
#include <deque>
#include <string>
#include <string_view>

#include "core/byte_text.h"
#include "core/loop.h"

namespace kvx::console {

enum class Direction { kSent, kReceived };

/// Bytes that went over the rig's line together.
struct Traffic {
  UtcTime time;
  Direction direction = Direction::kSent;
  std::string bytes;
};

/// The latest traffic: what is oldest goes when there are too many entries or too many bytes. An entry keeps its number
/// as long as it is there.
class TrafficRing {
 public:
  static constexpr std::size_t kMostEntries = 20'000;
  static constexpr std::size_t kMostBytes = 4U << 20;

  void Add(Traffic entry);
  /// Adds to the newest entry. There has to be one.
  void Extend(std::string_view bytes);
  /// Forgets all entries; numbers go on from where they were.
  void Clear();

  std::uint64_t first() const { return first_; }
  /// One past the newest entry.
  std::uint64_t end() const { return first_ + entries_.size(); }
  const Traffic& at(std::uint64_t number) const { return entries_.at(static_cast<std::size_t>(number - first_)); }
  std::size_t bytes() const { return bytes_; }

 private:
  void Trim();

  std::deque<Traffic> entries_;
  std::uint64_t first_ = 0;
  std::size_t bytes_ = 0;
};

/// Which entries somebody wants to see.
struct TrafficFilter {
  std::string text;  ///< any case; has to be in the entry's text or in its hexadecimal pairs
  bool sent = true;
  bool received = true;
  bool operator==(const TrafficFilter&) const = default;
};

/// How the debug view shows traffic.
class TrafficText {
 public:
  /// "14:02:25.123", UTC.
  static std::string Time(const Traffic& entry);
  /// "2026-11-21".
  static std::string Date(UtcTime time);
  /// Readable text with control characters as <CR>; of binary bytes what is printable, and a point for every other one.
  static std::string Text(const Traffic& entry);
  std::string Hex(const Traffic& entry) const { return table_.Spaced(entry.bytes); }
  /// "14:02:25.123 > FA00014025000;   46 41 ...": ">" is sent, "<" is received.
  std::string FormatLine(const Traffic& entry) const;
  bool Passes(const Traffic& entry, const TrafficFilter& filter) const;

 private:
  ByteText table_;
};

}  // namespace kvx::console
