#include "audio/spectrum_worker.h"

#include <algorithm>
#include <utility>

#include "audio/best_decoder.h"
#include "platform/samples.h"

namespace kvx::audio {
namespace {

constexpr std::size_t kControlsASecond = 10;  // times that controls are moved, at most

bool Same(const Reception& a, const Reception& b) {
  return a.signal == b.signal && a.hertz == b.hertz && a.wpm == b.wpm && a.snr_db == b.snr_db;
}

}  // namespace

SpectrumWorker::SpectrumWorker(std::string words) : words_(std::move(words)) {
  settings_.cboSRate = 0;  // none yet
  settings_.cboBins = 0;
}

void SpectrumWorker::Use(const SpectrumSettings& settings) {
  const SpectrumSettings before = std::exchange(settings_, settings);
  const bool other_rate = settings.cboSRate != before.cboSRate;
  if (other_rate) {
    buffer_.clear();
    trace_.Clear();
  }
  if (settings.cboBins != before.cboBins) {
    const std::vector<float> waiting = std::exchange(buffer_, {});
    const auto size = static_cast<std::size_t>(settings.cboBins);
    transform_.emplace(settings.cboBins);
    window_ = DisplayWindow(settings.cboBins);
    buffer_.reserve(size);
    windowed_.resize(size);
    levels_.resize(size / 2 + 1);
    Fill(waiting);
  }
  if (settings.decoding != before.decoding || settings.decoder != before.decoder ||
      settings.SlowCPU != before.SlowCPU || other_rate) {
    MakeDecoders();
  } else if (decoder_ && settings.CrossIt != before.CrossIt) {
    decoder_->SetTone(settings.CrossIt);
  }
  if (classic_ != nullptr) classic_->SetSettings(classic_settings());
}

void SpectrumWorker::Feed(std::span<const std::int16_t> samples, bool want_frame) {
  want_frame_ = want_frame;
  if (recording_) {
    if (const Status written = recording_->Write(samples); !written) {
      found_.fault = written.error().message;
      recording_.reset();
    }
  }
  samples_.clear();
  for (const std::int16_t sample : samples) samples_.push_back(platform::ToFloat(sample));
  Listen(samples_);
  Fill(samples_);
}

void SpectrumWorker::Fill(std::span<const float> samples) {
  const std::size_t size = windowed_.size();
  while (!samples.empty()) {
    const auto piece = samples.first(std::min(size - buffer_.size(), samples.size()));
    buffer_.insert(buffer_.end(), piece.begin(), piece.end());
    samples = samples.subspan(piece.size());
    if (buffer_.size() == size) TransformBuffer();
  }
}

void SpectrumWorker::TransformBuffer() {
  for (std::size_t i = 0; i < buffer_.size(); ++i) windowed_[i] = buffer_[i] * window_[i];
  transform_->Run(windowed_);
  LevelsOf(transform_->real(), transform_->imaginary(), levels_);
  trace_.Update(levels_, settings_.trace, settings_.scrAVG);
  ++number_;
  ++found_.frames;
  found_.loudness = ToneLoudness(levels_, settings_.cboSRate, settings_.txtFMin, settings_.txtFMax);
  if (want_frame_) {
    found_.frame = std::make_shared<const SpectrumFrame>(SpectrumFrame{.number = number_,
                                                                       .samples_per_second = settings_.cboSRate,
                                                                       .bins = settings_.cboBins,
                                                                       .trace = trace_.values(),
                                                                       .levels = levels_,
                                                                       .scope = buffer_});
  }
  buffer_.clear();
}

void SpectrumWorker::FinishDecoders() {
  if (decoder_) decoder_->Finish();
  if (finder_) finder_->Finish();
}

ClassicSettings SpectrumWorker::classic_settings() const {
  return {.Thresh = settings_.Thresh,
          .SlowCPU = settings_.SlowCPU,
          .compound = {.SeperateCB = settings_.SeperateCB, .CompoundCB = settings_.CompoundCB}};
}

std::unique_ptr<CwDecoder> SpectrumWorker::MakeDecoder() {
  if (settings_.decoder == DecoderMode::kBest)
    return std::make_unique<BestDecoder>(settings_.cboSRate, settings_.CrossIt, *letters_);
  if (!word_list_) word_list_.emplace(words_);
  auto classic =
      std::make_unique<ClassicDecoder>(settings_.cboSRate, settings_.CrossIt, *word_list_, classic_settings());
  classic_ = classic.get();
  return classic;
}

void SpectrumWorker::MakeDecoders() {
  FinishDecoders();
  classic_ = nullptr;
  decoder_.reset();
  finder_.reset();
  found_.reception = reception_ = Reception{};
  if (!settings_.decoding) return;
  if (!letters_) letters_.emplace(words_);
  fresh_ = true;
  decoder_ = MakeDecoder();
  decoder_->on_text = [this](const ReadText& text) { found_.text.push_back(text); };
  if (settings_.SlowCPU) return;
  finder_ = std::make_unique<SignalFinder>(settings_.cboSRate, *letters_);
  finder_->on_change = [this] { found_.signals = finder_->signals(); };
}

void SpectrumWorker::Listen(std::span<const float> samples) {
  if (!decoder_) return;
  if (std::exchange(fresh_, false)) found_.signals.emplace();
  decoder_->Feed(samples);
  if (finder_) finder_->Feed(samples);
  const Reception now = decoder_->reception();
  if (!Same(now, reception_)) found_.reception = reception_ = now;
  if (classic_ == nullptr) return;
  since_controls_ += samples.size();
  if (since_controls_ < static_cast<std::size_t>(settings_.cboSRate) / kControlsASecond) return;
  since_controls_ = 0;
  const ClassicControls controls = classic_->controls();
  if (controls.Thresh != controls_.Thresh || controls.CenterF != controls_.CenterF || controls.CWSp != controls_.CWSp)
    found_.controls = controls_ = controls;
}

void SpectrumWorker::Finish() {
  MakeDecoders();
}

void SpectrumWorker::EndRecording() {
  if (!recording_) return;
  if (const Status closed = recording_->Close(); !closed) found_.fault = closed.error().message;
  recording_.reset();
}

AudioFindings SpectrumWorker::TakeFindings() {
  return std::exchange(found_, {});
}

}  // namespace kvx::audio
