#include <algorithm>
#include <array>

#include "core/text.h"
#include "sim/icom_rig.h"
#include "sim/kenwood_kin.h"
#include "sim/kenwood_rig.h"
#include "sim/orion_rig.h"
#include "sim/simulated_device.h"
#include "sim/tentec_binary_rig.h"
#include "sim/winkey_device.h"
#include "sim/yaesu_five_byte_rig.h"
#include "sim/yaesu_status_rig.h"
#include "sim/yaesu_text_rig.h"

namespace kvx::sim {
namespace {

struct Kind {
  std::string_view name;
  std::unique_ptr<SimulatedDevice> (*make)(std::string_view name, Loop&);
  bool keyer = false;
};

template <class Rig>
std::unique_ptr<SimulatedDevice> Make(std::string_view, Loop& loop) {
  return std::make_unique<Rig>(loop);
}

template <WinkeyDevice::Model model>
std::unique_ptr<SimulatedDevice> MakeWinkey(std::string_view, Loop& loop) {
  return std::make_unique<WinkeyDevice>(loop, model);
}

template <const KenwoodModel& model>
std::unique_ptr<SimulatedDevice> MakeKenwood(std::string_view, Loop& loop) {
  return std::make_unique<KenwoodKin>(loop, model);
}

std::unique_ptr<SimulatedDevice> MakeIcom(std::string_view model, Loop& loop) {
  return std::make_unique<IcomRig>(loop, FindIcomModel(model));
}

std::unique_ptr<SimulatedDevice> MakeTentec(std::string_view model, Loop& loop) {
  return std::make_unique<TentecBinaryRig>(loop, FindTentecModel(model));
}

template <const YaesuFiveByteModel& model>
std::unique_ptr<SimulatedDevice> MakeFiveByte(std::string_view, Loop& loop) {
  return std::make_unique<YaesuFiveByteRig>(loop, model);
}

template <const YaesuStatusModel& model>
std::unique_ptr<SimulatedDevice> MakeStatus(std::string_view, Loop& loop) {
  return std::make_unique<YaesuStatusRig>(loop, model);
}

template <const YaesuTextModel& model>
std::unique_ptr<SimulatedDevice> MakeYaesuText(std::string_view, Loop& loop) {
  return std::make_unique<YaesuTextRig>(loop, model);
}

constexpr std::array kKinds{
    Kind{"ts2000", Make<KenwoodRig>},
    Kind{"ts440", MakeKenwood<kTs440>},
    Kind{"ts480", MakeKenwood<kTs480>},
    Kind{"ts890", MakeKenwood<kTs890>},
    Kind{"k3", MakeKenwood<kK3>},
    Kind{"powersdr", MakeKenwood<kPowerSdr>},
    Kind{"ft857", MakeFiveByte<kFt857>},
    Kind{"ft847", MakeFiveByte<kFt847>},
    Kind{"ft736", MakeFiveByte<kFt736>},
    Kind{"ft747", MakeStatus<kFt747>},
    Kind{"ft757gx2", MakeStatus<kFt757Gx2>},
    Kind{"ft890", MakeStatus<kFt890>},
    Kind{"ft920", MakeStatus<kFt920>},
    Kind{"ft990", MakeStatus<kFt990>},
    Kind{"ft1000d", MakeStatus<kFt1000D>},
    Kind{"ft1000mp", MakeStatus<kFt1000Mp>},
    Kind{"ft100", MakeStatus<kFt100>},
    Kind{"ft450", MakeYaesuText<kFt450>},
    Kind{"ft991", MakeYaesuText<kFt991>},
    Kind{"ftdx101", MakeYaesuText<kFtDx101>},
    Kind{"ftdx5000", MakeYaesuText<kFtDx5000>},
    Kind{"ic7300", MakeIcom},
    Kind{"ic735", MakeIcom},
    Kind{"omni6", MakeIcom},
    Kind{"ic706", MakeIcom},
    Kind{"ic7610", MakeIcom},
    Kind{"ic905", MakeIcom},
    Kind{"icr8600", MakeIcom},
    Kind{"orion", Make<OrionRig>},
    Kind{"jupiter", MakeTentec},
    Kind{"argonaut5", MakeTentec},
    Kind{"omni7", MakeTentec},
    Kind{"winkey", MakeWinkey<WinkeyDevice::Model::kWinkey2>, true},
    Kind{"winkey3", MakeWinkey<WinkeyDevice::Model::kWinkey3>, true},
};

std::vector<std::string> Names(bool with_keyers) {
  std::vector<std::string> names;
  for (const Kind& kind : kKinds) {
    if (with_keyers || !kind.keyer) names.emplace_back(kind.name);
  }
  return names;
}

}  // namespace

std::unique_ptr<SimulatedDevice> MakeDevice(std::string_view name, Loop& loop) {
  for (const Kind& kind : kKinds) {
    if (EqualNoCase(name, kind.name)) return kind.make(kind.name, loop);
  }
  return nullptr;
}

const std::vector<std::string>& DeviceNames() {
  static const std::vector<std::string> names = Names(true);
  return names;
}

const std::vector<std::string>& RigNames() {
  static const std::vector<std::string> names = Names(false);
  return names;
}

bool IsKeyer(std::string_view name) {
  return std::any_of(kKinds.begin(), kKinds.end(),
                     [name](const Kind& kind) { return kind.keyer && EqualNoCase(name, kind.name); });
}

}  // namespace kvx::sim
