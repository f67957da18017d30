#include "console/audio_commands.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <memory>
#include <optional>
#include <span>
#include <utility>

#include "audio/audio_analysis.h"
#include "audio/spectrum_controls.h"
#include "audio/spectrum_trace.h"
#include "console/answers.h"
#include "core/text.h"

namespace kvx::console {
namespace {

using namespace std::chrono_literals;
using audio::AudioAnalysis;

constexpr Duration kEventPace = 1s;  // the longest that text which has been read waits to be told

/// A number for JSON, which has a point in every language, and null for what is none.
std::string Decimal(double number, int places) {
  std::array<char, 32> text{};
  const auto written = std::to_chars(text.data(), text.data() + text.size(), number, std::chars_format::fixed, places);
  return std::isfinite(number) && written.ec == std::errc() ? std::string(text.data(), written.ptr) : "null";
}

/// "-12.3"
std::string Tenths(double number) {
  return Decimal(std::round(number * 10) / 10 + 0.0, 1);  // no "-0.0"
}

std::string NumberJson(std::string_view name, double number) {
  return JsonString(name) + ":" + Tenths(number);
}

std::optional<double> Hertz(std::string_view text) {
  double hertz = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), hertz);
  const bool good = error == std::errc() && end == text.data() + text.size() && hertz >= 0 && hertz <= 24'000;
  return good ? std::optional(hertz) : std::nullopt;
}

std::string SourceName(const AudioAnalysis& audio) {
  return audio.settings().source.empty() ? "default" : audio.settings().source;
}

std::string State(const AudioAnalysis& audio) {
  const audio::CaptureCounts& counts = audio.counts();
  return std::string("ok audio ") + (audio.running() ? "on, " : "off, ") + audio.source_state() + ", source " +
         SourceName(audio) + ", " + std::to_string(audio.settings().cboSRate) + " samples a second, " +
         std::to_string(audio.settings().cboBins) + " bins, " + std::to_string(counts.samples) + " samples, " +
         std::to_string(counts.frames) + " frames, " + std::to_string(counts.lost) + " lost";
}

std::string Devices(const AudioAnalysis& audio) {
  std::string list;
  for (const platform::AudioDevice& device : audio.Devices()) {
    list += (list.empty() ? "{" : ",{") + Json("id", device.id) + "," + Json("name", device.name) +
            ",\"monitor\":" + (device.monitor ? "true}" : "false}");
  }
  return "ok [" + list + "]";
}

std::string Signals(const AudioAnalysis& audio) {
  std::string list;
  for (const audio::HeardSignal& signal : audio.signals()) {
    std::string calls;
    for (const std::string& call : signal.callsigns) calls += (calls.empty() ? "" : ",") + JsonString(call);
    list += (list.empty() ? "{" : ",{") + JsonString("number") + ":" + std::to_string(signal.number) + "," +
            NumberJson("hertz", signal.hertz) + "," + NumberJson("wpm", signal.wpm) + "," +
            NumberJson("snr", signal.snr_db) + ",\"present\":" + (signal.present ? "true" : "false") +
            ",\"callsigns\":[" + calls + "]," + Json("text", signal.text) + "}";
  }
  return "ok [" + list + "]";
}

/// "trace":[-80.1,...] of some bins.
std::string LevelsJson(std::string_view name, std::span<const float> levels, std::size_t from, std::size_t to) {
  std::string list;
  for (std::size_t k = from; k <= to && k < levels.size(); ++k) list += (k == from ? "" : ",") + Tenths(levels[k]);
  return JsonString(name) + ":[" + list + "]";
}

std::string Spectrum(const AudioAnalysis& audio, std::string_view argument) {
  const auto [low, high] = FirstWord(argument);
  const auto from = low.empty() ? std::optional(audio.settings().txtFMin) : Hertz(low);
  const auto to = low.empty() ? std::optional(audio.settings().txtFMax) : Hertz(high);
  if (!from || !to || *from > *to) return Fail("audio spectrum takes nothing, or a lower and a higher frequency in Hz");
  const audio::SpectrumFrame& frame = audio.frame();
  if (frame.bins == 0) return Fail("there is no spectrum yet");
  const double step = static_cast<double>(frame.samples_per_second) / frame.bins;
  const std::size_t last = frame.trace.size() - 1;
  const std::size_t first_bin = std::min(static_cast<std::size_t>(std::ceil(*from / step)), last);
  const std::size_t last_bin = std::min(static_cast<std::size_t>(std::floor(*to / step)), last);
  std::string json = "ok {\"frame\":" + std::to_string(frame.number) + "," +
                     NumberJson("from", static_cast<double>(first_bin) * step) + "," + JsonString("step") + ":" +
                     Decimal(step, 6) + "," + LevelsJson("trace", frame.trace, first_bin, last_bin);
  if (audio.settings().trace2 || audio.settings().trace_math) {
    const auto trace2 = audio::ShiftedTrace(audio.trace2(), static_cast<float>(audio.settings().scrT2Offset));
    if (audio.settings().trace2) json += "," + LevelsJson("trace2", trace2, first_bin, last_bin);
    const auto difference = audio::TraceDifference(frame.trace, trace2);
    if (audio.settings().trace_math) json += "," + LevelsJson("difference", difference, first_bin, last_bin);
  }
  return json + "}";
}

std::string Text(const AudioAnalysis& audio) {
  std::string text;
  for (const audio::DecodedText& run : audio.text()) text += run.text;
  return "ok " + OneLine(text, text.size() * 4);
}

std::string Set(AudioAnalysis& audio, std::string_view argument) {
  const auto [control, value] = FirstWord(argument);
  if (value.empty()) {
    const auto now = audio::ControlValue(audio.settings(), control);
    return now ? "ok audio " + std::string(control) + " " + OneLine(*now) : Fail(now.error().message);
  }
  const Status set = audio.Set(control, value);
  if (!set) return Fail(set.error().message);
  return "ok audio " + std::string(control) + " " + OneLine(*audio::ControlValue(audio.settings(), control));
}

std::string Press(AudioAnalysis& audio, std::string_view button) {
  const Status pressed = audio.Press(button);
  if (!pressed) return Fail(pressed.error().message);
  const std::string caption = audio.Caption(button);
  return "ok audio " + std::string(button) + (caption.empty() ? "" : ": " + caption);
}

std::string Source(AudioAnalysis& audio, std::string_view name) {
  const Status set = audio.Set("source", EqualNoCase(name, "default") ? "" : name);
  if (!set) return Fail(set.error().message);
  return "ok audio source " + OneLine(SourceName(audio)) + ", " + audio.source_state();
}

std::string Tune(AudioAnalysis& audio, std::string_view argument) {
  const auto hertz = Hertz(argument);
  if (!hertz) return Fail("audio tune takes a tone in Hz");
  audio.TuneTo(*hertz);
  return "ok audio tune " + std::to_string(audio.settings().CrossIt);
}

std::string Record(AudioAnalysis& audio, std::string_view argument) {
  if (argument.empty()) return Fail("audio record takes a file, or off");
  if (EqualNoCase(argument, "off")) return Say(audio.StopRecording(), "audio record off");
  return Say(audio.Record(platform::Path(argument)), "audio record " + OneLine(argument));
}

std::string Switch(AudioAnalysis& audio, bool on) {
  on ? audio.Start() : audio.Stop();
  const bool failed = on && !audio.running();
  return failed ? Fail(OneLine(audio.source_state())) : State(audio);
}

std::string Audio(AudioAnalysis& audio, std::string_view argument) {
  const auto [word, rest] = FirstWord(argument);
  if (word.empty()) return State(audio);
  if (rest.empty()) {
    if (const auto on = OnOff(word)) return Switch(audio, *on);
    if (EqualNoCase(word, "devices")) return Devices(audio);
    if (EqualNoCase(word, "signals")) return Signals(audio);
    if (EqualNoCase(word, "text")) return Text(audio);
    if (EqualNoCase(word, "source")) return "ok audio source " + OneLine(SourceName(audio));
  }
  if (EqualNoCase(word, "spectrum")) return Spectrum(audio, rest);
  if (EqualNoCase(word, "source")) return Source(audio, rest);
  if (EqualNoCase(word, "set") && !rest.empty()) return Set(audio, rest);
  if (EqualNoCase(word, "press") && !rest.empty()) return Press(audio, rest);
  if (EqualNoCase(word, "tune")) return Tune(audio, rest);
  if (EqualNoCase(word, "record")) return Record(audio, rest);
  if (EqualNoCase(word, "clear") && rest.empty()) {
    audio.ClearText();
    return "ok audio clear";
  }
  return Fail("audio takes on, off, devices, source, set, press, tune, spectrum, text, signals, clear or record");
}

/// Tells what becomes of the source, and what is being read: a word at a time, slow ones in pieces.
class AudioEvents {
 public:
  AudioEvents(CommandLine& commands, Loop& loop, AudioAnalysis& audio)
      : commands_(commands), loop_(loop), audio_(audio), state_(audio.source_state()) {
    changes_ = audio_.changed.Follow([this] { TellState(); });
    audio_.on_text = [this](const audio::DecodedText& text) { Take(text); };
  }
  ~AudioEvents() {
    audio_.on_text = nullptr;
    loop_.StopTimer(timer_);
  }
  AudioEvents(const AudioEvents&) = delete;
  AudioEvents& operator=(const AudioEvents&) = delete;

 private:
  void TellState() {
    if (std::exchange(state_, audio_.source_state()) != audio_.source_state())
      commands_.Tell("audio " + OneLine(state_));
  }

  void Take(const audio::DecodedText& text) {
    text_.resize(text_.size() - std::min(text_.size(), static_cast<std::size_t>(text.erase)));
    text_ += text.text;
    if (Trim(text.text).empty()) return Tell();
    if (timer_ == 0) timer_ = loop_.StartTimer(loop_.Now() + kEventPace, [this] { Tell(); });
  }

  void Tell() {
    loop_.StopTimer(std::exchange(timer_, 0));
    const std::string text = std::exchange(text_, {});
    if (!Trim(text).empty()) commands_.Tell("cw read " + OneLine(Trim(text)));
  }

  CommandLine& commands_;
  Loop& loop_;
  AudioAnalysis& audio_;
  std::string state_;
  std::string text_;
  Loop::TimerId timer_ = 0;
  Listeners::Following changes_;
};

}  // namespace

void AddAudioCommands(CommandLine& commands, Loop& loop, Station& station) {
  if (!station.audio) return;
  AudioAnalysis& audio = *station.audio;
  commands.Add("audio",
               "[on|off|devices|source NAME|set CONTROL [VALUE]|press BUTTON|tune HZ|spectrum [FMIN FMAX]|text|signals|"
               "clear|record FILE|record off]: the receiver's audio, its spectrum and its CW",
               [&audio](std::string_view argument) { return Audio(audio, argument); });
  commands.Keep(std::make_shared<AudioEvents>(commands, loop, audio));
}

std::string AudioJson(const AudioAnalysis& audio) {
  const audio::CaptureCounts& counts = audio.counts();
  const audio::Reception reception = audio.reception();
  const auto number = [](std::string_view name, std::int64_t value) {
    return "," + JsonString(name) + ":" + std::to_string(value);
  };
  const auto flag = [](std::string_view name, bool value) {
    return "," + JsonString(name) + (value ? ":true" : ":false");
  };
  return "{" + Json("state", audio.source_state()) + flag("on", audio.running()) + "," +
         Json("source", audio.settings().source) + number("rate", audio.settings().cboSRate) +
         number("bins", audio.settings().cboBins) + number("samples", counts.samples) +
         number("frames", counts.frames) + number("lost", counts.lost) + number("level", audio.level()) +
         flag("recording", audio.recording()) + flag("decoding", audio.settings().decoding) +
         flag("signal", reception.signal) + "," + NumberJson("hertz", reception.hertz) + number("wpm", audio.CWSp()) +
         "," + NumberJson("snr", reception.snr_db) + number("signals", std::ssize(audio.signals())) + "}";
}

}  // namespace kvx::console
