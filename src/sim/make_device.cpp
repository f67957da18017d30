#include <array>

#include "core/text.h"
#include "sim/icom_rig.h"
#include "sim/kenwood_rig.h"
#include "sim/orion_rig.h"
#include "sim/simulated_device.h"
#include "sim/yaesu_five_byte_rig.h"
#include "sim/yaesu_status_rig.h"
#include "sim/yaesu_text_rig.h"

namespace kvx::sim {
namespace {

struct Kind {
  std::string_view name;
  std::unique_ptr<SimulatedDevice> (*make)(Loop&);
};

template <class Rig>
std::unique_ptr<SimulatedDevice> Make(Loop& loop) {
  return std::make_unique<Rig>(loop);
}

constexpr std::array kKinds{
    Kind{"ts2000", Make<KenwoodRig>},     Kind{"ft857", Make<YaesuFiveByteRig>}, Kind{"ft1000d", Make<YaesuStatusRig>},
    Kind{"ftdx5000", Make<YaesuTextRig>}, Kind{"ic7300", Make<IcomRig>},         Kind{"orion", Make<OrionRig>},
};

}  // namespace

std::unique_ptr<SimulatedDevice> MakeDevice(std::string_view name, Loop& loop) {
  for (const Kind& kind : kKinds) {
    if (EqualNoCase(name, kind.name)) return kind.make(loop);
  }
  return nullptr;
}

const std::vector<std::string>& DeviceNames() {
  static const std::vector<std::string> names = [] {
    std::vector<std::string> result;
    for (const Kind& kind : kKinds) result.emplace_back(kind.name);
    return result;
  }();
  return names;
}

}  // namespace kvx::sim
