#pragma once

#include <random>
#include <string>

namespace kvx {

/// The dice of a soak: the same seed throws the same.
class Dice final {
 public:
  explicit Dice(unsigned seed) : generator_(seed) {}
  int Below(int count) { return static_cast<int>(generator_() % static_cast<unsigned>(count)); }
  int Between(int low, int high) { return low + Below(high - low + 1); }
  bool OneIn(int count) { return Below(count) == 0; }
  template <class Row>
  const auto& Pick(const Row& row) {
    return row[static_cast<std::size_t>(Below(static_cast<int>(std::size(row))))];
  }

 private:
  std::mt19937 generator_;
};

/// A line that an operator may type, sensible or not.
std::string RandomCommand(Dice& dice);

}  // namespace kvx
