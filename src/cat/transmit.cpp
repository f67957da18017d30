#include "cat/transmit.h"

#include "cat/reply.h"
#include "core/hex_text.h"
#include "core/text.h"

namespace kvx::cat {
namespace {

constexpr std::size_t kFiveBytes = 5;
constexpr std::size_t kMostUnfinished = 256;

/// The length of the first command, 0 while its end is not there.
std::size_t FirstCommand(std::string_view bytes, char end_mark) {
  if (end_mark == '\0') return bytes.size() < kFiveBytes ? 0 : kFiveBytes;
  return bytes.find(end_mark) + 1;
}

}  // namespace

char EndMark(const config::RigDefinition& rig) {
  if (rig.nameless()) return '\0';
  if (rig.binary() && rig.family != "TEN-TEC") return '\xFD';
  return rig.family == "TEN-TEC" ? '\r' : ';';
}

Keying KeyingOf(const config::RigDefinition& rig, std::string_view bytes) {
  const FamilyKeying keying = KeyingOf(rig.family);
  const char end_mark = EndMark(rig);
  Keying last;
  while (keying != nullptr) {
    const std::size_t length = FirstCommand(bytes, end_mark);
    if (length == 0) break;
    Keying one = keying(bytes.substr(0, length), rig);
    if (one.effect != Keying::Effect::kNone) last = std::move(one);
    bytes.remove_prefix(length);
  }
  return last;
}

std::string ReleaseOf(const config::RigDefinition& rig, std::string_view address) {
  using namespace std::string_literals;
  if (rig.family == "ICOM" && address.empty()) return {};
  const std::string icom = "\xFE\xFE"s + std::string(address) + "\xE0\x1C\0\x01\xFD"s;
  // What keys the rigs of the families; each knows its own.
  for (const std::string& on : {"TX;"s, "TX1;"s, "*TK\r"s, "\0\0\0\0\x08"s, "\0\0\0\x01\x0F"s, icom}) {
    if (const Keying keying = KeyingOf(rig, on); keying.effect == Keying::Effect::kOn) return keying.release;
  }
  return {};
}

Keying KeyingByButtons(std::string_view command, const config::RigDefinition& rig) {
  const auto behind_address = [&](std::string_view field) {
    constexpr std::string_view kAddress = "<ADDR>";
    const std::string& text = rig.row[field];
    const std::size_t address = text.find(kAddress);
    return BytesFromHex(address == std::string::npos ? text : text.substr(address + kAddress.size())).value_or("");
  };
  const std::string on = behind_address("Alpha");
  const std::string off = behind_address("Bravo");
  if (on.empty() || off.empty() || !ButtonsKeyTransmitter(rig.row)) return {};
  if (command.ends_with(off)) return {Keying::Effect::kOff, {}};
  if (!command.ends_with(on)) return {};
  return {Keying::Effect::kOn, std::string(command.substr(0, command.size() - on.size())) + off};
}

bool ButtonsKeyTransmitter(const config::RigRow& row) {
  const std::string caption = Upper(row["ADesc"]);
  return caption.empty() || caption.find("XMT") != std::string::npos || caption.find("TX") != std::string::npos;
}

Keying KeyingReader::Read(const config::RigDefinition& rig, std::string_view bytes) {
  const char end_mark = EndMark(rig);
  if (end_mark == '\0') return KeyingOf(rig, bytes);  // a rig gives up a command that pauses in the middle
  unfinished_ += bytes;
  Keying keying = KeyingOf(rig, unfinished_);
  unfinished_.erase(0, unfinished_.rfind(end_mark) + 1);
  if (unfinished_.size() > kMostUnfinished) unfinished_.erase(0, unfinished_.size() - kMostUnfinished);
  return keying;
}

}  // namespace kvx::cat
