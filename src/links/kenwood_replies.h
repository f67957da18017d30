#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "core/frequency.h"

namespace kvx::links {

/// What a logger that believes to have a Kenwood before it asks for or orders. In the order in which what has arrived
/// together is dealt with.
enum class LoggerRequest {
  kAutoInformation,
  kPower,
  kReadA,
  kReadB,
  kReadStatus,
  kSetA,
  kSetB,
  kSetInformation,
  kTransmit,
  kReceive
};

/// One whole command of a logger.
struct LoggerCommand {
  LoggerRequest request = LoggerRequest::kReadA;
  std::size_t place = 0;  ///< among the commands that have arrived together
  bool query = false;     ///< of kAutoInformation and kPower: it is no setting
  Frequency frequency;    ///< of kSetA and kSetB
  char setting = '0';     ///< of kSetInformation: '0' to '3'
};

/// The commands in a text that ends in ";". They are found anywhere between two ";", so that a character lost or added
/// before one does no harm; what is none is left out. First the first one of each request, in the order of the
/// requests, then the second one of each, and so on.
std::vector<LoggerCommand> ReadLoggerCommands(std::string_view text);

/// "FA00014025000;": `letters` and the displayed frequency in hertz, eleven digits whatever it is.
std::string FrequencyReply(std::string_view letters, Frequency frequency);

/// What the status tells besides the frequency.
struct KenwoodStatus {
  Frequency frequency;
  std::string_view mode;  ///< caption
  bool transmitting = false;
  char vfo = 'A';
  bool split = false;
};

// IF fffffffffff ssss +rrrrr i x bcc t m v 0 p 0000 ;   38 characters, as the TS-2000 has them
//   f = frequency in Hz, t = transmitting, m = mode, v = VFO (0 A, 1 B), p = split; step, RIT, XIT, channel, tones
//   fixed
std::string StatusReply(const KenwoodStatus& status);

}  // namespace kvx::links
