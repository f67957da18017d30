#pragma once

#include <deque>
#include <map>
#include <string>
#include <vector>

#include "core/hex_text.h"
#include "fakes/fake_release_guard.h"
#include "fakes/fake_serial_port.h"
#include "fakes/virtual_loop.h"
#include "keyer/morse.h"
#include "keyer/winkeyer.h"

namespace kvx::keyer {

/// A strict keyer at the other end of the line: takes a byte each 8.3 ms, knows how many parameters each command has,
/// plays at its own clock and notes what it had to complain of and when it had nothing to play.
class PlayingKeyer {
 public:
  PlayingKeyer(VirtualLoop& loop, FakeSerialPort& port) : loop_(loop), port_(port) {
    port_.on_write = [this](std::string_view bytes) {
      for (const char c : bytes) {
        line_free_ = std::max(line_free_, loop_.Now()) + Duration(std::chrono::microseconds(8333));
        loop_.StartTimer(line_free_, [this, c] { Take(static_cast<std::uint8_t>(c)); });
      }
    };
  }

  std::string played;                ///< symbols of merged letters as <AR>
  std::vector<std::string> illegal;  ///< bytes that are no command
  int idles = 0;                     ///< how often it ran out of text
  std::size_t deepest = 0;           ///< most symbols in its buffer
  bool key_down = false;
  bool mute = false;  ///< says nothing
  bool echo = false;  ///< as the mode register has it
  int rate = 1000;    ///< of its clock: real time by nominal time, per mille
  int wpm = 25;
  std::size_t symbols = 0;  ///< played to their end

 private:
  static int Parameters(std::uint8_t command) {
    static const std::map<int, int> kCounts{
        {0x01, 1}, {0x02, 1}, {0x03, 1},  {0x04, 2}, {0x05, 3}, {0x07, 0}, {0x08, 0}, {0x09, 1}, {0x0A, 0}, {0x0B, 1},
        {0x0D, 1}, {0x0E, 1}, {0x0F, 15}, {0x11, 1}, {0x13, 0}, {0x15, 0}, {0x1B, 2}, {0x1C, 1}, {0x1D, 1}, {0x1E, 0}};
    const auto count = kCounts.find(command);
    return count == kCounts.end() ? -1 : count->second;
  }

  void Take(std::uint8_t byte) {
    if (command_.empty() && byte >= 0x20 && byte < 0x80) return Put(std::string(1, static_cast<char>(byte)));
    command_ += static_cast<char>(byte);
    const auto first = static_cast<std::uint8_t>(command_[0]);
    if (first == 0) {  // administration
      const std::size_t length = command_.size() > 1 && command_[1] == 4 ? 3 : 2;
      if (command_.size() < length) return;
    } else if (Parameters(first) < 0) {
      illegal.push_back(SpacedHex(std::exchange(command_, {})));
      return;
    } else if (command_.size() <= static_cast<std::size_t>(Parameters(first))) {
      return;
    }
    Do(std::exchange(command_, {}));
  }

  void Do(const std::string& command) {
    switch (command[0]) {
      case 0x00:
        if (command[1] == 4) Say(command.substr(2));
        if (command[1] == 2) Say("\x17");
        break;
      case 0x02:
        wpm = command[1];
        break;
      case 0x07:
        Say("\x8A");
        break;
      case 0x0A:
        buffer_.clear();
        loop_.StopTimer(std::exchange(sign_, 0));
        if (std::exchange(playing_, false)) Say("\xC0");
        break;
      case 0x0B:
        key_down = command[1] != 0;
        break;
      case 0x0E:
        echo = (command[1] & 4) != 0;
        break;
      case 0x15:
        Say("\xC0");
        break;
      case 0x1B:
        Put(command.substr(1));
        break;
      case 0x1C:
        wpm = command[1];
        break;
      default:
        break;
    }
  }

  void Put(const std::string& symbol) {
    buffer_.push_back(symbol);
    deepest = std::max(deepest, buffer_.size());
    if (buffer_.size() > 1 || playing_) return;
    Say("\xC4");
    Play();
  }

  void Play() {
    playing_ = !buffer_.empty();
    if (!playing_) {
      ++idles;
      return Say("\xC0");
    }
    const std::string symbol = buffer_.front();
    sign_ = loop_.StartTimer(loop_.Now() + MorseLength(symbol, wpm) * rate / 1000, [this, symbol] {
      if (!buffer_.empty()) buffer_.pop_front();
      played += symbol.size() > 1 ? "<" + symbol + ">" : symbol;
      ++symbols;
      if (echo) Say(symbol);
      Play();
    });
  }

  void Say(const std::string& bytes) {
    if (mute) return;
    loop_.StartTimer(loop_.Now() + Duration(std::chrono::milliseconds(9)), [this, bytes] { port_.Arrive(bytes); });
  }

  VirtualLoop& loop_;
  FakeSerialPort& port_;
  TimePoint line_free_{};
  std::string command_;
  std::deque<std::string> buffer_;
  bool playing_ = false;
  Loop::TimerId sign_ = 0;
};

/// A WinKeyer object on a port in memory, and what it has told.
struct WinkeyerBench {
  explicit WinkeyerBench(const KeyerSettings& chosen = {}) {
    settings = chosen;
    settings.kind = KeyerKind::kWinkey;
    settings.port = 5;
    keyer.Configure(settings);
    keyer.on_ready = [this] {
      ++readies;
      Feed();
    };
    keyer.on_failed = [this](const std::string& why) {
      text.clear();
      ++failures;
      if (!why.empty()) lines.push_back(why);
    };
    keyer.on_dropped = [this](const std::string& why) {
      text.clear();
      lines.push_back(why);
    };
    keyer.on_lost = [this](const std::string& why) {
      text.clear();
      lines.push_back(why);
    };
    keyer.on_progress = [this] { Feed(); };
  }
  WinkeyerBench(const WinkeyerBench&) = delete;
  WinkeyerBench& operator=(const WinkeyerBench&) = delete;

  /// The replies of a start-up.
  void Answer() {
    for (const char* reply : {"A", "\x17", "\xC0"}) {
      port.Arrive(reply);
      loop.RunPending();
    }
  }
  /// Started up, with nothing of the start-up left in `port`.
  void Start() {
    keyer.Open();
    loop.RunFor(std::chrono::milliseconds(1));
    Answer();
    loop.RunFor(std::chrono::seconds(1));  // the line is free
    port.TakeWrites();
  }
  /// Gives as much of the text as there is room for, as the queue of a sender does.
  void Feed() {
    while (!text.empty() && keyer.room() > 0) {
      keyer.Send(text.front());
      text.pop_front();
    }
  }
  void Type(std::string_view characters) {
    for (const char c : characters) text.emplace_back(1, c);
    Feed();
  }
  /// The writes since it was last asked, "02 14|1C 14 41".
  std::string Writes() {
    std::string all;
    for (const std::string& write : port.TakeWrites()) all += (all.empty() ? "" : "|") + SpacedHex(write);
    return all;
  }

  VirtualLoop loop;
  Console console;
  FakeSerialPort port;
  FakeReleaseGuard guard;
  KeyerSettings settings;
  WinKeyer keyer{loop, console, port, &guard};
  std::deque<std::string> text;
  std::vector<std::string> lines;
  int readies = 0;
  int failures = 0;
};

}  // namespace kvx::keyer
