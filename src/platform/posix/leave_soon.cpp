#include "platform/posix/leave_soon.h"

#include <chrono>
#include <cstdlib>
#include <thread>

namespace kvx::platform {

void LeaveSoon(int code) {
  std::thread([code] {
    std::this_thread::sleep_for(std::chrono::seconds(1));
    std::_Exit(code);
  }).detach();
}

}  // namespace kvx::platform
