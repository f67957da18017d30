#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "core/loop.h"

namespace kvx::sim {

/// Puts the five-byte commands of the older Yaesu sets together: four bytes of parameters, then the opcode. A pause of
/// more than 200 ms inside one makes the rig forget the beginning of it.
class FiveByteFrames {
 public:
  static constexpr std::size_t kLength = 5;

  explicit FiveByteFrames(Loop& loop) : loop_(loop) {}

  struct Taken {
    std::string frame;      ///< complete, else empty
    std::string forgotten;  ///< the beginning that came too long ago, else empty
  };
  Taken Take(char byte);

 private:
  Loop& loop_;
  std::string pending_;
  TimePoint last_{};
};

}  // namespace kvx::sim
