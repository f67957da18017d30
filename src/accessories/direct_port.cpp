#include "accessories/direct_port.h"

#include <algorithm>
#include <utility>

namespace kvx::accessories {
namespace {

constexpr int kPinOfBitZero = 2;
constexpr int kDefaultPulse = 10;  // microseconds
constexpr int kFirstAntennaBit = 2;
constexpr int kTopics = 1000;  // of announcements, beyond those of the antennas

bool IsAntenna(int bit) {
  return bit >= kFirstAntennaBit && bit < kFirstAntennaBit + kAntennas;
}

Status NoSuchBit() {
  return Error{ErrorCode::kInvalid, "The data bits are 0 to 7"};
}

}  // namespace

DirectPort::DirectPort(AntennaControl& antennas) : antennas_(antennas) {
  antennas_.on_data = [this](int number, std::uint8_t data) {
    if (number == port()) SetLights(BitText(data));
  };
}

int DirectPort::port() const {
  return antennas_.field(AntennaField::kDirectPort) == "2" ? 2 : 1;
}

Status DirectPort::Press(int bit) {
  if (bit < 0 || bit >= kBits) return NoSuchBit();
  const Button& button = *std::ranges::find(kButtons, bit, &Button::bit);
  if (*button.announced != '\0') antennas_.Announce(kTopics + bit, button.announced);
  if (!button.toggle) return PressPulse(bit);
  ReadPort();
  return Change(bit, lamp(bit) ? platform::kClear : platform::kSet);
}

Status DirectPort::Change(int bit, platform::PortAction action) {
  if (bit < 0 || bit >= kBits) return NoSuchBit();
  return antennas_.SetClearPort(bit, action, port());
}

/// The antennas' own operation, which takes the port from PPort.
Status DirectPort::PressPulse(int bit) {
  std::string& chosen = antennas_.at(AntennaField::kPPort);
  const std::string own = std::exchange(chosen, std::to_string(port()));
  const Status sent = antennas_.SendChar1(10, 255, 0, bit + kPinOfBitZero, 0, [this, bit](const auto& data) {
    if (data || antennas_.pulse_microseconds() == 0) BringUpToDate(bit);
  });
  chosen = own;
  return sent;
}

/// A latched antenna's bit stays set; the bit of a pulse is low by now.
void DirectPort::BringUpToDate(int bit) {
  const bool latched = antennas_.pulse_microseconds() == 0 && antennas_.AntDot(bit - kFirstAntennaBit + 1);
  Change(bit, latched ? platform::kSet : platform::kClear).ok();
}

Status DirectPort::PulseBit(int bit, std::optional<int> microseconds) {
  if (bit < 0 || bit >= kBits) return NoSuchBit();
  const int stored = antennas_.pulse_microseconds();
  if (!microseconds && stored > 0 && IsAntenna(bit)) return PressPulse(bit);
  if (!microseconds && stored < 0) return Error{ErrorCode::kInvalid, "MSec is negative: nothing is sent"};
  const int length = microseconds.value_or(stored > 0 ? stored : kDefaultPulse);
  return antennas_.Call(platform::PulseCall(port(), bit + kPinOfBitZero, length, 255, 0, platform::kPulse),
                        [this, bit](const auto& data) {
                          if (data) Change(bit, platform::kClear).ok();
                        });
}

void DirectPort::SetLights(std::string_view bits) {
  for (std::size_t i = 0; i < lamps_.size(); ++i)
    lamps_[i] = bits.size() == lamps_.size() && bits[lamps_.size() - 1 - i] == '1';
  changed.Tell();
}

void DirectPort::ReadLights() {
  antennas_.ReadLights(port());
}

void DirectPort::ReadPort() {
  antennas_.ReadPort(port());
}

}  // namespace kvx::accessories
