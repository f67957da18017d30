#pragma once

#include <algorithm>
#include <functional>
#include <string>
#include <vector>

#include "core/console.h"
#include "core/loop.h"
#include "platform/serial_port.h"

namespace kvx::cat {

/// The rig's serial line: opens and keeps open the rig port, writes finished commands to it, and gathers what arrives
/// in the receive buffer, as text, or as hexadecimal text for a binary rig. A device that cannot be opened or vanishes
/// is tried again, at first after a quarter of a second, later once a second. A server that takes the connection and
/// ends it at once is tried less and less often, and counts as open when it has kept one for a while. Engine thread
/// only.
class RigLink {
 public:
  using Trace = std::function<void(std::string_view bytes)>;

  RigLink(Loop& loop, Console& console, platform::SerialPort& port);

  /// Opens the rig port, anew if it is open. A port number of 0, or no rig selected, leaves it closed.
  void OpenRigPort(const platform::PortSettings& settings, bool rig_selected);
  /// How the lines stand from now on, and when the port is opened again.
  void SetSwitches(bool dtr, bool rts);
  /// Waits, half a second at most, until the device has what was written.
  Task Deliver();
  /// The rig at this port is given up: nothing more is written, and what has been written by now is delivered if
  /// `deliver` says so (a release of the transmitter) before the next OpenRigPort closes the port under it.
  void Retire(bool deliver);
  /// Closes the port and stops trying.
  void CloseRigPort();
  /// Writes a finished command; skipped while the port is closed or the line is so far behind that the command could
  /// not arrive within a second. True when it was written.
  bool WriteRigPort(std::string_view bytes);
  /// Whether so many bytes would be written now, all of them.
  bool HasRoomFor(std::size_t bytes) const;
  /// Writes what must not wait, a release of the transmitter. What is queued before it is dropped when the rig can find
  /// the beginning of a command again after `resynchronise`; null: it cannot. True when it was written.
  bool WriteUrgently(std::string_view bytes, const std::string* resynchronise);
  void ClearRcvBuffer() { buffer_.clear(); }

  /// Told to who hears that the port is open again: it went while bytes were on the line, so that the rig may have the
  /// beginning of a command.
  bool was_cut_short() const { return cut_short_; }
  /// Open, and not about to be closed.
  bool is_open() const { return port_.is_open() && !retired_ && !on_trial_; }
  /// The line's speed in baud, never absurdly low.
  int speed() const { return std::max(settings_.speed, 300); }
  /// How long so many bytes take on the line.
  Duration TimeOf(std::size_t bytes) const;
  const platform::PortSettings& settings() const { return settings_; }
  /// Received bytes go to the buffer as hexadecimal pairs.
  void SetHexBuffer(bool hex) { hex_ = hex; }
  /// The receive buffer; the parser removes what it has used.
  std::string& buffer() { return buffer_; }
  /// Takes all waiting input into the buffer; while the discard switch is set it is dropped.
  void GetData();
  /// A whole reply of the rig has come.
  void Answered();
  bool has_unread_input() const { return port_.bytes_waiting() > 0; }
  /// Bytes that the line has not taken yet.
  std::size_t bytes_unsent() const { return port_.bytes_unsent(); }

  /// Throws arriving data away until `ticks` poll ticks have passed.
  void Discard(int ticks);
  bool discarding() const { return discard_; }
  /// Serves the discard countdown; called on every poll tick.
  void CountDown();

  /// When everything written so far will have left the line.
  TimePoint line_free_at() const { return line_free_at_; }
  TimePoint last_arrival() const { return last_arrival_; }
  std::uint64_t sent_bytes() const { return sent_bytes_; }
  std::uint64_t received_bytes() const { return received_bytes_; }

  std::function<void()> on_arrival;                        ///< new data are waiting to be read (GetData)
  std::function<void()> on_opened;                         ///< the follow-up of a freshly opened port
  std::function<void()> on_undelivered;                    ///< what was written last may not have reached the device
  std::function<void(const std::string& line)> on_notice;  ///< one line for the operator
  Trace DisplayTX;                                         ///< the debug view's transmit list
  Trace DisplayRCV;                                        ///< the debug view's receive list
  Trace on_written;                                        ///< bytes have been handed to the port, in their order

 private:
  void Put(std::string_view bytes);
  void Reopen();
  Task DeliverThenReopen();
  Task KeepOpen(Duration pause);
  Duration NextPause();
  void Lost(const std::string& cause);
  void Reached();
  Task Prove();
  void Opened();
  Task Settle();
  void Settled();

  Loop& loop_;
  Console& console_;
  platform::SerialPort& port_;
  platform::PortSettings settings_;
  platform::PortSettings wanted_;
  bool rig_selected_ = false;
  bool deliver_first_ = false;
  bool retired_ = false;
  bool was_open_ = false;   ///< since the latest attempt to open
  bool reached_ = false;    ///< it took time to open: there is somebody else between us and the rig
  bool on_trial_ = false;   ///< reached, and not yet believed
  bool settled_ = false;    ///< since it opened the rig has answered, or it has stayed open
  bool ends_soon_ = false;  ///< the latest connection was ended as soon as it stood
  bool cut_short_ = false;  ///< bytes were on the line when the port went
  bool hex_ = false;
  bool discard_ = false;
  int discard_countdown_ = 0;
  std::string buffer_;
  std::string last_failure_;
  std::string said_;  ///< by a server on trial
  std::uint64_t sent_bytes_ = 0;
  std::uint64_t received_bytes_ = 0;
  TimePoint opened_at_{};
  Duration pause_{0};  ///< before the latest attempt to open
  TimePoint line_free_at_{};
  TimePoint last_arrival_{};
  Task keep_open_;
  Task settle_;
};

}  // namespace kvx::cat
