#pragma once

#include <pthread.h>
#include <sched.h>

namespace kvx::platform {

/// Attributes of the thread that keys: above all ordinary work, below the system's own threads.
class RealTimeAttributes {
 public:
  RealTimeAttributes() {
    ::pthread_attr_init(&attributes_);
    ::pthread_attr_setinheritsched(&attributes_, PTHREAD_EXPLICIT_SCHED);
    ::pthread_attr_setschedpolicy(&attributes_, SCHED_FIFO);
    const sched_param priority{.sched_priority = 20};
    ::pthread_attr_setschedparam(&attributes_, &priority);
  }
  ~RealTimeAttributes() { ::pthread_attr_destroy(&attributes_); }
  RealTimeAttributes(const RealTimeAttributes&) = delete;
  RealTimeAttributes& operator=(const RealTimeAttributes&) = delete;

  const pthread_attr_t* get() const { return &attributes_; }

 private:
  pthread_attr_t attributes_{};
};

}  // namespace kvx::platform
