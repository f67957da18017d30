#include "platform/qt/qt_speech.h"

#include <QThread>
#include <QTimer>
#include <utility>

#include "platform/qt/qt_voice.h"

namespace kvx::platform {
namespace {

constexpr int kPrepareDelay = 200;        // milliseconds: the window that asks first is on the screen by then
constexpr int kMostBehind = 20;           // sentences: the service does not answer
constexpr unsigned long kFarewell = 300;  // milliseconds for the last answer of the service

}  // namespace

QtSpeech::QtSpeech() = default;

QtSpeech::~QtSpeech() {
  if (thread_ == nullptr) return;
  if (!thread_->isRunning()) delete voice_;
  thread_->quit();  // and the voice with it
  if (thread_->wait(kFarewell)) delete thread_;
}

void QtSpeech::Prepare() {
  thread_ = new QThread;
  thread_->setObjectName("voice");
  voice_ = new QtVoice;
  voice_->moveToThread(thread_);
  connect(thread_, &QThread::finished, voice_, &QObject::deleteLater);
  connect(voice_, &QtVoice::Failed, this, &QtSpeech::GiveUp);
  QTimer::singleShot(kPrepareDelay, this, [this] { thread_->start(); });
}

void QtSpeech::Say(int topic, const std::string& sentence) {
  if (failed_) return;
  if (thread_ == nullptr) Prepare();
  if (++voice_->behind > kMostBehind) return GiveUp(tr("the speech service does not answer"));
  const auto say = [voice = voice_, topic, text = QString::fromStdString(sentence)] { voice->Say(topic, text); };
  QMetaObject::invokeMethod(voice_, say, Qt::QueuedConnection);
}

void QtSpeech::Stop() {
  if (voice_ != nullptr)
    QMetaObject::invokeMethod(
        voice_, [voice = voice_] { voice->Stop(); }, Qt::QueuedConnection);
}

void QtSpeech::GiveUp(const QString& why) {
  if (std::exchange(failed_, true)) return;
  if (on_notice) on_notice((tr("Announcements are not spoken: ") + why).toStdString());
}

}  // namespace kvx::platform
