#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>

namespace kvx::keyer {

/// What turns symbols into keying: a WinKeyer, the software keyer or the rig's own keyer. A symbol is one character
/// ("A", "?", " ") or letters run together as one sign ("AR"). It is given few symbols at a time, so that whatever has
/// not been given can still be taken back. Engine thread only; events are never raised from inside a call.
class CwBackend {
 public:
  virtual ~CwBackend() = default;
  /// Makes it able to send: opens its port, starts the keyer up. Does nothing when it is or is about to be. on_ready or
  /// on_failed follows.
  virtual void Open() = 0;
  /// Releases the key and gives the port free.
  virtual void Close() = 0;
  virtual bool ready() const = 0;
  /// One word for the operator: "closed", "starting", "ready", "busy", "failed".
  virtual std::string_view state() const = 0;

  /// How many more symbols it takes at this moment.
  virtual std::size_t room() const = 0;
  /// Sends a symbol after those before it; upper case. What the keyer cannot send it leaves out.
  virtual void Send(std::string_view symbol) = 0;
  /// Symbols given that have not been sent to their end; the first of them is being sent.
  virtual std::size_t pending() const = 0;
  /// Stops at once, in the middle of a sign; nothing is pending afterwards.
  virtual void Abort() = 0;
  /// 5 to 99 words a minute, from this moment on.
  virtual void SetSpeed(int wpm) = 0;
  /// Holds the key down, or lets it go, for tuning. False when it cannot.
  virtual bool Key(bool down) = 0;

  std::function<void()> on_ready;
  /// Open did not succeed, or a try after it that nobody asked for; empty: nothing that the operator does not know.
  std::function<void(const std::string& why)> on_failed;
  std::function<void(const std::string& why)> on_lost;  ///< the keyer or its port has gone; nothing is pending
  /// What was pending will not be sent; the keyer itself works.
  std::function<void(const std::string& why)> on_dropped;
  std::function<void()> on_progress;                       ///< room(), pending() or state() has changed
  std::function<void(const std::string& line)> on_notice;  ///< one line for the operator

 protected:
  /// Calls a copy: a handler may put another into its own place.
  template <class Handler, class... Values>
  static void Tell(Handler handler, const Values&... values) {
    if (handler) handler(values...);
  }
};

}  // namespace kvx::keyer
