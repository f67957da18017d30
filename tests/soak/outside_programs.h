#pragma once

#include <array>

#include "soak/random_operator.h"
#include "soak/soak_station.h"

namespace kvx {

/// The programs around the station: a logger with its CW output, ten NET clients, a DDE client. They ask steadily, now
/// and then operate, go without a word and come back.
class OutsidePrograms final {
 public:
  OutsidePrograms(SoakStation& soak, Dice& dice) : soak_(soak), dice_(dice) {}

  /// Each does what it does in a moment.
  void Act();
  /// What is wrong with the answers that they get; empty when all are right. They are at rest.
  std::string Check();

  int answers = 0;  ///< that NET clients have got

 private:
  void ActLogger();
  void ActLoggerKeyer();
  void ActClient(FakeTcpClient& client);
  void ActDde();

  SoakStation& soak_;
  Dice& dice_;
  std::array<FakeTcpClient, 10> clients_;
};

}  // namespace kvx
