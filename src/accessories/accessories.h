#pragma once

#include "accessories/antenna_control.h"
#include "accessories/direct_port.h"

namespace kvx::accessories {

/// The station's accessories.
struct Accessories {
  explicit Accessories(const AccessoryParts& parts) : antennas(parts), direct(antennas) {}

  AntennaControl antennas;
  DirectPort direct;
};

}  // namespace kvx::accessories
