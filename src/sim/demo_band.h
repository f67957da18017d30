#pragma once

#include <vector>

#include "sim/receiver_audio.h"

namespace kvx::sim {

/// How wide the band of the demonstration is; further on it is the same again.
inline constexpr double kDemoBandHertz = 5000;

/// Stations that call, work each other and try to be heard, round and round, as a receiver hears them whose dial is at
/// a multiple of that width.
std::vector<HeardStation> DemoBand();
/// The noise and clicks that they are in.
ReceiverSettings DemoReceiver(int samples_per_second);

}  // namespace kvx::sim
