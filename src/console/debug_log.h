#pragma once

#include <cstdint>
#include <functional>
#include <utility>
#include <vector>

#include "cat/engine.h"
#include "console/traffic.h"
#include "platform/files.h"

namespace kvx::console {

/// What goes over the rig's line, for everybody who wants to see it: the debug view, which is kept in a ring while
/// somebody has it open, and listeners, who get every piece of bytes as it passes. While there is nobody the rig link
/// is not even hooked.
class DebugLog {
 public:
  using Listener = std::function<void(Direction direction, std::string_view bytes)>;

  /// Keeps a listener in place; ends with it. Must not outlive the log.
  class Listening {
   public:
    Listening() = default;
    Listening(DebugLog& log, std::uint64_t id) : log_(&log), id_(id) {}
    Listening(Listening&& other) noexcept : log_(std::exchange(other.log_, nullptr)), id_(other.id_) {}
    Listening& operator=(Listening&& other) noexcept {
      std::swap(log_, other.log_);
      std::swap(id_, other.id_);
      return *this;
    }
    ~Listening() {
      if (log_ != nullptr) log_->StopListening(id_);
    }

   private:
    DebugLog* log_ = nullptr;
    std::uint64_t id_ = 0;
  };

  /// Takes both hooks of the engine's rig link for itself.
  DebugLog(Loop& loop, platform::Files& files, cat::Engine& engine) : loop_(loop), files_(files), engine_(engine) {}
  DebugLog(const DebugLog&) = delete;
  DebugLog& operator=(const DebugLog&) = delete;

  /// Begins to record. Every Open has its Close; recording ends with the last one, and what was recorded stays.
  void Open();
  void Close();
  bool is_open() const { return open_ > 0; }
  [[nodiscard]] Listening Listen(Listener listener);

  const TrafficRing& ring() const { return ring_; }
  /// One past the last entry that nothing will be added to any more.
  std::uint64_t settled_end() const;
  const TrafficText& text() const { return text_; }
  void Clear() { ring_.Clear(); }
  /// Writes what passes the filter to a file, a line an entry. `ring`: this log's, or a copy of it.
  Status SaveTo(const platform::Path& file, const TrafficRing& ring, const TrafficFilter& filter) const;

 private:
  void StopListening(std::uint64_t id);
  void Hook();
  void Passed(Direction direction, std::string_view bytes);
  void Record(Direction direction, std::string_view bytes);
  bool last_is_growing() const;
  Duration Gap() const;

  Loop& loop_;
  platform::Files& files_;
  cat::Engine& engine_;
  TrafficText text_;
  TrafficRing ring_;
  bool complete_ = true;  ///< the newest entry has its end mark
  TimePoint last_{};      ///< when something was last added to it
  int open_ = 0;
  int passing_ = 0;
  std::uint64_t last_id_ = 0;
  std::vector<std::pair<std::uint64_t, Listener>> listeners_;
};

}  // namespace kvx::console
