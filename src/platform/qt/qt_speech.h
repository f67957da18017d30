#pragma once

#include <QObject>

#include "platform/speech.h"

QT_BEGIN_NAMESPACE
class QThread;
QT_END_NAMESPACE

namespace kvx::platform {

class QtVoice;

/// The desktop's voice through Qt. The speech service is looked for when the first sentence comes, so that a station
/// without announcements pays nothing; where there is none, that is said once and all is silent. Nothing here waits for
/// the service: a thread does, which is left behind at the end when the service never answers.
class QtSpeech final : public QObject, public Speech {
 public:
  QtSpeech();
  ~QtSpeech() override;

  void Say(int topic, const std::string& sentence) override;
  void Stop() override;
  bool available() const override { return !failed_; }

 private:
  void Prepare();
  void GiveUp(const QString& why);

  QThread* thread_ = nullptr;
  QtVoice* voice_ = nullptr;  ///< belongs to the thread
  bool failed_ = false;
};

}  // namespace kvx::platform
