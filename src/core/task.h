#pragma once

#include <cassert>
#include <coroutine>
#include <exception>
#include <utility>

namespace kvx {

/// A procedure that waits: a coroutine that starts at once, runs on the engine thread and is owned by whoever started
/// it. Destroying or cancelling the Task ends the procedure where it waits, and every awaiter takes its timer or its
/// registration back in its destructor. A Task may even be destroyed from inside its own procedure (a click that
/// arrives during a wait and starts it anew): the procedure then ends at its next wait. Awaiting another Task
/// (`co_await step;`) waits until it is complete, cancelled or replaced; one procedure waits for a Task at a time. A
/// Task that is destroyed wakes nobody, because what its waiter uses may be half gone as well.
///
/// Debian 12's g++ 12.2 miscompiles some shapes. Therefore `co_await` stands alone in its statement, and the parameters
/// of a coroutine are values with constructors.
class [[nodiscard]] Task {
 public:
  struct promise_type;
  using Handle = std::coroutine_handle<promise_type>;

  Task() = default;
  Task(Task&& other) noexcept : handle_(std::exchange(other.handle_, {})) {}
  Task& operator=(Task&& other) noexcept {
    Task old(std::move(*this));
    handle_ = std::exchange(other.handle_, {});
    old.Cancel();  // last: whoever waited for it goes on and already sees the new procedure here
    return *this;
  }
  ~Task() { End(); }

  /// Whether there is nothing left to run; true for an empty Task as well.
  bool done() const { return !handle_ || handle_.done(); }
  void Cancel();

  /// For awaiters: marks the procedure as waiting, and later goes on with it and with whoever waits for its end.
  static void Suspended(Handle handle);
  static void Resume(Handle handle);

  class Join;
  Join operator co_await();

 private:
  explicit Task(Handle handle) : handle_(handle) {}
  static Handle Release(Handle ended);
  Handle End();

  Handle handle_;
};

struct Task::promise_type {
  struct FinalAwaiter {
    bool await_ready() noexcept { return false; }
    void await_suspend(Handle handle) noexcept { Suspended(handle); }
    void await_resume() noexcept {}
  };

  // Declared, so that this is no aggregate: g++ 12 would fill its members from the coroutine's parameters.
  promise_type() = default;

  Task get_return_object() { return Task(Handle::from_promise(*this)); }
  std::suspend_never initial_suspend() noexcept { return {}; }
  FinalAwaiter final_suspend() noexcept { return {}; }
  void return_void() {}
  void unhandled_exception() { std::terminate(); }

  bool running = true;     ///< its body is on the stack
  bool abandoned = false;  ///< its owner went while it ran
  Join* joined = nullptr;  ///< who waits for its end
};

/// Waits for the end of a Task that somebody else keeps.
class Task::Join {
 public:
  explicit Join(Handle child) : child_(child) {}
  Join(const Join&) = delete;
  Join& operator=(const Join&) = delete;
  ~Join() {
    if (parent_) child_.promise().joined = nullptr;
  }
  bool await_ready() const { return !child_ || child_.done(); }
  void await_suspend(Handle parent) {
    assert(child_.promise().joined == nullptr);
    Suspended(parent);
    child_.promise().joined = this;
    parent_ = parent;
  }
  void await_resume() const {}

 private:
  friend class Task;
  Handle child_;
  Handle parent_;  ///< set while it waits
};

/// Takes the waiting procedure off one that has ended, or is about to.
inline Task::Handle Task::Release(Handle ended) {
  Join* join = std::exchange(ended.promise().joined, nullptr);
  return join != nullptr ? std::exchange(join->parent_, {}) : Handle{};
}

/// Ends the procedure, now or at its next wait, and gives whoever waited for a procedure that ended now.
inline Task::Handle Task::End() {
  const Handle handle = std::exchange(handle_, {});
  if (!handle) return {};
  if (handle.promise().running) {
    handle.promise().abandoned = true;
    return {};
  }
  const Handle parent = Release(handle);
  handle.destroy();
  return parent;
}

inline void Task::Cancel() {
  Resume(End());
}

inline void Task::Suspended(Handle handle) {
  handle.promise().running = false;
}

inline void Task::Resume(Handle handle) {
  while (handle) {
    handle.promise().running = true;
    handle.resume();
    const bool abandoned = handle.promise().abandoned;
    const Handle next = abandoned || handle.done() ? Release(handle) : Handle{};
    if (abandoned) handle.destroy();
    handle = next;
  }
}

inline Task::Join Task::operator co_await() {
  return Join(handle_);
}

}  // namespace kvx
