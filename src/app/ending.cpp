#include "app/ending.h"

#include <chrono>
#include <cstdlib>
#include <thread>

namespace kvx::app {

void LeaveSoon(int code) {
  std::thread([code] {
    std::this_thread::sleep_for(std::chrono::seconds(1));
    std::_Exit(code);
  }).detach();
}

}  // namespace kvx::app
