#include "audio/character_error_rate.h"

#include <algorithm>
#include <numeric>
#include <vector>

namespace kvx::audio {

std::size_t EditDistance(std::string_view sent, std::string_view read) {
  std::vector<std::size_t> row(read.size() + 1);  // distances of what has been sent so far to each beginning of `read`
  std::iota(row.begin(), row.end(), std::size_t{0});
  for (const char character : sent) {
    std::size_t diagonal = row[0]++;
    for (std::size_t i = 1; i < row.size(); ++i) {
      const std::size_t exchanged = diagonal + (read[i - 1] == character ? 0 : 1);
      diagonal = row[i];
      row[i] = std::min({exchanged, row[i] + 1, row[i - 1] + 1});
    }
  }
  return row.back();
}

}  // namespace kvx::audio
