#pragma once

#include <QObject>
#include <QString>
#include <atomic>
#include <deque>
#include <memory>
#include <utility>

QT_BEGIN_NAMESPACE
class QTextToSpeech;
QT_END_NAMESPACE

namespace kvx::platform {

/// The voice of QtSpeech. Lives in a thread of its own, since the speech service's library waits for each answer of the
/// service, however long.
class QtVoice final : public QObject {
  Q_OBJECT

 public:
  QtVoice();
  ~QtVoice() override;

  void Say(int topic, const QString& sentence);
  void Stop();

  std::atomic<int> behind = 0;  ///< sentences that it has not been able to take; from any thread

 Q_SIGNALS:
  void Failed(const QString& why);

 private:
  void Prepare();
  void Next();
  void GiveUp(const QString& why);

  std::unique_ptr<QTextToSpeech> voice_;
  std::deque<std::pair<int, QString>> waiting_;
  int speaking_ = -1;  ///< the topic of what is being spoken
  bool failed_ = false;
};

}  // namespace kvx::platform
