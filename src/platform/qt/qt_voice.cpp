#include "platform/qt/qt_voice.h"

#include <QTextToSpeech>
#include <QTimer>
#include <algorithm>

namespace kvx::platform {
namespace {

constexpr std::size_t kMostWaiting = 5;  // what is further behind is of no interest any more

}  // namespace

QtVoice::QtVoice() = default;
QtVoice::~QtVoice() = default;

void QtVoice::Say(int topic, const QString& sentence) {
  --behind;
  if (failed_) return;
  std::erase_if(waiting_, [topic](const auto& entry) { return entry.first == topic; });
  waiting_.emplace_back(topic, sentence);
  if (waiting_.size() > kMostWaiting) waiting_.pop_front();
  if (voice_ == nullptr) return Prepare();
  if (topic == speaking_) voice_->stop(QTextToSpeech::BoundaryHint::Immediate);
  Next();
}

void QtVoice::Prepare() {
  if (QTextToSpeech::availableEngines().isEmpty()) return GiveUp(tr("no speech engine is installed"));
  voice_ = std::make_unique<QTextToSpeech>();
  if (voice_->state() == QTextToSpeech::Error) return GiveUp(voice_->errorString());
  connect(voice_.get(), &QTextToSpeech::stateChanged, this, [this](QTextToSpeech::State state) {
    if (state == QTextToSpeech::Error) {
      // Not from inside the voice's own signal: it is about to go.
      QTimer::singleShot(0, this, [this] { GiveUp(voice_ == nullptr ? QString() : voice_->errorString()); });
    } else if (state == QTextToSpeech::Ready) {
      QTimer::singleShot(0, this, [this] { Next(); });
    }
  });
  Next();
}

void QtVoice::Next() {
  if (voice_ == nullptr || waiting_.empty() || voice_->state() != QTextToSpeech::Ready) return;
  const auto [topic, sentence] = waiting_.front();
  waiting_.pop_front();
  speaking_ = topic;
  voice_->say(sentence);
}

void QtVoice::Stop() {
  waiting_.clear();
  if (voice_ != nullptr) voice_->stop(QTextToSpeech::BoundaryHint::Immediate);
}

void QtVoice::GiveUp(const QString& why) {
  if (std::exchange(failed_, true)) return;
  waiting_.clear();
  voice_.reset();
  Q_EMIT Failed(why);
}

}  // namespace kvx::platform
