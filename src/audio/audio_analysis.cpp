#include "audio/audio_analysis.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "audio/spectrum_controls.h"
#include "audio/spectrum_worker.h"
#include "core/text.h"
#include "platform/wav_file.h"

namespace kvx::audio {
namespace {

constexpr int kMostBehind = 5;  // seconds of samples that may wait for the worker
constexpr const char* kSettingsFile = "SpecDisplay.pos";
constexpr const char* kWordFile = "dict.txt";

const std::shared_ptr<const SpectrumFrame>& NoFrame() {
  static const auto none = std::make_shared<const SpectrumFrame>();
  return none;
}

}  // namespace

AudioAnalysis::AudioAnalysis(const AudioParts& parts)
    : parts_(parts), retry_(parts.loop, [this] { Open(); }), frame_(NoFrame()) {
  if (parts_.devices == nullptr) return;
  parts_.devices->on_changed = [this] {
    if (running_ && !(input_ && input_->is_open())) Open();
    changed.Tell();
  };
}

AudioAnalysis::~AudioAnalysis() {
  if (parts_.devices != nullptr) parts_.devices->on_changed = nullptr;
  if (input_) input_->Close();
}

void AudioAnalysis::Load() {
  const platform::Path file = parts_.folder / kSettingsFile;
  const auto content = parts_.files.Read(file);
  if (content) ParseControls(*content, settings_);
  if (!content && content.error().code != ErrorCode::kNotFound && on_notice)
    on_notice(content.error().message + SetAside(parts_.files, file));
  wanted_thresh_ = settings_.Thresh;
  changed.Tell();
}

void AudioAnalysis::Save() {
  const platform::Path file = parts_.folder / kSettingsFile;
  const auto before = parts_.files.Read(file);
  const std::string content = WithControls(before ? *before : std::string(), settings_);
  const bool untouched = !before && FormatControls(settings_) == FormatControls(SpectrumSettings());
  if (untouched || (before && *before == content)) return;
  const Status written = parts_.files.Write(file, content);
  if (!written && on_notice) on_notice(written.error().message);
}

/// The station's own list comes before the shipped one.
std::string AudioAnalysis::ReadWords() const {
  for (const platform::Path& folder : {parts_.folder, parts_.data}) {
    auto words = parts_.files.Read(folder / kWordFile);
    if (words) return std::move(*words);
    if (words.error().code != ErrorCode::kNotFound && on_notice) on_notice(words.error().message);
  }
  return {};
}

Status AudioAnalysis::Set(std::string_view control, std::string_view value) {
  SpectrumSettings settings = settings_;
  if (Status set = SetControl(settings, control, value); !set) return set;
  Change(settings);
  return Ok();
}

Status AudioAnalysis::Press(std::string_view button) {
  SpectrumSettings settings = settings_;
  if (EqualNoCase(button, "cmdStore")) {
    if (frame_->trace.empty()) return Error{ErrorCode::kNotFound, "there is no trace to store yet"};
    trace2_ = frame_->trace;
  } else if (EqualNoCase(button, "cmdDisplaytrace")) {
    settings.trace2 = !settings.trace2;
  } else if (EqualNoCase(button, "cmdTracemath")) {
    settings.trace_math = !settings.trace_math;
  } else if (EqualNoCase(button, "CmdSwitch")) {
    settings.frozen = !settings.frozen;
  } else if (EqualNoCase(button, "CR")) {
    settings.scope = !settings.scope;
  } else if (EqualNoCase(button, "SS")) {
    settings.setup = !settings.setup;
  } else if (EqualNoCase(button, "DCW")) {
    settings.decoding = !settings.decoding;
    if (settings.decoding) ApplyDecoderPreset(settings);
  } else {
    return Error{ErrorCode::kNotFound, "there is no button " + OneLine(button, 40)};
  }
  Change(settings);
  if (settings_.decoding && EqualNoCase(button, "DCW")) Start();
  return Ok();
}

std::string AudioAnalysis::Caption(std::string_view control) const {
  return ControlCaption(settings_, control);
}

void AudioAnalysis::Change(const SpectrumSettings& settings) {
  const SpectrumSettings before = std::exchange(settings_, settings);
  const bool other_rate = settings.cboSRate != before.cboSRate;
  const bool other_source = settings.source != before.source;
  if (settings.Thresh != before.Thresh) wanted_thresh_ = settings.Thresh;
  if (other_rate || settings.cboBins != before.cboBins) trace2_.clear();  // of other frequencies
  if (running_ && (other_rate || other_source)) {
    if (other_rate) (void)StopRecording();  // a file has one rate
    Post([](SpectrumWorker& work) { work.Finish(); });
    Configure();
    retry_.Stop();
    Open();
  } else if (other_source && source_state_ != "stopped") {
    Start();  // what ended for want of a source
  } else {
    Configure();
  }
  changed.Tell();
}

void AudioAnalysis::Configure() {
  SpectrumSettings settings = settings_;
  settings.Thresh = wanted_thresh_;
  Post([settings](SpectrumWorker& work) { work.Use(settings); });
}

void AudioAnalysis::Start() {
  if (running_) return;
  running_ = true;
  counts_ = {};
  queued_ = 0;
  frame_ = NoFrame();
  trace2_.clear();
  work_ = std::make_shared<SpectrumWorker>(ReadWords());
  Configure();
  Open();
  changed.Tell();
}

void AudioAnalysis::Stop() {
  if (!running_) return;
  if (input_) input_->Close();
  End("stopped");
}

void AudioAnalysis::End(const std::string& state) {
  running_ = false;
  level_ = 0;
  retry_.Stop();
  (void)StopRecording();
  Post([](SpectrumWorker& work) { work.Finish(); });
  SetState(state);
}

void AudioAnalysis::SetState(const std::string& state) {
  if (std::exchange(source_state_, state) != state) changed.Tell();
}

void AudioAnalysis::Open() {
  if (input_) input_->Close();
  input_.reset();
  auto made = parts_.make_input ? parts_.make_input(settings_.source)
                                : Error{ErrorCode::kInvalid, "there is no sound input in this program"};
  Status opened = Ok();
  if (made) {
    input_ = std::move(*made);
    input_->on_samples = [this](std::span<const std::int16_t> samples) { Take(samples); };
    input_->on_lost = [this](const std::string& why) { Lost(why); };
    input_->on_end = [this] { End("ended"); };
    opened = input_->Open(settings_.cboSRate);
  } else {
    opened = made.error();
  }
  if (opened) {
    retry_.Stop();
    return SetState("open");
  }
  const bool may_come = opened.error().code != ErrorCode::kInvalid && !settings_.source.starts_with("wav:");
  if (may_come) return Lost(opened.error().message);
  if (on_notice) on_notice(opened.error().message);
  End(opened.error().message);
}

/// The operator is told once; then the source is tried from time to time.
void AudioAnalysis::Lost(const std::string& why) {
  level_ = 0;
  retry_.Again();
  if (source_state_ == why) return;
  SetState(why);
  if (on_notice) on_notice(why);
}

std::vector<platform::AudioDevice> AudioAnalysis::Devices() const {
  return parts_.devices == nullptr ? std::vector<platform::AudioDevice>() : parts_.devices->Devices();
}

void AudioAnalysis::Take(std::span<const std::int16_t> samples) {
  const auto count = static_cast<std::int64_t>(samples.size());
  counts_.samples += count;
  if (queued_ + count > std::int64_t{kMostBehind} * settings_.cboSRate) {
    counts_.lost += count;
    return;
  }
  const bool want_frame =
      !settings_.frozen && parts_.loop.Now() - framed_at_ >= std::chrono::milliseconds(settings_.scrUpdateTime);
  const auto feed = [want_frame, taken = std::vector<std::int16_t>(samples.begin(), samples.end())](
                        SpectrumWorker& work) { work.Feed(taken, want_frame); };
  Post(feed, count);
}

/// Has the worker do something, and takes what it has found.
void AudioAnalysis::Post(std::function<void(SpectrumWorker&)> job, std::int64_t samples) {
  if (!work_) return;
  queued_ += samples;
  const auto found = std::make_shared<AudioFindings>();
  parts_.worker.Post(
      [work = work_, found, job = std::move(job)] {
        job(*work);
        *found = work->TakeFindings();
      },
      [this, found, samples, of = work_, given = parts_.loop.Now(), alive = std::weak_ptr(alive_)] {
        if (alive.expired() || of != work_) return;
        queued_ -= samples;
        Use(*found, given);
      });
}

void AudioAnalysis::Use(AudioFindings& found, TimePoint given) {
  counts_.frames += found.frames;
  if (found.loudness >= 0 && running_) level_ = found.loudness;
  if (!found.fault.empty()) {
    recording_ = false;
    if (on_notice) on_notice(found.fault);
    changed.Tell();
  }
  const bool read = !found.text.empty() || found.reception || found.signals;
  for (ReadText& piece : found.text) {
    DecodedText text{std::move(piece.text), piece.corrected, piece.erase};
    if (on_text) on_text(text);
    text_.Append(std::move(text));
  }
  if (found.reception) reception_ = *found.reception;
  if (found.signals) signals_ = std::move(*found.signals);
  MoveControls(found);
  if (read) text_changed.Tell();
  if (!found.frame || settings_.frozen) return;
  frame_ = std::move(found.frame);
  framed_at_ = given;
  framed.Tell();
}

/// CenterF follows the tone, and Thresh the classic decoder's signal.
void AudioAnalysis::MoveControls(const AudioFindings& found) {
  if (!settings_.decoding) return;
  const std::pair before(settings_.Thresh, settings_.CenterF);
  if (found.controls) {
    settings_.Thresh = found.controls->Thresh;
    settings_.CenterF = found.controls->CenterF;
  } else if (reception_.signal && settings_.decoder == DecoderMode::kBest) {
    settings_.CenterF = std::clamp(static_cast<int>(std::lround(reception_.hertz / 2 * 2.65)), 0, 3000);
  }
  if (before != std::pair(settings_.Thresh, settings_.CenterF)) changed.Tell();
}

void AudioAnalysis::TuneTo(double hertz) {
  SpectrumSettings settings = settings_;
  const std::string value = std::to_string(std::lround(std::max(hertz, 0.0)));
  if (SetControl(settings, "CrossIt", value)) Change(settings);
}

void AudioAnalysis::ClearText() {
  text_.Clear();
  text_changed.Tell();
}

int AudioAnalysis::CWSp() const {
  return static_cast<int>(std::lround(reception_.wpm));
}

Status AudioAnalysis::Record(const platform::Path& file) {
  if (!running_) return Error{ErrorCode::kClosed, "nothing is captured that could be recorded"};
  auto writer = platform::WavWriter::Create(file, settings_.cboSRate);
  if (!writer) return writer.error();
  (void)StopRecording();
  const auto taken = std::make_shared<platform::WavWriter>(std::move(*writer));
  Post([taken](SpectrumWorker& work) { work.Record(std::move(*taken)); });
  recording_ = true;
  changed.Tell();
  return Ok();
}

Status AudioAnalysis::StopRecording() {
  if (!recording_) return Error{ErrorCode::kClosed, "nothing is being recorded"};
  recording_ = false;
  Post([](SpectrumWorker& work) { work.EndRecording(); });
  changed.Tell();
  return Ok();
}

}  // namespace kvx::audio
