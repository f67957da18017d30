#pragma once

#include <deque>
#include <string>
#include <string_view>
#include <vector>

#include "cat/command_template.h"
#include "cat/transmit.h"
#include "config/rig_definition.h"
#include "core/frequency.h"
#include "core/loop.h"

namespace kvx::cat {

/// One fact that a rig has told.
struct Reply {
  enum class Kind {
    kShownFrequency,
    kOtherFrequency,
    kFrequencyA,
    kFrequencyB,
    kMode,
    kVfo,
    kSMeter,
    kMeter,
    kSlider,
    kRefused
  };
  Kind kind = Kind::kRefused;  ///< kShownFrequency: of the VFO in use, kOtherFrequency: of the other one
  Frequency frequency;
  std::string mode;  ///< caption
  int value = 0;     ///< meter or slider value in the rig's units; 'A' or 'B' for kVfo
  int number = 0;    ///< slider #, or the meter's number
};

/// A query that has been sent and whose reply has not come: how to read that reply.
struct ArmedQuery {
  std::string command;  ///< as sent: text, or upper-case hexadecimal digits of a binary rig
  std::optional<Extraction> extraction;
  int slider = 0;                ///< # of the slider that the reply sets, else 0
  bool frequency = false;        ///< kind "F": the reply's data are a frequency
  bool vfo_b = false;            ///< asked for VFO B
  bool acknowledgement = false;  ///< no query: the byte with which a five-byte rig acknowledges a command
  TimePoint sent{};
};
using ArmedQueries = std::deque<ArmedQuery>;

/// Within this time a five-byte rig acknowledges a command.
inline constexpr Duration kAcknowledgeTime = std::chrono::milliseconds(150);
/// After this silence of the line a reply that has begun is not continued any more.
inline constexpr Duration kReplySilence = std::chrono::milliseconds(100);

/// What a family's parser works on.
struct ParseContext {
  const config::RigDefinition& rig;
  ArmedQueries& armed;
  std::string_view address_number = "1";
  char active_vfo = 'A';  ///< as the console shows it, for rigs that tell of both at once
};

/// Takes complete replies from the front of the receive buffer and appends what they say to `replies`. An incomplete
/// reply stays. Garbage before a reply is removed with it. Any bytes are allowed; memory is bounded by the buffer.
using FamilyParser = void (*)(std::string& buffer, ParseContext& context, std::vector<Reply>& replies);

void ParseKenwood(std::string& buffer, ParseContext& context, std::vector<Reply>& replies);
void ParseYaesu(std::string& buffer, ParseContext& context, std::vector<Reply>& replies);
void ParseIcom(std::string& buffer, ParseContext& context, std::vector<Reply>& replies);
void ParseTenTec(std::string& buffer, ParseContext& context, std::vector<Reply>& replies);

/// What the S-meter of the rig says at S9+60, and how many characters one of its poll cycles costs on the line.
int SMeterFullScale(const config::RigDefinition& rig);
/// Whether the rig's command for narrow CW sets CW reverse instead, with which such rigs fill that field.
bool NarrowCwIsReverse(const config::RigDefinition& rig);
int CycleCharacters(const config::RigDefinition& rig);

/// The parser of a family (upper case), null for a family that is not parsed.
FamilyParser ParserOf(std::string_view family);
/// How commands of a family key its transmitter; null where that is not known.
FamilyKeying KeyingOf(std::string_view family);

/// The mode caption for a code in a table of "code caption" rows; empty for an unknown code.
struct ModeCode {
  int code;
  std::string_view caption;
};
template <std::size_t kCount>
std::string_view CaptionOf(const std::array<ModeCode, kCount>& table, int code) {
  for (const ModeCode& row : table) {
    if (row.code == code) return row.caption;
  }
  return {};
}

/// Slider replies of rigs that answer in text: every armed slider query whose extraction fits `frame` sets its slider.
/// True when one did.
bool ReadTextSlider(std::string_view frame, ParseContext& context, std::vector<Reply>& replies);

}  // namespace kvx::cat
