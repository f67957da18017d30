#pragma once

#include <QObject>
#include <deque>
#include <memory>
#include <utility>

#include "platform/speech.h"

QT_BEGIN_NAMESPACE
class QTextToSpeech;
QT_END_NAMESPACE

namespace kvx::platform {

/// The desktop's voice through Qt. The speech service is looked for when the first sentence comes, so that a station
/// without announcements pays nothing; where there is none, that is said once and all is silent.
class QtSpeech final : public QObject, public Speech {
 public:
  QtSpeech();
  ~QtSpeech() override;

  void Say(int topic, const std::string& sentence) override;
  void Stop() override;
  bool available() const override { return !failed_; }

 private:
  void Prepare();
  void Next();
  void GiveUp(const QString& why);

  std::unique_ptr<QTextToSpeech> voice_;
  std::deque<std::pair<int, QString>> waiting_;
  int speaking_ = -1;  ///< the topic of what is being spoken
  bool preparing_ = false;
  bool failed_ = false;
};

}  // namespace kvx::platform
