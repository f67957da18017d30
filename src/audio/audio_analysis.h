#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "audio/cw_decoder.h"
#include "audio/heard_signal.h"
#include "audio/spectrum_frame.h"
#include "audio/spectrum_settings.h"
#include "audio/text_runs.h"
#include "core/listeners.h"
#include "core/loop.h"
#include "core/result.h"
#include "core/retry_timer.h"
#include "platform/audio_input.h"
#include "platform/files.h"
#include "platform/worker.h"

namespace kvx::audio {

/// What has been counted since capture began.
struct CaptureCounts {
  std::int64_t samples = 0;  ///< taken from the source
  std::int64_t frames = 0;   ///< transformed
  std::int64_t lost = 0;     ///< samples dropped because the arithmetic fell behind
};

/// What the audio analysis is put together from. Everything is borrowed.
struct AudioParts {
  Loop& loop;
  platform::Files& files;
  platform::Path folder;  ///< of the station: SpecDisplay.pos, dict.txt
  platform::Path data;    ///< with the shipped dict.txt
  platform::Worker& worker;
  platform::AudioDeviceList* devices = nullptr;  ///< null: there are none
  /// Makes the source of SpectrumSettings::source; kNotFound or kInvalid names what is wrong with it.
  std::function<Result<std::unique_ptr<platform::AudioInput>>(const std::string& source)> make_input;
};

class SpectrumWorker;
struct AudioFindings;

/// The audio window's part that needs no window: takes samples from a source, has them transformed and decoded on the
/// worker, and keeps the latest of everything. Independent of the rig.
class AudioAnalysis final {
 public:
  explicit AudioAnalysis(const AudioParts& parts);
  ~AudioAnalysis();
  AudioAnalysis(const AudioAnalysis&) = delete;
  AudioAnalysis& operator=(const AudioAnalysis&) = delete;

  /// The settings from SpecDisplay.pos and the word list.
  void Load();
  /// Keeps the settings; the file's window part stays as it is.
  void Save();

  const SpectrumSettings& settings() const { return settings_; }
  /// Sets a control by its name ("cboBins", "Thresh", "optAverage", "source", ...) and does what follows from that.
  /// kNotFound for another name, kInvalid for a value that it cannot hold; both say so in one sentence.
  Status Set(std::string_view control, std::string_view value);
  /// Presses a button by its name: cmdStore, cmdDisplaytrace, cmdTracemath, CmdSwitch, CR, SS, DCW.
  Status Press(std::string_view button);
  /// The caption of a control as it stands: "Freeze", "Ref: 0 dB", "Decode CW", ...
  std::string Caption(std::string_view control) const;

  /// Begins and ends capture. A source that cannot be opened, or is lost, is tried again from time to time.
  void Start();
  void Stop();
  bool running() const { return running_; }
  /// "stopped", "open", "ended", or why there is no sound.
  const std::string& source_state() const { return source_state_; }
  std::vector<platform::AudioDevice> Devices() const;

  const SpectrumFrame& frame() const { return *frame_; }
  const std::vector<float>& trace2() const { return trace2_; }  ///< empty: nothing has been stored
  const CaptureCounts& counts() const { return counts_; }
  /// Of the strongest tone between txtFMin and txtFMax, 0..100: 100 is full scale, 0 is 100 dB below. What a scan
  /// listens for.
  int level() const { return level_; }

  /// Puts the decoder on a tone: a click.
  void TuneTo(double hertz);
  const std::vector<DecodedText>& text() const { return text_.runs(); }
  void ClearText();
  Reception reception() const { return reception_; }
  int CWSp() const;  ///< words a minute, 0: not known
  const std::vector<HeardSignal>& signals() const { return signals_; }

  /// The decoders' word list: the station's, else the shipped one.
  std::string ReadWords() const;
  platform::Worker& worker() const { return parts_.worker; }

  /// Begins to record what is captured to a WAV file; Close writes its header. Errors are one sentence.
  Status Record(const platform::Path& file);
  Status StopRecording();
  bool recording() const { return recording_; }

  mutable Listeners changed;                        ///< settings, captions, the source's state
  mutable Listeners framed;                         ///< there is a new frame
  mutable Listeners text_changed;                   ///< text, reception or signals
  std::function<void(const DecodedText&)> on_text;  ///< for the command line: as it is read
  std::function<void(const std::string& line)> on_notice;

 private:
  void Change(const SpectrumSettings& settings);
  void Configure();
  void Open();
  void Lost(const std::string& why);
  void End(const std::string& state);
  void SetState(const std::string& state);
  void Take(std::span<const std::int16_t> samples);
  void Post(std::function<void(SpectrumWorker&)> job, std::int64_t samples = 0);
  void Use(AudioFindings& found, TimePoint given);
  void MoveControls(const AudioFindings& found);

  AudioParts parts_;
  SpectrumSettings settings_;
  int wanted_thresh_ = SpectrumSettings().Thresh;  ///< as it has been set: the decoder moves what is shown
  std::shared_ptr<SpectrumWorker> work_;           ///< of this run
  std::unique_ptr<platform::AudioInput> input_;
  RetryTimer retry_;
  bool running_ = false;
  bool recording_ = false;
  std::string source_state_ = "stopped";
  std::shared_ptr<const SpectrumFrame> frame_;
  TimePoint framed_at_{};    ///< when its samples came
  std::int64_t queued_ = 0;  ///< samples on their way through the worker
  std::vector<float> trace2_;
  CaptureCounts counts_;
  int level_ = 0;
  TextRuns text_;
  Reception reception_;
  std::vector<HeardSignal> signals_;
  std::shared_ptr<const bool> alive_ = std::make_shared<const bool>(true);
};

}  // namespace kvx::audio
