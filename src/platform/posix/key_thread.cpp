#include "platform/posix/key_thread.h"

#include <pthread.h>
#include <sched.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>

#include "platform/posix/real_time_attributes.h"

namespace kvx::platform {
namespace {

using namespace std::chrono_literals;

constexpr Duration kAhead = 2ms;  // from a call to the first edge: the thread is awake by then
constexpr Duration kNear = 1ms;   // so long before an edge nothing wakes the thread any more
constexpr Duration kVeryNear = 50us;
constexpr Duration kMostLate = 5ms;
constexpr Duration kTryAgain = 50ms;  // a release that has failed
constexpr std::size_t kMostEdges = 4096;

TimePoint Now() {
  return std::chrono::steady_clock::now();
}

/// Without real-time priority: asks for short turns, for which newer kernels put a thread that wakes before those with
/// long ones. Everybody may ask.
void AskForShortTurns() {
  struct Attributes {  // sched_setattr(2); the library has no declaration of it
    std::uint32_t size = sizeof(Attributes);
    std::uint32_t policy = SCHED_OTHER;
    std::uint64_t flags = 0;
    std::int32_t nice = ::getpriority(PRIO_PROCESS, 0);
    std::uint32_t priority = 0;
    std::uint64_t runtime = 100'000;  // ns, the shortest there is
    std::uint64_t deadline = 0;
    std::uint64_t period = 0;
  } attributes;
  ::syscall(SYS_sched_setattr, 0, &attributes, 0);
}

/// std::chrono::steady_clock is CLOCK_MONOTONIC.
timespec TimeSpecOf(TimePoint when) {
  const auto since = when.time_since_epoch();
  const auto seconds = std::chrono::floor<std::chrono::seconds>(since);
  return {.tv_sec = static_cast<time_t>(seconds.count()), .tv_nsec = static_cast<long>((since - seconds).count())};
}

}  // namespace

/// A lock that lends its holder the priority of the thread that waits for it, and a condition on the monotonic clock.
struct KeyThread::Primitives {
  Primitives() {
    pthread_mutexattr_t lock_kind;
    ::pthread_mutexattr_init(&lock_kind);
    ::pthread_mutexattr_setprotocol(&lock_kind, PTHREAD_PRIO_INHERIT);
    ::pthread_mutex_init(&mutex, &lock_kind);
    ::pthread_mutexattr_destroy(&lock_kind);
    pthread_condattr_t condition_kind;
    ::pthread_condattr_init(&condition_kind);
    ::pthread_condattr_setclock(&condition_kind, CLOCK_MONOTONIC);
    ::pthread_cond_init(&changed, &condition_kind);
    ::pthread_condattr_destroy(&condition_kind);
  }
  ~Primitives() {
    ::pthread_cond_destroy(&changed);
    ::pthread_mutex_destroy(&mutex);
  }
  void lock() { ::pthread_mutex_lock(&mutex); }
  void unlock() { ::pthread_mutex_unlock(&mutex); }

  pthread_mutex_t mutex;
  pthread_cond_t changed;
  pthread_t thread{};
  bool running = false;
};

KeyThread::KeyThread(KeyOutput& output, bool real_time) : output_(output), primitives_(std::make_unique<Primitives>()) {
  edges_.reserve(kMostEdges + 1);
  // The thread inherits the mask: signals are for the engine's thread, crashes for the one that crashes.
  sigset_t all;
  sigset_t before;
  ::sigfillset(&all);
  for (const int crash : {SIGSEGV, SIGBUS, SIGABRT, SIGFPE, SIGILL}) ::sigdelset(&all, crash);
  ::pthread_sigmask(SIG_SETMASK, &all, &before);
  primitives_->running = Start(real_time);
  ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

bool KeyThread::Start(bool real_time) {
  const RealTimeAttributes kind;
  real_time_ = true;  // before the thread is there, which reads it
  if (!real_time || ::pthread_create(&primitives_->thread, kind.get(), Run, this) != 0) {
    real_time_ = false;
    if (::pthread_create(&primitives_->thread, nullptr, Run, this) != 0) cause_ = EAGAIN;
  }
  if (cause_ != 0) return false;
  ::pthread_setname_np(primitives_->thread, "kvx-key");
  return true;
}

KeyThread::~KeyThread() {
  Release();
  primitives_->lock();
  stopping_ = true;
  ::pthread_cond_signal(&primitives_->changed);
  primitives_->unlock();
  if (primitives_->running) ::pthread_join(primitives_->thread, nullptr);
}

void* KeyThread::Run(void* self) {
  static_cast<KeyThread*>(self)->Work();
  return nullptr;
}

void KeyThread::Work() {
  Primitives& p = *primitives_;
  if (!real_time_) AskForShortTurns();
  p.lock();
  while (!stopping_) {
    if (release_again_) {
      ReleaseAgain();
    } else if (next_ == edges_.size()) {
      ::pthread_cond_wait(&p.changed, &p.mutex);
    } else if (Now() >= edges_[next_].when) {
      Write();
    } else {
      WaitFor(edges_[next_].when);
    }
  }
  p.unlock();
}

/// Until that moment, or until something else has been given; the last part of the wait is not ended by that. Without
/// real-time priority every sleep may end late, so there is only one, and the last part is an empty loop.
void KeyThread::WaitFor(TimePoint when) {
  Primitives& p = *primitives_;
  const Duration near = real_time_ ? kNear : kVeryNear;
  if (when - Now() > near) {
    const timespec until = TimeSpecOf(when - near);
    ::pthread_cond_timedwait(&p.changed, &p.mutex, &until);
    return;
  }
  const timespec until = TimeSpecOf(when);
  p.unlock();
  if (real_time_) ::clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &until, nullptr);
  while (Now() < when) {
  }
  p.lock();
}

void KeyThread::Write() {
  const Edge edge = edges_[next_++];
  const Duration late = Now() - edge.when;
  if (late > kMostLate) {
    for (std::size_t i = next_; i < edges_.size(); ++i) edges_[i].when += late;
  }
  const bool ended = CrashRelease::keying_ended();
  cause_ = ended ? 0 : output_.Set(edge.key, edge.ptt);
  // The end may have come in between, its release before this edge.
  if (cause_ != 0 || CrashRelease::keying_ended()) {
    Clear();
    release_again_ = output_.Set(false, false) != 0;
  }
}

/// The lines may be keyed, and whatever keeps them from being released may pass.
void KeyThread::ReleaseAgain() {
  Clear();
  const timespec until = TimeSpecOf(Now() + kTryAgain);
  ::pthread_cond_timedwait(&primitives_->changed, &primitives_->mutex, &until);
  if (!stopping_ && release_again_) release_again_ = output_.Set(false, false) != 0;
}

void KeyThread::Clear() {
  edges_.clear();
  next_ = told_ = 0;
}

void KeyThread::Append(const std::vector<KeyStep>& steps) {
  primitives_->lock();
  AppendLocked(steps);
  primitives_->unlock();
}

void KeyThread::Replace(const std::vector<KeyStep>& steps) {
  primitives_->lock();
  Clear();
  AppendLocked(steps);
  primitives_->unlock();
}

void KeyThread::AppendLocked(const std::vector<KeyStep>& steps) {
  edges_.erase(edges_.begin(), edges_.begin() + static_cast<std::ptrdiff_t>(told_));
  next_ -= told_;
  told_ = 0;
  TimePoint when = TakeEnd(Now());
  for (const KeyStep& step : steps) {
    if (edges_.size() >= kMostEdges) break;
    edges_.push_back({.when = when, .key = step.key, .ptt = step.ptt, .tail = step.tail, .mark = step.mark});
    when += step.length;
  }
  edges_.push_back({.when = when, .last = true});
  ::pthread_cond_signal(&primitives_->changed);
}

/// Takes the end, and a tail before it, off the queue: the moment at which something else may begin.
TimePoint KeyThread::TakeEnd(TimePoint now) {
  if (next_ == edges_.size()) {
    if (!edges_.empty()) edges_.back().last = false;  // written, and not told yet
    return now + kAhead;
  }
  TimePoint end = edges_.back().when;
  edges_.pop_back();
  if (!edges_.empty() && edges_.back().tail) {
    if (next_ == edges_.size()) {
      end = std::min(end, now + kAhead);
    } else {
      end = edges_.back().when;
      edges_.pop_back();
    }
  }
  return std::max(end, now);
}

void KeyThread::Release() {
  primitives_->lock();
  Clear();
  const int cause = output_.Set(false, false);
  if (cause_ == 0) cause_ = cause;
  release_again_ = cause != 0;
  ::pthread_cond_signal(&primitives_->changed);
  primitives_->unlock();
}

Duration KeyThread::remaining() const {
  primitives_->lock();
  const bool done = next_ == edges_.size();
  const Duration left = done ? Duration{0} : edges_.back().when - Now();
  primitives_->unlock();
  return std::max(left, Duration{0});
}

KeyThread::News KeyThread::TakeNews() {
  News news;
  primitives_->lock();
  news.cause = cause_;
  while (told_ < next_ && news.mark == 0 && !news.idle) {
    news.mark = edges_[told_].mark;
    news.idle = edges_[told_].last;
    ++told_;
  }
  const auto more = std::find_if(edges_.begin() + static_cast<std::ptrdiff_t>(told_), edges_.end(),
                                 [](const Edge& edge) { return edge.mark != 0 || edge.last; });
  if (more != edges_.end()) news.next = more->when;
  primitives_->unlock();
  return news;
}

}  // namespace kvx::platform
