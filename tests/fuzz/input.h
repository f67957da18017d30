#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string_view>

namespace kvx::fuzz {

/// What a fuzz target is given: bytes to be taken from the front.
class Input {
 public:
  Input(const std::uint8_t* data, std::size_t size) : rest_(reinterpret_cast<const char*>(data), size) {}

  bool empty() const { return rest_.empty(); }
  /// 0 at the end.
  std::uint8_t Byte() { return rest_.empty() ? std::uint8_t{0} : static_cast<std::uint8_t>(Take(1)[0]); }
  std::string_view Take(std::size_t size) {
    const std::string_view taken = rest_.substr(0, size);
    rest_.remove_prefix(taken.size());
    return taken;
  }
  /// Some bytes, the first of which says how many.
  std::string_view Piece() { return Take(Byte()); }
  std::string_view Rest() { return Take(rest_.size()); }

 private:
  std::string_view rest_;
};

/// What has to hold whatever the input: unlike an assert it stays in every build.
inline void Demand(bool holds, const char* what) {
  if (holds) return;
  std::fprintf(stderr, "does not hold: %s\n", what);
  std::abort();
}

}  // namespace kvx::fuzz

/// The body of a target: KVX_FUZZ(input) { ... }
#define KVX_FUZZ(input)                                                               \
  static void Try(kvx::fuzz::Input input);                                            \
  extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) { \
    Try(kvx::fuzz::Input(data, size));                                                \
    return 0;                                                                         \
  }                                                                                   \
  static void Try(kvx::fuzz::Input input)
