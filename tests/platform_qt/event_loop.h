#pragma once

#include <QAbstractEventDispatcher>
#include <QEventLoop>
#include <QTimer>
#include <chrono>

namespace kvx {

/// Runs the event loop until `done` holds; false when it does not within five seconds.
template <class Condition>
bool WaitFor(Condition done) {
  QEventLoop loop;
  QTimer look;
  QObject::connect(&look, &QTimer::timeout, &loop, [&] {
    if (done()) loop.quit();
  });
  look.start(1);
  QTimer::singleShot(std::chrono::seconds(5), &loop, &QEventLoop::quit);
  loop.exec();
  return done();
}

/// Runs the event loop for a while and counts how often something woke it.
inline int WakeUpsIn(std::chrono::milliseconds duration) {
  int count = 0;
  QEventLoop loop;
  QTimer::singleShot(duration, Qt::PreciseTimer, &loop, &QEventLoop::quit);
  QObject::connect(QAbstractEventDispatcher::instance(), &QAbstractEventDispatcher::awake, &loop, [&] { ++count; });
  loop.exec();
  return count;
}

/// What a quiet program may be woken: the end of WakeUpsIn itself and some left-overs. A storm counts thousands.
inline constexpr int kFewWakeUps = 100;

}  // namespace kvx
