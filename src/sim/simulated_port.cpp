#include "sim/simulated_port.h"

#include <utility>

#include "core/text.h"

namespace kvx::sim {
namespace {

constexpr std::string_view kScheme = "sim:";
constexpr std::size_t kMostWaiting = 64 * 1024;
constexpr int kBitsBeforeStop = 9;  // start bit and eight data bits

std::string_view DeviceName(std::string_view address) {
  return address.starts_with(kScheme) ? address.substr(kScheme.size()) : address;
}

Duration ByteTime(const platform::PortSettings& settings) {
  return Duration(std::chrono::seconds(kBitsBeforeStop + settings.stop_bits)) / settings.speed;
}

}  // namespace

SimulatedPort::SimulatedPort(std::string address, Loop& loop)
    : address_(std::move(address)),
      device_(MakeDevice(DeviceName(address_), loop)),
      to_device_(loop, [this](std::string_view bytes) { device_->Receive(bytes); }),
      from_device_(loop, [this](std::string_view bytes) { Arrived(bytes); }) {
  if (!device_) return;
  device_->send = [this](std::string_view bytes) {
    if (open_) from_device_.Push(bytes);
  };
}

Status SimulatedPort::Open(const platform::PortSettings& settings) {
  Close();
  if (!device_) return Error{ErrorCode::kNotFound, OneLine(address_) + ": there is no such simulated device."};
  if (settings.speed <= 0) return Error{ErrorCode::kInvalid, OneLine(address_) + ": the speed must be positive."};
  to_device_.set_byte_time(ByteTime(settings));
  from_device_.set_byte_time(ByteTime(settings));
  dtr_ = settings.dtr;
  rts_ = settings.rts;
  open_ = true;
  return Ok();
}

void SimulatedPort::Close() {
  open_ = false;
  to_device_.Clear();
  from_device_.Clear();
  input_.clear();
}

void SimulatedPort::Write(std::string_view bytes) {
  if (open_) to_device_.Push(bytes);
}

std::string SimulatedPort::Read() {
  return std::exchange(input_, {});
}

void SimulatedPort::Arrived(std::string_view bytes) {
  input_ += bytes.substr(0, kMostWaiting - input_.size());
  if (on_data) on_data();
}

}  // namespace kvx::sim
