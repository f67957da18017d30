#include "sim/icom_models.h"

#include <algorithm>
#include <cassert>

namespace kvx::sim {
namespace {

using namespace std::string_view_literals;
using Filter = IcomModel::Filter;

constexpr std::string_view kVfoAB = "\x00\x01"sv;
constexpr std::string_view kMainSub = "\xD0\xD1"sv;
// Frequency, mode, VFO and memory: what a set of the first years knows, and what a small one of later years does.
constexpr std::string_view kFirstCommands = "\x03\x04\x05\x06\x07\x08\x09\x0A"sv;
constexpr std::string_view kOmniCommands = "\x03\x04\x05\x06\x07\x08\x09\x0A\x16"sv;
constexpr std::string_view kMobileCommands = "\x02\x03\x04\x05\x06\x07\x08\x09\x0A\x0B\x0E\x0F\x10"sv;
constexpr std::string_view kReceiverCommands =
    "\x02\x03\x04\x05\x06\x07\x08\x09\x0A\x0B\x0E\x10\x11\x12\x13\x14\x15\x16\x18\x19\x1A"sv;
// Microphone, key speed, power, compressor, break-in, VOX: only a transmitter has them.
constexpr std::string_view kOfTransmitters =
    "\x14\x0A\x14\x0B\x14\x0C\x14\x0E\x14\x0F\x14\x15\x14\x16\x14\x17\x16\x44\x16\x45\x16\x46\x16\x47\x16\x58"sv;

}  // namespace

const std::vector<IcomModel>& IcomModels() {
  static const std::vector<IcomModel> models{
      {"ic7300", 0x94, 5, "", "", kVfoAB, Filter::kFromOne, 0x08, {{30'000, 74'800'000}}},
      {"ic735", 0x04, 4, kFirstCommands, "", kVfoAB, Filter::kNone, 0x05, {{100'000, 30'000'000}}},
      {"omni6", 0x04, 5, kOmniCommands, "", kVfoAB, Filter::kCrystal, 0x05, {{1'770'000, 30'030'000}}, true},
      {"ic706", 0x48, 5, kMobileCommands, "", kVfoAB, Filter::kFromZero, 0x05, {{30'000, 200'000'000}}},
      {"ic7610", 0x98, 5, "", "", kMainSub, Filter::kFromOne, 0x08, {{30'000, 60'000'000}}},
      {"ic905",
       0xAC,
       5,
       "",
       "\x1C\x01"sv,
       kVfoAB,
       Filter::kFromOne,
       0x08,
       {{144'000'000, 148'000'000},
        {430'000'000, 450'000'000},
        {1'240'000'000, 1'300'000'000},
        {2'300'000'000, 2'450'000'000},
        {5'650'000'000, 5'925'000'000},
        {10'000'000'000, 10'500'000'000}}},
      {"icr8600", 0x96, 5, kReceiverCommands, kOfTransmitters, ""sv, Filter::kFromOne, 0x08, {{10'000, 3'000'000'000}}},
  };
  return models;
}

const IcomModel& FindIcomModel(std::string_view name) {
  const auto model = std::find_if(IcomModels().begin(), IcomModels().end(),
                                  [name](const IcomModel& candidate) { return candidate.name == name; });
  assert(model != IcomModels().end());
  return *model;
}

}  // namespace kvx::sim
