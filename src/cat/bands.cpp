#include "cat/bands.h"

#include <algorithm>

namespace kvx::cat {
namespace {

template <class Wanted>
const Band* FindIf(Wanted wanted) {
  const auto* band = std::find_if(kBands.begin(), kBands.end(), wanted);
  return band == kBands.end() ? nullptr : band;
}

}  // namespace

const Band* FindBand(int number) {
  return FindIf([=](const Band& band) { return band.number == number; });
}

const Band* BandOf(Frequency frequency) {
  return FindIf([=](const Band& band) { return band.lower <= frequency && frequency <= band.upper; });
}

}  // namespace kvx::cat
