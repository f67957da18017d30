#include "console/cw_commands.h"

#include <memory>
#include <optional>

#include "console/answers.h"
#include "core/text.h"
#include "keyer/cw_text.h"

namespace kvx::console {
namespace {

using namespace std::chrono_literals;

constexpr Duration kEventPace = 500ms;  // between two events on what is being sent

/// "3.2 s"
std::string Seconds(Duration duration) {
  const auto tenths = (std::chrono::duration_cast<std::chrono::milliseconds>(duration).count() + 50) / 100;
  return std::to_string(tenths / 10) + "." + std::to_string(tenths % 10) + " s";
}

std::string Taken(const Result<keyer::CwTaken>& taken) {
  if (!taken) return Fail(taken.error().message);
  const std::string count = std::to_string(taken->characters) + (taken->characters == 1 ? " character" : " characters");
  const std::string left_out = taken->left_out.empty() ? "" : ". " + taken->left_out;
  return "ok cw " + count + ", " + Seconds(taken->length) + left_out;
}

std::string CwState(const keyer::CwSender& sender) {
  if (!sender.sending()) return sender.paused() ? "ok cw idle, paused" : "ok cw idle";
  return std::string("ok cw ") + (sender.paused() ? "paused" : "sending") + " " + keyer::ShownSymbol(sender.current()) +
         ", " + std::to_string(sender.waiting_count()) + " waiting, " + Seconds(sender.left());
}

std::string KeyerText(const Station& station) {
  const keyer::KeyerSettings& settings = station.keyer.settings();
  return keyer::KeyerWord(settings.kind, settings.port) + " " + *station.console.KeyerState + ", " +
         std::to_string(*station.console.CWSpeed) + " words a minute";
}

std::string Back(keyer::Keyer& keyer, std::string_view argument) {
  const auto count = ParseNumber(argument.empty() ? "1" : argument, 1, keyer::CwSender::kMostWaiting);
  if (!count) return Fail("cwback takes a number of characters");
  const std::size_t taken = keyer.Backspace(static_cast<std::size_t>(*count));
  return taken > 0 ? "ok cwback " + std::to_string(taken) : Fail("nothing waits that could be taken back");
}

std::string Pause(keyer::Keyer& keyer, std::string_view argument) {
  const auto on = OnOff(argument);
  if (!on) return Fail("cwpause takes on or off");
  keyer.Pause(*on);
  return std::string("ok cwpause ") + (*on ? "on" : "off");
}

std::string Function(keyer::Keyer& keyer, std::string_view argument) {
  const auto [word, text] = FirstWord(argument);
  const auto number = ParseNumber(word, 1, keyer::kCwFunctions);
  if (!number) return Fail("cwfn takes 1 to 12, and a text to store");
  const int function = static_cast<int>(*number);
  if (text.empty()) return Taken(keyer.SendFunction(function));
  return Say(keyer.functions.SetText(function, text), "cwfn " + std::string(word) + " " + OneLine(text));
}

std::string Functions(const keyer::CwFunctions& functions) {
  std::string json;
  for (int i = 1; i <= keyer::kCwFunctions; ++i) json += (i == 1 ? "" : ",") + JsonString(functions.text(i));
  return "ok [" + json + "]";
}

std::string Set(keyer::CwFunctions& functions, std::string_view argument) {
  const auto [word, value] = FirstWord(argument);
  const keyer::MacroValues& values = functions.values();
  const std::string done = "cwset " + Lower(word) + " " + Upper(value);
  if (EqualNoCase(word, "call")) return Say(functions.SetCall(value), done);
  if (EqualNoCase(word, "mycall")) return Say(functions.SetMyCall(value), done);
  if (EqualNoCase(word, "rst")) return Say(functions.SetRst(value), done);
  if (EqualNoCase(word, "nr"))
    return Say(functions.SetNumber(static_cast<int>(ParseNumber(value, 1, keyer::kMostContacts).value_or(0))), done);
  const auto on = OnOff(value);
  if (EqualNoCase(word, "cutrst") && on) return Say(functions.SetCut(*on, values.cut_number), done);
  if (EqualNoCase(word, "cutnr") && on) return Say(functions.SetCut(values.cut_rst, *on), done);
  return Fail("cwset takes call, mycall, rst or nr and a value, or cutrst or cutnr and on or off");
}

std::string Tune(Station& station, std::string_view argument) {
  const auto on = argument.empty() ? std::optional(!*station.console.Tune) : OnOff(argument);
  if (!on) return Fail("tune takes on or off, or nothing for the other");
  const Status done = station.keyer.Tune(*on);
  return Say(done, !*on ? "tune off" : *station.console.Tune ? "tune on" : "tune starting");
}

std::string KeyerCommand(Station& station, std::string_view argument) {
  if (EqualNoCase(argument, "open")) {
    station.keyer.Open();
  } else if (EqualNoCase(argument, "close")) {
    station.keyer.Close();
  } else if (!argument.empty()) {
    return Fail("keyer takes open or close, or nothing");
  }
  return "ok keyer " + KeyerText(station);
}

std::string SendChar(keyer::Keyer& keyer, std::string_view argument) {
  const auto code = ParseNumber(argument, 0, 255);
  if (!code) return Fail("sendchar takes a character code 0 to 255");
  keyer.SendChar1(static_cast<int>(*code));
  return "ok sendchar " + std::to_string(*code);
}

/// Tells what is being sent, in pieces at a bearable pace, and what becomes of the keyer.
class CwEvents {
 public:
  CwEvents(CommandLine& commands, Loop& loop, Station& station)
      : commands_(commands), loop_(loop), station_(station), told_(sender().begun()) {
    changes_ = station_.console.Subscribe([this](Field field) { Follow(field); });
  }
  ~CwEvents() { loop_.StopTimer(timer_); }
  CwEvents(const CwEvents&) = delete;
  CwEvents& operator=(const CwEvents&) = delete;

 private:
  const keyer::CwSender& sender() const { return station_.keyer.sender(); }

  void Follow(Field field) {
    if (field == Field::kTune) commands_.Tell(*station_.console.Tune ? "tune on" : "tune off");
    if (field == Field::kKeyer && *station_.console.KeyerState != "busy" && *station_.console.KeyerState != state_) {
      state_ = *station_.console.KeyerState;
      commands_.Tell("keyer " + state_);
    }
    if (field == Field::kCwProgress) Progress();
  }

  void Progress() {
    if (sender().sending()) sending_ = true;
    if (sending_ && !sender().sending()) {
      loop_.StopTimer(timer_);
      timer_ = 0;
      TellNew();
      sending_ = false;
      commands_.Tell("cw idle");
    } else if (timer_ == 0 && sender().begun() != told_) {
      TellNew();
      timer_ = loop_.StartTimer(loop_.Now() + kEventPace, [this] {
        timer_ = 0;
        Progress();
      });
    }
  }

  void TellNew() {
    const std::uint64_t count = sender().begun() - told_;
    told_ = sender().begun();
    const std::vector<std::string> symbols = sender().latest(count);
    std::string text;
    for (const std::string& symbol : symbols) text += keyer::ShownSymbol(symbol);
    if (!text.empty()) commands_.Tell("cw sending " + text);
  }

  CommandLine& commands_;
  Loop& loop_;
  Station& station_;
  std::uint64_t told_;
  bool sending_ = false;
  std::string state_;
  Loop::TimerId timer_ = 0;
  Console::Subscription changes_;
};

}  // namespace

void AddCwCommands(CommandLine& commands, Loop& loop, Station& station) {
  keyer::Keyer& keyer = station.keyer;
  commands.Add(
      "cw", "[TEXT]: send it, {CALL} {RST} {NR} {NR+} {FREQ} {MYCALL} written out; what is being sent",
      [&keyer](std::string_view text) { return text.empty() ? CwState(keyer.sender()) : Taken(keyer.Send(text)); });
  commands.Add("cwback", "[N]: take back characters that have not been sent",
               [&keyer](std::string_view argument) { return Back(keyer, argument); });
  commands.Add("cwpause", "on|off: hold back what has not been given to the keyer",
               [&keyer](std::string_view argument) { return Pause(keyer, argument); });
  commands.Add("cwfn", "1..12 [TEXT]: send a stored text, or store one: its first three characters are its title",
               [&keyer](std::string_view argument) { return Function(keyer, argument); });
  commands.Add("cwfns", "the stored texts", [&keyer](std::string_view) { return Functions(keyer.functions); });
  commands.Add("cwset", "call|mycall|rst|nr VALUE, cutrst|cutnr on|off: what the macros stand for",
               [&keyer](std::string_view argument) { return Set(keyer.functions, argument); });
  commands.Add("tune", "[on|off]: hold the key down, or let it go",
               [&station](std::string_view argument) { return Tune(station, argument); });
  commands.Add("keyer", "[open|close]: the keyer and its state",
               [&station](std::string_view argument) { return KeyerCommand(station, argument); });
  commands.Add("sendchar", "CODE: one character; 253 key down, 254 key up, 27 clear, 8 take back",
               [&keyer](std::string_view argument) { return SendChar(keyer, argument); });
  commands.Keep(std::make_shared<CwEvents>(commands, loop, station));
}

}  // namespace kvx::console
